// What tr() costs while the library serves, beside a .qm file and gettext.
#include "Measure.h"
#include "OnDeviceStrings.h"
#include "PeerFiles.h"

#include <QHash>
#include <QTranslator>

#include <clocale>
#include <random>

namespace {

using PeerFiles::context;
using PeerFiles::domain;
constexpr size_t hotKeys = 200;
constexpr int lookupsInARound = 200'000;

// The same strings where each peer wants them. Whoever answers tr() is alone in the application.
class Peers
{
public:
    explicit Peers(const std::vector<SampleString> &strings)
        : m_device(SampleStrings::xliff(strings))
    {
        if (!m_qm.load(PeerFiles::qm(strings, m_folder.path())))
            qFatal("the .qm file does not load");
        PeerFiles::useMo(strings, m_folder.path());
        for (const SampleString &string : strings)
            m_hash.insert(QString::fromStdString(string.key), QString::fromStdString(string.target));
        nobodyAnswers();
    }

    void nobodyAnswers()
    {
        QCoreApplication::removeTranslator(&m_qm);
        OnDeviceStrings::takeOut();
    }
    void qmAnswers()
    {
        nobodyAnswers();
        QCoreApplication::installTranslator(&m_qm);
    }
    void libraryAnswers()
    {
        nobodyAnswers();
        OnDeviceStrings::putIn();
        OnDeviceStrings::start();
        m_strings =
            DVMainController::sharedInstance().localeStrings(); // so that the next start need not read them
        QCoreApplication::processEvents();
    }
    const QHash<QString, QString> &hash() const { return m_hash; }

private:
    QTemporaryDir m_folder;
    OnDeviceStrings m_device;
    QTranslator m_qm;
    QHash<QString, QString> m_hash;
    std::shared_ptr<DVLocaleStrings> m_strings;
};

using Keys = std::vector<const char *>;

void translateAll(const Keys &keys, int repeats)
{
    for (int i = 0; i < repeats; ++i) {
        for (const char *key : keys)
            Measure::keep(QCoreApplication::translate(context, key));
    }
}

void gettextAll(const Keys &keys, int repeats)
{
    for (int i = 0; i < repeats; ++i) {
        for (const char *key : keys)
            Measure::keep(dgettext(domain, key));
    }
}

void hashAll(const QHash<QString, QString> &hash, const Keys &keys, int repeats)
{
    for (int i = 0; i < repeats; ++i) {
        for (const char *key : keys)
            Measure::keep(hash.value(QString::fromUtf8(key)));
    }
}

enum Row { Ours, Qm, Gettext, Hash, Nobody };

std::vector<Measure::Result> contest(Measure::Report &report, Peers &peers, const Keys &keys)
{
    const int repeats = std::max(1, lookupsInARound / int(keys.size()));
    const double lookups = double(keys.size()) * repeats;
    const auto translate = [&] { translateAll(keys, repeats); };
    return report.run({
        {"tr(), the library serves", translate, lookups, [&] { peers.libraryAnswers(); }},
        {"tr(), a .qm file", translate, lookups, [&] { peers.qmAnswers(); }},
        {"gettext, char * not QString", [&] { gettextAll(keys, repeats); }, lookups},
        {"QHash, with the key's conversion", [&] { hashAll(peers.hash(), keys, repeats); }, lookups},
        {"tr(), nobody to ask", translate, lookups, [&] { peers.nobodyAnswers(); }},
    });
}

bool allAgree(Peers &peers, const std::vector<SampleString> &strings)
{
    const auto answers = [&] {
        for (const SampleString &string : strings) {
            if (QCoreApplication::translate(context, string.key.c_str()) !=
                QString::fromStdString(string.target))
                return false;
        }
        return true;
    };
    peers.libraryAnswers();
    const bool ours = answers();
    peers.qmAnswers();
    const bool theirs = answers();
    return ours && theirs && std::all_of(strings.begin(), strings.end(), [](const SampleString &string) {
               return string.target == dgettext(domain, string.key.c_str());
           });
}

Keys shuffledKeys(const std::vector<SampleString> &strings)
{
    Keys keys;
    for (const SampleString &string : strings)
        keys.push_back(string.key.c_str());
    std::shuffle(keys.begin(), keys.end(), std::mt19937(1));
    return keys;
}

void measure(Measure::Report &report, int size)
{
    const std::vector<SampleString> strings = SampleStrings::make(size);
    const std::string title = std::to_string(size) + " strings, ";
    Peers peers(strings);
    report.check(allAgree(peers, strings), "the library, the .qm file and gettext give the same texts");

    const Keys keys = shuffledKeys(strings);
    const Keys hot(keys.begin(), keys.begin() + hotKeys);
    report.section(title + "hit, hot: 200 keys again and again", Measure::NanosecondsEach);
    auto results = contest(report, peers, hot);
    report.goalRatio("at most 0.4 of the .qm file", results[Ours], results[Qm], 0.4);

    report.section(title + "hit, random: every key once", Measure::NanosecondsEach);
    results = contest(report, peers, keys);
    report.goalRatio("at most 0.3 of the .qm file", results[Ours], results[Qm], 0.3);
    report.goalRatio("not behind QHash", results[Ours], results[Hash], 1);

    std::vector<std::string> absent;
    for (const char *key : hot)
        absent.push_back(std::string("absent.") + key);
    Keys missing;
    for (const std::string &key : absent)
        missing.push_back(key.c_str());
    report.section(title + "miss", Measure::NanosecondsEach);
    results = contest(report, peers, missing);
    report.goalAtMost("at most 15 ns on top of nobody to ask", results[Ours].median - results[Nobody].median,
                      15);
}

} // namespace

int main(int argc, char **argv)
{
    // glibc's gettext looks at LANGUAGE in every locale but "C".
    qputenv("LC_ALL", "C.UTF-8");
    qputenv("LANGUAGE", "fr");
    const QCoreApplication application(argc, argv);
    Measure::Report report("looking a string up", argc, argv);
    for (const int size : report.sizes())
        measure(report, size);
    return report.finish();
}
