// Every request of the library to a platform is in the documents as it is sent, and the answers there are
// answers that it understands: the server of this test knows nothing but docs/formats/platform-api.md.
#include "ApiPlatform.h"
#include "DVApi.h"
#include "DVNetwork.h"

#include <QCoreApplication>

using Answer = DVFaultServer::Answer;
using Request = DVFaultServer::Request;

namespace {

struct Example
{
    QByteArray request; // "METHOD TARGET", and its body on the lines that follow
    QByteArray answer;
};

bool beginsAnExample(const QByteArray &line)
{
    return line.startsWith("    GET /") || line.startsWith("    POST /") || line.startsWith("    PUT /");
}

// A request and, behind the last empty line, its answer.
Example exampleFrom(const QByteArrayList &lines)
{
    const qsizetype gap = lines.lastIndexOf(QByteArray());
    return {lines.mid(0, gap).join('\n'), lines.mid(gap + 1).join('\n')};
}

QList<Example> documentedExamples()
{
    QFile file(QStringLiteral(DORVANE_SOURCE_DIR "/docs/formats/platform-api.md"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QList<Example> examples;
    QByteArrayList example;
    const auto end = [&] {
        while (!example.isEmpty() && example.last().isEmpty())
            example.removeLast();
        if (!example.isEmpty())
            examples += exampleFrom(std::exchange(example, {}));
    };
    const QByteArrayList lines = file.readAll().split('\n');
    for (const QByteArray &line : lines) {
        const bool isText = !line.isEmpty() && !line.startsWith("    ");
        if (isText || beginsAnExample(line))
            end();
        if (!isText && (beginsAnExample(line) || !example.isEmpty()))
            example += line.mid(4);
    }
    end();
    return examples;
}

// As the document writes it.
QByteArray written(const Request &request)
{
    const QByteArray line = request.method + ' ' + request.target;
    const auto file = ApiPlatform::uploadedFile(request);
    if (!file.disposition.isNull())
        return line + "\n--BOUNDARY\nContent-Disposition: " + file.disposition +
               "\nContent-Type: " + file.type + "\n\nFILE\n--BOUNDARY--";
    return request.body.isEmpty() ? line : line + '\n' + request.body;
}

DVStringGroupPtr plural()
{
    auto group = std::make_shared<DVStringGroup>();
    ApiPlatform::addForm(group, u"files"_qs, u"h-2[one]"_qs, u"one"_qs, u"un fichier"_qs);
    ApiPlatform::addForm(group, u"files"_qs, u"h-2[other]"_qs, u"other"_qs, u"des fichiers"_qs);
    return group;
}

} // namespace

class tst_ApiDocument : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyRequestIsDocumented();

private:
    void signIn();
    void askForStrings();
    void decide();
    void uploadAndLeave();

    // A completion that counts, and fails the test with the error.
    DVApi::Completion done()
    {
        return [this](const DVErrorOr &error) {
            ++m_done;
            if (error)
                QFAIL(qPrintable(error->description));
        };
    }

    std::unique_ptr<ApiPlatform> m_platform;
    int m_done = 0;
};

void tst_ApiDocument::signIn()
{
    DVSession &session = DVSession::sharedInstance();
    session.getTokenWithCode(u"7f3c9e21d0"_qs, false, done());
    QTRY_COMPARE(m_done, 1);
    session.getTokenWithCode(u"user-refresh-1"_qs, true, done());
    QTRY_COMPARE(m_done, 2);
    DVAPISession::sharedInstance().getTokenWithCompletion(done());
    QTRY_COMPARE(m_done, 3);
    DVAPISession::sharedInstance().refreshTokenWithCompletion(done());
    QTRY_COMPARE(m_done, 4);
    DVApi::pingWithCompletion(done());
    QTRY_COMPARE(m_done, 5);
}

void tst_ApiDocument::askForStrings()
{
    DVApi::projectInfoForce(true, [this](const DVErrorOr &error, const std::optional<QJsonObject> &info) {
        done()(error);
        QCOMPARE(info->value(u"targetLocales").toArray().size(), 1);
    });
    QTRY_COMPARE(m_done, 6);
    DVApi::projectWorkflowsForce(
        true, [this](const DVErrorOr &error, const std::optional<QList<DVWorkflowStep>> &steps) {
            done()(error);
            QCOMPARE(steps->size(), 1);
            QVERIFY(steps->first().canSubmit);
            QCOMPARE(steps->first().localePairs.size(), 1);
        });
    QTRY_COMPARE(m_done, 7);
    DVApi::downloadStringsForLocale(DVLocale(u"fr_CA"_qs), DVAuthenticationUser,
                                    m_platform->path(u"pending"_qs), m_platform->path(u"published"_qs),
                                    done());
    QTRY_COMPARE(m_done, 8);
    QVERIFY(ApiPlatform::read(m_platform->path(u"published"_qs)).contains("Bonjour"));
    QVERIFY(ApiPlatform::read(m_platform->path(u"pending"_qs)).contains("Salut"));
}

void tst_ApiDocument::decide()
{
    const auto hello = ApiPlatform::string(u"hello"_qs, u"h-1"_qs);
    const auto bye = ApiPlatform::string(u"bye"_qs, u"h-3"_qs);
    bye->rejectReason = u"DOES_NOT_FIT_SPACE"_qs;
    bye->rejectDescription = u"Cut off on small screens"_qs;
    DVApi::saveStrings({{u"files"_qs, plural()}}, {},
                       [this](const DVErrorOr &error, const QMap<QString, QStringList> &failures) {
                           done()(error);
                           QCOMPARE(failures, (QMap<QString, QStringList>{{u"files"_qs, {u"Too long"_qs}}}));
                       });
    QTRY_COMPARE(m_done, 9);
    DVApi::submitStrings({hello, plural()},
                         [this](const DVErrorOr &error, const QList<DVStringGroupPtr> &failed) {
                             done()(error);
                             QCOMPARE(failed.size(), 1);
                             QCOMPARE(failed.first()->key, u"files"_qs);
                         });
    QTRY_COMPARE(m_done, 10);
    DVApi::rejectStrings({bye}, [this](const DVErrorOr &error, const QList<DVStringGroupPtr> &failed) {
        done()(error);
        QVERIFY(failed.isEmpty());
    });
    QTRY_COMPARE(m_done, 11);
    DVApi::createIssueForString(bye, done());
    QTRY_COMPARE(m_done, 12);
}

void tst_ApiDocument::uploadAndLeave()
{
    DVContextPicture picture;
    picture.strings = {{u"hello"_qs, u"h-1"_qs, QRectF(10.5, 64, 120, 20)}};
    picture.saveImage = [path = m_platform->path(u"picture.png"_qs)] {
        ApiPlatform::write(path, "png");
        return path;
    };
    DVApi::uploadContext(picture, done());
    QTRY_COMPARE(m_done, 13);
    const qsizetype before = m_platform->server.requests().size();
    DVSession::sharedInstance().logOut();
    QTRY_COMPARE(m_platform->server.requests().size(), before + 1);
}

void tst_ApiDocument::everyRequestIsDocumented()
{
    const QList<Example> examples = documentedExamples();
    QVERIFY(!examples.isEmpty());
    QCoreApplication::setApplicationVersion(u"1.0"_qs);
    m_platform = std::make_unique<ApiPlatform>();
    m_platform->server.clear();
    m_platform->server.setHandler([examples](const Request &request) {
        for (const Example &example : examples) {
            if (example.request == written(request))
                return Answer::of(200, example.answer);
        }
        return Answer::of(400, R"({"response":{"code":"NOT_DOCUMENTED","errors":[]}})");
    });

    using Step = void (tst_ApiDocument::*)();
    for (const Step step : {&tst_ApiDocument::signIn, &tst_ApiDocument::askForStrings,
                            &tst_ApiDocument::decide, &tst_ApiDocument::uploadAndLeave}) {
        (this->*step)();
        if (QTest::currentTestFailed())
            break;
    }

    QByteArrayList documented;
    for (const Example &example : examples)
        documented += example.request;
    QByteArrayList sent;
    for (const auto &request : m_platform->server.requests())
        sent += written(request);
    std::sort(documented.begin(), documented.end());
    std::sort(sent.begin(), sent.end());
    QCOMPARE(sent.join("\n\n"), documented.join("\n\n"));
    m_platform.reset();
}

QTEST_GUILESS_MAIN(tst_ApiDocument)
#include "tst_apidocument.moc"
