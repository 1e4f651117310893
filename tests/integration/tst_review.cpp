// A review without a screen: an application driven by lines against the stand-in, from sign-in to log out.
#include "DVFaultServer.h"
#include "ReviewApp.h"
#include <DVRows.h>

#include <QUrlQuery>

using namespace Qt::Literals::StringLiterals;
using Answer = DVFaultServer::Answer;

namespace {

const QString typed = u"\"%1\" & <b>moi</b>\nligne 2 \U0001F331 'x'"_qs;

QString withoutMarkers(QString text)
{
    for (const char16_t marker : {u'\u200B', u'\u2062', u'\u2063', u'\u2064'})
        text.remove(QChar(marker));
    return text;
}

QStringList list(const QJsonObject &reply, const QString &member)
{
    QStringList texts;
    for (const auto &value : reply.value(member).toArray())
        texts.append(value.toString());
    return texts;
}

// A picture of one point.
QByteArray png()
{
    return QByteArray::fromBase64(
        "iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAQAAAC1HAwCAAAAC0lEQVR42mNkYAAAAAYAAjCB0C8AAAAA"
        "SUVORK5CYII=");
}

} // namespace

class tst_Review : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void fromSignInToLogOut();
    void textsComeBackAsTheyWere_data();
    void textsComeBackAsTheyWere();
    void killedBetweenTwoCommands_data();
    void killedBetweenTwoCommands();
    void somebodyElseChangedATextMeanwhile();
    void aPullKeepsACopyOfWhatItDiscards();
    void stepsLimitWhatCanBeDone();
    void aRefusedEditCostsNoDecision();
    void whatIsMissingIsSaid_data();
    void whatIsMissingIsSaid();
    void cancelledAndShown();
    void signInPages_data();
    void signInPages();

private:
    QString dataDir() const { return QString(m_project->path() + u"/../device"); }
    // A restart, and after it somebody who is signed in.
    void launch(bool choosing)
    {
        m_app = std::make_unique<ReviewApp>(dataDir());
        QCOMPARE(m_app->signIn(m_server->port()), QString());
        if (choosing)
            QCOMPARE(m_app->chooseFrenchReview(), QString());
    }
    void kill() { m_app.reset(); }
    QJsonObject ask(const QString &name, const QJsonObject &members = {})
    {
        return m_app->ask(name, members);
    }
    QJsonObject edit(const QString &key, const QString &text, const QString &form = {})
    {
        QJsonObject members{{u"key"_qs, key}, {u"text"_qs, text}};
        if (!form.isNull())
            members.insert(u"form"_qs, form);
        return ask(u"edit"_qs, members);
    }
    void reject(const QString &key) { QCOMPARE(m_app->reject(key, u"nobody says that"_qs), QString()); }
    // Edited, accepted, rejected, and issues to file.
    QString unsaved()
    {
        const QJsonObject reply = ask(u"unsaved"_qs);
        QStringList issues;
        for (const auto &issue : reply.value(u"issues"_qs).toArray())
            issues.append(issue.toObject().value(u"key"_qs).toString());
        const auto shown = [](const QStringList &keys) { return keys.isEmpty() ? u"-"_qs : keys.join(u'|'); };
        return QStringList{shown(reply.value(u"edited"_qs).toObject().keys()),
                           shown(list(reply, u"accepted"_qs)),
                           shown(reply.value(u"rejected"_qs).toObject().keys()), shown(issues)}
            .join(u' ');
    }
    // "event hashcode" for everything that the platform took, in its order.
    QStringList taken() const
    {
        QStringList lines = m_project->statusesTaken();
        for (const QJsonObject &line : m_project->receivedLines(u"issues.jsonl"_qs))
            lines.append(QString(u"issue " + line.value(u"hashcode"_qs).toString()));
        return lines;
    }

    std::unique_ptr<PlatformProject> m_project;
    std::unique_ptr<ServeProcess> m_server;
    std::unique_ptr<ReviewApp> m_app;
};

void tst_Review::init()
{
    m_project = std::make_unique<PlatformProject>();
    m_server = std::make_unique<ServeProcess>(m_project->path());
}

void tst_Review::cleanup()
{
    m_app.reset();
    m_server.reset();
    m_project.reset();
}

