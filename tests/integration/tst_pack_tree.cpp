// `dorvane pack --tree`: what it writes for a static web server, and what it leaves alone.
#include "TestProject.h"
#include <DVRows.h>

#include <DVStrace.h>

#include <QDirIterator>
#include <QLockFile>

#include <csignal>
#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;
using namespace Delivered;

namespace {

class Tree
{
public:
    QString path() const { return m_folder.path() + u"/tree"_qs; }
    QString file(const QString &versionAndLocale) const
    {
        return path() + u"/projects/garden/"_qs + versionAndLocale + u"/strings.gz"_qs;
    }
    QByteArray bytes(const QString &versionAndLocale) const
    {
        return DVTestFiles::read(file(versionAndLocale));
    }
    struct stat status(const QString &versionAndLocale) const
    {
        struct stat status = {};
        stat(qPrintable(file(versionAndLocale)), &status);
        return status;
    }
    void date(const QString &versionAndLocale, const QDateTime &date) const
    {
        QFile file(this->file(versionAndLocale));
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.setFileTime(date, QFileDevice::FileModificationTime));
    }
    // Everything below projects/, sorted.
    QStringList all() const
    {
        QStringList names;
        QDirIterator files(path() + u"/projects"_qs, QDir::Files | QDir::Hidden,
                           QDirIterator::Subdirectories);
        while (files.hasNext())
            names += QDir(path() + u"/projects"_qs).relativeFilePath(files.next());
        names.sort();
        return names;
    }
    ToolRun pack(const TestProject &project, const QStringList &options = {}) const
    {
        return ToolRun::tool(QStringList{u"pack"_qs, u"--tree"_qs, project.path(), path()} + options);
    }

private:
    QTemporaryDir m_folder;
};

} // namespace

class tst_PackTree : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_qs)); }

    void everyVersionHasEveryLocale();
    void unchangedStringsKeepTheirFileAndDate();
    void aPublicationIsDatedLater_data();
    void aPublicationIsDatedLater();
    void anotherCompressionIsNoPublication();
    void aNewVersionLeavesTheOthersAlone();
    void versionsKeepTheirKeys();
    void removesOnlyOnRequest();
    void theServerMayReadIt();
    void aBrokenLocalePublishesNothing();
    void aMistakeIsPublishedOnRequestOnly();
    void refuses_data();
    void refuses();
    void refusesASecondWriter();
    void survivesAKill();
    void configurationsNameThePaths_data();
    void configurationsNameThePaths();
};

void tst_PackTree::everyVersionHasEveryLocale()
{
    const TestProject project;
    const Tree tree;
    project.write(u"en.xlf"_qs, TestProject::document("Hi"));
    project.write(u"de.xlf"_qs, TestProject::document("not of the project"));
    const ToolRun run = tree.pack(project);
    QVERIFY2(run.status == 0, run.errors.constData());
    QCOMPARE(tree.all(), (QStringList{u"garden/1.0/en/strings.gz"_qs, u"garden/1.0/fr-CA/strings.gz"_qs,
                                      u"garden/2 0/en/strings.gz"_qs, u"garden/2 0/fr-CA/strings.gz"_qs}));
    QCOMPARE(opened(tree.bytes(u"1.0/fr-CA"_qs)), TestProject::document("Bonjour"));
    QCOMPARE(opened(tree.bytes(u"2 0/en"_qs)), TestProject::document("Hi"));
    QVERIFY2(tree.status(u"1.0/fr-CA"_qs).st_ino == tree.status(u"2 0/fr-CA"_qs).st_ino,
             "one file on the disk");
    QVERIFY(run.output.isEmpty());
    QVERIFY2(run.errors.contains("pl.xlf: not delivered"), run.errors.constData());
    const QByteArray size = QByteArray::number(tree.bytes(u"1.0/fr-CA"_qs).size());
    QVERIFY2(run.errors.contains(size), "the summary has the sizes");

    // The command line names other versions.
    const TestProject another;
    const Tree its;
    QCOMPARE(its.pack(another, {u"--app-version"_qs, u"3.0"_qs, u"--app-version"_qs, u"3.1"_qs}).status, 0);
    QCOMPARE(its.all(), (QStringList{u"garden/3.0/fr-CA/strings.gz"_qs, u"garden/3.1/fr-CA/strings.gz"_qs}));
    // A project without a list of them has one folder for all.
    const TestProject unversioned({{u"versions"_qs, QJsonValue()}});
    const Tree any;
    QCOMPARE(any.pack(unversioned).status, 0);
    QCOMPARE(any.all(), QStringList(u"garden/any/fr-CA/strings.gz"_qs));
}

