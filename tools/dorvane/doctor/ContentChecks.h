// ContentChecks: what is in a delivered file, layer by layer.
#pragma once

#include "Step.h"

#include <QByteArray>
#include <QString>

#include <optional>

struct ContentQuestion
{
    QString key; // base64; null: the content cannot be looked at
    QString locale;
    std::optional<QString> string; // a key to look up
};

// Decryption, inflation, reading, the checks and a lookup. Stops where there is no going on.
void checkContent(const QByteArray &body, const ContentQuestion &question, const StepReport &report);
