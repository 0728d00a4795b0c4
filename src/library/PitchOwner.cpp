#include "library/PitchOwner.h"

#include "failsafe/modFailSafe.h"
#include "library/Recordset.h"
#include "library/TrackQueries.h"

namespace {
const char* const kModule = "PitchOwner";
} // namespace

namespace library {

void findPitchOwner(Recordset& owners, const Recordset& loops, bool discView) {
    FS_PROC(kModule, "Sub findPitchOwner", FS_ARG(discView));
    if (discView)
        findTrack(owners, loops.field(QStringLiteral("TrackNum")));
    else
        owners.FindFirst(QStringLiteral("waveFileID = ?"),
                         {loops.field(QStringLiteral("waveFileID"))});
}

} // namespace library
