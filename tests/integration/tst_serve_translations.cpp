// Translations on the stand-in for the platform: exports, imports, and their way through the workflow.
#include "PlatformProject.h"
#include "PlatformTexts.h"
#include <DVRows.h>

using namespace Qt::Literals::StringLiterals;
using namespace PlatformTexts;

namespace {

const QByteArray importPath = "/files-api/v2/projects/garden/locales/fr-CA/content/import";
const QByteArray submittedPath = "/workflows-strings-api/v2/projects/garden/submittedStrings";

QJsonObject parsed(const QByteArray &json)
{
    return QJsonDocument::fromJson(json).object();
}
} // namespace

class tst_ServeTranslations : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_qs)); }

    void exportsSayWhatIsPublishedAndWhatWaits();
    void exportsThatAreRefused_data();
    void exportsThatAreRefused();
    void textsComeBackAsTheyWere_data();
    void textsComeBackAsTheyWere();
    void stringsThatAreNotTaken_data();
    void stringsThatAreNotTaken();
    void oneBadFormKeepsTheStringOut();
    void fromAnEditToTheUsers();
    void theFoldersOwnNewerTextWins();
    void unitsThatNobodyTellsApartStay();
    void aLocaleWithoutAFile();
    void rejectingGoesBack();
    void movesThatFail_data();
    void movesThatFail();
    void hostileUploads_data();
    void hostileUploads();
};

void tst_ServeTranslations::exportsSayWhatIsPublishedAndWhatWaits()
{
    auto [folder, server, peer, token] = SignedInPlatform();
    const Texts before{{u"hello"_qs, u"Bonjour"_qs},
                       {u"greet"_qs, u"Salut {%1}"_qs},
                       {u"leaves[one]"_qs, u"{%n} feuille"_qs},
                       {u"leaves[other]"_qs, u"{%n} feuilles"_qs},
                       {u"fresh"_qs, u""_qs}};
    QCOMPARE(targetsOf(peer.exported(token, published)), before);
    QCOMPARE(targetsOf(peer.exported(token, pending)), (Texts{{u"fresh"_qs, u""_qs}}));

    // A text for each of two steps. The brackets stand in the query as they are, or escaped.
    QVERIFY(importErrors(peer.import(token, unit("hello", "Salut", "translation") +
                                                unit("greet", "Re <ph id=\"7\">%1</ph>", "review")))
                .isEmpty());
    QCOMPARE(targetsOf(peer.exported(token, published)), before);
    QCOMPARE(targetsOf(peer.exported(token, pending)),
             (Texts{{u"fresh"_qs, u""_qs}, {u"hello"_qs, u"Salut"_qs}, {u"greet"_qs, u"Re {%1}"_qs}}));
    QCOMPARE(targetsOf(peer.exported(token, pending + "&workflowStepUids[0]=translation")),
             (Texts{{u"fresh"_qs, u""_qs}, {u"hello"_qs, u"Salut"_qs}}));
    QCOMPARE(targetsOf(peer.exported(token, pending + "&workflowStepUids%5B0%5D=review")),
             (Texts{{u"greet"_qs, u"Re {%1}"_qs}}));
    QCOMPARE(targetsOf(peer.exported(token,
                                     pending + "&workflowStepUids[0]=review&workflowStepUids[1]=translation"))
                 .size(),
             3);
    // Applications see the published texts until then.
    QCOMPARE(delivered(server).value(u"hello"_qs), u"Bonjour"_qs);
    // An application takes the sources of its base language from there.
    QVERIFY(peer.exported(peer.applicationToken(), pending).contains("<source>New here</source>"));
}

void tst_ServeTranslations::exportsThatAreRefused_data()
{
    const DVRows<QByteArray> row("query");
    row("no type", "");
    row("another type", "retrievalType=CONTEXT_MATCHING");
    row("an unknown step", pending + "&workflowStepUids[0]=nowhere");
    row("no step", pending + "&workflowStepUids[0]=");
    row("an unknown second step", pending + "&workflowStepUids[0]=review&workflowStepUids[1]=../../x");
}