void tst_PackTree::unchangedStringsKeepTheirFileAndDate()
{
    const TestProject project;
    const Tree tree;
    project.write(u"pl.xlf"_qs, TestProject::document("Dzie\u0144 dobry"));
    QCOMPARE(tree.pack(project).status, 0);
    tree.date(u"1.0/fr-CA"_qs, TestProject::lastWeek());
    const auto french = tree.status(u"1.0/fr-CA"_qs);
    const auto polish = tree.status(u"1.0/pl"_qs);
    project.publish("Bonjour"); // a new file with the same strings
    project.write(u"pl.xlf"_qs, TestProject::document("Cze\u015b\u0107"));
    const ToolRun run = tree.pack(project);
    QCOMPARE(run.status, 0);
    QCOMPARE(tree.status(u"1.0/fr-CA"_qs).st_ino, french.st_ino);
    QCOMPARE(tree.status(u"1.0/fr-CA"_qs).st_mtime, french.st_mtime);
    QVERIFY(tree.status(u"1.0/pl"_qs).st_ino != polish.st_ino);
    QVERIFY(run.errors.contains("unchanged") && run.errors.contains("changed\n"));
}

void tst_PackTree::aPublicationIsDatedLater_data()
{
    const DVRows<int> row("ageOfTheFirst");
    row("one of last week", 7 * 86400);
    row("one of this second", 0);
    row("one from the future, made while the clock was wrong", -86400);
}

// Devices compare whole seconds.
void tst_PackTree::aPublicationIsDatedLater()
{
    QFETCH(int, ageOfTheFirst);
    const TestProject project;
    const Tree tree;
    QCOMPARE(tree.pack(project).status, 0);
    const QDateTime now = QDateTime::currentDateTimeUtc();
    tree.date(u"1.0/fr-CA"_qs, now.addSecs(-ageOfTheFirst));
    const auto before = tree.status(u"1.0/fr-CA"_qs).st_mtime;
    project.publish("Salut");
    const ToolRun run = tree.pack(project);
    QCOMPARE(run.status, 0);
    const auto after = tree.status(u"1.0/fr-CA"_qs).st_mtime;
    QVERIFY(after > before);
    QCOMPARE(opened(tree.bytes(u"1.0/fr-CA"_qs)), TestProject::document("Salut"));
    const bool inTheFuture = ageOfTheFirst < 0;
    QCOMPARE(after > QDateTime::currentSecsSinceEpoch(), inTheFuture);
    QCOMPARE(run.errors.contains("look at the clock"), inTheFuture);
    QCOMPARE(tree.status(u"2 0/fr-CA"_qs).st_mtime, after);
}

// Another release of a compressor gives other bytes for the same strings.
void tst_PackTree::anotherCompressionIsNoPublication()
{
    const TestProject project;
    const Tree tree;
    QCOMPARE(tree.pack(project, {u"--app-version"_qs, u"1.0"_qs}).status, 0);
    const QByteArray other = encrypted(compressed(TestProject::document("Bonjour"), u"-1"_qs));
    DVTestFiles::write(tree.file(u"1.0/fr-CA"_qs), other);
    QCOMPARE(tree.pack(project, {u"--app-version"_qs, u"1.0"_qs}).status, 0);
    QCOMPARE(tree.bytes(u"1.0/fr-CA"_qs), other);
}

void tst_PackTree::aNewVersionLeavesTheOthersAlone()
{
    const TestProject project;
    const Tree tree;
    QCOMPARE(tree.pack(project, {u"--app-version"_qs, u"1.0"_qs}).status, 0);
    tree.date(u"1.0/fr-CA"_qs, TestProject::lastWeek());
    const auto before = tree.status(u"1.0/fr-CA"_qs);
    const ToolRun run = tree.pack(project, {u"--app-version"_qs, u"1.0"_qs, u"--app-version"_qs, u"1.1"_qs});
    QVERIFY2(run.errors.contains("new in 1 of 2 versions"), run.errors.constData());
    QCOMPARE(tree.status(u"1.0/fr-CA"_qs).st_mtime, before.st_mtime);
    QCOMPARE(tree.bytes(u"1.1/fr-CA"_qs), tree.bytes(u"1.0/fr-CA"_qs));
}

