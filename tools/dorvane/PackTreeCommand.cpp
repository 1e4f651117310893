#include "CommandLine.h"
#include "Commands.h"
#include "DeliveredFile.h"
#include "DeliveryTree.h"
#include "PackCheck.h"
#include "ProjectFolder.h"
#include "ServerSnippet.h"

#include <QDir>
#include <QFileInfo>

#include <vector>

namespace {

struct PackedLocale
{
    QString name;
    QByteArray file;
    qint64 documentSize = 0;
    DeliveryTree::Published published;
};

void declarePackTreeOptions(CommandLine &line)
{
    line.addArgument(QStringLiteral("PROJECT"),
                     QStringLiteral("Project folder: project.json and <locale>.xlf files."));
    line.addArgument(QStringLiteral("OUT"), QStringLiteral("Folder that the web server delivers from."));
    line.addOption({QStringLiteral("tree"), QStringLiteral("Chooses this form of the command.")});
    line.addOption(
        {QStringLiteral("app-version"),
         QStringLiteral("Application version to publish for; may be given many times. Without it the "
                        "\"versions\" of project.json; without those one folder for every version."),
         QStringLiteral("V")});
    line.addOption({QStringLiteral("remove"),
                    QStringLiteral("Takes locales that the project no longer has out of these versions.")});
    line.addOption({QStringLiteral("no-check"), QStringLiteral("Publishes what has mistakes too.")});
    line.addOption({QStringLiteral("server"),
                    QStringLiteral("Prints a configuration for nginx, apache or caddy on standard output."),
                    QStringLiteral("NAME")});
    line.addOption({QStringLiteral("root"), QStringLiteral("Where the server finds OUT; without it OUT."),
                    QStringLiteral("PATH")});
    line.addOption({QStringLiteral("listen"),
                    QStringLiteral("Where the server listens: 8080, 127.0.0.1:8080."),
                    QStringLiteral("[ADDRESS:]PORT"), QStringLiteral("8080")});
    line.addOption({QStringLiteral("log"),
                    QStringLiteral("Where the server logs; without it /var/log/<server>."),
                    QStringLiteral("FILE")});
    line.addNote(
        QStringLiteral("A locale whose strings did not change keeps its file and date, so devices download "
                       "nothing.\nIf one locale cannot be read, nothing is written."));
}

// Nothing: no configuration was asked for, or `problem` says what is wrong with the options.
std::optional<ServerSnippet> snippetFromOptions(const CommandLine &line, QString *problem)
{
    if (!line.isSet(QStringLiteral("server"))) {
        for (const QString &option :
             {QStringLiteral("root"), QStringLiteral("listen"), QStringLiteral("log")})
            if (line.isSet(option))
                *problem = QStringLiteral("--%1 needs --server.").arg(option);
        return {};
    }
    ServerSnippet snippet;
    snippet.server = line.value(QStringLiteral("server"));
    snippet.root = line.isSet(QStringLiteral("root")) ? line.value(QStringLiteral("root"))
                                                      : QDir(line.argument(1)).absolutePath();
    snippet.listen = line.value(QStringLiteral("listen"));
    snippet.log = line.value(QStringLiteral("log"));
    *problem = snippet.problem();
    return problem->isEmpty() ? std::optional(snippet) : std::nullopt;
}

QStringList versionsToPublish(const CommandLine &line, const Project &project)
{
    QStringList versions = line.values(QStringLiteral("app-version"));
    if (versions.isEmpty())
        versions = project.versions.value_or(QStringList(DeliveryTree::anyVersion()));
    versions.removeDuplicates();
    return versions;
}

// Null, or why this project cannot be a tree.
QString treeProblem(const Project &project, const QStringList &versions)
{
    if (!project.deliveryEnabled)
        return QStringLiteral("project.json says \"deliveryEnabled\": false, and a tree cannot answer 403; "
                              "to stop delivery, take the project's folder out of the tree");
    if (versions.isEmpty())
        return QStringLiteral("the list \"versions\" in project.json is empty");
    for (const QString &name : QStringList(project.projectId) + versions)
        if (const QString problem = DeliveryTree::nameProblem(name); !problem.isEmpty())
            return problem;
    return {};
}

// Nothing after it was said what is wrong with the document.
std::optional<PackedLocale> pack(const CommandLine &line, const QString &path, const QString &locale,
                                 const Project &project)
{
    QString error;
    const QByteArray document = readWholeFile(path, &error);
    std::optional<PackedDocument> packed;
    if (error.isEmpty())
        packed = packedDocument(document, project.deliveryKey, LoosePlaceholders::PutIntoElements, &error);
    if (packed && !line.isSet(QStringLiteral("no-check")) && !passesCheck(path, document, locale))
        error = QStringLiteral("--no-check publishes it as it is");
    if (!error.isEmpty()) {
        line.warn(QStringLiteral("%1 cannot be published: %2").arg(path, error));
        return {};
    }
    if (packed->newPlaceholderElements > 0)
        line.warn(QStringLiteral("%1: placeholders put into <ph> elements: %2")
                      .arg(path, QString::number(packed->newPlaceholderElements)));
    return PackedLocale{locale, packed->file, document.size(), {}};
}

// Every locale of the project that has a file; nothing when one of them cannot be read.
std::optional<std::vector<PackedLocale>> packAll(const CommandLine &line, const QString &folder,
                                                 const Project &project)
{
    QStringList names = QStringList(project.sourceLocale) + project.targetLocales;
    names.removeDuplicates();
    std::vector<PackedLocale> locales;
    bool good = true;
    for (qsizetype i = 0; i < names.size(); ++i) {
        const QString path = QDir(folder).absoluteFilePath(names.at(i) + QStringLiteral(".xlf"));
        printErrorLine(QStringLiteral("packing %1 of %2: %3").arg(i + 1).arg(names.size()).arg(names.at(i)));
        if (!QFileInfo(path).isFile()) {
            printErrorLine(QStringLiteral("  no file %1: not delivered").arg(path));
            continue;
        }
        auto packed = pack(line, path, names.at(i), project);
        good = good && packed;
        if (packed)
            locales.push_back(std::move(*packed));
    }
    if (good && locales.empty())
        line.warn(QStringLiteral("%1 holds no file of a locale that project.json names").arg(folder));
    return good && !locales.empty() ? std::optional(std::move(locales)) : std::nullopt;
}

// Null on success.
QString publishAll(DeliveryTree &tree, std::vector<PackedLocale> &locales, const QString &key)
{
    for (PackedLocale &locale : locales) {
        QString error;
        const auto published = tree.publish(locale.name, locale.file, key, &error);
        if (!published)
            return error;
        locale.published = *published;
    }
    return {};
}

QString describe(const DeliveryTree::Published &published, qsizetype versions)
{
    if (published.change == DeliveryTree::Change::None)
        return QStringLiteral("unchanged");
    QString text =
        published.change == DeliveryTree::Change::New ? QStringLiteral("new") : QStringLiteral("changed");
    if (published.versions < versions)
        text += QStringLiteral(" in %1 of %2 versions").arg(published.versions).arg(versions);
    if (published.inTheFuture)
        text += QStringLiteral("; dated in the future, since the file before it was: look at the clock");
    return text;
}

void summarise(const Project &project, const QStringList &versions, const std::vector<PackedLocale> &locales)
{
    printErrorLine(QStringLiteral("\nproject %1, versions: %2")
                       .arg(project.projectId, versions.join(QStringLiteral(", "))));
    printErrorLine(QStringLiteral("  %1 %2 %3")
                       .arg(QStringLiteral("locale"), -10)
                       .arg(QStringLiteral("document"), 12)
                       .arg(QStringLiteral("delivered"), 12));
    qint64 documents = 0;
    qint64 delivered = 0;
    const auto row = [](const QString &name, qint64 document, qint64 file, const QString &what) {
        printErrorLine(
            QStringLiteral("  %1 %2 %3  %4").arg(name, -10).arg(document, 12).arg(file, 12).arg(what));
    };
    for (const PackedLocale &locale : locales) {
        row(locale.name, locale.documentSize, locale.file.size(),
            describe(locale.published, versions.size()));
        documents += locale.documentSize;
        delivered += locale.file.size();
    }
    row(QStringLiteral("together"), documents, delivered, QStringLiteral("bytes"));
}

// What the tree holds and this run did not write: kept, or removed where asked for. Null on success.
QString treatLeftovers(const CommandLine &line, DeliveryTree &tree, const std::vector<PackedLocale> &locales)
{
    QStringList names;
    for (const PackedLocale &locale : locales)
        names += locale.name;
    const QStringList others = tree.othersThan(names);
    for (const QString &other : others) {
        if (!line.isSet(QStringLiteral("remove"))) {
            printErrorLine(QStringLiteral("still delivered, not in the project: %1 (--remove takes it away)")
                               .arg(other));
            continue;
        }
        if (const QString problem = tree.remove(other); !problem.isEmpty())
            return problem;
        printErrorLine(QStringLiteral("removed: %1").arg(other));
    }
    for (const QString &version : tree.otherVersions())
        printErrorLine(
            version == DeliveryTree::anyVersion()
                ? QStringLiteral(
                      "left as it is: the folder \"any\", which every version without a folder gets")
                : QStringLiteral("left as it is: version %1").arg(version));
    return {};
}

// Null on success.
QString writeTree(const CommandLine &line, const Project &project, const QStringList &versions,
                  std::vector<PackedLocale> &locales)
{
    DeliveryTree tree(line.argument(1), project.projectId, versions);
    QString problem = tree.open();
    if (problem.isEmpty())
        problem = publishAll(tree, locales, project.deliveryKey);
    if (!problem.isEmpty())
        return problem;
    summarise(project, versions, locales);
    return treatLeftovers(line, tree, locales);
}

} // namespace