void tst_ServeTranslations::exportsThatAreRefused()
{
    QFETCH(QByteArray, query);
    auto [folder, server, peer] = ServedPlatform();
    const HttpAnswer answer =
        peer.get("/files-api/v2/projects/garden/locales/fr-CA/content/export?" + query, peer.accessToken());
    QCOMPARE(answer.status, 400);
    QCOMPARE(PlatformPeer::code(answer), u"VALIDATION_ERROR"_qs);
    QVERIFY(!PlatformPeer::response(answer).value(u"errors"_qs).toArray().isEmpty());
}

void tst_ServeTranslations::textsComeBackAsTheyWere_data()
{
    const DVRows<QByteArray, QString> row("written", "text");
    row("markup that is text", "&lt;b&gt;Tom &amp; Léa&lt;/b&gt; \"x\" 'y' ]]&gt;",
        u"<b>Tom & Léa</b> \"x\" 'y' ]]>"_qs);
    row("lines and blanks", "  eins\nzwei\tdrei  ", u"  eins\nzwei\tdrei  "_qs);
    row("a carriage return", "a&#13;&#10;b", u"a\r\nb"_qs);
    row("emoji and scripts", "👩‍🌾 مرحبا 日本 e\xCC\x81",
        u"👩‍🌾 مرحبا 日本 e\u0301"_qs);
    row("a zero width space of the language", "\xE2\x80\x8Bက\xE2\x80\x8B", u"\u200Bက\u200B"_qs);
    row("a CDATA section", "<![CDATA[a<b&c]]>", u"a<b&c"_qs);
    row("a literal percent sign, shown fullwidth", "50% net", u"50\uFF05 net"_qs);
    row("what looks like a member of our own file", "[{\"ph\": \"x\"}]", u"[{\"ph\": \"x\"}]"_qs);
}

void tst_ServeTranslations::textsComeBackAsTheyWere()
{
    QFETCH(QByteArray, written);
    QFETCH(QString, text);
    auto [folder, server, peer, token] = SignedInPlatform();
    QCOMPARE(importErrors(peer.import(token, unit("hello", written, "review"))),
             (QMap<QString, QStringList>()));
    QCOMPARE(targetsOf(peer.exported(token, pending)).value(u"hello"_qs), text);
    QVERIFY(failures(peer.setStatus(token, "submittedStrings", {u"hello"_qs}, u"review"_qs)).isEmpty());
    QCOMPARE(targetsOf(peer.exported(token, published)).value(u"hello"_qs), text);
    QCOMPARE(delivered(server).value(u"hello"_qs), text);
}

void tst_ServeTranslations::stringsThatAreNotTaken_data()
{
    // message: part of it
    const DVRows<QByteArray, QString, QString> row("units", "hashcode", "message");

    row("an unknown hashcode", unit("nothing", "x", "review"), u"nothing"_qs,
        u"no string with this hashcode"_qs);
    row("a path as hashcode", unit("../../secret", "x", "review"), u"../../secret"_qs, u"no string"_qs);
    row("a placeholder that is missing", unit("greet", "Salut", "review"), u"greet"_qs, u"%1"_qs);
    row("another placeholder", unit("greet", "Salut <ph id=\"1\">%2</ph>", "review"), u"greet"_qs, u"%1"_qs);
    row("a placeholder too many", unit("hello", "Salut <ph id=\"1\">%1</ph>", "review"), u"hello"_qs,
        u"%1"_qs);
    row("a placeholder that stands as text", unit("hello", "[{\"ph\": \"%1\"}]", "review"), u"hello"_qs,
        u"%1"_qs);
    row("nothing", unit("hello", "", "review"), u"hello"_qs, u"empty"_qs);
    row("a marker of the in-app tools", unit("hello", "a\xE2\x81\xA3%1\xE2\x81\xA4", "review"), u"hello"_qs,
        u"invisible marker"_qs);
    row("the same marker as a reference", unit("hello", "a&#x2062;", "review"), u"hello"_qs,
        u"invisible marker"_qs);
    row("an unknown step", unit("hello", "Salut", "nowhere"), u"hello"_qs,
        u"no workflow step \"nowhere\""_qs);
    row("another step than the one it waits in", unit("fresh", "Neuf", "review"), u"fresh"_qs,
        u"in the step \"Translation\", not in \"Review\""_qs);
    row("a form of a string without plurals", unit("hello[one]", "Salut", "review"), u"hello"_qs,
        u"no plural forms"_qs);
    row("no form of a string with plurals", unit("leaves", "x <ph id=\"1\">%n</ph>", "review"), u"leaves"_qs,
        u"has plural forms"_qs);
    row("a form that no language has", unit("leaves[dozen]", "x <ph id=\"1\">%n</ph>", "review"),
        u"leaves"_qs, u"\"dozen\" is no plural form"_qs);
}

