#pragma once

class Recordset;

// The last pitch change is kept per track of a disc and per wave file, not per loop: the
// record that keeps it for a loop is its track (found by the loop's TrackNum) in a disc's
// view, and its wave file (found by the loop's waveFileID) otherwise.
//
// Thread: UI thread only.
namespace library {

// Moves owners to the current loop's owner; NoMatch tells whether there was one. The caller
// passes the recordset to search. The tracks hold no wave file: searching them in a wave
// file's view raises an error, which the look-up of the pitch to start from ignores.
void findPitchOwner(Recordset& owners, const Recordset& loops, bool discView);

} // namespace library
