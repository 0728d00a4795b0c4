#include "transform/digitalAudio.h"

#include "app/AppPaths.h"
#include "app/AppUtilities.h"
#include "failsafe/modFailSafe.h"

#include <QDir>

void cleanupASPI() {
    FS_PROC("digitalAudio", "Sub cleanupASPI");
    const QString drivers = appDir() + QStringLiteral("/drivers");
    if (QDir(drivers).exists())
        deleteTree(drivers + u'/');
}

// Placeholder: digital extraction sets up the reader and the recording mode here.
void CDandRecordingSetup() {
    FS_PROC("digitalAudio", "Sub CDandRecordingSetup");
}
