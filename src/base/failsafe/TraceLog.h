#pragma once

#include <QString>
#include <QStringList>
#include <QStringView>

struct FsErrorSlot;
struct TraceSettings;

// The trace's output. "Capture To Disk" and the circular log take the lines:
//   [program] [nnnnn] [ttttt.tttt] ->entry        a call
//   [program] [nnnnn] [ttttt.tttt] <- : proc ...  a return
//   [program] [nnnnn] [ttttt.tttt] << ERROR >> n at proc : module: Line l
// with the start lines before them; "Write To Disk" takes the error report. The time is
// the trace's clock less what the trace spent on itself, in units of 10 seconds.
//
// Thread: UI thread only (the trace's thread).
class TraceLog {
public:
    // Opens the outputs the settings ask for and writes the start lines.
    static void start(const TraceSettings& settings);
    static void reset();

    // Whether a line goes anywhere; without an output the trace keeps no time either.
    static bool active();
    static qint64 nowNs();
    // Time the trace spent on itself, left out of the times the lines show.
    static void addSelfTime(qint64 ns);

    // entry: the stack entry as it stands before its depth is added.
    static void callLine(const QString& entry);
    static void returnLine(const QString& entry);
    static void trapLine(const FsErrorSlot& error);
    // The report of "Write To Disk": the error, its call tree, what the user said and the
    // system report.
    static void errorReport(const FsErrorSlot& error, const QStringList& callTree);
};
