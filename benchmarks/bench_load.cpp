// What a delivered file costs until its strings can be looked up, and what a launch costs when they
// are on the device already.
#include "Measure.h"
#include "OnDeviceStrings.h"
#include "PeerFiles.h"
#include "QtPeer.h"

#include "DVData.h"

#include <QFile>
#include <QHash>
#include <QTranslator>

#include <expat.h>
#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <zlib.h>

namespace {

using Hash = QHash<QString, QString>;

struct Delivered
{
    explicit Delivered(const std::vector<SampleString> &strings)
        : document(SampleStrings::xliff(strings))
        , gzip(dv_gzippedData(document))
        , file(dv_encryptAESWithKey(gzip, key))
    {}

    const QString key = QStringLiteral("AAECAwQFBgcICQoLDA0ODw==");
    QByteArray document;
    QByteArray gzip;
    QByteArray file; // as the server sends it
};

// Ours, step by step as a download does it.

DVStringTablePtr tableOf(const QByteArray &document)
{
    DVStringTableBuilder strings(false);
    DVStringTableBuilder sources(false, true);
    if (dv_readXliffIntoTables(document, DVStringStatusPublished, strings, &sources, false))
        return nullptr;
    Measure::keep(sources.build());
    return strings.build();
}

DVStringTablePtr load(const Delivered &delivered, const QString &writtenTo)
{
    const QByteArray document = dv_gunzippedData(dv_decryptAESWithKey(delivered.file, delivered.key));
    if (!writtenTo.isEmpty() && DVPrivateFile::write(writtenTo, document))
        return nullptr;
    return tableOf(document);
}

// The peers. They need not decrypt, and know the size in advance.

QByteArray inflated(const QByteArray &gzip, qsizetype size)
{
    QByteArray document(size, Qt::Uninitialized);
    z_stream stream{};
    inflateInit2(&stream, 16 + MAX_WBITS);
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(gzip.constData()));
    stream.avail_in = uInt(gzip.size());
    stream.next_out = reinterpret_cast<Bytef *>(document.data());
    stream.avail_out = uInt(size);
    const bool ended = inflate(&stream, Z_FINISH) == Z_STREAM_END;
    inflateEnd(&stream);
    return ended ? document : QByteArray();
}

bool walkWithLibxml2(const QByteArray &document)
{
    xmlSAXHandler handlers{};
    handlers.initialized = XML_SAX2_MAGIC;
    handlers.startElementNs = [](void *, const xmlChar *, const xmlChar *, const xmlChar *, int,
                                 const xmlChar **, int, int, const xmlChar **) {};
    handlers.endElementNs = [](void *, const xmlChar *, const xmlChar *, const xmlChar *) {};
    handlers.characters = [](void *, const xmlChar *, int) {};
    return xmlSAXUserParseMemory(&handlers, nullptr, document.constData(), int(document.size())) == 0;
}

bool walkWithExpat(const QByteArray &document)
{
    const XML_Parser parser = XML_ParserCreate("UTF-8");
    XML_SetElementHandler(
        parser, [](void *, const char *, const char **) {}, [](void *, const char *) {});
    XML_SetCharacterDataHandler(parser, [](void *, const char *, int) {});
    const bool parsed = XML_Parse(parser, document.constData(), int(document.size()), 1) == XML_STATUS_OK;
    XML_ParserFree(parser);
    return parsed;
}

bool sameStrings(const DVStringTablePtr &table, const Hash &hash)
{
    if (!table || table->size() != hash.size())
        return false;
    for (auto i = hash.cbegin(); i != hash.cend(); ++i) {
        const auto entry = table->find(QStringView(i.key()));
        if (entry == DVStringTable::notFound || table->text(entry) != i.value())
            return false;
    }
    return true;
}

