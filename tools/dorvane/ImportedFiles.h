// ImportedFiles: the messages of an application's files, by the languages that they are in.
#pragma once

#include <Message.h>
#include <OtherMessages.h>

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <map>
#include <optional>

// What all files of one locale brought.
struct ImportedBatch
{
    QStringList paths;
    QList<Message> messages;
};

// Whether a language can be told by it ("fr", "pt-BR", "x-mine"): "C" and other names are none.
bool isLanguageTag(const QString &locale);

class ImportedFiles
{
public:
    struct Options
    {
        QString locale; // of all files; empty: what they or their names say
        XliffKeys xliffKeys = XliffKeys::Auto;
        QString sourceLocale; // empty: what the first file says, or "en"
        // Texts of the source locale by key, as far as the project has them already.
        std::function<QHash<QString, QString>(const QString &sourceLocale)> baseTexts;
        std::function<void(const QString &)> progress;
    };

    explicit ImportedFiles(Options options);

    // Null on success, else what is wrong. Strings files are read behind all others, those of the source
    // locale before those that translate it: the order of `paths` does not matter to them.
    QString read(const QStringList &paths);

    const std::map<QString, ImportedBatch> &batches() const { return m_batches; }
    QString sourceLocale() const { return m_options.sourceLocale; }
    const QStringList &warnings() const { return m_warnings; }

private:
    QString readFile(const QString &path);
    std::optional<MessageFile> readMessages(const QString &path, const QByteArray &content,
                                            FormatError *error);
    std::optional<MessageFile> readStrings(const QString &path, const QByteArray &content,
                                           FormatError *error);
    QHash<QString, QString> baseTexts() const;
    bool isOfSourceLocale(const QString &path) const;
    QString localeOf(const QString &path, const MessageFile &file, QString *problem) const;

    Options m_options;
    std::map<QString, ImportedBatch> m_batches;
    QStringList m_warnings;
};
