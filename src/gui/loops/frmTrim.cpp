#include "loops/frmTrim.h"

#include "app/AppUtilities.h"
#include "app/Forms.h"
#include "app/KeyCodes.h"
#include "app/Messages.h"
#include "app/Prompts.h"
#include "app/TimeFormats.h"
#include "app/globals.h"
#include "app/stateVariable.h"
#include "failsafe/modFailSafe.h"
#include "library/LoopQueries.h"
#include "library/Recordset.h"
#include "loops/TrimHost.h"
#include "platform/MMControl.h"
#include "shell/CFormEx.h"
#include "shell/hints.h"
#include "shell/showHideTrackInfo.h"
#include "ui_frmTrim.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QPointer>
#include <QSlider>
#include <QTableView>
#include <QToolButton>
#include <algorithm>
#include <cmath>

namespace {
const char* const kModule = "frmTrim";
// The end preview plays the last two seconds, and only of a loop longer than three.
constexpr qint32 kPreviewMinimum = 3000;
constexpr qint32 kPreviewLength = 2000;

} // namespace

frmTrim::frmTrim(TrimHost& host)
    : QWidget(host.window(), Qt::Tool), m_host(host), m_ui(std::make_unique<Ui::frmTrim>()) {
    m_ui->setupUi(this);
    setObjectName(QStringLiteral("frmTrim"));
    // The strip offers play and stop only; both act on the main window's player.
    MMControl* strip = m_ui->MMControl1;
    strip->offerPlayAndStopOnly();
    // Keys here are the main window's (Space, F6 ...): no button may take one for a click,
    // so only the sliders take the focus, and their arrow keys move them.
    for (QAbstractButton* button : findChildren<QAbstractButton*>())
        button->setFocusPolicy(Qt::NoFocus);
    connect(strip, &MMControl::PlayClick, this, [this](bool& Cancel) {
        fs::trap(kModule, "Sub MMControl1_PlayClick", [&] { MMControl1_PlayClick(Cancel); });
    });
    connect(strip, &MMControl::StopClick, this, [this](bool& Cancel) {
        fs::trap(kModule, "Sub MMControl1_StopClick", [&] { MMControl1_StopClick(Cancel); });
    });
    for (int i = 0; i < 2; ++i) {
        QSlider* slider = slStart(i);
        connect(slider, &QSlider::valueChanged, this,
                fs::trapped(kModule, "Sub slStart_Change", [this, i] { slStart_Change(i); }));
        connect(slider, &QSlider::sliderPressed, this,
                fs::trapped(kModule, "Sub slStart_MouseDown", [this, i] { slStart_MouseDown(i); }));
        connect(slider, &QSlider::sliderReleased, this,
                fs::trapped(kModule, "Sub slStart_MouseUp", [this, i] { slStart_MouseUp(i); }));
    }
    connect(
        &tmrSliderFreedom, &QTimer::timeout, this,
        fs::trapped(kModule, "Sub tmrSliderFreedom_Timer", [this] { tmrSliderFreedom_Timer(); }));
    connect(m_ui->cmdNext_1, &QPushButton::clicked, this,
            fs::trapped(kModule, "Sub cmdNext_Click", [this] { cmdNext_Click(1); }));
    connect(m_ui->cmdNext_2, &QPushButton::clicked, this,
            fs::trapped(kModule, "Sub cmdNext_Click", [this] { cmdNext_Click(2); }));
    connect(m_ui->cmdZoom, &QPushButton::clicked, this,
            fs::trapped(kModule, "Sub cmdZoom_Click", [this] { cmdZoom_Click(); }));
    connect(m_ui->cmdSave, &QPushButton::clicked, this,
            fs::trapped(kModule, "Sub cmdSave_Click", [this] { cmdSave_Click(); }));
    connect(m_ui->cmdClose, &QPushButton::clicked, this,
            fs::trapped(kModule, "Sub cmdClose_Click", [this] { cmdClose_Click(); }));
    connect(m_ui->cmdHelp, &QPushButton::clicked, this,
            fs::trapped(kModule, "Sub cmdHelp_Click", [this] { cmdHelp_Click(); }));
    fs::trap(kModule, "Sub Form_Load", [this] { Form_Load(); });
}

frmTrim::~frmTrim() = default;

QSlider* frmTrim::slStart(int index) const {
    return index == 0 ? m_ui->slStart_0 : m_ui->slStart_1;
}

void frmTrim::Form_Load() {
    FS_PROC(kModule, "Sub Form_Load");
    stashTooltips();
    CFormEx helper;
    helper.Init(this);
    helper.setOnTop(true);
    // Over the tracks grid, covering it. A wave file has no tracks grid: there the window
    // takes the empty place of the disc's fields above the loops, which stay readable.
    QWidget* tracks = m_host.tracksGrid();
    if (tracks->isVisible()) {
        move(tracks->mapToGlobal(QPoint(0, 0)));
        resize(std::max(sizeHint().width(), tracks->width()), tracks->height());
    } else {
        QWidget* area = m_host.centralArea();
        move(area->mapToGlobal(QPoint(8, 8)));
        resize(std::max(sizeHint().width(), area->width() / 2), sizeHint().height());
    }
    showHideTrackInfo(false);
    setTrimLimits();
    QApplication::processEvents();
    m_ui->cmdSave->setEnabled(!gvInSlowPlay);
    settingLimits = false;
    checkTooltips();
}

