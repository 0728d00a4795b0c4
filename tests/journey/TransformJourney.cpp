// A loop slowed down and transposed the way a musician does it: Transform (the button, and
// Alt+T), every speed and pitch control the window offers, the way back and in again, and the
// result saved as a file. What is heard is judged from the transformed file: its length is the
// loop's over the speed, its tone the sine's shifted by the pitch.
#include "Journey.h"
#include "SoundProbe.h"
#include "WavGen.h"

#include "app/AppPaths.h"
#include "app/Prompts.h"

#include <QAbstractItemView>
#include <QLineEdit>
#include <QMenu>
#include <QSlider>
#include <QTest>

namespace {

constexpr int kRate = 16000;

class TransformJourney : public Journey {
protected:
    QString slowedFile() const { return appDir() + QStringLiteral("/tempslow.wav"); }
    bool inSlowPlay() const {
        return widget("fraSlowdown")->isVisible() && widget("cmdPrevView")->isVisible() &&
               !loopsGrid()->isVisible();
    }
    // The transformed loop is complete when Wave View, which shows the whole file, is offered.
    bool waitForTransformedLoop() {
        return drive::waitFor([this] { return widget("cmdGraphic")->isEnabled(); }, 30000);
    }
    // What the window and the transformed file say after a change of speed or pitch.
    void expectTransformed(qint64 loopFrames, int percent, int cents, const char* how) {
        ASSERT_TRUE(waitForTransformedLoop()) << how << ": the transformed loop never came";
        EXPECT_EQ(widget<QLineEdit>("txtSlowPct_0")->text(), QString::number(percent)) << how;
        EXPECT_EQ(widget<QLineEdit>("txtSlowPct_1")->text(), QString::number(cents / 100)) << how;
        EXPECT_EQ(widget<QLineEdit>("txtSlowPct_2")->text(), QString::number(cents % 100)) << how;
        EXPECT_EQ(panel("pnlMsg"),
                  QStringLiteral("Playing loop at %1% of original speed.").arg(percent))
            << how;
        const Sound slowed = load(slowedFile());
        EXPECT_EQ(slowed.info.samplerate, kRate) << how;
        EXPECT_NEAR(double(slowed.info.frames), std::round(loopFrames * 100.0 / percent), 1.0)
            << how << ": the length should be the loop's over the speed";
        EXPECT_NEAR(::cents(frequencyOf(slowed), 440.0), cents, 5.0)
            << how << ": the tone should be the sine's moved by the pitch";
    }
};

} // namespace