// A new key comes with a new version of the application; the old ones go on with theirs.
void tst_PackTree::versionsKeepTheirKeys()
{
    const TestProject old;
    const TestProject fresh;
    const Tree tree;
    const QByteArray key = "another key,16 b";
    old.setProject({{u"versions"_qs, QJsonArray{u"1.0"_qs, u"1.1"_qs}}});
    fresh.setProject({{u"versions"_qs, QJsonArray{u"2.0"_qs}}, {u"deliveryKey"_qs, base64(key)}});
    QCOMPARE(tree.pack(old).status, 0);
    const ToolRun run = tree.pack(fresh);
    QVERIFY2(run.errors.contains("left as it is: version 1.0"), run.errors.constData());
    old.publish("Salut");
    QCOMPARE(tree.pack(old, {u"--remove"_qs}).status, 0);
    QCOMPARE(opened(tree.bytes(u"1.1/fr-CA"_qs)), TestProject::document("Salut"));
    QCOMPARE(opened(tree.bytes(u"2.0/fr-CA"_qs), key), TestProject::document("Bonjour"));
}

void tst_PackTree::removesOnlyOnRequest()
{
    const TestProject project;
    const Tree tree;
    project.write(u"pl.xlf"_qs, TestProject::document("Cze\u015b\u0107"));
    QCOMPARE(tree.pack(project, {u"--app-version"_qs, u"0.9"_qs}).status, 0);
    QCOMPARE(tree.pack(project).status, 0);
    QVERIFY(QFile::remove(project.path() + u"/pl.xlf"_qs));
    QFile mine(QFileInfo(tree.file(u"1.0/pl"_qs)).path() + u"/notes"_qs);
    QVERIFY(mine.open(QIODevice::WriteOnly));

    const ToolRun kept = tree.pack(project);
    QCOMPARE(kept.status, 0);
    QVERIFY2(kept.errors.contains("still delivered, not in the project: 1.0/pl"), kept.errors.constData());
    QVERIFY(QFile::exists(tree.file(u"1.0/pl"_qs)));

    QCOMPARE(tree.pack(project, {u"--remove"_qs}).status, 0);
    QCOMPARE(tree.all(), (QStringList{u"garden/0.9/fr-CA/strings.gz"_qs, u"garden/0.9/pl/strings.gz"_qs,
                                      u"garden/1.0/fr-CA/strings.gz"_qs, u"garden/1.0/pl/notes"_qs,
                                      u"garden/2 0/fr-CA/strings.gz"_qs}));
    QVERIFY(!QFile::exists(QFileInfo(tree.file(u"2 0/pl"_qs)).path()));
}

// It is another user than the publisher.
void tst_PackTree::theServerMayReadIt()
{
    const TestProject project;
    const Tree tree;
    const ToolRun run =
        ToolRun::program(u"sh"_qs, {u"-c"_qs, u"umask 077; exec \"$0\" pack --tree \"$1\" \"$2\""_qs,
                                    QStringLiteral(DORVANE_TOOL), project.path(), tree.path()});
    QVERIFY2(run.status == 0, run.errors.constData());
    QCOMPARE(int(tree.status(u"1.0/fr-CA"_qs).st_mode & 0777u), 0644);
    for (const char *folder : {"", "/projects", "/projects/garden", "/projects/garden/1.0/fr-CA"}) {
        struct stat status = {};
        QCOMPARE(stat(qPrintable(tree.path() + QLatin1StringView(folder)), &status), 0);
        QCOMPARE(int(status.st_mode & 0777u), 0755);
    }
    // And a publication over it.
    project.publish("Salut");
    QCOMPARE(tree.pack(project).status, 0);
    QCOMPARE(int(tree.status(u"2 0/fr-CA"_qs).st_mode & 0777u), 0644);
}

void tst_PackTree::aBrokenLocalePublishesNothing()
{
    const TestProject project;
    const Tree tree;
    QCOMPARE(tree.pack(project).status, 0);
    const QByteArray before = tree.bytes(u"1.0/fr-CA"_qs);
    project.publish("Salut");
    project.write(u"pl.xlf"_qs, "<xliff version=\"1.2\"><file>");
    const ToolRun run = tree.pack(project);
    QCOMPARE(run.status, 1);
    QVERIFY2(run.errors.contains("pl.xlf cannot be published") && run.errors.contains("nothing was written"),
             run.errors.constData());
    QCOMPARE(tree.bytes(u"1.0/fr-CA"_qs), before);
}