int runPackTree(const QStringList &arguments)
{
    CommandLine line(
        QStringLiteral("pack --tree"),
        QStringLiteral("Writes the delivery tree of a project folder, for any static web server:\n"
                       "OUT/projects/<project>/<version>/<locale>/strings.gz."));
    declarePackTreeOptions(line);
    if (const auto status = line.parse(arguments))
        return *status;
    QString problem;
    std::optional<ServerSnippet> snippet = snippetFromOptions(line, &problem);
    if (!problem.isEmpty())
        return line.misused(problem);

    ProjectFolder folder(line.argument(0), [](const QString &text) { printErrorLine(text); });
    if (problem = folder.open(); !problem.isEmpty())
        return line.fail(problem);
    const Project project = folder.project();
    const QStringList versions = versionsToPublish(line, project);
    if (problem = treeProblem(project, versions); !problem.isEmpty())
        return line.fail(problem);
    auto locales = packAll(line, line.argument(0), project);
    if (!locales)
        return line.fail(QStringLiteral("nothing was written"));
    if (problem = writeTree(line, project, versions, *locales); !problem.isEmpty())
        return line.fail(problem);
    if (snippet) {
        snippet->expiresSeconds = project.expiresSeconds;
        printLine(snippet->text().trimmed());
    }
    return Succeeded;
}
