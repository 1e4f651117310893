// Progress and cancel of requests under way, at every stage.
#include "DVMainQueue.h"
#include "DVNetwork.h"
#include "DVRows.h"
#include "NetworkDevice.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QNetworkReply>
#include <QThread>

#include <atomic>

using Answer = DVFaultServer::Answer;
using Fault = DVFaultServer::Fault;
using Request = DVFaultServer::Request;

namespace {

struct Step
{
    qint64 done = 0;
    qint64 total = 0;
};

struct Operation
{
    DVTransferPtr transfer;
    QList<Step> steps;
    int calls = 0;
    DVErrorOr error;

    int code() const { return error ? error->code : 0; }
};
using OperationPtr = std::shared_ptr<Operation>;

OperationPtr operation(const std::function<void(const OperationPtr &)> &onProgress = {})
{
    auto made = std::make_shared<Operation>();
    made->transfer =
        std::make_shared<DVTransfer>([weak = std::weak_ptr(made), onProgress](qint64 done, qint64 total) {
            const OperationPtr self = weak.lock();
            if (!self || !DVMainQueue::isMainThread() || self->calls > 0)
                qFatal("progress after the end or on another thread");
            self->steps.append({done, total});
            if (onProgress)
                onProgress(self);
        });
    return made;
}

// For completions of every kind.
auto completion(const OperationPtr &of)
{
    return [of](const DVErrorOr &error, const auto &...) {
        ++of->calls;
        of->error = error;
    };
}

void expectRising(const QList<Step> &steps)
{
    QVERIFY(!steps.isEmpty());
    for (qsizetype i = 0; i < steps.size(); ++i) {
        QVERIFY(i == 0 || steps[i].done >= steps[i - 1].done);
        QVERIFY(steps[i].total < 0 || steps[i].done <= steps[i].total);
    }
}

} // namespace

class tst_Transfer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_device.reset(); }

    void progressOfAnUpload();
    void progressOfADownload_data();
    void progressOfADownload();
    void progressNeverFallsWhenABodyIsSentAgain();
    void progressDoesNotFloodTheMainThread();
    void bodiesAreMadeOnTheNetworkThread();
    void cancel_data();
    void cancel();
    void cancelFromProgress();
    void cancelOfAnAnswerThatIsThere();
    void cancelEndsASequence();
    void cancelIsForItsOwnRequests();
    void cancelDropsTheProgressThatWaits();
    void cancelAfterTheEndDoesNothing();
    void anObjectThatDiesInFlight_data();
    void anObjectThatDiesInFlight();
    void manyAtOnce();

private:
    QString file(const QString &name, qint64 size = -1) const;
    void upload(const OperationPtr &of, const QString &name = u"image.png"_qs) const;
    void download(const OperationPtr &of) const;

    std::unique_ptr<NetworkDevice> m_device;
};

void tst_Transfer::init()
{
    m_device = std::make_unique<NetworkDevice>();
    DVAPISession::sharedInstance().userId = u"user"_qs;
    DVAPISession::sharedInstance().userSecret = u"secret of the user"_qs;
}

// The path of a file of that size, or of none.
QString tst_Transfer::file(const QString &name, qint64 size) const
{
    if (size >= 0)
        NetworkDevice::write(m_device->path(name), QByteArray(size, 'f'));
    return m_device->path(name);
}

void tst_Transfer::upload(const OperationPtr &of, const QString &name) const
{
    DVNetwork::postPath(u"/up"_qs, DVAuthenticationNone, DVImageAttachment{file(name)}, u"content"_qs,
                        completion(of), of->transfer);
}

void tst_Transfer::download(const OperationPtr &of) const
{
    DVNetwork::downloadPath(u"/down"_qs, DVAuthenticationNone, {}, 20, file(u"file"_qs), completion(of),
                            of->transfer);
}

void tst_Transfer::progressOfAnUpload()
{
    constexpr qint64 size = 30 << 20;
    file(u"image.png"_qs, size);
    const QByteArray answer = R"({"response":{}})";
    m_device->server.enqueue(Answer::of(200, answer));
    const OperationPtr up = operation();
    upload(up);
    QVERIFY(up->steps.isEmpty());
    QTRY_COMPLETED(up);
    QVERIFY(!up->error);
    expectRising(up->steps);
    const qint64 body = m_device->server.requests().constFirst().body.size();
    QVERIFY(body > size);
    QCOMPARE(up->steps.constLast().done, body + answer.size());
    QCOMPARE(up->steps.constLast().total, body + answer.size());
    QVERIFY(up->steps.constFirst().total >= body);
}