void tst_PackTree::aMistakeIsPublishedOnRequestOnly()
{
    const TestProject project;
    const Tree tree;
    project.write(u"pl.xlf"_qs, "<xliff version=\"1.2\"><file><body><trans-unit id=\"1\" resname=\"k\">"
                                "<source>Water %1</source><target>Podlej</target>"
                                "</trans-unit></body></file></xliff>");
    const ToolRun refused = tree.pack(project);
    QCOMPARE(refused.status, 1);
    QVERIFY2(refused.errors.contains("pl.xlf:1:") && refused.errors.contains("--no-check"),
             refused.errors.constData());
    QCOMPARE(tree.all(), QStringList());
    QCOMPARE(tree.pack(project, {u"--no-check"_qs}).status, 0);
    QVERIFY(QFile::exists(tree.file(u"1.0/pl"_qs)));
}

void tst_PackTree::refuses_data()
{
    QTest::addColumn<QJsonObject>("project");
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("complaint");
    const auto project = [](const char *name, const QString &member, const QJsonValue &value,
                            const char *complaint) {
        QTest::newRow(name) << QJsonObject{{member, value}} << QStringList() << 1 << QByteArray(complaint);
    };
    const auto options = [](const char *name, const QStringList &list, int status, const char *complaint) {
        QTest::newRow(name) << QJsonObject() << list << status << QByteArray(complaint);
    };
    const char *noFolder = "cannot name a folder";
    project("a project that leads out of the tree", u"projectId"_qs, u"../../etc"_qs, noFolder);
    project("a project that is the folder above", u"projectId"_qs, u".."_qs, noFolder);
    project("a version with a slash", u"versions"_qs, QJsonArray{u"1.0"_qs, u"1/2"_qs}, noFolder);
    project("a version with a backslash", u"versions"_qs, QJsonArray{u"1\\2"_qs}, noFolder);
    project("a version with a line end", u"versions"_qs, QJsonArray{u"1\n2"_qs}, noFolder);
    project("a hidden version", u"versions"_qs, QJsonArray{u".5"_qs}, noFolder);
    project("a version too long for a name", u"versions"_qs, QJsonArray{QString(300, u'1')}, noFolder);
    project("no version at all", u"versions"_qs, QJsonArray(), "is empty");
    project("delivery that is switched off", u"deliveryEnabled"_qs, false, "cannot answer 403");
    project("locales without a file", u"targetLocales"_qs, QJsonArray{u"ja"_qs}, "holds no file of a locale");
    options("a version on the command line that leads away", {u"--app-version"_qs, u"../x"_qs}, 1, noFolder);
    options("an unknown server", {u"--server"_qs, u"iis"_qs}, 2, "nginx, apache or caddy");
    options("a port that is none", {u"--server"_qs, u"nginx"_qs, u"--listen"_qs, u"70000"_qs}, 2,
            "--listen is");
    options("an address that is none", {u"--server"_qs, u"nginx"_qs, u"--listen"_qs, u"here:80"_qs}, 2,
            "--listen is");
    options("a port with more behind it", {u"--server"_qs, u"nginx"_qs, u"--listen"_qs, u"80; user root"_qs},
            2, "--listen is");
    options("a root that ends its quotes", {u"--server"_qs, u"nginx"_qs, u"--root"_qs, u"/a\"; b"_qs}, 2,
            "cannot stand in");
    options("a root with a variable", {u"--server"_qs, u"apache"_qs, u"--root"_qs, u"/a/${HOME}"_qs}, 2,
            "cannot stand in");
    options("a root that is relative", {u"--server"_qs, u"caddy"_qs, u"--root"_qs, u"a"_qs}, 2,
            "absolute path");
    options("a log with a line end", {u"--server"_qs, u"caddy"_qs, u"--log"_qs, u"/a\nb"_qs}, 2,
            "cannot stand in");
    options("a port for no server", {u"--listen"_qs, u"80"_qs}, 2, "--listen needs --server");
}

void tst_PackTree::refuses()
{
    QFETCH(QJsonObject, project);
    QFETCH(QStringList, options);
    QFETCH(QByteArray, complaint);
    const TestProject folder;
    const Tree tree;
    folder.setProject(project);
    const ToolRun run = tree.pack(folder, options);
    QTEST(run.status, "status");
    QVERIFY2(run.errors.contains(complaint), run.errors.constData());
    QVERIFY2(!QFile::exists(tree.path()), "nothing was written");
}

