// The Transform button and mode "SlowPlay": the selected loop becomes the scratch file
// "temp.wav", the time-scale engine turns it into "tempslow.wav" at the loop's speed and
// pitch (heard while it is computed in real time), and the finished file loops as plain
// playback. The engine's end comes from its own thread and only ever arms tmrLoopDLL.
#include "app/AppPaths.h"
#include "app/Dialogs.h"
#include "app/Forms.h"
#include "app/Messages.h"
#include "app/MouseUpWatcher.h"
#include "app/Prompts.h"
#include "app/Support.h"
#include "app/TimeFormats.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "app/stateVariable.h"
#include "failsafe/AppError.h"
#include "failsafe/modFailSafe.h"
#include "graph/frmScrollTime.h"
#include "library/Recordset.h"
#include "library/RecordsetModel.h"
#include "platform/MMControl.h"
#include "platform/SelectCDInput.h"
#include "platform/WaveSection.h"
#include "transform/slowplayInterface.h"
#include "transport/sendmcicommand.h"
#include "ui_frmMain.h"

#include <QApplication>
#include <QFile>
#include <QGuiApplication>
#include <QLineEdit>
#include <QProxyStyle>
#include <QPushButton>
#include <QSlider>
#include <QTableView>
#include <cmath>

namespace {
class SliderJumpStyle : public QProxyStyle {
public:
    int styleHint(StyleHint hint, const QStyleOption* option = nullptr,
                  const QWidget* widget = nullptr,
                  QStyleHintReturn* returnData = nullptr) const override {
        if (hint == QStyle::SH_Slider_AbsoluteSetButtons)
            return Qt::LeftButton;
        return QProxyStyle::styleHint(hint, option, widget, returnData);
    }
};

const char* const kModule = "main form";

QString scratch(const char* name) {
    return appDir() + u'/' + QString::fromLatin1(name);
}

void stage(const char* name) {
    if (gvDebugging)
        Message2(QString::fromLatin1(name));
}

QString slowdownFailed(int code) {
    return QStringLiteral("The slowdown process failed with error code %1. Please try again. If "
                          "that doesn't work, please contact %2. Thanks.")
        .arg(code)
        .arg(supportAddress());
}

QString errorInProcedure(int number, const char* procedure) {
    return QStringLiteral("Error %1occurred in procedure %2\n\nPlease send email with the error "
                          "description to %3. Thank you.")
        .arg(number)
        .arg(QString::fromLatin1(procedure), supportAddress());
}
} // namespace

// ---------------------------------------------------------------------------------------
// Wiring

