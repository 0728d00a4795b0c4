#include "transform/digitalAudio.h"

#include "app/AppPaths.h"
#include "app/AppUtilities.h"
#include "app/globals.h"
#include "failsafe/modFailSafe.h"
#include "library/cdDrive.h"
#include "prefs/PrefNames.h"
#include "prefs/prefs.h"

#include <QDir>

namespace {
const char* const kModule = "digitalAudio";
}

void cleanupASPI() {
    FS_PROC(kModule, "Sub cleanupASPI");
    const QString drivers = appDir() + QStringLiteral("/drivers");
    if (QDir(drivers).exists())
        deleteTree(drivers + u'/');
}

void CDandRecordingSetup() {
    FS_PROC(kModule, "Sub CDandRecordingSetup");
    gvDigitalRecordingOK = ASPIsetupOK();
    RecordModeSet(gvDigitalRecordingOK);
    CDmciSetup();
    readPref(pref::AutomaticallySetRecordingMixer, gvAutomaticallySetRecordingMixer, true);
    readPref(pref::RecordingDepth, gvRecordingDepth, 16);
    readPref(pref::RecordingSampleRate, gvRecordingSampleRate, 44100);
    getRecordingSubPrefs();
}

// Placeholder: digital reading answers whether the drive can be read digitally; until it
// comes, capture goes through the sound device.
bool ASPIsetupOK() {
    FS_PROC(kModule, "Function ASPIsetupOK");
    return false;
}

void RecordModeSet(bool digitalOK) {
    FS_PROC(kModule, "Sub RecordModeSet", FS_ARG(digitalOK));
    readPref(pref::ChannelToTransform, gvChannelToTransform, 0);
    qint16 recordModeDefault = 1;
    if (!digitalOK) {
        recordModeDefault = 2;
        // A capture through the sound card is mono.
        if (gvChannelToTransform != 0)
            writePref(pref::ChannelToTransform, gvChannelToTransform, 0);
    }
    readPref(pref::RecordMode, gvRecordMode, recordModeDefault);
    if (!digitalOK && gvRecordMode == 1)
        writePref(pref::RecordMode, gvRecordMode, 2);
}
