#pragma once

#include <QString>

class Recordset;

// The wave files the library has filed, each known by its folder and name.
//
// Thread: UI thread only.
namespace library {

// Points the control at every filed wave file; the rows are read at its next Refresh or
// Requery.
void selectAllWaveFiles(Recordset& waveFiles);

// The file's record, NoMatch when it was never filed. Folder and name must both agree: the
// same name in another folder is another recording.
void findWaveFile(Recordset& waveFiles, const QString& name, const QString& path);

} // namespace library
