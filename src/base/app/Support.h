#pragma once

#include <QString>

// Where users send what the program asks them to report.
inline QString supportAddress() {
    return QStringLiteral("support@cantavox.org");
}
