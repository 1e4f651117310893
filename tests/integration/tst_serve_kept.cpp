// What the stand-in for the platform was sent outlives restarts, damage, other processes and kills.
#include "PlatformProject.h"
#include "PlatformTexts.h"

#include <DVStrace.h>

#include <array>
#include <thread>
#include <vector>

using namespace Qt::Literals::StringLiterals;
using namespace PlatformTexts;

namespace {

const QByteArray importPath = "/files-api/v2/projects/garden/locales/fr-CA/content/import";

} // namespace

class tst_ServeKept : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_qs)); }

    void aRestartForgetsNothing();
    void aDamagedFileIsNotOverwritten();
    void aTornLineSwallowsNothing();
    void aListThatCannotBeWritten();
    void twoServersOfOneFolder();
    void killedInTheMiddle();
};

void tst_ServeKept::aRestartForgetsNothing()
{
    const PlatformProject folder;
    QByteArray token;
    QByteArray before;
    {
        const ServeProcess server(folder.path());
        const PlatformPeer peer(server);
        token = peer.accessToken();
        peer.import(token, unit("hello", "Coucou", "review") +
                               unit("greet", "<ph id=\"1\">%1</ph> &amp; Co", "review"));
        before = peer.exported(token, pending) + peer.exported(token, published);
    } // killed
    const ServeProcess server(folder.path());
    const PlatformPeer peer(server);
    QCOMPARE(peer.exported(token, pending) + peer.exported(token, published), before);
}

void tst_ServeKept::aDamagedFileIsNotOverwritten()
{
    auto [folder, server, peer, token] = SignedInPlatform();
    peer.import(token, unit("hello", "Coucou", "review"));
    for (const QByteArray &damaged :
         {QByteArray("{\"strings\": [{\"hashcode\": \"hello\","), QByteArray("{\"strings\": [{}]}"),
          QByteArray(""),
          QByteArray("{\"strings\": [{\"hashcode\": \"hello\", \"published\": {\"none\": 7}}]}")}) {
        folder.write(u"received/translations/fr-CA.json"_qs, damaged);
        QCOMPARE(peer.import(token, unit("hello", "Hé", "review")).status, 500);
        QCOMPARE(folder.received(u"translations/fr-CA.json"_qs), damaged);
        QCOMPARE(server.get("/projects/garden/1.0/fr-CA/strings.gz").status, 200);
    }
    QVERIFY(server.logWith("mend it or take it away").contains("fr-CA.json"));
    QVERIFY(QFile::remove(folder.path() + u"/received/translations/fr-CA.json"_qs));
    QCOMPARE(peer.import(token, unit("hello", "Hé", "review")).status, 200);
}

void tst_ServeKept::aTornLineSwallowsNothing()
{
    auto [folder, server, peer, token] = SignedInPlatform();
    folder.write(u"received/statuses.jsonl"_qs, "{\"event\":\"impor");
    peer.import(token, unit("hello", "Coucou", "review"));
    const QList<QJsonObject> lines = folder.receivedLines(u"statuses.jsonl"_qs);
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines.at(1).value(u"hashcode"_qs).toString(), u"hello"_qs);
}

// The list is for people; what was taken is answered as taken.
void tst_ServeKept::aListThatCannotBeWritten()
{
    auto [folder, server, peer, token] = SignedInPlatform();
    QVERIFY(QDir().mkpath(folder.path() + u"/received/statuses.jsonl"));
    QCOMPARE(peer.import(token, unit("hello", "Coucou", "review")).status, 200);
    QVERIFY(server.logWith("statuses.jsonl").contains("cannot write"));
    QCOMPARE(targetsOf(peer.exported(token, pending)).value(u"hello"_qs), u"Coucou"_qs);
}