void frmMain::connectTransform() {
    Ui::frmMain& u = *m_ui;
    m_transform.tmrLoopDLL.setSingleShot(false);
    connect(&m_transform.tmrLoopDLL, &QTimer::timeout, this,
            fs::trapped(kModule, "Sub tmrLoopDLL_Timer", [this] { tmrLoopDLL_Timer(); }));
    connect(
        &m_transform.tmrSliderFreedom, &QTimer::timeout, this,
        fs::trapped(kModule, "Sub tmrSliderFreedom_Timer", [this] { tmrSliderFreedom_Timer(); }));
    // The engine's end arrives on its worker thread: it is handed to the UI thread as it is,
    // with the number of the job it belongs to, and looked at only there.
    setSlowPlayCallbackHandler([this](int result) {
        const int job = m_transform.engineJob.load();
        QMetaObject::invokeMethod(
            this, [this, job, result] { slowPlayCallbackArrived(job, result); },
            Qt::QueuedConnection);
    });

    const std::pair<QSlider*, int> sliders[] = {{u.slSlowPct_0, 0}, {u.slSlowPct_1, 1}};
    auto* jumpStyle = new SliderJumpStyle;
    jumpStyle->setParent(this);
    for (const auto& [slider, index] : sliders) {
        // A click beside the handle takes the handle there, as a drag would, and the speed
        // changes once on release. Stepping a page at a time while the mouse is held would
        // restart the engine at each step, and a release that comes in during a restart was
        // lost, so the handle ran on to the pointer.
        slider->setStyle(jumpStyle);
        // Change comes at the end of a drag (or a step by key or page click); Scroll follows
        // the mouse.
        slider->setTracking(false);
        connect(slider, &QSlider::valueChanged, this,
                fs::trapped(kModule, "Sub slSlowPct_Change",
                            [this, i = index] { slSlowPct_Change(i); }));
        connect(slider, &QSlider::sliderMoved, this,
                fs::trapped(kModule, "Sub slSlowPct_Scroll",
                            [this, i = index] { slSlowPct_Scroll(i); }));
        connect(slider, &QSlider::sliderPressed, this,
                fs::trapped(kModule, "Sub slSlowPct_MouseDown",
                            [this, i = index] { slSlowPct_MouseDown(i); }));
        connect(slider, &QSlider::sliderReleased, this,
                fs::trapped(kModule, "Sub slSlowPct_MouseUp",
                            [this, i = index] { slSlowPct_MouseUp(i); }));
    }
    const std::pair<QLineEdit*, int> fields[] = {
        {u.txtSlowPct_0, 0}, {u.txtSlowPct_1, 1}, {u.txtSlowPct_2, 2}};
    for (const auto& [field, index] : fields)
        connect(field, &QLineEdit::returnPressed, this,
                fs::trapped(kModule, "Sub txtSlowPct_KeyDown", [this, i = index] {
                    int key = 13;
                    txtSlowPct_KeyDown(i, key);
                }));
    const std::pair<QLabel*, qint16> speeds[] = {{u.lbl1005Speed, 20},
                                                 {u.lbl1003Speed, 33},
                                                 {u.lbl1002, 50},
                                                 {u.lblOriginalSpeed, 100},
                                                 {u.lblDoubleSpeed, 200}};
    for (const auto& [label, percent] : speeds)
        MouseUpWatcher::watch(label, [this, p = percent](int button) {
            if (button == 1)
                fs::trap(kModule, "Sub lblSpeed_Click", [&] { speedLabel_Click(p); });
        });
    for (int i = 0; i <= 24; ++i) {
        auto* label = findChild<QLabel*>(QStringLiteral("lblSteps_%1").arg(i));
        if (!label)
            continue;
        label->setCursor(Qt::PointingHandCursor);
        MouseUpWatcher::watch(label, [this, i](int button) {
            if (button == 1)
                fs::trap(kModule, "Sub lblSteps_Click", [&] { lblSteps_Click(i); });
        });
    }
    connect(u.cmdGraphic, &QPushButton::clicked, this,
            fs::trapped(kModule, "Sub cmdGraphic_Click", [this] { cmdGraphic_Click(); }));
    connect(u.cmdSlowPlay, &QPushButton::clicked, this,
            fs::trapped(kModule, "Sub cmdSlowPlay_Click", [this] { cmdSlowPlay_Click(); }));
    MouseUpWatcher::watch(u.cmdSlowPlay, [this](int button) {
        fs::trap(kModule, "Sub cmdSlowPlay_MouseUp", [&] { cmdSlowPlay_MouseUp(button); });
    });
    connect(u.mnuSaveSlowedDownFile, &QAction::triggered, this,
            fs::trapped(kModule, "Sub mnuSaveSlowedDownFile_Click",
                        [this] { mnuSaveSlowedDownFile_Click(); }));
    MMControl* slow = u.slowControl;
    connect(slow, &MMControl::PlayClick, this, [this](bool& Cancel) {
        fs::trap(kModule, "Sub slowControl_PlayClick", [&] { slowControl_PlayClick(Cancel); });
    });
    connect(slow, &MMControl::StopClick, this, [this](bool& Cancel) {
        fs::trap(kModule, "Sub slowControl_StopClick", [&] { slowControl_StopClick(Cancel); });
    });
    connect(slow, &MMControl::GotFocus, this,
            fs::trapped(kModule, "Sub slowControl_GotFocus", [this] { slowControl_GotFocus(); }));
}

void frmMain::slowPlayCallbackArrived(int job, int jobResult) {
    // A job stopped or replaced since it ended changes nothing.
    if (job != m_transform.engineJob.load())
        return;
    m_transform.engineResult = jobResult;
    if (m_transform.tmrLoopDLLTag == u"LOOP") {
        m_transform.tmrLoopDLL.start(200);
    } else {
        m_transform.tmrLoopDLL.stop();
    }
}

// ---------------------------------------------------------------------------------------
// The engine's procedures

qint16 frmMain::calcBands() {
    FS_PROC(kModule, "Function calcBands");
    // More bands, more time: quality 1 gives 512, 2 gives 1024, 3 gives 2048.
    return checkedInt16(static_cast<qint64>(256.0 * std::pow(2.0, gvSoundQuality)));
}

