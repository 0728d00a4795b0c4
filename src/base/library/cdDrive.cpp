#include "library/cdDrive.h"

#include "failsafe/modFailSafe.h"

// Placeholder: the CD drive discovery asks the drive whether another program holds it.
void checkForCDOwnership() {
    FS_PROC("cdDrive", "Sub checkForCDOwnership");
}

// Placeholder: the CD drive discovery counts the drives libcdio finds.
qint16 driveCount() {
    FS_PROC("cdDrive", "Function driveCount");
    return 0;
}

// Placeholder: the CD drive discovery chooses the drive on the first run.
void setCDdrive() {
    FS_PROC("cdDrive", "Sub setCDdrive");
}
