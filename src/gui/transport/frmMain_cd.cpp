// The disc's player on the main window: CDControl's buttons and events, stepping through
// tracks, the position display and scroll bar on a disc, and the natural end of an armed loop.
#include "app/Messages.h"
#include "app/Prompts.h"
#include "app/TimeFormats.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "app/stateVariable.h"
#include "failsafe/modFailSafe.h"
#include "library/Recordset.h"
#include "library/TrackQueries.h"
#include "platform/DigitalReader.h"
#include "platform/MMControl.h"
#include "prefs/prefs.h"
#include "ui_frmMain.h"

#include <QGuiApplication>

namespace {
const char* const kModule = "main form";

// The window frozen for a moment: no input, the hourglass, and no status events.
class Suspended {
public:
    Suspended(QWidget* form, MMControl* control) : m_form(form), m_control(control) {
        m_form->setEnabled(false);
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
        m_control->setUpdateInterval(0);
    }
    ~Suspended() {
        m_form->setEnabled(true);
        QGuiApplication::restoreOverrideCursor();
        if (m_control)
            m_control->setUpdateInterval(500);
    }
    Suspended(const Suspended&) = delete;
    Suspended& operator=(const Suspended&) = delete;

private:
    QWidget* m_form;
    QPointer<MMControl> m_control;
};
} // namespace

void frmMain::connectCdTransport() {
    MMControl* cd = m_ui->CDControl;
    connect(cd, &MMControl::PlayClick, this, [this](bool& Cancel) {
        fs::trap(kModule, "Sub CDControl_PlayClick", [&] { CDControl_PlayClick(Cancel); });
    });
    connect(cd, &MMControl::PauseClick, this, [this](bool& Cancel) {
        fs::trap(kModule, "Sub CDControl_PauseClick", [&] { CDControl_PauseClick(Cancel); });
    });
    connect(cd, &MMControl::StopClick, this, [this](bool& Cancel) {
        fs::trap(kModule, "Sub CDControl_StopClick", [&] { CDControl_StopClick(Cancel); });
    });
    connect(cd, &MMControl::NextClick, this, [this](bool& Cancel) {
        fs::trap(kModule, "Sub CDControl_NextClick", [&] { CDControl_NextClick(Cancel); });
    });
    connect(cd, &MMControl::PrevClick, this, [this](bool& Cancel) {
        fs::trap(kModule, "Sub CDControl_PrevClick", [&] { CDControl_PrevClick(Cancel); });
    });
    connect(cd, &MMControl::EjectClick, this, [this](bool& Cancel) {
        fs::trap(kModule, "Sub CDControl_EjectClick", [&] { CDControl_EjectClick(Cancel); });
    });
    connect(cd, &MMControl::GotFocus, this,
            fs::trapped(kModule, "Sub CDControl_GotFocus", [this] { CDControl_GotFocus(); }));
    connect(cd, &MMControl::StatusUpdate, this,
            fs::trapped(kModule, "Sub CDControl_StatusUpdate", [this] {
                if (!(windowState() & Qt::WindowMinimized))
                    updateCDStatus();
            }));
    connect(cd, &MMControl::Done, this, [this](int NotifyCode) {
        fs::trap(kModule, "Sub CDcontrol_Done", [&] { CDcontrol_Done(NotifyCode); });
    });
}

void frmMain::CDControl_PlayClick(bool&) {
    FS_PROC(kModule, "Sub CDControl_PlayClick");
    m_ui->CDControl->setWait(false);
    gvPlayRequested = true;
    m_ui->CDControl->setUpdateInterval(500);
}

void frmMain::CDControl_PauseClick(bool&) {
    FS_PROC(kModule, "Sub CDControl_PauseClick");
    playState->setState(false);
    m_ui->CDControl->setWait(false);
}

void frmMain::CDControl_StopClick(bool&) {
    FS_PROC(kModule, "Sub CDControl_StopClick");
    playState->setState(false);
    m_ui->CDControl->setWait(false);
}

