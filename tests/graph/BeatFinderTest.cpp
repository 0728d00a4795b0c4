// The beat of generated loops, found through qm-dsp as the program finds it: click tracks and a
// synthesised drum loop give their tempo and a first beat on a true beat; silence, noise and a
// loop too short are refused in words; files are read through libsndfile with their channels
// mixed; and the fit alone holds through a missed beat, a stray off-beat and three minutes.
#include "Rhythms.h"

#include "graph/BeatFinder.h"

#include <QTemporaryDir>
#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <sndfile.h>
#include <thread>
#include <vector>

namespace {

using rhythms::clicks;
using rhythms::drums;

constexpr int kRate = 44100;

// How far t is from the nearest beat of a grid.
double offGrid(double t, double first, double period) {
    const double d = std::fmod(std::abs(t - first), period);
    return std::min(d, period - d);
}

void expectBeat(const BeatFinder::Result& r, double bpm, double offset, const char* what) {
    ASSERT_TRUE(r.ok) << what << ": " << qPrintable(r.why);
    EXPECT_NEAR(r.bpm(), bpm, bpm * 0.01) << what;
    EXPECT_GE(r.firstBeat, 0) << what;
    EXPECT_LT(r.firstBeat, r.beatPeriod) << what;
    EXPECT_LT(offGrid(r.firstBeat, offset, 60.0 / bpm), 0.07) << what;
}

// A stereo file: the sound on the left, and on the right times rightGain.
bool writeStereo(const QString& path, const std::vector<float>& left, float rightGain) {
    SF_INFO info{0, kRate, 2, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 0, 0};
    SNDFILE* sf = sf_open(path.toUtf8().constData(), SFM_WRITE, &info);
    std::vector<float> frames;
    for (float s : left)
        frames.insert(frames.end(), {s, rightGain * s});
    const sf_count_t n = sf_count_t(left.size());
    const bool written = sf && sf_writef_float(sf, frames.data(), n) == n;
    return sf && sf_close(sf) == 0 && written;
}

} // namespace

TEST(BeatFinder, FindsTheTempoAndFirstBeatOfClickTracks) {
    for (double bpm : {60.0, 100.0, 140.0}) {
        const std::string what = std::to_string(int(bpm)) + " BPM";
        expectBeat(BeatFinder::find(clicks(bpm, 20, 0.23), kRate), bpm, 0.23, what.c_str());
    }
    // Between two equally loud pulses the tracker takes the one nearer its 120 BPM: 180 clicks
    // come out at 90 with every other click a beat, and the window offers Double Tempo.
    const BeatFinder::Result fast = BeatFinder::find(clicks(180, 20, 0.23), kRate);
    expectBeat(fast, fast.bpm() < 135 ? 90 : 180, 0.23, "180 BPM");
    // In a loop of a few seconds the tracker puts a beat between each two slow clicks; those
    // over nothing are dropped.
    const BeatFinder::Result slowShort = BeatFinder::find(clicks(60, 5, 0.23), kRate);
    expectBeat(slowShort, 60, 0.23, "60 BPM in 5 s");
    EXPECT_EQ(slowShort.beats.size(), 5u);
}

TEST(BeatFinder, FindsTheBeatOfADrumLoopAlsoSlowedDownAndOnAnyThread) {
    const std::vector<float> loop = drums(120, 16, 0.31);
    const BeatFinder::Result r = BeatFinder::find(loop, kRate);
    expectBeat(r, 120, 0.31, "120 BPM");
    for (double beat : r.beats)
        EXPECT_LT(offGrid(beat, 0.31, 0.5), 0.03) << beat;
    expectBeat(BeatFinder::find(drums(120, 16, 0.31, 48000), 48000), 120, 0.31, "at 48 kHz");
    // Slowed to 60 the hi-hat's eighths are heard as the beat: the tracker says 120, on the
    // eighths, and the window offers Half Tempo.
    const BeatFinder::Result slow = BeatFinder::find(drums(60, 24, 0.31), kRate);
    expectBeat(slow, slow.bpm() > 90 ? 120 : 60, 0.31, "60 BPM");

    BeatFinder::Result a, b;
    std::thread first([&] { a = BeatFinder::find(loop, kRate); });
    std::thread second([&] { b = BeatFinder::find(loop, kRate); });
    first.join();
    second.join();
    EXPECT_EQ(a.beats, r.beats);
    EXPECT_EQ(b.beats, r.beats);
}

