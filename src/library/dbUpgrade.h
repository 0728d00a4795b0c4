#pragma once

// Adoption of an older installation's library and the upgrade of the library's fields.
//
// Thread: UI thread only.
void handleOldMDB();
void AppendNewFields();
