#include "graph/WaveChart.h"

#include <QMouseEvent>
#include <QPaintEngine>
#include <QPaintEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr double kYTop = 32767, kYBottom = -32768, kYSpan = kYTop - kYBottom;

// Samples written out of range would otherwise draw over the margins and the other widgets.
// NaN goes to the bottom: a comparison with it is false.
double clampedY(double y) {
    return y > kYTop ? kYTop : (y >= kYBottom ? y : kYBottom);
}

// Gathers a line into one vertical span per pixel column, so that a loop of millions of
// points costs a few thousand strokes and still shows every peak.
class ColumnLine {
public:
    explicit ColumnLine(std::vector<QLine>& out) : m_out(out) {}
    ~ColumnLine() { lift(); }

    void moveTo(int column, int row) {
        lift();
        m_down = true;
        m_column = column;
        m_low = m_high = m_last = row;
    }
    void lineTo(int column, int row) {
        if (!m_down) {
            moveTo(column, row);
            return;
        }
        if (column == m_column) {
            m_low = std::min(m_low, row);
            m_high = std::max(m_high, row);
            m_last = row;
            return;
        }
        flush();
        if (std::abs(column - m_column) == 1) {
            // A neighbouring column: its span reaches back to where the line came from.
            m_low = std::min(m_last, row);
            m_high = std::max(m_last, row);
        } else {
            m_out.emplace_back(m_column, m_last, column, row);
            m_low = m_high = row;
        }
        m_column = column;
        m_last = row;
    }
    // The open column, for a loop that follows its points itself: a column no pixel has
    // while the line is lifted.
    int column() const { return m_down ? m_column : std::numeric_limits<int>::min(); }
    // The open column reaches these rows too, and the line goes on from `last`.
    void widen(int low, int high, int last) {
        m_low = std::min(m_low, low);
        m_high = std::max(m_high, high);
        m_last = last;
    }
    // A hole or a stretch outside the axis: the next point starts the line afresh.
    void lift() {
        if (m_down)
            flush();
        m_down = false;
    }

private:
    void flush() { m_out.emplace_back(m_column, m_low, m_column, m_high); }

    std::vector<QLine>& m_out;
    bool m_down = false;
    int m_column = 0, m_low = 0, m_high = 0, m_last = 0;
};

} // namespace

WaveChart::WaveChart(QWidget* parent) : QWidget(parent) {
    // The picture covers every pixel, so nothing beneath needs painting first.
    setAttribute(Qt::WA_OpaquePaintEvent);
}

WaveChart::~WaveChart() = default;

void WaveChart::setBatching(bool on) {
    if (m_batching == on)
        return;
    m_batching = on;
    if (!on && !m_pictureValid)
        update();
}

void WaveChart::setPointCount(int count) {
    const size_t n = size_t(std::max(count, 0));
    // Storage big enough is kept for the next loop; values are never carried over, so
    // storage too small is let go before it would be copied.
    if (n == 0 || n > m_x.capacity()) {
        m_x = {};
        m_y = {};
    }
    m_x.resize(n);
    m_y.resize(n);
    m_written.assign(n, 0);
    m_extent = {};
    m_extentValid = true;
    invalidatePicture();
}

void WaveChart::setX(int point, double x) {
    if (point < 1 || point > pointCount())
        return;
    const size_t i = size_t(point - 1);
    const quint8 before = m_written[i];
    m_x[i] = x;
    m_written[i] = quint8(before | kXWritten);
    if (before == kBothWritten)
        m_extentValid = false;
    else if (before == kYWritten)
        extendExtent(i);
    invalidatePicture();
}

void WaveChart::setY(int point, double y) {
    if (point < 1 || point > pointCount())
        return;
    const size_t i = size_t(point - 1);
    const quint8 before = m_written[i];
    m_y[i] = float(y);
    m_written[i] = quint8(before | kYWritten);
    // A new Y moves no point along the axis: only a point that has just got both values
    // changes the extent.
    if (before == kXWritten)
        extendExtent(i);
    invalidatePicture();
}

double WaveChart::x(int point) const {
    if (point < 1 || point > pointCount() || !(m_written[size_t(point - 1)] & kXWritten))
        return 0.0;
    return m_x[size_t(point - 1)];
}

