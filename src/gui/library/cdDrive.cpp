#include "library/cdDrive.h"

#include "app/Messages.h"
#include "app/Prompts.h"
#include "app/Support.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "failsafe/modFailSafe.h"
#include "platform/CdDrives.h"
#include "platform/MMControl.h"
#include "prefs/PrefNames.h"
#include "prefs/prefs.h"
#include "transform/digitalAudio.h"
#include "ui_frmMain.h"

namespace {
const char* const kModule = "cdDrive";

MMControl* cdControl() {
    frmMain* main = frmMain::instance();
    return main ? main->ui()->CDControl : nullptr;
}
} // namespace

QString cdDriveLetters() {
    FS_PROC(kModule, "Function cdDriveLetters");
    return CdDrives::letters();
}

QString GetNthCdRomDriveLetter(int n) {
    FS_PROC(kModule, "Function GetNthCdRomDriveLetter", FS_ARG(n));
    return CdDrives::nthLetter(n);
}

qint16 driveCount() {
    FS_PROC(kModule, "Function driveCount");
    // The digital reader's list and the player's are the same drives here.
    return static_cast<qint16>(cdDriveLetters().size());
}

void setCDdrive() {
    FS_PROC(kModule, "Sub setCDdrive");
    MMControl* cd = cdControl();
    if (!cd)
        return;
    if (driveCount() != 1) {
        cd->setUpdateInterval(0);
        CDsetup();
        cd->setUpdateInterval(500);
        return;
    }
    gvDigCDNum = gvDigitalRecordingOK ? 1 : -1;
    writePref(pref::digCDNum, gvDigCDNum, gvDigCDNum);
    QString letter = GetNthCdRomDriveLetter(1);
    writePref(pref::MciCdLetter, letter, letter);
    CDmciSetup();
}

void CDmciSetup() {
    FS_PROC(kModule, "Sub CDmciSetup");
    MMControl* cd = cdControl();
    if (!cd)
        return;
    cd->setWait(true);
    cd->setCommand(QStringLiteral("close"));
    QString letter;
    readPref(pref::MciCdLetter, letter, GetNthCdRomDriveLetter(1));
    cd->setFileName(letter + u':');
    cd->setWait(false);
    cd->setCommand(QStringLiteral("open"));
}

void CDsetup() {
    FS_PROC(kModule, "Sub CDsetup");
    MMControl* cd = cdControl();
    if (!cd)
        return;
    const QString letters = cdDriveLetters();
    QString letter = Prompts::inputBox(
        QStringLiteral("Please enter the letter of the drive used for CD audio, and put an audio "
                       "CD in that drive. Available letters appear to be: ") +
            letters,
        QStringLiteral("Enter audio CD drive letter"), letters.left(1));
    if (letter.isEmpty())
        return;
    letter = letter.left(1).toUpper();
    for (;;) {
        cd->setWait(true);
        cd->setCommand(QStringLiteral("close"));
        cd->setFileName(letter + u':');
        cd->setWait(true);
        cd->setCommand(QStringLiteral("open"));
        if (cd->Error() > 0) {
            letter = Prompts::inputBox(QStringLiteral("That CD drive letter doesn't appear to "
                                                      "work. Please enter a new one or press "
                                                      "Cancel to quit."));
            if (letter.isEmpty())
                return;
            letter = letter.left(1).toUpper();
            continue;
        }
        if (cd->Tracks() == 0) {
            if (Prompts::msgBox(QStringLiteral("Is there a CD in the drive? I'm not detecting "
                                               "one."),
                                vb::vbRetryCancel) == vb::vbCancel)
                return;
            continue;
        }
        break;
    }
    Message2(QStringLiteral("Testing Windows Media CD playback"));
    cd->setWait(false);
    cd->setCommand(QStringLiteral("play"));
    Message2(QStringLiteral("off"));
    if (confirm(QStringLiteral("Can you hear the CD playing?"))) {
        writePref(pref::MciCdLetter, letter, letter);
        cd->setWait(true);
        cd->setCommand(QStringLiteral("stop"));
        if (gvDigitalRecordingOK)
            setupACD();
        return;
    }
    cd->setWait(true);
    cd->setCommand(QStringLiteral("stop"));
    if (confirm(QStringLiteral("Does the light on the correct CD player indicate that the CD is "
                               "playing?"))) {
        Prompts::msgBox(QStringLiteral("The problem is most probably that CD audio is not turned "
                                       "up in your audio mixer. Double-click the speaker icon in "
                                       "the taskbar to bring up the mixer, or visit ") +
                        makerSite() +
                        QStringLiteral(" for more information on setting up the Windows mixer."));
    } else {
        Prompts::msgBox(QStringLiteral("The most likely problem is that the wrong CD drive letter "
                                       "has been entered. The program detects the following CD "
                                       "drive letter(s): ") +
                        letters);
        Prompts::msgBox(QStringLiteral("If your drive letter isn't on that list, please check the "
                                       "Control Panel/Multimedia/CD Audio section to make sure "
                                       "your drive letter appears there."));
        Prompts::msgBox(
            QStringLiteral("We suggest you close any open audio applications and try again."));
    }
}

void checkForCDOwnership() {
    FS_PROC(kModule, "Sub checkForCDOwnership");
    // Reading a disc never locks the drive from other programs here, and no other program
    // can hold the player from us: there is nothing to report.
}
