#pragma once

#include <QColor>
#include <QWidget>

// The beat ruler laid exactly over the wave chart: a first line, then a line every beat, the
// first beat of each measure drawn apart from the others, and eighths and triplets between
// the beats when asked. Positions and widths are in twips (twipsPerPixel() to a pixel) and
// relative to the widget; the first line may lie left of it. The mouse goes through it to
// the chart beneath.
//
// Thread: UI thread only.
class RhythmGridWidget : public QWidget {
    Q_OBJECT
public:
    explicit RhythmGridWidget(QWidget* parent = nullptr);

    // Twips in one pixel of this screen in X (15 at 96 dots per inch).
    static int twipsPerPixel();

    QColor beatColor() const { return m_beatColor; }
    void setBeatColor(const QColor& c);
    QColor halfColor() const { return m_halfColor; }
    void setHalfColor(const QColor& c);
    QColor thirdColor() const { return m_thirdColor; }
    void setThirdColor(const QColor& c);
    bool halvesVisible() const { return m_halves; }
    void setHalvesVisible(bool on);
    bool thirdsVisible() const { return m_thirds; }
    void setThirdsVisible(bool on);

    // Distance of two beats, in twips; 0 (the start) draws no beats but the first line.
    double beatWidth() const { return m_beatWidth; }
    void setBeatWidth(double twips);
    // The first line, in twips from the widget's left; may be negative.
    qint32 firstLine() const { return m_firstLine; }
    void setFirstLine(qint32 twips);
    // 1 or more; 4 at the start.
    int beatsPerMeasure() const { return m_beatsPerMeasure; }
    void setBeatsPerMeasure(int beats);

    // Beat line n (1 is the first line), in twips, rounded: firstLine + (n - 1) * beatWidth.
    qint32 beatPosition(int n) const;

    // Where the lines are drawn: the chart's plot, so that they stay off its frame. The
    // whole widget until set.
    void setPlotArea(const QRect& area);

signals:
    // Raised by every set, the program's own included.
    void firstLineChanged();
    void beatWidthChanged();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor m_beatColor{0, 255, 0}, m_halfColor{0, 0, 255}, m_thirdColor{255, 0, 0};
    bool m_halves = false, m_thirds = false;
    double m_beatWidth = 0;
    qint32 m_firstLine = 0;
    int m_beatsPerMeasure = 4;
    QRect m_plotArea;
};
