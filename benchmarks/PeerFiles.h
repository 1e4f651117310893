// PeerFiles: sample strings in the files of other lookups, each made by the peer's own tool.
#pragma once

#include "SampleStrings.h"

#include <QDir>
#include <QFile>
#include <QLibraryInfo>
#include <QProcess>

#include <libintl.h>

// A tool or a folder that is missing ends the program with a message.
namespace PeerFiles {

inline constexpr const char *context = "MainWindow";
inline constexpr const char *domain = "bench";

inline QString qtTool(const QString &name)
{
    return QString(QLibraryInfo::path(QLibraryInfo::BinariesPath) + u'/' + name);
}

inline void run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (!process.waitForFinished(-1) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0)
        qFatal("%s: %s", qPrintable(program), process.readAll().constData());
}

inline void write(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("%s: %s", qPrintable(path), qPrintable(file.errorString()));
}

// The keys are the source texts of one context.
inline QByteArray ts(const std::vector<SampleString> &strings)
{
    std::string document = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE TS>\n"
                           "<TS version=\"2.1\" language=\"fr_FR\">\n<context><name>" +
                           std::string(context) + "</name>\n";
    for (const SampleString &string : strings)
        document += "<message><source>" + string.key + "</source><translation>" + string.target +
                    "</translation></message>\n";
    return QByteArray::fromStdString(document + "</context>\n</TS>\n");
}

// Path of a compiled file for QTranslator.
inline QString qm(const std::vector<SampleString> &strings, const QString &folder)
{
    const QString source = folder + QStringLiteral("/bench.ts");
    const QString compiled = folder + QStringLiteral("/bench.qm");
    write(source, ts(strings));
    run(qtTool(QStringLiteral("lrelease")),
        {QStringLiteral("-silent"), source, QStringLiteral("-qm"), compiled});
    return compiled;
}

// From here on dgettext(domain, key) answers, in every locale but "C" and with LANGUAGE "fr".
inline void useMo(const std::vector<SampleString> &strings, const QString &folder)
{
    std::string text = "msgid \"\"\nmsgstr \"Content-Type: text/plain; charset=UTF-8\\n\"\n";
    for (const SampleString &string : strings)
        text += "\nmsgid \"" + string.key + "\"\nmsgstr \"" + string.target + "\"\n";
    const QString source = folder + QStringLiteral("/bench.po");
    const QString messages = folder + QStringLiteral("/fr/LC_MESSAGES");
    write(source, QByteArray::fromStdString(text));
    QDir().mkpath(messages);
    run(QStringLiteral("msgfmt"), {source, QStringLiteral("-o"), messages + QStringLiteral("/bench.mo")});
    bindtextdomain(domain, QFile::encodeName(folder).constData());
    bind_textdomain_codeset(domain, "UTF-8");
}

} // namespace PeerFiles