void tst_Review::fromSignInToLogOut()
{
    launch(true);
    const QJsonObject workflows = ask(u"workflows"_qs);
    QCOMPARE(workflows.value(u"steps"_qs).toArray().size(), 2);
    QCOMPARE(workflows.value(u"step"_qs), QJsonValue(u"review"_qs));
    QCOMPARE(workflows.value(u"locale"_qs), QJsonValue(u"fr_CA"_qs));
    QCOMPARE(ask(u"useLocale"_qs, {{u"id"_qs, u"fr-CA"_qs}}).value(u"locale"_qs), QJsonValue(u"fr_CA"_qs));
    const QJsonArray locales = ask(u"projectLocales"_qs).value(u"locales"_qs).toArray();
    QCOMPARE(locales.size(), 3);
    QCOMPARE(locales.first()[u"localeId"_qs], QJsonValue(u"en"_qs));
    QCOMPARE(ask(u"pull"_qs).value(u"strings"_qs), QJsonValue(3));

    QCOMPARE(list(edit(u"Greet"_qs, typed), u"edited"_qs), QStringList{u"Greet"_qs});
    QCOMPARE(edit(u"Greet"_qs, u"no argument"_qs).value(u"wrongPlaceholders"_qs), QJsonValue(1));
    edit(u"Hello"_qs, u"Salut & <bienvenue>"_qs);
    edit(u"Leaves"_qs, u"%n \"feuille\""_qs, u"one"_qs);
    QCOMPARE(withoutMarkers(m_app->lookup(u"Greet"_qs)), typed);
    ask(u"accept"_qs, {{u"key"_qs, u"Greet"_qs}});
    reject(u"Hello"_qs);
    QCOMPARE(unsaved(), u"Greet|Hello|Leaves Greet Hello -"_qs);

    QCOMPARE(list(ask(u"save"_qs), u"saved"_qs), (QStringList{u"Greet"_qs, u"Hello"_qs, u"Leaves"_qs}));
    QCOMPARE(list(ask(u"submit"_qs), u"submitted"_qs), QStringList{u"Greet"_qs});
    QCOMPARE(list(ask(u"rejectAll"_qs), u"rejected"_qs), QStringList{u"Hello"_qs});
    QCOMPARE(unsaved(), u"- - - Hello"_qs);
    QCOMPARE(list(ask(u"issue"_qs, {{u"key"_qs, u"Hello"_qs}}), u"filed"_qs), QStringList{u"Hello"_qs});
    QCOMPARE(taken(), (QStringList{u"imported greet"_qs, u"imported hello"_qs, u"imported leaves"_qs,
                                   u"submitted greet"_qs, u"rejected hello"_qs, u"issue hello"_qs}));
    const QJsonObject issue = m_project->receivedLines(u"issues.jsonl"_qs).constFirst();
    QCOMPARE(issue.value(u"issueSubTypeCode"_qs), QJsonValue(u"POOR_TRANSLATION"_qs));
    QCOMPARE(issue.value(u"issueText"_qs), QJsonValue(u"nobody says that"_qs));

    m_project->write(u"../picture.png"_qs, png());
    const QJsonObject string{{u"key"_qs, u"Hello"_qs}, {u"frame"_qs, QJsonArray{1, 2, 30, 4.5}}};
    const QJsonObject uploaded =
        ask(u"upload"_qs, {{u"image"_qs, QString(m_project->path() + u"/../picture.png")},
                           {u"strings"_qs, QJsonArray{string}}});
    QVERIFY2(uploaded.value(u"uploaded"_qs).toBool(), qPrintable(ReviewApp::errorOf(uploaded)));

    QCOMPARE(ask(u"signOut"_qs).value(u"signedIn"_qs), QJsonValue(false));
    QCOMPARE(ReviewApp::errorOf(ask(u"workflows"_qs)), u"No token found"_qs);
    QCOMPARE(withoutMarkers(m_app->lookup(u"Greet"_qs)), u"Hi %1"_qs); // the source's
}

void tst_Review::textsComeBackAsTheyWere_data()
{
    const DVRows<QString> row("text");
    row("markup and references", u"<a href=\"x\">&amp; & &#38; ]]></a>"_qs);
    row("a mnemonic", u"&Sauver"_qs);
    row("spaces and line feeds", u"  deux  \n\n\tlignes "_qs);
    row("beyond the basic plane, and right to left", u"\U0001F331\u202B\u0645\u0631\u062D\u0628\u0627"_qs);
    row("what looks like an element of ours", u"<ph id=\"1\">x</ph>"_qs);
}

