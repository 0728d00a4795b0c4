#include "library/dbUpgrade.h"

#include "failsafe/modFailSafe.h"

// Placeholder: the library store brings the adoption of an older library file.
void handleOldMDB() {
    FS_PROC("Main", "Sub handleOldMDB");
}

// Placeholder: the library store brings the field-by-field upgrade of the library file.
void AppendNewFields() {
    FS_PROC("dbUpgrade", "Sub AppendNewFields");
}
