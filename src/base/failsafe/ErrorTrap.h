#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>
#include <functional>

struct FsErrorSlot;

// The handling of a trapped run-time error behind fsERROR, fs::trap and fs::runUnheld
// (declared in modFailSafe.h): the error taken apart, its call tree, the trap line, the
// error dialog's answer and the report of "Write To Disk".
//
// While the dialog is up, the events its own loop lets through must not run traced
// procedures in between the trap's: those wait here until the dialog is answered.
//
// Thread: UI thread only (the trace's thread).
class ErrorTrap {
public:
    // Called by fsPUSH and fsPOP while fsInError.
    static void waitWhileHeld();
    // A failure of the trace's own work, shown in a message box of its own.
    static void internalError(int number, const QString& description);
    static void reset();

    // Shows the error window and returns its answer (one of fsaction, or what a script
    // answered), with what the user typed into it. The window layer installs it
    // (Dialogs::install); without one, as in a tool without windows, the procedure leaves as
    // with "Silent Run".
    using Asker = std::function<QVariant(const FsErrorSlot& error, const QStringList& callTree,
                                         long errorCount, QString* userSaid)>;
    static void setAsker(Asker asker);
};
