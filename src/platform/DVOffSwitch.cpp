#include "DVOffSwitch.h"

#include <QByteArray>
#include <QtGlobal>

namespace {

bool readSwitch()
{
    const QByteArray value = qgetenv("DORVANE_DISABLED").trimmed().toLower();
    return !value.isEmpty() && value != "0" && value != "false" && value != "no" && value != "off";
}

} // namespace

bool dv_isSwitchedOff()
{
    static const bool off = readSwitch();
    return off;
}