void tst_Transfer::progressOfADownload_data()
{
    const DVRows<bool> row("announced");
    row("of a known size", true);
    row("in chunks", false);
}

void tst_Transfer::progressOfADownload()
{
    QFETCH(bool, announced);
    const QByteArray body(4 << 20, 'b');
    Answer answer = Answer::of(200, body);
    if (!announced)
        answer.raw = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" +
                     QByteArray::number(body.size(), 16) + "\r\n" + body + "\r\n0\r\n\r\n";
    m_device->server.enqueue(answer);
    const OperationPtr down = operation();
    download(down);
    QTRY_COMPLETED(down);
    QVERIFY(!down->error);
    expectRising(down->steps);
    QCOMPARE(down->steps.constLast().done, body.size());
    for (const Step &step : std::as_const(down->steps))
        QCOMPARE(step.total, announced ? body.size() : -1);
}

void tst_Transfer::progressNeverFallsWhenABodyIsSentAgain()
{
    file(u"image.png"_qs, 8 << 20);
    m_device->server.enqueue(Answer::of(307, QByteArray(1000, 'r'), {{"Location", "/again"}}));
    m_device->server.enqueue(Answer::of(200, "{}"));
    const OperationPtr up = operation();
    upload(up);
    QTRY_COMPLETED(up);
    QVERIFY(!up->error);
    QCOMPARE(m_device->server.requests().size(), 2);
    expectRising(up->steps);
}

void tst_Transfer::progressDoesNotFloodTheMainThread()
{
    Answer slow = Answer::failing(Fault::Drip, QByteArray(300, 'd'));
    slow.intervalMs = 2;
    m_device->server.enqueue(slow);
    const OperationPtr down = operation();
    QElapsedTimer time;
    time.start();
    download(down);
    QTRY_COMPLETED(down);
    QVERIFY(!down->error);
    expectRising(down->steps);
    // One in 50 ms, the first, the last.
    QVERIFY2(down->steps.size() <= time.elapsed() / 50 + 2, qPrintable(QString::number(down->steps.size())));
}

void tst_Transfer::bodiesAreMadeOnTheNetworkThread()
{
    m_device->server.enqueue(Answer::of(200));
    std::atomic<QThread *> maker = nullptr;
    DVHttpRequest request;
    request.method = "POST";
    request.request.setUrl(QUrl(m_device->server.url()));
    request.request.setRawHeader("Content-Type", "text/plain");
    request.makeBody = [&](QByteArray *body) -> DVErrorOr {
        maker = QThread::currentThread();
        *body = "made";
        return {};
    };
    const DVOutcome<DVHttpResponse> sent;
    DVHttpTransport::send(request, {}, sent.take());
    QTRY_COMPLETED(sent);
    QVERIFY(maker.load() && maker.load() != QThread::currentThread());
    QCOMPARE(m_device->server.requests().constFirst().body, QByteArray("made"));
}

void tst_Transfer::cancel_data()
{
    // requests: that the server has seen of it by then
    const DVRows<QString, int> row("stage", "requests");
    row("before the call", u"before"_qs, 0);
    row("in the same turn", u"at once"_qs, -1);
    row("while a token is fetched", u"signing"_qs, 1);
    row("while the body is on its way", u"uploading"_qs, 0);
    row("while the server thinks", u"silence"_qs, 1);
    row("in the answer's body", u"stall"_qs, 1);
    row("in a download", u"download"_qs, 1);
}

