#include "failsafe/ErrorTrap.h"

#include "app/Prompts.h"
#include "failsafe/CallTree.h"
#include "failsafe/ErrorClasses.h"
#include "failsafe/FsClientIni.h"
#include "failsafe/SystemReport.h"
#include "failsafe/TraceLog.h"
#include "failsafe/TraceSettings.h"
#include "failsafe/TraceStack.h"
#include "failsafe/TraceTexts.h"
#include "failsafe/modFailSafe.h"

#include <QCoreApplication>
#include <QThread>
#include <array>
#include <climits>
#include <new>

bool fsInError = false;
int fsAction = fsaction::Leave;
QString fsUserSaid;
long fsErrorCount = 0;

namespace {

constexpr int kErrorSlots = 11;
const QString kUnknown = QStringLiteral("<unknown>");

struct Trap {
    // Depth at which the running trap was entered (-1: fsERROR was called directly).
    long trapBase = -1;
    // Event loop level at which the innermost fsERROR runs; only events of a deeper loop
    // (the dialog's) are held back.
    int errorLoopLevel = INT_MAX;

    std::array<FsErrorSlot, kErrorSlots> inProgress;
    int errLevel = 0;
    FsErrorSlot lastError;
    QStringList lastTree;
    QString sysReport;
    bool sysReportMade = false;

    ErrorTrap::Asker asker;
};

Trap g;

// Runs one step of the trap's own work; a failure is reported by the internal handler and
// the next step runs.
template <class F> void guarded(F&& step) {
    try {
        step();
    } catch (const AppError& e) {
        ErrorTrap::internalError(e.number, e.description);
    } catch (const std::bad_alloc&) {
        ErrorTrap::internalError(errnum::OutOfMemory, standardErrorText(errnum::OutOfMemory));
    } catch (const std::exception& e) {
        ErrorTrap::internalError(errnum::InternalError, QString::fromLocal8Bit(e.what()));
    } catch (...) {
        ErrorTrap::internalError(errnum::InternalError, standardErrorText(errnum::InternalError));
    }
}

void fillSlot(FsErrorSlot& slot, const ErrObject& err, const QString& module, const QString& proc) {
    slot = FsErrorSlot{};
    slot.number = err.Number;
    slot.helpContext = err.HelpContext;
    slot.errClass = ErrorClasses::classOf(err.Number);
    if (err.Description.contains(u'!')) {
        // Handed over by a server: text!source!procedure!module!line!code pointer.
        const QStringList f = err.Description.split(u'!');
        auto field = [&](int i) {
            return i < f.size() && !f[i].trimmed().isEmpty() ? f[i].trimmed() : kUnknown;
        };
        slot.remote = true;
        slot.text = field(0);
        slot.rawSource = field(1);
        slot.source = slot.rawSource + QStringLiteral(" (remote)");
        slot.procedure = field(2);
        slot.module = field(3);
        slot.line = f.size() > 4 ? static_cast<int>(FsClientIni::val(f[4])) : 0;
        slot.codePointer = f.size() > 5 ? static_cast<qint64>(FsClientIni::val(f[5])) : 0;
    } else {
        slot.text = err.Description;
        slot.rawSource = err.Source;
        slot.source = err.Source + QStringLiteral(" (local)");
        slot.procedure = proc;
        slot.module = module;
        slot.line = err.Line;
        slot.codePointer = err.CodePointer;
    }
}

int chooseAction(const FsErrorSlot& slot) {
    if (TraceSettings::current().silentRun)
        return fsaction::Leave;
    if (!g.asker)
        return fsaction::Leave;
    QString userSaid;
    const QVariant answer = g.asker(slot, g.lastTree, fsErrorCount, &userSaid);
    fsUserSaid = Prompts::scripted() ? QString() : userSaid;
    bool ok = false;
    const int action = answer.toInt(&ok);
    if (!ok)
        raiseError(errnum::TypeMismatch);
    fsAction = action;
    return action;
}

bool mustWait() {
    return fsInError && QCoreApplication::instance() &&
           QThread::currentThread()->loopLevel() > g.errorLoopLevel;
}

} // namespace

