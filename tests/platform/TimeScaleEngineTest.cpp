// The time-scale engine on real files: exact lengths, kept and shifted pitch, channel choice,
// real time on the null device, and a stop that silences it. Its refusals are tested where the
// program starts it.
#include "platform/TimeScaleEngine.h"
#include "SoundProbe.h"
#include "WavGen.h"
#include "platform/AudioDevice.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <atomic>
#include <cmath>
#include <gtest/gtest.h>
#include <sndfile.h>

namespace {

class Engine : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(dir.isValid());
        engine.setCallback([this](int r) {
            result = r;
            ++callbacks;
        });
    }
    QString path(const char* name) const { return dir.filePath(QString::fromLatin1(name)); }
    bool waitForEnd(int ms = 20000) {
        QElapsedTimer t;
        t.start();
        while (callbacks.load() == 0 && t.elapsed() < ms)
            QTest::qWait(5);
        return callbacks.load() > 0;
    }

    QTemporaryDir dir;
    TimeScaleEngine engine;
    std::atomic<int> callbacks{0};
    std::atomic<int> result{-1};
};

} // namespace

// Every quality the window offers picks its engine; lengths are exact and the tone moves by
// the cents asked for, at the ends of the speed range and an octave down.
TEST_F(Engine, FileModeGivesTheExactLengthAndTheAskedPitchAtEveryQuality) {
    ASSERT_TRUE(wavgen::writeSine(path("in.wav"), 0.6, 440.0, {44100, 2}));
    struct Case {
        double percent;
        int bands, cents, engineVersion;
    };
    for (const Case c : {Case{50, 2048, 0, 3}, Case{50, 1024, 0, 3}, Case{200, 512, 0, 2},
                         Case{5, 2048, 0, 3}, Case{100, 2048, 700, 3}, Case{100, 512, -1200, 2}}) {
        SCOPED_TRACE(testing::Message()
                     << c.percent << "% " << c.cents << " cents at " << c.bands << " bands");
        callbacks = 0;
        QFile::remove(path("out.wav"));
        ASSERT_EQ(engine.start(path("in.wav"), std::pow(2.0, c.cents / 1200.0), 100.0 / c.percent,
                               c.bands, path("out.wav"), false, 0),
                  TimeScaleEngine::Running);
        ASSERT_TRUE(waitForEnd());
        EXPECT_EQ(result.load(), 0);
        EXPECT_EQ(engine.engineVersion(), c.engineVersion);
        const Sound out = load(path("out.wav"));
        EXPECT_EQ(out.info.frames, std::llround(26460 * 100.0 / c.percent));
        EXPECT_EQ(out.info.channels, 2);
        EXPECT_EQ(out.info.samplerate, 44100);
        EXPECT_EQ(out.info.format & SF_FORMAT_SUBMASK, SF_FORMAT_PCM_16);
        EXPECT_NEAR(cents(frequencyOf(out), 440.0), c.cents, 1.0);
    }
}

TEST_F(Engine, AChosenChannelIsTransformedAloneAndHeardOnBothSides) {
    // Left 440 Hz, right 660 Hz.
    const int frames = 26460;
    std::vector<short> data(size_t(frames) * 2);
    for (int f = 0; f < frames; ++f) {
        data[size_t(f) * 2] = short(12000 * std::sin(2 * M_PI * 440.0 * f / 44100));
        data[size_t(f) * 2 + 1] = short(12000 * std::sin(2 * M_PI * 660.0 * f / 44100));
    }
    SF_INFO info{0, 44100, 2, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 0, 0};
    SNDFILE* sf = sf_open(QFile::encodeName(path("lr.wav")).constData(), SFM_WRITE, &info);
    ASSERT_NE(sf, nullptr);
    sf_writef_short(sf, data.data(), frames);
    sf_close(sf);

    for (const auto& [choice, hz] : {std::pair{1, 660.0}, std::pair{2, 440.0}}) {
        SCOPED_TRACE(choice);
        callbacks = 0;
        QFile::remove(path("out.wav"));
        ASSERT_EQ(engine.start(path("lr.wav"), 1.0, 2.0, 512, path("out.wav"), false, choice),
                  TimeScaleEngine::Running);
        ASSERT_TRUE(waitForEnd());
        const Sound out = load(path("out.wav"));
        ASSERT_EQ(out.info.channels, 2);
        EXPECT_NEAR(cents(frequencyOf(out, 0), hz), 0.0, 1.0);
        EXPECT_NEAR(cents(frequencyOf(out, 1), hz), 0.0, 1.0);
        for (qint64 f = 0; f < out.info.frames; f += 97)
            ASSERT_EQ(out.at(f, 0), out.at(f, 1));
    }
}

TEST_F(Engine, RealTimeSoundsTheResultAndCallsBackOnlyWhenItHasBeenHeard) {
    qputenv("CANTAVOX_NULL_RATE", "4");
    ASSERT_TRUE(wavgen::writeSine(path("in.wav"), 1.0, 440.0, {44100, 2}));
    ASSERT_EQ(engine.start(path("in.wav"), 1.0, 2.0, 2048, path("out.wav"), true, 0),
              TimeScaleEngine::Running);
    qunsetenv("CANTAVOX_NULL_RATE");
    ASSERT_TRUE(waitForEnd());
    EXPECT_EQ(result.load(), 0);
    AudioDevice* audio = engine.audio();
    ASSERT_NE(audio, nullptr);
    EXPECT_EQ(audio->framesPlayed(), 88200) << "every frame was heard before the callback";
    EXPECT_EQ(audio->joinSilentFrames(), 0);
    const Sound out = load(path("out.wav"));
    EXPECT_NEAR(double(out.info.frames), 88200.0, 44.1) << "within a millisecond";
    EXPECT_NEAR(cents(frequencyOf(out), 440.0), 0.0, 1.0);
    EXPECT_GT(engine.firstSoundAt(), 0.0);
    EXPECT_LT(engine.firstSoundAt() - engine.startedAt(), 0.1 * 4)
        << "the first frame sounds within a tenth of a second (of real time)";
}

// A stopped job's one end and its result are tested where the program starts and stops jobs;
// here its sound, which must end with it.
TEST_F(Engine, StopEndsARealTimeJobAndItsSoundAtOnce) {
    ASSERT_TRUE(wavgen::writeSine(path("in.wav"), 20.0, 440.0, {44100, 2}));
    ASSERT_EQ(engine.start(path("in.wav"), 1.0, 2.0, 2048, path("out.wav"), true, 0),
              TimeScaleEngine::Running);
    ASSERT_TRUE(QTest::qWaitFor([&] { return engine.firstSoundAt() > 0; }, 5000));
    QElapsedTimer t;
    t.start();
    engine.stop();
    EXPECT_LT(t.elapsed(), 500);
    EXPECT_FALSE(engine.running());
    EXPECT_EQ(callbacks.load(), 1);
    const qint64 heard = engine.audio()->framesPlayed();
    QTest::qWait(100);
    EXPECT_EQ(engine.audio()->framesPlayed(), heard) << "its sound ended with it";
}
