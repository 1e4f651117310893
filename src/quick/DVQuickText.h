// Placeholders in texts that QML asks for by key.
#pragma once

#include <QString>
#include <QVariantList>

// `text` with "%1" to "%99" replaced by the values; "%L1" writes a number as the default locale does.
// A placeholder without a value stays. Values are not searched again.
QString dv_textWithValues(const QString &text, const QVariantList &values);
