// The transport on the main window. The wave-file player: its status text and position
// display, the end events that restart an armed loop or finish a capture, the strip's buttons
// and the scroll bar. The keys, sent as real key events to the widget that has them: Space
// types where text is being edited and F6 toggles even there; F8 plays on from the selected
// loop; the pad's plus and minus change the speed in SlowPlay. The real window, the null sound
// device (running faster than real time) and generated WAV files.
#include "MainWindowTest.h"

#include "app/AppPaths.h"
#include "app/Forms.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "app/stateVariable.h"
#include "library/DataGrid.h"
#include "library/Recordset.h"
#include "platform/MMControl.h"
#include "ui_frmMain.h"

#include <QFile>
#include <QFileInfo>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>
#include <gtest/gtest.h>

namespace {

// The strip's buttons, as MMControl numbers them.
constexpr int kPlay = 2;
constexpr int kPause = 3;
constexpr int kStop = 6;

class WaveTransport : public MainWindowTest {
protected:
    QString msg() const { return m->panelText(QStringLiteral("pnlMsg")); }
};

class Keyboard : public MainWindowTest {
protected:
    void openWave() { MainWindowTest::openWave(QStringLiteral("reel.wav"), 60.0, {8000, 2}); }
    bool isPlaying() const { return w->Mode() == MMControl::ModePlaying; }
};

} // namespace

TEST_F(WaveTransport, StatusShowsTheFullPathAndFollowsThePlay) {
    const QString path = openWave(QStringLiteral("two words.wav"), 300.0);
    EXPECT_EQ(w->UpdateInterval(), 500) << "mode Wave revives the status events";
    QSignalSpy status(w, &MMControl::StatusUpdate);

    ASSERT_TRUE(status.wait(2000));
    EXPECT_EQ(msg(), QStringLiteral("Wave file ") + path);

    w->setFrom(80000);
    w->setCommand(QStringLiteral("Play"));
    ASSERT_TRUE(status.wait(2000));
    EXPECT_EQ(msg(), QStringLiteral("Wave file ") + path + QStringLiteral(" playing"));
    // The display shows what the device was at when the event came.
    const int shownSeconds = u->sbTrackPos->value();
    EXPECT_GE(shownSeconds, 80);
    EXPECT_LE(shownSeconds, w->Position() / 1000);
    EXPECT_EQ(u->txtCurrentPosition->text(), QStringLiteral("%1:%2")
                                                 .arg(shownSeconds / 60, 2, 10, QLatin1Char('0'))
                                                 .arg(shownSeconds % 60, 2, 10, QLatin1Char('0')));

    // During a capture the status handler stays away: the stop goes unreported.
    gvRecordingLoop = true;
    w->setCommand(QStringLiteral("Stop"));
    ASSERT_TRUE(status.wait(2000));
    EXPECT_EQ(msg(), QStringLiteral("Wave file ") + path + QStringLiteral(" playing"));
    gvRecordingLoop = false;
}

TEST_F(WaveTransport, AnArmedLoopRestartsAtANaturalEndOnlyAndTheStripDisarmsIt) {
    openWave(QStringLiteral("loop.wav"), 6.0);
    addLoop(2000, 3000);
    selectLoopStarting(2000);
    QSignalSpy done(w, &MMControl::Done);
    m->btnLoopPlay_Click();
    ASSERT_TRUE(playState->isArmed());
    ASSERT_TRUE(done.wait(3000));
    EXPECT_EQ(done.last().at(0).toInt(), MMControl::NotifySuccessful);
    EXPECT_EQ(w->Mode(), MMControl::ModePlaying) << "the natural end started the next pass";
    EXPECT_GE(w->Position(), 2000);
    EXPECT_LE(w->Position(), 3000);
    EXPECT_TRUE(w->isEnabled());

    // The user's Stop on the strip disarms and stops; its Done is not a natural end.
    w->button(kStop)->click();
    EXPECT_FALSE(playState->isArmed());
    EXPECT_NE(w->Mode(), MMControl::ModePlaying);
    EXPECT_EQ(done.last().at(0).toInt(), MMControl::NotifyAborted);
    QTest::qWait(150);
    EXPECT_NE(w->Mode(), MMControl::ModePlaying) << "a stopped loop stays stopped";

    // Pause on the strip disarms as well.
    m->btnLoopPlay_Click();
    ASSERT_TRUE(playState->isArmed());
    w->button(kPause)->click();
    EXPECT_FALSE(playState->isArmed());
    EXPECT_NE(w->Mode(), MMControl::ModePlaying);

    // Play on the strip counts as a play the user asked for.
    gvPlayRequested = false;
    w->button(kPlay)->click();
    EXPECT_TRUE(gvPlayRequested);
    EXPECT_EQ(w->Mode(), MMControl::ModePlaying);

    // With nothing armed the end of a play is just the end.
    w->setFrom(2000);
    w->setTo(3000);
    w->setNotify(true);
    w->setCommand(QStringLiteral("Play"));
    ASSERT_TRUE(done.wait(3000));
    EXPECT_EQ(done.last().at(0).toInt(), MMControl::NotifySuccessful);
    EXPECT_NE(w->Mode(), MMControl::ModePlaying);
}