double WaveChart::y(int point) const {
    if (point < 1 || point > pointCount() || !(m_written[size_t(point - 1)] & kYWritten))
        return 0.0;
    return m_y[size_t(point - 1)];
}

void WaveChart::extendExtent(size_t i) {
    if (!m_extentValid)
        return;
    Extent& e = m_extent;
    const int at = int(i);
    const double x = m_x[i];
    if (e.first < 0) {
        e.first = e.last = at;
        e.minimum = e.maximum = x;
        return;
    }
    if (at > e.last) {
        e.contiguous = e.contiguous && at == e.last + 1;
        e.sorted = e.sorted && x >= m_x[size_t(e.last)];
        e.last = at;
    } else if (at < e.first) {
        e.contiguous = e.contiguous && at == e.first - 1;
        e.sorted = e.sorted && x <= m_x[size_t(e.first)];
        e.first = at;
    } else {
        // A hole between filled: whether any is left takes a look at them all.
        m_extentValid = false;
        return;
    }
    e.minimum = std::min(e.minimum, x);
    e.maximum = std::max(e.maximum, x);
}

const WaveChart::Extent& WaveChart::extent() const {
    if (m_extentValid)
        return m_extent;
    Extent e;
    double previous = 0;
    bool holeSeen = false;
    for (size_t i = 0; i < m_written.size(); ++i) {
        if (!hasValues(i)) {
            holeSeen = e.first >= 0;
            continue;
        }
        const double x = m_x[i];
        if (e.first < 0) {
            e.first = int(i);
            e.minimum = e.maximum = x;
        } else {
            if (holeSeen)
                e.contiguous = false;
            if (x < previous)
                e.sorted = false;
            e.minimum = std::min(e.minimum, x);
            e.maximum = std::max(e.maximum, x);
        }
        holeSeen = false;
        e.last = int(i);
        previous = x;
    }
    m_extent = e;
    m_extentValid = true;
    return m_extent;
}

void WaveChart::setAxisRange(double minimum, double maximum) {
    m_axisSet = true;
    m_axisMin = minimum;
    m_axisMax = maximum;
    invalidatePicture();
}

double WaveChart::axisMinimum() const {
    if (m_axisSet)
        return m_axisMin;
    const Extent& e = extent();
    // A single X still gets an axis of some width, with the point in its middle.
    return e.minimum < e.maximum ? e.minimum : e.minimum - 0.5;
}

double WaveChart::axisMaximum() const {
    if (m_axisSet)
        return m_axisMax;
    const Extent& e = extent();
    return e.minimum < e.maximum ? e.maximum : e.maximum + 0.5;
}

bool WaveChart::axisUsable() const {
    const double lo = axisMinimum(), hi = axisMaximum();
    return std::isfinite(lo) && std::isfinite(hi) && hi > lo && plotRect().width() > 0 &&
           plotRect().height() > 0;
}

QRect WaveChart::plotRect() const {
    return rect().marginsRemoved(m_margins).adjusted(m_border, m_border, -m_border, -m_border);
}

double WaveChart::xToPixel(double x) const {
    const QRect plot = plotRect();
    const double lo = axisMinimum(), hi = axisMaximum();
    // The same sums as the picture's, so a point's pixel is the column it is drawn in.
    return plot.left() + (x - lo) * (plot.width() / (hi - lo));
}

QPoint WaveChart::pointToPixel(int point) const {
    if (point < 1 || point > pointCount() || !hasValues(size_t(point - 1)) || !axisUsable())
        return {-1, -1};
    const double x = m_x[size_t(point - 1)];
    if (x < axisMinimum() || x > axisMaximum())
        return {-1, -1};
    const QRect plot = plotRect();
    const double row =
        plot.top() + (kYTop - clampedY(m_y[size_t(point - 1)])) * ((plot.height() - 1) / kYSpan);
    return {int(std::lround(xToPixel(x))), int(std::lround(row))};
}

std::pair<int, int> WaveChart::indexesInRange() const {
    const Extent& e = extent();
    const auto begin = m_x.begin() + e.first, end = m_x.begin() + e.last + 1;
    return {int(std::lower_bound(begin, end, axisMinimum()) - m_x.begin()),
            int(std::upper_bound(begin, end, axisMaximum()) - m_x.begin()) - 1};
}

