#pragma once

#include "failsafe/AppError.h"
#include "failsafe/ArgText.h"
#include "failsafe/TraceTexts.h"

#include <QString>
#include <QStringList>
#include <exception>
#include <functional>
#include <type_traits>
#include <utility>

// The procedure trace: every procedure reports its entry and exit, so that when a run-time
// error is trapped the error dialog and the logs can show the whole call tree with the
// arguments of each level.
//
// The work stands in files of its own: TraceStack (fsPUSH, fsPOP, the stack), TraceLog
// (the log lines and the error report), ErrorTrap (fsERROR and the traps), CallTree,
// SystemReport, TraceSettings (FSCLIENT.INI), TraceTexts and ArgText. Callers need only
// this header.
//
// Thread: UI thread only. Worker threads (audio, time-scale engine) never trace; in a
// debug build fsPUSH and fsPOP stop the program when another thread calls them.

// Actions returned by fsERROR (the error dialog's answer).
namespace fsaction {
constexpr int Leave = 0;
constexpr int Retry = 1;
constexpr int ResumeNext = 2;
constexpr int Break = 5;
} // namespace fsaction

extern bool fsDisabled;
extern bool fsStarted;
extern bool fsInError;
extern long fsCallDepth;

// The answer of the error dialog, what the user typed in it, and how many errors this run
// has handled.
extern int fsAction;
extern QString fsUserSaid;
extern long fsErrorCount;

// The deepest level the stack records; calls below it are counted but not recorded.
constexpr long fsMaxDepth = 1000;

// One error in progress, as fsERROR took it apart. A description holding "!" is an error
// handed over by a server, in fields "text!source!procedure!module!line!code pointer";
// missing fields read "<unknown>".
struct FsErrorSlot {
    int number = 0;
    QString text;
    QString source; // with " (local)" or " (remote)" behind it
    QString rawSource;
    int errClass = 0;
    QString procedure;
    QString module;
    int line = 0; // 0: not known
    qint64 codePointer = 0;
    int helpContext = 0;
    bool remote = false;
};

void fsSTART();
void fsPUSH(const char* ModuleFile, const char* ProcName, const QString& ArgText);
// ArgText is not used: the return line shows the entry as it was pushed.
void fsPOP(const char* ModuleFile, const char* ProcName, const QString& ArgText);
// Reads the error object Err; shows the dialog (unless "Silent Run"), writes the logs and
// returns the action.
int fsERROR(const QString& ModuleFile, const QString& ProcName);

// The running procedures, top of the stack last, as the error dialog and the logs show them.
QStringList fsCallStackLines();

// The error fsERROR handles now, or handled last.
FsErrorSlot fsCurrentError();
// The call tree of that error, outermost level first: one line per level, procedure,
// module and arguments, marked " : Call", " : Code", " : Trap" or " : Error".
QStringList fsCallTree();

// The system state report of the error being handled, made on first use (and at once when
// "Force System Info" is set); it is made anew for each error.
QString fsSystemReport();
bool fsSystemReportMade();

// The log file of "Capture To Disk" and "Write To Disk" (read by fsSTART).
QString fsLogFileName();

// Memory figures of the machine, from /proc/meminfo: load in percent (100 - available *
// 100 / total) and available and total physical memory in bytes. ok is false when they
// can't be read.
struct FsMemoryStatus {
    bool ok = false;
    int load = 0;
    qint64 availPhys = 0;
    qint64 totalPhys = 0;
};
FsMemoryStatus fsMemoryStatus();

// Resets every piece of module state, so that a test (or a restart of the trace after
// FSCLIENT.INI changed) starts from nothing. Not used by the program itself.
void fsReset();

namespace fs {

// Called by a frame whose procedure is being left by an exception: the first such frame
// keeps a copy of the call stack so that the trap can show where the error arose.
void noteUnwinding();
// Runs f as a call of the trap's own (the error dialog asking a message box, making the
// report): traced procedures that f calls are not held back by the wait for the dialog's
// answer, while events of loops that f starts still are.
void runUnheld(const std::function<void()>& f);

// Called where a run-time error is caught and dealt with, so that the next error takes a
// fresh copy of the call stack.
void noteHandled();

// RAII trace frame: fsPUSH at construction, fsPOP on every exit path.
template <class ArgFn> class Frame {
public:
    Frame(const char* module, const char* proc, ArgFn args)
        : m_module(module), m_proc(proc), m_args(std::move(args)),
          m_uncaught(std::uncaught_exceptions()) {
        if (!fsDisabled)
            fsPUSH(m_module, m_proc, m_args());
    }
    ~Frame() {
        if (fsDisabled)
            return;
        if (std::uncaught_exceptions() > m_uncaught)
            noteUnwinding();
        // The return line shows the entry as it was pushed, so the tail has no use for a
        // fresh argument text: not building it halves the cost of a traced call.
        fsPOP(m_module, m_proc, QString());
    }
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;

private:
    const char* m_module;
    const char* m_proc;
    ArgFn m_args;
    int m_uncaught;
};

// The trap of an entry from the event loop: runs body; a run-time error goes to fsERROR,
// whose answer runs the body again (Retry, Break) or leaves it.
void trapImpl(const char* module, const char* proc, const std::function<void()>& body);
template <class F> void trap(const char* module, const char* proc, F&& body) {
    trapImpl(module, proc, std::function<void()>(std::forward<F>(body)));
}

// A slot that runs its handler under a trap: connect(..., fs::trapped("main form",
// "Sub cmdX_Click", [this] { cmdX_Click(); })). A handler that takes fewer arguments than
// the signal gives is called without them.
template <class F> auto trapped(const char* module, const char* proc, F f) {
    return [module, proc, f](auto&&... args) {
        trap(module, proc, [&] {
            if constexpr (std::is_invocable_v<const F&, decltype(args)...>)
                f(std::forward<decltype(args)>(args)...);
            else
                f();
        });
    };
}

// "Errors are ignored": the statement runs, a run-time error is noted in Err and swallowed,
// and the caller goes on with its next statement.
template <class F> void ignoreErrors(F&& statement) {
    try {
        statement();
    } catch (const AppError& e) {
        Err.set(e);
        noteHandled();
    }
}

} // namespace fs

#define FS_ARG(x) #x, x
// One line at the top of every procedure: FS_PROC("main form", "Sub playLoop", FS_ARG(a)).
#define FS_PROC(module, proc, ...)                                                                 \
    ::fs::Frame fsFrame_(module, proc, [&]() { return ::fs::argText(__VA_ARGS__); })
