// SlowPlay as the musician meets it: a loop of a wave file is cut into the scratch file,
// slowed down (heard while it is computed), and the finished file loops; the speed and pitch
// controls transform it anew and are remembered per loop and per file; the way back finds
// the loop again. The real window and library, the real Rubber Band engine, generated WAV
// files and the null sound device running faster than real time.
#include "ErrorOf.h"
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
#include <QLineEdit>
#include <QSignalBlocker>
#include <QSignalSpy>
#include <QSlider>
#include <QTest>
#include <csignal>
#include <gtest/gtest.h>
#include <sndfile.h>
#include <sys/resource.h>

namespace {

// Frames and rate of a sound file, or {0, 0}.
std::pair<qint64, int> soundOf(const QString& path) {
    SF_INFO info{};
    SNDFILE* sf = sf_open(QFile::encodeName(path).constData(), SFM_READ, &info);
    if (!sf)
        return {0, 0};
    sf_close(sf);
    return {info.frames, info.samplerate};
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
        QElapsedTimer t;
        t.start();
        while (t.elapsed() < ms) {
            if (gvSlowFileReady && w->Mode() == MMControl::ModePlaying)
                return true;
            QTest::qWait(20);
        }
        return false;
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

TEST_F(SlowPlay, BandsFollowTheQuality) {
    for (const auto& [quality, bands] : {std::pair{1, 512}, {2, 1024}, {3, 2048}}) {
        gvSoundQuality = static_cast<qint16>(quality);
        EXPECT_EQ(m->calcBands(), bands);
    }
}

TEST_F(SlowPlay, PitchFactorAndTheFieldsArithmetic) {
    EXPECT_DOUBLE_EQ(frmMain::pitchFactorOf(1200), 2.0);
    EXPECT_DOUBLE_EQ(frmMain::pitchFactorOf(-1200), 0.5);
    EXPECT_NEAR(frmMain::pitchFactorOf(100), 1.059463, 1e-6);
    EXPECT_EQ(frmMain::pitchFactorOf(0), 1.0);
    EXPECT_EQ(m->calcPitchFactor(), 1.0) << "no pitch change at the start";

    EXPECT_EQ(m->roundPct(44), 40);
    EXPECT_EQ(m->roundPct(45), 50);
    EXPECT_EQ(m->roundPct(-4), 0);
}

TEST_F(SlowPlay, FromAWaveLoopToARepeatingSlowedLoopAndBack) {
    openWithLoop();
    gvAutoSlow = true;
    gvRealtime = true;
    u->cmdSlowPlay->click();
    EXPECT_TRUE(gvInSlowPlay);
    EXPECT_EQ(m->currentMode(), u"SlowPlay");
    // The scratch file holds exactly the loop, in the source's format.
    const auto [cutFrames, cutRate] = soundOf(scratch("temp.wav"));
    EXPECT_EQ(cutRate, 16000);
    EXPECT_EQ(cutFrames, 2 * 16000);
    EXPECT_EQ(m->transform().tempWavChannels, 2);
    EXPECT_EQ(m->transform().slowDownPercent, 50)
        << "a loop never transformed starts at half speed";
    EXPECT_TRUE(m->panelText(QStringLiteral("pnlMsg")).startsWith(u"Playing loop at 50%"));
    EXPECT_FALSE(u->cmdGraphic->isEnabled()) << "no graph before the file is complete";

    ASSERT_TRUE(waitForSlowFile());
    EXPECT_TRUE(u->cmdGraphic->isEnabled());
    EXPECT_EQ(w->FileName(), scratch("tempslow.wav"));
    const auto [slowFrames, slowRate] = soundOf(scratch("tempslow.wav"));
    EXPECT_EQ(slowRate, 16000);
    EXPECT_EQ(slowFrames, 4 * 16000) << "half speed lasts twice as long, to the frame";
    EXPECT_TRUE(playState->isArmed());
    // Remembered for this loop.
    m->library().dtaLoopPoints->FindFirst(QStringLiteral("startTime = ?"), {2000});
    EXPECT_EQ(m->library().dtaLoopPoints->field(QStringLiteral("lastPct")).toInt(), 50);

    // The finished file repeats as plain playback.
    QSignalSpy done(w, &MMControl::Done);
    ASSERT_TRUE(done.wait(3000));
    EXPECT_EQ(w->Mode(), MMControl::ModePlaying);

    m->cmdPrevView_Click();
    EXPECT_FALSE(gvInSlowPlay);
    EXPECT_EQ(m->currentMode(), u"Wave");
    EXPECT_EQ(w->FileName(), source) << "the user's file comes back";
    EXPECT_EQ(m->library().dtaLoopPoints->field(QStringLiteral("startTime")).toInt(), 2000);
}

TEST_F(SlowPlay, SpeedAndPitchAreRememberedPerLoopAndPerFile) {
    openWithLoop();
    gvAutoSlow = true;
    u->cmdSlowPlay->click();
    ASSERT_TRUE(waitForSlowFile());

    // 70 %, typed and entered.
    u->txtSlowPct_0->setText(QStringLiteral("70"));
    QTest::keyClick(u->txtSlowPct_0, Qt::Key_Return);
    EXPECT_EQ(m->transform().slowDownPercent, 70);
    EXPECT_EQ(u->slSlowPct_0->value(), 70);
    ASSERT_TRUE(waitForSlowFile());
    EXPECT_EQ(soundOf(scratch("tempslow.wav")).first, std::lround(2 * 16000 * 100.0 / 70));

    // A half step down, by its label.
    m->lblSteps_Click(13);
    EXPECT_EQ(m->transform().pitchChange, -100);
    EXPECT_EQ(u->txtSlowPct_1->text(), u"-1");
    ASSERT_TRUE(waitForSlowFile());
    EXPECT_EQ(m->library().WAVs->field(QStringLiteral("lastPitchChange")).toInt(), -100)
        << "the pitch is the file's";

    m->cmdPrevView_Click();
    u->cmdSlowPlay->click();
    EXPECT_EQ(m->transform().slowDownPercent, 70) << "the loop's last speed";
    ASSERT_TRUE(waitForSlowFile());
}

TEST_F(SlowPlay, TheFieldsArithmeticTransformsAnew) {
    openWithLoop();
    gvAutoSlow = false;
    u->cmdSlowPlay->click();
    ASSERT_TRUE(gvInSlowPlay);
    QTest::qWait(300);
    EXPECT_NE(w->Mode(), MMControl::ModePlaying) << "without AutoSlow nothing sounds";
    EXPECT_FALSE(gvSlowFileReady);

    u->txtSlowPct_1->setText(QStringLiteral("1"));
    u->txtSlowPct_2->setText(QStringLiteral("150"));
    QTest::keyClick(u->txtSlowPct_2, Qt::Key_Return);
    EXPECT_EQ(m->transform().pitchChange, 250);
    EXPECT_EQ(u->txtSlowPct_1->text(), u"2");
    EXPECT_EQ(u->txtSlowPct_2->text(), u"50");

    u->txtSlowPct_1->setText(QStringLiteral("-2"));
    u->txtSlowPct_2->setText(QStringLiteral("50"));
    m->completetxtSlowPctEntry(1);
    EXPECT_EQ(m->transform().pitchChange, -150);

    // Text in a pitch field is a conversion error, not a zero.
    u->txtSlowPct_1->setText(QStringLiteral("two"));
    EXPECT_EQ(errorOf([&] { m->completetxtSlowPctEntry(1); }), 13);
    EXPECT_EQ(m->transform().pitchChange, -150);

    // A speed typed as 3 runs at 5, and 5 is what is remembered.
    u->txtSlowPct_1->setText(QStringLiteral("0"));
    u->txtSlowPct_2->setText(QStringLiteral("0"));
    m->completetxtSlowPctEntry(1);
    EXPECT_EQ(m->transform().pitchChange, 0);
    ASSERT_TRUE(waitForSlowFile(15000));
    u->txtSlowPct_0->setText(QStringLiteral("3"));
    m->completetxtSlowPctEntry(0);
    EXPECT_EQ(m->transform().slowDownPercent, 5);
    ASSERT_TRUE(waitForSlowFile(15000));
    EXPECT_EQ(soundOf(scratch("tempslow.wav")).first, 20 * 2 * 16000);
    m->library().dtaLoopPoints->FindFirst(QStringLiteral("startTime = ?"), {2000});
    EXPECT_EQ(m->library().dtaLoopPoints->field(QStringLiteral("lastPct")).toInt(), 5);

    // Above the slider's end the speed is played as typed; the slider stops at its end.
    u->txtSlowPct_0->setText(QStringLiteral("250"));
    m->completetxtSlowPctEntry(0);
    EXPECT_EQ(m->transform().slowDownPercent, 250);
    ASSERT_TRUE(waitForSlowFile(15000));
    EXPECT_EQ(soundOf(scratch("tempslow.wav")).first, 2 * 16000 * 100 / 250);
    EXPECT_EQ(u->slSlowPct_0->value(), 200);
    EXPECT_EQ(u->txtSlowPct_0->text(), u"250");

    // Text without a number reads 0, raised to the same floor.
    u->txtSlowPct_0->setText(QStringLiteral("fast"));
    m->completetxtSlowPctEntry(0);
    EXPECT_EQ(m->transform().slowDownPercent, 5);
    bool cancel = false;
    m->slowControl_StopClick(cancel);
}

TEST_F(SlowPlay, SliderAtZeroGivesFiveAndCodeSetsRunNothing) {
    openWithLoop();
    gvAutoSlow = false;
    u->cmdSlowPlay->click();
    // The code's own settings run no transformation.
    {
        const QSignalBlocker quiet(u->slSlowPct_0);
        u->slSlowPct_0->setValue(120);
    }
    EXPECT_EQ(m->transform().slowDownPercent, 50);
    EXPECT_FALSE(QFile::exists(scratch("tempslow.wav")));

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
    EXPECT_EQ(m->transform().tmrLoopDLLTag, u"STOP");
    QTest::qWait(1500);
    EXPECT_FALSE(gvSlowFileReady) << "the stopped job's end changes nothing";
    EXPECT_FALSE(m->transform().tmrLoopDLL.isActive());
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

TEST_F(SlowPlay, FileModeWorksBehindItsMessageAndSavingCopiesTheResult) {
    openWithLoop();
    gvAutoSlow = true;
    gvRealtime = false;
    u->cmdSlowPlay->click();
    ASSERT_TRUE(waitForSlowFile());
    EXPECT_FALSE(isLoaded(QStringLiteral("messages2"))) << "the busy message is taken down";
    EXPECT_EQ(soundOf(scratch("tempslow.wav")).first, 4 * 16000);

    const QString saved = appDir() + QStringLiteral("/music/slow practice.wav");
    Prompts::pushAnswer(saved);
    m->mnuSaveSlowedDownFile_Click();
    EXPECT_EQ(soundOf(saved).first, 4 * 16000);
    EXPECT_EQ(m->mnuMRUCaption(1), saved);

    // The scratch file can't be saved onto itself: nothing happens, nothing is said.
    Prompts::clear();
    Prompts::pushAnswer(appDir() + QStringLiteral("/music/TempSlow.wav"));
    m->mnuSaveSlowedDownFile_Click();
    EXPECT_FALSE(QFile::exists(appDir() + QStringLiteral("/music/TempSlow.wav")));
    EXPECT_EQ(Prompts::log().size(), 1) << "only the save dialog";
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
    QFile junk(scratch("temp.wav"));
    ASSERT_TRUE(junk.open(QIODevice::WriteOnly));
    junk.write("these are not samples");
    junk.close();
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
    QElapsedTimer t;
    t.start();
    while (gvInSlowPlay && t.elapsed() < 8000)
        QTest::qWait(20);
    setrlimit(RLIMIT_FSIZE, &previous);
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
