// Data that leaves the application: the clipboard, the selection of X11, what is dragged.
#pragma once

#include <QClipboard>

#include <memory>

class QDrag;
class QMimeData;

// The same data without markers, or null when it has none. Every marker is taken out, since half a string may
// be selected. A format that is no text and is made from the same text, such as a document, is left out.
std::unique_ptr<QMimeData> dv_cleanMimeData(const QMimeData &data);

// Nothing happens when what the clipboard holds is another application's, or clean.
void dv_cleanClipboard(QClipboard &clipboard, QClipboard::Mode mode);
void dv_cleanDrag(QDrag &drag);