bool frmMain::TempWavPresent() {
    FS_PROC(kModule, "Function TempWavPresent");
    if (!QFile::exists(scratch("temp.wav")))
        Prompts::msgBox(QStringLiteral(
            "Recording did not succeed. Please switch Recording settings and try again."));
    return QFile::exists(scratch("temp.wav"));
}

bool frmMain::slowItDown(double factor, double pitchfactor) {
    FS_PROC(kModule, "Function slowItDown", FS_ARG(factor), FS_ARG(pitchfactor));
    if (!gvRealtime) {
        setPanelText(QStringLiteral("pnlMsg"),
                     QStringLiteral("Changing selection speed and/or pitch..."));
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
        QApplication::processEvents();
    }
    MMControl* w = m_ui->WaveControl;
    if (!w->FileName().isEmpty()) {
        // The engine writes the file the control would otherwise hold open.
        w->setWait(true);
        w->setCommand(QStringLiteral("Close"));
    }
    // Stopping waits and lets clicks in; a click that changed the speed or pitch meanwhile has
    // run its own transformation on the newest values, and this one's are stale.
    const quint64 call = ++m_transform.slowDownCalls;
    fs::ignoreErrors([&] { stopDLL(); });
    if (call != m_transform.slowDownCalls) {
        if (!gvRealtime)
            QGuiApplication::restoreOverrideCursor();
        return false;
    }
    if (!gvRealtime && QFile::exists(scratch("tempslow.wav")))
        QFile::remove(scratch("tempslow.wav"));
    const qint16 code = doMFslowdown(factor, pitchfactor);
    if (!gvRealtime)
        QGuiApplication::restoreOverrideCursor();
    // In real time the start waits too; a call during it has replaced this job.
    if (call != m_transform.slowDownCalls)
        return false;
    if (code == 0 || code == 1)
        return true;
    Prompts::msgBox(slowdownFailed(code));
    changeToMode(QStringLiteral("CD"));
    return false;
}

qint16 frmMain::doMFslowdown(double factor, double pitchfactor) {
    FS_PROC(kModule, "Function doMFslowdown", FS_ARG(factor), FS_ARG(pitchfactor));
    qint16 result = 0;
    qint16 bands = 0;
    MMControl* w = m_ui->WaveControl;
    fs::ignoreErrors([&] { QFile::remove(scratch("tempslow.wav")); });
    fs::ignoreErrors([&] { bands = calcBands(); });
    fs::ignoreErrors([&] {
        if (!w->FileName().isEmpty()) {
            w->setWait(true);
            w->setCommand(QStringLiteral("Close"));
        }
    });
    fs::ignoreErrors([&] { gvSlowFileReady = false; });
    fs::ignoreErrors([&] {
        m_transform.tmrLoopDLL.stop();
        m_transform.tmrLoopDLLTag = QStringLiteral("LOOP");
        // The end of this job, and of no earlier one, is wanted.
        ++m_transform.engineJob;
        m_transform.engineResult = 0;
    });
    fs::ignoreErrors([&] {
        if (gvRealtime) {
            result = static_cast<qint16>(MFPlayFileStart(scratch("temp.wav"), pitchfactor, factor,
                                                         bands, 1, scratch("tempslow.wav"), 1,
                                                         gvChannelToTransform));
            Pause(0.2f);
            gvSlowFileReady = false;
        } else {
            Message2(QStringLiteral("Changing loop speed and/or pitch."), QStringLiteral("MF"));
            result = static_cast<qint16>(MFPlayFileStart(scratch("temp.wav"), pitchfactor, factor,
                                                         bands, 1, scratch("tempslow.wav"), 0,
                                                         gvChannelToTransform));
        }
    });
    return result;
}

void frmMain::stopDLL() {
    FS_PROC(kModule, "Sub stopDLL");
    // The tag is written before the engine is stopped: its late end then changes nothing.
    fs::ignoreErrors([&] {
        m_transform.tmrLoopDLLTag = QStringLiteral("STOP");
        ++m_transform.engineJob;
    });
    fs::ignoreErrors([&] { m_transform.tmrLoopDLL.stop(); });
    fs::ignoreErrors([&] { MFPlayFileStop(); });
    fs::ignoreErrors([&] { Pause(0.2f); });
}

