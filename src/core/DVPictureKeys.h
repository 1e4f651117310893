// DVPictureKeys: the keys under which a text of tr() may be kept beside its source text.
#pragma once

#include "DVStringLayers.h"

#include <QByteArray>

#include <array>

// Where the same source text needs different translations, a key is "context U+2404 source", or "context
// U+2404 source U+2404 disambiguation". XML 1.0, and so XLIFF, has no control characters, among them the
// U+0004 that is common in such keys: their pictures (Unicode, "Control Pictures") stand in for them, in
// source texts as well. Made only where a table has such keys (DVStringTable::hasPictureKeys).
class DVPictureKeys
{
public:
    // None but `sourceText` has to be there; they must outlive the object.
    DVPictureKeys(const char *context, const char *sourceText, const char *disambiguation);

    // The most particular key that the layers have, the plain source text last.
    DVStringLayers::Hit findIn(const DVStringLayers &layers) const;

private:
    const char *m_sourceText;
    std::array<QByteArray, 3> m_keys; // null: there is none
};

// U+0001 to U+001F but tab, line feed and carriage return, which XML has, as U+2401 to U+241F.
QString dv_stringWithControlPictures(const QString &text);
