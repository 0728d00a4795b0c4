#include "library/LoopQueries.h"

#include "failsafe/modFailSafe.h"
#include "library/Recordset.h"

namespace {
const char* const kModule = "LoopQueries";

QString waveLoopSource() {
    return QStringLiteral(
        "SELECT * FROM WaveLoopPoints WHERE waveFileID = ? ORDER BY WaveLoopPoints.startTime");
}
} // namespace

namespace library {

void selectDiscLoops(Recordset& loops, const QVariant& cdId) {
    FS_PROC(kModule, "Sub selectDiscLoops", FS_ARG(cdId));
    loops.setRecordSource(
        QStringLiteral("SELECT * FROM LoopPoints WHERE CDid = ? ORDER BY startTime"), {cdId});
}

void selectWaveLoops(Recordset& loops, const QVariant& waveFileId) {
    FS_PROC(kModule, "Sub selectWaveLoops", FS_ARG(waveFileId));
    loops.setRecordSource(waveLoopSource(), {waveFileId});
}

bool holdsWaveLoopsOf(const Recordset& loops, const QVariant& waveFileId) {
    FS_PROC(kModule, "Function holdsWaveLoopsOf", FS_ARG(waveFileId));
    // The first row stands for all of them: the source selects one file's loops only.
    return loops.RecordSource() == waveLoopSource() &&
           loops.valueAt(0, QStringLiteral("waveFileID")) == waveFileId;
}

void findLoopStartingAt(Recordset& loops, qint64 startMs) {
    FS_PROC(kModule, "Sub findLoopStartingAt", FS_ARG(startMs));
    loops.FindFirst(QStringLiteral("startTime = ?"), {startMs});
}

void findFirstLoopStartingFrom(Recordset& loops, qint32 positionMs) {
    FS_PROC(kModule, "Sub findFirstLoopStartingFrom", FS_ARG(positionMs));
    loops.FindFirst(QStringLiteral("startTime >= ?"), {positionMs});
}

} // namespace library
