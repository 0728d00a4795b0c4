#include "graph/frmScrollTime.h"

#include "app/AppPaths.h"
#include "app/Dialogs.h"
#include "app/Forms.h"
#include "app/KeyCodes.h"
#include "app/Messages.h"
#include "app/Prompts.h"
#include "app/Support.h"
#include "app/globals.h"
#include "failsafe/modFailSafe.h"
#include "graph/GraphHost.h"
#include "graph/GraphUnits.h"
#include "graph/RhythmGridWidget.h"
#include "graph/WaveChart.h"
#include "library/Recordset.h"
#include "platform/MMControl.h"
#include "prefs/prefs.h"
#include "shell/CFormEx.h"
#include "ui_frmScrollTime.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCloseEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QStatusBar>
#include <QToolButton>
#include <cmath>

namespace {

const char* const kModule = "frmScrollTime";

// Colours are kept as the numbers the preferences always held: red + green * 256 + blue *
// 65536.
QColor colorFromLong(qint32 value) {
    return QColor(value & 0xFF, (value >> 8) & 0xFF, (value >> 16) & 0xFF);
}
qint32 colorToLong(const QColor& c) {
    return c.red() + c.green() * 256 + c.blue() * 65536;
}

// A preference that holds "N/A" has no value yet.
bool prefValue(const QString& name, QString& value) {
    value.clear();
    readPref(name, value, QStringLiteral("N/A"));
    return value != u"N/A";
}

int twips() {
    return RhythmGridWidget::twipsPerPixel();
}

// Where the window stood when it was last closed in this run: it opens there again, and at
// that size the grid kept with a loop, which is in twips of the chart, stands where it stood.
QRect g_lastGeometry;

} // namespace

