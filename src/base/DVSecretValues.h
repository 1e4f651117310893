// DVSecretValues: the secrets that are remembered, and their occurrences in a text.
#pragma once

#include <QString>

namespace DVSecretValues {

// The text with every occurrence of a remembered secret replaced; the text itself when there is none. One
// relaxed load while nothing is remembered.
QString removedFrom(const QString &text);

} // namespace DVSecretValues
