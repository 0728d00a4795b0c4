#pragma once

// Start-up steps of the digital audio reader and the choice between digital and analog
// capture.
//
// Thread: UI thread only.

// Removes the "drivers" folder that an older digital-audio installation left behind.
void cleanupASPI();
void CDandRecordingSetup();
// Whether this user can read the drive digitally.
bool ASPIsetupOK();
// The record mode's default and its corrections when digital reading isn't possible.
void RecordModeSet(bool digitalOK);
