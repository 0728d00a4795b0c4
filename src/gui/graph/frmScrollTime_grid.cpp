// The rhythm grid of Wave View: placed by hand, aligned to a selection or found by itself,
// read as a tempo, and kept with the loop.
#include "app/AppPaths.h"
#include "app/Prompts.h"
#include "app/globals.h"
#include "failsafe/AppError.h"
#include "failsafe/modFailSafe.h"
#include "graph/BeatFinder.h"
#include "graph/GraphHost.h"
#include "graph/GraphUnits.h"
#include "graph/RhythmGridWidget.h"
#include "graph/WaveChart.h"
#include "graph/frmScrollTime.h"
#include "library/Recordset.h"
#include "prefs/prefs.h"
#include "ui_frmScrollTime.h"

#include <QGuiApplication>
#include <cmath>

namespace {

const char* const kModule = "frmScrollTime";

int twips() {
    return RhythmGridWidget::twipsPerPixel();
}

} // namespace

void frmScrollTime::gridFollowsSpeed() {
    // The picture stays as it was, so the grid's lines keep their pixels and the times of the
    // slowed playback they stand for are new.
    wGrid21_firstLineChanged();
    wGrid21_beatWidthChanged();
}

void frmScrollTime::wGrid21_firstLineChanged() {
    if (!m_placingGrid)
        m_gridFirstLineMs = qint32(std::lround(msOfPixel(double(grid()->firstLine()) / twips())));
}

void frmScrollTime::wGrid21_beatWidthChanged() {
    if (!m_placingGrid)
        m_gridBeatWidthMs =
            qint32(std::lround(grid()->beatWidth() / twips() * millisecondsPerPixel()));
}

double frmScrollTime::getGridTempo() {
    FS_PROC(kModule, "Function getGridTempo");
    RhythmGridWidget* g = grid();
    int n = 1;
    while (n <= 30 && g->beatPosition(n) < 1)
        ++n;
    wmarker first(*this), second(*this);
    first.setPixelPosition(g->beatPosition(n) / twips());
    second.setPixelPosition(g->beatPosition(n + 1) / twips());
    const auto d = qint32(std::lround(second.msPosition() - first.msPosition()));
    if (d == 0)
        raiseError(errnum::DivisionByZero);
    return graphunits::tempoOfBeat(d);
}

void frmScrollTime::highlightBeat(int theBeat) {
    FS_PROC(kModule, "Sub highlightBeat", FS_ARG(theBeat));
    RhythmGridWidget* g = grid();
    int n = 1;
    while (n <= g->beatsPerMeasure() && g->beatPosition(n) < 1)
        ++n;
    const int m = theBeat + n - 1;
    m_selection.startMarker().setPixelPosition(g->beatPosition(m) / twips());
    m_selection.endMarker().setPixelPosition(g->beatPosition(m + 1) / twips());
}

void frmScrollTime::gridRefresh() {
    FS_PROC(kModule, "Sub gridRefresh");
    if (Recordset* loop = m_host.currentLoopRecord()) {
        loop->Edit();
        loop->setField(QStringLiteral("gridvisible"), !grid()->isHidden());
        loop->Update();
    }
    form_paint();
    showSelection();
}

void frmScrollTime::mnuShowHide_Click() {
    FS_PROC(kModule, "Sub mnuShowHide_Click");
    fs::ignoreErrors([&] {
        if (grid()->beatWidth() <= 0)
            grid()->setBeatWidth(360);
        grid()->setVisible(!!grid()->isHidden());
        gridRefresh();
    });
}

void frmScrollTime::mnuAlignGridToSelection_Click() {
    FS_PROC(kModule, "Sub mnuAlignGridToSelection_Click");
    const QString answer =
        Prompts::inputBox(QStringLiteral("Enter the number of beats in the current selection"),
                          QString(), QStringLiteral("4"));
    if (answer.isEmpty())
        return;
    bool numeric = false;
    const double beats = answer.trimmed().toDouble(&numeric);
    if (!numeric) {
        Prompts::msgBox(QStringLiteral("Please enter a numeric value"));
    } else {
        if (beats == 0)
            raiseError(errnum::DivisionByZero);
        const graphunits::GridPlace place = graphunits::alignGrid(
            m_selection.startMarker().pixelPosition(), m_selection.endMarker().pixelPosition(),
            beats, grid()->beatsPerMeasure(), twips());
        grid()->setFirstLine(place.firstLine);
        grid()->setBeatWidth(place.beatWidth);
        grid()->setVisible(true);
        gridRefresh();
    }
    // The beat lines of the selection are seen clean; the box comes back with the next paint.
    if (m_ui->mnuInvert->isChecked())
        m_selection.invert();
}

