// The wave-file player of the main window: WaveControl's events, its status text, the
// position display and scroll bar, and the opening of a file for play.
#include "app/AppPaths.h"
#include "app/Forms.h"
#include "app/Messages.h"
#include "app/Prompts.h"
#include "app/TimeFormats.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "app/stateVariable.h"
#include "failsafe/modFailSafe.h"
#include "graph/frmScrollTime.h"
#include "library/Recordset.h"
#include "platform/MMControl.h"
#include "ui_frmMain.h"

#include <QFile>
#include <QPushButton>
#include <QTableView>

namespace {
const char* const kModule = "main form";
}

void frmMain::connectWaveTransport() {
    MMControl* w = m_ui->WaveControl;
    connect(w, &MMControl::PlayClick, this, [this](bool& Cancel) {
        fs::trap(kModule, "Sub WaveControl_PlayClick", [&] { WaveControl_PlayClick(Cancel); });
    });
    connect(w, &MMControl::PauseClick, this, [this](bool& Cancel) {
        fs::trap(kModule, "Sub WaveControl_PauseClick", [&] { WaveControl_PauseClick(Cancel); });
    });
    connect(w, &MMControl::StopClick, this, [this](bool& Cancel) {
        fs::trap(kModule, "Sub WaveControl_StopClick", [&] { WaveControl_StopClick(Cancel); });
    });
    connect(w, &MMControl::PrevClick, this, [this](bool& Cancel) {
        fs::trap(kModule, "Sub WaveControl_PrevClick", [&] { WaveControl_PrevClick(Cancel); });
    });
    connect(w, &MMControl::GotFocus, this,
            fs::trapped(kModule, "Sub WaveControl_GotFocus", [this] { WaveControl_GotFocus(); }));
    connect(w, &MMControl::StatusUpdate, this,
            fs::trapped(kModule, "Sub WaveControl_StatusUpdate",
                        [this] { WaveControl_StatusUpdate(); }));
    connect(w, &MMControl::Done, this, [this](int NotifyCode) {
        fs::trap(kModule, "Sub WaveControl_Done", [&] { WaveControl_Done(NotifyCode); });
    });
    connect(m_ui->sbTrackPos, &QScrollBar::sliderMoved, this,
            fs::trapped(kModule, "Sub sbTrackPos_Scroll", [this] { sbTrackPos_Scroll(); }));
    connect(m_ui->sbTrackPos, &QScrollBar::valueChanged, this,
            fs::trapped(kModule, "Sub sbTrackPos_Change", [this] { sbTrackPos_Change(); }));
    connect(m_ui->sbTrackPos, &QScrollBar::sliderReleased, this,
            fs::trapped(kModule, "Sub sbTrackPos_Change", [this] { sbTrackPos_Change(); }));
}

void frmMain::WaveControl_PlayClick(bool&) {
    FS_PROC(kModule, "Sub WaveControl_PlayClick");
    m_ui->WaveControl->setWait(false);
    gvPlayRequested = true;
}

void frmMain::WaveControl_PauseClick(bool&) {
    FS_PROC(kModule, "Sub WaveControl_PauseClick");
    m_ui->WaveControl->setWait(false);
    playState->setState(false);
}

void frmMain::WaveControl_StopClick(bool&) {
    FS_PROC(kModule, "Sub WaveControl_StopClick");
    playState->setState(false);
}

void frmMain::WaveControl_PrevClick(bool&) {
    FS_PROC(kModule, "Sub WaveControl_PrevClick");
    // The control rewinds by itself.
    m_ui->WaveControl->setWait(false);
}

void frmMain::WaveControl_GotFocus() {
    FS_PROC(kModule, "Sub WaveControl_GotFocus");
    if (m_ui->cmdStartNewLoop->isVisible())
        m_ui->cmdStartNewLoop->setFocus();
}

void frmMain::WaveControl_StatusUpdate() {
    FS_PROC(kModule, "Sub WaveControl_StatusUpdate");
    if (!gvRecordingLoop)
        updateWaveStatus();
}

void frmMain::WaveControl_Done(int NotifyCode) {
    FS_PROC(kModule, "Sub WaveControl_Done", FS_ARG(NotifyCode));
    MMControl* w = m_ui->WaveControl;
    if (playState->isArmed() && NotifyCode == MMControl::NotifySuccessful && !gvRecordingLoop) {
        if (frmScrollTime* graph = gvInSlowPlay ? formIfLoaded<frmScrollTime>() : nullptr)
            graph->mnuRefresh_Click();
        playLoop(false);
    }
    if (gvRecordingLoop && m_transform.captureLost) {
        // Half a loop is no loop to practise: nothing of it is kept.
        w->setWait(true);
        w->setCommand(QStringLiteral("Close"));
        fs::ignoreErrors([&] { QFile::remove(appDir() + QStringLiteral("/temp.wav")); });
        gvRecordingLoop = false;
        m_transform.captureLost = false;
        Message2(QStringLiteral("off"));
        gvInSlowPlay = false;
        changeToMode(QStringLiteral("CD"));
        setEnabled(true);
        Prompts::msgBox(QStringLiteral("The CD was taken out while the loop was being recorded. "
                                       "Nothing was recorded."));
    }
    if (gvRecordingLoop) {
        // The capture has ended: the recorded sound reaches the disk only now.
        w->setWait(true);
        Message2(QStringLiteral("Saving file..."));
        w->setCommand(QStringLiteral("Save"));
        w->setWait(true);
        w->setCommand(QStringLiteral("Close"));
        gvRecordingLoop = false;
        Message2(QStringLiteral("off"));
        changeToMode(QStringLiteral("SlowPlay"));
        if (gvAutoSlow)
            btnLoopPlay_Click();
    }
    if (!gvRecordingLoop) {
        w->setWait(false);
        w->setEnabled(true);
    }
}

