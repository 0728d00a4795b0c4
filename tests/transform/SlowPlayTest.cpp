// SlowPlay away from the main path: the loop cut into the scratch file and its result exact to
// the frame in both modes, the arithmetic of the speed and pitch fields and slider, a stop or
// a new speed while the engine runs, and scratch files missing, broken or too big for the
// disk. The real window and library, the real Rubber Band engine, generated WAV
// files and the null sound device running faster than real time.
#include "ErrorOf.h"
#include "MainWindowTest.h"
#include "SoundProbe.h"

#include "app/AppPaths.h"
#include "app/Forms.h"
#include "app/Prompts.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "app/stateVariable.h"
#include "library/Recordset.h"
#include "platform/MMControl.h"
#include "ui_frmMain.h"

#include <QFile>
#include <QLineEdit>
#include <QSignalSpy>
#include <QSlider>
#include <QTest>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace {

// Frames and rate of a sound file, or {0, 0}.
std::pair<qint64, int> soundOf(const QString& path) {
    const Sound s = load(path);
    return {s.info.frames, s.info.samplerate};
}

class SlowPlay : public MainWindowTest {
protected:
    // A 16 kHz stereo sine of 20 s in mode "Wave", with one loop from 2 s to 4 s selected.
    void openWithLoop() {
        source = openWave(QStringLiteral("tune.wav"), 20.0, {16000, 2});
        addLoop(2000, 4000);
        selectLoopStarting(2000);
    }
    QString scratch(const char* name) const { return appDir() + u'/' + QLatin1String(name); }
    // Waits until the finished file loops in WaveControl.
    bool waitForSlowFile(int ms = 8000) {
        return QTest::qWaitFor(
            [&] { return gvSlowFileReady && w->Mode() == MMControl::ModePlaying; }, ms);
    }
    bool boxStartingWith(const QString& text) const {
        for (const Prompts::Record& r : Prompts::log())
            if (r.text.startsWith(text))
                return true;
        return false;
    }

    QString source;
};

} // namespace

// As it is computed and behind a message: the loop cut exactly, the result the loop at half
// speed to the frame, repeating as plain playback; the way back brings the user's file.
TEST_F(SlowPlay, TheLoopIsCutToTheFrameAndItsResultRepeatsInBothModes) {
    openWithLoop();
    gvAutoSlow = true;
    for (const bool realtime : {true, false}) {
        SCOPED_TRACE(realtime ? "heard while computed" : "computed first");
        gvRealtime = realtime;
        u->cmdSlowPlay->click();
        EXPECT_EQ(m->currentMode(), u"SlowPlay");
        // The scratch file holds exactly the loop, in the source's format.
        EXPECT_EQ(soundOf(scratch("temp.wav")), std::pair(qint64(2 * 16000), 16000));
        EXPECT_EQ(m->transform().tempWavChannels, 2);
        if (realtime)
            EXPECT_FALSE(u->cmdGraphic->isEnabled()) << "no graph before the file is complete";
        ASSERT_TRUE(waitForSlowFile());
        EXPECT_TRUE(u->cmdGraphic->isEnabled());
        EXPECT_FALSE(isLoaded(QStringLiteral("messages2"))) << "the busy message is taken down";
        EXPECT_EQ(w->FileName(), scratch("tempslow.wav"));
        EXPECT_EQ(soundOf(scratch("tempslow.wav")), std::pair(qint64(4 * 16000), 16000));
        EXPECT_TRUE(playState->isArmed());
        QSignalSpy done(w, &MMControl::Done);
        ASSERT_TRUE(done.wait(3000));
        EXPECT_EQ(w->Mode(), MMControl::ModePlaying) << "the finished file repeats";
        m->updateWaveStatus();
        EXPECT_TRUE(m->panelText(QStringLiteral("pnlMsg")).startsWith(u"Playing loop at 50%"))
            << "the status leaves a repeating loop's words alone";
        // The result can't be saved onto the scratch file: nothing happens, nothing is said.
        Prompts::clear();
        Prompts::pushAnswer(appDir() + QStringLiteral("/music/TempSlow.wav"));
        m->mnuSaveSlowedDownFile_Click();
        EXPECT_FALSE(QFile::exists(appDir() + QStringLiteral("/music/TempSlow.wav")));
        EXPECT_EQ(Prompts::log().size(), 1) << "only the save dialog";

        m->cmdPrevView_Click();
        EXPECT_FALSE(gvInSlowPlay);
        EXPECT_EQ(w->FileName(), source) << "the user's file comes back";
        EXPECT_EQ(m->library().dtaLoopPoints->field(QStringLiteral("startTime")).toInt(), 2000);
    }
}