TEST(BeatFinder, RefusesLoopsWithoutABeatInWords) {
    EXPECT_EQ(BeatFinder::find(std::vector<float>(10 * kRate, 0.0005f), kRate).why,
              "The loop is silent: there is no beat to find.");
    std::mt19937 rng(3);
    std::normal_distribution<float> g(0, 0.2f);
    for (double seconds : {3.0, 20.0}) {
        std::vector<float> noise(size_t(seconds * kRate));
        for (float& s : noise)
            s = g(rng);
        const BeatFinder::Result r = BeatFinder::find(noise, kRate);
        EXPECT_FALSE(r.ok) << seconds;
        EXPECT_EQ(r.why, "No steady beat was found in the loop.") << seconds;
    }
    const BeatFinder::Result tiny = BeatFinder::find(clicks(120, 0.7, 0.05), kRate);
    EXPECT_FALSE(tiny.ok);
    EXPECT_EQ(tiny.why, "The loop is too short to find its beat. Select at least two beats.");
}

TEST(BeatFinder, ReadsFilesWithTheirChannelsMixed) {
    QTemporaryDir dir;
    const QString missing = dir.filePath(QStringLiteral("missing.wav"));
    const BeatFinder::Result none = BeatFinder::findInFile(missing);
    EXPECT_FALSE(none.ok);
    EXPECT_TRUE(none.why.startsWith(missing + QStringLiteral(" can't be read: ")))
        << qPrintable(none.why);
    EXPECT_GT(none.why.size(), missing.size() + 16);

    // Clicks on the left only: read as one channel of frames, the beat is there at its tempo.
    const std::vector<float> beat = clicks(100, 12, 0.2);
    const QString oneSided = dir.filePath(QStringLiteral("left.wav"));
    ASSERT_TRUE(writeStereo(oneSided, beat, 0));
    expectBeat(BeatFinder::findInFile(oneSided), 100, 0.2, "left only");
    // The right channel the left turned over: mixed, nothing is left.
    const QString cancelling = dir.filePath(QStringLiteral("cancelling.wav"));
    ASSERT_TRUE(writeStereo(cancelling, beat, -1));
    EXPECT_EQ(BeatFinder::findInFile(cancelling).why,
              "The loop is silent: there is no beat to find.");
}

TEST(BeatFinder, FitHoldsThroughMissedBeatsAStrayOffBeatAndThreeMinutes) {
    // The tracker's beats fall on hops of 512 samples: at 180 BPM the gaps are 28 or 29 hops,
    // so the typical gap is 1% off the true one, which three minutes would pile up.
    const double hop = 512.0 / kRate, period = 1.0 / 3, offset = 0.4;
    std::vector<double> beats{offset - period / 2};
    for (int k = 0; k < 540; ++k)
        if (k != 10 && k != 11 && k != 300)
            beats.push_back(std::round((offset + k * period) / hop) * hop);
    const BeatFinder::Result r = BeatFinder::fitBeats(beats);
    ASSERT_TRUE(r.ok) << qPrintable(r.why);
    EXPECT_NEAR(r.beatPeriod, period, period * 1e-4);
    EXPECT_NEAR(r.firstBeat, offset - period, 0.006);

    // Sixteen exact beats after a stray one on the off-beat, which alone would bend the line.
    std::vector<double> settling{0.35};
    for (int k = 0; k < 16; ++k)
        settling.push_back(0.6 + 0.5 * k);
    const BeatFinder::Result s = BeatFinder::fitBeats(settling);
    ASSERT_TRUE(s.ok) << qPrintable(s.why);
    EXPECT_NEAR(s.beatPeriod, 0.5, 1e-9);
    EXPECT_NEAR(s.firstBeat, 0.1, 1e-9);

    std::mt19937 rng(4);
    std::uniform_real_distribution<double> gap(0.3, 0.7);
    std::vector<double> wandering{0};
    for (int k = 1; k < 40; ++k)
        wandering.push_back(wandering.back() + gap(rng));
    EXPECT_EQ(BeatFinder::fitBeats(wandering).why, "No steady beat was found in the loop.");
}

TEST(BeatFinder, TheBarStartsOnTheAccent) {
    // Clicks at 120 whose every fourth, from the third on, is accented: the bar's first beat
    // is the accented one, wherever the tracker's first beat fell.
    std::vector<float> loop = clicks(120, 16, 0.2);
    const std::vector<float> accents = clicks(30, 16, 0.2 + 2 * 0.5);
    for (size_t i = 0; i < loop.size(); ++i)
        loop[i] = std::clamp(loop[i] + 0.3f * accents[i], -1.0f, 1.0f);
    const BeatFinder::Result r = BeatFinder::find(loop, kRate);
    ASSERT_TRUE(r.ok) << qPrintable(r.why);
    const double bar = r.firstBarBeat(4);
    EXPECT_LT(offGrid(bar, 1.2, 2.0), 0.07) << "bar starts at " << bar;
    EXPECT_LT(bar, r.firstBeat + 2.0) << "within the first bar";
}
