#include "library/DiscQueries.h"

#include "failsafe/modFailSafe.h"
#include "library/Recordset.h"

namespace {
const char* const kModule = "DiscQueries";
} // namespace

namespace library {

void selectAllDiscs(Recordset& cds) {
    FS_PROC(kModule, "Sub selectAllDiscs");
    cds.setRecordSource(QStringLiteral("SELECT * FROM CDs"));
}

void findEmptyDriveRecord(Recordset& cds) {
    FS_PROC(kModule, "Sub findEmptyDriveRecord");
    cds.FindFirst(QStringLiteral("cdLen = ?"), {0});
}

void findDiscByLengths(Recordset& cds, qint64 cdLen, qint64 track1Len) {
    FS_PROC(kModule, "Sub findDiscByLengths", FS_ARG(cdLen), FS_ARG(track1Len));
    cds.FindFirst(QStringLiteral("cdLen = ? AND track1Len = ?"), {cdLen, track1Len});
}

} // namespace library