frmScrollTime::frmScrollTime(GraphHost& host)
    : QMainWindow(host.window(), Qt::Tool), m_host(host),
      m_ui(std::make_unique<Ui::frmScrollTime>()), m_selection(*this), m_playPosition(*this),
      m_scratchMarker(*this) {
    m_ui->setupUi(this);
    setObjectName(QStringLiteral("frmScrollTime"));
    setAttribute(Qt::WA_DeleteOnClose, false);
    // The strip offers play and stop only: they play the selection on the main window's
    // player, which holds the slowed loop.
    MMControl* strip = m_ui->MMControl1;
    strip->offerPlayAndStopOnly();
    // Keys belong to the window (1-9, n, p, Space, F7): no button takes one for a click.
    for (QAbstractButton* button : findChildren<QAbstractButton*>())
        button->setFocusPolicy(Qt::NoFocus);
    m_ui->Chart->setFocusPolicy(Qt::StrongFocus);
    // A lasting label, not a passing message: a menu's opening would wipe one.
    m_statusLine = new QLabel(this);
    m_statusLine->setObjectName(QStringLiteral("lblStatus"));
    statusBar()->addWidget(m_statusLine, 1);
    connect(strip, &MMControl::PlayClick, this, [this](bool& Cancel) {
        fs::trap(kModule, "Sub MMControl1_PlayClick", [&] { MMControl1_PlayClick(Cancel); });
    });
    connect(strip, &MMControl::StopClick, this, [this](bool& Cancel) {
        fs::trap(kModule, "Sub MMControl1_StopClick", [&] { MMControl1_StopClick(Cancel); });
    });
    connect(m_ui->Chart, &WaveChart::mousePressed, this,
            [this](Qt::MouseButton button, Qt::KeyboardModifiers mods, QPoint at) {
                fs::trap(kModule, "Sub Chart_MouseDown",
                         [&] { Chart_MouseDown(button, mods, at.x()); });
            });
    connect(m_ui->wGrid21, &RhythmGridWidget::firstLineChanged, this,
            fs::trapped(kModule, "Sub wGrid21_firstLineChanged",
                        [this] { wGrid21_firstLineChanged(); }));
    connect(m_ui->wGrid21, &RhythmGridWidget::beatWidthChanged, this,
            fs::trapped(kModule, "Sub wGrid21_beatWidthChanged",
                        [this] { wGrid21_beatWidthChanged(); }));

    auto on = [this](QAction* action, const char* name, auto&& run) {
        connect(action, &QAction::triggered, this, fs::trapped(kModule, name, run));
    };
    Ui::frmScrollTime& u = *m_ui;
    on(u.mnuShowHide, "Sub mnuShowHide_Click", [this] { mnuShowHide_Click(); });
    on(u.mnuAlignGridToSelection, "Sub mnuAlignGridToSelection_Click",
       [this] { mnuAlignGridToSelection_Click(); });
    on(u.mnuBPM, "Sub mnuBPM_Click", [this] { mnuBPM_Click(); });
    on(u.mnuBPMinute, "Sub mnuBPMinute_Click", [this] { mnuBPMinute_Click(); });
    on(u.mnuRulers_1, "Sub mnuRulers_Click", [this] { mnuRulers_Click(1); });
    on(u.mnuRulers_2, "Sub mnuRulers_Click", [this] { mnuRulers_Click(2); });
    on(u.mnuRulers_3, "Sub mnuRulers_Click", [this] { mnuRulers_Click(3); });
    on(u.mnuFindBeats, "Sub mnuFindBeats_Click", [this] { mnuFindBeats_Click(); });
    on(u.mnuDoubleTempo, "Sub mnuDoubleTempo_Click", [this] { mnuDoubleTempo_Click(); });
    on(u.mnuHalfTempo, "Sub mnuHalfTempo_Click", [this] { mnuHalfTempo_Click(); });
    on(u.mnuShiftHalfBeat, "Sub mnuShiftHalfBeat_Click", [this] { mnuShiftHalfBeat_Click(); });
    on(u.mnuSnapToGrid, "Sub mnuSnapToGrid_Click", [this] { mnuSnapToGrid_Click(); });
    on(u.mnuColors_1, "Sub mnuColors_Click", [this] { mnuColors_Click(1); });
    on(u.mnuColors_2, "Sub mnuColors_Click", [this] { mnuColors_Click(2); });
    on(u.mnuColors_3, "Sub mnuColors_Click", [this] { mnuColors_Click(3); });
    on(u.mnuZoom_1, "Sub mnuZoom_Click", [this] { mnuZoom_Click(1); });
    on(u.mnuZoom_2, "Sub mnuZoom_Click", [this] { mnuZoom_Click(2); });
    on(u.mnuInvert, "Sub mnuInvert_Click", [this] { mnuInvert_Click(); });
    on(u.mnuBackgroundColor, "Sub mnuBackgroundColor_Click",
       [this] { mnuBackgroundColor_Click(); });
    on(u.mnuGraphColor, "Sub mnuGraphColor_Click", [this] { mnuGraphColor_Click(); });
    on(u.mnuGraphicDisplayQuality, "Sub mnuGraphicDisplayQuality_Click",
       [this] { mnuGraphicDisplayQuality_Click(); });
    on(u.mnuSelectAll, "Sub mnuSelectAll_Click", [this] { mnuSelectAll_Click(); });
    on(u.mnuRefresh, "Sub mnuRefresh_Click", [this] { mnuRefresh_Click(); });
    connect(u.mnuGridMaster, &QMenu::aboutToShow, this,
            fs::trapped(kModule, "Sub mnuGridMaster_Click", [this] { mnuGridMaster_Click(); }));

    try {
        Form_Load();
    } catch (const AppError&) {
        Prompts::msgBox(QStringLiteral("There was an error loading the form. Please try again, or "
                                       "shut down Cantavox and/or Windows and try again."));
        m_formLoading = false;
        m_unloaded = true;
        QMetaObject::invokeMethod(
            this, [this] { unloadForm(this); }, Qt::QueuedConnection);
    }
}

frmScrollTime::~frmScrollTime() = default;

