// Project: what project.json of a project folder says.
#pragma once

#include "ProjectAccess.h"
#include "ProjectWorkflows.h"

#include <QString>
#include <QStringList>

#include <optional>

// Whether a locale is written in the platform's form, letters and digits joined by hyphens (BCP 47): it
// names a file.
bool isLocaleName(const QString &locale);

// A value; docs/formats/project-folder.md describes the file.
struct Project
{
    QString projectId;
    QString name;
    QString sourceLocale;
    QStringList targetLocales;
    std::optional<QStringList> versions; // nothing: any version is served
    QString deliveryKey;                 // base64, checked
    qint64 expiresSeconds = 3600;
    bool deliveryEnabled = true;
    ProjectAccess access;
    ProjectWorkflows workflows;

    // Locales are named in the platform's form ("fr-CA").
    bool hasLocale(const QString &locale) const
    {
        return locale == sourceLocale || targetLocales.contains(locale);
    }
    bool hasVersion(const QString &version) const
    {
        return versions ? versions->contains(version) : !version.isEmpty();
    }

    // Nothing after `error` was set to a sentence that says what to change.
    static std::optional<Project> fromJson(const QByteArray &json, QString *error);
};
