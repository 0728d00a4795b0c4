#pragma once

#include <QColor>
#include <QImage>
#include <QWidget>
#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

// The chart of the wave graph: one series of points, numbered from 1, each with an X value
// (a word index of the loop's file, not a time) and a Y value (a 16-bit sample), drawn as one
// line across the plot area between the X axis's minimum and maximum.
//
// A point keeps its defaults (a hole) until its values are set: a hole is not drawn and has no
// pixel. The picture is drawn into an image at the screen's pixel ratio and made again only
// when the data, the axis, the size or a colour change; the lines and the box laid over it
// are drawn on each paint, and a line's toggle repaints only its own strip.
//
// Overlays stand for drawing by inversion: toggling a line or a box at the same place twice
// leaves the picture as it was, so an odd number of toggles leaves it standing; refresh()
// wipes them all, as a repaint of the chart would.
//
// Thread: UI thread only.
class WaveChart : public QWidget {
    Q_OBJECT
public:
    explicit WaveChart(QWidget* parent = nullptr);
    ~WaveChart() override;

    // While batching the chart doesn't redraw; set back to false it redraws once.
    void setBatching(bool on);
    bool batching() const { return m_batching; }

    // Setting the count allocates the points, all holes; reading gives it back.
    void setPointCount(int count);
    int pointCount() const { return int(m_x.size()); }
    // Points from 1 to pointCount(); outside that range a write does nothing and a read is 0,
    // as is a read of a value not written. Y is kept as a float, which holds every 16-bit
    // sample exactly.
    void setX(int point, double x);
    void setY(int point, double y);
    double x(int point) const;
    double y(int point) const;
    // Points 1 to count at once, their values from xOf(point) and yOf(point), as setX and setY
    // would write them: a loop of millions of points then costs its values alone.
    template <class XOf, class YOf> void fillPoints(int count, XOf xOf, YOf yOf) {
        const int n = std::min(count, pointCount());
        if (n <= 0)
            return;
        Extent e;
        e.first = 0;
        e.last = n - 1;
        for (int p = 1; p <= n; ++p) {
            const auto i = size_t(p - 1);
            const double xv = xOf(p);
            if (p > 1)
                e.sorted = e.sorted && xv >= m_x[i - 1];
            e.minimum = p == 1 ? xv : std::min(e.minimum, xv);
            e.maximum = p == 1 ? xv : std::max(e.maximum, xv);
            m_x[i] = xv;
            m_y[i] = float(yOf(p));
            m_written[i] = kBothWritten;
        }
        // Points past those written keep what they had: the extent is looked at again if
        // any of them has values.
        bool more = false;
        for (size_t i = size_t(n); i < m_written.size() && !more; ++i)
            more = m_written[i] != 0;
        m_extent = e;
        m_extentValid = !more;
        invalidatePicture();
    }

    // The X axis, in the units of the X values. Until set, it spans the points that have
    // values. A range of no width or less is kept but draws no line and gives no pixel.
    void setAxisRange(double minimum, double maximum);
    double axisMinimum() const;
    double axisMaximum() const;

    // The plot area's margins inside the chart and the border's width, in pixels: the plot
    // rectangle is the chart's rectangle less both.
    QMargins plotMargins() const { return m_margins; }
    int borderWidth() const { return m_border; }
    QRect plotRect() const;

    // The pixel of a point, in the chart's coordinates: plot left + (x - minimum) * plot
    // width / (maximum - minimum), rounded, so the maximum falls just right of plotRect();
    // Y 32767 on the plot's top row and -32768 on its bottom row. X negative for a hole, a
    // point outside the axis range, or no point at all.
    QPoint pointToPixel(int point) const;
    // The point with values whose pixel is nearest to x (y is not weighed); 0 without any.
    int pixelToPoint(int x, int y) const;

    QColor backgroundColor() const { return m_background; }
    void setBackgroundColor(const QColor& color);
    QColor lineColor() const { return m_line; }
    void setLineColor(const QColor& color);

    // Drawing by inversion: a one-pixel line at x from the plot's top + 1 to its bottom - 1,
    // and a box between two x's over the same height.
    void toggleLine(int x);
    void toggleBox(int left, int right);
    // Wipes every line and box and repaints the picture.
    void refresh();
    // How many overlays stand now (lines and boxes); what a test or a look at the screen
    // counts.
    int standingLines() const;
    int standingBoxes() const;

    // How often the picture was drawn anew; lets a test or a benchmark tell a rebuild from a
    // paint of the kept picture.
    int pictureBuilds() const { return m_pictureBuilds; }

signals:
    // A mouse button went down on the chart, at this pixel.
    void mousePressed(Qt::MouseButton button, Qt::KeyboardModifiers modifiers, QPoint at);
    void resized(QSize size);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    // What one pass over the points tells, kept until a value changes.
    struct Extent {
        int first = -1, last = -1; // indexes of the first and last point with values
        bool contiguous = true;    // no hole between them
        bool sorted = true;        // X never falls from one point with values to the next
        double minimum = 0, maximum = 0;
    };

    // Leaves the values it makes unwritten: a hole's values are never read, and a loop of
    // millions of points shouldn't be written twice.
    template <class T> struct Unwritten : std::allocator<T> {
        using value_type = T;
        Unwritten() = default;
        template <class U> Unwritten(const Unwritten<U>&) noexcept {}
        template <class U, class... Args> void construct(U* at, Args&&... args) {
            if constexpr (sizeof...(Args) == 0)
                ::new (static_cast<void*>(at)) U;
            else
                ::new (static_cast<void*>(at)) U(std::forward<Args>(args)...);
        }
    };

    void invalidatePicture();
    // A point has just got both its values: the extent grows by it where it can.
    void extendExtent(size_t i);
    void buildPicture(qreal dpr);
    void drawPicture(qreal dpr);
    double xToPixel(double x) const;
    const Extent& extent() const;
    bool axisUsable() const;
    bool hasValues(size_t i) const { return m_written[i] == kBothWritten; }
    // The first and last index worth drawing for the axis range, one point beyond each end
    // so the line runs to the plot's edges.
    std::pair<int, int> indexesToScan() const;
    // With the points sorted and no hole between them: the first and last index inside the
    // axis range (the first past the last when none is).
    std::pair<int, int> indexesInRange() const;

    static constexpr quint8 kXWritten = 1, kYWritten = 2, kBothWritten = 3;
    std::vector<double, Unwritten<double>> m_x;
    // A float holds every 16-bit sample exactly, and a loop of millions of points is a
    // quarter smaller.
    std::vector<float, Unwritten<float>> m_y;
    std::vector<quint8> m_written; // which of the point's values were written
    mutable Extent m_extent;
    mutable bool m_extentValid = false;
    bool m_batching = false;
    bool m_axisSet = false;
    double m_axisMin = 0, m_axisMax = 0;
    QMargins m_margins{8, 8, 8, 8};
    int m_border = 1;
    QColor m_background{Qt::white};
    QColor m_line{Qt::darkBlue};
    QImage m_picture;
    bool m_pictureValid = false;
    int m_pictureBuilds = 0;
    // Standing overlays: a line's x, a box's left and right (toggled twice, gone).
    std::vector<int> m_lines;
    std::vector<std::pair<int, int>> m_boxes;
};
