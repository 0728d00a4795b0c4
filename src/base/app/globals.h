#pragma once

#include <QString>

class stateVariable;

// The program's shared globals. Those named after a preference hold that preference's value.
//
// Thread: UI thread only.

extern stateVariable* playState;
extern bool gvInSlowPlay;
extern bool gvExiting;
extern bool gvInStartup;
extern bool gvFirstRun;
extern bool gvDebugging;
extern bool gvRecordingLoop;
extern bool gvPlayRequested;
extern qint16 gvHighlightedTrack;
// Keeps the tracks grid from following the music; cleared at start and never set for now.
extern bool suppressTrackHighlight;
extern bool gvDigitalRecordingOK;
extern qint16 gvDriveCount;
extern qint16 gvDisplayQuality;
extern bool gvKeyForwarding;
// "tempslow.wav" is complete and WaveControl plays it.
extern bool gvSlowFileReady;

// The recording format in force (getRecordingSubPrefs).
extern qint16 gvRecordingChannels;
extern qint32 gvTrueSampleRate;
extern float gvSamplesPerMs;

// Preferences kept in memory.
extern bool gvShowTips;
extern bool gvAutoSlow;
extern bool gvPreviewEnd;
extern bool gvDeleteTempFiles;
extern bool gvShowTooltips;
extern bool gvRealtime;
extern qint16 gvSoundQuality;
extern qint16 gvRecordMode;
extern qint16 gvRecordingDepth;
extern qint32 gvRecordingSampleRate;
extern bool gvAutomaticallySetRecordingMixer;
extern qint16 gvChannelToTransform;
extern qint16 gvDigCDNum;
extern bool gvSwitchToDigitalAskedAndAnswered;

// Puts every global back to its value at process start (tests run many start-ups).
void resetGlobals();
