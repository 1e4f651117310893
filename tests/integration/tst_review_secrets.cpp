// A whole review at the most talkative: nothing that the application or the platform says or writes holds a
// secret.
#include "DVCanaries.h"
#include "DVFaultProxy.h"
#include "PlatformProject.h"
#include "ReviewApp.h"

#include <QRegularExpression>
#include <QUrlQuery>

using namespace Qt::Literals::StringLiterals;

class tst_ReviewSecrets : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aWholeReview();
};

void tst_ReviewSecrets::aWholeReview()
{
    const QString password = DVCanaries::canary(u"password"_qs);
    const QString mistyped = DVCanaries::canary(u"mistyped"_qs);
    const QString apiSecret = DVCanaries::canary(u"apiSecret"_qs);
    const PlatformProject project;
    project.setPeople(
        {{u"users"_qs, QJsonArray{QJsonObject{{u"user"_qs, u"ana"_qs}, {u"password"_qs, password}}}}});
    QFile file(project.path() + u"/project.json"_qs);
    QVERIFY(file.open(QIODevice::ReadOnly));
    project.write(u"project.json"_qs, file.readAll().replace("app secret", apiSecret.toUtf8()));
    ServeProcess server(project.path());
    const DVFaultProxy proxy(server.port());
    const QString device = project.path() + u"/../device"_qs;
    ReviewApp app(device);

    // Both start calls of the application: one whose sign-in fails, and the review.
    QJsonObject options{{u"mode"_qs, u"DVInAppReviewAndContextCapture"_qs},
                        {u"logging"_qs, u"DVLoggingDebug"_qs},
                        {u"apiUserId"_qs, u"app"_qs},
                        {u"apiUserSecret"_qs, apiSecret},
                        {u"otaKey"_qs, Delivered::base64()},
                        {u"servers"_qs, ReviewApp::serversAt(proxy.port())}};
    app.ask(u"start"_qs, {{u"projectId"_qs, u"garden"_qs}, {u"options"_qs, options}});
    QVERIFY(!ReviewApp::errorOf(app.ask(u"signIn"_qs, {{u"user"_qs, u"ana"_qs}, {u"password"_qs, mistyped}}))
                 .isEmpty());
    QCOMPARE(ReviewApp::errorOf(app.ask(u"signIn"_qs, {{u"user"_qs, u"ana"_qs}, {u"password"_qs, password}})),
             QString());
    app.ask(u"workflows"_qs);
    QCOMPARE(app.chooseFrenchReview(), QString());
    QCOMPARE(app.edit(u"Hello"_qs, u"Salut"_qs), QString());
    QCOMPARE(app.reject(u"Greet"_qs, u"no"_qs), QString());
    QCOMPARE(ReviewApp::errorOf(app.ask(u"push"_qs)), QString());
    const QString picture = project.path() + u"/../picture.png"_qs;
    project.write(picture,
                  QByteArray::fromBase64("iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAQAAAC1HAwCAAAAC0lEQVR42mNk"
                                         "YAAAAAYAAjCB0C8AAAAASUVORK5CYII=")); // one point
    const QJsonObject hello{{u"key"_qs, u"Hello"_qs}, {u"frame"_qs, QJsonArray{0, 0, 1, 1}}};
    const QJsonObject uploaded =
        app.ask(u"upload"_qs, {{u"image"_qs, picture}, {u"strings"_qs, QJsonArray{hello}}});
    QCOMPARE(ReviewApp::errorOf(uploaded), QString());
    constexpr int refreshDueMs = 3'600'000;
    app.ask(u"clock"_qs, {{u"advanceMs"_qs, refreshDueMs}});
    app.ask(u"workflows"_qs, {{u"fresh"_qs, true}});
    app.ask(u"signOut"_qs);
    const QByteArray log = server.logWith("/logout");
    app.process().closeWriteChannel();
    QVERIFY(app.process().waitForFinished(20000));

    const QByteArrayList requests = proxy.requests();
    const auto logOut = std::find_if(requests.begin(), requests.end(),
                                     [](const QByteArray &request) { return request.contains("/logout?"); });
    QVERIFY(logOut != requests.end());
    const QString refreshToken =
        QUrlQuery(QUrl(QString::fromUtf8(logOut->split(' ').at(1)))).queryItemValue(u"refresh_token"_qs);
    QVERIFY(!refreshToken.isEmpty());

    const QByteArray said = app.process().readAllStandardError();
    for (const char *exchange : {"openid-connect/token", "/auth-api/v2/authenticate"})
        QVERIFY2(said.contains(exchange), exchange); // what carried the secrets was logged
    const QStringList canaries{password, mistyped, apiSecret, refreshToken};
    QCOMPARE(DVCanaries::found(device, said, canaries), QStringList());
    QCOMPARE(DVCanaries::found(project.path(), log, canaries, {u"project.json"_qs}), QStringList());
    // Access tokens: a JSON Web Token begins with its header, an object in base64.
    static const QRegularExpression webToken(u"eyJ[A-Za-z0-9_-]{2,}"_qs);
    QVERIFY(!QString::fromUtf8(said + log).contains(webToken));
}

QTEST_GUILESS_MAIN(tst_ReviewSecrets)
#include "tst_review_secrets.moc"
