#include "DVInterfaceTexts.h"

#include "DVCueMarkers.h"
#include "DVLog.h"
#include "DVMainController.h"

#include <Dorvane/DVBundle.h>

#include <QAbstractButton>
#include <QAction>
#include <QLabel>
#include <QTabBar>
#include <QToolButton>

#include <optional>

namespace {

bool isWanted()
{
    const auto &controller = DVMainController::sharedInstance();
    return controller.appLaunched() && (controller.editionMode() || controller.screenshotMode()) &&
           controller.baseLocaleStrings();
}

// `what` names the kind of view in the log.
std::optional<QString> localizedText(const QString &text, QLatin1StringView what)
{
    if (text.isEmpty() || dv_stringByRemovingCues(text).size() != text.size() || !isWanted())
        return std::nullopt;
    const QString key = DVMainController::sharedInstance().baseLocaleStrings()->keyForIBString(text);
    if (key.isNull())
        return std::nullopt;
    dv_logDebugLazily(
        [&] { return QStringLiteral("Overriding text for %1 %2 with key %3").arg(what, text, key); });
    return DVBundle::mainBundle().localizedStringForKey(key, QStringLiteral(""), QString());
}

// Whose text a button shows, and takes from there again and again.
QAction *actionOf(const QWidget &widget)
{
    const auto *button = qobject_cast<const QToolButton *>(&widget);
    return button ? button->defaultAction() : nullptr;
}

constexpr QLatin1StringView label{"label"};
constexpr QLatin1StringView tabBarItem{"tab bar item"};

} // namespace

void dv_localizeInterfaceTexts(QWidget &widget)
{
    if (auto *shown = qobject_cast<QLabel *>(&widget)) {
        if (const auto text = localizedText(shown->text(), label))
            shown->setText(*text);
    } else if (QAction *action = actionOf(widget)) {
        dv_localizeInterfaceText(*action);
    } else if (auto *button = qobject_cast<QAbstractButton *>(&widget)) {
        if (const auto text = localizedText(button->text(), label))
            button->setText(*text);
    } else if (auto *bar = qobject_cast<QTabBar *>(&widget)) {
        for (int i = 0; i < bar->count(); ++i) {
            if (const auto text = localizedText(bar->tabText(i), tabBarItem))
                bar->setTabText(i, *text);
        }
    }
}

void dv_localizeInterfaceText(QAction &action)
{
    if (const auto text = localizedText(action.text(), label))
        action.setText(*text);
}
