#include "app/globals.h"

stateVariable* playState = nullptr;
bool gvInSlowPlay = false;
bool gvExiting = false;
bool gvInStartup = false;
bool gvFirstRun = false;
bool gvDebugging = false;
bool gvRecordingLoop = false;
bool gvPlayRequested = false;
qint16 gvHighlightedTrack = 0;
bool gvDigitalRecordingOK = false;
qint16 gvDriveCount = 0;
qint16 gvDisplayQuality = 20;
bool gvKeyForwarding = false;
bool gvSlowFileReady = false;
bool suppressTrackHighlight = false;

qint16 gvRecordingChannels = 1;
qint32 gvTrueSampleRate = 44100;
float gvSamplesPerMs = 44.1f;

bool gvShowTips = true;
bool gvAutoSlow = true;
bool gvPreviewEnd = false;
bool gvDeleteTempFiles = true;
bool gvShowTooltips = true;
bool gvRealtime = true;
qint16 gvSoundQuality = 3;
qint16 gvRecordMode = 2;
qint16 gvRecordingDepth = 16;
qint32 gvRecordingSampleRate = 44100;
bool gvAutomaticallySetRecordingMixer = true;
qint16 gvChannelToTransform = 0;
qint16 gvDigCDNum = 1;
bool gvSwitchToDigitalAskedAndAnswered = true;

void resetGlobals() {
    // playState belongs to the main window, which sets it and clears it when it goes.
    gvInSlowPlay = false;
    gvExiting = false;
    gvInStartup = false;
    gvFirstRun = false;
    gvDebugging = false;
    gvRecordingLoop = false;
    gvPlayRequested = false;
    gvHighlightedTrack = 0;
    gvDigitalRecordingOK = false;
    gvDriveCount = 0;
    gvDisplayQuality = 20;
    gvKeyForwarding = false;
    gvSlowFileReady = false;
    suppressTrackHighlight = false;
    gvRecordingChannels = 1;
    gvTrueSampleRate = 44100;
    gvSamplesPerMs = 44.1f;
    gvShowTips = true;
    gvAutoSlow = true;
    gvPreviewEnd = false;
    gvDeleteTempFiles = true;
    gvShowTooltips = true;
    gvRealtime = true;
    gvSoundQuality = 3;
    gvRecordMode = 2;
    gvRecordingDepth = 16;
    gvRecordingSampleRate = 44100;
    gvAutomaticallySetRecordingMixer = true;
    gvChannelToTransform = 0;
    gvDigCDNum = 1;
    gvSwitchToDigitalAskedAndAnswered = true;
}
