#pragma once

#include <QVariant>

class Recordset;

// A disc's tracks, in the order of their numbers.
//
// Thread: UI thread only.
namespace library {

// Points the control at the disc's tracks; the rows are read at its next Refresh or Requery.
void selectDiscTracks(Recordset& tracks, const QVariant& cdId);

// The track with that number, NoMatch when the disc has none. A Null number (a loop never
// given a track) finds nothing rather than an unnumbered track.
void findTrack(Recordset& tracks, const QVariant& trackNum);

} // namespace library