void tst_ServeTranslations::stringsThatAreNotTaken()
{
    QFETCH(QByteArray, units);
    QFETCH(QString, hashcode);
    QFETCH(QString, message);
    const PlatformProject folder;
    folder.write(u"../secret"_qs, "secret");
    const ServeProcess server(folder.path());
    const PlatformPeer peer(server);
    const QByteArray token = peer.accessToken();
    // "fresh" waits in the first step since another import; the other string of this one is good.
    QVERIFY(importErrors(peer.import(token, unit("fresh", "Nouveau", "translation"))).isEmpty());
    const QByteArray good = unit(hashcode == u"greet" ? "hello" : "greet",
                                 hashcode == u"greet" ? "Hé" : "Hé <ph id=\"1\">%1</ph>", "review");
    const HttpAnswer answer = peer.import(token, units + good);
    QCOMPARE(answer.status, 200);
    const auto errors = importErrors(answer);
    QCOMPARE(errors.keys(), QStringList{hashcode});
    QVERIFY2(errors.first().join(u' ').contains(message), qPrintable(errors.first().join(u' ')));
    const Texts waiting = targetsOf(peer.exported(token, pending));
    QCOMPARE(waiting.size(), 2);
    QCOMPARE(waiting.value(u"fresh"_qs), u"Nouveau"_qs);
    QVERIFY(waiting.value(hashcode == u"greet" ? u"hello"_qs : u"greet"_qs).startsWith(u"Hé"));
}

void tst_ServeTranslations::oneBadFormKeepsTheStringOut()
{
    auto [folder, server, peer, token] = SignedInPlatform();
    const HttpAnswer answer =
        peer.import(token, unit("leaves[one]", "<ph id=\"1\">%n</ph> une", "review") +
                               unit("leaves[other]", "des <ph id=\"1\">%2</ph>", "review"));
    QCOMPARE(importErrors(answer).keys(), QStringList{u"leaves"_qs});
    QVERIFY(!targetsOf(peer.exported(token, pending)).contains(u"leaves[one]"_qs));

    // A file of another locale, nobody's right to translate, and a form that the folder does not have yet.
    const HttpAnswer polish = peer.upload(importPath, token, "file",
                                          PlatformProject::document(unit("hello", "Cześć", "review"), "pl"));
    QVERIFY(importErrors(polish).value(u"hello"_qs).value(0).contains(u"\"pl\", not for \"fr-CA\""));
    const QByteArray bea = peer.accessToken(u"bea"_qs, u"b"_qs);
    QVERIFY(importErrors(peer.import(bea, unit("hello", "Hé", "review")))
                .value(u"hello"_qs)
                .value(0)
                .contains(u"may not translate"));
    QVERIFY(importErrors(peer.import(token, unit("leaves[many]", "<ph id=\"1\">%n</ph> de", "review")))
                .isEmpty());
    QCOMPARE(targetsOf(peer.exported(token, pending)).value(u"leaves[many]"_qs), u"{%n} de"_qs);
    QCOMPARE(targetsOf(peer.exported(token, pending)).value(u"leaves[one]"_qs), u"{%n} feuille"_qs);
}

