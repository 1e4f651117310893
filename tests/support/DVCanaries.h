// DVCanaries: secrets that a test plants, and the search for them in what a program said and wrote.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace DVCanaries {

// A secret that nothing else looks like: `name`'s first four characters, which may be shown, then 28 letters
// and digits that are the same for the same name.
QString canary(const QString &name);

// Where more than the first four characters of a canary turn up in a text: as they are, percent-encoded, in
// base64 at any offset, or in UTF-16. One sentence for each; empty when none does.
QStringList foundIn(const QByteArray &text, const QStringList &canaries,
                    const QString &where = QStringLiteral("the text"));

// The same for every file below `folder` (names and contents, hidden ones too) but those whose paths relative
// to it begin with one of `except`, and for a program's `output`. Use it as
//     QCOMPARE(DVCanaries::found(folder, output, canaries), QStringList());
QStringList found(const QString &folder, const QByteArray &output, const QStringList &canaries,
                  const QStringList &except = {});

} // namespace DVCanaries
