#include "DeliveryDoctor.h"

#include "AnswerChecks.h"
#include "ContentChecks.h"
#include "DeliveryKey.h"
#include "Reachability.h"

#include <DVHttpDate.h>
#include <DVLocaleIdentifiers.h>
#include <DVLocaleStrings.h>
#include <DVNetwork.h>
#include <DVServerUrl.h>
#include <DVState.h>
#include <DVStringsDelivery.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QNetworkReply>

namespace {

class Examination
{
public:
    Examination(const DeliveryQuestion &question, const StepReport &report)
        : m_question(question)
        , m_report(report)
    {}

    void run()
    {
        if (!checkQuestion() || !checkReachability(QUrl(m_plainUrl), m_question.timeoutMs, m_report))
            return;
        const QDateTime sent = QDateTime::currentDateTimeUtc();
        const Fetched plain = fetch(m_plainUrl);
        const QDateTime received = QDateTime::currentDateTimeUtc();
        const Fetched forced = fetch(m_forcedUrl);
        tellPlain(plain, forced);
        if (plain.isGood())
            checkHeaders(plain.answer, sent, received);
        tellForced(plain, forced);
        const DVHttpResponse &delivered = plain.isGood() ? plain.answer : forced.answer;
        if (delivered.statusCode == 200 && !delivered.body.isEmpty())
            checkContent(delivered.body, {m_question.key, m_platformLocale, m_question.string}, m_report);
    }

private:
    struct Fetched
    {
        DVErrorOr error;
        DVHttpResponse answer;
        bool isGood() const { return !error && answer.statusCode == 200; }
    };

    void tell(const char *name, Verdict verdict, const QString &seen, const QString &advice = {}) const
    {
        m_report({QString::fromLatin1(name), verdict, seen, advice});
    }

    bool checkQuestion()
    {
        const QString refused =
            DVServerUrl::setServers({{QStringLiteral("deliveryCdn"), m_question.baseUrl}});
        if (!refused.isNull()) {
            tell("url", Verdict::Fail, QStringLiteral("\"%1\" is refused by applications").arg(refused),
                 QStringLiteral("give an https URL (http is for this machine only: 127.0.0.1, [::1], "
                                "localhost) without user, query and fragment"));
            return false;
        }
        tell("url", Verdict::Ok, DVServerUrl::baseUrlForServer(DVServerDeliveryCdn));
        return checkLocale() && checkKey() && makeUrls();
    }
    bool checkLocale()
    {
        const DVLocale locale = localeFromDorvneIdentifier(m_question.locale);
        m_platformLocale = dorvaneLocaleIdentifier(locale);
        if (!dv_isSafeLocaleIdentifier(m_question.locale)) {
            tell("locale", Verdict::Fail, QStringLiteral("\"%1\" is no locale").arg(m_question.locale),
                 QStringLiteral("write it like \"fr-CA\""));
            return false;
        }
        const bool isKnown = dv_supportedLocales().contains(m_platformLocale);
        tell("locale", isKnown ? Verdict::Ok : Verdict::Warn,
             QStringLiteral("%1, project \"%2\", version \"%3\"")
                 .arg(m_platformLocale, m_question.project, m_question.appVersion),
             isKnown ? QString()
                     : QStringLiteral("no device chooses this locale by itself; only an application that "
                                      "names it asks for it"));
        return true;
    }
    bool checkKey() const
    {
        if (m_question.key.isNull()) {
            tell("key", Verdict::Warn, QStringLiteral("none is given; the file will not be opened"),
                 QStringLiteral("give it with --key or --key-file"));
            return true;
        }
        const QString problem = deliveryKeyProblem(m_question.key);
        const qsizetype bits = 8 * QByteArray::fromBase64(m_question.key.toLatin1()).size();
        if (problem.isNull())
            tell("key", Verdict::Ok, QStringLiteral("AES-%1").arg(bits));
        else
            tell("key", Verdict::Fail, problem, QStringLiteral("give the project's delivery key"));
        return problem.isNull();
    }
    bool makeUrls()
    {
        QCoreApplication::setApplicationVersion(m_question.appVersion);
        DVState::shared().setAppId(m_question.project);
        const auto store =
            DVLocaleStrings::localeStringsForLocale(localeFromDorvneIdentifier(m_question.locale));
        m_plainUrl = store->downloadUrl(false);
        m_forcedUrl = store->downloadUrl(true);
        return true;
    }

