#pragma once

#include <functional>

// Process start and end.
//
// Thread: UI thread only.

// The entry procedure: prepares the program directory, shows the splash and loads the main
// window. Returns when start-up has been handed to the event loop (or refused).
void Main();
void initializePhase2();
// The one way out of the process.
void exitProgram(bool restart = false);
void closeAllForms();
// Takes the desktop's audio-CD autoplay away (false) or gives it back (true).
void autoplay(bool restore);

// The status the process will end with when exitProgram ends it (0 unless a fault asked
// for another).
void requestExitStatus(int status);
// Whether exitProgram has ended the process, and with which status.
bool processEnded();
int processExitStatus();
// What "end the process" does: by default it leaves the event loop with the status.
void setEndProcessHandler(std::function<void(int)> handler);
// Puts the process-end state back to the beginning (tests start the program many times).
void resetProcessState();