WaveChart* frmScrollTime::chart() const {
    return m_ui->Chart;
}

RhythmGridWidget* frmScrollTime::grid() const {
    return m_ui->wGrid21;
}

float frmScrollTime::expFactor() {
    return m_host.expFactor();
}

// ---------------------------------------------------------------------------------------
// Loading and reading the loop

void frmScrollTime::Form_Load() {
    FS_PROC(kModule, "Sub Form_Load");
    m_formLoading = true;
    CFormEx helper;
    helper.Init(this);
    helper.setOnTop(true);
    m_host.setStatus(QStringLiteral("Generating Wave graphic, please wait."));
    QApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    ReadSlowdownFile();
    m_plotPointCount = chart()->pointCount();
    m_playPosition.Hide();
    m_selection.startMarker().setSamplePosition(1);
    m_selection.endMarker().setMsPosition(double(m_host.player()->Length()) - 15);
    m_selection.startMarker().Hide();
    m_selection.endMarker().Hide();
    // Over the part of the main window that SlowPlay leaves empty: the two read as one screen.
    const QRect area = g_lastGeometry.isValid() ? g_lastGeometry : m_host.emptyArea();
    if (area.width() > 100 && area.height() > 100)
        setGeometry(area);
    Form_Resize();
    loadFormPrefs();
    QGuiApplication::restoreOverrideCursor();
    setEnabled(true);
    show();
    raise();
    activateWindow();
    chart()->setFocus();
    m_host.player()->setUpdateInterval(100);
    m_formLoading = false;
    showSelection();
}

void frmScrollTime::ReadSlowdownFile() {
    FS_PROC(kModule, "Sub ReadSlowdownFile");
    WaveChart* c = chart();
    try {
        const graphunits::ChartPoints points =
            graphunits::readChartPoints(appDir() + QStringLiteral("/temp.wav"), gvDisplayQuality);
        if (!points.error.isEmpty())
            Prompts::msgBox(points.error);
        c->setBatching(true);
        c->setPointCount(points.count);
        c->fillPoints(
            points.filled, [&](int i) { return points.x(i); }, [&](int i) { return points.y(i); });
    } catch (const AppError& e) {
        Prompts::msgBox(QStringLiteral("Error %1 occurred reading tempslow.wav into the graph\n\n%2"
                                       "\n\nPlease send email with the error description to %3. "
                                       "Thank you.")
                            .arg(e.number)
                            .arg(e.description, supportAddress()));
    }
    c->setBatching(false);
}

void frmScrollTime::SetDataRange(qint32 First, qint32 Last) {
    FS_PROC(kModule, "Sub SetDataRange", FS_ARG(First), FS_ARG(Last));
    WaveChart* c = chart();
    c->setBatching(true);
    const double minimum = double(gvDisplayQuality) * First - 1;
    const double maximum = double(gvDisplayQuality) * Last - 1;
    if (!(maximum > minimum)) {
        c->setBatching(false);
        Prompts::msgBox(QStringLiteral("There was an error setting the data range for the graph. "
                                       "First = %1; Last = %2")
                            .arg(First)
                            .arg(Last));
        return;
    }
    c->setAxisRange(minimum, maximum);
    c->setBatching(false);
}

void frmScrollTime::resizeEvent(QResizeEvent* event) {
    QMainWindow::resizeEvent(event);
    fs::trap(kModule, "Sub Form_Resize", [this] { Form_Resize(); });
}

