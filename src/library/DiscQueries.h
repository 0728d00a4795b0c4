#pragma once

#include <QtGlobal>

class Recordset;

// The discs the library knows, record 1 among them standing for an empty drive.
//
// Thread: UI thread only.
namespace library {

// Points the control at every disc; the rows are read at its next Refresh or Requery.
void selectAllDiscs(Recordset& cds);

// The record shown while no disc is in the drive. NoMatch only in a library that lost it.
void findEmptyDriveRecord(Recordset& cds);

// A disc is known by its total length and its first track's length together: either alone
// is shared by too many discs.
void findDiscByLengths(Recordset& cds, qint64 cdLen, qint64 track1Len);

} // namespace library
