#include "shell/recentFiles.h"

#include "failsafe/modFailSafe.h"

// Placeholder: the wave-file work fills the File menu from the "Recent Files" settings.
void getMRUs() {
    FS_PROC("recentFiles", "Sub getMRUs");
}
