// CheckedFolder: what "dorvane check" finds in the files and folders that it is given.
#pragma once

#include <QString>
#include <QStringList>

#include <vector>

// "fr-CA" of "folder/fr-CA.xlf"; null when a file's name is no locale.
QString localeOfFileName(const QString &path);

// One document to check, and what is known about it before it is read.
struct CheckInput
{
    QString path;
    QString locale;       // by the file's name; null when that is none
    QString sourceLocale; // by project.json; null without one
    QString basePath;     // file with the base locale's strings; null without one, and for that file itself
};

// Files as they are given; of a folder all "*.xlf", sorted, with what its project.json says, if it has
// one. Nothing after `error` was set.
std::vector<CheckInput> checkInputs(const QStringList &paths, QString *error);