std::pair<int, int> WaveChart::indexesToScan() const {
    const Extent& e = extent();
    if (e.first < 0 || !e.sorted || !e.contiguous)
        return {e.first, e.last};
    const auto [from, to] = indexesInRange();
    return {std::max(e.first, from - 1), std::min(e.last, to + 1)};
}

int WaveChart::pixelToPoint(int x, int) const {
    const Extent& e = extent();
    if (e.first < 0 || !axisUsable())
        return 0;
    const double lo = axisMinimum(), hi = axisMaximum();
    int best = 0;
    double bestDistance = 0;
    const auto weigh = [&](int i) {
        if (!hasValues(size_t(i)))
            return;
        const double xi = m_x[size_t(i)];
        if (xi < lo || xi > hi)
            return;
        const double d = std::abs(xToPixel(xi) - x);
        if (best == 0 || d < bestDistance) {
            best = i + 1;
            bestDistance = d;
        }
    };
    if (!e.sorted || !e.contiguous) {
        for (int i = e.first; i <= e.last; ++i)
            weigh(i);
        return best;
    }
    const auto [from, to] = indexesInRange();
    if (from > to)
        return 0;
    const QRect plot = plotRect();
    const double wanted = lo + (x - plot.left()) * (hi - lo) / plot.width();
    const auto begin = m_x.begin() + from, end = m_x.begin() + to + 1;
    // The nearest lie either side of the X wanted; of equal X's, which share a pixel, the
    // first answers.
    const auto firstOfEqual = [&](int i) {
        return int(std::lower_bound(begin, end, m_x[size_t(i)]) - m_x.begin());
    };
    const int after = std::min(int(std::lower_bound(begin, end, wanted) - m_x.begin()), to);
    if (after > from)
        weigh(firstOfEqual(after - 1));
    weigh(firstOfEqual(after));
    return best;
}

void WaveChart::setBackgroundColor(const QColor& color) {
    m_background = color;
    invalidatePicture();
}

void WaveChart::setLineColor(const QColor& color) {
    m_line = color;
    invalidatePicture();
}

void WaveChart::invalidatePicture() {
    m_pictureValid = false;
    if (!m_batching)
        update();
}

void WaveChart::buildPicture(qreal dpr) {
    ++m_pictureBuilds;
    m_pictureValid = true;
    const QSize device(int(std::lround(width() * dpr)), int(std::lround(height() * dpr)));
    if (m_picture.size() != device)
        m_picture = QImage(device, QImage::Format_RGB32);
    // Drawn in device pixels, so a column of the wave is a column of the screen; the scale
    // is given back once it is drawn.
    m_picture.setDevicePixelRatio(1);
    m_picture.fill(m_background);
    if (!device.isEmpty())
        drawPicture(dpr);
    m_picture.setDevicePixelRatio(dpr);
}