void frmScrollTime::mnuBPM_Click() {
    FS_PROC(kModule, "Sub mnuBPM_Click");
    const QString answer =
        Prompts::inputBox(QStringLiteral("Enter the number of beats per measure:"));
    const double value = vbVal(answer);
    if (value > 0 && value <= 32767) {
        grid()->setBeatsPerMeasure(int(std::lround(value)));
        showSelection();
    }
}

void frmScrollTime::mnuBPMinute_Click() {
    FS_PROC(kModule, "Sub mnuBPMinute_Click");
    const double t = getGridTempo();
    const double original = graphunits::originalTempo(t, m_host.slowDownPercent());
    Prompts::msgBox(
        QStringLiteral("Slowed-down tempo is %1 beats per minute.\n\nOriginal tempo: %2")
            .arg(t)
            .arg(original));
}

void frmScrollTime::mnuRulers_Click(int Index) {
    FS_PROC(kModule, "Sub mnuRulers_Click", FS_ARG(Index));
    RhythmGridWidget* g = grid();
    if (Index == 2) {
        bool on = !g->halvesVisible();
        g->setHalvesVisible(on);
        writePref(QStringLiteral("Grid HalvesVisible"), on, on);
        m_ui->mnuRulers_2->setChecked(on);
    } else if (Index == 3) {
        bool on = !g->thirdsVisible();
        g->setThirdsVisible(on);
        writePref(QStringLiteral("Grid ThirdsVisible"), on, on);
        m_ui->mnuRulers_3->setChecked(on);
    }
}

void frmScrollTime::mnuGridMaster_Click() {
    FS_PROC(kModule, "Sub mnuGridMaster_Click");
    m_ui->mnuRulers_2->setChecked(grid()->halvesVisible());
    m_ui->mnuRulers_3->setChecked(grid()->thirdsVisible());
    m_ui->mnuShowHide->setChecked(!grid()->isHidden());
    const bool placed = !grid()->isHidden() && grid()->beatWidth() > 0;
    m_ui->mnuDoubleTempo->setEnabled(placed);
    m_ui->mnuHalfTempo->setEnabled(placed);
    m_ui->mnuShiftHalfBeat->setEnabled(placed);
    // A tempo is read off two lines of the grid on view; without them there is none to tell.
    m_ui->mnuBPMinute->setEnabled(placed);
}

void frmScrollTime::mnuFindBeats_Click() {
    FS_PROC(kModule, "Sub mnuFindBeats_Click");
    const QString said = m_host.status();
    m_host.setStatus(QStringLiteral("Finding the beat. Please wait..."));
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    const BeatFinder::Result found = BeatFinder::findInFile(appDir() + QStringLiteral("/temp.wav"));
    QGuiApplication::restoreOverrideCursor();
    m_host.setStatus(said);
    if (!found.ok) {
        Prompts::msgBox(found.why);
        return;
    }
    // Seconds of the unslowed file become milliseconds of the slowed playback, and those
    // twips of the ruler exactly, without passing through whole pixels.
    const double stretch = 100.0 / m_host.slowDownPercent();
    const double msPerPixel = millisecondsPerPixel();
    if (!(msPerPixel > 0))
        return;
    const double beatTwips = found.beatPeriod * 1000.0 * stretch / msPerPixel * twips();
    const double firstTwips =
        pixelOfMs(found.firstBarBeat(grid()->beatsPerMeasure()) * 1000.0 * stretch) * twips();
    RhythmGridWidget* g = grid();
    // The first line goes back by whole measures to the left of the picture, as aligning does,
    // so that the found first beat stays a measure line.
    const double first =
        graphunits::firstLineOffThePicture(firstTwips, beatTwips * g->beatsPerMeasure());
    g->setFirstLine(qint32(std::lround(first)));
    g->setBeatWidth(beatTwips);
    g->setVisible(true);
    gridRefresh();
}

