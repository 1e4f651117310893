// Step: one thing that was looked at, and what was seen.
#pragma once

#include <QString>

#include <functional>

enum class Verdict { Ok, Warn, Fail };

struct Step
{
    QString name; // one word: "date"
    Verdict verdict = Verdict::Ok;
    QString seen;
    QString advice; // what to mend; null when all is well
};

// Told as it goes.
using StepReport = std::function<void(const Step &)>;
