// Written XLIFF files: what readers that are not ours find in them, and what a kill or an error leaves.
#include "DVStrace.h"
#include "DVTestFiles.h"
#include "WrittenStrings.h"
#include "WrittenXliff.h"

#include <DVCueMarkers.h>
#include <DVXliffParser.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

namespace {

struct Run
{
    int status = -1; // -1: it did not start, was killed or did not end in time
    QByteArray output;
    QByteArray errors;
};

Run run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    const bool ended = process.waitForFinished(60'000) && process.exitStatus() == QProcess::NormalExit;
    return {ended ? process.exitCode() : -1, process.readAllStandardOutput(), process.readAllStandardError()};
}

// Debian's packages are seen by Debian's Python; another may come first in the path.
QString python()
{
    const QString ofTheSystem = u"/usr/bin/python3"_qs;
    return QFileInfo::exists(ofTheSystem) ? ofTheSystem : u"python3"_qs;
}

DVErrorOr write(const WrittenStrings &strings, const QString &path, DVXliffWriter::Failures *failures)
{
    return DVXliffWriter::writeXliffFromStrings(strings.groups, path, strings.header(), failures);
}

// The same strings in every process.
WrittenStrings edition(const QString &name)
{
    auto strings = WrittenStrings::generated(7, 200);
    strings.add(writtenForm(u"edition"_qs, u"0"_qs, name));
    return strings;
}

QByteArray expectedFile(const QString &name)
{
    DVXliffWriter::Failures failures;
    const auto strings = edition(name);
    return dv_escapedXliff(DVXliffWriter::documentFromStrings(strings.groups, strings.header(), &failures));
}

} // namespace

#define NEEDS_TOOL(isThere, name)                                                                            \
    if (!(isThere)) {                                                                                        \
        QVERIFY2(!qEnvironmentVariableIsSet("CI"), name " is missing; scripts/setup brings it");             \
        QSKIP(name " is not installed; scripts/setup brings it");                                            \
    }

