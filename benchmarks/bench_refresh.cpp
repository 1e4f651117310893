// How long a background refresh holds the main thread at a time: the longest turn of its event loop
// from the moment when the application comes back to the foreground until the new text is served.
#include "DVFaultServer.h"
#include "Measure.h"
#include "OnDeviceStrings.h"
#include "QtPeer.h"
#include "SampleStrings.h"

#include "DVData.h"
#include "DVDevice.h"
#include "DVHttpDate.h"

#include <Dorvane/DVNotificationCenter.h>

#include <QAbstractEventDispatcher>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QThread>
#include <QTimer>

#include <ctime>

namespace {

constexpr const char *context = "MainWindow";

struct Hold
{
    double nanoseconds = 0;
    double onProcessor = 0; // what other programs cannot make longer
};

double now(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return double(time.tv_sec) * 1e9 + double(time.tv_nsec);
}

// The longest turn of the event loop until `isDone`, and of the one after, which announces the change.
template<typename IsDone> Hold longestTurn(const IsDone &isDone)
{
    Hold longest;
    int turnsToGo = 2;
    while (turnsToGo > 0) {
        const double begin = now(CLOCK_MONOTONIC);
        const double beginOnProcessor = now(CLOCK_THREAD_CPUTIME_ID);
        const bool busy = QThread::currentThread()->eventDispatcher()->processEvents(QEventLoop::AllEvents);
        longest.nanoseconds = std::max(longest.nanoseconds, now(CLOCK_MONOTONIC) - begin);
        longest.onProcessor = std::max(longest.onProcessor, now(CLOCK_THREAD_CPUTIME_ID) - beginOnProcessor);
        if (isDone())
            --turnsToGo;
        else if (!busy)
            std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return longest;
}

// Two publications that differ in one string, served in turn to one client.
class Publications
{
public:
    explicit Publications(std::vector<SampleString> strings)
        : m_documents{SampleStrings::xliff(strings), {}}
    {
        changed = strings[strings.size() / 2].key;
        m_texts[0] = QString::fromStdString(strings[strings.size() / 2].target);
        strings[strings.size() / 2].target = "une autre publication";
        m_texts[1] = QStringLiteral("une autre publication");
        m_documents[1] = SampleStrings::xliff(strings);
        for (int i : {0, 1})
            m_delivered[i] =
                dv_encryptAESWithKey(dv_gzippedData(m_documents[i]), QString(OnDeviceStrings::key));
        m_server.setHandler([this](const DVFaultServer::Request &) {
            const QDateTime now = QDateTime::currentDateTimeUtc();
            const QByteArray date = dv_httpHeaderString(now).toLatin1();
            return DVFaultServer::Answer::of(200, m_delivered[m_current],
                                             {{"Date", date},
                                              {"Last-Modified", date},
                                              {"Expires", dv_httpHeaderString(now.addYears(1)).toLatin1()}});
        });
    }

    const QByteArray &first() const { return m_documents[0]; }
    QString url() const { return m_server.url(); }
    // Text of the string that differs, from now on.
    QString publishNext()
    {
        m_current = 1 - m_current;
        return m_texts[m_current];
    }

    std::string changed; // its key

private:
    QByteArray m_documents[2];
    QByteArray m_delivered[2];
    QString m_texts[2];
    std::atomic<int> m_current = 0;
    DVFaultServer m_server;
};

// The application comes back to the foreground with strings that have expired, all of which it has shown.
Hold refreshByLibrary(Publications &publications, const std::vector<SampleString> &strings)
{
    for (const SampleString &string : strings)
        Measure::keep(QCoreApplication::translate(context, string.key.c_str()));
    const QString expected = publications.publishNext();
    DVMainController::sharedInstance().localeStrings()->setExpirationDate(
        QDateTime::currentDateTimeUtc().addDays(-1));
    QTimer::singleShot(0, QCoreApplication::instance(), [] {
        DVNotificationCenter::defaultCenter().postNotification(DVApplicationWillEnterForegroundNotification,
                                                               QCoreApplication::instance());
    });
    return longestTurn(
        [&] { return QCoreApplication::translate(context, publications.changed.c_str()) == expected; });
}

// The same on the main thread, as it is written first.
Hold refreshOnMainThread(Publications &publications, QNetworkAccessManager &network,
                         QHash<QString, QString> &strings)
{
    const QString expected = publications.publishNext();
    QTimer::singleShot(0, &network, [&] {
        QNetworkReply *reply = network.get(QNetworkRequest(QUrl(publications.url())));
        QObject::connect(reply, &QNetworkReply::finished, reply, [reply, &strings] {
            const QByteArray body = dv_decryptAESWithKey(reply->readAll(), QString(OnDeviceStrings::key));
            strings = readXliffWithQt(dv_gunzippedData(body));
            reply->deleteLater();
        });
    });
    return longestTurn(
        [&] { return strings.value(QString::fromStdString(publications.changed)) == expected; });
}

void measure(Measure::Report &report, int size)
{
    const std::vector<SampleString> strings = SampleStrings::make(size);
    Publications publications(strings);
    Publications peersPublications(strings);
    const OnDeviceStrings device(publications.first());
    OnDeviceStrings::start(false, publications.url());
    QNetworkAccessManager network;
    QHash<QString, QString> hash;
    std::vector<double> onProcessor;
    report.section("longest turn of the main thread during a refresh, " + std::to_string(size) + " strings",
                   Measure::Milliseconds);
    const auto results =
        report.run({{"the library, every string shown before",
                     {},
                     1,
                     {},
                     {},
                     [&] {
                         const Hold hold = refreshByLibrary(publications, strings);
                         onProcessor.push_back(hold.onProcessor);
                         return hold.nanoseconds;
                     }},
                    {"zlib, QXmlStreamReader, QHash on the main thread", {}, 1, {}, {}, [&] {
                         return refreshOnMainThread(peersPublications, network, hash).nanoseconds;
                     }}});
    report.row("the library, time on the processor, median", Measure::median(onProcessor) / 1e6, "ms");
    report.check(hash.size() == size, "the peer reads every string");
    report.goalAtMost("at most 8 ms", results[0].median, 8);
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    Measure::Report report("the main thread during a refresh", argc, argv);
    for (const int size : report.sizes())
        measure(report, size);
    return report.finish();
}
