#pragma once

// Start-up steps of the digital audio reader.
//
// Thread: UI thread only.

// Removes the "drivers" folder that an older digital-audio installation left behind.
void cleanupASPI();
void CDandRecordingSetup();
