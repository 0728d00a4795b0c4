#pragma once

#include <QString>

// The entries of the time-scale engine that start-up and shutdown need.
//
// Thread: UI thread. The engine's end callback arrives from its worker thread and only
// arms a timer through a queued call.

using MFPlayFileCallBack = void (*)(int jobResult);

int MFPlayFileInit(const QString& libraryName);
int MFPlayFileRegisterCallBack(MFPlayFileCallBack callback);
void MFPlayFileCleanUp();
// Stops a running transformation job; harmless when none runs.
void stopDLL();
// The engine's end callback (hands over to the UI thread).
void slowPlayCallBack(int jobResult);
