// SignInForm: a form of a web page, as far as signing in needs one.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

#include <optional>

struct SignInForm
{
    struct Field
    {
        QString name;
        QString type; // lower case; "text" where the page says none
        QString value;
    };
    QUrl action;         // absolute
    QByteArray method;   // "GET" or "POST"
    QList<Field> fields; // what a browser would send, and of the buttons the first

    bool asksForPassword() const;
    // Writes the user into the first field for a text, and the password.
    void fillIn(const QString &user, const QString &password);
    QByteArray encoded() const; // application/x-www-form-urlencoded

    // The form of a page that asks for a password, else its first one. Damaged pages are read as browsers
    // read them. Nothing where there is no form with an http or https address.
    static std::optional<SignInForm> of(const QByteArray &page, const QUrl &pageUrl);
};