double frmScrollTime::millisecondsPerPixel() const {
    // The axis counts words of the file; a word is expFactor / samplesPerMs milliseconds of
    // the slowed playback, whatever the display quality.
    const double width = chart()->plotRect().width();
    const double words = chart()->axisMaximum() - chart()->axisMinimum();
    if (!(width > 0) || !(words > 0))
        return 0;
    return words / width * double(m_host.expFactor()) / double(gvSamplesPerMs);
}

double frmScrollTime::msOfPixel(double px) const {
    const double perMs = double(gvSamplesPerMs) / double(m_host.expFactor());
    const double words = chart()->axisMaximum() - chart()->axisMinimum();
    const QRect plot = chart()->plotRect();
    if (!(words > 0) || plot.width() <= 0)
        return 0;
    return ((px - plot.left()) / plot.width() * words + chart()->axisMinimum()) / perMs;
}

double frmScrollTime::pixelOfMs(double ms) const {
    const double perMs = double(gvSamplesPerMs) / double(m_host.expFactor());
    const double words = chart()->axisMaximum() - chart()->axisMinimum();
    const QRect plot = chart()->plotRect();
    if (!(words > 0))
        return plot.left();
    return plot.left() + (ms * perMs - chart()->axisMinimum()) / words * plot.width();
}

void frmScrollTime::mnuDoubleTempo_Click() {
    FS_PROC(kModule, "Sub mnuDoubleTempo_Click");
    grid()->setBeatWidth(grid()->beatWidth() / 2);
    gridRefresh();
}

void frmScrollTime::mnuHalfTempo_Click() {
    FS_PROC(kModule, "Sub mnuHalfTempo_Click");
    RhythmGridWidget* g = grid();
    g->setBeatWidth(g->beatWidth() * 2);
    // Keep the ruler's origin off the picture, as the other placements do.
    g->setFirstLine(qint32(std::lround(graphunits::firstLineOffThePicture(
        g->firstLine(), g->beatsPerMeasure() * g->beatWidth()))));
    gridRefresh();
}

void frmScrollTime::mnuShiftHalfBeat_Click() {
    FS_PROC(kModule, "Sub mnuShiftHalfBeat_Click");
    RhythmGridWidget* g = grid();
    g->setFirstLine(qint32(std::lround(g->firstLine() + g->beatWidth() / 2)));
    gridRefresh();
}

void frmScrollTime::mnuSnapToGrid_Click() {
    FS_PROC(kModule, "Sub mnuSnapToGrid_Click");
    bool on = m_ui->mnuSnapToGrid->isChecked();
    writePref(QStringLiteral("Grid SnapToGrid"), on, on);
}

void frmScrollTime::showSelection() {
    // What a musician transcribing wants at a glance: how long the selection is, in seconds
    // and in beats, and how fast the grid's beat goes, slowed and as played.
    const double seconds =
        (m_selection.endMarker().msPosition() - m_selection.startMarker().msPosition()) / 1000.0;
    QString text = QStringLiteral("Selection: %1 seconds").arg(seconds, 0, 'f', 2);
    RhythmGridWidget* g = grid();
    if (!g->isHidden() && g->beatWidth() > 0) {
        fs::ignoreErrors([&] {
            const double beats = double(m_selection.endMarker().pixelPosition() -
                                        m_selection.startMarker().pixelPosition()) *
                                 twips() / g->beatWidth();
            // The tempo from the ruler's own width, not from whole pixels: the line reads to
            // a tenth of a beat per minute.
            const double beatMs = g->beatWidth() / twips() * millisecondsPerPixel();
            if (!(beatMs > 0))
                return;
            const double t = std::round(600000.0 / beatMs) / 10.0;
            text += QStringLiteral(", %1 beats. Tempo: %2 beats per minute, %3 original")
                        .arg(beats, 0, 'f', 1)
                        .arg(t)
                        .arg(graphunits::originalTempo(t, m_host.slowDownPercent()));
        });
    }
    m_statusLine->setText(text + u'.');
}