void frmMain::CDControl_NextClick(bool& Cancel) {
    FS_PROC(kModule, "Sub CDControl_NextClick");
    doNextPrev(QStringLiteral("next"));
    Cancel = true;
}

void frmMain::CDControl_PrevClick(bool& Cancel) {
    FS_PROC(kModule, "Sub CDControl_PrevClick");
    doNextPrev(QStringLiteral("prev"));
    Cancel = true;
}

void frmMain::CDControl_EjectClick(bool& Cancel) {
    FS_PROC(kModule, "Sub CDControl_EjectClick");
    // A tray moved by hand isn't noticed: the next press then does the other thing.
    MMControl* cd = m_ui->CDControl;
    if (m_disc.cdEjected) {
        if (gvDigitalRecordingOK)
            m_disc.ACD1->closeTray();
        else
            cd->setCommand(QStringLiteral("Eject"));
        m_disc.cdEjected = false;
    } else {
        if (gvDigitalRecordingOK)
            m_disc.ACD1->openTray();
        else
            cd->setCommand(QStringLiteral("Eject"));
        m_disc.cdEjected = true;
    }
    Cancel = true;
}

void frmMain::CDControl_GotFocus() {
    FS_PROC(kModule, "Sub CDControl_GotFocus");
    if (m_ui->cmdStartNewLoop->isVisible())
        m_ui->cmdStartNewLoop->setFocus();
}

void frmMain::updateCDStatus() {
    FS_PROC(kModule, "Sub updateCDStatus");
    if (!playing() && !gvInSlowPlay)
        return;
    updatePosition();
    if (playState->isArmed() && !gvRecordingLoop)
        setPanelText(QStringLiteral("pnlMsg"), QStringLiteral("Looping"));
    else if (!gvRecordingLoop)
        setPanelText(QStringLiteral("pnlMsg"), QStringLiteral("CD playing"));
}

void frmMain::updateCDPosition() {
    FS_PROC(kModule, "Sub updateCDPosition");
    tmsf();
    MMControl* cd = m_ui->CDControl;
    const qint32 position = cd->Position();
    if (position != 1)
        m_ui->txtCurrentPosition->setText(toTMS(position));
    const QString shown = m_ui->txtCurrentPosition->text();
    const auto track = static_cast<qint16>(vbVal(shown.left(2)));
    // The loop's row follows the music in straight play only: a repeating loop leaves the
    // grid to the musician, who may pick the next one.
    if (gvPlayRequested)
        highlightLoopPoint();
    if (trackHighlighting() && track != gvHighlightedTrack)
        switchToTrack(track);
    fs::ignoreErrors([&] {
        const QSignalBlocker block(m_ui->sbTrackPos);
        m_ui->sbTrackPos->setValue(minutes(shown) * 60 + seconds(shown));
    });
}

void frmMain::doNextPrev(const QString& direction) {
    FS_PROC(kModule, "Sub doNextPrev", FS_ARG(direction));
    MMControl* cd = m_ui->CDControl;
    const Suspended frozen(this, m_transport.currentMMControl);
    const bool wasPlaying = playing();
    cd->setWait(true);
    cd->setCommand(QStringLiteral("Stop"));
    const QString shown = m_ui->txtCurrentPosition->text();
    const auto track = static_cast<qint16>(vbVal(shown.section(u':', 0, 0)));
    qint16 newTrack = track;
    if (direction == u"prev") {
        // The first press goes back to the start of the track; one at its start, to the one
        // before.
        if (shown.right(5) == u"00:00")
            newTrack = std::max<qint16>(1, static_cast<qint16>(track - 1));
    } else {
        newTrack = static_cast<qint16>(std::min<qint32>(track + 1, cd->Tracks()));
    }
    library::findTrack(*m_library.dtaTracks, newTrack);
    m_ui->txtCurrentPosition->setText(
        QStringLiteral("%1:00:00").arg(newTrack, 2, 10, QLatin1Char('0')));
    highlightTrackInGrid(newTrack);
    m_ui->tgTracks->viewport()->update();
    if (wasPlaying) {
        playFromTrack(newTrack);
        updatePosition();
    } else {
        switchToTrack(newTrack);
        cd->setWait(true);
        cd->setTrack(newTrack);
        cd->setWait(true);
        cd->setFrom(cd->TrackPosition());
        cd->setWait(false);
    }
}

