#include "shell/hints.h"

#include "failsafe/modFailSafe.h"

// Placeholder: the hints work keeps every control's tooltip so they can be turned off.
void stashTooltips() {
    FS_PROC("hints", "Sub stashTooltips");
}

// Placeholder: the hints work shows or hides the tooltips by the ShowTooltips preference.
void checkTooltips() {
    FS_PROC("hints", "Sub checkTooltips");
}

// Placeholder: the hints work shows the named hint window unless it was turned off.
void ShowHint(const QString& hintName) {
    FS_PROC("hints", "Sub ShowHint", FS_ARG(hintName));
}
