#include "DVCleanClipboard.h"

#include "DVCueMarkers.h"
#include "DVTextMarks.h"

#include <QDrag>
#include <QMimeData>
#include <QVariant>

#include <algorithm>

namespace {

bool hasCue(const QString &text)
{
    return std::any_of(text.begin(), text.end(), [](QChar c) { return dv_isCue(c.unicode()); });
}

bool isText(const QString &format)
{
    return format.startsWith(QLatin1StringView("text/"));
}

bool hasCues(const QMimeData &data)
{
    if ((data.hasText() && hasCue(data.text())) || (data.hasHtml() && hasCue(data.html())))
        return true;
    const QStringList formats = data.formats();
    return std::any_of(formats.begin(), formats.end(), [&](const QString &format) {
        return isText(format) && hasCue(QString::fromUtf8(data.data(format)));
    });
}

bool isDocument(const QString &format)
{
    return format.startsWith(QLatin1StringView("application/vnd.oasis.opendocument")) ||
           format == QLatin1StringView("application/rtf");
}

bool has(const QClipboard &clipboard, QClipboard::Mode mode)
{
    return mode == QClipboard::Clipboard ||
           (mode == QClipboard::Selection && clipboard.supportsSelection()) ||
           (mode == QClipboard::FindBuffer && clipboard.supportsFindBuffer());
}

bool isOwned(const QClipboard &clipboard, QClipboard::Mode mode)
{
    switch (mode) {
    case QClipboard::Clipboard:
        return clipboard.ownsClipboard();
    case QClipboard::Selection:
        return clipboard.ownsSelection();
    case QClipboard::FindBuffer:
        return clipboard.ownsFindBuffer();
    }
    return false;
}

// Some platforms cannot say who owns it. What another application put there is seen through a class of Qt's
// then, or holds no whole string of ours.
bool isOurs(const QClipboard &clipboard, QClipboard::Mode mode, const QMimeData &data)
{
    return isOwned(clipboard, mode) ||
           (!data.inherits("QInternalMimeData") && !dv_localizedStringsInString(data.text()).isEmpty());
}

} // namespace

std::unique_ptr<QMimeData> dv_cleanMimeData(const QMimeData &data)
{
    if (!hasCues(data))
        return nullptr;
    auto clean = std::make_unique<QMimeData>();
    const QStringList formats = data.formats();
    for (const QString &format : formats) {
        const QByteArray bytes = data.data(format);
        if (isText(format) && hasCue(QString::fromUtf8(bytes)))
            clean->setData(format, dv_stringByRemovingCues(QString::fromUtf8(bytes)).toUtf8());
        else if (!isDocument(format))
            clean->setData(format, bytes);
    }
    if (data.hasImage())
        clean->setImageData(data.imageData());
    if (data.hasColor())
        clean->setColorData(data.colorData());
    if (data.hasHtml())
        clean->setHtml(dv_stringByRemovingCues(data.html()));
    if (data.hasText())
        clean->setText(dv_stringByRemovingCues(data.text()));
    return clean;
}

void dv_cleanClipboard(QClipboard &clipboard, QClipboard::Mode mode)
{
    const QMimeData *data = has(clipboard, mode) ? clipboard.mimeData(mode) : nullptr;
    if (!data || !isOurs(clipboard, mode, *data))
        return;
    if (auto clean = dv_cleanMimeData(*data))
        clipboard.setMimeData(clean.release(), mode); // the clipboard takes it
}

void dv_cleanDrag(QDrag &drag)
{
    if (!drag.mimeData())
        return;
    if (auto clean = dv_cleanMimeData(*drag.mimeData()))
        drag.setMimeData(clean.release()); // the drag takes it
}
