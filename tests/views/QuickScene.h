// A window of QML for tests, and what a search for texts finds in it.
#pragma once

#include "FoundTexts.h"

#include <QHash>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>
#include <QTranslator>

#include <memory>

// As the lookups mark a text: "‹Hello «5»›".
inline QString marked(QString shown)
{
    shown.replace(u'‹', QChar(0x200B)).replace(u'›', QChar(0x2062));
    return shown.replace(u'«', QChar(0x2063)).replace(u'»', QChar(0x2064));
}

// Translations that change while windows are open.
class Words : public QTranslator
{
    Q_OBJECT

public:
    QHash<QString, QString> words;
    mutable int asked = 0;

    bool isEmpty() const override { return false; }
    QString translate(const char *, const char *source, const char *, int) const override
    {
        ++asked;
        const QString word = words.value(QString::fromUtf8(source));
        return word.isEmpty() ? QString() : marked(word);
    }
};

// What the tools do after a change: every text that was found is shown again with its pieces replaced.
using Replacements = QList<QPair<QString, QString>>;
inline void replaceInAll(const QList<DVViewPtr> &views, const Replacements &replacements)
{
    for (const DVViewPtr &view : views) {
        const auto text = view->text();
        if (!text)
            continue;
        DVViewText changed = *text;
        for (const auto &[from, to] : replacements) {
            changed.text.replace(from, to);
            changed.richText.replace(from, to);
        }
        view->setText(*text, changed);
    }
}

// An ApplicationWindow with something in it.
class QuickScene
{
public:
    QuickScene(QQmlEngine &engine, const QString &body)
    {
        QQmlComponent component(&engine);
        const QString source =
            QStringLiteral("import QtQuick\nimport QtQuick.Controls\nimport Tests\nApplicationWindow {\n"
                           "id: root\nwidth: 400; height: 400\nvisible: true\n%1\n}\n");
        component.setData(source.arg(marked(body)).toUtf8(), QUrl());
        m_root.reset(component.create());
        if (!m_root)
            qWarning("%s", qPrintable(component.errorString()));
        window = qobject_cast<QQuickWindow *>(m_root.get());
    }

    bool isShown() const { return window && QTest::qWaitForWindowExposed(window); }
    DVViewPtr view() const { return dv_view(window); }
    // The item called "it", also when a view made it.
    QQuickItem *it() const { return item(window->contentItem(), QStringLiteral("it")); }
    QQuickItem *item(const QString &name) const { return item(window->contentItem(), name); }

    QQuickWindow *window = nullptr;

private:
    static QQuickItem *item(QQuickItem *top, const QString &name)
    {
        if (top->objectName() == name)
            return top;
        for (QQuickItem *child : top->childItems()) {
            if (QQuickItem *found = item(child, name))
                return found;
        }
        return nullptr;
    }

    std::unique_ptr<QObject> m_root;
};
