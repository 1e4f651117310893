// A review whose platform, or the way to it, misbehaves: what goes wrong is said, no edit is lost, and the
// same application goes on with a platform that is well.
#include "DVFaultProxy.h"
#include "DVFaultServer.h"
#include "ReviewApp.h"

#include <QJsonParseError>
#include <QNetworkReply>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;
using Action = DVFaultProxy::Action;
using Rule = DVFaultProxy::Rule;

Q_DECLARE_METATYPE(DVFaultProxy::Rule)

namespace {

constexpr qint64 hugeAnswer = qint64(200) << 20;

// `filling` blanks that `head` may announce, or else the body.
Rule answering(const QByteArray &part, const QByteArray &status, const QByteArray &body,
               const QByteArray &head = {}, qint64 filling = 0)
{
    const QByteArray length = "Content-Length: " + QByteArray::number(body.size()) + "\r\n";
    return {part, Action::Replace, 0,
            "HTTP/1.1 " + status + " X\r\n" + head + (filling > 0 ? QByteArray() : length) + "\r\n" + body,
            filling};
}

#if defined(__SANITIZE_ADDRESS__) || (defined(__has_feature) && __has_feature(address_sanitizer))
constexpr bool isUnderAddressSanitizer = true;
#else
constexpr bool isUnderAddressSanitizer = false;
#endif

} // namespace

// One application for all rows: after each of them it has to go on.
class tst_ReviewHostile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void exchanges_data();
    void exchanges();
    void tokensThatExpireAtOnce();

private:
    void edit();
    QJsonObject unsent(bool textsWereSaved) const;
    QJsonObject unsaved();
    void sendToAPlatformThatIsWell();
    qint64 peakMemory() const; // bytes
    qsizetype requestsWith(const QByteArray &part) const
    {
        const QByteArrayList all = m_proxy->requests();
        return std::count_if(all.begin(), all.end(), [&](const auto &one) { return one.contains(part); });
    }

    std::unique_ptr<PlatformProject> m_project;
    std::unique_ptr<ServeProcess> m_server;
    std::unique_ptr<DVFaultProxy> m_proxy;
    std::unique_ptr<DVFaultServer> m_elsewhere;
    std::unique_ptr<ReviewApp> m_app;
    int m_round = 0;
    QString m_hello;
    QString m_greet;
};

void tst_ReviewHostile::initTestCase()
{
    m_project = std::make_unique<PlatformProject>();
    m_server = std::make_unique<ServeProcess>(m_project->path());
    m_proxy = std::make_unique<DVFaultProxy>(m_server->port());
    m_elsewhere = std::make_unique<DVFaultServer>();
    m_app = std::make_unique<ReviewApp>(QString(m_project->path() + u"/../device"));
    QCOMPARE(m_app->signIn(m_proxy->port()), QString());
    QCOMPARE(m_app->chooseFrenchReview(), QString());
}

void tst_ReviewHostile::cleanupTestCase()
{
    m_app.reset();
    m_proxy.reset();
}

// New texts each time, one of them accepted.
void tst_ReviewHostile::edit()
{
    const QString round = QString::number(++m_round);
    m_hello = u"Salut " % round % u" & <b>\"toi\"</b>\n\U0001F44B";
    m_greet = u"%1 & " % round;
    QCOMPARE(m_app->edit(u"Hello"_qs, m_hello), QString());
    QCOMPARE(m_app->edit(u"Greet"_qs, m_greet), QString());
    QCOMPARE(m_app->accept(u"Greet"_qs), QString());
}

QJsonObject tst_ReviewHostile::unsent(bool textsWereSaved) const
{
    QJsonObject texts;
    if (!textsWereSaved)
        texts = {{u"Hello"_qs, QJsonObject{{u"none"_qs, m_hello}}},
                 {u"Greet"_qs, QJsonObject{{u"none"_qs, m_greet}}}};
    return {{u"edited"_qs, texts}, {u"accepted"_qs, QJsonArray{u"Greet"_qs}}};
}

