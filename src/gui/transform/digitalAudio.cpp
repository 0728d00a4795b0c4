#include "transform/digitalAudio.h"

#include "app/AppPaths.h"
#include "app/AppUtilities.h"
#include "app/Prompts.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "failsafe/modFailSafe.h"
#include "library/cdDrive.h"
#include "platform/DigitalReader.h"
#include "platform/MMControl.h"
#include "prefs/PrefNames.h"
#include "prefs/prefs.h"
#include "ui_frmMain.h"

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

// Here the question is whether this user can read the drive: no installation can help, and
// a refusal is what the user must hear about, naming the drive and its group.
bool ASPIsetupOK() {
    FS_PROC(kModule, "Function ASPIsetupOK");
    frmMain* main = frmMain::instance();
    DigitalReader* acd = main ? main->ACD1() : nullptr;
    if (!acd || acd->initialise() > 0)
        return false;
    // A machine without a drive has nothing to read and nothing to be told.
    if (acd->deviceCount() == 0)
        return false;
    readPref(pref::digCDNum, gvDigCDNum, 1);
    if (gvDigCDNum == -1)
        return true;
    const int code = acd->openDrive(gvDigCDNum);
    if (code == 2) {
        Prompts::msgBox(acd->lastError());
        return installASPI(false);
    }
    if (code > 0)
        Prompts::msgBox(QStringLiteral("ACD Error opening drive ") + QString::number(gvDigCDNum));
    return true;
}

bool installASPI(bool Force) {
    FS_PROC(kModule, "Function installASPI", FS_ARG(Force));
    QString attempted;
    readPref(pref::FaspiAttempted, attempted, QStringLiteral("No"));
    if (!Force && attempted != u"No") {
        writePref(pref::digCDNum, gvDigCDNum, -1);
        return false;
    }
    writePref(pref::FaspiAttempted, attempted, QStringLiteral("Yes"));
    // Nothing is installed for it here: the permission to read the drive is the system's to
    // give, and the message before this one said how.
    return false;
}

void setupACD() {
    FS_PROC(kModule, "Sub setupACD");
    frmMain* main = frmMain::instance();
    DigitalReader* acd = main ? main->ACD1() : nullptr;
    if (!acd)
        return;
    for (;;) {
        acd->initialise();
        const int devices = acd->deviceCount();
        QList<bool> answers;
        const qint32 cdTracks = main->ui()->CDControl->Tracks();
        if (cdTracks == 0)
            Prompts::msgBox(
                QStringLiteral("cdTracks are 0 in routine CDsetup. Please notify support."));
        int found = 0;
        for (int device = 1; device <= devices; ++device) {
            acd->clearSelection(0);
            const bool ok = acd->openDrive(device) <= 0 && acd->isAudioTrack(1) &&
                            acd->trackCount() == cdTracks;
            answers.append(ok);
            found += ok ? 1 : 0;
        }
        if (found == 0) {
            Prompts::msgBox(QStringLiteral("Cantavox did not succeed in configuring your CD drive "
                                           "for digital recording. You will still be able to use "
                                           "analog recording."));
            gvDigitalRecordingOK = false;
            writePref(pref::RecordMode, gvRecordMode, 2);
            return;
        }
        if (found > 1) {
            Prompts::msgBox(QStringLiteral("Please remove any audio CDs from any drives OTHER than "
                                           "the desired CD drive and press OK."));
            continue;
        }
        const qint16 number = static_cast<qint16>(answers.indexOf(true) + 1);
        Prompts::msgBox(
            QStringLiteral("Configuration succeeded! (Device number of active CD drive is ") +
            QString::number(number) + QStringLiteral(")"));
        writePref(pref::digCDNum, gvDigCDNum, number);
        return;
    }
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
