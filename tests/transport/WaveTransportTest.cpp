// The wave-file player on the main window: its status text and position display, the end
// events that restart an armed loop or finish a capture, the strip's buttons and the
// scroll bar. The real window, the null sound device (running faster than real time) and
// generated WAV files.
#include "MainWindowTest.h"

#include "app/AppPaths.h"
#include "app/Forms.h"
#include "app/Prompts.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "app/stateVariable.h"
#include "library/Recordset.h"
#include "platform/MMControl.h"
#include "ui_frmMain.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
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

    // During a capture the status handler stays away.
    m->setPanelText(QStringLiteral("pnlMsg"), QStringLiteral("Recording loop"));
    gvRecordingLoop = true;
    ASSERT_TRUE(status.wait(2000));
    EXPECT_EQ(msg(), u"Recording loop");
    gvRecordingLoop = false;
    w->setCommand(QStringLiteral("Stop"));

    // In SlowPlay: stopped and not looping says so; an armed loop leaves the text alone.
    gvInSlowPlay = true;
    m->updateWaveStatus();
    EXPECT_EQ(msg(), u"SlowPlay paused");
    m->setPanelText(QStringLiteral("pnlMsg"), QStringLiteral("Looping"));
    playState->setState(true);
    m->updateWaveStatus();
    EXPECT_EQ(msg(), u"Looping");
}

TEST_F(WaveTransport, AnArmedLoopRestartsAtANaturalEndOnly) {
    openWave(QStringLiteral("loop.wav"), 6.0);
    // The loop in force, set as the loop button sets it, and stopped again.
    m->playLoop(false, 2000, 3000);
    playState->setState(false);
    w->setWait(true);
    w->setCommand(QStringLiteral("Stop"));
    QCoreApplication::processEvents();
    ASSERT_EQ(m->loops().inPt, 2000);
    // A play of one second of sound, its end awaited.
    auto playSecond = [&] {
        w->setFrom(2000);
        w->setTo(3000);
        w->setNotify(true);
        w->setCommand(QStringLiteral("Play"));
        ASSERT_EQ(w->Mode(), MMControl::ModePlaying);
    };
    QSignalSpy done(w, &MMControl::Done);

    playSecond();
    ASSERT_TRUE(done.wait(3000));
    EXPECT_EQ(done.last().at(0).toInt(), MMControl::NotifySuccessful);
    EXPECT_NE(w->Mode(), MMControl::ModePlaying) << "nothing armed: the end is just the end";

    playSecond();
    playState->setState(true);
    ASSERT_TRUE(done.wait(3000));
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
    playSecond();
    playState->setState(true);
    w->button(kPause)->click();
    EXPECT_FALSE(playState->isArmed());
    EXPECT_NE(w->Mode(), MMControl::ModePlaying);

    // Play on the strip counts as a play the user asked for.
    gvPlayRequested = false;
    w->button(kPlay)->click();
    EXPECT_TRUE(gvPlayRequested);
    EXPECT_EQ(w->Mode(), MMControl::ModePlaying);
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
        QTest::qWait(150);
        w->setWait(true);
        w->setCommand(QStringLiteral("Stop"));
        disc.setCommand(QStringLiteral("Close"));
    };
    // The recording format's header alone is 44 bytes; a second of sound is thousands more.
    auto savedBytes = [&] { return QFileInfo(target).size(); };

    gvAutoSlow = false;
    capture();
    EXPECT_FALSE(gvRecordingLoop);
    EXPECT_TRUE(gvInSlowPlay);
    EXPECT_EQ(m->currentMode(), u"SlowPlay");
    EXPECT_FALSE(isLoaded(QStringLiteral("messages2"))) << "the saving message is taken away";
    EXPECT_TRUE(w->isEnabled());
    EXPECT_GT(savedBytes(), 8000) << "the recorded sound reached the file";
    EXPECT_FALSE(m->panelText(QStringLiteral("pnlMsg")).startsWith(u"Playing loop at"))
        << "without AutoSlow the capture ends without sound";

    m->changeToMode(QStringLiteral("CD"));
    ASSERT_TRUE(QFile::remove(target));
    gvAutoSlow = true;
    capture();
    EXPECT_TRUE(gvInSlowPlay);
    EXPECT_GT(savedBytes(), 8000);
    EXPECT_TRUE(m->panelText(QStringLiteral("pnlMsg")).startsWith(u"Playing loop at 50%"))
        << "with AutoSlow the captured loop is transformed and heard at once";
    m->stopDLL();
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

TEST_F(WaveTransport, PlayFromLoopOnStartsAtTheCurrentLoop) {
    openWave(QStringLiteral("song.wav"), 100.0);
    const QVariant id = m->library().WAVs->field(QStringLiteral("waveFileID"));
    m->library().dtaLoopPoints->AddNew();
    m->library().dtaLoopPoints->setField(QStringLiteral("waveFileID"), id);
    m->library().dtaLoopPoints->setField(QStringLiteral("startTime"), 42000);
    m->library().dtaLoopPoints->setField(QStringLiteral("endTime"), 50000);
    m->library().dtaLoopPoints->Update();
    m->library().dtaLoopPoints->Requery();
    m->library().dtaLoopPoints->FindFirst(QStringLiteral("startTime = ?"), {42000});
    ASSERT_FALSE(m->library().dtaLoopPoints->NoMatch());

    gvPlayRequested = false;
    m->playFromLoopOn();
    EXPECT_EQ(w->Mode(), MMControl::ModePlaying);
    EXPECT_GE(w->Position(), 42000);
    EXPECT_LT(w->Position(), 47000);
    EXPECT_TRUE(gvPlayRequested);
    EXPECT_EQ(w->UpdateInterval(), 500);
}
