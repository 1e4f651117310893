// Replays what is kept of fuzzing: tests/fuzz/corpus and tests/fuzz/regressions, a folder for each
// target, through the targets' own functions. A check that does not hold aborts.
#include "FuzzTarget.h"

#include <QDir>
#include <QMap>
#include <QTest>

// DORVANE_FUZZ_TARGETS is X(first) X(second) and so on.
#define X(name) void fuzz_##name(QByteArrayView input);
DORVANE_FUZZ_TARGETS
#undef X

namespace {

const QMap<QString, FuzzFunction> &targets()
{
#define X(name) {QStringLiteral(#name), &fuzz_##name},
    static const QMap<QString, FuzzFunction> all{DORVANE_FUZZ_TARGETS};
#undef X
    return all;
}

QString folder(const QString &kind)
{
    return QString(QStringLiteral(DORVANE_SOURCE_DIR "/tests/fuzz/") + kind);
}

QStringList inputsIn(const QString &path)
{
    return QDir(path).entryList(QDir::Files | QDir::Hidden, QDir::Name);
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", qPrintable(path));
    return file.readAll();
}

} // namespace

class tst_corpora : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { fuzzPrepareProcess(); }

    void everyTargetHasACorpus()
    {
        for (auto it = targets().begin(); it != targets().end(); ++it)
            QVERIFY2(!inputsIn(folder(u"corpus/" + it.key())).isEmpty(), qPrintable(it.key()));
    }

    // Inputs in a folder that no target has would never be replayed.
    void everyFolderHasATarget()
    {
        for (const QString &kind : {QStringLiteral("corpus"), QStringLiteral("regressions")}) {
            for (const QString &name : QDir(folder(kind)).entryList(QDir::Dirs | QDir::NoDotAndDotDot))
                QVERIFY2(targets().contains(name), qPrintable(QString(kind + u'/' + name)));
        }
    }

    void replay_data()
    {
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("path");
        for (const QString &kind : {QStringLiteral("corpus"), QStringLiteral("regressions")}) {
            for (const QString &target : targets().keys()) {
                const QString path = folder(kind + u'/' + target);
                for (const QString &name : inputsIn(path)) {
                    QTest::addRow("%s: %s/%s", qPrintable(target), qPrintable(kind), qPrintable(name))
                        << target << QString(path + u'/' + name);
                }
            }
        }
    }
    void replay()
    {
        QFETCH(QString, target);
        QFETCH(QString, path);
        fuzzSetInputName(path.toUtf8());
        targets().value(target)(contentOf(path));
    }
};

QTEST_GUILESS_MAIN(tst_corpora)
#include "tst_corpora.moc"
