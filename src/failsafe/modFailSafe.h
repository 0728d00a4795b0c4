#pragma once

#include "failsafe/AppError.h"

#include <QString>
#include <QStringList>
#include <QVariant>
#include <exception>
#include <functional>
#include <type_traits>
#include <utility>

// The procedure trace: every procedure reports its entry and exit, so that when a run-time
// error is trapped the error dialog and the logs can show the whole call tree with the
// arguments of each level.
//
// Thread: UI thread only. Worker threads (audio, time-scale engine) never trace.

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

void fsSTART();
void fsPUSH(const char* ModuleFile, const char* ProcName, const QString& ArgText);
void fsPOP(const char* ModuleFile, const char* ProcName, const QString& ArgText);
// Reads the error object Err; shows the dialog (unless "Silent Run"), writes the logs and
// returns the action.
int fsERROR(const QString& ModuleFile, const QString& ProcName);

// The texts of the trace module, by number.
QString fsText(int number);

// The running procedures, top of the stack last, as the error dialog and the logs show them.
QStringList fsCallStackLines();

// Resets every piece of module state, so that a test (or a restart of the trace after
// FSCLIENT.INI changed) starts from nothing. Not used by the program itself.
void fsReset();

namespace fs {

// "(name=value, ...)": numbers and strings as text, Booleans as True/False.
inline void appendArgValue(QString& out, const QString& v) { out += v; }
inline void appendArgValue(QString& out, const char* v) { out += QLatin1StringView(v); }
inline void appendArgValue(QString& out, bool v) {
    out += v ? QLatin1StringView("True") : QLatin1StringView("False");
}
void appendArgValue(QString& out, const QVariant& v);
template <class T>
    requires(std::is_arithmetic_v<T> && !std::is_same_v<T, bool>)
inline void appendArgValue(QString& out, T v) {
    out += QString::number(v);
}
// Objects and pointers are not printed.
template <class T> inline void appendArgValue(QString& out, T* const&) { out += u"<object>"; }

inline void appendArgs(QString&, bool) {}
template <class V, class... Rest>
void appendArgs(QString& out, bool first, const char* name, const V& value, Rest&&... rest) {
    if (!first)
        out += QLatin1StringView(", ");
    out += QLatin1StringView(name);
    out += QLatin1Char('=');
    appendArgValue(out, value);
    appendArgs(out, false, std::forward<Rest>(rest)...);
}

template <class... Args> QString argText(Args&&... args) {
    QString out;
    out.reserve(32);
    out += QLatin1Char('(');
    appendArgs(out, true, std::forward<Args>(args)...);
    out += QLatin1Char(')');
    return out;
}

// Called by a frame whose procedure is being left by an exception: the first such frame
// keeps a copy of the call stack so that the trap can show where the error arose.
void noteUnwinding();

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
        fsPOP(m_module, m_proc, m_args());
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
// "Sub cmdX_Click", [this] { cmdX_Click(); })).
template <class F> auto trapped(const char* module, const char* proc, F f) {
    return [module, proc, f](auto&&... args) {
        trap(module, proc, [&] { f(std::forward<decltype(args)>(args)...); });
    };
}

// "Errors are ignored": the statement runs, a run-time error is noted in Err and swallowed,
// and the caller goes on with its next statement.
template <class F> void ignoreErrors(F&& statement) {
    try {
        statement();
    } catch (const AppError& e) {
        Err.set(e);
    }
}

} // namespace fs

#define FS_ARG(x) #x, x
// One line at the top of every procedure: FS_PROC("main form", "Sub playLoop", FS_ARG(a)).
#define FS_PROC(module, proc, ...)                                                             \
    ::fs::Frame fsFrame_(module, proc, [&]() { return ::fs::argText(__VA_ARGS__); })
