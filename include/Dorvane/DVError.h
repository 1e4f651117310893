// DVError: why an operation failed, as a value.
#pragma once

#include <QString>

#include <optional>

// A failure found by the library, a server or the device. `domain` says who found it:
// "dorvane.SDK", "dorvane.API" (the platform), "dorvane.SDK.server" (an answer with a list of
// errors), "dorvane.SDK.analytics", "dorvane.SDK.xliff", or for conditions of the device
// "dorvane.network" (code: QNetworkReply::NetworkError) and "dorvane.file" (code: QFileDevice::FileError).
struct DVError
{
    QString domain;
    int code = 0;
    QString description; // for people; never empty

    friend bool operator==(const DVError &, const DVError &) = default;
};

// Empty means success.
using DVErrorOr = std::optional<DVError>;