void WaveChart::drawPicture(qreal dpr) {
    QPainter painter(&m_picture);
    const QRect plot = plotRect();
    const QRect devicePlot(int(std::lround(plot.left() * dpr)), int(std::lround(plot.top() * dpr)),
                           int(std::lround(plot.width() * dpr)),
                           int(std::lround(plot.height() * dpr)));
    if (m_border > 0 && plot.width() >= 0 && plot.height() >= 0) {
        const int b = int(std::lround(m_border * dpr));
        const QRect frame = devicePlot.adjusted(-b, -b, b, b);
        painter.fillRect(QRect(frame.left(), frame.top(), frame.width(), b), m_line);
        painter.fillRect(QRect(frame.left(), devicePlot.bottom() + 1, frame.width(), b), m_line);
        painter.fillRect(QRect(frame.left(), devicePlot.top(), b, devicePlot.height()), m_line);
        painter.fillRect(QRect(devicePlot.right() + 1, devicePlot.top(), b, devicePlot.height()),
                         m_line);
    }
    if (!axisUsable() || devicePlot.isEmpty())
        return;

    const double lo = axisMinimum(), hi = axisMaximum();
    const double kx = devicePlot.width() / (hi - lo);
    const double ky = (devicePlot.height() - 1) / kYSpan;
    // Columns and rows lie inside the device's plot for any X clipped to the axis, so +0.5
    // and a cast round them.
    const auto column = [&](double x) { return int(devicePlot.left() + 0.5 + (x - lo) * kx); };
    const auto row = [&](double y) { return int(devicePlot.top() + 0.5 + (kYTop - y) * ky); };

    std::vector<QLine> strokes;
    {
        ColumnLine line(strokes);
        bool previous = false;
        double x0 = 0, y0 = 0;
        // One point after another, for any order and any holes: each segment clipped to the
        // axis, its Y taken along it at the edge.
        const auto step = [&](int i) {
            if (!hasValues(size_t(i))) {
                previous = false;
                line.lift();
                return;
            }
            const double x1 = m_x[size_t(i)], y1 = clampedY(m_y[size_t(i)]);
            const auto at = [&](double edge) { return y0 + (y1 - y0) * (edge - x0) / (x1 - x0); };
            if (!previous) {
                if (x1 >= lo && x1 <= hi)
                    line.moveTo(column(x1), row(y1));
            } else if (std::max(x0, x1) < lo || std::min(x0, x1) > hi) {
                line.lift();
            } else {
                if (x0 < lo || x0 > hi) {
                    const double edge = x0 < lo ? lo : hi;
                    line.moveTo(column(edge), row(at(edge)));
                }
                if (x1 < lo || x1 > hi) {
                    const double edge = x1 < lo ? lo : hi;
                    line.lineTo(column(edge), row(at(edge)));
                } else {
                    line.lineTo(column(x1), row(y1));
                }
            }
            previous = true;
            x0 = x1;
            y0 = y1;
        };
        const auto [from, to] = indexesToScan();
        const Extent& e = extent();
        if (from >= 0 && e.sorted && e.contiguous) {
            // Sorted with no hole: inside the range every point follows one drawn before it,
            // so only the two segments that cross the edges need clipping.
            const auto [inFrom, inTo] = indexesInRange();
            for (int i = from; i <= std::min(inFrom, to); ++i)
                step(i);
            // The loop of millions. Sorted, a point stays in the open column until its X
            // passes the column's right edge, so most points cost a compare and the lowest
            // and highest Y; rows are worked out once a column closes.
            const double* xs = m_x.data();
            const float* ys = m_y.data();
            constexpr float none = std::numeric_limits<float>::infinity();
            const double columnAt = devicePlot.left() + 0.5;
            const auto rightEdge = [&](int c) { return lo + (c + 1 - columnAt) / kx; };
            int open = line.column();
            double edge = open == std::numeric_limits<int>::min()
                              ? -std::numeric_limits<double>::infinity()
                              : rightEdge(open);
            float yLow = none, yHigh = -none, yLast = 0;
            const auto close = [&] {
                if (yLow <= yHigh)
                    line.widen(row(clampedY(yHigh)), row(clampedY(yLow)), row(clampedY(yLast)));
                yLow = none;
                yHigh = -none;
            };
            for (int i = inFrom + 1; i <= inTo; ++i) {
                const double x = xs[i];
                const float y = ys[i];
                if (x < edge) {
                    yLow = std::min(yLow, y);
                    yHigh = std::max(yHigh, y);
                    yLast = y;
                    continue;
                }
                close();
                const int c = column(x), r = row(clampedY(y));
                if (c == open) {
                    // Rounding put the edge a hair early.
                    line.widen(r, r, r);
                    continue;
                }
                line.lineTo(c, r);
                open = c;
                edge = rightEdge(c);
            }
            close();
            if (inTo > inFrom) {
                x0 = m_x[size_t(inTo)];
                y0 = clampedY(m_y[size_t(inTo)]);
            }
            for (int i = std::max(inTo, inFrom) + 1; i <= to; ++i)
                step(i);
        } else {
            for (int i = std::max(from, 0); i <= to; ++i)
                step(i);
        }
    }
    // The columns' spans straight into the image, a pixel a row: the painter's line drawing
    // would take several times as long on a picture at scale 2. The rest are few.
    const auto upright = std::partition(strokes.begin(), strokes.end(),
                                        [](const QLine& l) { return l.x1() != l.x2(); });
    painter.setClipRect(devicePlot);
    painter.setPen(QPen(m_line, 0));
    painter.drawLines(strokes.data(), int(upright - strokes.begin()));
    painter.end();
    struct Span {
        int column, top, bottom;
    };
    std::vector<Span> spans;
    spans.reserve(size_t(strokes.end() - upright));
    for (auto l = upright; l != strokes.end(); ++l)
        if (l->x1() >= devicePlot.left() && l->x1() <= devicePlot.right())
            spans.push_back({l->x1(), std::max(std::min(l->y1(), l->y2()), devicePlot.top()),
                             std::min(std::max(l->y1(), l->y2()), devicePlot.bottom())});
    // A band of rows at a time: a column's pixels lie a row apart, each row on pages of its
    // own, and a whole column at once would miss the address cache at every pixel.
    constexpr int kBand = 32;
    const QRgb colour = m_line.rgb();
    uchar* const bits = m_picture.bits();
    const qsizetype stride = m_picture.bytesPerLine();
    for (int band = devicePlot.top(); band <= devicePlot.bottom(); band += kBand) {
        const int bandBottom = std::min(band + kBand - 1, devicePlot.bottom());
        for (const Span& span : spans)
            for (int y = std::max(span.top, band); y <= std::min(span.bottom, bandBottom); ++y)
                reinterpret_cast<QRgb*>(bits + y * stride)[span.column] = colour;
    }
}