void tst_Review::textsComeBackAsTheyWere()
{
    QFETCH(QString, text);
    launch(true);
    QCOMPARE(list(edit(u"Hello"_qs, text), u"edited"_qs), QStringList{u"Hello"_qs});
    kill();
    launch(false);
    QCOMPARE(withoutMarkers(m_app->lookup(u"Hello"_qs)), text);
    QCOMPARE(list(ask(u"save"_qs), u"saved"_qs), QStringList{u"Hello"_qs});
    QCOMPARE(ask(u"pull"_qs).value(u"strings"_qs), QJsonValue(3));
    QCOMPARE(withoutMarkers(m_app->lookup(u"Hello"_qs)), text);
}

void tst_Review::killedBetweenTwoCommands_data()
{
    const DVRows<int, QString> row("commands", "unsavedThen");
    row("behind the edits and decisions", 0, u"Greet|Leaves Greet Hello -"_qs);
    row("behind the save", 1, u"- Greet Hello -"_qs);
    row("behind the submit", 2, u"- - Hello -"_qs);
    row("behind the rejection", 3, u"- - - Hello"_qs);
    row("behind the issue", 4, u"- - - -"_qs);
}

void tst_Review::killedBetweenTwoCommands()
{
    QFETCH(int, commands);
    const QStringList sending{u"save"_qs, u"submit"_qs, u"rejectAll"_qs, u"issue"_qs};
    launch(true);
    edit(u"Greet"_qs, typed);
    edit(u"Leaves"_qs, u"%n petites feuilles"_qs, u"other"_qs);
    ask(u"accept"_qs, {{u"key"_qs, u"Greet"_qs}});
    reject(u"Hello"_qs);
    for (const QString &command : sending.first(commands))
        QVERIFY2(ReviewApp::errorOf(ask(command)).isEmpty(), qPrintable(command));
    kill();
    launch(false);
    QTEST(unsaved(), "unsavedThen");
    QVERIFY(ReviewApp::errorOf(ask(u"push"_qs)).isEmpty());
    QCOMPARE(unsaved(), u"- - - -"_qs);
    QCOMPARE(taken(), (QStringList{u"imported greet"_qs, u"imported leaves"_qs, u"submitted greet"_qs,
                                   u"rejected hello"_qs, u"issue hello"_qs}));
}

void tst_Review::somebodyElseChangedATextMeanwhile()
{
    launch(true);
    edit(u"Hello"_qs, u"Le mien"_qs);
    edit(u"Greet"_qs, u"%1 !"_qs);
    const PlatformPeer peer(*m_server);
    QCOMPARE(
        peer.import(peer.accessToken(u"ana"_qs),
                    "<trans-unit id=\"hello\" resname=\"Hello\" phase-name=\"review\"><source>Hello</source>"
                    "<target>Le sien</target></trans-unit>")
            .status,
        200);
    const QJsonObject refused = ask(u"save"_qs);
    QCOMPARE(list(refused, u"saved"_qs), QStringList());
    const QJsonObject conflict{{u"key"_qs, u"Hello"_qs},
                               {u"form"_qs, u"none"_qs},
                               {u"edit"_qs, u"Le mien"_qs},
                               {u"before"_qs, u"Bonjour"_qs},
                               {u"now"_qs, u"Le sien"_qs}};
    QCOMPARE(refused.value(u"conflicts"_qs).toArray(), QJsonArray{conflict});
    QCOMPARE(unsaved(), u"Greet|Hello - - -"_qs);
    QCOMPARE(list(ask(u"save"_qs, {{u"overwrite"_qs, true}}), u"saved"_qs),
             (QStringList{u"Greet"_qs, u"Hello"_qs}));
    ask(u"pull"_qs);
    QCOMPARE(withoutMarkers(m_app->lookup(u"Hello"_qs)), u"Le mien"_qs);
}

void tst_Review::aPullKeepsACopyOfWhatItDiscards()
{
    launch(true);
    edit(u"Hello"_qs, u"Le mien"_qs);
    ask(u"pull"_qs);
    QCOMPARE(unsaved(), u"- - - -"_qs);
    QCOMPARE(withoutMarkers(m_app->lookup(u"Hello"_qs)), u"Bonjour"_qs);
    kill();
    launch(false);
    QCOMPARE(list(ask(u"unsaved"_qs), u"discarded"_qs), QStringList{u"Hello"_qs});
}

