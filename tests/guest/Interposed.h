// Interposed: what somebody installs in Qt, counted by standing before Qt's own functions.
#pragma once

#include <QJsonArray>

namespace Interposed {

// Class names of the objects that filter the application's events.
QJsonArray applicationFilters();
// Calls of QCoreApplication::installTranslator() and of qInstallMessageHandler() from outside this program.
int translators();

} // namespace Interposed
