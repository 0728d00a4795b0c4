#include "graph/RhythmGridWidget.h"

#include <QGuiApplication>
#include <QPainter>
#include <QScreen>
#include <algorithm>
#include <cmath>
#include <limits>

namespace {

// Lines closer than this would paint the widget solid and cost a stroke per pixel or more.
constexpr double kClosestPixels = 2;

qint32 roundedTwips(double twips) {
    constexpr double lo = std::numeric_limits<qint32>::min(),
                     hi = std::numeric_limits<qint32>::max();
    return std::isnan(twips) ? 0 : qint32(std::llround(std::clamp(twips, lo, hi)));
}

} // namespace

RhythmGridWidget::RhythmGridWidget(QWidget* parent) : QWidget(parent) {
    // Clicks belong to the chart beneath, and the wave shows between the lines.
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_NoSystemBackground);
    setAutoFillBackground(false);
}

int RhythmGridWidget::twipsPerPixel() {
    const QScreen* screen = QGuiApplication::primaryScreen();
    const double dpi = screen ? screen->logicalDotsPerInchX() : 0;
    return dpi > 0 ? std::max(1, int(std::lround(1440.0 / dpi))) : 15;
}

void RhythmGridWidget::setBeatColor(const QColor& c) {
    m_beatColor = c;
    update();
}

void RhythmGridWidget::setHalfColor(const QColor& c) {
    m_halfColor = c;
    update();
}

void RhythmGridWidget::setThirdColor(const QColor& c) {
    m_thirdColor = c;
    update();
}

void RhythmGridWidget::setHalvesVisible(bool on) {
    m_halves = on;
    update();
}

void RhythmGridWidget::setThirdsVisible(bool on) {
    m_thirds = on;
    update();
}

void RhythmGridWidget::setBeatWidth(double twips) {
    m_beatWidth = twips;
    update();
    emit beatWidthChanged();
}

void RhythmGridWidget::setFirstLine(qint32 twips) {
    m_firstLine = twips;
    update();
    emit firstLineChanged();
}

void RhythmGridWidget::setBeatsPerMeasure(int beats) {
    m_beatsPerMeasure = std::max(beats, 1);
    update();
}

qint32 RhythmGridWidget::beatPosition(int n) const {
    return roundedTwips(m_firstLine + (double(n) - 1) * m_beatWidth);
}

void RhythmGridWidget::setPlotArea(const QRect& area) {
    m_plotArea = area;
    update();
}

void RhythmGridWidget::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QRect area = m_plotArea.isNull() ? rect() : m_plotArea;
    painter.setClipRect(area);
    const int top = area.top(), tall = area.height();
    const double perPixel = twipsPerPixel();
    const auto pixelOf = [&](double twips) {
        return int(std::floor(roundedTwips(twips) / perPixel));
    };
    // A measure line is three pixels wide, centred on its place, and lets the attack under
    // it show through.
    QColor measureColor = m_beatColor;
    measureColor.setAlpha(170);
    const auto measureLine = [&](int x) { painter.fillRect(x - 1, top, 3, tall, measureColor); };
    const double width = m_beatWidth;
    const double pixelsPerBeat = width / perPixel;
    if (!(width > 0) || !std::isfinite(width) || pixelsPerBeat < kClosestPixels) {
        measureLine(pixelOf(m_firstLine));
        return;
    }

    // Only the beats over the widget, from the one just left of its edge to the one just
    // right of it, however far away the first line lies.
    const double left = -2 * perPixel - m_firstLine,
                 right = (this->width() + 2) * perPixel - m_firstLine;
    const qint64 first = qint64(std::floor(left / width)) + 1;
    const qint64 last = qint64(std::ceil(right / width)) + 1;
    const auto at = [&](double beat) { return pixelOf(m_firstLine + (beat - 1) * width); };
    const auto between = [&](const QColor& color, int parts) {
        if (pixelsPerBeat / parts < kClosestPixels)
            return;
        for (qint64 n = first - 1; n <= last; ++n)
            for (int k = 1; k < parts; ++k)
                painter.fillRect(at(double(n) + double(k) / parts), top, 1, tall, color);
    };
    if (m_thirds)
        between(m_thirdColor, 3);
    if (m_halves)
        between(m_halfColor, 2);
    for (qint64 n = first; n <= last; ++n) {
        const qint64 fromMeasure = (n - 1) % m_beatsPerMeasure;
        if (fromMeasure == 0)
            measureLine(at(double(n)));
        else
            painter.fillRect(at(double(n)), top, 1, tall, m_beatColor);
    }
}
