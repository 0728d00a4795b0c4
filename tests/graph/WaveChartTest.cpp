// The wave chart on the offscreen platform: points and pixels, the kept picture, and lines
// and boxes drawn by inversion over it.
#include "graph/WaveChart.h"

#include <QPaintEvent>
#include <QSignalSpy>
#include <QTest>
#include <cmath>
#include <gtest/gtest.h>

namespace {

// Points 1..n at X = 20 * point, a slow wave in Y.
void fill(WaveChart& chart, int n) {
    chart.setBatching(true);
    chart.setPointCount(n);
    for (int p = 1; p <= n; ++p) {
        chart.setX(p, 20.0 * p);
        chart.setY(p, 20000 * std::sin(p / 30.0));
    }
    chart.setBatching(false);
}

QImage shot(WaveChart& chart) {
    return chart.grab().toImage().convertToFormat(QImage::Format_RGB32);
}

// Counts the paints a widget gets and keeps the last one's rectangle.
struct PaintWatch : QObject {
    int paints = 0;
    QRect last;
    bool eventFilter(QObject*, QEvent* e) override {
        if (e->type() == QEvent::Paint) {
            ++paints;
            last = static_cast<QPaintEvent*>(e)->rect();
        }
        return false;
    }
};

} // namespace

TEST(WaveChart, HolesHaveNoPixelAndOnlyPointsWithBothValuesCount) {
    WaveChart chart;
    chart.resize(400, 200);
    chart.setPointCount(10);
    chart.setX(2, 100);
    chart.setY(2, 0);
    chart.setX(5, 400);
    chart.setY(5, 0);
    chart.setX(3, 5000); // X alone: still a hole
    chart.setY(4, 0);    // and so with Y alone
    chart.setX(11, 1);
    chart.setY(0, 1);
    EXPECT_EQ(chart.x(11), 0);
    EXPECT_EQ(chart.axisMinimum(), 100);
    EXPECT_EQ(chart.axisMaximum(), 400);
    for (int p : {1, 3, 4, 10, 11})
        EXPECT_LT(chart.pointToPixel(p).x(), 0) << p;
    for (int x = -10; x < 410; x += 7) {
        const int found = chart.pixelToPoint(x, 0);
        EXPECT_TRUE(found == 2 || found == 5) << x;
    }
    WaveChart empty;
    EXPECT_EQ(empty.pixelToPoint(50, 50), 0);
}

TEST(WaveChart, PointsAndPixelsMatchAcrossThePlotAndWhenZoomed) {
    WaveChart chart;
    chart.resize(2018, 300); // 2000 pixels of plot: two for each point
    fill(chart, 1000);
    const QRect plot = chart.plotRect();
    int previous = -1;
    for (int p = 1; p <= 1000; ++p) {
        const QPoint at = chart.pointToPixel(p);
        ASSERT_TRUE(plot.adjusted(0, 0, 1, 0).contains(at)) << p;
        EXPECT_GT(at.x(), previous);
        EXPECT_EQ(chart.pixelToPoint(at.x(), at.y()), p);
        previous = at.x();
    }
    chart.setY(7, 32767);
    chart.setY(8, -32768);
    EXPECT_EQ(chart.pointToPixel(7).y(), plot.top());
    EXPECT_EQ(chart.pointToPixel(8).y(), plot.bottom());

    chart.setAxisRange(chart.x(400), chart.x(600));
    EXPECT_LT(chart.pointToPixel(399).x(), 0);
    EXPECT_LT(chart.pointToPixel(601).x(), 0);
    EXPECT_EQ(chart.pointToPixel(400).x(), plot.left());
    EXPECT_EQ(chart.pointToPixel(500).x(), plot.left() + plot.width() / 2);
    EXPECT_EQ(chart.pixelToPoint(plot.left() - 50, 0), 400);
    EXPECT_EQ(chart.pixelToPoint(plot.right() + 50, 0), 600);

    for (double width : {0.0, -100.0}) {
        chart.setAxisRange(500, 500 + width);
        EXPECT_FALSE(shot(chart).isNull());
        EXPECT_LT(chart.pointToPixel(500).x(), 0);
        EXPECT_EQ(chart.pixelToPoint(100, 0), 0);
    }

    // X falling with the point number: no order to search by, the nearest is still found.
    WaveChart backwards;
    backwards.resize(418, 100);
    backwards.setPointCount(100);
    for (int p = 1; p <= 100; ++p) {
        backwards.setX(p, 1000.0 - 10 * p);
        backwards.setY(p, 0);
    }
    for (int p = 1; p <= 100; ++p)
        EXPECT_EQ(backwards.pixelToPoint(backwards.pointToPixel(p).x(), 0), p);
}