void frmScrollTime::Form_Resize() {
    FS_PROC(kModule, "Sub Form_Resize");
    QWidget* area = m_ui->centralwidget;
    const int w = area->width(), h = area->height();
    // The chart reaches past the right edge, so that its right border is off the window, and
    // leaves a strip below for the buttons.
    constexpr int kBottomMarginTwips = 720;
    const int bottom = kBottomMarginTwips / twips();
    chart()->setGeometry(0, 0, w + 250 / twips(), std::max(1, h - bottom));
    const QSize strip = m_ui->MMControl1->sizeHint();
    m_ui->MMControl1->setGeometry(std::max(0, w - strip.width() - 8),
                                  std::max(0, h - bottom + (bottom - strip.height()) / 2),
                                  strip.width(), strip.height());
    m_ui->Label1->setGeometry(8, std::max(0, h - bottom), std::max(1, w - strip.width() - 24),
                              bottom);
    grid()->setGeometry(chart()->geometry());
    grid()->setPlotArea(chart()->plotRect());
    grid()->raise();
    if (!m_formLoading)
        placeGridFromMs(m_gridFirstLineMs, m_gridBeatWidthMs);
    form_paint();
    if (!m_formLoading)
        showSelection();
}

void frmScrollTime::placeGridFromMs(double firstMs, double beatMs) {
    // The same musical places have new pixels: the ruler follows them, at the picture's exact
    // scale, and the places themselves stay as they were (a window made very narrow for a
    // moment would otherwise leave them rounded to its few pixels).
    const double msPerPixel = millisecondsPerPixel();
    if (!(msPerPixel > 0))
        return;
    m_placingGrid = true;
    grid()->setFirstLine(qint32(std::lround(double(twips()) * pixelOfMs(firstMs))));
    grid()->setBeatWidth(double(twips()) * beatMs / msPerPixel);
    m_placingGrid = false;
}

// ---------------------------------------------------------------------------------------
// Drawing and scales

void frmScrollTime::vertLine(qint32 xp) {
    chart()->toggleLine(xp);
}

void frmScrollTime::invertBox(qint32 left, qint32 right) {
    chart()->toggleBox(left, right);
}

qint32 frmScrollTime::pixelPos(qint32 msPosit) {
    m_scratchMarker.setMsPosition(msPosit);
    return m_scratchMarker.pixelPosition();
}

qint32 frmScrollTime::msPos(qint32 pixelPosit) {
    m_scratchMarker.setPixelPosition(pixelPosit);
    return qint32(std::lround(m_scratchMarker.msPosition()));
}

void frmScrollTime::form_paint() {
    chart()->refresh();
    if (m_ui->mnuInvert->isChecked())
        m_selection.invert();
}

// ---------------------------------------------------------------------------------------
// Selection, play and keys

void frmScrollTime::Chart_MouseDown(Qt::MouseButton Button, Qt::KeyboardModifiers Shift, int X) {
    FS_PROC(kModule, "Sub Chart_MouseDown", FS_ARG(int(Button)), FS_ARG(int(Shift)), FS_ARG(X));
    bool cancel = false;
    MMControl1_StopClick(cancel);
    const bool plain = !(Shift & (Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier));
    int x = X;
    // With the grid up and snapping on, a click lands on the nearest line of the grid.
    if (plain && m_ui->mnuSnapToGrid->isChecked() && !grid()->isHidden()) {
        x = graphunits::nearestGridLine(X, grid()->firstLine(), grid()->beatWidth(), twips(),
                                        grid()->halvesVisible(), grid()->thirdsVisible());
    }
    if (plain && Button == Qt::LeftButton)
        m_selection.startMarker().setPixelPosition(x);
    else if (plain && Button == Qt::RightButton)
        m_selection.endMarker().setPixelPosition(x);
    wmarker& start = m_selection.startMarker();
    wmarker& end = m_selection.endMarker();
    if (end.samplePosition() < start.samplePosition()) {
        const qint32 s = start.samplePosition();
        start.setSamplePosition(end.samplePosition());
        end.setSamplePosition(s);
    }
    m_playPosition.Hide();
    form_paint();
    showSelection();
    MMControl1_PlayClick(cancel);
}

void frmScrollTime::MMControl1_PlayClick(bool& Cancel) {
    FS_PROC(kModule, "Sub MMControl1_PlayClick", FS_ARG(Cancel));
    m_playPosition.Hide();
    MMControl* player = m_host.player();
    m_host.usePlayerInMilliseconds();
    player->setFrom(qint32(std::lround(m_selection.startMarker().msPosition())));
    player->setTo(qint32(std::lround(m_selection.endMarker().msPosition())));
    m_host.playSelection();
    activateWindow();
    chart()->setFocus();
}