void tst_Review::stepsLimitWhatCanBeDone()
{
    launch(true);
    ask(u"useStep"_qs, {{u"uid"_qs, u"translation"_qs}}); // nothing is rejected there
    const QJsonObject refused = ask(u"reject"_qs, {{u"key"_qs, u"Hello"_qs}});
    QVERIFY(ReviewApp::errorOf(refused).contains(u"does not allow"_qs));
    QCOMPARE(list(ask(u"accept"_qs, {{u"key"_qs, u"Hello"_qs}}), u"accepted"_qs), QStringList{u"Hello"_qs});
    QVERIFY2(!ReviewApp::errorOf(ask(u"accept"_qs, {{u"key"_qs, u"Hello"_qs}})).isEmpty(), "it is decided");
    edit(u"Hello"_qs, u"Salut"_qs);
    QCOMPARE(unsaved(), u"Hello - - -"_qs);
    ask(u"signOut"_qs);
    ask(u"signIn"_qs, {{u"user"_qs, u"bea"_qs}, {u"password"_qs, u"b"_qs}});
    ask(u"workflows"_qs);
    ask(u"useLocale"_qs, {{u"id"_qs, u"fr-CA"_qs}});
    QVERIFY(ReviewApp::errorOf(edit(u"Hello"_qs, u"Salut"_qs)).contains(u"may translate"_qs));
    QCOMPARE(unsaved(), u"- - - -"_qs);
}

void tst_Review::aRefusedEditCostsNoDecision()
{
    launch(true);
    ask(u"accept"_qs, {{u"key"_qs, u"Hello"_qs}});
    QVERIFY(ReviewApp::errorOf(edit(u"Hello"_qs, u"x"_qs, u"many"_qs)).contains(u"no such form"_qs));
    QVERIFY(ReviewApp::errorOf(edit(u"Leaves"_qs, u"x"_qs, u"several"_qs)).contains(u"no such form"_qs));
    QVERIFY2(!ReviewApp::errorOf(ask(u"accept"_qs, {{u"key"_qs, u"Leaves"_qs}})).isEmpty(),
             "its published text is as it was");
    QCOMPARE(unsaved(), u"- Hello - -"_qs);
    kill();
    launch(false);
    QCOMPARE(unsaved(), u"- Hello - -"_qs);
}

void tst_Review::whatIsMissingIsSaid_data()
{
    const DVRows<QString, QJsonObject> row("command", "members");
    row("workflows of nobody", u"workflows"_qs, {});
    row("a pull without a locale", u"pull"_qs, {});
    row("an edit without a locale", u"edit"_qs, {{u"key"_qs, u"Hello"_qs}, {u"text"_qs, u"x"_qs}});
    row("accepting without a locale", u"accept"_qs, {{u"key"_qs, u"Hello"_qs}});
    row("saving without a locale", u"save"_qs, {});
    row("submitting without a locale", u"submit"_qs, {});
    row("issues without a locale", u"issue"_qs, {});
    row("a picture without strings", u"upload"_qs, {{u"image"_qs, u"/no"_qs}});
}

void tst_Review::whatIsMissingIsSaid()
{
    QFETCH(QString, command);
    QFETCH(QJsonObject, members);
    ReviewApp app(dataDir());
    QVERIFY(app.start(m_server->port()).value(u"launched"_qs).toBool());
    const QJsonObject reply = app.ask(command, members);
    QCOMPARE(reply.value(u"reply"_qs).toString(), command);
    QVERIFY(reply.value(u"error"_qs).isObject()); // of the library, not of the line
    QVERIFY(!ReviewApp::errorOf(reply).isEmpty());
    QCOMPARE(app.lookup(u"k"_qs), app.lookup(u"k"_qs)); // it goes on
}

void tst_Review::cancelledAndShown()
{
    launch(true);
    const int before = m_app->events();
    QVERIFY(ReviewApp::errorOf(ask(u"pull"_qs, {{u"progress"_qs, true}})).isEmpty());
    QVERIFY2(m_app->events() >= before + 3, "two files, and that strings were updated");
    edit(u"Hello"_qs, u"Salut"_qs);
    QVERIFY(!ReviewApp::errorOf(ask(u"save"_qs, {{u"timeoutMs"_qs, 0}, {u"overwrite"_qs, true}})).isEmpty());
    QCOMPARE(unsaved(), u"Hello - - -"_qs);
    QCOMPARE(list(ask(u"save"_qs), u"saved"_qs), QStringList{u"Hello"_qs});
}