TEST_F(WaveTransport, TheEndOfACaptureSavesTheSoundAndEntersSlowPlay) {
    const QString source = appDir() + QStringLiteral("/music/source.wav");
    ASSERT_TRUE(wavgen::writeSine(source, 120.0, 440.0, {8000, 1}));
    const QString target = appDir() + QStringLiteral("/temp.wav");

    // What recordCurrentLoop sets up: the wave device records while the source plays, and
    // the end of the source's segment stops the wave device.
    auto capture = [&] {
        ASSERT_FALSE(QFile::exists(target));
        MMControl disc;
        disc.setDeviceType(QStringLiteral("waveaudio"));
        disc.setFileName(source);
        disc.setCommand(QStringLiteral("Open"));
        w->setWait(true);
        w->setCommand(QStringLiteral("Close"));
        w->setFileName(target);
        w->setWait(true);
        w->setCommand(QStringLiteral("Open"));
        gvRecordingLoop = true;
        w->setNotify(true);
        w->setCommand(QStringLiteral("Record"));
        ASSERT_EQ(w->Mode(), MMControl::ModeRecording) << w->ErrorMessage().toStdString();
        disc.setCommand(QStringLiteral("Play"));
        ASSERT_TRUE(QTest::qWaitFor([&] { return disc.Position() >= 2000; }, 5000));
        w->setWait(true);
        w->setCommand(QStringLiteral("Stop"));
        disc.setCommand(QStringLiteral("Close"));
    };
    // The recording format's header alone is 44 bytes; a second of sound is thousands more.
    auto savedBytes = [&] { return QFileInfo(target).size(); };

    for (const bool autoSlow : {false, true}) {
        SCOPED_TRACE(autoSlow ? "AutoSlow" : "without AutoSlow");
        gvAutoSlow = autoSlow;
        capture();
        EXPECT_FALSE(gvRecordingLoop);
        EXPECT_TRUE(gvInSlowPlay);
        EXPECT_EQ(m->currentMode(), u"SlowPlay");
        EXPECT_FALSE(isLoaded(QStringLiteral("messages2"))) << "the saving message is taken away";
        EXPECT_TRUE(w->isEnabled());
        EXPECT_GT(savedBytes(), 8000) << "the recorded sound reached the file";
        // With AutoSlow the captured loop is transformed and heard at once; without, the
        // capture ends without sound.
        EXPECT_EQ(m->panelText(QStringLiteral("pnlMsg")).startsWith(u"Playing loop at 50%"),
                  autoSlow);
        m->stopDLL();
        m->changeToMode(QStringLiteral("CD"));
        ASSERT_TRUE(QFile::remove(target));
    }
}

TEST_F(WaveTransport, ScrollBarPlaysFromWhereItIsLetGo) {
    openWave(QStringLiteral("long.wav"), 200.0);
    EXPECT_EQ(u->sbTrackPos->maximum(), 200);
    EXPECT_EQ(w->Mode(), MMControl::ModeStopped);

    // A click on an arrow moves the bar but isn't a drag: nothing plays.
    u->sbTrackPos->triggerAction(QAbstractSlider::SliderSingleStepAdd);
    EXPECT_EQ(w->Mode(), MMControl::ModeStopped);

    // A drag shows minutes and seconds and silences the status events meanwhile.
    u->sbTrackPos->setSliderDown(true);
    u->sbTrackPos->setSliderPosition(125);
    EXPECT_TRUE(m->transport().scrollDragging);
    EXPECT_EQ(u->txtCurrentPosition->text(), u"02:05");
    EXPECT_EQ(w->UpdateInterval(), 0);
    EXPECT_EQ(w->Mode(), MMControl::ModeStopped) << "nothing plays while the thumb is held";

    // Letting go plays from that second, from the stopped state too.
    gvPlayRequested = false;
    u->sbTrackPos->setSliderDown(false);
    EXPECT_EQ(w->Mode(), MMControl::ModePlaying);
    EXPECT_GE(w->Position(), 125000);
    EXPECT_LT(w->Position(), 130000);
    EXPECT_TRUE(gvPlayRequested);
    EXPECT_FALSE(m->transport().scrollDragging);
    EXPECT_EQ(w->UpdateInterval(), 500);
}

