// Process entry: the application object, the signal watcher, then the start-up procedure.
#include "app/Main.h"
#include "app/CantavoxApplication.h"
#include "failsafe/modFailSafe.h"
#include "platform/SignalWatcher.h"

int main(int argc, char** argv) {
    CantavoxApplication app(argc, argv);
    SignalWatcher watcher;
    QObject::connect(
        &watcher, &SignalWatcher::terminationRequested, &app,
        fs::trapped("Main", "Sub terminationRequested", [](int) { exitProgram(false); }));
    fs::trap("Main", "Sub Main", [] { Main(); });
    if (processEnded())
        return processExitStatus();
    const int status = app.exec();
    return processEnded() ? processExitStatus() : status;
}