TEST(WaveChart, BatchingHoldsThePictureUntilReleasedAndKeepsEveryPeak) {
    WaveChart chart;
    chart.resize(600, 300);
    chart.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&chart));
    PaintWatch watch;
    chart.installEventFilter(&watch);
    const int builds = chart.pictureBuilds();

    chart.setBatching(true);
    chart.setPointCount(200000);
    for (int p = 1; p <= 200000; ++p) {
        chart.setX(p, p);
        chart.setY(p, p == 123457 ? 32767 : 0);
    }
    QTest::qWait(50);
    EXPECT_EQ(watch.paints, 0);
    EXPECT_EQ(chart.pictureBuilds(), builds);

    chart.setBatching(false);
    EXPECT_TRUE(QTest::qWaitFor([&] { return watch.paints > 0; }));
    EXPECT_EQ(chart.pictureBuilds(), builds + 1);
    // Hundreds of points share each column, and the single loud one still reaches the top.
    const QPoint peak = chart.pointToPixel(123457);
    EXPECT_EQ(peak.y(), chart.plotRect().top());
    EXPECT_EQ(shot(chart).pixelColor(peak), chart.lineColor());

    // A paint the system asks for draws the kept picture and keeps the overlays.
    chart.toggleLine(300);
    chart.repaint();
    EXPECT_EQ(chart.pictureBuilds(), builds + 1);
    EXPECT_EQ(chart.standingLines(), 1);
}

TEST(WaveChart, OverlaysInvertTheirPixelsAndToggleBack) {
    WaveChart chart;
    chart.resize(600, 300);
    fill(chart, 500);
    chart.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&chart));
    QTest::qWait(20);
    const QImage before = shot(chart);
    const QRect plot = chart.plotRect();
    PaintWatch watch;
    chart.installEventFilter(&watch);

    chart.toggleLine(200);
    ASSERT_TRUE(QTest::qWaitFor([&] { return watch.paints > 0; }));
    EXPECT_LE(watch.last.width(), 4); // the line's strip, not the chart
    const QImage lined = shot(chart);
    const QPoint mid(200, plot.center().y());
    EXPECT_EQ(lined.pixel(mid), ~before.pixel(mid) | 0xff000000u);
    EXPECT_EQ(lined.pixel(200, plot.top()), before.pixel(200, plot.top()));
    EXPECT_EQ(lined.pixel(201, mid.y()), before.pixel(201, mid.y()));
    chart.toggleLine(200);
    EXPECT_EQ(chart.standingLines(), 0);
    EXPECT_EQ(shot(chart), before);

    chart.toggleBox(300, 250);
    EXPECT_EQ(chart.standingBoxes(), 1);
    EXPECT_NE(shot(chart).pixel(275, mid.y()), before.pixel(275, mid.y()));
    chart.toggleBox(250, 300);
    EXPECT_EQ(chart.standingBoxes(), 0);

    chart.toggleLine(100);
    chart.toggleLine(120);
    chart.toggleBox(10, 40);
    chart.refresh();
    EXPECT_EQ(chart.standingLines() + chart.standingBoxes(), 0);
    EXPECT_EQ(shot(chart), before);
}

TEST(WaveChart, AnySizeAnyScaleAndTheMouse) {
    for (const QSize size : {QSize(1, 1), QSize(20, 20), QSize(3840, 2160)}) {
        WaveChart chart;
        chart.resize(size);
        fill(chart, 1000);
        EXPECT_EQ(chart.grab().size(), size);
    }

    // Drawn at twice the scale, the line falls on single device pixels, not pixel pairs.
    WaveChart chart;
    chart.resize(200, 100);
    fill(chart, 40);
    chart.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&chart));
    QImage twice(400, 200, QImage::Format_RGB32);
    twice.setDevicePixelRatio(2);
    chart.render(&twice);
    bool oddColumnDiffers = false;
    for (int y = 0; y < twice.height() && !oddColumnDiffers; ++y)
        for (int x = 0; x + 1 < twice.width(); x += 2)
            oddColumnDiffers = oddColumnDiffers || twice.pixel(x, y) != twice.pixel(x + 1, y);
    EXPECT_TRUE(oddColumnDiffers);

    QSignalSpy pressed(&chart, &WaveChart::mousePressed);
    QSignalSpy resized(&chart, &WaveChart::resized);
    QTest::mouseClick(&chart, Qt::RightButton, Qt::ShiftModifier, QPoint(40, 25));
    ASSERT_EQ(pressed.count(), 1);
    EXPECT_EQ(pressed[0][0].value<Qt::MouseButton>(), Qt::RightButton);
    EXPECT_EQ(pressed[0][1].value<Qt::KeyboardModifiers>(), Qt::ShiftModifier);
    EXPECT_EQ(pressed[0][2].toPoint(), QPoint(40, 25));
    chart.resize(300, 120);
    ASSERT_EQ(resized.count(), 1);
    EXPECT_EQ(resized[0][0].toSize(), QSize(300, 120));
}
