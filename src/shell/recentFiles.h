#pragma once

// The recent wave files of the File menu.
//
// Thread: UI thread only.
void getMRUs();