void frmScrollTime::MMControl1_StopClick(bool& Cancel) {
    FS_PROC(kModule, "Sub MMControl1_StopClick", FS_ARG(Cancel));
    m_host.disarmLoop();
    m_playPosition.Hide();
    MMControl* player = m_host.player();
    player->setWait(true);
    player->setCommand(QStringLiteral("Stop"));
}

void frmScrollTime::keyPressEvent(QKeyEvent* event) {
    int code = vbKeyCode(event->key(), event->modifiers());
    int shift = 0;
    if (event->modifiers() & Qt::ShiftModifier)
        shift |= 1;
    if (event->modifiers() & Qt::ControlModifier)
        shift |= 2;
    if (event->modifiers() & Qt::AltModifier)
        shift |= 4;
    // Space is this window's own: it plays the selection from its start or stops it, and the
    // main window's play toggle would resume wherever the sound stood.
    if (code != 0 && code != 32)
        fs::trap(kModule, "Sub Form_KeyDown", [&] { Form_KeyDown(code, shift); });
    // A key the main window used up (Space) is not a character for this window too.
    if (code == 0 && vbKeyCode(event->key(), event->modifiers()) != 0)
        return;
    const QString text = event->text();
    if (!text.isEmpty() && text.at(0).isPrint())
        fs::trap(kModule, "Sub Form_KeyPress", [&] { Form_KeyPress(text.at(0).unicode()); });
}

void frmScrollTime::Form_KeyDown(int& KeyCode, int Shift) {
    FS_PROC(kModule, "Sub Form_KeyDown", FS_ARG(KeyCode), FS_ARG(Shift));
    const int step = (Shift & 1) ? 1 : 12;
    const bool ctrl = Shift & 2, alt = Shift & 4;
    RhythmGridWidget* g = grid();
    switch (KeyCode) {
    case 118: { // F7
        MMControl* player = m_host.player();
        player->setWait(true);
        player->setCommand(QStringLiteral("Stop"));
        bool cancel = false;
        MMControl1_PlayClick(cancel);
        return;
    }
    case 39: // right arrow
    case 37: // left arrow
    {
        const int sign = KeyCode == 39 ? 1 : -1;
        if (ctrl)
            g->setFirstLine(g->firstLine() + sign * step);
        else if (alt)
            g->setBeatWidth(g->beatWidth() + sign * step);
        if (ctrl || alt)
            showSelection();
        return;
    }
    default:
        if (!gvKeyForwarding) {
            gvKeyForwarding = true;
            m_host.keyDown(KeyCode, Shift);
            gvKeyForwarding = false;
        }
    }
}

void frmScrollTime::Form_KeyPress(int KeyAscii) {
    FS_PROC(kModule, "Sub Form_KeyPress", FS_ARG(KeyAscii));
    const bool digit = KeyAscii >= '1' && KeyAscii <= '9';
    if (digit || KeyAscii == 'n' || KeyAscii == 'p') {
        m_playPosition.Hide();
        MMControl* player = m_host.player();
        player->setWait(true);
        player->setCommand(QStringLiteral("Stop"));
        if (KeyAscii == 'n')
            ++m_lastBeatPlayed;
        else if (KeyAscii == 'p') {
            if (m_lastBeatPlayed >= 1)
                --m_lastBeatPlayed;
        } else
            m_lastBeatPlayed = KeyAscii - '0';
        highlightBeat(m_lastBeatPlayed);
        showSelection();
        bool cancel = false;
        MMControl1_PlayClick(cancel);
        activateWindow();
        return;
    }
    if (KeyAscii == ' ') {
        bool cancel = false;
        if (m_host.playing())
            MMControl1_StopClick(cancel);
        else
            MMControl1_PlayClick(cancel);
    }
}