class tst_XliffFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(QStringLiteral("."))); }

    void isWellFormed()
    {
        NEEDS_TOOL(run(u"xmllint"_qs, {u"--version"_qs}).status == 0, "xmllint");
        for (quint32 seed = 100; seed < 110; ++seed) {
            DVXliffWriter::Failures failures;
            QVERIFY(!write(WrittenStrings::generated(seed, 200), path("lint.xlf"), &failures));
            const Run lint = run(u"xmllint"_qs, {u"--noout"_qs, path("lint.xlf")});
            QCOMPARE(lint.errors, QByteArray());
            QCOMPARE(lint.status, 0);
        }
    }

    void readsTheSameElsewhere()
    {
        NEEDS_TOOL(run(python(), {u"-c"_qs, u"import translate.storage.xliff"_qs}).status == 0,
                   "the Translate Toolkit");
        const auto strings = WrittenStrings::generated(200, 300);
        DVXliffWriter::Failures failures;
        QVERIFY(!write(strings, path("toolkit.xlf"), &failures));

        QJsonArray units;
        for (const auto &group : strings.groups) {
            for (const auto &form : group->sortedForms()) {
                if (form->localizedFormat.isNull() || form->uid.isNull())
                    continue;
                const auto text = [](const QString &marked) {
                    QString joined;
                    for (const auto &piece : WrittenXliff::piecesOf(marked))
                        joined += WrittenXliff::representable(piece.text);
                    return joined;
                };
                QJsonArray placeholders;
                for (const auto &piece : WrittenXliff::piecesOf(form->localizedFormat)) {
                    if (piece.isArgument)
                        placeholders.append(QString::number(placeholders.size() + 1));
                }
                const auto base = strings.base.value({form->key, form->pluralForm});
                units.append(QJsonObject{{u"id"_qs, WrittenXliff::representable(form->uid)},
                                         {u"resname"_qs, WrittenXliff::representable(form->key)},
                                         {u"phase"_qs, u"step-7"_qs},
                                         {u"source"_qs, base ? text(base->localizedFormat) : u"(null)"_qs},
                                         {u"target"_qs, text(form->localizedFormat)},
                                         {u"placeholders"_qs, placeholders}});
            }
        }
        const Run toolkit = run(python(), {QStringLiteral(DORVANE_SOURCE_DIR "/tests/model/written_units.py"),
                                           path("toolkit.xlf")});
        QVERIFY2(toolkit.status == 0, toolkit.errors.constData());
        const QJsonObject read = QJsonDocument::fromJson(toolkit.output).object();
        QCOMPARE(read.value(u"languages").toArray(), (QJsonArray{u"en-US"_qs, u"fr-CA"_qs}));
        const QJsonArray readUnits = read.value(u"units").toArray();
        QCOMPARE(readUnits.size(), units.size());
        for (qsizetype i = 0; i < units.size(); ++i)
            QCOMPARE(readUnits.at(i).toObject(), units.at(i).toObject());
    }

    void replacesAFilePrivately()
    {
        const QString file = path("folder/edited.xlf");
        DVXliffWriter::Failures failures;
        QVERIFY(!write(edition(u"old"_qs), file, &failures));
        QCOMPARE(DVTestFiles::read(file), expectedFile(u"old"_qs));
        QVERIFY(QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadOther));
        QVERIFY(!write(edition(u"new"_qs), file, &failures));
        QCOMPARE(DVTestFiles::read(file), expectedFile(u"new"_qs));
        const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
        QCOMPARE(QFile::permissions(file) & others, QFile::Permissions());
        QCOMPARE(QDir(path("folder")).entryList(QDir::Files | QDir::Hidden), QStringList{u"edited.xlf"_qs});
    }

    void anErrorLeavesTheFileAndFailsAll()
    {
        const QString blocked = path("plain/edited.xlf"); // a file stands where its folder should be
        DVTestFiles::write(path("plain"), "kept");
        const auto strings = WrittenStrings::generated(3, 50);
        DVXliffWriter::Failures failures;
        const auto error = write(strings, blocked, &failures);
        QVERIFY(error);
        QCOMPARE(error->domain, u"dorvane.file"_qs);
        QCOMPARE(DVTestFiles::read(path("plain")), "kept");
        QCOMPARE(failures.keys(), strings.groups.keys());
        for (auto it = failures.begin(); it != failures.end(); ++it) // also for those with a form that fails
            QCOMPARE(std::get<DVStringGroupPtr>(*it), strings.groups.value(it.key()));
    }

    // strace kills a writing process at its Nth system call of a kind.
    void killedItIsTheOldFileOrTheNew()
    {
        if (!DVStrace::works())
            QSKIP("strace may not trace here: nothing is killed");
        const QString file = path("killed.xlf");
        const QByteArray oldFile = expectedFile(u"old"_qs);
        const QByteArray newFile = expectedFile(u"new"_qs);
        int kills = 0;
        int keptOld = 0;
        // strace counts each call of a set for itself: what follows another one needs an entry of its own.
        for (const char *calls :
             {"write", "fchmod", "fdatasync", "linkat", "rename,renameat,renameat2", "fsync"}) {
            for (int nth = 1; nth < 100; ++nth) {
                DVXliffWriter::Failures failures;
                QVERIFY(!write(edition(u"old"_qs), file, &failures));
                const QStringList strace = DVStrace::killingAt(QString::fromLatin1(calls), nth);
                const Run writing =
                    run(strace[0], strace.mid(1) + QStringList{QCoreApplication::applicationFilePath(),
                                                               u"--write"_qs, file, u"new"_qs});
                const QByteArray left = DVTestFiles::read(file);
                if (writing.status == 0) {
                    QVERIFY(left == newFile);
                    break;
                }
                QCOMPARE(writing.status, -1); // anything else is no kill
                ++kills;
                keptOld += left == oldFile;
                QVERIFY2(left == oldFile || left == newFile, qPrintable(strace.last()));
            }
        }
        QVERIFY2(keptOld > 3 && kills > keptOld,
                 qPrintable(QStringLiteral("%1 kills, %2 left the old file").arg(kills).arg(keptOld)));
    }

private:
    QString path(const char *name) const { return m_folder.filePath(QString::fromLatin1(name)); }
    QTemporaryDir m_folder;
};

// Run with "--write FILE NAME" it is the process that is killed.
int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.value(1) == u"--write") {
        DVXliffWriter::Failures failures;
        return write(edition(arguments.value(3)), arguments.value(2), &failures) ? 1 : 0;
    }
    tst_XliffFile test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_xlifffile.moc"