void frmMain::switchToTrack(qint16 x) {
    FS_PROC(kModule, "Sub switchToTrack", FS_ARG(x));
    highlightTrackInGrid(x);
    const QString lengthText = trackLengthMMSS(x);
    setPanelText(QStringLiteral("pnlTrackLength"), QStringLiteral("Track ") + QString::number(x) +
                                                       QStringLiteral(" Length: ") + lengthText);
    const QString asTms = QStringLiteral("00:") + lengthText;
    {
        const QSignalBlocker block(m_ui->sbTrackPos);
        m_ui->sbTrackPos->setMaximum(minutes(asTms) * 60 + seconds(asTms));
        m_ui->sbTrackPos->setValue(0);
    }
    MMControl* cd = m_ui->CDControl;
    fs::ignoreErrors([&] { cd->setTimeFormat(MMControl::TimeFormatMs); });
    cd->setWait(true);
    cd->setTrack(x);
    cd->setWait(true);
    cd->setFrom(cd->TrackPosition());
    cd->setWait(false);
}

void frmMain::playFromTrack(qint16 x) {
    FS_PROC(kModule, "Sub playFromTrack", FS_ARG(x));
    const QPointer<MMControl> control = m_transport.currentMMControl;
    ms();
    const qint16 interval = control->UpdateInterval();
    tmsf();
    control->setWait(true);
    control->setTrack(x);
    control->setWait(true);
    control->setFrom(control->TrackPosition());
    control->setWait(false);
    control->setCommand(QStringLiteral("Play"));
    control->setUpdateInterval(500);
    if (control->Error() > 0) {
        if (m_disc.playRetryCount >= 4) {
            Prompts::msgBox(QStringLiteral("Multimedia system error ") + control->ErrorMessage());
            m_disc.playRetryCount = 0;
        } else {
            ++m_disc.playRetryCount;
            playFromTrack(x);
        }
        return;
    }
    control->setUpdateInterval(interval);
    switchToTrack(x);
    m_disc.playRetryCount = 0;
}

void frmMain::CDcontrol_Done(int NotifyCode) {
    FS_PROC(kModule, "Sub CDcontrol_Done", FS_ARG(NotifyCode));
    if (playState->isArmed() && NotifyCode == MMControl::NotifySuccessful && !gvRecordingLoop)
        playLoop(false);
    if (gvRecordingLoop) {
        // The recording's own end runs within the Stop below; one the disc cut short has
        // said by then what the drive holds, and that stands.
        const bool lost = NotifyCode == MMControl::NotifyFailure;
        m_transform.captureLost = lost;
        playState->setState(false);
        m_ui->WaveControl->setWait(true);
        m_ui->WaveControl->setCommand(QStringLiteral("Stop"));
        if (!lost)
            setPanelText(QStringLiteral("pnlMsg"), QStringLiteral("Cantavox"));
    }
}

void frmMain::scrollCDPosition() {
    FS_PROC(kModule, "Sub scrollCDPosition");
    const int value = m_ui->sbTrackPos->sliderPosition();
    m_ui->txtCurrentPosition->setText(m_ui->txtCurrentPosition->text().left(3) +
                                      QStringLiteral("%1:%2")
                                          .arg(value / 60, 2, 10, QLatin1Char('0'))
                                          .arg(value % 60, 2, 10, QLatin1Char('0')));
}

void frmMain::playCDFromShownPosition() {
    FS_PROC(kModule, "Sub playCDFromShownPosition");
    tmsf();
    m_ui->CDControl->setFrom(to4byte(m_ui->txtCurrentPosition->text()));
}
