// Digital reading off the disc: a loop read into "temp.wav" for the engine, the reader's end
// and failure events, and a whole track copied into a file of the user's.
#include "app/AppPaths.h"
#include "app/Dialogs.h"
#include "app/Forms.h"
#include "app/Messages.h"
#include "app/Prompts.h"
#include "app/Support.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "app/messages2.h"
#include "failsafe/AppError.h"
#include "failsafe/modFailSafe.h"
#include "library/Recordset.h"
#include "platform/DigitalReader.h"
#include "platform/MMControl.h"
#include "prefs/PrefNames.h"
#include "prefs/prefs.h"
#include "ui_frmMain.h"

#include <QApplication>
#include <QFile>
#include <QGuiApplication>

namespace {
const char* const kModule = "main form";

QString tempWav() {
    return appDir() + QStringLiteral("/temp.wav");
}
} // namespace

void frmMain::connectDigitalReader() {
    m_disc.ACD1 = new DigitalReader(this);
    connect(m_disc.ACD1, &DigitalReader::readComplete, this,
            [this] { fs::ignoreErrors([&] { ACD1_ReadComplete(); }); });
    connect(m_disc.ACD1, &DigitalReader::progress, this, [](int done, int total) {
        if (messages2* box = formIfLoaded<messages2>())
            box->setProgress(done, total);
    });
    connect(m_disc.ACD1, &DigitalReader::failure, this, [this](long code, const QString& text) {
        fs::trap(kModule, "Sub ACD1_Failure", [&] { ACD1_Failure(code, text); });
    });
}

void frmMain::makeDigitalRecording() {
    FS_PROC(kModule, "Sub makeDigitalRecording");
    DigitalReader* acd = m_disc.ACD1;
    try {
        if (!gvDigitalRecordingOK) {
            Prompts::msgBox(QStringLiteral("Sorry - digital recording is not available on this "
                                           "system. For more information, visit ") +
                            makerSite());
            return;
        }
        m_transform.tempWavChannels = 2;
        m_transform.expFactor = 50.0f / float(m_transform.slowDownPercent);
        int code = acd->openDrive(gvDigCDNum);
        if (code > 0) {
            Prompts::msgBox(QStringLiteral("Unable to open CD-ROM drive %1.").arg(gvDigCDNum),
                            vb::vbOKOnly, QStringLiteral("Error number ACD%1").arg(code));
            Message2(QStringLiteral("off"), QString());
            return;
        }
        qint32 inPoint = 0, outPoint = 0;
        calcInAndOutPoints(inPoint, outPoint);
        MMControl* cd = m_ui->CDControl;
        // The track the loop starts in: the last whose start lies below the in point.
        int track = cd->Tracks() + 1;
        qint32 trackStart = 0;
        do {
            --track;
            trackStart = acd->trackStart(track);
        } while (!(trackStart < inPoint || track <= 1));
        // The two devices may count a track's start a little differently.
        cd->setWait(true);
        cd->setTimeFormat(MMControl::TimeFormatMs);
        cd->setTrack(track);
        const qint32 offset = cd->TrackPosition() - trackStart;
        const qint32 length = outPoint - inPoint;
        const qint32 start = inPoint - trackStart - offset;
        fs::ignoreErrors([&] {
            m_ui->WaveControl->setWait(true);
            m_ui->WaveControl->setCommand(QStringLiteral("Close"));
            if (QFile::exists(tempWav()))
                QFile::remove(tempWav());
        });
        setEnabled(false);
        setPanelText(QStringLiteral("pnlMsg"),
                     QStringLiteral("Please wait - copying loop to hard disk."));
        QApplication::processEvents();
        code = acd->readSectionToFile(track, tempWav(), start, length);
        if (code != 0) {
            Message2(QStringLiteral("off"), QString());
            Message(QStringLiteral("Retrying digital read. Please wait."),
                    QStringLiteral("Make Loop Points"));
            MMControl* current = m_transport.currentMMControl;
            current->setNotify(false);
            current->setWait(false);
            current->setCommand(QStringLiteral("Play"));
            current->setWait(true);
            current->setCommand(QStringLiteral("Stop"));
            acd->openDrive(gvDigCDNum);
            code = acd->readSectionToFile(track, tempWav(), start, length);
            if (code != 0) {
                code = acd->readSectionToFile(track, tempWav(), start, length);
                Message(QStringLiteral("off"), QStringLiteral("Make Loop Points"));
                Prompts::msgBox(QStringLiteral("Unable to read track."), vb::vbOKOnly,
                                QStringLiteral("Error number ACD%1").arg(code));
                setEnabled(true);
                Message2(QStringLiteral("off"), QString());
                return;
            }
            Message(QStringLiteral("off"), QStringLiteral("Make Loop Points"));
        }
        // The read goes on in the reader; its end closes the busy box and starts the play.
        changeToMode(QStringLiteral("SlowPlay"));
    } catch (const AppError& e) {
        setEnabled(true);
        Message2(QStringLiteral("off"), QString());
        Prompts::msgBox(QStringLiteral("Error %1occurred in procedure makeDigitalRecording\n\n"
                                       "Please send email with the error description to %2. "
                                       "Thank you.")
                            .arg(e.number)
                            .arg(supportAddress()));
    }
}