void tst_ServeTranslations::fromAnEditToTheUsers()
{
    auto [folder, server, peer, token] = SignedInPlatform();
    const QByteArray frenchPath = "/projects/garden/1.0/fr-CA/strings.gz";
    const QByteArray before = "If-Modified-Since: " + server.get(frenchPath).header("Last-Modified") + "\r\n";
    peer.import(token, unit("hello", "Coucou", "translation") + unit("fresh", "Nouveau", "translation") +
                           unit("leaves[one]", "<ph id=\"1\">%n</ph> brin", "translation"));
    const QStringList all{u"hello"_qs, u"fresh"_qs, u"leaves[one]"_qs};
    QVERIFY(failures(peer.setStatus(token, "submittedStrings", all, u"translation"_qs)).isEmpty());
    QCOMPARE(targetsOf(peer.exported(token, pending + "&workflowStepUids[0]=translation")), Texts());
    QCOMPARE(targetsOf(peer.exported(token, pending + "&workflowStepUids[0]=review")),
             (Texts{{u"hello"_qs, u"Coucou"_qs},
                    {u"fresh"_qs, u"Nouveau"_qs},
                    {u"leaves[one]"_qs, u"{%n} brin"_qs},
                    {u"leaves[other]"_qs, u"{%n} feuilles"_qs}}));
    QCOMPARE(server.get(frenchPath, before).status, 304); // nothing is published yet

    QVERIFY(failures(peer.setStatus(token, "submittedStrings", all, u"review"_qs)).isEmpty());
    const Texts after{{u"hello"_qs, u"Coucou"_qs},
                      {u"greet"_qs, u"Salut {%1}"_qs},
                      {u"leaves[one]"_qs, u"{%n} brin"_qs},
                      {u"leaves[other]"_qs, u"{%n} feuilles"_qs},
                      {u"fresh"_qs, u"Nouveau"_qs}};
    QCOMPARE(server.get(frenchPath, before).status, 200);
    QCOMPARE(delivered(server), after);
    QCOMPARE(targetsOf(peer.exported(token, published)), after);
    QCOMPARE(targetsOf(peer.exported(token, pending)), Texts());
    QFile french(folder.frenchFile());
    QVERIFY(french.open(QIODevice::ReadOnly));
    QCOMPARE(french.readAll(), PlatformProject::frenchDocument()); // it is its owner's

    QStringList history;
    for (const QJsonObject &line : folder.receivedLines(u"statuses.jsonl"_qs)) {
        QCOMPARE(line.value(u"by"_qs).toString(), u"ana"_qs);
        history.append(line.value(u"event"_qs).toString() + u' ' + line.value(u"hashcode"_qs).toString() +
                       u' ' + line.value(u"workflowStepUid"_qs).toString());
    }
    QCOMPARE(history.size(), 9);
    QVERIFY(history.contains(u"imported hello translation"_qs));
    QVERIFY(history.contains(u"submitted leaves review"_qs));
}

void tst_ServeTranslations::theFoldersOwnNewerTextWins()
{
    auto [folder, server, peer, token] = SignedInPlatform();
    peer.import(token,
                unit("hello", "Coucou", "review") + unit("greet", "Yo <ph id=\"1\">%1</ph>", "review"));
    peer.setStatus(token, "submittedStrings", {u"hello"_qs, u"greet"_qs}, u"review"_qs);
    QCOMPARE(delivered(server).value(u"hello"_qs), u"Coucou"_qs);
    folder.write(u"fr-CA.xlf"_qs, PlatformProject::frenchDocument().replace("Bonjour", "Bien le bonjour"));
    QCOMPARE(delivered(server).value(u"hello"_qs), u"Bien le bonjour"_qs);
    QCOMPARE(delivered(server).value(u"greet"_qs), u"Yo {%1}"_qs); // that one did not change there
    QCOMPARE(targetsOf(peer.exported(token, published)).value(u"hello"_qs), u"Bien le bonjour"_qs);
}

