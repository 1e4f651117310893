// Signing in against a provider of OpenID Connect that is not ours: the npm package oidc-provider, with its
// own pages, codes, refresh tokens and signed access tokens.
#include "TryProcess.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString packages = QStringLiteral(DORVANE_SOURCE_DIR "/build/provider/node_modules");

// Of tests/provider/provider.mjs.
constexpr qint64 accessMs = 300'000;
constexpr qint64 refreshMs = 1'800'000;

// A running provider; ends with this object.
class Provider
{
public:
    Provider()
    {
        // Node looks for packages beside the program.
        const QString program = m_folder.filePath(u"provider.mjs"_qs);
        QFile::copy(QStringLiteral(DORVANE_SOURCE_DIR "/tests/provider/provider.mjs"), program);
        QFile::link(packages, m_folder.filePath(u"node_modules"_qs));
        m_process.start(u"node"_qs, {program});
        while (!m_process.canReadLine() && m_process.waitForReadyRead(20000)) {
        }
        m_url = QString::fromUtf8(m_process.readLine().trimmed());
    }
    ~Provider()
    {
        m_process.closeWriteChannel();
        if (!m_process.waitForFinished(5000))
            m_process.kill();
        m_process.waitForFinished();
    }
    Q_DISABLE_COPY_MOVE(Provider)

    QString url() const { return m_url; }
    QByteArray complaints() { return m_process.readAllStandardError(); }

private:
    QTemporaryDir m_folder;
    QProcess m_process;
    QString m_url;
};

} // namespace

class tst_SignIn : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void aUserSignsInAndIsKnown();
    void anOldTokenIsRefreshedSilently();
    void afterTheLastTokenSomebodyMustSignIn();
    void whoSignedOutIsNobody();

private:
    QJsonObject signIn()
    {
        return m_host->ask(u"signIn"_qs, {{u"user"_qs, u"ana"_qs}, {u"password"_qs, u"x"_qs}});
    }
    // The provider answers with a step that is called as the signed access token calls the user, and has the
    // token's own identifier; null when it did not believe the token.
    QPair<QString, QString> nameAndToken();
    static int errorCode(const QJsonObject &reply)
    {
        return reply.value(u"error"_qs).toObject().value(u"code"_qs).toInt();
    }

    std::unique_ptr<Provider> m_provider;
    std::unique_ptr<QTemporaryDir> m_data;
    std::unique_ptr<TryProcess> m_host;
};

void tst_SignIn::initTestCase()
{
    QTest::failOnWarning(QRegularExpression(u".*"_qs));
    if (QStandardPaths::findExecutable(u"node"_qs).isEmpty() ||
        QStandardPaths::findExecutable(u"npm"_qs).isEmpty())
        QSKIP("Node.js is not there: install nodejs and npm, then run scripts/setup");
    if (!QFileInfo(packages).isDir() && qEnvironmentVariableIsEmpty("CI"))
        QSKIP("the provider is not there: scripts/setup brings it");
    m_provider = std::make_unique<Provider>();
    QVERIFY2(!m_provider->url().isEmpty(), m_provider->complaints().constData());
}

void tst_SignIn::init()
{
    m_data = std::make_unique<QTemporaryDir>();
    m_host = std::make_unique<TryProcess>(m_data->path());
    const QString url = m_provider->url();
    const QJsonObject servers{
        {u"api"_qs, url}, {u"sso"_qs, url}, {u"delivery"_qs, url}, {u"deliveryCdn"_qs, url}};
    const QJsonObject options{
        {u"mode"_qs, u"DVInAppReview"_qs}, {u"servers"_qs, servers}, {u"analytics"_qs, false}};
    const QJsonObject started =
        m_host->ask(u"start"_qs, {{u"projectId"_qs, u"garden"_qs}, {u"options"_qs, options}});
    QVERIFY(started.value(u"launched"_qs).toBool());
}

void tst_SignIn::cleanup()
{
    m_host.reset();
}

QPair<QString, QString> tst_SignIn::nameAndToken()
{
    const QJsonObject step =
        m_host->ask(u"workflows"_qs, {{u"fresh"_qs, true}}).value(u"steps"_qs).toArray().first().toObject();
    return {step.value(u"name"_qs).toString(), step.value(u"uid"_qs).toString()};
}

void tst_SignIn::aUserSignsInAndIsKnown()
{
    QCOMPARE(errorCode(m_host->ask(u"workflows"_qs, {{u"fresh"_qs, true}})), 401);
    const QJsonObject reply = signIn();
    QVERIFY2(!reply.contains(u"error"_qs), QJsonDocument(reply).toJson().constData());
    QCOMPARE(reply.value(u"email"_qs), u"ana@example.com"_qs);
    QCOMPARE(nameAndToken().first, u"ana"_qs);
}

void tst_SignIn::anOldTokenIsRefreshedSilently()
{
    signIn();
    const auto first = nameAndToken();
    m_host->ask(u"clock"_qs, {{u"advanceMs"_qs, accessMs - 70'000}});
    QCOMPARE(nameAndToken(), first); // ten seconds are left, with the minute that counts as spent
    m_host->ask(u"clock"_qs, {{u"advanceMs"_qs, 20'000}});
    const auto second = nameAndToken();
    QCOMPARE(second.first, u"ana"_qs);
    QVERIFY(second.second != first.second);
    m_host->ask(u"clock"_qs, {{u"advanceMs"_qs, accessMs}});
    QVERIFY(nameAndToken().second != second.second); // the refresh token, which came only once, still holds
}

void tst_SignIn::afterTheLastTokenSomebodyMustSignIn()
{
    signIn();
    m_host->ask(u"clock"_qs, {{u"advanceMs"_qs, refreshMs}});
    const QJsonObject reply = m_host->ask(u"workflows"_qs, {{u"fresh"_qs, true}});
    QCOMPARE(reply.value(u"error"_qs).toObject().value(u"description"_qs), u"Login cancelled by user"_qs);
    signIn();
    QCOMPARE(nameAndToken().first, u"ana"_qs);
}

void tst_SignIn::whoSignedOutIsNobody()
{
    signIn();
    m_host->ask(u"signOut"_qs);
    QCOMPARE(errorCode(m_host->ask(u"workflows"_qs, {{u"fresh"_qs, true}})), 401);
}

QTEST_GUILESS_MAIN(tst_SignIn)
#include "tst_signin.moc"