QJsonObject tst_ReviewHostile::unsaved()
{
    const QJsonObject reply = m_app->ask(u"unsaved"_qs);
    return {{u"edited"_qs, reply.value(u"edited"_qs)}, {u"accepted"_qs, reply.value(u"accepted"_qs)}};
}

void tst_ReviewHostile::sendToAPlatformThatIsWell()
{
    m_proxy->setRule({});
    const QJsonObject pushed = m_app->ask(u"push"_qs);
    QCOMPARE(ReviewApp::errorOf(pushed), QString());
    QCOMPARE(pushed.value(u"failures"_qs), QJsonValue(QJsonObject()));
    QCOMPARE(unsaved(), (QJsonObject{{u"edited"_qs, QJsonObject()}, {u"accepted"_qs, QJsonArray()}}));
    const PlatformPeer peer(*m_server);
    const QByteArray token = peer.accessToken();
    const Texts waiting = PlatformTexts::targetsOf(peer.exported(token, PlatformTexts::pending));
    const Texts published = PlatformTexts::targetsOf(peer.exported(token, PlatformTexts::published));
    QCOMPARE(waiting.value(u"hello"_qs), m_hello);
    QCOMPARE(published.value(u"greet"_qs), QString(m_greet).replace(u"%1"_qs, u"{%1}"_qs));
}

qint64 tst_ReviewHostile::peakMemory() const
{
    QFile file(u"/proc/%1/status"_qs.arg(m_app->process().processId()));
    const QByteArray status = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    const qsizetype at = status.indexOf("VmHWM:") + 6;
    return status.mid(at, status.indexOf('k', at) - at).trimmed().toLongLong() * 1024;
}

void tst_ReviewHostile::exchanges_data()
{
    QTest::addColumn<Rule>("rule");
    QTest::addColumn<int>("clockMs"); // how far time goes on before
    QTest::addColumn<QString>("domain");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("description"); // its beginning
    constexpr int pastTheToken = 300000;
    const auto row = [](const QByteArray &name, const Rule &rule, int clockMs, const char *domain, int code,
                        const QString &description) {
        QTest::newRow(name.constData())
            << rule << clockMs << QString::fromLatin1(domain) << code << description;
    };
    const auto cancelledLogin = u"Login cancelled by user"_qs;
    const char *const sdk = "dorvane.SDK";
    const char *const api = "dorvane.API";
    const char *const network = "dorvane.network";
    row("a refresh that is refused opens the sign-in: cancelled by user",
        answering("/token", "400", R"({"error":"invalid_grant"})"), pastTheToken, sdk, 401, cancelledLogin);
    row("a refresh whose connection breaks, likewise", {"/token", Action::Reset, 100, {}, 0}, pastTheToken,
        sdk, 401, cancelledLogin);
    row("a refresh whose answer is a page, likewise", answering("/token", "200", "<html>"), pastTheToken, sdk,
        401, cancelledLogin);
    row("a refresh whose answer has no token, likewise", answering("/token", "200", "{}"), pastTheToken, sdk,
        401, cancelledLogin);

    const QByteArray refused = R"({"response":{"code":"AUTHENTICATION_ERROR","errors":[]}})";
    for (const QByteArray request : {"/import", "/submittedStrings"}) {
        const auto named = [&](const QByteArray &what) -> QByteArray {
            return what + " (" + request.mid(1) + ')';
        };
        row(named("a 401 to a token that looks alive: its code"), answering(request, "401", refused), 0, api,
            401, u"AUTHENTICATION_ERROR"_qs);
        row(named("a body that is not JSON: where it is not"), answering(request, "200", "<html>"), 0, sdk,
            int(QJsonParseError::IllegalValue), u"Invalid JSON"_qs);
        row(named("an answer without \"response\": a server error"), answering(request, "200", R"({"a":1})"),
            0, api, 500, u"Server error"_qs);
        row(named("an answer of 200 MB: too large"), answering(request, "200", {}, {}, hugeAnswer), 0,
            network, int(QNetworkReply::UnknownContentError), u"The answer is too large."_qs);
        row(named("an answer of 200 MB that is announced: too large"),
            answering(request, "200", {}, "Content-Length: " + QByteArray::number(hugeAnswer) + "\r\n",
                      hugeAnswer),
            0, network, int(QNetworkReply::UnknownContentError), u"The answer is too large."_qs);
        row(named("a redirect to another origin: where from and where to"),
            answering(request, "307", {}, "Location: " + m_elsewhere->url(u"/x"_qs).toUtf8() + "\r\n"), 0,
            network, int(QNetworkReply::InsecureRedirectError), u"The redirect from"_qs);
        row(named("a connection that is cut in the request: that it was"),
            {request, Action::Reset, 200, {}, 0}, 0, network, int(QNetworkReply::RemoteHostClosedError),
            u"The connection was closed"_qs);
    }
    row("an upload that never ends, cancelled", {"/import", Action::HoldRequest, 500, {}, 0}, 0, network,
        int(QNetworkReply::OperationCanceledError), u"The request was canceled."_qs);
    row("an answer that never comes, cancelled: what the platform took is taken again",
        {"/import", Action::HoldAnswer, 0, {}, 0}, 0, network, int(QNetworkReply::OperationCanceledError),
        u"The request was canceled."_qs);
}