void frmMain::tmrLoopDLL_Timer() {
    FS_PROC(kModule, "Sub tmrLoopDLL_Timer");
    Message2(QStringLiteral("off"), QString());
    m_transform.tmrLoopDLL.stop();
    m_transform.sliderUpdating = true;
    m_ui->slSlowPct_0->setValue(m_transform.slowDownPercent);
    m_transform.sliderUpdating = false;
    MMControl* w = m_ui->WaveControl;
    if (m_transform.tmrLoopDLLTag.compare(u"LOOP", Qt::CaseInsensitive) == 0 &&
        m_transform.engineResult > 1) {
        // The job failed on its way (a disk too full for the result): there is no file to
        // loop. Said as a refusal at the start is said, and the program goes on in mode CD.
        gvSlowFileReady = false;
        graphicEnableToggle(false);
        Prompts::msgBox(slowdownFailed(m_transform.engineResult));
        changeToMode(QStringLiteral("CD"));
        return;
    }
    if (m_transform.tmrLoopDLLTag.compare(u"LOOP", Qt::CaseInsensitive) == 0) {
        gvSlowFileReady = true;
        if (!w->FileName().isEmpty()) {
            w->setWait(true);
            w->setCommand(QStringLiteral("Close"));
        }
        w->setFileName(scratch("tempslow.wav"));
        w->setWait(true);
        w->setCommand(QStringLiteral("Open"));
        ms();
        if (frmScrollTime* graph = formIfLoaded<frmScrollTime>()) {
            // The same stretch of the picture stays selected on the new file.
            graph->selection().startMarker().setPixelPosition(m_graph.savedStartPixel);
            graph->selection().endMarker().setPixelPosition(m_graph.savedEndPixel);
            w->setFrom(qint32(std::lround(graph->selection().startMarker().msPosition())));
            w->setTo(qint32(std::lround(graph->selection().endMarker().msPosition())));
            graph->form_paint();
            graph->gridFollowsSpeed();
            graph->showSelection();
        } else {
            w->setFrom(0);
            w->setTo(w->Length());
        }
        btnLoopPlay_Click();
    } else {
        gvSlowFileReady = false;
    }
    graphicEnableToggle(gvSlowFileReady);
}

bool frmMain::openSlowdownFile() {
    FS_PROC(kModule, "Function openSlowdownFile");
    MMControl* w = m_ui->WaveControl;
    ms();
    m_ui->sbTrackPos->setMaximum(checkedInt16(static_cast<qint64>(w->Length() / 1000)));
    setPanelText(QStringLiteral("pnlLoopLength"),
                 QStringLiteral("Loop Length: ") + mmss(w->Length()));
    w->setFrom(0);
    w->setTo(w->Length());
    m_ui->cmdGraphic->setEnabled(true);
    adjustTrimForm();
    adjustGraph();
    return true;
}

void frmMain::graphicEnableToggle(bool enabled) {
    FS_PROC(kModule, "Sub graphicEnableToggle", FS_ARG(enabled));
    // The graph reads the finished file; while it's being made there is nothing to show.
    m_ui->cmdGraphic->setEnabled(enabled);
    if (QWidget* graph = findLoadedForm(QStringLiteral("frmScrollTime")))
        graph->setEnabled(enabled);
    m_ui->cmdGraphic->update();
}

// ---------------------------------------------------------------------------------------
// The SlowPlay flow

void frmMain::cmdSlowPlay_Click() {
    FS_PROC(kModule, "Sub cmdSlowPlay_Click");
    stage("stage 1");
    gvSlowFileReady = false;
    graphicEnableToggle(false);
    stage("stage 2");
    stage("stage 3");
    stage("stage 4");
    if (playing()) {
        m_transport.currentMMControl->setWait(true);
        m_transport.currentMMControl->setCommand(QStringLiteral("Stop"));
    }
    if (!saveCurrentStatus())
        return;
    stage("stage 5");
    int count = 0;
    fs::ignoreErrors([&] {
        auto clone = m_library.dtaLoopPoints->Clone();
        clone->MoveLast();
        count = clone->RecordCount();
    });
    if (count == 0) {
        Prompts::msgBox(QStringLiteral(
            "The Transform button plays the current loop back at a slower rate. In order to use "
            "this feature, you must first create at least one loop point using the Make Loop "
            "Point button."));
        return;
    }
    m_transform.lastFactor = 0;
    m_transform.sliderUpdating = true;
    stage("stage 6");
    m_transform.slowDownPercent = lstPct();
    m_transform.pitchChange = lstPitchChange();
    m_ui->slSlowPct_0->setValue(m_transform.slowDownPercent);
    m_ui->txtSlowPct_0->setText(QString::number(m_transform.slowDownPercent));
    m_ui->slSlowPct_1->setValue(m_transform.pitchChange);
    pitchChangeTextFieldsFill();
    m_transform.sliderUpdating = false;
    recordCurrentLoop();
}