void WaveChart::toggleLine(int x) {
    const auto found = std::find(m_lines.begin(), m_lines.end(), x);
    if (found != m_lines.end())
        m_lines.erase(found);
    else
        m_lines.push_back(x);
    const QRect plot = plotRect();
    // A pixel either side covers a fractional screen scale's rounding.
    update(QRect(x - 1, plot.top(), 3, plot.height()));
}

void WaveChart::toggleBox(int left, int right) {
    if (left > right)
        std::swap(left, right);
    const std::pair<int, int> box{left, right};
    const auto found = std::find(m_boxes.begin(), m_boxes.end(), box);
    if (found != m_boxes.end())
        m_boxes.erase(found);
    else
        m_boxes.push_back(box);
    const QRect plot = plotRect();
    update(QRect(left - 1, plot.top(), right - left + 3, plot.height()));
}

void WaveChart::refresh() {
    m_lines.clear();
    m_boxes.clear();
    update();
}

int WaveChart::standingLines() const {
    return int(m_lines.size());
}

int WaveChart::standingBoxes() const {
    return int(m_boxes.size());
}

void WaveChart::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    // The device really painted on: a grab or a render into an image of another scale gets
    // a picture of its own scale, not a blurred one of the screen's.
    const QPaintDevice* target =
        painter.paintEngine() ? painter.paintEngine()->paintDevice() : nullptr;
    const qreal dpr = target ? target->devicePixelRatio() : devicePixelRatioF();
    const QSize device(int(std::lround(width() * dpr)), int(std::lround(height() * dpr)));
    const auto fits = [&] {
        return m_picture.size() == device && m_picture.devicePixelRatio() == dpr;
    };
    if (!m_batching && (!m_pictureValid || !fits()))
        buildPicture(dpr);

    // While batching, a picture of another size stands in until the batch ends.
    const QRect exposed = event->rect();
    if (!fits())
        painter.fillRect(exposed, m_background);
    const qreal scale = m_picture.devicePixelRatio();
    painter.drawImage(exposed, m_picture,
                      QRectF(exposed.x() * scale, exposed.y() * scale, exposed.width() * scale,
                             exposed.height() * scale));

    if (m_lines.empty() && m_boxes.empty())
        return;
    const QRect plot = plotRect();
    const int top = plot.top() + 1, height = plot.height() - 2;
    if (height <= 0)
        return;
    // White by difference turns every colour into its opposite, over any picture, and an
    // overlay drawn twice over the same pixel gives it back, as inversion on the screen did.
    painter.setCompositionMode(QPainter::CompositionMode_Difference);
    for (const int x : m_lines)
        painter.fillRect(QRect(x, top, 1, height), Qt::white);
    for (const auto& [left, right] : m_boxes)
        painter.fillRect(QRect(left, top, right - left + 1, height), Qt::white);
}

void WaveChart::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    invalidatePicture();
    emit resized(size());
}

void WaveChart::mousePressEvent(QMouseEvent* event) {
    emit mousePressed(event->button(), event->modifiers(), event->position().toPoint());
}