    // As the library's downloads ask.
    DVErrorOr get(const QString &url, const QByteArray &since, DVHttpResponse *answer) const
    {
        DVHttpRequest request;
        request.request.setUrl(QUrl(url, QUrl::TolerantMode));
        request.request.setRawHeader("Accept-Encoding", "gzip");
        request.request.setRawHeader("User-Agent", DVNetwork::userAgent().toUtf8());
        if (!since.isEmpty())
            request.request.setRawHeader("If-Modified-Since", since);
        DVErrorOr error = DVHttpTransport::sendAndWait(request, m_question.timeoutMs / 1000.0, answer);
        return error ? error : DVStringsDelivery::errorOfLength(*answer);
    }
    Fetched fetch(const QString &url) const
    {
        Fetched fetched;
        fetched.error = get(url, {}, &fetched.answer);
        return fetched;
    }
    void tellPlain(const Fetched &plain, const Fetched &forced) const
    {
        tellStatus(
            "plain", m_plainUrl, plain,
            forced.isGood()
                ? QStringLiteral("devices refresh from this address in the background: serve the file "
                                 "there too")
                : QStringLiteral("see project, version and locale in the address, and whether they are "
                                 "published; for \"dorvane serve\" the base ends in \"/projects\""));
    }
    void tellForced(const Fetched &plain, const Fetched &forced) const
    {
        if (plain.isGood() && forced.isGood() && plain.answer.body != forced.answer.body)
            return tell("forced", Verdict::Warn,
                        QStringLiteral("200, but another file than the plain address has"),
                        QStringLiteral("both have to be the same; a cache between may hold an old one"));
        tellStatus("forced", m_forcedUrl, forced,
                   plain.isGood()
                       ? QStringLiteral("map the address with \"/force\" to the same file (\"dorvane pack "
                                        "--tree\" has configurations for servers): the "
                                        "download that a launch waits for uses it")
                       : QString());
    }
    void checkHeaders(const DVHttpResponse &answer, const QDateTime &sent, const QDateTime &received) const
    {
        checkDate(answer, sent, received, m_report);
        checkFreshness(answer, m_report);
        checkLastModified(answer, m_report);
        checkBodyHeaders(answer, m_report);
        checkCookies(answer, m_report);
        checkConditionalRequest(answer.header("Last-Modified"));
    }
    void tellStatus(const char *name, const QString &url, const Fetched &fetched, const QString &advice) const
    {
        const QString path = QUrl(url).path(QUrl::FullyEncoded);
        if (fetched.error) {
            const bool isInsecure = fetched.error->code == QNetworkReply::InsecureRedirectError;
            return tell(name, Verdict::Fail, QString(path % u": " % fetched.error->description),
                        isInsecure ? QStringLiteral("redirect to https; devices follow nothing else")
                                   : QStringLiteral("see the server's log"));
        }
        const int status = fetched.answer.statusCode;
        const QString seen = QStringLiteral("%1 %2").arg(status).arg(path);
        if (status == 200)
            return tell(name, Verdict::Ok, seen);
        tell(name, Verdict::Fail, seen, adviceFor(status, advice));
    }
    static QString adviceFor(int status, const QString &advice)
    {
        if (status == 403)
            return QStringLiteral("delivery is switched off for this project, or the server may not read the "
                                  "file");
        if (status >= 500)
            return QStringLiteral("the server is ill; devices go on with what they have. See its log");
        return advice;
    }
    void checkConditionalRequest(const QByteArray &since) const
    {
        if (!dv_dateFromHttpHeaderString(QString::fromLatin1(since)).isValid())
            return; // told already
        DVHttpResponse answer;
        if (const DVErrorOr error = get(m_plainUrl, since, &answer))
            return tell("conditional", Verdict::Fail, error->description,
                        QStringLiteral("see the server's log"));
        checkConditional(answer, m_report);
    }

    const DeliveryQuestion &m_question;
    const StepReport &m_report;
    QString m_platformLocale;
    QString m_plainUrl;
    QString m_forcedUrl;
};

} // namespace

void examineDelivery(const DeliveryQuestion &question, const StepReport &report)
{
    Examination(question, report).run();
}