// Files of several parts count from 1 in each, and some have no ids at all: a publication loses none of their
// strings.
void tst_ServeTranslations::unitsThatNobodyTellsApartStay()
{
    const PlatformProject folder;
    const auto keysOf = [](const QByteArray &document) {
        QMap<QString, QString> texts;
        QXmlStreamReader xml(document);
        QString key;
        while (!xml.atEnd()) {
            xml.readNext();
            if (xml.isStartElement() && xml.name() == u"trans-unit")
                key = xml.attributes().value(QLatin1StringView("resname")).toString();
            else if (xml.isStartElement() && xml.name() == u"target")
                texts.insert(key, xml.readElementText(QXmlStreamReader::IncludeChildElements));
        }
        return texts;
    };
    folder.write(u"fr-CA.xlf"_qs,
                 PlatformProject::document(PlatformProject::unit("1", "First", "a", "un") +
                                           PlatformProject::unit("1", "Second", "b", "deux") +
                                           PlatformProject::unit("", "Third", "c", "trois") +
                                           PlatformProject::unit("", "Fourth", "d", "quatre") +
                                           PlatformProject::unit("2", "Mixed", "e", "cinq") +
                                           PlatformProject::unit("2[one]", "Mixed", "e", "cinq un") +
                                           PlatformProject::unit("hello", "Hello", "Hello", "Bonjour")));
    const ServeProcess server(folder.path());
    const PlatformPeer peer(server);
    const QByteArray token = peer.accessToken();
    QVERIFY(!importErrors(peer.import(token, unit("", "x", "review"))).isEmpty());
    peer.import(token, unit("hello", "Coucou", "review") + unit("1", "uno", "review"));
    QVERIFY(
        failures(peer.setStatus(token, "submittedStrings", {u"hello"_qs, u"1"_qs}, u"review"_qs)).isEmpty());
    const QMap<QString, QString> expected{{u"First"_qs, u"uno"_qs},     {u"Second"_qs, u"deux"_qs},
                                          {u"Third"_qs, u"trois"_qs},   {u"Fourth"_qs, u"quatre"_qs},
                                          {u"Mixed"_qs, u"cinq un"_qs}, {u"Hello"_qs, u"Coucou"_qs}};
    QMap<QString, QString> exported = keysOf(peer.exported(token, published));
    QCOMPARE(exported.take(u"Fresh"_qs), QString());
    QCOMPARE(exported, expected);
    QCOMPARE(delivered(server).value(u"2"_qs), u"cinq"_qs);
    QCOMPARE(delivered(server).value(u"2[one]"_qs), u"cinq un"_qs);
    QCOMPARE(delivered(server).size(), 5); // by their ids: "1" and "" stand for two each
}

void tst_ServeTranslations::aLocaleWithoutAFile()
{
    auto [folder, server, peer, token] = SignedInPlatform();
    QCOMPARE(server.get("/projects/garden/1.0/pl/strings.gz").status, 404);
    QCOMPARE(targetsOf(peer.exported(token, pending, "pl")),
             (Texts{{u"fresh"_qs, u""_qs}, {u"hello"_qs, u""_qs}}));
    QVERIFY(importErrors(peer.import(token, unit("hello", "Cześć"), "pl")).isEmpty());
    QCOMPARE(server.get("/projects/garden/1.0/pl/strings.gz").status, 404);
    for (const char *step : {"translation", "review"})
        peer.send("PUT", submittedPath, token,
                  parsed(QByteArray(R"({"localeId": "pl", "strings": [{"hashcode": "hello",
                                        "currentWorkflowStepUid": "STEP"}]})")
                             .replace("STEP", step)));
    QCOMPARE(delivered(server, "pl"),
             (Texts{{u"hello"_qs, u"Cześć"_qs}})); // nothing empty hides an application's own
}

