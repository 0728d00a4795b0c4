#include "failsafe/modFailSafe.h"

#include "failsafe/ErrorTrap.h"
#include "failsafe/TraceLog.h"
#include "failsafe/TraceSettings.h"
#include "failsafe/TraceStack.h"
#include "failsafe/TraceTexts.h"

#include <QDateTime>
#include <exception>

namespace {

void startImpl() {
    const TraceSettings s = TraceSettings::fromIni();
    fsStarted = true;
    const QDateTime now = QDateTime::currentDateTime();
    TraceStack::start(now.toString(QStringLiteral("HH:mm:ss")) + QStringLiteral(", ") +
                      now.toString(QStringLiteral("yyyy-MM-dd")) + QStringLiteral(" <") +
                      fsText(32) + u'>');
    // There are no system error boxes to switch off on this platform, and the program
    // never runs inside a development environment.
    TraceSettings::setCurrent(s);
    TraceLog::start(s);
}

} // namespace

void fsSTART() {
    try {
        startImpl();
    } catch (const AppError& e) {
        fsStarted = true;
        ErrorTrap::internalError(e.number, e.description);
    } catch (const std::exception& e) {
        fsStarted = true;
        ErrorTrap::internalError(errnum::InternalError, QString::fromLocal8Bit(e.what()));
    }
}

QString fsLogFileName() {
    return TraceSettings::current().logFile;
}

void fsReset() {
    fsDisabled = false;
    fsStarted = false;
    fsCallDepth = 0;
    TraceSettings::setCurrent(TraceSettings{});
    TraceStack::reset();
    TraceLog::reset();
    ErrorTrap::reset();
}
