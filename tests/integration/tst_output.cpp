// Where the tool's results go: pipes that stay pipes, and a standard output that takes nothing.
#include "TestProject.h"
#include "ToolProcess.h"
#include <DVRows.h>

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

class tst_Output : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_qs)); }

    void writesIntoAPipe_data();
    void writesIntoAPipe();
    void tellsAPipeThatBroke();
    void failsWithoutStandardOutput_data();
    void failsWithoutStandardOutput();

private:
    // "$TOOL" is the tool, "$P" a project folder, and the working folder an empty one.
    static ToolRun shell(const QString &commands, const QTemporaryDir &folder, const TestProject &project)
    {
        return ToolRun::program(u"env"_qs, {u"-C"_qs, folder.path(), QStringLiteral("TOOL=" DORVANE_TOOL),
                                            u"P="_qs + project.path(), u"timeout"_qs, u"30"_qs, u"sh"_qs,
                                            u"-c"_qs, commands});
    }
    static QByteArray content(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
};

void tst_Output::writesIntoAPipe_data()
{
    const DVRows<QString> row("target");
    row("its own name", u"pipe"_qs);
    row("a symbolic link to it", u"link"_qs);
}

void tst_Output::writesIntoAPipe()
{
    QFETCH(QString, target);
    const TestProject project;
    const QTemporaryDir folder;
    const ToolRun run =
        shell(u"mkfifo pipe; ln -s pipe link; timeout 20 cat pipe > copy & "
              "\"$TOOL\" export \"$P\" --locale fr-CA --format xliff --to "_qs +
                  target + u"; status=$?; wait; test -p pipe && test -L link && exit $status; exit 9"_qs,
              folder, project);
    QVERIFY2(run.status == 0, run.errors.constData());
    QCOMPARE(content(folder.filePath(u"copy"_qs)), TestProject::document("Bonjour"));
}

void tst_Output::tellsAPipeThatBroke()
{
    const TestProject project;
    project.publish(QByteArray(1 << 20, 'x')); // more than a pipe holds
    const QTemporaryDir folder;
    const ToolRun run = shell(u"trap '' PIPE; mkfifo pipe; head -c 1 pipe > first & "
                              "\"$TOOL\" export \"$P\" --locale fr-CA --format xliff --to pipe"_qs,
                              folder, project);
    QCOMPARE(run.status, 1);
    QVERIFY2(run.errors.contains("cannot write pipe"), run.errors.constData());
    QVERIFY2(!run.output.contains("->"), run.output.constData());
}

void tst_Output::failsWithoutStandardOutput_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("output");
    const QList<QPair<const char *, QString>> commands{
        {"the version", u"--version"_qs},
        {"the overview", u"--help"_qs},
        {"help of a command", u"check --help"_qs},
        {"a key", u"keygen"_qs},
        {"a report for people", u"check \"$P\""_qs},
        {"a report for programs", u"check \"$P\" --format json"_qs},
        {"an export", u"export \"$P\" --locale fr-CA --to fr.ts"_qs},
    };
    for (const auto &[name, command] : commands) {
        QTest::addRow("%s, closed", name) << command << u">&-"_qs;
        QTest::addRow("%s, full", name) << command << u"> /dev/full"_qs;
    }
}

void tst_Output::failsWithoutStandardOutput()
{
    QFETCH(QString, command);
    QFETCH(QString, output);
    const TestProject project;
    const QTemporaryDir folder;
    const ToolRun heard = shell(u"\"$TOOL\" "_qs + command, folder, project);
    QVERIFY2(heard.status == 0, heard.errors.constData());
    const ToolRun run = shell(u"\"$TOOL\" "_qs + command + u' ' + output, folder, project);
    QCOMPARE(run.status, 1);
    QVERIFY2(run.errors.contains("standard output"), run.errors.constData());
}

QTEST_GUILESS_MAIN(tst_Output)
#include "tst_output.moc"
