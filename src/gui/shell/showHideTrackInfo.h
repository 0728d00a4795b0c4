#pragma once

// Shows or hides the current disc's track fields on the main window (the track comments
// label, the disc comments and the tracks grid). In SlowPlay nothing of them may show, so
// showing does nothing there.
void showHideTrackInfo(bool arf);
