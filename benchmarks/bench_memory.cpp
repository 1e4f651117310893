// How much memory an update takes at its peak, beside lconvert on the same document and Qt's own reader.
// Each measurement is a process of its own; this one stays small, because a child's peak includes it.
#include "Child.h"
#include "Measure.h"
#include "PeerFiles.h"
#include "QtPeer.h"

#include "DVData.h"
#include "DVPrivateFile.h"
#include "DVStringTable.h"

#include <QCoreApplication>
#include <QHash>
#include <QTemporaryDir>

#include <malloc.h>

namespace {

const QString aesKey = QStringLiteral("AAECAwQFBgcICQoLDA0ODw==");

QString delivered(const QString &folder)
{
    return folder + QStringLiteral("/delivered");
}
QString document(const QString &folder)
{
    return folder + QStringLiteral("/strings.xlf");
}

QByteArray read(const QString &path)
{
    QByteArray content;
    if (DVPrivateFile::read(path, &content))
        qFatal("cannot read %s", qPrintable(path));
    return content;
}

// Child processes

void make(const QString &folder, int size)
{
    const QByteArray xliff = SampleStrings::xliff(SampleStrings::make(size));
    PeerFiles::write(document(folder), xliff);
    PeerFiles::write(delivered(folder), dv_encryptAESWithKey(dv_gzippedData(xliff), aesKey));
}

DVStringTablePtr update(const QString &folder)
{
    DVStringTableBuilder strings(false);
    DVStringTableBuilder sources(false, true);
    const QByteArray xliff = dv_gunzippedData(dv_decryptAESWithKey(read(delivered(folder)), aesKey));
    if (DVPrivateFile::write(folder + QStringLiteral("/written.xlf"), xliff) ||
        dv_readXliffIntoTables(xliff, DVStringStatusPublished, strings, &sources, false))
        qFatal("the update fails");
    Measure::keep(sources.build());
    return strings.build();
}

QHash<QString, QString> updateWithQt(const QString &folder)
{
    return readXliffWithQt(dv_gunzippedData(dv_decryptAESWithKey(read(delivered(folder)), aesKey)));
}

template<typename Update> void measureGrowth(const Update &update)
{
    malloc_trim(0);
    Measure::resetPeakMemory();
    const double before = Measure::residentMemoryMegabytes();
    update();
    std::printf("growth %.0f\n", (Measure::peakMemoryMegabytes() - before) * 1048576);
}

int runChild(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QByteArray kind(argv[2]);
    const QString folder = QString::fromLocal8Bit(argv[3]);
    if (kind == "make") {
        make(folder, std::atoi(argv[4]));
    } else if (kind == "ours") {
        DVStringTablePtr table;
        measureGrowth([&] { table = update(folder); });
        std::printf("strings %lld\nheld %lld\n", static_cast<long long>(table->size()),
                    static_cast<long long>(table->memoryUsage()));
    } else {
        QHash<QString, QString> hash;
        measureGrowth([&] { hash = updateWithQt(folder); });
        std::printf("strings %lld\n", static_cast<long long>(hash.size()));
    }
    std::fflush(stdout);
    return 0;
}

// The measuring process

// The children that measure, and what the last of each kind said.
struct Children
{
    std::string self = QCoreApplication::applicationFilePath().toStdString();
    QTemporaryDir folder;
    Child ours;
    Child qt;

    double growthOfOurs()
    {
        ours = Child::run({self, "--child", "ours", folder.path().toStdString()});
        return ours.figure("growth");
    }
    double growthOfQt()
    {
        qt = Child::run({self, "--child", "qt", folder.path().toStdString()});
        return qt.figure("growth");
    }
    double peakOfLconvert() const
    {
        return Child::run({PeerFiles::qtTool(QStringLiteral("lconvert")).toStdString(), "-i",
                           document(folder.path()).toStdString(), "-o",
                           folder.filePath(QStringLiteral("strings.qm")).toStdString()})
            .peakBytes;
    }
};

void measure(Measure::Report &report, int size)
{
    Children children;
    Child::run(
        {children.self, "--child", "make", children.folder.path().toStdString(), std::to_string(size)});
    report.section("peak memory of an update, " + std::to_string(size) + " strings", Measure::Mebibytes);
    const auto results = report.run({
        {"ours: what decrypt, inflate, write, parse, build add",
         {},
         1,
         {},
         {},
         [&] { return children.growthOfOurs(); }},
        {"ours, the whole process", {}, 1, {}, {}, [&] { return children.ours.peakBytes; }},
        {"lconvert to a .qm file, the whole process",
         {},
         1,
         {},
         {},
         [&] { return children.peakOfLconvert(); }},
        {"what zlib, QXmlStreamReader, QHash add", {}, 1, {}, {}, [&] { return children.growthOfQt(); }},
    });
    const double held = children.ours.figure("held") / 1048576;
    report.row("of it the table, which stays", held, "MiB");
    report.check(children.ours.figure("strings") == size && children.qt.figure("strings") == size,
                 "both hold every string");
    if (size >= 100'000) // below it the library's code counts for more than its data
        report.goalAtMost("at most the table and 8 MiB", results[0].median - held, 8);
    report.goalRatio("the whole process not above lconvert", results[1], results[2], 1);
}

} // namespace

int main(int argc, char **argv)
{
    if (argc > 3 && std::strcmp(argv[1], "--child") == 0)
        return runChild(argc, argv);
    Measure::Report report("memory of an update", argc, argv);
    const QCoreApplication application(argc, argv);
    for (const int size : report.sizes())
        measure(report, size);
    return report.finish();
}