void tst_ReviewHostile::exchanges()
{
    QFETCH(Rule, rule);
    QFETCH(int, clockMs);
    QFETCH(QString, description);
    edit();
    m_app->ask(u"clock"_qs, {{u"advanceMs"_qs, clockMs}});
    const qint64 memory = peakMemory();
    m_proxy->setRule(rule);
    QJsonObject members{{u"overwrite"_qs, true}};
    const bool waits = rule.action == Action::HoldRequest || rule.action == Action::HoldAnswer;
    if (waits)
        members.insert(u"timeoutMs"_qs, 500);
    const QJsonObject reply = m_app->ask(u"push"_qs, members);
    const QJsonObject error = reply.value(u"error"_qs).toObject();
    QTEST(error.value(u"domain"_qs).toString(), "domain");
    QTEST(error.value(u"code"_qs).toInt(), "code");
    QVERIFY2(ReviewApp::errorOf(reply).startsWith(description), qPrintable(ReviewApp::errorOf(reply)));
    QCOMPARE(unsaved(), unsent(rule.part == "/submittedStrings"));
    if (rule.filling > 0) {
        // The limit is 64 MiB, in an array that grows by doubling: never the whole answer.
        QVERIFY2(m_proxy->replaced() < hugeAnswer / 2, qPrintable(QString::number(m_proxy->replaced())));
        if (!isUnderAddressSanitizer) // which keeps what was freed
            QVERIFY2(peakMemory() - memory < hugeAnswer, qPrintable(QString::number(peakMemory() - memory)));
    }
    QCOMPARE(m_elsewhere->connectionCount(), 0);
    sendToAPlatformThatIsWell();
}

// Tokens that live half a minute have expired for the library, which takes a minute off, whenever a request
// is built: each one is refreshed for, once, and what the refresh brings signs it.
void tst_ReviewHostile::tokensThatExpireAtOnce()
{
    m_project->setPeople({{u"tokens"_qs, QJsonObject{{u"accessSeconds"_qs, 30}}}});
    edit();
    m_app->ask(u"clock"_qs, {{u"advanceMs"_qs, 300000}});
    const qsizetype refreshes = requestsWith("/token");
    const QJsonObject pushed = m_app->ask(u"push"_qs, {{u"overwrite"_qs, true}});
    QCOMPARE(ReviewApp::errorOf(pushed), QString());
    QCOMPARE(requestsWith("/token") - refreshes, 2); // the texts, and the accepted string
    sendToAPlatformThatIsWell();
}

QTEST_GUILESS_MAIN(tst_ReviewHostile)
#include "tst_review_hostile.moc"
