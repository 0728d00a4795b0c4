#include "ProgramRun.h"

#include "app/Forms.h"
#include "app/Main.h"
#include "app/Prompts.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "app/stateVariable.h"
#include "failsafe/modFailSafe.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QTest>

ProgramRun::ProgramRun() {
    settle();
    resetGlobals();
    resetProcessState();
    fsReset();
    Prompts::clear();
    setEndProcessHandler([this](int) { ++m_endCount; });
}

ProgramRun::~ProgramRun() {
    if (!gvExiting && frmMain::instance())
        exitProgram(false);
    closeAllForms();
    settle();
    while (QGuiApplication::overrideCursor())
        QGuiApplication::restoreOverrideCursor();
    setEndProcessHandler(nullptr);
}

void ProgramRun::start() {
    Main();
}

bool ProgramRun::waitUntilRunning(int timeoutMs) {
    QElapsedTimer t;
    t.start();
    while (t.elapsed() < timeoutMs) {
        QTest::qWait(20);
        if (frmMain::instance() && frmMain::instance()->isVisible() && !gvInStartup)
            return true;
    }
    return false;
}

frmMain* ProgramRun::main() const {
    return frmMain::instance();
}

void ProgramRun::settle() {
    for (int i = 0; i < 3; ++i) {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
    }
}
