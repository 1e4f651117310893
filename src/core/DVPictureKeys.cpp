#include "DVPictureKeys.h"

#include "DVTextMarks.h"

#include <algorithm>
#include <cstring>

namespace {

// The pictures of 0x00 to 0x1F are E2 90 80 to E2 90 9F in UTF-8.
void appendWithPictures(QByteArray &key, const char *text)
{
    for (; *text; ++text) {
        const auto byte = static_cast<unsigned char>(*text);
        if (dv_needsControlPicture(byte))
            key.append("\xE2\x90").append(char(0x80 + byte));
        else
            key.append(*text);
    }
}

constexpr const char *separator = "\xE2\x90\x84"; // U+2404

} // namespace

DVPictureKeys::DVPictureKeys(const char *context, const char *sourceText, const char *disambiguation)
    : m_sourceText(sourceText)
{
    QByteArray withContext;
    appendWithPictures(withContext, context ? context : "");
    withContext.append(separator);
    const qsizetype sourceBegin = withContext.size();
    appendWithPictures(withContext, sourceText);
    if (disambiguation && *disambiguation) {
        QByteArray &withAll = m_keys[0];
        withAll = withContext + separator;
        appendWithPictures(withAll, disambiguation);
    }
    const QByteArray source = withContext.sliced(sourceBegin);
    if (source != sourceText)
        m_keys[2] = source;
    m_keys[1] = withContext;
}

DVStringLayers::Hit DVPictureKeys::findIn(const DVStringLayers &layers) const
{
    for (const QByteArray &key : m_keys) {
        if (key.isNull())
            continue;
        if (const auto hit = layers.find(key.constData()))
            return hit;
    }
    return layers.find(m_sourceText);
}

QString dv_stringWithControlPictures(const QString &text)
{
    QString result = text;
    for (QChar &c : result) {
        if (dv_needsControlPicture(c.unicode()))
            c = QChar(dv_controlPicture(c.unicode()));
    }
    return result;
}