void tst_Transfer::cancel()
{
    QFETCH(QString, stage);
    QFETCH(int, requests);
    file(u"image.png"_qs, 30 << 20);
    file(u"file"_qs, 3);
    if (stage == u"uploading")
        m_device->server.setUpload(DVFaultServer::Upload::Stall, 1 << 20);
    const bool answers = stage == u"stall" || stage == u"download";
    m_device->server.setHandler([answers](const Request &) {
        return Answer::failing(answers ? Fault::StallInBody : Fault::Silence, QByteArray(1 << 20, 'a'));
    });
    const OperationPtr under = operation();
    if (stage == u"before")
        under->transfer->cancel();
    if (stage == u"signing")
        DVNetwork::putPath(u"/p"_qs, false, DVAuthenticationApi, DVServerApi, {}, completion(under),
                           under->transfer);
    else if (stage == u"download" || stage == u"silence")
        download(under);
    else
        upload(under);
    if (requests > 0)
        QVERIFY(m_device->server.waitForRequests(requests, generousMs));
    if (stage == u"uploading" || answers)
        QTRY_VERIFY_WITH_TIMEOUT(!under->steps.isEmpty(), generousMs);
    const qsizetype steps = under->steps.size();
    under->transfer->cancel();
    under->transfer->cancel();
    QCOMPARE(under->calls, 0); // never from inside the call
    QVERIFY(under->transfer->isCancelled());
    QTRY_COMPLETED(under);
    QCOMPARE(under->error->domain, u"dorvane.network"_qs);
    QCOMPARE(under->code(), int(QNetworkReply::OperationCanceledError));
    QCOMPARE(under->steps.size(), steps);
    QCOMPARE(QFileInfo(file(u"file"_qs)).size(), 3);
    if (requests >= 0)
        QCOMPARE(m_device->server.requests().size(), requests);
    // What comes late changes nothing; other requests work.
    m_device->server.clear();
    m_device->server.setUpload(DVFaultServer::Upload::Read);
    m_device->answer(Answer::of(200, "{}"));
    const OperationPtr next = operation();
    file(u"image.png"_qs, 10);
    upload(next);
    QTRY_COMPLETED(next);
    QVERIFY(!next->error);
    QCOMPARE(under->calls, 1);
}

void tst_Transfer::cancelFromProgress()
{
    file(u"image.png"_qs, 30 << 20);
    m_device->server.setUpload(DVFaultServer::Upload::Stall, 1 << 20);
    const OperationPtr up = operation([](const OperationPtr &self) { self->transfer->cancel(); });
    upload(up);
    QTRY_COMPLETED(up);
    QCOMPARE(up->code(), int(QNetworkReply::OperationCanceledError));
    QCOMPARE(up->steps.size(), 1);
}

// The server has acted and said so: to call that cancelled would have it done twice.
void tst_Transfer::cancelOfAnAnswerThatIsThere()
{
    m_device->server.enqueue(Answer::of(200, "done"));
    const OperationPtr under = operation();
    DVHttpRequest request;
    request.method = "PUT";
    request.request.setUrl(QUrl(m_device->server.url()));
    request.transfer = DVTransferLink::of(under->transfer);
    std::atomic<bool> isThere = false;
    QByteArray body;
    DVHttpTransport::send(
        request, [&](const DVErrorOr &, const DVHttpResponse &) { isThere = true; },
        [&](const DVErrorOr &error, const DVHttpResponse &response) {
            completion(under)(error);
            body = response.body;
        });
    // Without an event loop here, so that the completion waits.
    QElapsedTimer time;
    time.start();
    while (!isThere && time.elapsed() < generousMs)
        QThread::yieldCurrentThread();
    under->transfer->cancel();
    QTRY_COMPLETED(under);
    QVERIFY(!under->error);
    QCOMPARE(body, QByteArray("done"));
}

void tst_Transfer::cancelEndsASequence()
{
    m_device->answer(Answer::of(200, "{}"));
    const OperationPtr both = operation();
    const OperationPtr second = std::make_shared<Operation>();
    DVNetwork::getPath(
        u"/1"_qs, DVAuthenticationNone, DVServerApi, {},
        [&](const DVErrorOr &error, const QJsonValue &) {
            completion(both)(error);
            both->transfer->cancel();
            DVNetwork::getPath(u"/2"_qs, DVAuthenticationNone, DVServerApi, {}, completion(second),
                               both->transfer);
        },
        both->transfer);
    QTRY_COMPLETED(second);
    QVERIFY(!both->error);
    QCOMPARE(second->code(), int(QNetworkReply::OperationCanceledError));
    QCOMPARE(m_device->server.requests().size(), 1);
}

