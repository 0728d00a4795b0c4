#pragma once

#include <QString>
#include <QtGlobal>

// Finding the drive that plays audio CDs: at the first start, and when the user asks from the
// options. The drives are lettered as CdDrives finds them ("D", "E", ...); the chosen one is
// the preference "MCI CD letter".
//
// Thread: UI thread only.

// All CD drive letters, upper case, run together ("DE").
QString cdDriveLetters();
// The n-th drive's letter from 1, empty if there is none.
QString GetNthCdRomDriveLetter(int n);
qint16 driveCount();
void setCDdrive();
void CDsetup();
void CDmciSetup();
void checkForCDOwnership();
