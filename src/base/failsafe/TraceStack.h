#pragma once

#include <QLatin1StringView>
#include <QList>
#include <QString>

// The stack of running procedures behind fsPUSH, fsPOP and fsCallStackLines (declared in
// modFailSafe.h), and the copy of it that an exception leaves for the trap.
//
// An entry is "module : procedure : (arguments) : depth", indented by a tab per level
// below the first. Level 0 holds the start stamp; levels past fsMaxDepth are counted in
// fsCallDepth but not kept.
//
// Thread: UI thread only. The stack has no lock; debug builds stop at a traced call from
// any other thread.

inline constexpr QLatin1StringView kEntrySep(" : ");

class TraceStack {
public:
    // Every level empty; level 0 holds the start stamp.
    static void start(const QString& startEntry);
    static void reset();

    struct Levels {
        QList<QString> entries;
        QList<qint64> codePointers;
    };
    // The levels where the error being trapped arose, outermost first: the copy taken when
    // its exception first left a frame, or else the running stack.
    static Levels whereErrorArose();
};
