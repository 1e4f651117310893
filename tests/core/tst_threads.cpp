// Lookups from four threads while the main thread changes locales as fast as it can.
#include "DVPublished.h"
#include "DVTestHost.h"

#include <QElapsedTimer>
#include <QThread>

#include <atomic>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int keyCount = 200;

// Every text of a locale names the locale, so that a mixture shows.
QByteArray strings(const QString &locale)
{
    QList<DVTestUnit> units;
    for (int i = 0; i < keyCount; ++i) {
        const QString key = QStringLiteral("key %1").arg(i);
        units.append({QStringLiteral("%1[one]").arg(i), key, key, QString(locale + u" one " + key)});
        units.append({QStringLiteral("%1[other]").arg(i), key, key, QString(locale + u" other " + key)});
    }
    return DVTestHost::xliff(units);
}

struct Reader
{
    std::atomic<bool> stop = false;
    std::atomic<int> wrong = 0;
    std::atomic<qint64> lookups = 0;

    void check(const QString &text, const QString &key, const QString &form)
    {
        ++lookups;
        const bool known = text == QString(u"fr" + form + key) || text == QString(u"de" + form + key);
        if (!known && ++wrong == 1)
            qWarning("%s instead of %s%s", qPrintable(text), qPrintable(form), qPrintable(key));
    }
    void run()
    {
        QList<QString> kept; // texts outlive the tables that they came from
        for (int i = 0; !stop; ++i) {
            const QString key = QStringLiteral("key %1").arg(i % keyCount);
            const QByteArray source = key.toUtf8();
            const QString text = QCoreApplication::translate("c", source.constData());
            check(text, key, u" other "_qs);
            check(QCoreApplication::translate("c", source.constData(), nullptr, 1), key, u" one "_qs);
            check(DVBundle::mainBundle().localizedStringForKey(key), key, u" other "_qs);
            check(Dorvane::pluralizedStringWithKey(key, 1), key, u" one "_qs);
            kept.append(text);
            if (kept.size() > 1000) {
                check(kept.first(), QString(u"key " + kept.first().section(u' ', 3)), u" other "_qs);
                kept.clear();
            }
        }
    }
};

} // namespace

class tst_Threads : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lookupsWhileLocalesChange();
};

void tst_Threads::lookupsWhileLocalesChange()
{
    DVTestHost host;
    DVFaultServer server;
    server.setHandler([](const DVFaultServer::Request &request) {
        return DVTestHost::publication(strings(request.target.contains("/de/") ? u"de"_qs : u"fr"_qs));
    });
    // Both locales on the device, so that a change is served at once.
    for (const auto &locale : {u"de"_qs, u"fr"_qs}) {
        QVariantMap options = host.servingOptions(server);
        options.insert(u"forceLocale"_qs, locale);
        Dorvane::startWithProjectId(u"p"_qs, options);
        host.restart();
    }
    QVariantMap options = host.servingOptions(server);
    options.insert({{u"forceLocale"_qs, u"fr"_qs}, {u"logging"_qs, u"DVLoggingInfo"_qs}});
    Dorvane::startWithProjectId(u"p"_qs, options);

    Reader readers[4];
    std::vector<std::unique_ptr<QThread>> threads;
    for (auto &reader : readers) {
        threads.emplace_back(QThread::create([&reader] { reader.run(); }));
        threads.back()->start();
    }
    QElapsedTimer timer;
    timer.start();
    int changes = 0;
    while (timer.elapsed() < 2000) {
        DVMainController::sharedInstance().forceOTALocale(++changes % 2 ? u"de"_qs : u"fr"_qs, false, {});
        QCoreApplication::processEvents();
    }
    for (auto &reader : readers)
        reader.stop = true;
    for (const auto &thread : threads)
        QVERIFY(thread->wait(5000));
    for (const auto &reader : readers) {
        QCOMPARE(reader.wrong.load(), 0);
        QVERIFY(reader.lookups.load() > 0);
    }
    QVERIFY(changes > 10);
    QCOMPARE(dv_reclaimRetired(), 0); // nobody reads any more: every old table has gone
}

QTEST_GUILESS_MAIN(tst_Threads)
#include "tst_threads.moc"
