// A review that is killed at any moment of a sending, the application or the platform: nothing that was
// written is lost, and nothing whose answer had arrived is sent again.
#include "DVFaultProxy.h"
#include "ReviewApp.h"
#include <DVRows.h>

#include <QSet>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString greeting = u"\"%1\" & <b>moi</b>\nligne 2 \U0001F331 'x'"_qs;
const QString hello = u"Salut &amp; <bienvenue>\r\n\t\U0001F44B"_qs;
const QString leaves = u"%n \"feuille\" & <une>\n\U0001F342"_qs;
const QString reason = u"personne ne dit \"ça\" & <rien>\n\U0001F914"_qs;

const QStringList allChanges{u"import"_qs, u"submittedStrings"_qs, u"rejectedStrings"_qs, u"issues"_qs};

} // namespace

class tst_ReviewKill : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void killedWhileSending_data();
    void killedWhileSending();
    void aRejectionWithoutAnAnswerIsKept();
    void twoAtOnce();

private:
    QString dataDir() const { return QString(m_project->path() + u"/../device"); }
    void start()
    {
        m_app = std::make_unique<ReviewApp>(dataDir());
        QCOMPARE(m_app->signIn(m_proxy->port()), QString());
    }
    // Two strings, a plural form, a decision for and one against.
    void review()
    {
        QCOMPARE(m_app->chooseFrenchReview(), QString());
        QCOMPARE(m_app->edit(u"Greet"_qs, greeting), QString());
        QCOMPARE(m_app->edit(u"Hello"_qs, hello), QString());
        QCOMPARE(m_app->edit(u"Leaves"_qs, leaves, u"one"_qs), QString());
        QCOMPARE(m_app->accept(u"Greet"_qs), QString());
        QCOMPARE(m_app->reject(u"Hello"_qs, reason), QString());
    }
    // What has not been sent, with every text; `from` is the first change that is left.
    static QJsonObject unsent(const QString &from)
    {
        const qsizetype done = from.isNull() ? allChanges.size() : allChanges.indexOf(from);
        const QJsonObject rejection{{u"reason"_qs, u"POOR_TRANSLATION"_qs}, {u"description"_qs, reason}};
        QJsonObject issue = rejection;
        issue.insert(u"key"_qs, u"Hello"_qs);
        QJsonObject left{{u"edited"_qs, QJsonObject()},
                         {u"accepted"_qs, QJsonArray()},
                         {u"rejected"_qs, QJsonObject()},
                         {u"issues"_qs, QJsonArray()}};
        if (done < 1)
            left[u"edited"_qs] = QJsonObject{
                {u"Greet"_qs, QJsonObject{{u"none"_qs, greeting}}},
                {u"Hello"_qs, QJsonObject{{u"none"_qs, hello}}},
                {u"Leaves"_qs, QJsonObject{{u"one"_qs, leaves}, {u"other"_qs, u"%n feuilles"_qs}}}};
        if (done < 2)
            left[u"accepted"_qs] = QJsonArray{u"Greet"_qs};
        if (done < 3)
            left[u"rejected"_qs] = QJsonObject{{u"Hello"_qs, rejection}};
        if (done == 3)
            left[u"issues"_qs] = QJsonArray{issue};
        return left;
    }
    QJsonObject unsaved()
    {
        QJsonObject reply = m_app->ask(u"unsaved"_qs);
        for (const auto &name : {u"reply"_qs, u"count"_qs, u"discarded"_qs})
            reply.remove(name);
        return reply;
    }
    // The changes that clients have sent, in their order.
    QStringList changesSent() const
    {
        QStringList changes;
        for (const QByteArray &request : m_proxy->requests()) {
            const QString last = QString::fromUtf8(request).section(u'/', -1);
            if (allChanges.contains(last))
                changes.append(last);
        }
        return changes;
    }
    // What the platform took, in its order.
    QStringList taken() const
    {
        QStringList lines = m_project->statusesTaken();
        for (const QJsonObject &line : m_project->receivedLines(u"issues.jsonl"_qs))
            lines.append(QString(u"issue " + line.value(u"hashcode"_qs).toString() + u' ' +
                                 line.value(u"issueSubTypeCode"_qs).toString() + u' ' +
                                 line.value(u"issueText"_qs).toString()));
        return lines;
    }
    void restartServer()
    {
        m_server.reset(); // SIGKILL
        m_server = std::make_unique<ServeProcess>(m_project->path());
        m_proxy->setServer(m_server->port());
    }

    std::unique_ptr<PlatformProject> m_project;
    std::unique_ptr<ServeProcess> m_server;
    std::unique_ptr<DVFaultProxy> m_proxy;
    std::unique_ptr<ReviewApp> m_app;
};

