// The slowed loop as a picture, the way a musician transcribing uses it: Wave View after
// Transform, a selection set with the two mouse buttons that plays at once, beats chosen with
// the number keys, the rhythm grid aligned to a selection and found by itself, a bar selected
// exactly with Snap to Grid, the speed changed under it, and the window closed and opened
// again with its grid where it was.
#include "Journey.h"
#include "WavGen.h"

#include "app/Prompts.h"
#include "graph/RhythmGridWidget.h"
#include "graph/WaveChart.h"

#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QRegularExpression>
#include <QStatusBar>
#include <QTest>

namespace {

class GraphJourney : public Journey {
protected:
    QMainWindow* graph() const {
        return qobject_cast<QMainWindow*>(drive::shownWindow(QStringLiteral("frmScrollTime")));
    }
    WaveChart* chart() const { return drive::in<WaveChart>(graph(), "Chart"); }
    QString status() const {
        auto* line = graph() ? drive::in<QLabel>(graph(), "lblStatus") : nullptr;
        return line ? line->text() : QString();
    }
    // A number the status line gives after the words before it ("Tempo: ", "original").
    double statusNumber(const QString& before) const {
        const QRegularExpression number(QRegularExpression::escape(before) +
                                        QStringLiteral(R"(\s*([0-9.]+))"));
        const auto m = number.match(status());
        return m.hasMatch() ? m.captured(1).toDouble() : -1;
    }
    // A click with a mouse button on the chart at that fraction of its plot's width.
    void clickChart(Qt::MouseButton button, double fraction) {
        const QRect plot = chart()->plotRect();
        const QPoint at(plot.left() + int(plot.width() * fraction), plot.center().y());
        ASSERT_TRUE(drive::activate(graph()));
        // The grid lies over the chart and lets the mouse through: the click goes where the
        // pointer is, as the window system sends it.
        QWidget* under = graph()->childAt(chart()->mapTo(graph(), at));
        ASSERT_NE(under, nullptr);
        QTest::mouseClick(under, button, {}, under->mapFrom(graph(), chart()->mapTo(graph(), at)));
    }
    // A menu of the graph window by its mnemonic, then an item by its own or by arrows.
    void graphMenu(Qt::Key menu, Qt::Key item, int downs = 0) {
        ASSERT_TRUE(drive::activate(graph()));
        QTest::keyClick(graph(), menu, Qt::AltModifier);
        QMenu* open = nullptr;
        ASSERT_TRUE(drive::waitFor([&] {
            open = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            return open != nullptr;
        })) << "the menu did not open";
        if (downs == 0) {
            QTest::keyClick(open, item);
        } else {
            for (int i = 0; i < downs; ++i)
                QTest::keyClick(open, Qt::Key_Down);
            QTest::keyClick(open, Qt::Key_Return);
        }
        QApplication::processEvents();
    }
    bool playing() const { return panel("pnlMsg").startsWith(QStringLiteral("Playing loop at")); }
};

} // namespace

