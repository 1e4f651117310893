#include "DVDiagnosticWords.h"

using namespace Qt::Literals::StringLiterals;

QString dv_inWords(const DVError &error)
{
    return QStringLiteral("%1 %2: %3").arg(error.domain, QString::number(error.code), error.description);
}

QString dv_inWords(DVDiagnostics::Start start)
{
    switch (start) {
    case DVDiagnostics::Start::NotStarted:
        return u"not started"_qs;
    case DVDiagnostics::Start::SwitchedOff:
        return u"switched off by DORVANE_DISABLED in the environment"_qs;
    case DVDiagnostics::Start::Disabled:
        return u"disabled by the mode \"DVDisabled\""_qs;
    case DVDiagnostics::Start::Failed:
        return u"failed"_qs;
    case DVDiagnostics::Start::Launched:
        return u"launched"_qs;
    }
    return {};
}

QString dv_inWords(DVDiagnostics::File::Source source)
{
    switch (source) {
    case DVDiagnostics::File::Source::Edited:
        return u"edited"_qs;
    case DVDiagnostics::File::Source::OverTheAir:
        return u"over the air"_qs;
    case DVDiagnostics::File::Source::Packaged:
        return u"packaged"_qs;
    case DVDiagnostics::File::Source::Replaced:
        return u"replaced copy"_qs;
    }
    return {};
}

QString dv_inWords(DVDiagnostics::Delivery::Outcome outcome)
{
    using Outcome = DVDiagnostics::Delivery::Outcome;
    switch (outcome) {
    case Outcome::Fresh:
        return u"new strings were stored"_qs;
    case Outcome::Current:
        return u"not modified since the last download"_qs;
    case Outcome::NotFound:
        return u"no such project, version or locale"_qs;
    case Outcome::Refused:
        return u"delivery is disabled for the project"_qs;
    case Outcome::ServerFailure:
        return u"the server failed, what was there stays"_qs;
    case Outcome::NoAnswer:
        return u"no answer"_qs;
    case Outcome::Empty:
        return u"an answer without content, nothing was stored"_qs;
    case Outcome::Undecryptable:
        return u"otaKey does not open the content, nothing was stored"_qs;
    case Outcome::NotStored:
        return u"could not be stored"_qs;
    case Outcome::Unexpected:
        return u"an unexpected status, nothing was stored"_qs;
    }
    return {};
}

QString dv_inWords(DVTextOrigin::Source source)
{
    switch (source) {
    case DVTextOrigin::Source::Nothing:
        return u"nothing"_qs;
    case DVTextOrigin::Source::Edited:
        return u"edited strings"_qs;
    case DVTextOrigin::Source::OverTheAir:
        return u"over-the-air strings"_qs;
    case DVTextOrigin::Source::Packaged:
        return u"packaged strings"_qs;
    case DVTextOrigin::Source::Base:
        return u"base strings"_qs;
    case DVTextOrigin::Source::ApplicationsOwn:
        return u"the application's own translators"_qs;
    }
    return {};
}

QString dv_inWords(DVDiagnostics::Fallback fallback, const QString &choice)
{
    switch (fallback) {
    case DVDiagnostics::Fallback::None:
        return choice;
    case DVDiagnostics::Fallback::LaterCandidate:
        return QString(u"not the first " % choice % u": those before it could not be served");
    case DVDiagnostics::Fallback::BaseLocale:
        return u"packaged base strings are served, because strings of no locale could be"_qs;
    case DVDiagnostics::Fallback::ApplicationsOwn:
        return u"the application's own texts are shown, because strings of no locale could be served and "
               "none of the base locale are packaged"_qs;
    }
    return {};
}
