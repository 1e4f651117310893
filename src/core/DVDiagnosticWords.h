// What Dorvane::diagnostics() says in words.
#pragma once

#include <Dorvane/DVDiagnostics.h>

QString dv_inWords(const DVError &error);
QString dv_inWords(DVDiagnostics::Start start);
QString dv_inWords(DVDiagnostics::File::Source source);
QString dv_inWords(DVDiagnostics::Delivery::Outcome outcome);
QString dv_inWords(DVTextOrigin::Source source);
// Why the choice ended where it did; `choice` is what asked for it.
QString dv_inWords(DVDiagnostics::Fallback fallback, const QString &choice);