void measureDelivered(Measure::Report &report, const std::string &title, const Delivered &delivered)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("strings.xlf"));
    DVStringTablePtr table;
    Hash hash;
    bool libxml2 = false;
    bool expat = false;
    report.section(title + "from a delivered file of " + std::to_string(delivered.file.size() / 1000) +
                       " kB to strings that can be looked up",
                   Measure::Milliseconds);
    const auto results = report.run({
        {"ours: decrypt, inflate, write, parse, build", [&] { table = load(delivered, path); }},
        {"ours, without writing the file", [&] { table = load(delivered, {}); }},
        {"zlib, QXmlStreamReader, QHash; no decryption",
         [&] { hash = readXliffWithQt(inflated(delivered.gzip, delivered.document.size())); }},
        {"libxml2 SAX2, empty handlers, nothing kept",
         [&] { libxml2 = walkWithLibxml2(delivered.document); }},
        {"expat, empty handlers, nothing kept", [&] { expat = walkWithExpat(delivered.document); }},
    });
    report.check(libxml2 && expat, "every parser reads the document");
    report.check(sameStrings(table, hash), "the table and the hash hold the same strings");
    report.goalRatio("at most 0.2 of zlib, QXmlStreamReader, QHash", results[0], results[2], 0.2);
}

// `lookups` strings of the first screen.
void lookUp(const std::vector<SampleString> &strings, int lookups)
{
    for (int i = 0; i < lookups; ++i)
        Measure::keep(QCoreApplication::translate(PeerFiles::context, strings[size_t(i)].key.c_str()));
}

// The peer: the same strings in a .qm file.
class PackagedQm
{
public:
    explicit PackagedQm(const std::vector<SampleString> &strings)
        : m_path(PeerFiles::qm(strings, m_folder.path()))
    {}
    void load()
    {
        m_translator = std::make_unique<QTranslator>();
        if (!m_translator->load(m_path))
            qFatal("the .qm file does not load");
        QCoreApplication::installTranslator(m_translator.get());
    }
    void takeOut() { m_translator.reset(); }

private:
    QTemporaryDir m_folder;
    QString m_path;
    std::unique_ptr<QTranslator> m_translator;
};

void measureLaunch(Measure::Report &report, const std::string &title,
                   const std::vector<SampleString> &strings, const Delivered &delivered)
{
    const OnDeviceStrings device(delivered.document);
    const auto prepare = [] {
        OnDeviceStrings::takeOut();
        OnDeviceStrings::putIn();
    };
    const auto launch = [&](int lookups) {
        return [&strings, lookups] {
            OnDeviceStrings::start();
            lookUp(strings, lookups);
        };
    };
    PackagedQm packaged(strings);
    const auto loadQm = [&](int lookups) {
        return [&, lookups] {
            packaged.load();
            lookUp(strings, lookups);
        };
    };
    const auto takeOut = [&] {
        OnDeviceStrings::takeOut();
        packaged.takeOut();
    };
    // The table of a file is not kept on the device yet.
    report.section(title + "launch with current strings on the device, which it parses",
                   Measure::Milliseconds);
    const auto results =
        report.run({{"the start call", launch(0), 1, prepare},
                    {"the start call and the first string", launch(1), 1, prepare},
                    {"the start call and 200 strings", launch(200), 1, prepare, takeOut},
                    {"QTranslator::load and the first string", loadQm(1), 1, takeOut},
                    {"QTranslator::load and 200 strings", loadQm(200), 1, takeOut, takeOut}});
    prepare();
    OnDeviceStrings::start();
    report.check(QCoreApplication::translate(PeerFiles::context, strings[0].key.c_str()) ==
                     QString::fromStdString(strings[0].target),
                 "the library serves");
    report.goalAtMost("the first string at most 0.05 ms", results[1].median, 0.05);
    report.goalAtMost("200 strings at most 1.5 ms", results[2].median, 1.5);
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    Measure::Report report("loading strings", argc, argv);
    for (const int size : report.sizes()) {
        const std::vector<SampleString> strings = SampleStrings::make(size);
        const Delivered delivered(strings);
        const std::string title = std::to_string(size) + " strings: ";
        measureDelivered(report, title, delivered);
        measureLaunch(report, title, strings, delivered);
    }
    return report.finish();
}
