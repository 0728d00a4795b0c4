#include "shell/CShutdown.h"

#include "app/Prompts.h"
#include "failsafe/AppError.h"
#include "failsafe/modFailSafe.h"

#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusReply>

namespace {
const char* const kModule = "CShutdown";
CShutdown::Backend g_backend;

// The privilege step of the classic platform becomes logind's own answer to "may I?": a
// "no" there is the failure the caller reports.
bool logindAllows(QDBusInterface& manager, const char* question) {
    QDBusReply<QString> answer = manager.call(QString::fromLatin1(question));
    return answer.isValid() && answer.value() != u"no" && answer.value() != u"na";
}

bool viaLogind(int command, int force) {
    QDBusInterface manager(
        QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
        QStringLiteral("org.freedesktop.login1.Manager"), QDBusConnection::systemBus());
    if (!manager.isValid())
        return false;
    const bool interactive = (force & 4) == 0;
    switch (command) {
    case CShutdown::LogOffCmd: {
        QDBusReply<void> r = manager.call(QStringLiteral("TerminateSession"),
                                          qEnvironmentVariable("XDG_SESSION_ID"));
        return r.isValid();
    }
    case CShutdown::RebootCmd:
        if (!logindAllows(manager, "CanReboot"))
            return false;
        return QDBusReply<void>(manager.call(QStringLiteral("Reboot"), interactive)).isValid();
    case CShutdown::ShutdownCmd:
    case CShutdown::PowerOffCmd:
        if (!logindAllows(manager, "CanPowerOff"))
            return false;
        return QDBusReply<void>(manager.call(QStringLiteral("PowerOff"), interactive)).isValid();
    default:
        return false;
    }
}
} // namespace

void CShutdown::setBackend(Backend backend) {
    g_backend = std::move(backend);
}

void CShutdown::run(int command, const char* failure) {
    const bool ok = g_backend ? g_backend(command, static_cast<int>(m_force))
                              : viaLogind(command, static_cast<int>(m_force));
    if (!ok)
        raiseError(errnum::ComponentFailure, QString::fromLatin1(failure),
                   Prompts::appTitle() + QStringLiteral(".CShutdown"));
}

void CShutdown::LogOff() {
    FS_PROC(kModule, "Sub LogOff");
    run(LogOffCmd, "Could not log-off");
}

void CShutdown::PowerOff() {
    FS_PROC(kModule, "Sub PowerOff");
    run(PowerOffCmd, "Could not power-off");
}

void CShutdown::Reboot() {
    FS_PROC(kModule, "Sub Reboot");
    run(RebootCmd, "Could not reboot");
}

void CShutdown::Shutdown() {
    FS_PROC(kModule, "Sub Shutdown");
    run(ShutdownCmd, "Could not shutdown");
}
