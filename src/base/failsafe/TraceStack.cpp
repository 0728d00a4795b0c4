#include "failsafe/TraceStack.h"

#include "failsafe/ErrorTrap.h"
#include "failsafe/TraceLog.h"
#include "failsafe/modFailSafe.h"

#include <QCoreApplication>
#include <QThread>
#include <array>

bool fsDisabled = false;
bool fsStarted = false;
long fsCallDepth = 0;

namespace {

struct Stack {
    // Index = depth. Each entry keeps its buffer between calls, so that a procedure entered
    // again at the same depth costs no allocation.
    std::array<QString, fsMaxDepth + 1> entries;
    std::array<int, fsMaxDepth + 1> errFlags{};
    // No frame of this build knows its own code pointer; a level that is given one shows it
    // in the call tree as " : Code".
    std::array<qint64, fsMaxDepth + 1> codePointers{};
    quint64 pushSeq = 0;

    // Copy of the stack taken when an exception first leaves a frame.
    bool snapValid = false;
    long snapNextDepth = 0;
    quint64 snapPushSeq = 0;
    QList<QString> snap;
    QList<qint64> snapCodePointers;
};

Stack g;

bool onUiThread() {
    return !QCoreApplication::instance() ||
           QThread::currentThread() == QCoreApplication::instance()->thread();
}

// The entry is balanced when it holds ModuleFile, " : ", ProcName.
bool balanced(const QString& entry, const char* module, const char* proc) {
    const QLatin1StringView m(module);
    const QLatin1StringView p(proc);
    qsizetype from = 0;
    while (true) {
        const qsizetype at = entry.indexOf(m, from);
        if (at < 0)
            return false;
        const QStringView rest = QStringView(entry).mid(at + m.size());
        if (rest.startsWith(kEntrySep) && rest.mid(kEntrySep.size()).startsWith(p))
            return true;
        from = at + 1;
    }
}

} // namespace

void TraceStack::start(const QString& startEntry) {
    for (QString& e : g.entries)
        e.resize(0);
    g.errFlags.fill(0);
    g.codePointers.fill(0);
    g.entries[0] = startEntry;
}

void TraceStack::reset() {
    for (QString& e : g.entries)
        e = QString();
    g.errFlags.fill(0);
    g.codePointers.fill(0);
    g.pushSeq = 0;
    g.snapValid = false;
    g.snap.clear();
    g.snapCodePointers.clear();
    g.snapPushSeq = 0;
    g.snapNextDepth = 0;
}

TraceStack::Levels TraceStack::whereErrorArose() {
    if (g.snapValid)
        return {g.snap, g.snapCodePointers};
    const long top = qBound(0L, fsCallDepth, fsMaxDepth);
    return {fsCallStackLines(),
            QList<qint64>(g.codePointers.begin() + 1, g.codePointers.begin() + 1 + top)};
}

void fsPUSH(const char* ModuleFile, const char* ProcName, const QString& ArgText) {
    Q_ASSERT_X(onUiThread(), "fsPUSH", "a procedure traced outside the UI thread");
    if (fsDisabled)
        return;
    try {
        if (!fsStarted)
            fsSTART();
        if (fsInError)
            ErrorTrap::waitWhileHeld();
        const long d = ++fsCallDepth;
        ++g.pushSeq;
        // Below the deepest level the call is counted but not recorded.
        if (d < 1 || d > fsMaxDepth)
            return;
        const bool out = TraceLog::active();
        const qint64 t0 = out ? TraceLog::nowNs() : 0;
        QString& e = g.entries[d];
        e.resize(0);
        e.resize(d - 1, u'\t');
        e += QLatin1StringView(ModuleFile);
        e += kEntrySep;
        e += QLatin1StringView(ProcName);
        e += kEntrySep;
        e += ArgText;
        if (out) {
            g.errFlags[d] = 0;
            TraceLog::callLine(e);
        }
        e += kEntrySep;
        fs::appendArgValue(e, d);
        if (out)
            TraceLog::addSelfTime(TraceLog::nowNs() - t0);
    } catch (...) {
        // The trace never raises into the procedure that calls it.
    }
}

void fsPOP(const char* ModuleFile, const char* ProcName, const QString& ArgText) {
    Q_ASSERT_X(onUiThread(), "fsPOP", "a procedure traced outside the UI thread");
    Q_UNUSED(ArgText); // the return line shows the entry as it was pushed
    if (fsDisabled)
        return;
    try {
        if (!fsStarted)
            fsSTART();
        if (fsInError)
            ErrorTrap::waitWhileHeld();
        const long d = fsCallDepth;
        if (d > fsMaxDepth) {
            --fsCallDepth;
            return;
        }
        if (d < 1)
            return;
        QString& e = g.entries[d];
        // Outside a development environment an unbalanced exit changes nothing.
        if (!balanced(e, ModuleFile, ProcName))
            return;
        const bool out = TraceLog::active();
        const qint64 t0 = out ? TraceLog::nowNs() : 0;
        if (out)
            TraceLog::returnLine(e);
        e.resize(0);
        g.codePointers[d] = 0;
        g.errFlags[d] = 0;
        --fsCallDepth;
        if (out)
            TraceLog::addSelfTime(TraceLog::nowNs() - t0);
    } catch (...) {
    }
}

QStringList fsCallStackLines() {
    QStringList lines;
    const long top = qBound(0L, fsCallDepth, fsMaxDepth);
    lines.reserve(top);
    for (long d = 1; d <= top; ++d)
        lines.append(g.entries[d]);
    return lines;
}

namespace fs {

void noteUnwinding() {
    try {
        const long d = fsCallDepth;
        // The same exception passing the next frame out: the copy stands.
        if (g.snapValid && d == g.snapNextDepth && g.pushSeq == g.snapPushSeq) {
            g.snapNextDepth = d - 1;
            return;
        }
        const long top = qBound(0L, d, fsMaxDepth);
        g.snap.resize(top);
        g.snapCodePointers.resize(top);
        for (long i = 1; i <= top; ++i) {
            g.snap[i - 1] = g.entries[i];
            g.snapCodePointers[i - 1] = g.codePointers[i];
        }
        g.snapValid = true;
        g.snapNextDepth = d - 1;
        g.snapPushSeq = g.pushSeq;
    } catch (...) {
        // Called while unwinding: nothing may leave here.
    }
}

void noteHandled() {
    g.snapValid = false;
}

} // namespace fs
