// DVQuickSingleton: what QML sees as "Dorvane".
#pragma once

#include <QJSValue>
#include <QObject>
#include <QString>
#include <QStringList>

class QQmlEngine;

// One for each engine, which owns it. docs/guides/quick.md is its contract.
class DVQuickSingleton : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString locale READ locale NOTIFY localeChanged)
    Q_PROPERTY(QStringList locales READ locales NOTIFY revisionChanged)
    Q_PROPERTY(int revision READ revision NOTIFY revisionChanged)
    // Functions as properties: a binding that calls one depends on the property, and runs again with
    // the next revision.
    Q_PROPERTY(QJSValue translate READ translate NOTIFY revisionChanged)
    Q_PROPERTY(QJSValue plural READ plural NOTIFY revisionChanged)

public:
    explicit DVQuickSingleton(QQmlEngine &engine);

    QString locale() const { return m_locale; }
    QStringList locales() const;
    int revision() const { return m_revision; }
    QJSValue translate() const { return m_translate; }
    QJSValue plural() const { return m_plural; }

    Q_INVOKABLE void setLocale(const QString &id, const QJSValue &completion = {});

Q_SIGNALS:
    void localeChanged();
    void revisionChanged();

private:
    void takeNews();
    void takeLocale();

    QString m_locale;
    int m_revision = 1;
    QJSValue m_translate;
    QJSValue m_plural;
};
