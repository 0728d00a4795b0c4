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
// Nothing can be installed for digital reading here: remembers that it was tried, and on a
// later try without Force turns digital reading off for the drive. Returns false.
bool installASPI(bool Force = false);
// Finds the drive the digital reader should use: the one holding the disc the player sees.
void setupACD();
// The record mode's default and its corrections when digital reading isn't possible.
void RecordModeSet(bool digitalOK);
