#pragma once

#include <QString>

class frmMain;

// Starts the program in this process the way the executable does (Main, the after-load
// timer) and takes it down again, so that start-up and shutdown can be tested with the real
// windows on the offscreen platform.
class ProgramRun {
public:
    ProgramRun();
    ~ProgramRun();

    // Runs Main().
    void start();
    // Waits until the after-load timer has shown the main window.
    bool waitUntilRunning(int timeoutMs = 5000);
    frmMain* main() const;
    // How often the process was ended, and with which status the last time.
    int endCount() const { return m_endCount; }
    // Lets deferred deletions (unloaded forms) happen.
    static void settle();

private:
    int m_endCount = 0;
};