void ErrorTrap::waitWhileHeld() {
    // Only events that the dialog's own loop lets through are held here; the trap's own
    // calls (at the trap's loop level) go on.
    while (mustWait())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

void ErrorTrap::internalError(int number, const QString& description) {
    try {
        Prompts::msgBox(QString::number(number) + QStringLiteral(", '") + description +
                            QStringLiteral("', inside FAILSAFE.BAS"),
                        vb::vbOKOnly | vb::vbCritical, QStringLiteral("FailSafe"));
    } catch (...) {
        qWarning("%s", qPrintable(fsText(24) + QString::number(number) + fsText(25) +
                                  QString::number(0)));
    }
}

void ErrorTrap::setAsker(Asker asker) {
    g.asker = std::move(asker);
}

void ErrorTrap::reset() {
    fsInError = false;
    fsAction = fsaction::Leave;
    fsUserSaid.clear();
    fsErrorCount = 0;
    g.trapBase = -1;
    g.errorLoopLevel = INT_MAX;
    g.inProgress.fill(FsErrorSlot{});
    g.errLevel = 0;
    g.lastError = FsErrorSlot{};
    g.lastTree.clear();
    g.sysReport.clear();
    g.sysReportMade = false;
}

int fsERROR(const QString& ModuleFile, const QString& ProcName) {
    // Before anything can clear it.
    const ErrObject saved = Err;
    const bool wasInError = fsInError;
    const int savedLoopLevel = g.errorLoopLevel;
    // An error during the dialog of another lets that one's pending events run first.
    if (fsInError && QCoreApplication::instance())
        QCoreApplication::processEvents();
    fsInError = true;
    g.errorLoopLevel = QThread::currentThread()->loopLevel();
    const int level = g.errLevel++;
    FsErrorSlot& slot = g.inProgress[qMin(level, kErrorSlots - 1)];
    int action = fsaction::Leave;
    fsAction = fsaction::Leave;
    fsUserSaid.clear();
    g.sysReport.clear();
    g.sysReportMade = false;
    ++fsErrorCount;

    guarded([] {
        if (!fsStarted)
            fsSTART();
    });
    guarded([&] {
        fillSlot(slot, saved, ModuleFile, ProcName);
        g.lastError = slot;
        const TraceStack::Levels where = TraceStack::whereErrorArose();
        g.lastTree = CallTree::build(where.entries, where.codePointers, g.trapBase, ModuleFile,
                                     ProcName, slot);
    });
    guarded([&] { TraceLog::trapLine(slot); });
    guarded([&] {
        if (TraceSettings::current().forceSystemInfo)
            fsSystemReport();
    });
    guarded([&] { action = chooseAction(slot); });
    // "TrackRecord": the defect record is left to the remote report, which replaces it.
    // "email": the mailed report is left to the remote report, which replaces it.
    guarded([&] {
        if (TraceSettings::current().writeToDisk)
            TraceLog::errorReport(slot, g.lastTree);
    });
    Err.clear();
    --g.errLevel;
    g.errorLoopLevel = savedLoopLevel;
    // A nested error leaves the dialog of the outer one holding events back.
    fsInError = level > 0 && wasInError;
    return action;
}

FsErrorSlot fsCurrentError() {
    if (g.errLevel > 0)
        return g.inProgress[qMin(g.errLevel - 1, kErrorSlots - 1)];
    return g.lastError;
}

QStringList fsCallTree() {
    return g.lastTree;
}

QString fsSystemReport() {
    if (!g.sysReportMade) {
        g.sysReport = SystemReport::make();
        g.sysReportMade = true;
    }
    return g.sysReport;
}

bool fsSystemReportMade() {
    return g.sysReportMade;
}

namespace fs {

void runUnheld(const std::function<void()>& f) {
    const int saved = g.errorLoopLevel;
    if (saved != INT_MAX && QCoreApplication::instance())
        g.errorLoopLevel = QThread::currentThread()->loopLevel();
    try {
        f();
    } catch (...) {
        g.errorLoopLevel = saved;
        throw;
    }
    g.errorLoopLevel = saved;
}

void trapImpl(const char* module, const char* proc, const std::function<void()>& body) {
    const long base = fsCallDepth;
    for (;;) {
        // A copy left by an error that someone else caught is not this one's.
        noteHandled();
        try {
            body();
            return;
        } catch (const AppError& e) {
            Err.set(e);
        } catch (const std::bad_alloc&) {
            Err.set(AppError(errnum::OutOfMemory));
        } catch (const std::exception& e) {
            Err.set(AppError(errnum::InternalError, QString::fromLocal8Bit(e.what())));
        } catch (...) {
            Err.set(AppError(errnum::InternalError));
        }
        const long savedBase = g.trapBase;
        g.trapBase = base;
        const int action = fsERROR(QString::fromLatin1(module), QString::fromLatin1(proc));
        g.trapBase = savedBase;
        noteHandled();
        // Break to the debugger has no debugger to go to in a release build: it retries.
        if (action == fsaction::Retry || action == fsaction::Break)
            continue;
        return;
    }
}

} // namespace fs
