// Project edit: project.json as `dorvane import` makes it and adds to it.
#pragma once

#include "Project.h"

// A project for a folder that has none: named after the folder, with a fresh key.
Project freshProject(const QString &folder, const QString &sourceLocale);
QByteArray projectJson(const Project &project);

// The same file with one more locale in "targetLocales", otherwise to the byte as it was. Null when the file
// is written in a way that this does not understand.
QByteArray withTargetLocale(const QByteArray &json, const QString &locale);