void frmMain::recordCurrentLoop() {
    FS_PROC(kModule, "Sub recordCurrentLoop");
    try {
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
        if (m_transport.cdView) {
            QGuiApplication::restoreOverrideCursor();
            setEnabled(true);
            if (gvRecordMode != 2) {
                m_ui->CDControl->setUpdateInterval(0);
                Message2(QStringLiteral("Recording loop to hard disk (digital)"),
                         QStringLiteral("ACD"));
                makeDigitalRecording();
            } else {
                Message2(QStringLiteral("Recording loop to hard disk (analog)"),
                         QStringLiteral("Analog Recording"));
                makeAnalogRecording();
            }
            // Both return while the capture goes on; its end changes the mode.
            return;
        }
        extractCurrentLoop();
        changeToMode(QStringLiteral("SlowPlay"));
        if (gvAutoSlow)
            btnLoopPlay_Click();
        QGuiApplication::restoreOverrideCursor();
    } catch (const AppError& e) {
        while (QGuiApplication::overrideCursor())
            QGuiApplication::restoreOverrideCursor();
        Prompts::msgBox(errorInProcedure(e.number, "recordCurrentLoop"));
    }
}

void frmMain::makeAnalogRecording() {
    FS_PROC(kModule, "Sub makeAnalogRecording");
    stage("stage 7");
    if (gvAutomaticallySetRecordingMixer)
        SelectCDInput();
    setPanelText(QStringLiteral("pnlMsg"), QStringLiteral("Recording"));
    stage("stage 8");
    MMControl* w = m_ui->WaveControl;
    w->setWait(true);
    w->setCommand(QStringLiteral("Close"));
    w->setFileName(scratch("temp.wav"));
    fs::ignoreErrors([&] { QFile::remove(scratch("temp.wav")); });
    stage("stage 9");
    w->setWait(true);
    w->setCommand(QStringLiteral("open"));
    if (!SetRecordingParameters(gvRecordingDepth, gvRecordingChannels, gvRecordingSampleRate)) {
        Prompts::msgBox(
            QStringLiteral("The sound driver is not responding. A restart of Windows might fix "
                           "this problem.\n\nIf that doesn't work, go to the Control Panel and "
                           "double-click the Multimedia icon. In the Advanced (or Devices) tab, "
                           "one area is called Media Control Devices. This should contain a Wave "
                           "Audio driver which is enabled (you can tell whether it's enabled by "
                           "double-clicking it and examining the dialog box).\n\nAlso, if you "
                           "click the Audio tab of the Multimedia Control Panel, a valid "
                           "'Preferred Device' should be chosen for both Playback and Recording "));
        Message2(QStringLiteral("off"), QString());
        return;
    }
    gvRecordingLoop = true;
    m_transform.captureLost = false;
    stage("stage 10");
    btnLoopPlay_Click();
    m_transform.tempWavChannels = 1;
    m_transform.expFactor = 100.0f / float(m_transform.slowDownPercent);
}

void frmMain::extractCurrentLoop() {
    FS_PROC(kModule, "Sub extractCurrentLoop");
    qint32 inPoint = 0, outPoint = 0;
    if (calcInAndOutPoints(inPoint, outPoint))
        return;
    MMControl* w = m_ui->WaveControl;
    const QString source = w->FileName();
    w->setWait(true);
    w->setCommand(QStringLiteral("Close"));
    const QString tempName = scratch("temp.wav");
    fs::ignoreErrors([&] { QFile::remove(tempName); });
    m_transform.tempWavChannels = extractWAVEfileSection(source, tempName, inPoint, outPoint);
    if (m_transform.tempWavChannels > 0)
        m_transform.expFactor =
            (100.0f / m_transform.slowDownPercent) / m_transform.tempWavChannels;
    else
        m_transform.expFactor = 100.0f / m_transform.slowDownPercent;
    w->setFileName(tempName);
    w->setWait(true);
    w->setCommand(QStringLiteral("open"));
}

