#include "DVStringsFileName.h"

#include "DVLocaleIdentifiers.h"

#include <algorithm>

namespace {

struct Suffix
{
    QLatin1StringView text;
    DVStringsFileName::Kind kind;
    bool previous;
};

constexpr Suffix suffixes[] = {
    {QLatin1StringView("_published.xlf"), DVStringsFileName::Kind::Published, false},
    {QLatin1StringView("_published.xlf.previous"), DVStringsFileName::Kind::Published, true},
    {QLatin1StringView("_pending.xlf"), DVStringsFileName::Kind::Pending, false},
    {QLatin1StringView("_pending.xlf.previous"), DVStringsFileName::Kind::Pending, true},
    {QLatin1StringView("_edited.xlf"), DVStringsFileName::Kind::Edited, false},
    {QLatin1StringView("_edited.xlf.damaged"), DVStringsFileName::Kind::Damaged, false},
    {QLatin1StringView("_discarded.xlf"), DVStringsFileName::Kind::Discarded, false},
};

// What percent-encoding leaves of a version: never "_", which ends it.
bool isVersion(QStringView text)
{
    const auto isAllowed = [](QChar c) {
        return c.unicode() < 128 && (c.isLetterOrNumber() || c == u'.' || c == u'-' || c == u'%');
    };
    return !text.isEmpty() && std::all_of(text.begin(), text.end(), isAllowed);
}

} // namespace

std::optional<DVStringsFileName> DVStringsFileName::parse(const QString &fileName)
{
    for (const Suffix &suffix : suffixes) {
        if (!fileName.endsWith(suffix.text))
            continue;
        const QString stem = fileName.chopped(suffix.text.size());
        const qsizetype end = stem.indexOf(u'_');
        if (end < 0)
            return std::nullopt;
        DVStringsFileName name{stem.left(end), stem.mid(end + 1), suffix.kind, suffix.previous};
        if (isVersion(name.version) && dv_isSafeLocaleIdentifier(name.locale))
            return name;
    }
    return std::nullopt;
}
