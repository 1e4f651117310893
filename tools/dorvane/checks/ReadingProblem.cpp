#include "ReadingProblem.h"

#include <QRegularExpression>

ReadingProblem ReadingProblem::of(const DVError &error)
{
    static const QRegularExpression position(QStringLiteral(" \\(line (\\d+), column (\\d+)\\)\\z"));
    const auto match = position.match(error.description);
    if (!match.hasMatch())
        return {error.description, 0, 0};
    return {error.description.left(match.capturedStart()), match.captured(1).toLongLong(),
            match.captured(2).toLongLong()};
}
