#pragma once

#include <QString>
#include <functional>

class TimeScaleEngine;

// The entries of the time-scale engine: one process-wide engine, one job at a time. A job
// turns an input wave file into an output wave file that lasts speedFactor times as long at
// pitchFactor times the pitch, and with playNow 1 is heard while it is computed.
//
// Thread: every entry on the UI thread. The end callback is called on the engine's worker
// thread, once per job (a stopped job too); it must do nothing but hand over to the UI
// thread.

using MFPlayFileCallBack = void (*)(int jobResult);

// The name is kept for the record only: there is one engine, built in.
qint16 MFPlayFileInit(const QString& engineLibrary);
qint16 MFPlayFileRegisterCallBack(MFPlayFileCallBack callback);
// Returns 0 once the job runs, in both modes, or one of the engine's refusals (2..6, see
// slowPlayErrorMessage). bands 512/1024/2048 picks the engine; fixedOne is always 1;
// channelChoice 0 both channels, 1 the right one only, 2 the left one only.
qint32 MFPlayFileStart(const QString& inputFile, double pitchFactor, double speedFactor,
                       qint16 bands, qint16 fixedOne, const QString& outputFile, qint16 playNow,
                       qint16 channelChoice);
// Ends a running job and its sound; harmless when none runs.
qint16 MFPlayFileStop();
qint16 MFPlayFileCleanUp();

// The words for an engine result other than 0 and 1.
QString slowPlayErrorMessage(int code);

// The callback registered at start-up. It forwards to the handler the main window installs
// (a queued hand-over to its timer); without a handler the end is dropped.
void slowPlayCallBack(int jobResult);
void setSlowPlayCallbackHandler(std::function<void(int)> handler);

// The engine itself, for measurements and tests.
TimeScaleEngine& slowPlayEngine();
