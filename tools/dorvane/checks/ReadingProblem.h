// ReadingProblem: what the reader of documents found, and where.
#pragma once

#include <Dorvane/DVError.h>

// A value. The lines and columns, in characters, count from 1; 0 where the reader named none.
struct ReadingProblem
{
    QString message; // without the place
    qint64 line = 0;
    qint64 column = 0;

    // The reader's description ends in " (line L, column C)".
    static ReadingProblem of(const DVError &error);
};