void tst_ServeTranslations::rejectingGoesBack()
{
    auto [folder, server, peer, token] = SignedInPlatform();
    peer.import(token, unit("hello", "Coucou", "translation"));
    peer.setStatus(token, "submittedStrings", {u"hello"_qs}, u"translation"_qs);
    QVERIFY(failures(peer.setStatus(token, "rejectedStrings", {u"hello"_qs, u"greet"_qs}, u"review"_qs))
                .isEmpty());
    QCOMPARE(targetsOf(peer.exported(token, pending + "&workflowStepUids[0]=translation")),
             (Texts{{u"fresh"_qs, u""_qs}, {u"hello"_qs, u"Coucou"_qs}, {u"greet"_qs, u"Salut {%1}"_qs}}));
    QCOMPARE(delivered(server).value(u"hello"_qs), u"Bonjour"_qs);
    // What waits nowhere may be taken up: submitted as it is, it goes on its way or stays published.
    QVERIFY(failures(peer.setStatus(token, "submittedStrings", {u"leaves"_qs}, u"review"_qs)).isEmpty());
    QCOMPARE(delivered(server).value(u"leaves[one]"_qs), u"{%n} feuille"_qs);
}

void tst_ServeTranslations::movesThatFail_data()
{
    // reason: part of it
    const DVRows<QString, QByteArray, QString, QString, QString> row("user", "status", "hashcode", "step",
                                                                     "reason");

    row("an unknown string", u"ana"_qs, "submittedStrings", u"nothing"_qs, u"review"_qs, u"no string"_qs);
    row("an unknown step", u"ana"_qs, "submittedStrings", u"hello"_qs, u"nowhere"_qs, u"no workflow step"_qs);
    row("another step", u"ana"_qs, "submittedStrings", u"hello"_qs, u"review"_qs,
        u"in the step \"Translation\""_qs);
    row("no translation", u"ana"_qs, "submittedStrings", u"fresh"_qs, u"translation"_qs,
        u"no translation"_qs);
    row("no right to reject there", u"ana"_qs, "rejectedStrings", u"hello"_qs, u"translation"_qs,
        u"may not reject"_qs);
    row("a user without the right to reject", u"bea"_qs, "rejectedStrings", u"greet"_qs, u"review"_qs,
        u"may not reject"_qs);
}

void tst_ServeTranslations::movesThatFail()
{
    QFETCH(QString, user);
    QFETCH(QByteArray, status);
    QFETCH(QString, hashcode);
    QFETCH(QString, step);
    QFETCH(QString, reason);
    auto [folder, server, peer] = ServedPlatform();
    const QByteArray ana = peer.accessToken();
    peer.import(ana, unit("hello", "Coucou", "translation"));
    const qsizetype lines = folder.receivedLines(u"statuses.jsonl"_qs).size();
    const QByteArray token = user == u"ana" ? ana : peer.accessToken(user, u"b"_qs);
    const HttpAnswer answer = peer.setStatus(token, status, {hashcode}, step);
    QCOMPARE(answer.status, 200);
    QCOMPARE(failures(answer).keys(), QStringList{hashcode});
    QVERIFY2(failures(answer).first().contains(reason), qPrintable(failures(answer).first()));
    QCOMPARE(folder.receivedLines(u"statuses.jsonl"_qs).size(), lines);
    QCOMPARE(targetsOf(peer.exported(ana, pending + "&workflowStepUids[0]=translation")).value(u"hello"_qs),
             u"Coucou"_qs);
}

