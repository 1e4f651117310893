// Strings to be shown and found in the tests of views: a store made of a few texts, and views that are none.
#pragma once

#include "DVBaseLocaleStrings.h"
#include "DVCue.h"
#include "DVLocaleStrings.h"
#include "DVMainController.h"
#include "DVState.h"
#include "DVView.h"
#include "DVWrittenLog.h"

#include <QHash>
#include <QObject>

#include <map>

// Markers as dv_stringShowingCues shows them.
inline QString marked(QString shown)
{
    return shown.replace(u'[', QChar(DVCueMarker::stringStart))
        .replace(u']', QChar(DVCueMarker::stringEnd))
        .replace(u'{', QChar(DVCueMarker::argumentStart))
        .replace(u'}', QChar(DVCueMarker::argumentEnd));
}

// Texts by key, or by "key|category" for a plural form; with markers as above.
using ShownTexts = std::map<QString, QString>;

inline DVStringTablePtr tableOf(const ShownTexts &texts, bool fromBase = false)
{
    DVStringTableBuilder builder(true, fromBase);
    for (const auto &[name, text] : texts) {
        const QByteArray key = name.section(u'|', 0, 0).toUtf8();
        const QByteArray category = name.section(u'|', 1, 1).toUtf8();
        const QByteArray uid = category.isEmpty() ? key : QByteArray(key + '[' + category + ']');
        const QByteArray target = marked(text).toUtf8();
        const auto view = [](const QByteArray &bytes) {
            return std::string_view(bytes.constData(), size_t(bytes.size()));
        };
        builder.add({view(key), view(uid), category.isEmpty() ? std::string_view() : view(category),
                     view(target), view("")});
    }
    return builder.build();
}

class ShownStore : public DVLocaleStrings
{
public:
    ShownStore(const QString &locale, const ShownTexts &texts)
        : DVLocaleStrings(DVLocale(locale))
    {
        setLoadedStrings(DVStringLayers({tableOf(texts)}));
    }

    // Replaces the store of the current locale.
    static void serve(const ShownTexts &texts, const QString &locale = QStringLiteral("fr"))
    {
        DVMainController::sharedInstance().setLocaleStrings(std::make_shared<ShownStore>(locale, texts));
    }
    static void serveBase(const ShownTexts &texts)
    {
        const auto base = DVBaseLocaleStrings::localeStringsForLocale(DVLocale(QStringLiteral("en")));
        base->setSourceStrings(DVStringLayers({tableOf(texts, true)}));
        DVMainController::sharedInstance().setBaseLocaleStrings(base);
    }
    static void serveNothing()
    {
        DVMainController::sharedInstance().setLocaleStrings(nullptr);
        DVMainController::sharedInstance().setBaseLocaleStrings(nullptr);
    }
};

// While it lives, DVWrittenLog has debug messages, too.
class HeardDebug
{
public:
    HeardDebug()
    {
        DVState::shared().debug = true;
        DVWrittenLog::begin();
        DVWrittenLog::take();
    }
    ~HeardDebug()
    {
        DVWrittenLog::end();
        DVState::shared().debug = false;
    }
    Q_DISABLE_COPY_MOVE(HeardDebug)
};

// A view of nothing: it shows what it is told, and says what happens to it.
class FakeView : public DVView, public std::enable_shared_from_this<FakeView>
{
public:
    static std::shared_ptr<FakeView> make(const QString &name, QObject *object = nullptr)
    {
        auto view = std::make_shared<FakeView>();
        view->name = name;
        view->shownBy = object;
        return view;
    }
    static std::shared_ptr<FakeView> label(const QString &name, const DVViewText &shown)
    {
        auto view = make(name);
        view->shown = shown;
        return view;
    }
    std::shared_ptr<FakeView> with(const QList<std::shared_ptr<FakeView>> &inside)
    {
        const auto self = shared_from_this();
        for (const auto &view : inside) {
            view->above = self;
            children.append(view);
        }
        return self;
    }

    QObject *object() const override { return shownBy; }
    bool isSameAs(const DVView &other) const override { return this == &other; }
    QList<DVViewPtr> subviews() const override { return children; }
    DVViewPtr superview() const override { return above.lock(); }
    DVViewPtr viewAt(const QPointF &) override { return shared_from_this(); }
    std::optional<DVViewText> text() const override { return shown; }
    void setText(const DVViewText &text, const DVViewText &newText) override
    {
        events().append(QString(name % u" shows " % (newText.isRich() ? newText.richText : newText.text)));
        if (shown && shown->text == text.text)
            shown = newText;
    }
    QRectF frame() const override { return rect; }
    void contentsDidChange() override { events().append(QString(name % u" changed")); }

    // What happened to all of them.
    static QStringList &events()
    {
        static QStringList all;
        return all;
    }

    QString name;
    QObject *shownBy = nullptr;
    std::optional<DVViewText> shown;
    QList<DVViewPtr> children;
    std::weak_ptr<FakeView> above;
    QRectF rect;
};
