#include "DVDocumentText.h"

#include <QTextBlock>
#include <QTextDocument>

namespace {

bool hasFormats(const QTextBlock &block)
{
    if (block.textList() || block.blockFormat().propertyCount() > 0)
        return true;
    for (auto fragment = block.begin(); !fragment.atEnd(); ++fragment) {
        if (fragment.fragment().charFormat().propertyCount() > 0)
            return true;
    }
    return false;
}

} // namespace

bool dv_isRich(const QTextDocument &document)
{
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        if (hasFormats(block))
            return true;
    }
    return false;
}
