// CheckGuide: the section of the guide (docs/guides/check.md) about a rule.
#pragma once

#include <QString>

// Markdown, from the rule's heading to the next; null when the guide has none.
QString guideSection(const QString &rule);
