// Clicks that come in while the program waits: a procedure that waits lets every event in,
// so a musician's next click can start while the last one still runs. Whatever the order, the
// program must end where the last click asked, with one result, never with a procedure run
// half and then again on stale values.
#include "Journey.h"
#include "SoundProbe.h"
#include "WavGen.h"

#include "app/AppPaths.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QLineEdit>
#include <QSettings>
#include <QSlider>
#include <QTest>
#include <QTimer>

namespace {

constexpr int kRate = 16000;

class WaitsJourney : public Journey {
protected:
    QString slowedFile() const { return appDir() + QStringLiteral("/tempslow.wav"); }
    bool waitForTransformedLoop() {
        return drive::waitFor([this] { return widget("cmdGraphic")->isEnabled(); }, 30000);
    }
    // A click that lands while the click after it (given now) still runs.
    void clickDuring(QWidget* first, int afterMs, QWidget* second) {
        QTimer::singleShot(afterMs, second, [this, second] { click(second); });
        click(first);
    }
    // A sine file with one marked loop besides the whole-file one, that loop selected.
    qint64 markOneLoop(const QString& name, double seconds, bool frameNumbered = false) {
        if (frameNumbered)
            EXPECT_TRUE(drive::writeFrameNumbered(musicPath(name), seconds, kRate));
        else
            EXPECT_TRUE(wavgen::writeSine(musicPath(name), seconds, 440.0, {kRate, 1}));
        drive::Loopback ear(kRate);
        EXPECT_TRUE(ear.ok());
        openThroughFileMenu(musicPath(name));
        press(loopsGrid(), Qt::Key_Space);
        EXPECT_TRUE(ear.listen(1.0));
        EXPECT_TRUE(drive::markLoops(input, mainWindow(), ear, 1, 4.0));
        const auto loops = journey::LibraryReader::loopsOf(name);
        EXPECT_EQ(loops.size(), 2);
        if (loops.size() != 2)
            return 0;
        drive::clickCell(input, loopsGrid(), 1, 0);
        return qint64(loops[1].end - loops[1].start) * kRate / 1000;
    }
};

} // namespace

TEST_F(WaitsJourney, ASpeedAndAPitchClickedTogetherEndInBothAndOneResult) {
    const qint64 loopFrames = markOneLoop(QStringLiteral("air.wav"), 20.0);
    ASSERT_GT(loopFrames, 0);
    click(widget("cmdSlowPlay"));
    ASSERT_TRUE(waitForTransformedLoop());

    // Original Speed stops the engine and waits for it; the label of seven half steps up is
    // clicked during that wait. Both changes hold, and the one file heard has both.
    clickDuring(widget("lblOriginalSpeed"), 60, widget("lblSteps_7"));
    ASSERT_TRUE(waitForTransformedLoop());
    QTest::qWait(1500); // any job still running would have ended and replaced the file by now
    EXPECT_EQ(widget<QLineEdit>("txtSlowPct_0")->text(), u"100");
    EXPECT_EQ(widget<QLineEdit>("txtSlowPct_1")->text(), u"7");
    EXPECT_EQ(widget<QSlider>("slSlowPct_1")->value(), 700);
    EXPECT_EQ(panel("pnlMsg"), u"Playing loop at 100% of original speed.");
    const Sound slowed = load(slowedFile());
    EXPECT_NEAR(double(slowed.info.frames), double(loopFrames), 1.0)
        << "the file heard should be at the original speed";
    EXPECT_NEAR(frequencyOf(slowed), 659.26, 1.0) << "and a fifth above 440 Hz";

    // The same the other way round: a speed clicked while a pitch change waits.
    clickDuring(widget("lblSteps_0"), 60, widget("lbl1002"));
    ASSERT_TRUE(waitForTransformedLoop());
    QTest::qWait(1500);
    EXPECT_EQ(widget<QLineEdit>("txtSlowPct_0")->text(), u"50");
    EXPECT_EQ(widget<QSlider>("slSlowPct_1")->value(), 0);
    const Sound again = load(slowedFile());
    EXPECT_NEAR(double(again.info.frames), double(loopFrames) * 2, 1.0);
    EXPECT_NEAR(frequencyOf(again), 440.0, 1.0);
    EXPECT_TRUE(messageBoxes().isEmpty()) << messageBoxes().join(u'\n').toStdString();
}

TEST_F(WaitsJourney, ClosingTheTrimWindowDuringItsEndPreviewLeavesTheStoredLoopToPlay) {
    // The musician has asked to hear a loop's end first whenever it is moved.
    run.reset();
    {
        QSettings prefs(appDir() + QStringLiteral("/Cantavox.conf"), QSettings::IniFormat);
        prefs.setValue(QStringLiteral("Preferences/PreviewEnd"), QStringLiteral("True"));
    }
    startProgram();
    markOneLoop(QStringLiteral("reel.wav"), 30.0, true);
    const auto stored = journey::LibraryReader::loopsOf(QStringLiteral("reel.wav"))[1];
    press(loopsGrid(), Qt::Key_F7);
    QWidget* trim = nullptr;
    ASSERT_TRUE(
        drive::waitFor([&] { return (trim = drive::shownWindow(QStringLiteral("frmTrim"))); }));
    auto* end = drive::in<QSlider>(trim, "slStart_1");
    ASSERT_NE(end, nullptr);
    // A click on the end's handle gives it the keyboard, which it keeps once it takes input
    // again; an arrow key then steps the end, which waits a second before the preview, and
    // Close comes within that wait.
    drive::clickHandle(input, end);
    ASSERT_TRUE(drive::waitFor([&] { return end->isEnabled(); }));
    EXPECT_EQ(QApplication::focusWidget(), end) << "the slider clicked lost the keyboard";
    QTimer::singleShot(300, trim, [this, trim] { click(drive::in(trim, "cmdClose")); });
    press(QApplication::focusWidget(), Qt::Key_Left);
    EXPECT_TRUE(drive::waitFor([] { return !drive::shownWindow(QStringLiteral("frmTrim")); }))
        << "Close during the wait left the window up";
    EXPECT_TRUE(messageBoxes().isEmpty()) << messageBoxes().join(u'\n').toStdString();

    // The stored loop is the loop again, and plays over and over.
    drive::Loopback ear(kRate);
    ASSERT_TRUE(ear.ok());
    press(loopsGrid(), Qt::Key_F7);
    EXPECT_TRUE(ear.listen((stored.end - stored.start) / 1000.0 * 3.5));
    const drive::Passes passes = drive::passesOf(ear.samples(), qint64(stored.start) * kRate / 1000,
                                                 qint64(stored.end) * kRate / 1000, kRate / 50);
    EXPECT_GE(passes.whole, 2) << "the stored loop should repeat";
    EXPECT_EQ(journey::LibraryReader::loopsOf(QStringLiteral("reel.wav"))[1].end, stored.end)
        << "nothing was saved";
}