void frmMain::ACD1_ReadComplete() {
    FS_PROC(kModule, "Sub ACD1_ReadComplete");
    Message2(QStringLiteral("off"), QString());
    setPanelText(QStringLiteral("pnlMsg"), QStringLiteral("Done reading CD"));
    while (QGuiApplication::overrideCursor())
        QGuiApplication::restoreOverrideCursor();
    if (gvInSlowPlay && gvAutoSlow)
        btnLoopPlay_Click();
    setEnabled(true);
}

void frmMain::ACD1_Failure(long Errorcode, const QString& ErrorString) {
    FS_PROC(kModule, "Sub ACD1_Failure", FS_ARG(Errorcode), FS_ARG(ErrorString));
    if (Errorcode == 701)
        return;
    Message2(QStringLiteral("off"), QString());
    m_disc.ACD1->cancel();
    setEnabled(true);
    if (confirm(QStringLiteral("The program was unable to digitally copy the requested audio to "
                               "your hard disk.\n\nThe process returned error code ") +
                QString::number(Errorcode) + QStringLiteral(": ") + ErrorString +
                QStringLiteral(". Usually, slowing down a loop or two in Analog mode clears this "
                               "condition. Otherwise, a system restart may be required..\n\n"
                               "Should I change the recording mode to analog?")))
        writePref(pref::RecordMode, gvRecordMode, 2);
    changeToMode(QStringLiteral("CD"));
}

void frmMain::mnuDigitalRec_Click() {
    FS_PROC(kModule, "Sub mnuDigitalRec_Click");
    DigitalReader* acd = m_disc.ACD1;
    if (!gvDigitalRecordingOK) {
        Prompts::msgBox(QStringLiteral("At this time, digital recording only works under Windows "
                                       "9x. Sorry"));
        return;
    }
    MMControl* cd = m_ui->CDControl;
    int failures = 0;
    for (;;) {
        cd->setCommand(QStringLiteral("Stop"));
        cd->setWait(true);
        cd->setCommand(QStringLiteral("Close"));
        if (acd->initialise() > 0) {
            Prompts::msgBox(QStringLiteral("Error initializing"));
            return;
        }
        if (acd->openDrive(gvDigCDNum) > 0) {
            Prompts::msgBox(QStringLiteral("Error opening drive"));
            return;
        }
        const int track = m_library.dtaTracks->field(QStringLiteral("TrackNum")).toInt();
        const QString title = m_library.dtaTracks->field(QStringLiteral("TrackName")).toString();
        const qint32 lengthMs = acd->trackLength(track);
        const float minutes = float(lengthMs) / 60000.0f;
        const long megabytes = std::lround(10.0f * minutes);
        if (!confirm(QStringLiteral("This will record the track \"") + title +
                     QStringLiteral("\" to your hard disk. In order for this operation to "
                                    "succeed, your CD-ROM drive must support digital recording "
                                    "and you must have sufficient disk space (10 MB per minute "
                                    "of stereo sound).\n\nThis track's length is ") +
                     QString::number(double(minutes), 'f', 1) +
                     QStringLiteral(" minutes.\n\nIt requires approximately ") +
                     QString::number(megabytes) +
                     QStringLiteral(" MB of disk space. \n\nProceed?")))
            return;
        const QString file = Dialogs::getSaveFileName(
            this,
            QStringLiteral("Choose file for a copy of track ") + QString::number(track) +
                (title.isEmpty() ? QString() : QStringLiteral(", ") + title),
            appDir() + u'/' + title + QStringLiteral(".wav"), QStringLiteral("Wave files (*.wav)"));
        if (file.isEmpty()) {
            cd->setWait(true);
            cd->setCommand(QStringLiteral("Open"));
            return;
        }
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
        setEnabled(false);
        Message2(QStringLiteral("Saving track ") +
                     m_ui->tgTracks->model()
                         ->index(m_ui->tgTracks->currentIndex().row(), 1)
                         .data()
                         .toString() +
                     QStringLiteral(" to disk"),
                 QStringLiteral("ACD"));
        if (acd->readTrackToFile(track, file) < 1) {
            cd->setWait(true);
            cd->setCommand(QStringLiteral("Open"));
            return;
        }
        QGuiApplication::restoreOverrideCursor();
        setEnabled(true);
        Message2(QStringLiteral("off"), QString());
        if (++failures >= 5)
            Prompts::msgBox(QStringLiteral("Unable to read CD audio digitally. Try changing "
                                           "Record Mode (in Settings Menu) to Analog."));
        MMControl* current = m_transport.currentMMControl;
        current->setWait(false);
        current->setCommand(QStringLiteral("Play"));
        Pause(0.5f);
    }
}
