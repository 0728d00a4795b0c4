#include "failsafe/CallTree.h"

#include "failsafe/TraceStack.h"
#include "failsafe/modFailSafe.h"

namespace {

struct Level {
    int depth = 0;
    QString module;
    QString proc;
    QString args;
    qint64 codePointer = 0;
};

Level parseEntry(const QString& entry, int depth, qint64 codePointer) {
    Level l;
    l.depth = depth;
    l.codePointer = codePointer;
    QStringView e(entry);
    while (e.startsWith(u'\t'))
        e = e.mid(1);
    const qsizetype a = e.indexOf(kEntrySep);
    if (a < 0) {
        l.module = e.toString();
        return l;
    }
    l.module = e.left(a).toString();
    e = e.mid(a + kEntrySep.size());
    const qsizetype b = e.indexOf(kEntrySep);
    if (b < 0) {
        l.proc = e.toString();
        return l;
    }
    l.proc = e.left(b).toString();
    e = e.mid(b + kEntrySep.size());
    // The depth behind the last separator is the line's position already.
    const qsizetype c = e.lastIndexOf(kEntrySep);
    l.args = (c < 0 ? e : e.left(c)).toString();
    return l;
}

QString treeLine(const Level& l, const QString& marker) {
    QString s(qMax(0, l.depth - 1), u'\t');
    s += l.proc + kEntrySep + l.module;
    if (!l.args.isEmpty())
        s += kEntrySep + l.args;
    return s + marker;
}

} // namespace

QStringList CallTree::build(const QList<QString>& entries, const QList<qint64>& codePointers,
                            long trapBase, const QString& module, const QString& proc,
                            const FsErrorSlot& error) {
    QList<Level> levels;
    for (qsizetype i = 0; i < entries.size(); ++i)
        levels.append(
            parseEntry(entries[i], int(i + 1), i < codePointers.size() ? codePointers[i] : 0));

    auto matches = [&](const Level& l) { return l.module == module && l.proc == proc; };
    qsizetype trap = -1;
    if (trapBase >= 0) {
        if (trapBase < levels.size() && matches(levels[trapBase]))
            trap = trapBase;
    } else {
        for (qsizetype i = levels.size() - 1; i >= 0 && trap < 0; --i) {
            if (matches(levels[i]))
                trap = i;
        }
    }
    if (trap < 0) {
        // The trap has no frame of its own (its body called straight into another
        // procedure): it is shown as a level of its own where it was entered.
        const qsizetype at =
            trapBase >= 0 ? qMin<qsizetype>(trapBase, levels.size()) : levels.size();
        Level t;
        t.depth = int(at + 1);
        t.module = module;
        t.proc = proc;
        for (qsizetype i = at; i < levels.size(); ++i)
            ++levels[i].depth;
        levels.insert(at, t);
        trap = at;
    }
    const QString trapMarker = QStringLiteral(" : Trap : Runtime error ") +
                               QString::number(error.number) + QStringLiteral(", ") + error.text +
                               QStringLiteral(" on line ") + QString::number(error.line);
    QStringList lines;
    for (qsizetype i = 0; i < levels.size(); ++i) {
        const Level& l = levels[i];
        QString marker;
        if (i == trap)
            marker = trapMarker;
        else if (i == levels.size() - 1 && i > trap)
            marker = QStringLiteral(" : Error");
        else if (l.codePointer != 0)
            marker = QStringLiteral(" : Code : Code Pointer = ") + QString::number(l.codePointer);
        else
            marker = QStringLiteral(" : Call");
        lines.append(treeLine(l, marker));
    }
    return lines;
}