void tst_Review::signInPages_data()
{
    // problem: null: it succeeds
    const DVRows<QList<Answer>, QString, QByteArray> row("pages", "problem", "lastForm");
    const auto page = [](const QByteArray &body) {
        return Answer::of(200, "<!DOCTYPE html><html><body>" + body + "</body></html>");
    };
    const auto to = [](const QByteArray &location, int status = 302) {
        return Answer::of(status, {}, {{"Location", location}});
    };
    const Answer loginPage = page(
        "<form action=/search><input name=q></form><p>unclosed<form method=post action='login?a=1&amp;b=2'>"
        "<input type=hidden name=csrf value='&lt;1&gt;'><input name=username><input type=password name=pw>"
        "<input type=checkbox name=keep><button name=how value=in>Sign in</button>"
        "<button name=how value=out>Cancel</button></form>");
    const Answer consent =
        page("<form method=post action=/consent><input type=hidden name=prompt value=consent>"
             "<button type=submit>Continue</button></form>");
    const Answer end = to("dorvane.ios.sdk://login/?session_state=x&code=the%2Fcode");
    const QByteArray filled = "csrf=%3C1%3E&username=ana&pw=p%26%20%C3%A9&how=in";
    row("a form among others, with what it hides", QList<Answer>{loginPage, end}, {}, filled);
    row("redirects before and behind",
        QList<Answer>{to("/start"), to("login", 303), loginPage, to("/back"), end}, {}, {});
    row("a redirect that keeps the form", QList<Answer>{loginPage, to("/again", 307), end}, {}, filled);
    row("a second page for consent", QList<Answer>{loginPage, consent, end}, {}, "prompt=consent");
    row("somebody who is signed in already", QList<Answer>{end}, {}, {});
    row("the form again: refused", QList<Answer>{loginPage, loginPage}, u"not accepted"_qs, filled);
    row("no form", QList<Answer>{page("hello")}, u"no form"_qs, {});
    row("an error", QList<Answer>{Answer::of(500, "down")}, u"500"_qs, {});
    row("a refusal in the redirect", QList<Answer>{to("dorvane.ios.sdk://login/?error=access_denied")},
        u"access_denied"_qs, {});
    row("a redirect to another program", QList<Answer>{to("mailto:x@y.z")}, u"another program"_qs, {});
    row("a redirect to plain http elsewhere", QList<Answer>{to("http://127.0.0.1.example/login")},
        u"could be read"_qs, {});
    row("a form that sends to plain http elsewhere",
        QList<Answer>{
            page("<form method=post action='http://127.0.0.1.example/'><input type=password name=pw>")},
        u"could be read"_qs, {});
    row("a form that puts the password into an address",
        QList<Answer>{page("<form action=/login><input type=password name=pw></form>")}, u"method POST"_qs,
        {});
    row("pages without an end", QList<Answer>(50, to("/round")), u"without an end"_qs, {});
    row("a connection that breaks", QList<Answer>{Answer::failing(DVFaultServer::Fault::Close)}, u""_qs, {});
}

void tst_Review::signInPages()
{
    QFETCH(QList<Answer>, pages);
    QFETCH(QString, problem);
    QFETCH(QByteArray, lastForm);
    DVFaultServer server;
    for (const Answer &page : pages)
        server.enqueue(page);
    if (problem.isNull())
        server.enqueue(Answer::of(200, R"({"access_token": "a.e30.s", "refresh_token": "r", "expires_in": 300,
                                           "refresh_expires_in": 1800})"));
    ReviewApp app(dataDir());
    app.start(quint16(QUrl(server.url()).port()));
    const QJsonObject reply =
        app.ask(u"signIn"_qs, {{u"user"_qs, u"ana"_qs}, {u"password"_qs, u"p& \u00e9"_qs}});
    QCOMPARE(reply.value(u"signedIn"_qs).toBool(), problem.isNull());
    QVERIFY2(ReviewApp::errorOf(reply).contains(problem), qPrintable(ReviewApp::errorOf(reply)));
    QByteArray form;
    for (const auto &request : server.requests())
        if (request.method == "POST" && !request.target.endsWith("/token"))
            form = request.body;
    if (!lastForm.isEmpty())
        QCOMPARE(form, lastForm);
    if (problem.isNull()) {
        const QUrlQuery token(QString::fromUtf8(server.requests().constLast().body));
        QCOMPARE(token.queryItemValue(u"code"_qs, QUrl::FullyDecoded), u"the/code"_qs);
    }
}

QTEST_GUILESS_MAIN(tst_Review)
#include "tst_review.moc"
