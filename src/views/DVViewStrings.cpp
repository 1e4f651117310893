#include "DVViewStrings.h"

#include "DVLog.h"
#include "DVMarkup.h"
#include "DVPropertyText.h"
#include "DVTextContainer.h"
#include "DorvaneViews.h"

#include <QPointer>
#include <QSet>
#include <QTabBar>
#include <QTabWidget>

namespace {

// The host, told of the first title, may delete what has it.
void replaceTitle(QObject *object, const QString &title, const QString &newTitle)
{
    const QPointer<QObject> alive(object);
    for (const char *property : {"windowTitle", "title"}) {
        if (alive && dv_hasTextProperty(object, property))
            dv_replacePropertyText(object, property, title, newTitle);
    }
}

// False when it is no page of a tab widget.
bool replaceTabText(QObject *object, const QString &title, const QString &newTitle)
{
    auto *page = qobject_cast<QWidget *>(object);
    for (QWidget *parent = page; parent; parent = parent->parentWidget()) {
        auto *tabs = qobject_cast<QTabWidget *>(parent);
        const int index = tabs ? tabs->indexOf(page) : -1;
        if (index < 0)
            continue;
        dv_replaceText({tabs->tabBar(),
                        {"tabText", index},
                        tabs->tabText(index),
                        [tabs, index](const QString &text) { tabs->setTabText(index, text); }},
                       title, newTitle);
        return true;
    }
    return false;
}

} // namespace

const QList<DVStringPtr> &DVViewStrings::dorvaneStringsInString()
{
    m_strings.clear();
    m_values.clear();
    m_firstLevel.clear();
    m_pieces.clear();
    m_found = isRich() ? DVFoundText::find(originalAttributedString, DVFoundText::Html)
                       : DVFoundText::find(originalString, DVFoundText::Plain);
    const bool isOne = m_found.pieces().size() == 1; // nearly always
    QSet<DVString *> known;
    for (qsizetype i = 0; i < m_found.pieces().size(); ++i) {
        const DVFoundPiece &found = m_found.pieces().at(i);
        if (!found.string)
            continue;
        if (found.piece.item.level == 1) {
            m_firstLevel.prepend(found.piece.item);
            m_firstLevel.front().targetString = found.group;
            m_firstLevel.front().pluralForm = found.pluralForm;
        }
        if (!isOne) {
            if (known.contains(found.string.get()))
                continue;
            known.insert(found.string.get());
        }
        m_strings.append(found.string);
        m_values.append(found.values);
        m_pieces.append(i);
    }
    return m_strings;
}

QString DVViewStrings::newLocalizedString() const
{
    if (isRich())
        return m_firstLevel.isEmpty() ? originalString : DVMarkup::plainText(newLocalizedAttributedString());
    return m_firstLevel.isEmpty() ? originalString : m_found.rebuilt();
}

QString DVViewStrings::newLocalizedAttributedString() const
{
    return isRich() && !m_firstLevel.isEmpty() ? m_found.rebuilt() : originalAttributedString;
}

QString DVViewStrings::newLocalizedStringForDorvaneString(const DVStringPtr &string) const
{
    if (!string)
        return {};
    for (qsizetype i = 0; i < m_strings.size(); ++i) {
        if (m_strings.at(i)->key == string->key)
            return m_found.rebuiltPiece(m_pieces.at(i), *string);
    }
    dv_logDebugLazily([&] {
        return QStringLiteral("Did not find values for dorvane string %1").arg(string->description());
    });
    return string->localizedFormat;
}

void DVViewStrings::updateView()
{
    if (originalString.isNull() && originalAttributedString.isNull())
        return;
    const QString newText = isRich() ? newLocalizedAttributedString() : newLocalizedString();
    if (view)
        updateViewAndAround(newText);
    if (viewController)
        updateTitles(isRich() ? DVMarkup::plainText(newText) : newText);
}

void DVViewStrings::updateViewAndAround(const QString &newText)
{
    const DVViewPtr label = view;
    const QString text = isRich() ? originalAttributedString : originalString;
    const bool rich = isRich();
    if (dv_isLabel(label))
        rich ? dorvaneUpdateAttributedText(label, text, newText) : dorvaneUpdateText(label, text, newText);
    for (DVViewPtr above = dv_superview(label); above; above = dv_superview(above)) {
        const DVTextContainer container(above->object());
        if (!container)
            continue;
        rich ? container.updateAttributedText(text, newText) : container.updateText(text, newText);
        break;
    }
    for (DVViewPtr shown = label; shown; shown = dv_superview(shown))
        shown->contentsDidChange();
}

void DVViewStrings::updateTitles(const QString &newText)
{
    if (isTitle)
        replaceTitle(viewController, originalString, newText);
    if (isTabTitle && viewController && !replaceTabText(viewController, originalString, newText))
        replaceTitle(viewController, originalString, newText);
}

QString DVViewStrings::description() const
{
    if (originalString.isNull() && originalAttributedString.isNull())
        return QStringLiteral("<DVViewStrings empty>");
    QStringList strings;
    for (const DVStringPtr &string : m_strings)
        strings.append(string->description());
    return QStringLiteral("<DVViewStrings %1 %2 - view %3 - dorvaneStrings (%4)>")
        .arg(isRich() ? QStringLiteral("attributed string") : QStringLiteral("string"),
             isRich() ? originalAttributedString : originalString, dv_viewDescription(view),
             strings.join(QStringLiteral(", ")));
}
