// The beat ruler over the chart: where its lines fall, in twips and on the screen, and that
// it lets the mouse through to the chart.
#include "graph/RhythmGridWidget.h"
#include "graph/WaveChart.h"

#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

namespace {

// The ruler alone over black, so every coloured column is one of its lines.
QImage render(RhythmGridWidget& grid) {
    QImage image(grid.size(), QImage::Format_RGB32);
    image.fill(Qt::black);
    grid.render(&image, {}, {}, QWidget::DrawChildren);
    return image;
}

} // namespace

TEST(RhythmGrid, BeatPositionsRoundFromTheFirstLineBothWays) {
    RhythmGridWidget grid;
    QSignalSpy first(&grid, &RhythmGridWidget::firstLineChanged);
    QSignalSpy width(&grid, &RhythmGridWidget::beatWidthChanged);
    grid.setFirstLine(-1000);
    grid.setFirstLine(-1000);
    grid.setBeatWidth(333.4);
    grid.setBeatWidth(333.4);
    EXPECT_EQ(first.count(), 2);
    EXPECT_EQ(width.count(), 2);

    EXPECT_EQ(grid.beatPosition(1), -1000);
    EXPECT_EQ(grid.beatPosition(4), 0);     // -1000 + 1000.2
    EXPECT_EQ(grid.beatPosition(10), 2001); // -1000 + 3000.6
    EXPECT_EQ(grid.beatPosition(0), -1333);
    EXPECT_EQ(grid.beatPosition(-2), -2000);

    grid.setBeatsPerMeasure(0);
    EXPECT_EQ(grid.beatsPerMeasure(), 1);
}

TEST(RhythmGrid, DrawsBeatsMeasuresAndTheirPartsWhereTheyFall) {
    const int tpp = RhythmGridWidget::twipsPerPixel();
    RhythmGridWidget grid;
    grid.resize(600, 40);
    grid.setFirstLine(250 * tpp);
    const QRgb beat = grid.beatColor().rgb(), half = grid.halfColor().rgb(),
               third = grid.thirdColor().rgb(), none = QColor(Qt::black).rgb();

    // Measure lines let the picture under them show through: the beat's colour, dimmed.
    QImage image;
    const auto measureAt = [&](int x) {
        const QRgb p = image.pixel(x, 20);
        return p != beat && qRed(p) == 0 && qBlue(p) == 0 && qGreen(p) > 100;
    };
    // No width yet: the first line alone.
    image = render(grid);
    EXPECT_TRUE(measureAt(250));
    EXPECT_EQ(image.pixel(310, 20), none);

    // Beats every 60 pixels, measures of four from pixel 250, back to the left edge too.
    grid.setBeatWidth(60 * tpp);
    grid.setHalvesVisible(true);
    grid.setThirdsVisible(true);
    image = render(grid);
    for (int measure : {10, 250, 490})
        for (int x = measure - 1; x <= measure + 1; ++x)
            EXPECT_TRUE(measureAt(x)) << x;
    for (int single : {70, 130, 190, 310, 370, 430, 550}) {
        EXPECT_EQ(image.pixel(single, 20), beat) << single;
        EXPECT_EQ(image.pixel(single - 1, 20), none) << single;
        EXPECT_EQ(image.pixel(single + 1, 20), none) << single;
    }
    EXPECT_EQ(image.pixel(280, 20), half);
    EXPECT_EQ(image.pixel(270, 20), third);
    EXPECT_EQ(image.pixel(290, 20), third);
    // Over a chart the lines keep to its plot, off its frame.
    grid.setPlotArea(QRect(0, 10, 600, 20));
    image = render(grid);
    EXPECT_EQ(image.pixel(70, 20), beat);
    EXPECT_EQ(image.pixel(70, 5), none);
    EXPECT_EQ(image.pixel(70, 35), none);
    grid.setPlotArea(QRect());
    grid.setHalvesVisible(false);
    grid.setThirdsVisible(false);
    image = render(grid);
    EXPECT_EQ(image.pixel(280, 20), none);
    EXPECT_EQ(image.pixel(270, 20), none);

    // A first line far away still puts its beats on the widget, and a beat of a thousandth
    // of a twip neither hangs nor paints the widget solid.
    grid.setFirstLine(-2'000'000'000);
    image = render(grid);
    int lines = 0;
    for (int x = 0; x < 600; ++x)
        lines += image.pixel(x, 20) != none;
    EXPECT_GE(lines, 10);
    grid.setFirstLine(100 * tpp);
    grid.setBeatWidth(0.001);
    image = render(grid);
    EXPECT_TRUE(measureAt(100));
    EXPECT_EQ(image.pixel(300, 20), none);
}

TEST(RhythmGrid, TheMouseReachesTheChartBeneath) {
    QWidget window;
    window.resize(400, 200);
    auto* chart = new WaveChart(&window);
    auto* grid = new RhythmGridWidget(&window);
    chart->setGeometry(window.rect());
    grid->setGeometry(window.rect());
    grid->raise();
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    QSignalSpy pressed(chart, &WaveChart::mousePressed);
    // Through the window, as the system delivers a click, so the widget under the mouse is
    // looked up and not chosen by the test.
    QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, QPoint(120, 80));
    ASSERT_EQ(pressed.count(), 1);
    EXPECT_EQ(pressed[0][2].toPoint(), QPoint(120, 80));
}