void tst_ReviewKill::init()
{
    m_project = std::make_unique<PlatformProject>();
    m_server = std::make_unique<ServeProcess>(m_project->path());
    m_proxy = std::make_unique<DVFaultProxy>(m_server->port());
}

void tst_ReviewKill::cleanup()
{
    m_app.reset();
    m_proxy.reset();
    m_server.reset();
    m_project.reset();
}

void tst_ReviewKill::killedWhileSending_data()
{
    // change: the request under way; bytes: of it that the platform got; -1: all, and it answered;
    // serverDies: else the application; again: what the platform takes a second time, since nobody knew
    const DVRows<QString, qint64, bool, QStringList> row("change", "bytes", "serverDies", "again");
    const QStringList imported{u"imported greet"_qs, u"imported hello"_qs, u"imported leaves"_qs};
    const QStringList none;
    row("the application, before the texts are sent", u"import"_qs, qint64(0), false, none);
    row("the application, in the upload of the texts", u"import"_qs, qint64(900), false, none);
    row("the application, when the texts are saved but it does not know", u"import"_qs, qint64(-1), false,
        imported);
    row("the application, between save and submit", u"submittedStrings"_qs, qint64(0), false, none);
    row("the application, when it does not know that the string was submitted", u"submittedStrings"_qs,
        qint64(-1), false, {u"submitted greet"_qs});
    row("the application, between submit and reject", u"rejectedStrings"_qs, qint64(0), false, none);
    row("the application, between reject and issue", u"issues"_qs, qint64(0), false, none);
    row("the application, when it does not know that the issue was filed", u"issues"_qs, qint64(-1), false,
        {QString(u"issue hello POOR_TRANSLATION " + reason)});
    row("the platform, in the upload of the texts", u"import"_qs, qint64(900), true, none);
    row("the platform, before its answer to the save arrives", u"import"_qs, qint64(-1), true, imported);
    row("the platform, between reject and issue", u"issues"_qs, qint64(0), true, none);
}

void tst_ReviewKill::killedWhileSending()
{
    QFETCH(QString, change);
    QFETCH(qint64, bytes);
    QFETCH(bool, serverDies);
    QFETCH(QStringList, again);
    using Action = DVFaultProxy::Action;
    start();
    review();
    const bool wholly = bytes < 0;
    m_proxy->setRule({'/' + change.toUtf8(),
                      wholly ? Action::HoldAnswer : Action::HoldRequest,
                      wholly ? 0 : bytes,
                      {},
                      0});
    m_app->send(TryProcess::doing(u"push"_qs));
    m_app->process().waitForBytesWritten();
    QVERIFY(m_proxy->waitUntilHeld());
    const QStringList before = taken();
    if (serverDies) {
        restartServer();
        QVERIFY(!ReviewApp::errorOf(m_app->reply()).isEmpty() || change == u"issues");
    } else {
        m_app->kill();
        start();
    }
    QCOMPARE(unsaved(), unsent(change));
    const qsizetype sent = changesSent().size();

    const QJsonObject pushed = m_app->ask(u"push"_qs);
    QCOMPARE(ReviewApp::errorOf(pushed), QString());
    QCOMPARE(pushed.value(u"failures"_qs), QJsonValue(QJsonObject()));
    QCOMPARE(unsaved(), unsent({}));
    QCOMPARE(changesSent().mid(sent), allChanges.mid(allChanges.indexOf(change)));
    QStringList all{u"imported greet"_qs,  u"imported hello"_qs,
                    u"imported leaves"_qs, u"submitted greet"_qs,
                    u"rejected hello"_qs,  QString(u"issue hello POOR_TRANSLATION " + reason)};
    QCOMPARE(taken(), before + all.mid(before.size() - again.size()));

    const PlatformPeer peer(*m_server);
    const QByteArray token = peer.accessToken();
    const Texts waiting = PlatformTexts::targetsOf(peer.exported(token, PlatformTexts::pending));
    const Texts published = PlatformTexts::targetsOf(peer.exported(token, PlatformTexts::published));
    QCOMPARE(published.value(u"greet"_qs), QString(greeting).replace(u"%1"_qs, u"{%1}"_qs));
    QCOMPARE(waiting.value(u"hello"_qs), hello);
    QCOMPARE(waiting.value(u"leaves[one]"_qs), QString(leaves).replace(u"%n"_qs, u"{%n}"_qs));
}

