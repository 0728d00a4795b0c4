#pragma once

#include <QVariant>
#include <QtGlobal>

class Recordset;

// The loops control holds either a disc's loops (LoopPoints) or a wave file's
// (WaveLoopPoints), always in the order of their starts. The finds work on either table, since
// both keep a loop's start as startTime.
//
// Thread: UI thread only.
namespace library {

// Point the control at the loops; the rows are read at its next Refresh or Requery, which
// the caller chooses because one keeps the current loop and the other does not.
void selectDiscLoops(Recordset& loops, const QVariant& cdId);
void selectWaveLoops(Recordset& loops, const QVariant& waveFileId);

// Whether the control already holds that wave file's loops, so that they need not be
// selected again. A file with no loops yet never counts as held.
bool holdsWaveLoopsOf(const Recordset& loops, const QVariant& waveFileId);

// The first loop in order that starts exactly there; of two loops with the same start the
// first always wins. NoMatch tells whether there was one; without one the current loop stays.
void findLoopStartingAt(Recordset& loops, qint64 startMs);

// The first loop in order that starts at or after the position, NoMatch when none does.
void findFirstLoopStartingFrom(Recordset& loops, qint32 positionMs);

} // namespace library
