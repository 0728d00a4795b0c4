// Disc transport entries that the grids call. Placeholders: the CD transport work replaces
// each with its track switch and play.
#include "app/frmMain.h"
#include "failsafe/modFailSafe.h"

namespace {
const char* const kModule = "main form";
}

void frmMain::switchToTrack(qint16 x) {
    FS_PROC(kModule, "Sub switchToTrack", FS_ARG(x)); // placeholder: points the disc at track x
}

void frmMain::playFromTrack(qint16 x) {
    FS_PROC(kModule, "Sub playFromTrack", FS_ARG(x)); // placeholder: plays the disc from track x
}