// Two processes, two clients each, all at once: nothing that was acknowledged is lost.
void tst_ServeKept::twoServersOfOneFolder()
{
    constexpr int clients = 4;
    constexpr int rounds = 10;
    const PlatformProject folder;
    QByteArray units;
    for (int i = 0; i < clients * rounds; ++i)
        units += PlatformProject::unit("s" + QByteArray::number(i), "k" + QByteArray::number(i), "x", "");
    folder.write(u"fr-CA.xlf"_qs, PlatformProject::document(units));
    const ServeProcess one(folder.path(), {u"--quiet"_qs});
    const ServeProcess two(folder.path(), {u"--quiet"_qs});
    const QByteArray token = PlatformPeer(one).accessToken();
    std::array<int, clients> taken{};
    std::vector<std::thread> threads;
    for (int client = 0; client < clients; ++client) {
        threads.emplace_back([&, client] {
            const HttpPeer peer(client % 2 ? one.port() : two.port());
            for (int round = 0; round < rounds; ++round) {
                const QByteArray id = "s" + QByteArray::number(client * rounds + round);
                const HttpAnswer answer = PlatformPeer(peer).import(token, unit(id, "text of " + id));
                taken.at(size_t(client)) += answer.status == 200 && importErrors(answer).isEmpty() ? 1 : 0;
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    QCOMPARE(taken, (std::array<int, clients>{rounds, rounds, rounds, rounds}));
    for (const ServeProcess *server : {&one, &two}) {
        const Texts texts = targetsOf(PlatformPeer(*server).exported(token, pending));
        for (int i = 0; i < clients * rounds; ++i)
            QCOMPARE(texts.value(u"s%1"_qs.arg(i)), u"text of s%1"_qs.arg(i));
    }
    QCOMPARE(folder.receivedLines(u"statuses.jsonl"_qs).size(), clients * rounds);
}

// strace kills the server at its Nth system call of a kind: whatever was acknowledged is there, and what was
// not is there whole or not at all.
void tst_ServeKept::killedInTheMiddle()
{
    if (!DVStrace::works())
        QSKIP("strace may not trace here: nothing is killed");
    const PlatformProject folder;
    QByteArray token;
    {
        const ServeProcess server(folder.path());
        token = PlatformPeer(server).accessToken();
    }
    const Texts old{{u"hello"_qs, u"Bonjour"_qs}, {u"leaves[one]"_qs, u"{%n} feuille"_qs}};
    Texts last = old;
    int kills = 0;
    int acknowledged = 0;
    for (const char *calls : {"fsync,fdatasync", "rename,renameat,renameat2,linkat", "flock", "write"}) {
        bool isKilled = true;
        for (int nth = 1; isKilled && nth < 60; ++nth) {
            const QByteArray number = QByteArray::number(++acknowledged);
            ServeProcess server(folder.path(), {u"--quiet"_qs, u"--exit-with-stdin"_qs},
                                DVStrace::killingAt(QString::fromLatin1(calls), nth));
            const QByteArray units = unit("hello", "text " + number, "review") +
                                     unit("leaves[one]", "<ph id=\"1\">%n</ph> " + number, "review");
            const bool isAnswered =
                server.port() != 0 && PlatformPeer(server).import(token, units).status == 200;
            server.process().closeWriteChannel();
            QTRY_COMPARE_WITH_TIMEOUT(server.process().state(), QProcess::NotRunning, 20000);
            const ServeProcess after(folder.path(), {u"--quiet"_qs});
            const QByteArray document = PlatformPeer(after).exported(token, pending);
            QVERIFY(document.contains("</xliff>"));
            const Texts now = targetsOf(document);
            const Texts kept{
                {u"hello"_qs, now.value(u"hello"_qs, last.value(u"hello"_qs))},
                {u"leaves[one]"_qs, now.value(u"leaves[one]"_qs, last.value(u"leaves[one]"_qs))}};
            const Texts sent{{u"hello"_qs, QString::fromLatin1("text " + number)},
                             {u"leaves[one]"_qs, QString::fromLatin1("{%n} " + number)}};
            QVERIFY2(kept == sent || (!isAnswered && kept == last), calls);
            last = kept;
            isKilled = !isAnswered;
            kills += isKilled ? 1 : 0;
        }
        QVERIFY2(!isKilled, calls);
    }
    QVERIFY2(kills >= 8, QByteArray::number(kills).constData());
    for (const QJsonObject &line : folder.receivedLines(u"statuses.jsonl"_qs))
        QCOMPARE(line.value(u"event"_qs).toString(), u"imported"_qs);
}

QTEST_GUILESS_MAIN(tst_ServeKept)
#include "tst_serve_kept.moc"