TEST_F(Keyboard, SpaceTypesInAGridCellBeingEditedAndF6StillToggles) {
    openWave();
    DataGrid* grid = u->loopPoints;
    grid->setCurrentIndex(grid->model()->index(0, 1));
    grid->edit(grid->currentIndex());
    ASSERT_TRUE(grid->EditActive());
    auto* editor = qobject_cast<QLineEdit*>(QApplication::focusWidget());
    ASSERT_NE(editor, nullptr);
    editor->setText(QStringLiteral("Am"));
    editor->end(false);
    QTest::keyClick(editor, Qt::Key_Space);
    QTest::keyClicks(editor, QStringLiteral("G"));
    EXPECT_EQ(editor->text(), u"Am G");
    EXPECT_FALSE(isPlaying());
    EXPECT_FALSE(m->trackHighlighting()) << "typing holds the highlight for ten seconds";

    QTest::keyClick(editor, Qt::Key_F6);
    EXPECT_TRUE(isPlaying());
    QTest::keyClick(editor, Qt::Key_F6);
    EXPECT_FALSE(isPlaying());
}

TEST_F(Keyboard, SpaceInACommentTypesOnlyOnADisc) {
    // On a disc the comment field is text being edited.
    ASSERT_TRUE(m->transport().cdView);
    u->Comments->show();
    u->Comments->setFocus();
    u->Comments->setText(QStringLiteral("live"));
    u->Comments->end(false);
    QTest::keyClick(u->Comments, Qt::Key_Space);
    QTest::keyClicks(u->Comments, QStringLiteral("take"));
    EXPECT_EQ(u->Comments->text(), u"live take");
    EXPECT_FALSE(m->trackHighlighting());

    // In mode Wave the field rule doesn't apply: Space is the transport's, and no blank lands.
    openWave();
    u->txtCurrentPosition->setFocus();
    const QString shown = u->txtCurrentPosition->text();
    QTest::keyClick(u->txtCurrentPosition, Qt::Key_Space);
    EXPECT_TRUE(isPlaying());
    EXPECT_EQ(u->txtCurrentPosition->text(), shown);
    m->togglePlayState();
}

TEST_F(Keyboard, F8PlaysOnFromTheSelectedLoopPastItsEnd) {
    openWave();
    addLoop(30000, 40000);
    selectLoopStarting(30000);
    gvPlayRequested = false;
    QTest::keyClick(u->loopPoints, Qt::Key_F8);
    EXPECT_TRUE(gvPlayRequested);
    EXPECT_FALSE(playState->isArmed());
    ASSERT_TRUE(isPlaying());
    EXPECT_GE(w->Position(), 30000);
    EXPECT_LT(w->Position(), 35000) << "from the loop's start";
    EXPECT_EQ(w->UpdateInterval(), 500);
    EXPECT_TRUE(QTest::qWaitFor([&] { return w->Position() > 41000; }, 5000))
        << "F8 plays on past the loop's end";
    EXPECT_TRUE(isPlaying());
}

TEST_F(Keyboard, ThePadsPlusAndMinusChangeTheSpeedInSlowPlayOnly) {
    openWave();
    m->library().dtaLoopPoints->MoveFirst();
    m->library().dtaLoopPoints->Edit();
    m->library().dtaLoopPoints->setField(QStringLiteral("endTime"), 2000);
    m->library().dtaLoopPoints->Update();
    gvAutoSlow = false;
    m->cmdSlowPlay_Click();
    ASSERT_TRUE(gvInSlowPlay);
    ASSERT_EQ(m->transform().slowDownPercent, 50);
    for (const auto& [key, percent] :
         {std::pair{Qt::Key_Plus, 60}, {Qt::Key_Minus, 50}, {Qt::Key_Minus, 40}}) {
        SCOPED_TRACE(testing::Message() << "to " << percent);
        QTest::keyClick(u->txtSlowPct_0, key, Qt::KeypadModifier);
        EXPECT_EQ(m->transform().slowDownPercent, percent);
        EXPECT_EQ(u->txtSlowPct_0->text(), QString::number(percent));
        EXPECT_EQ(u->slSlowPct_0->value(), percent);
    }
    m->stopDLL();

    // Outside SlowPlay the pad's keys are plain keys.
    m->cmdPrevView_Click();
    int plus = 107;
    m->Form_KeyDown(plus, 0);
    EXPECT_EQ(m->transform().slowDownPercent, 40);
    EXPECT_EQ(plus, 107) << "the key goes on to the widget";
}