// ---------------------------------------------------------------------------------------
// Colours, zoom and the rest

QColor frmScrollTime::changeColorProperty(const QString& prefName, const QColor& currentColor) {
    const QColor chosen = Dialogs::getColor(currentColor, this, QString());
    // Cancel keeps the colour there was.
    const QColor color = chosen.isValid() ? chosen : currentColor;
    qint32 stored = colorToLong(color);
    writePref(prefName, stored, stored);
    return color;
}

void frmScrollTime::mnuColors_Click(int Index) {
    FS_PROC(kModule, "Sub mnuColors_Click", FS_ARG(Index));
    RhythmGridWidget* g = grid();
    if (Index == 1)
        g->setBeatColor(changeColorProperty(QStringLiteral("Grid BeatColor"), g->beatColor()));
    else if (Index == 2)
        g->setHalfColor(changeColorProperty(QStringLiteral("Grid HalfColor"), g->halfColor()));
    else
        g->setThirdColor(changeColorProperty(QStringLiteral("Grid ThirdColor"), g->thirdColor()));
}

void frmScrollTime::mnuBackgroundColor_Click() {
    FS_PROC(kModule, "Sub mnuBackgroundColor_Click");
    chart()->setBackgroundColor(
        changeColorProperty(QStringLiteral("Graph Background Color"), chart()->backgroundColor()));
}

void frmScrollTime::mnuGraphColor_Click() {
    FS_PROC(kModule, "Sub mnuGraphColor_Click");
    chart()->setLineColor(
        changeColorProperty(QStringLiteral("Graph Foreground Color"), chart()->lineColor()));
}

void frmScrollTime::mnuGraphicDisplayQuality_Click() {
    FS_PROC(kModule, "Sub mnuGraphicDisplayQuality_Click");
    const QString answer = Prompts::inputBox(
        QStringLiteral("Please enter a number between 1 and 20 for graphic quality. Higher "
                       "numbers give you higher resolution but take longer to display. The "
                       "number here does not affect the sound quality, just the graphic "
                       "quality."),
        QStringLiteral("Enter quality factor"), QString::number(21 - gvDisplayQuality));
    const int step = graphunits::qualityStepFromAnswer(answer);
    if (step == 0)
        return;
    gvDisplayQuality = qint16(step);
    Prompts::msgBox(QStringLiteral("The new value will take effect the next time you create a "
                                   "graph."));
}

void frmScrollTime::mnuInvert_Click() {
    FS_PROC(kModule, "Sub mnuInvert_Click");
    bool on = m_ui->mnuInvert->isChecked();
    writePref(QStringLiteral("Graph Invert Selection"), on, on);
    form_paint();
}

void frmScrollTime::mnuRefresh_Click() {
    FS_PROC(kModule, "Sub mnuRefresh_Click");
    m_playPosition.Hide();
    form_paint();
}

void frmScrollTime::mnuSelectAll_Click() {
    FS_PROC(kModule, "Sub mnuSelectAll_Click");
    fs::ignoreErrors([&] {
        m_selection.startMarker().setSamplePosition(1);
        m_selection.endMarker().setMsPosition(double(m_host.player()->Length()) - 15);
        m_playPosition.Hide();
        bool cancel = false;
        MMControl1_StopClick(cancel);
        mnuRefresh_Click();
        showSelection();
        MMControl1_PlayClick(cancel);
    });
}

void frmScrollTime::mnuZoom_Click(int Index) {
    FS_PROC(kModule, "Sub mnuZoom_Click", FS_ARG(Index));
    if (Index == 1) {
        const float f = expFactor();
        SetDataRange(graphunits::pointOfSample(m_selection.startMarker().samplePosition(), f),
                     graphunits::pointOfSample(m_selection.endMarker().samplePosition(), f));
    } else {
        SetDataRange(1, chart()->pointCount());
    }
    // The picture moved under the lines: they are drawn again where they now belong.
    m_playPosition.Hide();
    form_paint();
}

