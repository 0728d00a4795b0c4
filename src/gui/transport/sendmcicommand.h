#pragma once

#include <QtGlobal>

// The one call that goes past the wave media control to its device: fixes depth, channels
// and rate of the next recording on the main window's WaveControl. False when the device
// refuses the format (or there is no device); the reason isn't shown here.
//
// Thread: UI thread only.
bool SetRecordingParameters(qint16 bitsPerSample, qint16 numberOfChannels, qint32 sampleRate);

// The same, on the device with that id.
bool SetRecordingParameters(qint16 deviceId, qint16 bitsPerSample, qint16 numberOfChannels,
                            qint32 sampleRate);