void frmMain::playSlowDownLoop() {
    FS_PROC(kModule, "Sub playSlowDownLoop");
    try {
        MMControl* w = m_ui->WaveControl;
        const bool graphOpen = isLoaded(QStringLiteral("frmScrollTime"));
        if (gvSlowFileReady) {
            if (!graphOpen) {
                ms();
                w->setFrom(0);
                w->setTo(w->Length());
            } else {
                w->setWait(false);
                w->setCommand(QStringLiteral("Play"));
            }
        } else {
            setupTrimFormsForSlowdown();
            // The floor of every path: a speed typed as 3 runs, and is remembered, as 5.
            if (m_transform.slowDownPercent < 5)
                m_transform.slowDownPercent = 5;
            const double factor = 100.0 / m_transform.slowDownPercent;
            const double pitchfactor = calcPitchFactor();
            if (!TempWavPresent())
                return;
            if (!slowItDown(factor, pitchfactor))
                return;
            if (!gvRealtime)
                openSlowdownFile();
            m_transform.lastFactor = factor;
            saveCurrentPct();
            saveCurrentPitchChange();
        }
        setPanelText(QStringLiteral("pnlMsg"), QStringLiteral("Playing loop at %1% of original "
                                                              "speed.")
                                                   .arg(m_transform.slowDownPercent));
        w->setUpdateInterval(graphOpen ? 100 : 0);
        playState->setState(true);
        if (gvSlowFileReady)
            playLoop(false, w->From(), w->To());
        graphicEnableToggle(gvSlowFileReady);
        if (m_ui->cmdGraphic->isVisible() && m_ui->cmdGraphic->isEnabled())
            m_ui->cmdGraphic->setFocus();
    } catch (const AppError& e) {
        Prompts::msgBox(errorInProcedure(e.number, "playSlowDownLoop"));
    }
}

void frmMain::slowControl_GotFocus() {
    FS_PROC(kModule, "Sub slowControl_GotFocus");
    if (m_ui->cmdGraphic->isVisible() && m_ui->cmdGraphic->isEnabled())
        m_ui->cmdGraphic->setFocus();
}

void frmMain::slowControl_PlayClick(bool& Cancel) {
    FS_PROC(kModule, "Sub slowControl_PlayClick", FS_ARG(Cancel));
    // The strip plays nothing itself: its buttons are the loop's.
    Cancel = true;
    btnLoopPlay_Click();
    slowControl_GotFocus();
}

void frmMain::slowControl_StopClick(bool& Cancel) {
    FS_PROC(kModule, "Sub slowControl_StopClick", FS_ARG(Cancel));
    Cancel = true;
    if (gvRealtime && !gvSlowFileReady) {
        // The engine is what sounds: stopping it also cancels the file it was making.
        stopDLL();
    } else {
        MMControl* w = m_ui->WaveControl;
        w->setWait(true);
        w->setCommand(QStringLiteral("Stop"));
        playState->setState(false);
    }
    slowControl_GotFocus();
}

void frmMain::mnuSaveSlowedDownFile_Click() {
    FS_PROC(kModule, "Sub mnuSaveSlowedDownFile_Click");
    QString name;
    fs::ignoreErrors([&] {
        // The dialog asks before overwriting and offers no read-only box.
        name =
            Dialogs::getSaveFileName(this, QStringLiteral("Choose filename for slowed-down file"),
                                     dialogDirectory, QStringLiteral("Wave files (*.wav)"));
    });
    // The scratch file can't be saved onto itself.
    if (name.isEmpty() || name.contains(u"tempslow.wav", Qt::CaseInsensitive))
        return;
    bool copied = false;
    fs::ignoreErrors([&] {
        QFile::remove(name);
        copied = QFile::copy(scratch("tempslow.wav"), name);
    });
    if (!copied) {
        // Nothing to file under recent files; the user is told why instead.
        Prompts::msgBox(QStringLiteral("The slowed-down file could not be saved as ") + name +
                        QStringLiteral(". Check that the folder can be written to and that the "
                                       "disk isn't full."));
        return;
    }
    fs::ignoreErrors([&] { bumpMRUs(); });
    fs::ignoreErrors([&] { setMnuMRUCaption(1, name); });
    fs::ignoreErrors([&] { setMRUs(); });
}

void frmMain::cmdSlowPlay_MouseUp(int Button) {
    FS_PROC(kModule, "Sub cmdSlowPlay_MouseUp", FS_ARG(Button));
    if (Button != 2)
        return;
    Prompts::msgBox(
        QStringLiteral("Pressing this button (which is only available when playback is stopped) "
                       "allows you to play the currently-selected loop at slower speeds.\n\nIf the "
                       "current view is one of the CD views, pressing this button first records "
                       "the current loop of CD audio into a wave file.\n\nAfter a wave file is "
                       "recorded (or immediately, if you press the button from Wave file view), "
                       "the view shifts to the SlowDown screen, where you can slow down the file "
                       "in varying degrees."));
}