void frmScrollTime::loadFormPrefs() {
    FS_PROC(kModule, "Sub loadFormPrefs");
    QString value;
    bool invert = true;
    if (prefValue(QStringLiteral("Graph Invert Selection"), value))
        invert = vbCBool(value);
    m_ui->mnuInvert->setChecked(invert);
    if (prefValue(QStringLiteral("Graph Background Color"), value))
        chart()->setBackgroundColor(colorFromLong(qint32(vbVal(value))));
    if (prefValue(QStringLiteral("Graph Foreground Color"), value))
        chart()->setLineColor(colorFromLong(qint32(vbVal(value))));

    // The grid's colours get their defaults stored at the first use.
    RhythmGridWidget* g = grid();
    struct ColorPref {
        const char* name;
        QColor fallback;
        void (RhythmGridWidget::*set)(const QColor&);
    };
    const ColorPref colors[] = {
        {"Grid BeatColor", QColor(0, 255, 0), &RhythmGridWidget::setBeatColor},
        {"Grid HalfColor", QColor(0, 0, 255), &RhythmGridWidget::setHalfColor},
        {"Grid ThirdColor", QColor(255, 0, 0), &RhythmGridWidget::setThirdColor},
    };
    for (const ColorPref& c : colors) {
        const QString name = QString::fromLatin1(c.name);
        if (!prefValue(name, value)) {
            qint32 stored = colorToLong(c.fallback);
            writePref(name, stored, stored);
            value = QString::number(stored);
        }
        (g->*c.set)(colorFromLong(qint32(vbVal(value))));
    }
    if (prefValue(QStringLiteral("Grid HalvesVisible"), value))
        g->setHalvesVisible(vbCBool(value));
    if (prefValue(QStringLiteral("Grid ThirdsVisible"), value))
        g->setThirdsVisible(vbCBool(value));
    if (prefValue(QStringLiteral("Grid SnapToGrid"), value))
        m_ui->mnuSnapToGrid->setChecked(vbCBool(value));

    g->setVisible(false);
    if (Recordset* loop = m_host.currentLoopRecord()) {
        if (!loop->isNull(QStringLiteral("lastGridStart")))
            g->setFirstLine(loop->field(QStringLiteral("lastGridStart")).toInt());
        if (!loop->isNull(QStringLiteral("lastGridWidth")))
            g->setBeatWidth(loop->field(QStringLiteral("lastGridWidth")).toDouble());
        if (loop->isNull(QStringLiteral("gridvisible"))) {
            loop->Edit();
            loop->setField(QStringLiteral("gridvisible"), false);
            loop->Update();
        }
        if (loop->field(QStringLiteral("gridvisible")).toBool())
            mnuShowHide_Click();
    }
}

void frmScrollTime::closeEvent(QCloseEvent* event) {
    fs::trap(kModule, "Sub Form_QueryUnload", [] { FS_PROC(kModule, "Sub Form_QueryUnload"); });
    if (!m_unloaded) {
        m_unloaded = true;
        g_lastGeometry = geometry();
        fs::trap(kModule, "Sub Form_Unload", [this] { Form_Unload(); });
    }
    QMainWindow::closeEvent(event);
    // Closed by its frame it is unloaded as well.
    if (!property("cantavoxUnloaded").toBool()) {
        setProperty("cantavoxUnloaded", true);
        deleteLater();
    }
}

void frmScrollTime::Form_Unload() {
    FS_PROC(kModule, "Sub Form_Unload");
    if (Recordset* loop = m_host.currentLoopRecord()) {
        loop->Edit();
        loop->setField(QStringLiteral("lastGridStart"), grid()->firstLine());
        loop->setField(QStringLiteral("lastGridWidth"), grid()->beatWidth());
        loop->setField(QStringLiteral("gridvisible"), !grid()->isHidden());
        loop->Update();
    }
}