void frmTrim::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    fs::trap(kModule, "Sub Form_Activate", [this] { Form_Activate(); });
}

void frmTrim::Form_Activate() {
    FS_PROC(kModule, "Sub Form_Activate");
    showHideTrackInfo(false);
}

void frmTrim::Form_QueryUnload(bool& Cancel) {
    FS_PROC(kModule, "Sub Form_QueryUnload", FS_ARG(Cancel));
    if (m_host.showsDiscTracks())
        showHideTrackInfo(true);
}

void frmTrim::closeEvent(QCloseEvent* event) {
    bool cancel = false;
    fs::trap(kModule, "Sub Form_QueryUnload", [&] { Form_QueryUnload(cancel); });
    if (cancel) {
        event->ignore();
        return;
    }
    QWidget::closeEvent(event);
    // Closed by its frame it is unloaded as well: from now on the stored loop counts again.
    if (!property("cantavoxUnloaded").toBool()) {
        setProperty("cantavoxUnloaded", true);
        deleteLater();
    }
}

void frmTrim::keyReleaseEvent(QKeyEvent* event) {
    fs::trap(kModule, "Sub Form_KeyUp",
             [&] { Form_KeyUp(vbKeyCode(event->key(), event->modifiers()), event->modifiers()); });
}

void frmTrim::Form_KeyUp(int KeyCode, Qt::KeyboardModifiers Shift) {
    FS_PROC(kModule, "Sub Form_KeyUp", FS_ARG(KeyCode));
    if (KeyCode == 'T' && (Shift & Qt::AltModifier)) {
        m_host.slowPlay();
        return;
    }
    m_host.keyDown(KeyCode);
}

void frmTrim::setTrimLimits() {
    FS_PROC(kModule, "Sub setTrimLimits");
    Recordset* rs = &m_host.loopRows();
    const qint32 start = rs->field(QStringLiteral("startTime")).toInt();
    library::findLoopStartingAt(*rs, start);
    if (rs->isNull(QStringLiteral("endTime"))) {
        // A loop without an end runs to the next loop's start, the last one five seconds.
        const QVariant mark = rs->Bookmark();
        rs->MoveNext();
        qint32 end = 0;
        if (rs->isEOF()) {
            m_host.usePlayerInMilliseconds();
            end = std::min(m_host.player()->Length(), start + 5000);
        } else {
            end = rs->field(QStringLiteral("startTime")).toInt();
        }
        rs->setBookmark(mark);
        rs->Edit();
        rs->setField(QStringLiteral("endTime"), end);
        rs->Update();
    }
    limitsInProgress = true;
    qint32 theStart = 0, theEnd = 0;
    if (gvInSlowPlay) {
        // In SlowPlay the loop is the whole slowed-down file.
        theEnd = m_host.player()->Length();
        theStart = 1;
    } else {
        theEnd = rs->field(QStringLiteral("endTime")).toInt();
        theStart = rs->field(QStringLiteral("startTime")).toInt();
    }
    settingLimits = true;
    const qint32 margin = gvInSlowPlay ? 0 : 1000;
    for (int i = 0; i < 2; ++i) {
        QSlider* slider = slStart(i);
        // A loop within the first second gets a negative minimum; the slider takes it.
        slider->setMinimum(0);
        slider->setMaximum(theEnd + margin);
        slider->setMinimum(theStart - margin);
        slider->setValue(i == 0 ? theStart : theEnd);
    }
    m_host.player()->setFrom(slStart(0)->minimum());
    m_host.player()->setTo(slStart(0)->maximum());
    settingLimits = false;
    limitsInProgress = false;
}

void frmTrim::slStart_Change(int Index) {
    if (settingLimits || limitsInProgress)
        return;
    FS_PROC(kModule, "Sub slStart_Change", FS_ARG(Index));
    MMControl* c = m_host.player();
    QSlider* slider = slStart(Index);
    if (Index == 1) {
        c->setTo(slider->value());
        c->setWait(true);
        c->setCommand(QStringLiteral("Stop"));
        if (c->To() - c->From() > kPreviewMinimum && gvPreviewEnd) {
            // The end is heard first: the last two seconds, then (by the Done of the
            // preview) the whole loop again.
            c->setWait(true);
            c->setCommand(QStringLiteral("Stop"));
            // The window may be closed (and deleted) during the wait; then the preview is
            // simply not played.
            const QPointer<frmTrim> self(this);
            const QPointer<MMControl> control(c);
            Pause(1.0f);
            if (!self || !control)
                return;
            const qint32 from = c->From();
            c->setTo(slider->value());
            c->setFrom(slider->value() - kPreviewLength);
            playState->setState(true);
            c->setNotify(true);
            c->setWait(false);
            c->setCommand(QStringLiteral("Play"));
            c->setUpdateInterval(500);
            m_host.setLoop(slStart(0)->value(), slStart(1)->value());
            c->setFrom(from);
            c->setTo(slider->value());
            return;
        }
    } else {
        c->setTimeFormat(MMControl::TimeFormatMs);
        c->setFrom(slider->value());
    }
    c->setWait(true);
    c->setCommand(QStringLiteral("Stop"));
    playState->setState(true);
    m_host.playLoop(c->From(), c->To());
}

