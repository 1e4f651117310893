// Whether a document is styled.
#pragma once

class QTextDocument;

// Plain text as an application sets it has no formats of its own.
bool dv_isRich(const QTextDocument &document);
