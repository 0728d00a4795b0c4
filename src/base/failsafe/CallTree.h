#pragma once

#include <QList>
#include <QString>
#include <QStringList>

struct FsErrorSlot;

// The call tree of an error, taken apart from the stack entries of the levels where it
// arose (see TraceStack): one line per level, outermost first, indented by a tab per
// level, "procedure : module : arguments" and a marker:
//   " : Trap : Runtime error n, text on line l"  the level that traps the error
//   " : Error"                                   the innermost level below the trap
//   " : Code : Code Pointer = n"                 a level that knows its code pointer
//   " : Call"                                    any other level
//
// Thread: any (works on the texts it is given).
class CallTree {
public:
    // trapBase: the depth at which the running trap was entered, or -1 when fsERROR was
    // called directly; then the trap is the innermost level of module and proc.
    static QStringList build(const QList<QString>& entries, const QList<qint64>& codePointers,
                             long trapBase, const QString& module, const QString& proc,
                             const FsErrorSlot& error);
};