void frmMain::updateWaveStatus() {
    FS_PROC(kModule, "Sub updateWaveStatus");
    const QString text = QStringLiteral("Wave file ") + m_ui->WaveControl->FileName();
    if (gvInSlowPlay) {
        if (playing())
            updatePosition();
        else if (!playState->isArmed())
            setPanelText(QStringLiteral("pnlMsg"), QStringLiteral("SlowPlay paused"));
        return;
    }
    if (playing()) {
        setPanelText(QStringLiteral("pnlMsg"), text + QStringLiteral(" playing"));
        updatePosition();
    } else
        setPanelText(QStringLiteral("pnlMsg"), text);
}

void frmMain::updatePosition() {
    FS_PROC(kModule, "Sub updatePosition");
    if (m_transport.cdView) {
        updateCDPosition();
        return;
    }
    ms();
    MMControl* w = m_ui->WaveControl;
    if (!gvInSlowPlay) {
        m_ui->txtCurrentPosition->setText(mmss(w->Position()));
        // The row follows the music in straight play only; a looping loop stays selected.
        if (gvPlayRequested)
            highlightLoopPoint();
        // The scroll bar follows without being taken for a drag by the user.
        const QSignalBlocker block(m_ui->sbTrackPos);
        m_ui->sbTrackPos->setValue(w->Position() / 1000);
    }
    if (frmScrollTime* graph = formIfLoaded<frmScrollTime>()) {
        ms();
        graph->playPosition().Show();
        graph->playPosition().setMsPosition(w->Position());
    }
}

void frmMain::playWaveFile(const QString& fn) {
    FS_PROC(kModule, "Sub playWaveFile", FS_ARG(fn));
    MMControl* w = m_ui->WaveControl;
    fs::ignoreErrors([&] {
        w->setWait(true);
        w->setCommand(QStringLiteral("Close"));
    });
    fs::ignoreErrors([&] { w->setFileName(fn); });
    fs::ignoreErrors([&] {
        w->setWait(false);
        w->setCommand(QStringLiteral("open"));
    });
    fs::ignoreErrors([&] {
        if (w->Error() >= 1)
            Prompts::msgBox(w->ErrorMessage());
    });
    fs::ignoreErrors([&] { w->setTimeFormat(MMControl::TimeFormatMs); });
    fs::ignoreErrors([&] {
        setPanelText(QStringLiteral("pnlTrackLength"),
                     QStringLiteral("Wave File Length ") + mmss(w->Length()));
    });
}

void frmMain::sbTrackPos_Scroll() {
    FS_PROC(kModule, "Sub sbTrackPos_Scroll");
    m_transport.scrollDragging = true;
    m_transport.currentMMControl->setUpdateInterval(0);
    if (m_transport.cdView) {
        scrollCDPosition();
        return;
    }
    const int value = m_ui->sbTrackPos->sliderPosition();
    m_ui->txtCurrentPosition->setText(QStringLiteral("%1:%2")
                                          .arg(value / 60, 2, 10, QLatin1Char('0'))
                                          .arg(value % 60, 2, 10, QLatin1Char('0')));
}

void frmMain::sbTrackPos_Change() {
    FS_PROC(kModule, "Sub sbTrackPos_Change");
    if (!m_transport.scrollDragging || m_ui->sbTrackPos->isSliderDown())
        return;
    m_transport.currentMMControl->setWait(true);
    m_transport.currentMMControl->setCommand(QStringLiteral("Stop"));
    if (m_transport.cdView)
        playCDFromShownPosition();
    else
        m_ui->WaveControl->setFrom(m_ui->sbTrackPos->value() * 1000);
    m_transport.currentMMControl->setWait(false);
    m_transport.currentMMControl->setCommand(QStringLiteral("Play"));
    gvPlayRequested = true;
    m_transport.currentMMControl->setUpdateInterval(500);
    m_transport.scrollDragging = false;
}

void frmMain::playFromLoopOn() {
    FS_PROC(kModule, "Sub playFromLoopOn");
    ms();
    m_transport.currentMMControl->setWait(true);
    m_transport.currentMMControl->setCommand(QStringLiteral("Stop"));
    m_transport.currentMMControl->setFrom(
        m_library.dtaLoopPoints->field(QStringLiteral("startTime")).toInt());
    m_transport.currentMMControl->setWait(false);
    m_transport.currentMMControl->setCommand(QStringLiteral("Play"));
    m_transport.currentMMControl->setUpdateInterval(500);
    commitGridEdits();
    gvPlayRequested = true;
}