TEST_F(SlowPlay, TheFieldsArithmeticTransformsAnew) {
    openWithLoop();
    gvAutoSlow = false;
    u->cmdSlowPlay->click();
    ASSERT_TRUE(gvInSlowPlay);
    QTest::qWait(300);
    EXPECT_NE(w->Mode(), MMControl::ModePlaying) << "without AutoSlow nothing sounds";
    EXPECT_FALSE(gvSlowFileReady);
    m->updateWaveStatus();
    EXPECT_EQ(m->panelText(QStringLiteral("pnlMsg")), u"SlowPlay paused");

    // Enter takes both pitch fields: cents beyond a half step carry into the half steps.
    for (const auto& [steps, cents, change] :
         {std::tuple{"1", "150", 250}, {"-2", "50", -150}, {"0", "0", 0}}) {
        u->txtSlowPct_1->setText(QString::fromLatin1(steps));
        u->txtSlowPct_2->setText(QString::fromLatin1(cents));
        QTest::keyClick(u->txtSlowPct_2, Qt::Key_Return);
        EXPECT_EQ(m->transform().pitchChange, change) << steps << " " << cents;
        EXPECT_EQ(u->txtSlowPct_1->text(), QString::number(change / 100)) << change;
        EXPECT_EQ(u->txtSlowPct_2->text(), QString::number(change % 100)) << change;
    }
    // Text in a pitch field is a conversion error, not a zero.
    u->txtSlowPct_1->setText(QStringLiteral("two"));
    EXPECT_EQ(errorOf([&] { m->completetxtSlowPctEntry(1); }), 13);
    EXPECT_EQ(m->transform().pitchChange, 0);

    // A speed typed as 3 runs, and is remembered, as 5; above the slider's end the speed is
    // played as typed and the slider stops at its end; text without a number reads 0, raised
    // to the same floor.
    for (const auto& [typed, percent, slider] :
         {std::tuple{"3", 5, 5}, {"250", 250, 200}, {"fast", 5, 5}}) {
        ASSERT_TRUE(waitForSlowFile(15000));
        u->txtSlowPct_0->setText(QString::fromLatin1(typed));
        m->completetxtSlowPctEntry(0);
        EXPECT_EQ(m->transform().slowDownPercent, percent) << typed;
        ASSERT_TRUE(waitForSlowFile(15000));
        EXPECT_EQ(soundOf(scratch("tempslow.wav")).first, 2 * 16000 * 100 / percent) << typed;
        EXPECT_EQ(u->slSlowPct_0->value(), slider) << typed;
        m->library().dtaLoopPoints->FindFirst(QStringLiteral("startTime = ?"), {2000});
        EXPECT_EQ(m->library().dtaLoopPoints->field(QStringLiteral("lastPct")).toInt(), percent);
    }
    bool cancel = false;
    m->slowControl_StopClick(cancel);
}

TEST_F(SlowPlay, TheSpeedSliderAtZeroGivesFiveAndADragTransformsOnlyAtTheRelease) {
    openWithLoop();
    gvAutoSlow = false;
    u->cmdSlowPlay->click();
    u->slSlowPct_0->setValue(0);
    EXPECT_EQ(m->transform().slowDownPercent, 5);
    EXPECT_EQ(u->slSlowPct_0->value(), 5);
    m->stopDLL();

    // A drag shows the numbers and transforms only at the release.
    m->slSlowPct_MouseDown(0);
    u->slSlowPct_0->setSliderPosition(80);
    m->slSlowPct_Scroll(0);
    EXPECT_EQ(u->txtSlowPct_0->text(), u"80");
    m->slSlowPct_MouseUp(0);
    EXPECT_FALSE(u->slSlowPct_0->isEnabled());
    EXPECT_TRUE(QTest::qWaitFor([&] { return u->slSlowPct_0->isEnabled(); }, 3000))
        << "given back 300 ms after the release";
    m->stopDLL();
}

