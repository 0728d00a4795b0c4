#include "library/WaveFileQueries.h"

#include "failsafe/modFailSafe.h"
#include "library/Recordset.h"

namespace {
const char* const kModule = "WaveFileQueries";
} // namespace

namespace library {

void selectAllWaveFiles(Recordset& waveFiles) {
    FS_PROC(kModule, "Sub selectAllWaveFiles");
    waveFiles.setRecordSource(QStringLiteral("SELECT * FROM \"Wave Files\""));
}

void findWaveFile(Recordset& waveFiles, const QString& name, const QString& path) {
    FS_PROC(kModule, "Sub findWaveFile", FS_ARG(name), FS_ARG(path));
    waveFiles.FindFirst(QStringLiteral("waveFileName = ? AND waveFilePath = ?"), {name, path});
}

} // namespace library
