// Secrets: random ones, their fingerprints, and comparing without telling how far they agree.
#pragma once

#include <QByteArray>
#include <QString>

// Letters, digits, "-" and "_" that nobody can guess: 256 bits.
QByteArray freshSecret();

// What of a secret may stand in a file: its SHA-256 hash, in hexadecimal digits.
QByteArray fingerprint(const QByteArray &secret);

// Takes the same time wherever two texts differ, and however long they are.
bool isSameSecret(const QString &given, const QString &expected);
