#include "DVCue.h"

#include <array>

namespace {

// By cue type.
constexpr std::array markers{DVCueMarker::stringStart, DVCueMarker::stringEnd, DVCueMarker::argumentStart,
                             DVCueMarker::argumentEnd};
constexpr QStringView visibleMarkers = u"[]{}";

} // namespace

DVCue DVCue::cueWithChar(QChar character, qsizetype atPosition)
{
    DVCue cue{StringStart, atPosition};
    for (quint32 type = 0; type < markers.size(); ++type) {
        if (character == markers[type])
            cue.cueType = type;
    }
    return cue;
}

QString DVCue::description() const
{
    return cueType < markers.size() ? QString(visibleMarkers[cueType]) : QStringLiteral("<DVCue>");
}