// The string has left the step, so the platform refuses to reject it again: it stays with the translator,
// reason and all, and no issue is filed behind the translator's back.
void tst_ReviewKill::aRejectionWithoutAnAnswerIsKept()
{
    start();
    review();
    m_proxy->setRule({"/rejectedStrings", DVFaultProxy::Action::HoldAnswer, 0, {}, 0});
    m_app->send(TryProcess::doing(u"push"_qs));
    m_app->process().waitForBytesWritten();
    QVERIFY(m_proxy->waitUntilHeld());
    const QStringList before = taken();
    QCOMPARE(before.constLast(), u"rejected hello"_qs);
    m_app->kill();
    start();
    QCOMPARE(unsaved(), unsent(u"rejectedStrings"_qs));
    const QJsonObject failures = m_app->ask(u"push"_qs).value(u"failures"_qs).toObject();
    QCOMPARE(failures.keys(), QStringList{u"Hello"_qs});
    QCOMPARE(unsaved(), unsent(u"rejectedStrings"_qs));
    QCOMPARE(taken(), before);
}

// Each keeps what it holds in memory and writes whole files: those of the last one stand, and none is
// damaged.
void tst_ReviewKill::twoAtOnce()
{
    start();
    QCOMPARE(m_app->chooseFrenchReview(), QString());
    ReviewApp other(dataDir());
    QCOMPARE(other.signIn(m_proxy->port()), QString());
    constexpr int rounds = 30;
    QSet<QString> typed;
    const auto decide = [&](ReviewApp &app, const QString &key, const QString &text) {
        typed.insert(text);
        app.send(TryProcess::doing(u"edit"_qs, {{u"key"_qs, key}, {u"text"_qs, text}}));
        app.send(TryProcess::doing(u"accept"_qs, {{u"key"_qs, key}}));
        app.process().waitForBytesWritten();
    };
    for (int round = 0; round < rounds; ++round) {
        const QString text =
            u"\"" % QString(round * 997, u'x') % u"\" & <b>\n\U0001F331" % QString::number(round);
        decide(*m_app, u"Hello"_qs, text);
        decide(other, u"Greet"_qs, u"%1" % text);
        if (round + 1 == rounds)
            other.kill();
        for (int reply = 0; reply < 2; ++reply) {
            QCOMPARE(ReviewApp::errorOf(m_app->reply()), QString());
            if (round + 1 < rounds)
                QCOMPARE(ReviewApp::errorOf(other.reply()), QString());
        }
    }
    m_app->kill();
    start();
    const QJsonObject left = unsaved();
    const QJsonObject edited = left.value(u"edited"_qs).toObject();
    QVERIFY(!edited.isEmpty());
    for (auto string = edited.begin(); string != edited.end(); ++string)
        QVERIFY2(typed.contains(string.value()[u"none"_qs].toString()), qPrintable(string.key()));
    QCOMPARE(left.value(u"accepted"_qs).toArray().size(), 1);
}

QTEST_GUILESS_MAIN(tst_ReviewKill)
#include "tst_review_kill.moc"
