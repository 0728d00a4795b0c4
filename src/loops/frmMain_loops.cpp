// The loop procedures that the transports call. Placeholders: the loops work replaces each
// with its loop playback, grid highlighting and detail view.
#include "app/frmMain.h"
#include "failsafe/modFailSafe.h"

namespace {
const char* const kModule = "main form";
}

void frmMain::playLoop() {
    FS_PROC(kModule, "Sub playLoop");
    ++loopRestarts; // placeholder: plays the current loop from its in to its out point
}

void frmMain::btnLoopPlay_Click() {
    FS_PROC(kModule, "Sub btnLoopPlay_Click");
    playLoop(); // placeholder: arms the loop and plays it, or SlowPlay's loop in SlowPlay
}

void frmMain::highlightLoopPoint() {
    FS_PROC(kModule, "Sub highlightLoopPoint"); // placeholder: moves the loops grid's row
}

void frmMain::showLoopDetails() {
    FS_PROC(kModule, "Sub showLoopDetails"); // placeholder: the view's loop detail columns
}
