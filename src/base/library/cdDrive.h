#pragma once

#include <QtGlobal>

// Finding the drive that plays audio CDs, at start-up.
//
// Thread: UI thread only.
void checkForCDOwnership();
qint16 driveCount();
void setCDdrive();
