#include "failsafe/TraceTexts.h"

#include <QCoreApplication>
#include <QDate>
#include <QFileInfo>

namespace {

// 19 and 30 are made up in fsText.
struct Text {
    int number;
    const char* text;
};
constexpr Text kTexts[] = {
    {0, "] END PROGRAM "},
    {15, " error"},
    {16, " <unavailable: line numbers not used>"},
    {17, "<< ERROR >>"},
    {18, "Module    "},
    {20, "The error handler was not initialized before a call to 'fsPOP()' was made."},
    {21, "The program is too deeply nested. The error handler can only handle 1000 levels of "
         "recursion."},
    {22, "generated error"},
    {23, " - Internal Error Handler"},
    {24, "An internal error "},
    {25, " has occurred in module FAILSAFE.BAS, procedure pfErr(), line "},
    {26, "Error Information"},
    {27, "Call Tree & Arguments"},
    {28, "System State Information"},
    {29, "Procedure"},
    {31, "FailSafe(tm) : Program START"},
    {32, "START PROGRAM"},
    {33, "Program Error Intercepted"},
    {34, "Line Number "},
    {35, "Error No. "},
    {36, "Description "},
    {37, "Category "},
    {38, " bytes"},
    {39, "YES"},
    {40, "NO"},
    {41, "&Continue"},
    {42, "&Go to"},
    {43, "&Break to"},
    {47, "Procedure is unbalanced or contains calls to unbalanced routines. "},
    {48, "'fsPOP()' was called without 'fsPUSH()'. "},
    {49, "Choose OK break to VB."},
    {50, "Choose CANCEL to continue with program."},
    {51, "Windows is in 'Standard' mode. Microsecond timer resolution only available under Windows "
         "'Enhanced' mode. Using millisecond timer resolution."},
    {52, "FSVB100"},
    {54, "&More"},
    {57, "trappable errors"},
    {60, "Source "},
};

} // namespace

QString fsText(int number) {
    if (number == 19 || number == 30)
        return traceProgramName() +
               (number == 19 ? QStringLiteral(" - start FailSafe client v")
                             : QStringLiteral(" - stop FailSafe client v")) +
               QStringLiteral("%1.%2.%3")
                   .arg(CANTAVOX_VERSION_MAJOR)
                   .arg(CANTAVOX_VERSION_MINOR)
                   .arg(CANTAVOX_VERSION_PATCH) +
               QStringLiteral(" data capture") + u' ' +
               QDate::currentDate().toString(QStringLiteral("yyyy-MM-dd"));
    for (const Text& t : kTexts) {
        if (t.number == number)
            return QString::fromLatin1(t.text);
    }
    return {};
}

QString traceProgramName() {
    // A tool may trace before (or without) an application object.
    if (QCoreApplication::instance())
        return QFileInfo(QCoreApplication::applicationFilePath()).fileName();
    return QFileInfo(QFileInfo(QStringLiteral("/proc/self/exe")).symLinkTarget()).fileName();
}