TEST_F(GraphJourney, ASlowedLoopIsSeenSelectedByMouseAndBeatAndMeasuredByItsGrid) {
    // A drum loop at 120 beats per minute, a loop of it marked while it plays, slowed to 50%.
    const QString name = QStringLiteral("groove.wav");
    ASSERT_TRUE(wavgen::writeDrumLoop(musicPath(name), 30.0, 120.0, {44100, 1}));
    drive::Loopback ear(16000);
    ASSERT_TRUE(ear.ok());
    openThroughFileMenu(musicPath(name));
    press(loopsGrid(), Qt::Key_Space);
    ASSERT_TRUE(ear.listen(1.0));
    ASSERT_TRUE(drive::markLoops(input, mainWindow(), ear, 1, 5.0));
    drive::clickCell(input, loopsGrid(), 1, 0);
    click(widget("cmdSlowPlay"));
    ASSERT_TRUE(drive::waitFor([this] { return widget("cmdGraphic")->isEnabled(); }, 30000));

    // Wave View: the picture of the loop, over the place of the loops in the main window.
    click(widget("cmdGraphic"));
    ASSERT_TRUE(drive::waitFor([this] { return graph() != nullptr; }));
    EXPECT_EQ(graph()->windowTitle(), QStringLiteral("Wave View"));
    EXPECT_GT(chart()->pointCount(), 1000) << "the loop's words, one point for every 20";
    EXPECT_EQ(panel("pnlMsg"), QStringLiteral("Playing loop at 50% of original speed."))
        << "the wait is over once the picture is there";
    EXPECT_GT(graph()->geometry().top(), widget("fraSlowdown")->mapToGlobal(QPoint()).y())
        << "it stands below the speed control";

    // A left click sets the start, a right click the end, and the selection plays at once;
    // the play line runs inside it.
    clickChart(Qt::LeftButton, 0.25);
    clickChart(Qt::RightButton, 0.75);
    EXPECT_TRUE(drive::waitFor([this] { return playing(); }));
    const double halfSeconds = statusNumber(QStringLiteral("Selection:"));
    EXPECT_GT(halfSeconds, 0.0) << status().toStdString();
    EXPECT_TRUE(drive::waitFor([this] { return chart()->standingLines() == 1; }))
        << "the play line is shown";
    // A right click left of the start swaps the two: the selection is the first quarter.
    clickChart(Qt::RightButton, 0.0);
    EXPECT_NEAR(statusNumber(QStringLiteral("Selection:")), halfSeconds / 2, 0.1)
        << status().toStdString();

    // The grid aligned to four beats selected by ear: a quarter of the slowed loop is about
    // two beats of 60, so the musician selects four beats as the first half.
    clickChart(Qt::RightButton, 0.5);
    const double selected = statusNumber(QStringLiteral("Selection:"));
    Prompts::pushAnswer(QStringLiteral("4"));
    graphMenu(Qt::Key_R, Qt::Key_A);
    RhythmGridWidget* ruler = drive::in<RhythmGridWidget>(graph(), "wGrid21");
    ASSERT_TRUE(ruler->isVisible());
    EXPECT_NEAR(statusNumber(QStringLiteral("Tempo:")), 4 * 60.0 / selected, 1.0)
        << status().toStdString();
    EXPECT_NEAR(statusNumber(QStringLiteral("minute,")), 2 * statusNumber(QStringLiteral("Tempo:")),
                0.2)
        << "at 50% the original is twice as fast: " << status().toStdString();

    // Find Beats places the grid by itself: 60 slowed down, 120 as played.
    graphMenu(Qt::Key_R, Qt::Key_F);
    EXPECT_NEAR(statusNumber(QStringLiteral("Tempo:")), 60.0, 0.6) << status().toStdString();
    EXPECT_NEAR(statusNumber(QStringLiteral("minute,")), 120.0, 1.2) << status().toStdString();

    // Key 2 selects the second beat, one beat long, and plays it; n the next.
    press(chart(), Qt::Key_2);
    EXPECT_NEAR(statusNumber(QStringLiteral("seconds,")), 1.0, 0.05) << status().toStdString();
    EXPECT_TRUE(playing());
    press(chart(), Qt::Key_N);
    EXPECT_NEAR(statusNumber(QStringLiteral("seconds,")), 1.0, 0.05) << status().toStdString();
    // Space stops it, and again plays the beat from its start: the play line goes and comes.
    press(chart(), Qt::Key_Space);
    EXPECT_EQ(chart()->standingLines(), 0);
    EXPECT_TRUE(drive::waitFor([this] { return !playing(); }));
    press(chart(), Qt::Key_Space);
    EXPECT_TRUE(drive::waitFor([this] { return playing() && chart()->standingLines() == 1; }));

    // Snap to Grid: two rough clicks make a selection of exactly one bar.
    graphMenu(Qt::Key_R, Qt::Key_N);
    const double beatFraction = double(ruler->beatWidth()) / RhythmGridWidget::twipsPerPixel() /
                                chart()->plotRect().width();
    clickChart(Qt::LeftButton, 0.2);
    clickChart(Qt::RightButton, 0.2 + 4 * beatFraction + beatFraction / 5);
    EXPECT_EQ(statusNumber(QStringLiteral("seconds,")), 4.0) << status().toStdString();

    // The speed changed with the graph up: the same stretch of the picture stays selected,
    // now as many beats at a new tempo.
    enter(widget("txtSlowPct_0"), QStringLiteral("75"));
    ASSERT_TRUE(drive::waitFor(
        [this] {
            return widget("cmdGraphic")->isEnabled() &&
                   panel("pnlMsg") == QStringLiteral("Playing loop at 75% of original speed.");
        },
        30000));
    EXPECT_EQ(statusNumber(QStringLiteral("seconds,")), 4.0) << status().toStdString();
    EXPECT_NEAR(statusNumber(QStringLiteral("Tempo:")), 90.0, 1.0) << status().toStdString();
    QWidget* strip = drive::in(graph(), "MMControl1");
    for (const char* tip : {"Play", "Stop", "Record", "Eject", "Pause"})
        EXPECT_EQ(drive::transportButton(strip, QLatin1String(tip))->isVisible(),
                  tip == std::string("Play") || tip == std::string("Stop"))
            << "the graph's strip offers play and stop only: " << tip;
    EXPECT_NEAR(statusNumber(QStringLiteral("minute,")), 120.0, 1.2) << status().toStdString();

    // Made as narrow as a window gets and as large as a 4K screen, it goes on working, and
    // the grid keeps its tempo.
    const QRect before = graph()->geometry();
    graph()->resize(1, 120);
    QApplication::processEvents();
    graph()->resize(3840, 2160);
    QApplication::processEvents();
    EXPECT_NEAR(statusNumber(QStringLiteral("Tempo:")), 90.0, 1.0) << status().toStdString();
    graph()->setGeometry(before);
    QApplication::processEvents();
    clickChart(Qt::LeftButton, 0.1);
    EXPECT_TRUE(drive::waitFor([this] { return playing(); }));

    // Closed and opened again: the grid is where it was.
    const double tempo = statusNumber(QStringLiteral("Tempo:"));
    graph()->close();
    ASSERT_TRUE(drive::waitFor([this] { return graph() == nullptr; }));
    click(widget("cmdGraphic"));
    ASSERT_TRUE(drive::waitFor([this] { return graph() != nullptr; }));
    EXPECT_TRUE(drive::in<RhythmGridWidget>(graph(), "wGrid21")->isVisible());
    EXPECT_EQ(statusNumber(QStringLiteral("Tempo:")), tempo) << status().toStdString();

    // Previous View leaves SlowPlay, and the graph goes with it.
    click(widget("cmdPrevView"));
    EXPECT_TRUE(drive::waitFor([this] { return graph() == nullptr; }));
    EXPECT_TRUE(messageBoxes().isEmpty()) << messageBoxes().join(u'\n').toStdString();
}