void frmTrim::slStart_MouseDown(int Index) {
    FS_PROC(kModule, "Sub slStart_MouseDown", FS_ARG(Index));
    MMControl* c = m_host.player();
    c->setUpdateInterval(0);
    playState->setState(false);
    c->setWait(true);
    c->setCommand(QStringLiteral("Stop"));
}

void frmTrim::slStart_MouseUp(int Index) {
    FS_PROC(kModule, "Sub slStart_MouseUp", FS_ARG(Index));
    // The slider lets go of the mouse; both take input again 300 ms later. Switching it off
    // takes the keyboard from it, which the musician clicked it to move by the arrow keys:
    // it gets the keyboard back with its input.
    QSlider* slider = slStart(Index);
    if (slider->hasFocus())
        m_sliderWithFocus = slider;
    slider->setEnabled(false);
    tmrSliderFreedom.start(300);
    m_host.player()->setUpdateInterval(500);
}

void frmTrim::tmrSliderFreedom_Timer() {
    FS_PROC(kModule, "Sub tmrSliderFreedom_Timer");
    slStart(0)->setEnabled(true);
    slStart(1)->setEnabled(true);
    tmrSliderFreedom.stop();
    if (m_sliderWithFocus)
        m_sliderWithFocus->setFocus(Qt::OtherFocusReason);
    m_sliderWithFocus = nullptr;
}

void frmTrim::cmdZoom_Click() {
    FS_PROC(kModule, "Sub cmdZoom_Click");
    settingLimits = true;
    for (int i = 0; i < 2; ++i) {
        QSlider* slider = slStart(i);
        slider->setMinimum(mathMax(slider->minimum() - 5000, 0));
        slider->setMaximum(slider->maximum() + 5000);
    }
    settingLimits = false;
}

void frmTrim::cmdNext_Click(int Index) {
    FS_PROC(kModule, "Sub cmdNext_Click", FS_ARG(Index));
    QSlider* start = slStart(0);
    QSlider* end = slStart(1);
    const qint32 len = end->value() - start->value();
    qint32 delta = 0;
    if (Index == 1)
        delta = -mathMin(start->value() - start->minimum(), len);
    else
        delta = mathMin(end->maximum() - end->value(), len);
    start->setValue(start->value() + delta);
    end->setValue(end->value() + delta);
}

void frmTrim::cmdSave_Click() {
    FS_PROC(kModule, "Sub cmdSave_Click");
    if (!confirm(QStringLiteral("Are you sure that you want to save the current trim points as "
                                "the new start and end points for the loop?")))
        return;
    Recordset* rs = &m_host.loopRows();
    rs->Edit();
    rs->setField(QStringLiteral("startTime"), slStart(0)->value());
    rs->setField(QStringLiteral("endTime"), slStart(1)->value());
    rs->Update();
}

void frmTrim::MMControl1_PlayClick(bool& Cancel) {
    FS_PROC(kModule, "Sub MMControl1_PlayClick", FS_ARG(Cancel));
    // The strip has no player of its own.
    Cancel = true;
    slStart_Change(0);
}

void frmTrim::MMControl1_StopClick(bool& Cancel) {
    FS_PROC(kModule, "Sub MMControl1_StopClick", FS_ARG(Cancel));
    Cancel = true;
    MMControl* c = m_host.player();
    playState->setState(false);
    c->setWait(true);
    c->setCommand(QStringLiteral("Stop"));
    c->setUpdateInterval(0);
}

void frmTrim::cmdClose_Click() {
    FS_PROC(kModule, "Sub cmdClose_Click");
    unloadForm(this);
}

void frmTrim::cmdHelp_Click() {
    FS_PROC(kModule, "Sub cmdHelp_Click");
    Prompts::msgBox(
        QStringLiteral(
            "The sliders allow you to adjust the beginning and endpoints of the current loop "
            "that's playing. Each time you let go of a slider the loop starts again with the "
            "new endpoints, so you can trim them by ear; click Save to keep them.") +
        QStringLiteral("\n\n") +
        QStringLiteral("When this window first appears during normal play (not SlowPlay) a "
                       "margin of 1 second is given on each side of the endpoints, so the loop "
                       "can be made a little longer as well as shorter. Zoom Out gives 5 seconds "
                       "more on each side."));
}
