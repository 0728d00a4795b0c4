#pragma once

#include <QString>

// Where users send what the program asks them to report.
inline QString supportAddress() {
    return QStringLiteral("support@cantavox.org");
}

// The maker's site; the Internet menu's pages and the help the messages point to hang below it.
inline QString makerSite() {
    return QStringLiteral("https://cantavox.example.org/");
}
