// The font of both Window Gardens.
#pragma once

#include <QFont>

// One family for each script where the machine has it: sizes and weights then match in every language.
QFont gardenFont(const QFont &systemFont);
