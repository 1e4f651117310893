#include "SignInPage.h"

#include <QFile>

namespace {

QString resource(const QString &name)
{
    QFile file(QStringLiteral(":/platform/") + name);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// Replaces each {name} by its value, escaped. What a value holds is not looked at again.
QString filled(const QString &page, const QHash<QString, QString> &values)
{
    QString result;
    qsizetype at = 0;
    for (qsizetype open = page.indexOf(QLatin1StringView("{{")); open >= 0;
         open = page.indexOf(QLatin1StringView("{{"), at)) {
        const qsizetype close = page.indexOf(QLatin1StringView("}}"), open);
        result += QStringView(page).sliced(at, open - at);
        result += values.value(page.mid(open + 2, close - open - 2)).toHtmlEscaped();
        at = close + 2;
    }
    return result + QStringView(page).sliced(at);
}

// The page runs nothing, loads nothing and is shown in no other page. (Where its form may go is not limited:
// some browsers apply that to the redirection into the application too.)
Answer page(Answer::Status status, const QString &html)
{
    return {status,
            "text/html; charset=utf-8",
            html.toUtf8(),
            {{"Cache-Control", "no-store"},
             {"Content-Security-Policy",
              "default-src 'none'; style-src 'unsafe-inline'; base-uri 'none'; frame-ancestors 'none'"},
             {"Referrer-Policy", "no-referrer"},
             {"X-Content-Type-Options", "nosniff"}}};
}

} // namespace

Answer signInPage(Answer::Status status, const QString &projectName, const QString &action,
                  const QString &user, const QString &error)
{
    const QString hidden = error.isEmpty() ? QStringLiteral("none") : QStringLiteral("block");
    return page(status, filled(resource(QStringLiteral("sign-in.html")),
                               {{QStringLiteral("project"), projectName},
                                {QStringLiteral("action"), action},
                                {QStringLiteral("user"), user},
                                {QStringLiteral("error"), error},
                                {QStringLiteral("errorDisplay"), hidden},
                                {QStringLiteral("invalid"),
                                 error.isEmpty() ? QStringLiteral("false") : QStringLiteral("true")}}));
}

Answer signInRefusal(const QString &projectName, const QString &error)
{
    return page(Answer::Status::BadRequest,
                filled(resource(QStringLiteral("refusal.html")),
                       {{QStringLiteral("project"), projectName}, {QStringLiteral("error"), error}}));
}
