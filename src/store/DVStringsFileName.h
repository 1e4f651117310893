// DVStringsFileName: the names of the library's strings files, "<version>_<locale>_<kind>.xlf".
#pragma once

#include <QString>

#include <optional>

// What a name says. Read to the letter: "1.0_en_published.xlf" is of "en" and of nothing else, and a name
// that the library would not have written is none.
struct DVStringsFileName
{
    enum class Kind {
        Published,
        Pending,
        Edited,
        Discarded, // edits that a pull threw away
        Damaged,   // what was found in the place of an edited file and did not parse
    };

    QString version; // as dv_versionForNames() gives it
    QString locale;  // device form
    Kind kind = Kind::Published;
    bool previous = false; // the copy of what a download replaced

    static std::optional<DVStringsFileName> parse(const QString &fileName);

    // What somebody typed into this device, and what no server has.
    bool isSomebodysWork() const { return kind != Kind::Published && kind != Kind::Pending; }

    friend bool operator==(const DVStringsFileName &, const DVStringsFileName &) = default;
};