void tst_ServeTranslations::hostileUploads_data()
{
    const DVRows<QByteArray, QByteArray> add("contentType", "body");
    const QByteArray type = "multipart/form-data; boundary=b";
    const QByteArray document = PlatformProject::document(unit("hello", "Hé", "review"));
    const QByteArray good = PlatformPeer::fileBody("b", "file", document);
    const auto row = [&type](const char *name, const QByteArray &body) {
        QTest::newRow(name) << type << body;
    };
    const auto with = [&good](const QByteArray &what, const QByteArray &instead) {
        return QByteArray(good).replace(what, instead);
    };
    row("nothing", "");
    row("no part", "--b--\r\n");
    row("another field", PlatformPeer::fileBody("b", "content", document));
    row("another boundary", PlatformPeer::fileBody("c", "file", document));
    row("no end", good.chopped(8));
    row("no blank line", "--b\r\nContent-Disposition: form-data; name=\"file\"\r\nx\r\n--b--\r\n");
    row("no disposition", with("Content-Disposition", "X-Disposition"));
    row("no name", with("name=\"file\"; ", ""));
    row("an attachment", with("form-data;", "attachment;"));
    row("line feeds only", QByteArray(good).replace("\r\n", "\n"));
    row("a name without its quote", with("name=\"file\"; filename=\"/1.4.1/saveFile.xlf\"", "name=\"file"));
    row("headers without end", with("Content-Type:", "X: " + QByteArray(20000, 'x') + "\r\nContent-Type:"));
    row("a thousand parts", PlatformPeer::fileBody("b", "x", "y").chopped(7).repeated(1000) + good);
    row("no XML", PlatformPeer::fileBody("b", "file", "hello"));
    row("no XLIFF", PlatformPeer::fileBody("b", "file", "<html></html>"));
    row("half a document", PlatformPeer::fileBody("b", "file", document.first(document.size() / 2)));
    row("a document type declaration",
        PlatformPeer::fileBody("b", "file",
                               "<!DOCTYPE x [<!ENTITY e SYSTEM \"file:///etc/passwd\">]>\n" + document));
    row("a deep document", PlatformPeer::fileBody("b", "file", QByteArray("<xliff>").repeated(100000)));
    row("a file of nothing", PlatformPeer::fileBody("b", "file", ""));
    add("no boundary", "multipart/form-data", good);
    add("an empty boundary", "multipart/form-data; boundary=\"\"", good);
    add("a boundary without end", "multipart/form-data; boundary=" + QByteArray(5000, 'b'), good);
    add("a boundary without its quote", "multipart/form-data; boundary=\"c", good);
    add("JSON", "application/json", "{}");
}

void tst_ServeTranslations::hostileUploads()
{
    QFETCH(QByteArray, contentType);
    QFETCH(QByteArray, body);
    auto [folder, server, peer, token] = SignedInPlatform();
    const HttpAnswer answer = server.request(
        "POST", importPath, PlatformPeer::bearer(token) + "Content-Type: " + contentType + "\r\n", body);
    QCOMPARE(answer.status, 400);
    QCOMPARE(PlatformPeer::code(answer), u"VALIDATION_ERROR"_qs);
    QVERIFY(!answer.body.contains("root:"));
    QVERIFY(folder.received(u"translations/fr-CA.json"_qs).isEmpty());

    // What is unusual but right is taken.
    const QByteArray document = PlatformProject::document(unit("hello", "Hé", "review"));
    const QByteArray unusual =
        "preamble\r\n--x y \t\r\ncontent-disposition:multipart/form-data;name=note\r\n\r\n\r\n--x y\r\n"
        "CONTENT-DISPOSITION: form-data; filename=\"a\\\";name=b.xlf\"; NAME=\"file\"\r\n\r\n" +
        document + "\r\n--x y--\r\nepilogue";
    const HttpAnswer taken =
        server.request("POST", importPath,
                       PlatformPeer::bearer(token) +
                           "Content-Type: Multipart/Form-Data; charset=utf-8; boundary=\"x y\"\r\n",
                       unusual);
    QCOMPARE(taken.status, 200);
    QVERIFY(importErrors(taken).isEmpty());
}

QTEST_GUILESS_MAIN(tst_ServeTranslations)
#include "tst_serve_translations.moc"