void tst_Transfer::cancelIsForItsOwnRequests()
{
    m_device->server.setHandler([](const Request &request) {
        return request.target == "/kept" ? Answer::of(200, "{}").delayed(200)
                                         : Answer::failing(Fault::Silence);
    });
    const OperationPtr cancelled = operation();
    const OperationPtr kept = operation();
    for (const OperationPtr &each : {cancelled, cancelled, kept})
        DVNetwork::getPath(each == kept ? u"/kept"_qs : u"/p"_qs, DVAuthenticationNone, DVServerApi, {},
                           completion(each), each->transfer);
    QVERIFY(m_device->server.waitForRequests(3, generousMs));
    // Two of the cancelled operation's: both complete.
    cancelled->transfer->cancel();
    QTRY_COMPLETED(kept);
    QVERIFY(!kept->error);
    QTRY_COMPARE_WITH_TIMEOUT(cancelled->calls, 2, generousMs);
    QCOMPARE(cancelled->code(), int(QNetworkReply::OperationCanceledError));
}

void tst_Transfer::cancelDropsTheProgressThatWaits()
{
    const OperationPtr cancelled = operation();
    const OperationPtr kept = operation();
    const auto links = {DVTransferLink::of(cancelled->transfer), DVTransferLink::of(kept->transfer)};
    for (const DVTransferLinkPtr &link : links)
        link->report(1, 2, true);
    cancelled->transfer->cancel();
    QTRY_COMPARE_WITH_TIMEOUT(kept->steps.size(), 1, generousMs);
    QVERIFY(cancelled->steps.isEmpty());
}

void tst_Transfer::cancelAfterTheEndDoesNothing()
{
    m_device->answer(Answer::of(200, "{}"));
    const OperationPtr over = operation();
    download(over);
    QTRY_COMPLETED(over);
    over->transfer->cancel();
    DVHttpTransport::shutDown(1000);
    over->transfer->cancel();
    const OperationPtr next = operation();
    download(next);
    QTRY_COMPLETED(next);
    QCOMPARE(over->calls, 1);
    QVERIFY(!over->error);
}

void tst_Transfer::anObjectThatDiesInFlight_data()
{
    const DVRows<bool> row("cancels");
    row("and cancels, as it should", true);
    row("and only lets go: the request goes on", false);
}

void tst_Transfer::anObjectThatDiesInFlight()
{
    QFETCH(bool, cancels);
    m_device->answer(Answer::of(200, QByteArray(1 << 20, 'b')).delayed(cancels ? generousMs : 50));
    auto object = std::make_unique<int>(0); // what progress touches
    const auto alive = std::make_shared<bool>(true);
    int late = 0;
    auto transfer = std::make_shared<DVTransfer>(
        [raw = object.get(), alive, &late](qint64, qint64) { *alive ? ++*raw : ++late; });
    const OperationPtr down = operation();
    DVNetwork::downloadPath(u"/down"_qs, DVAuthenticationNone, {}, 20, file(u"file"_qs), completion(down),
                            transfer);
    QVERIFY(m_device->server.waitForRequests(1, generousMs));
    if (cancels)
        transfer->cancel();
    *alive = false;
    object.reset();
    transfer.reset();
    QTRY_COMPLETED(down);
    QCOMPARE(down->code(), cancels ? int(QNetworkReply::OperationCanceledError) : 0);
    QCOMPARE(late > 0, !cancels);
    QCOMPARE(QFileInfo::exists(file(u"file"_qs)), !cancels);
}

// Completions, cancels and progress of many requests meet: each completes once.
void tst_Transfer::manyAtOnce()
{
    m_device->server.setHandler([](const Request &request) {
        return Answer::of(200, QByteArray(100000, 'b')).delayed(int(request.target.size() % 5));
    });
    QList<OperationPtr> all;
    for (int i = 0; i < 60; ++i) {
        const OperationPtr each = operation([i](const OperationPtr &self) {
            if (i % 3 == 0)
                self->transfer->cancel();
        });
        DVNetwork::downloadPath(QString(u"/down" + QString(i % 7, u'x')), DVAuthenticationNone, {}, 20,
                                file(QString(u"file" + QString::number(i))), completion(each),
                                each->transfer);
        if (i % 4 == 0)
            each->transfer->cancel();
        all.append(each);
        QCoreApplication::processEvents();
    }
    for (const OperationPtr &each : std::as_const(all)) {
        QTRY_COMPLETED(each);
        if (each->error)
            QCOMPARE(each->code(), int(QNetworkReply::OperationCanceledError));
        else
            QVERIFY(!each->steps.isEmpty());
    }
}

QTEST_GUILESS_MAIN(tst_Transfer)
#include "tst_transfer.moc"
