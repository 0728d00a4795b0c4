#pragma once

#include "graph/wBox.h"
#include "graph/wmarker.h"

#include <QMainWindow>
#include <memory>

class GraphHost;
class QLabel;
class RhythmGridWidget;
class WaveChart;

namespace Ui {
class frmScrollTime;
}

// "Wave View": the loop being slowed down as a wave graph. It reads the unslowed scratch file
// "temp.wav" once, when it is made, but every time it tells is a time of the slowed playback.
// A left click sets the selection's start, a right click its end, and the selection plays at
// once; the keys 1-9, n and p select and play single beats of the rhythm grid laid over the
// picture. It stands over the main window, where SlowPlay leaves it empty, and lives only in
// SlowPlay.
//
// Thread: UI thread only.
class frmScrollTime : public QMainWindow {
    Q_OBJECT
public:
    explicit frmScrollTime(GraphHost& host);
    ~frmScrollTime() override;
    Ui::frmScrollTime* ui() const { return m_ui.get(); }
    WaveChart* chart() const;
    RhythmGridWidget* grid() const;

    wBox& selection() { return m_selection; }
    wmarker& playPosition() { return m_playPosition; }

    // Marker samples per chart point, as the main window knows it.
    float expFactor();
    // A line drawn so that drawing it again at the same place takes it away.
    void vertLine(qint32 xp);
    void invertBox(qint32 left, qint32 right);
    qint32 pixelPos(qint32 msPosit);
    qint32 msPos(qint32 pixelPosit);

    void form_paint();
    // After a change of speed: the grid's times follow its unchanged lines.
    void gridFollowsSpeed();
    // The selection's length and the grid's tempo, slowed and original, in the status line.
    void showSelection();
    void SetDataRange(qint32 First, qint32 Last);
    void Chart_MouseDown(Qt::MouseButton Button, Qt::KeyboardModifiers Shift, int X);
    void MMControl1_PlayClick(bool& Cancel);
    void MMControl1_StopClick(bool& Cancel);
    // Returns with KeyCode 0 when the key was used up (by the main window too).
    void Form_KeyDown(int& KeyCode, int Shift);
    void Form_KeyPress(int KeyAscii);

    // The rhythm grid.
    double getGridTempo();
    void highlightBeat(int theBeat);
    void gridRefresh();
    void mnuShowHide_Click();
    void mnuAlignGridToSelection_Click();
    void mnuBPM_Click();
    void mnuBPMinute_Click();
    void mnuRulers_Click(int Index);
    void mnuGridMaster_Click();
    void mnuFindBeats_Click();
    void mnuDoubleTempo_Click();
    void mnuHalfTempo_Click();
    void mnuShiftHalfBeat_Click();
    void mnuSnapToGrid_Click();

    // Colours, zoom and the rest.
    void mnuColors_Click(int Index);
    void mnuBackgroundColor_Click();
    void mnuGraphColor_Click();
    void mnuGraphicDisplayQuality_Click();
    void mnuInvert_Click();
    void mnuRefresh_Click();
    void mnuSelectAll_Click();
    void mnuZoom_Click(int Index);

    // The grid's place in milliseconds of the slowed playback: what a resize keeps.
    qint32 gridFirstLineMs() const { return m_gridFirstLineMs; }
    qint32 gridBeatWidthMs() const { return m_gridBeatWidthMs; }
    qint32 plotPointCount() const { return m_plotPointCount; }

protected:
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void Form_Load();
    void ReadSlowdownFile();
    void Form_Resize();
    void Form_Unload();
    void loadFormPrefs();
    QColor changeColorProperty(const QString& prefName, const QColor& currentColor);
    void wGrid21_firstLineChanged();
    void wGrid21_beatWidthChanged();
    void placeGridFromMs(double firstMs, double beatMs);
    // The picture's exact scale, for what is placed or read finer than a pixel.
    double millisecondsPerPixel() const;
    double pixelOfMs(double ms) const;
    double msOfPixel(double px) const;

    GraphHost& m_host;
    std::unique_ptr<Ui::frmScrollTime> m_ui;
    wBox m_selection;
    wmarker m_playPosition;
    wmarker m_scratchMarker;
    int m_lastBeatPlayed = 0;
    bool m_formLoading = true;
    // The ruler is being moved to follow its places in milliseconds, which stay as they are.
    bool m_placingGrid = false;
    qint32 m_gridFirstLineMs = 0;
    qint32 m_gridBeatWidthMs = 0;
    qint32 m_plotPointCount = 0;
    bool m_unloaded = false;
    QLabel* m_statusLine = nullptr;
};