TEST_F(SlowPlay, StopWhileTheEngineSoundsCancelsThePendingFile) {
    openWithLoop();
    gvAutoSlow = true;
    gvRealtime = true;
    // A long slowdown, so that the engine is still sounding when Stop comes.
    m->library().dtaLoopPoints->Edit();
    m->library().dtaLoopPoints->setField(QStringLiteral("endTime"), 12000);
    m->library().dtaLoopPoints->setField(QStringLiteral("lastPct"), 10);
    m->library().dtaLoopPoints->Update();
    u->cmdSlowPlay->click();
    ASSERT_TRUE(gvInSlowPlay);
    ASSERT_FALSE(gvSlowFileReady);
    bool cancel = false;
    m->slowControl_StopClick(cancel);
    QTest::qWait(1500);
    EXPECT_FALSE(gvSlowFileReady) << "the stopped job's end changes nothing";
    EXPECT_NE(w->FileName(), scratch("tempslow.wav"));
}

TEST_F(SlowPlay, ANewSpeedWhileAJobRunsOnlyTheNewJobsEndArrives) {
    openWithLoop();
    gvAutoSlow = true;
    u->cmdSlowPlay->click();
    ASSERT_FALSE(gvSlowFileReady);
    int ticks = 0;
    QObject::connect(&m->transform().tmrLoopDLL, &QTimer::timeout, [&] { ++ticks; });
    m->speedLabel_Click(100);
    ASSERT_TRUE(waitForSlowFile());
    QTest::qWait(500);
    EXPECT_EQ(ticks, 1) << "the first job's end never arrives";
    EXPECT_EQ(soundOf(scratch("tempslow.wav")).first, 2 * 16000) << "the file of the new speed";
}

TEST_F(SlowPlay, AMissingOrBrokenScratchFileSaysSoAndLeavesTheProgramUsable) {
    openWithLoop();
    gvAutoSlow = false;
    u->cmdSlowPlay->click();
    ASSERT_TRUE(gvInSlowPlay);
    QFile::remove(scratch("temp.wav"));
    m->btnLoopPlay_Click();
    EXPECT_TRUE(boxStartingWith(QStringLiteral("Recording did not succeed.")));
    EXPECT_FALSE(gvSlowFileReady);

    // A scratch file that isn't sound: the engine refuses, the number is shown, mode CD.
    ASSERT_TRUE(wavgen::writeBytes(scratch("temp.wav"), "these are not samples"));
    Prompts::clear();
    m->btnLoopPlay_Click();
    EXPECT_TRUE(boxStartingWith(QStringLiteral("The slowdown process failed with error code ")));
    EXPECT_EQ(m->currentMode(), u"CD");

    // No loop at all: the Transform button explains itself.
    Prompts::clear();
    m->changeToMode(QStringLiteral("Wave"));
    while (m->library().dtaLoopPoints->RecordCount() > 0) {
        m->library().dtaLoopPoints->MoveFirst();
        m->library().dtaLoopPoints->Delete();
        m->library().dtaLoopPoints->Requery();
    }
    m->cmdSlowPlay_Click();
    EXPECT_FALSE(gvInSlowPlay);
    EXPECT_TRUE(boxStartingWith(QStringLiteral("There are no loop points created.")));
}

TEST_F(SlowPlay, ADiskTooFullForTheResultSaysSoAndTheProgramGoesOn) {
    openWithLoop();
    gvAutoSlow = false;
    gvRealtime = false;
    u->cmdSlowPlay->click();
    ASSERT_TRUE(gvInSlowPlay);
    // Files may grow to 100 kB from here: the half-speed loop needs 256 kB.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit previous{};
    getrlimit(RLIMIT_FSIZE, &previous);
    rlimit small = previous;
    small.rlim_cur = 100 * 1024;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    m->btnLoopPlay_Click();
    const bool left = QTest::qWaitFor([] { return !gvInSlowPlay; }, 8000);
    setrlimit(RLIMIT_FSIZE, &previous);
    EXPECT_TRUE(left) << "the failure should take the program out of SlowPlay";
    EXPECT_TRUE(boxStartingWith(QStringLiteral("The slowdown process failed with error code 4.")));
    EXPECT_EQ(m->currentMode(), u"CD");
    EXPECT_FALSE(gvSlowFileReady);
    EXPECT_FALSE(QFile::exists(scratch("tempslow.wav"))) << "no half a loop left to play";
    EXPECT_FALSE(isLoaded(QStringLiteral("messages2")));

    // And with room again it works.
    Prompts::clear();
    m->changeToMode(QStringLiteral("Wave"));
    m->library().dtaLoopPoints->FindFirst(QStringLiteral("startTime = ?"), {2000});
    gvAutoSlow = true;
    u->cmdSlowPlay->click();
    EXPECT_TRUE(waitForSlowFile());
}
