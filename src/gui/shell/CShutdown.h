#pragma once

#include <QString>
#include <functional>

// Ends the user's session or the machine: log off, power off, reboot, shut down, through
// systemd-logind. Force (4) asks logind not to wait for other sessions' consent.
//
// Thread: UI thread only.
class CShutdown {
public:
    enum Command { LogOffCmd = 0, ShutdownCmd = 1, RebootCmd = 2, PowerOffCmd = 8 };
    // Carries out a command with the force flag; false on failure. Replaceable so that tests
    // never end anything.
    using Backend = std::function<bool(int command, int force)>;

    long Force() const { return m_force; }
    void setForce(long force) { m_force = force; }

    void LogOff();
    void PowerOff();
    void Reboot();
    void Shutdown();

    static void setBackend(Backend backend);

private:
    void run(int command, const char* failure);
    long m_force = 0;
};