TEST_F(TransformJourney, SpeedAndPitchByEveryControlHeardRememberedAndSaved) {
    const QString name = QStringLiteral("air.wav");
    ASSERT_TRUE(wavgen::writeSine(musicPath(name), 20.0, 440.0, {kRate, 1}));
    drive::Loopback ear(kRate);
    ASSERT_TRUE(ear.ok());
    openThroughFileMenu(musicPath(name));
    press(loopsGrid(), Qt::Key_Space);
    ASSERT_TRUE(ear.listen(1.0));
    ASSERT_TRUE(drive::markLoops(input, mainWindow(), ear, 1, 2.0));
    const auto loops = journey::LibraryReader::loopsOf(name);
    ASSERT_EQ(loops.size(), 2);
    const qint64 loopFrames = qint64(loops[1].end - loops[1].start) * kRate / 1000;
    QAbstractItemView* grid = loopsGrid();

    // The button.
    drive::clickCell(input, grid, 1, 0);
    click(widget("cmdSlowPlay"));
    EXPECT_TRUE(inSlowPlay());
    expectTransformed(loopFrames, 50, 0, "Transform");
    EXPECT_TRUE(messageBoxes().isEmpty())
        << "Transform showed: " << messageBoxes().join(u'\n').toStdString();

    // Previous View and back in with Alt+T, which no menu may take.
    click(widget("cmdPrevView"));
    EXPECT_FALSE(inSlowPlay());
    ASSERT_TRUE(drive::activate(mainWindow()));
    QTest::keyClick(mainWindow(), Qt::Key_T, Qt::AltModifier);
    // A mnemonic's click comes a moment later, as the button is seen to go down and up.
    EXPECT_TRUE(drive::waitFor([this] { return inSlowPlay(); })) << "Alt+T should transform";
    QWidget* popup = QApplication::activePopupWidget();
    EXPECT_EQ(popup, nullptr) << "Alt+T opened a menu";
    if (popup)
        QTest::keyClick(popup, Qt::Key_Escape);
    expectTransformed(loopFrames, 50, 0, "Alt+T");

    // Speed: the slider (a click beside its handle takes the handle there, once; the arrow
    // keys go on from there), the field, a label.
    auto* speed = widget<QSlider>("slSlowPct_0");
    drive::clickGroove(input, speed, 0.3);
    ASSERT_TRUE(waitForTransformedLoop());
    const int clicked = speed->value();
    EXPECT_NEAR(clicked, speed->minimum() + 0.3 * (speed->maximum() - speed->minimum()), 12)
        << "the handle goes where the slider was clicked";
    QTest::qWait(600);
    EXPECT_EQ(speed->value(), clicked) << "the handle ran on after the click";
    expectTransformed(loopFrames, clicked, 0, "a click on the speed slider");
    drive::clickHandle(input, speed); // the slider takes the keyboard and keeps it
    ASSERT_TRUE(drive::waitFor([&] { return speed->isEnabled(); }));
    EXPECT_TRUE(speed->hasFocus()) << "the keyboard should stay with the slider";
    press(QApplication::focusWidget(), Qt::Key_Right);
    expectTransformed(loopFrames, clicked + 1, 0, "a key on the speed slider");
    enter(widget("txtSlowPct_0"), QStringLiteral("70"));
    expectTransformed(loopFrames, 70, 0, "70 typed into the speed field");
    click(widget("lblOriginalSpeed"));
    expectTransformed(loopFrames, 100, 0, "the Original Speed label");

    // Pitch: the slider, the half-steps field, a half-step label.
    auto* pitch = widget<QSlider>("slSlowPct_1");
    drive::clickGroove(input, pitch, 0.25);
    ASSERT_TRUE(waitForTransformedLoop());
    EXPECT_NEAR(pitch->value(), -600, 150) << "the handle goes where the slider was clicked";
    const int clickedPitch = pitch->value();
    expectTransformed(loopFrames, 100, clickedPitch, "a click on the pitch slider");
    // The half steps typed keep the cents the slider gave.
    enter(widget("txtSlowPct_1"), QStringLiteral("-5"));
    expectTransformed(loopFrames, 100, -500 + clickedPitch % 100, "-5 typed into the half steps");
    click(widget("lblSteps_7"));
    expectTransformed(loopFrames, 100, 700, "the label of seven half steps up");
    EXPECT_NEAR(frequencyOf(load(slowedFile())), 659.26, 1.0) << "a fifth above 440 Hz";
    enter(widget("txtSlowPct_0"), QStringLiteral("80"));
    expectTransformed(loopFrames, 80, 700, "80 typed into the speed field");

    // Back to the same loop, the same row selected.
    click(widget("cmdPrevView"));
    ASSERT_FALSE(inSlowPlay());
    EXPECT_EQ(grid->currentIndex().row(), 1);
    const QModelIndexList selected = grid->selectionModel()->selectedRows();
    ASSERT_EQ(selected.size(), 1);
    EXPECT_EQ(selected.first().row(), 1);

    EXPECT_EQ(journey::LibraryReader::loopsOf(name)[1].lastPct.toInt(), 80);
    EXPECT_EQ(journey::LibraryReader::fileField(name, QStringLiteral("lastPitchChange")).toInt(),
              700);

    // In again: the loop's last speed is remembered. The pitch is looked up where a wave file
    // keeps none, so it starts from the original pitch although the file's record holds the
    // last one.
    ASSERT_TRUE(drive::activate(mainWindow()));
    QTest::keyClick(mainWindow(), Qt::Key_T, Qt::AltModifier);
    ASSERT_TRUE(drive::waitFor([this] { return inSlowPlay(); }));
    EXPECT_EQ(widget<QSlider>("slSlowPct_0")->value(), 80);
    EXPECT_EQ(widget<QSlider>("slSlowPct_1")->value(), 0);
    expectTransformed(loopFrames, 80, 0, "Transform again");
    EXPECT_EQ(journey::LibraryReader::fileField(name, QStringLiteral("lastPitchChange")).toInt(), 0)
        << "the file keeps the pitch it was last played at";

    // Saved under a name of the musician's choosing.
    const QString saved = musicPath(QStringLiteral("air at 80.wav"));
    ASSERT_TRUE(drive::activate(mainWindow()));
    Prompts::pushAnswer(saved);
    chooseMenu(Qt::Key_F, Qt::Key_S);
    const Sound copy = load(saved);
    const Sound slowed = load(slowedFile());
    EXPECT_EQ(copy.info.samplerate, kRate);
    EXPECT_EQ(copy.info.channels, 1);
    EXPECT_EQ(copy.info.frames, slowed.info.frames);
    EXPECT_EQ(copy.samples, slowed.samples);
    EXPECT_NEAR(frequencyOf(copy), 440.0, 0.5);
    QTest::keyClick(mainWindow(), Qt::Key_F, Qt::AltModifier);
    auto* fileMenu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(fileMenu, nullptr);
    QStringList items;
    for (QAction* a : fileMenu->actions())
        if (a->isVisible())
            items << a->text();
    QTest::keyClick(fileMenu, Qt::Key_Escape);
    EXPECT_TRUE(items.contains(saved)) << "the saved file heads the recent files";

    EXPECT_TRUE(messageBoxes().isEmpty()) << messageBoxes().join(u'\n').toStdString();
}
