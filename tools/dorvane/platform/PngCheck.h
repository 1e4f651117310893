// PngCheck: whether bytes are a whole picture in the PNG format (ISO/IEC 15948).
#pragma once

#include <QByteArray>
#include <QString>

// Null when they are; else what is wrong. Checked are the chunks and their sums, and that the compressed
// pixels are as many as the picture has. Memory stays small whatever the picture claims; time is bounded by
// the limit of 64 million pixels.
QString pngProblem(const QByteArray &bytes);
