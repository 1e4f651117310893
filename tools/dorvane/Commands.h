// The subcommands: each takes what stands after its name and returns the exit status.
#pragma once

#include <QStringList>

int runServe(const QStringList &arguments);
int runCheck(const QStringList &arguments);
int runExport(const QStringList &arguments);
int runImport(const QStringList &arguments);
int runDoctor(const QStringList &arguments);
int runPack(const QStringList &arguments);
int runPackTree(const QStringList &arguments); // `pack` with --tree
int runUnpack(const QStringList &arguments);
int runKeygen(const QStringList &arguments);
int runTry(const QStringList &arguments);