void tst_PackTree::refusesASecondWriter()
{
    const TestProject project;
    const Tree tree;
    QCOMPARE(tree.pack(project).status, 0);
    project.publish("Salut");
    QLockFile other(tree.path() + u"/.dorvane-pack.lock"_qs);
    QVERIFY(other.tryLock(0));
    const ToolRun run = tree.pack(project);
    QCOMPARE(run.status, 1);
    QVERIFY2(run.errors.contains("another \"dorvane pack --tree\" is writing"), run.errors.constData());
    other.unlock();
    QCOMPARE(tree.pack(project).status, 0);
}

// Killed at the rename, it leaves the old file, an unfinished one and its lock; the next run finishes.
void tst_PackTree::survivesAKill()
{
    const TestProject project;
    const Tree tree;
    QCOMPARE(tree.pack(project).status, 0);
    const QByteArray before = tree.bytes(u"2 0/fr-CA"_qs);
    project.publish("Salut");
    QProcess killed;
    QStringList command = DVStrace::command({u"inject=rename,renameat,renameat2:signal=SIGKILL"_qs});
    command << QStringLiteral(DORVANE_TOOL) << u"pack"_qs << u"--tree"_qs << project.path() << tree.path();
    killed.start(command.takeFirst(), command);
    QVERIFY(killed.waitForFinished(30000));
    QVERIFY(killed.exitStatus() == QProcess::CrashExit || killed.exitCode() != 0);
    QCOMPARE(tree.bytes(u"2 0/fr-CA"_qs), before);

    const ToolRun run = tree.pack(project);
    QVERIFY2(run.status == 0, run.errors.constData());
    QCOMPARE(tree.all(), (QStringList{u"garden/1.0/fr-CA/strings.gz"_qs, u"garden/2 0/fr-CA/strings.gz"_qs}));
    for (const char *version : {"1.0", "2 0"})
        QCOMPARE(opened(tree.bytes(QLatin1StringView(version) + u"/fr-CA"_qs)),
                 TestProject::document("Salut"));
}

void tst_PackTree::configurationsNameThePaths_data()
{
    const DVRows<QString, QStringList, QByteArrayList> row("server", "options", "lines");
    const QStringList local{u"--listen"_qs, u"127.0.0.1:81"_qs};
    const QStringList six{u"--listen"_qs, u"[::1]:81"_qs};
    row("nginx on a port", u"nginx"_qs, {}, {"    listen 8080;"});
    row("nginx on loopback", u"nginx"_qs, local, {"    listen 127.0.0.1:81;"});
    row("nginx on IPv6", u"nginx"_qs, six, {"    listen [::1]:81;"});
    row("apache on loopback", u"apache"_qs, local, {"Listen 127.0.0.1:81", "<VirtualHost 127.0.0.1:81>"});
    row("apache on a port", u"apache"_qs, {u"--listen"_qs, u"81"_qs}, {"Listen 81", "<VirtualHost *:81>"});
    row("caddy on loopback", u"caddy"_qs, local, {"http://:81 {", "\tbind 127.0.0.1"});
}

void tst_PackTree::configurationsNameThePaths()
{
    QFETCH(QString, server);
    QFETCH(QStringList, options);
    QFETCH(QByteArrayList, lines);
    const TestProject project;
    const Tree tree;
    project.setProject({{u"expiresSeconds"_qs, 90}});
    options += {u"--server"_qs, server, u"--log"_qs, u"/logs/a b.log"_qs};
    const ToolRun run = tree.pack(project, options);
    QVERIFY2(run.status == 0, run.errors.constData());
    for (const QByteArray &line : lines)
        QVERIFY2(run.output.contains(QByteArray('\n' + line + '\n')), run.output.constData());
    QVERIFY(run.output.contains(QByteArray('"' + tree.path().toUtf8())));
    QVERIFY(run.output.contains("\"/logs/a b.log\""));
    for (const char *example : {"\"/srv/dorvane", "/var/log", "3600"})
        QVERIFY2(!run.output.contains(example), run.output.constData());
    QVERIFY(run.output.contains("90"));
    // Where the server sees the tree elsewhere.
    const ToolRun moved = tree.pack(project, options + QStringList{u"--root"_qs, u"/mnt/a b"_qs});
    QVERIFY(moved.output.contains("\"/mnt/a b") && !moved.output.contains(tree.path().toUtf8()));
}

QTEST_GUILESS_MAIN(tst_PackTree)
#include "tst_pack_tree.moc"
