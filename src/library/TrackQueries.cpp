#include "library/TrackQueries.h"

#include "failsafe/modFailSafe.h"
#include "library/Recordset.h"

namespace {
const char* const kModule = "TrackQueries";
} // namespace

namespace library {

void selectDiscTracks(Recordset& tracks, const QVariant& cdId) {
    FS_PROC(kModule, "Sub selectDiscTracks", FS_ARG(cdId));
    tracks.setRecordSource(
        QStringLiteral("SELECT * FROM Tracks WHERE CDid = ? ORDER BY CDid, TrackNum"), {cdId});
}

void findTrack(Recordset& tracks, const QVariant& trackNum) {
    FS_PROC(kModule, "Sub findTrack", FS_ARG(trackNum));
    tracks.FindFirst(QStringLiteral("TrackNum = ?"), {trackNum});
}

} // namespace library
