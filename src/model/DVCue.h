// DVCue: one invisible marker character at a position of a text.
#pragma once

#include <QChar>
#include <QString>

// The four markers, one UTF-16 unit each.
namespace DVCueMarker {
inline constexpr char16_t stringStart = 0x200B;   // ZERO WIDTH SPACE
inline constexpr char16_t stringEnd = 0x2062;     // INVISIBLE TIMES
inline constexpr char16_t argumentStart = 0x2063; // INVISIBLE SEPARATOR
inline constexpr char16_t argumentEnd = 0x2064;   // INVISIBLE PLUS
} // namespace DVCueMarker

struct DVCue
{
    enum Type : quint32 { StringStart = 0, StringEnd = 1, ArgumentStart = 2, ArgumentEnd = 3 };

    quint32 cueType = StringStart;
    qsizetype position = 0; // in UTF-16 units

    // A character that is no marker leaves the type at 0.
    static DVCue cueWithChar(QChar character, qsizetype atPosition);
    // "[", "]", "{" or "}"; "<DVCue>" for any other type.
    QString description() const;

    friend bool operator==(const DVCue &, const DVCue &) = default;
};
