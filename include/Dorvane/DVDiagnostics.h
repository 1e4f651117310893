// DVDiagnostics: why the application shows the texts that it shows, as a value and as text.
#pragma once

#include <Dorvane/DVError.h>
#include <Dorvane/DorvaneGlobal.h>

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

// Where one text comes from, as tr() and qtTrId() see it.
struct DORVANE_EXPORT DVTextOrigin
{
    enum class Source {
        Nothing,        // nobody translates it: the source text, or the id, is shown
        Edited,         // changed in review, on this device
        OverTheAir,     // delivered strings of the served locale
        Packaged,       // strings of the served locale that came with the application
        Base,           // the base locale: source texts of the above, or packaged base strings
        ApplicationsOwn // the application's own translators (.qm files), or Qt's
    };

    QString key;
    QString context; // null when none was given
    Source source = Source::Nothing;
    QString locale;  // device form; null for Nothing and ApplicationsOwn
    QString file;    // that the text was read from; null when there is none, or it is not known
    QString because; // a sentence for people

    // One paragraph, for people.
    QString toText() const;

    friend bool operator==(const DVTextOrigin &, const DVTextOrigin &) = default;
};

// The state of the library in one moment. Holds no AES key, no credentials and no text of a user. All dates
// are in UTC; one that is not known is invalid. Identifiers of locales are in device form ("fr_CA").
struct DORVANE_EXPORT DVDiagnostics
{
    enum class Start {
        NotStarted,
        SwitchedOff, // by DORVANE_DISABLED in the environment
        Disabled,    // by the mode "DVDisabled"
        Failed,      // startInWords says why
        Launched
    };

    // What the choice of a locale came to.
    enum class Fallback {
        None,           // the first choice is served, or no locale was to be chosen
        LaterCandidate, // another one of the user's languages
        BaseLocale,     // packaged base strings
        ApplicationsOwn // nothing of the library: the application's own texts
    };

    // One locale that the choice tried, and what came of it, in words.
    struct Attempt
    {
        QString locale;
        QString outcome;
        friend bool operator==(const Attempt &, const Attempt &) = default;
    };

    // A strings file that exists, on the device or in the application's package.
    struct File
    {
        enum class Source {
            Edited, // strings changed in review
            OverTheAir,
            Packaged,
            Replaced // what the last download replaced, kept until the new one has parsed once
        };
        Source source = Source::OverTheAir;
        QString locale;
        QString path;
        qint64 size = 0;       // bytes
        QDateTime stored;      // of the file
        QDateTime published;   // "Last-Modified" of the delivery
        QDateTime expires;     // when news are asked for, on the device's clock
        bool expired = false;  // by now
        bool loaded = false;   // lookups are answered from it
        qsizetype strings = 0; // in it, when it is loaded
        friend bool operator==(const File &, const File &) = default;
    };

    // The last download of a locale's strings.
    struct Delivery
    {
        enum class Outcome {
            Fresh,         // new strings were stored
            Current,       // not modified since the last download (304)
            NotFound,      // no such locale, project or version (404)
            Refused,       // delivery is disabled for the project (403)
            ServerFailure, // 500 and above: what is on the device stays
            NoAnswer,      // no connection, or none in time
            Empty,         // a good answer without content
            Undecryptable, // the key does not open the content
            NotStored,     // too large, or the device's folder cannot be written
            Unexpected     // any other status
        };
        QString locale;
        Outcome outcome = Outcome::Unexpected;
        int status = 0;        // of HTTP; 0: no answer
        bool atLaunch = false; // the start call waited for it
        DVErrorOr error;
        QDateTime when;
        friend bool operator==(const Delivery &, const Delivery &) = default;
    };

    struct Failure
    {
        DVError error;
        QDateTime when;
        friend bool operator==(const Failure &, const Failure &) = default;
    };

    // Base URLs of the servers in use.
    struct Servers
    {
        QString api;
        QString sso;
        QString delivery;
        QString deliveryCdn;
        friend bool operator==(const Servers &, const Servers &) = default;
    };

    // Usage events.
    struct Analytics
    {
        bool enabled = false;
        std::optional<qsizetype> waiting; // not sent yet; nothing while the file is being written
        QDateTime lastSent;
        friend bool operator==(const Analytics &, const Analytics &) = default;
    };

    Start start = Start::NotStarted;
    QString startInWords;
    bool launched = false; // lookups are answered
    QString mode;          // as the option was given; empty for none, or an unknown one
    QString libraryVersion;
    QString projectId;
    QString applicationVersion;
    QStringList deviceLanguages; // hyphen form, the most preferred first
    QString deviceLocale;        // of formats
    QString servedLocale;        // null when there is none
    QString baseLocale;
    bool textsAreMarked = false; // texts of the bundle's lookup carry cue markers

    Fallback fallback = Fallback::None;
    QString choice; // why this locale is served, in words
    QList<Attempt> attempts;

    QList<File> files;
    QList<Delivery> deliveries; // in the order of locales
    std::optional<Failure> lastError;

    qsizetype servedStrings = 0;
    qsizetype baseStrings = 0;
    qint64 requests = 0;        // that this process has sent
    qint64 publications = 0;    // changes of what lookups answer
    qint64 languageChanges = 0; // QEvent::LanguageChange posted to the application

    Servers servers;
    Analytics analytics;

    // Aligned lines of at most ASCII labels, for a bug report.
    QString toText() const;

    friend bool operator==(const DVDiagnostics &, const DVDiagnostics &) = default;
};
