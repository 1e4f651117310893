// Message: one translatable text of an application, whatever kind of file it came from.
#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>

// Where something stands in a file; lines and columns count from 1, 0 is unknown.
struct FilePosition
{
    qint64 line = 0;
    qint64 column = 0;
};

struct FormatError
{
    QString what;
    FilePosition position;

    // As compilers write it: "app_fr.ts:12:5: ...".
    QString text(const QString &path) const;
};

// A value.
struct Message
{
    enum State { Finished, Unfinished, Obsolete };

    QString context;
    QString source;
    QString comment; // tells messages of one context and one source apart
    QString id;      // of applications that ask by identifiers
    bool plural = false;
    State state = Finished;
    // Of a plural message by CLDR's category ("one", "other"), else under the empty name. Forms without
    // a text are left out.
    QMap<QString, QString> forms;
    QStringList texts; // of a .ts file: the same as they stand there, empty ones included
    QString developerNote;
    QString translatorNote;
    QString sourceFile; // location, where it was asked for
    int sourceLine = 0;
    QString path; // of the file that it came from
    FilePosition position;
};

struct MessageFile
{
    QString locale;       // as the file says, in the platform's form ("fr-CA"); empty: it does not
    QString sourceLocale; // likewise
    QList<Message> messages;
    QList<FormatError> warnings;
};

// "fr_CA" as "fr-CA".
QString platformLocale(const QString &locale);
