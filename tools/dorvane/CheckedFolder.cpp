#include "CheckedFolder.h"

#include "Check.h"
#include "DeliveredFile.h"
#include "Project.h"

#include <QDir>
#include <QFileInfo>

#include <optional>

namespace {

std::optional<Project> projectIn(const QDir &folder, QString *error)
{
    const QString path = folder.filePath(QStringLiteral("project.json"));
    if (!QFileInfo::exists(path))
        return std::nullopt;
    const QByteArray json = readWholeFile(path, error);
    if (!error->isEmpty())
        return std::nullopt;
    const auto project = Project::fromJson(json, error);
    if (!error->isEmpty())
        *error = QStringLiteral("%1: %2").arg(path, *error);
    return project;
}

void addFolder(const QString &path, std::vector<CheckInput> &inputs, QString *error)
{
    const QDir folder(path);
    const auto project = projectIn(folder, error);
    const QStringList names =
        folder.entryList({QStringLiteral("*.xlf"), QStringLiteral("*.xliff")}, QDir::Files, QDir::Name);
    if (error->isEmpty() && names.isEmpty())
        *error = QStringLiteral("there is no .xlf file in %1").arg(path);
    if (!error->isEmpty())
        return;
    const QString baseName = project ? QString(project->sourceLocale % QStringLiteral(".xlf")) : QString();
    for (const QString &name : names) {
        CheckInput input{folder.filePath(name), localeOfFileName(name), {}, {}};
        if (project)
            input.sourceLocale = project->sourceLocale;
        if (project && name != baseName && names.contains(baseName))
            input.basePath = folder.filePath(baseName);
        inputs.push_back(input);
    }
}

} // namespace

QString localeOfFileName(const QString &path)
{
    const QString name = QFileInfo(path).completeBaseName();
    return isKnownLocale(name) ? name : QString();
}

std::vector<CheckInput> checkInputs(const QStringList &paths, QString *error)
{
    std::vector<CheckInput> inputs;
    for (const QString &path : paths) {
        if (QFileInfo(path).isDir())
            addFolder(path, inputs, error);
        else
            inputs.push_back({path, localeOfFileName(path), {}, {}});
        if (!error->isEmpty())
            return {};
    }
    return inputs;
}
