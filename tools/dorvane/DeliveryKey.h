// The delivery key: an AES key as base64 text.
#pragma once

#include <QString>

class CommandLine;

// Null when `key` is base64 of 16, 24 or 32 bytes; else a sentence that says what is wrong with it.
QString deliveryKeyProblem(const QString &key);

// A fresh key from the system's random source.
QString freshDeliveryKey(int bits);

void addDeliveryKeyOptions(CommandLine &line);
// The key that the options name, checked; null after `error` was set.
QString deliveryKeyFromOptions(const CommandLine &line, QString *error);
