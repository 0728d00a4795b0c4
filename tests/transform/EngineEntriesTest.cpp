// The engine entries as the program uses them, on the real Rubber Band engine with generated
// WAV files: a start returns while the job runs, in both modes; the end comes once per job
// from another thread; a stop is harmless when idle and still ends with one callback; odd
// files are transformed or refused in words. And the cut of a loop out of a wave file, in the
// file's own format, to the frame.
#include "SoundProbe.h"
#include "TestHome.h"
#include "WavGen.h"

#include "platform/TimeScaleEngine.h"
#include "platform/WaveSection.h"
#include "transform/slowplayInterface.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>
#include <functional>
#include <gtest/gtest.h>
#include <mutex>
#include <sndfile.h>
#include <thread>
#include <vector>

namespace {

// Counts callbacks and remembers the threads they came on.
struct Ends {
    std::mutex lock;
    std::vector<int> results;
    std::vector<std::thread::id> threads;
    int count() {
        std::lock_guard<std::mutex> hold(lock);
        return int(results.size());
    }
    bool waitFor(int n, int ms) {
        return QTest::qWaitFor([&] { return count() >= n; }, ms);
    }
};
Ends* g_ends = nullptr;

class EngineEntries : public ::testing::Test {
protected:
    void SetUp() override {
        qputenv("CANTAVOX_NULL_RATE", "10");
        ends = std::make_unique<Ends>();
        g_ends = ends.get();
        MFPlayFileInit(QStringLiteral("engine"));
        MFPlayFileRegisterCallBack(&slowPlayCallBack);
        setSlowPlayCallbackHandler([](int result) {
            std::lock_guard<std::mutex> hold(g_ends->lock);
            g_ends->results.push_back(result);
            g_ends->threads.push_back(std::this_thread::get_id());
        });
        input = dir.filePath(QStringLiteral("temp.wav"));
        output = dir.filePath(QStringLiteral("tempslow.wav"));
    }
    void TearDown() override {
        MFPlayFileStop();
        setSlowPlayCallbackHandler(nullptr);
        MFPlayFileCleanUp();
        qunsetenv("CANTAVOX_NULL_RATE");
    }

    QTemporaryDir dir;
    std::unique_ptr<Ends> ends;
    QString input;
    QString output;
};

} // namespace

TEST_F(EngineEntries, StartReturnsWhileTheJobRunsAndTheEndComesOnceFromItsThread) {
    ASSERT_TRUE(wavgen::writeSine(input, 3.0, 440.0, {22050, 2}));
    for (const qint16 playNow : {qint16(0), qint16(1)}) {
        ends->results.clear();
        QFile::remove(output);
        QElapsedTimer t;
        t.start();
        const qint32 result = MFPlayFileStart(input, 1.0, 2.0, 2048, 1, output, playNow, 0);
        const qint64 returnedAfter = t.elapsed();
        EXPECT_EQ(result, 0) << "playNow " << playNow;
        EXPECT_EQ(ends->count(), 0) << "the start doesn't wait for the job";
        EXPECT_LT(returnedAfter, 1000);
        ASSERT_TRUE(ends->waitFor(1, 20000)) << "playNow " << playNow;
        QTest::qWait(200);
        EXPECT_EQ(ends->count(), 1) << "one end per job";
        EXPECT_NE(ends->threads[0], std::this_thread::get_id());
        EXPECT_EQ(load(output).info.frames, 2 * 3 * 22050) << "twice as long, to the frame";
    }
}

TEST_F(EngineEntries, StopIsHarmlessWhenIdleAndEndsARunningJobWithOneEnd) {
    EXPECT_EQ(ends->count(), 0);
    MFPlayFileStop();
    MFPlayFileStop();
    EXPECT_EQ(ends->count(), 0) << "no job, no end";

    ASSERT_TRUE(wavgen::writeSine(input, 20.0, 440.0, {22050, 1}));
    ASSERT_EQ(MFPlayFileStart(input, 1.0, 4.0, 2048, 1, output, 1, 0), 0);
    ASSERT_TRUE(QTest::qWaitFor([&] { return QFileInfo(output).size() > 4096; }, 5000))
        << "the job never got under way";
    MFPlayFileStop();
    ASSERT_TRUE(ends->waitFor(1, 3000));
    EXPECT_EQ(ends->results[0], 1) << "a stopped job reports 1";
    QTest::qWait(300);
    EXPECT_EQ(ends->count(), 1);

    // A second start while one runs replaces it: the first ends (once), the second runs on.
    ASSERT_EQ(MFPlayFileStart(input, 1.0, 4.0, 2048, 1, output, 1, 0), 0);
    ASSERT_EQ(MFPlayFileStart(input, 1.0, 1.0, 512, 1, output, 0, 0), 0);
    ASSERT_TRUE(ends->waitFor(3, 20000));
    EXPECT_EQ(load(output).info.frames, 20 * 22050) << "the file is the second job's";
}

TEST(WaveSection, CutsTheLoopInTheSourcesOwnFormatToTheFrame) {
    TestHome home;
    QTemporaryDir dir;
    struct Case {
        const char* name;
        wavgen::Format format;
    };
    const Case cases[] = {
        {"16-bit stereo 44.1 kHz", {44100, 2}},
        {"8-bit mono 8 kHz", {8000, 1, SF_FORMAT_PCM_U8}},
        {"24-bit stereo 96 kHz", {96000, 2, SF_FORMAT_PCM_24}},
        {"float stereo 48 kHz", {48000, 2, SF_FORMAT_FLOAT}},
        {"extensible 32-bit", {22050, 2, SF_FORMAT_PCM_32, true}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const QString source = dir.filePath(QStringLiteral("source.wav"));
        const QString cut = dir.filePath(QStringLiteral("temp.wav"));
        QFile::remove(source);
        QFile::remove(cut);
        ASSERT_TRUE(wavgen::writeSine(source, 4.0, 330.0, c.format));
        EXPECT_EQ(extractWAVEfileSection(source, cut, 1000, 2500), c.format.channels);
        const Sound in = load(source), out = load(cut);
        EXPECT_EQ(out.info.frames, c.format.rate * 3 / 2);
        EXPECT_EQ(out.info.samplerate, in.info.samplerate);
        EXPECT_EQ(out.info.channels, in.info.channels);
        EXPECT_EQ(out.info.format & SF_FORMAT_SUBMASK, in.info.format & SF_FORMAT_SUBMASK);
        // The same samples, from the first frame of the section on.
        const auto from = in.samples.begin() + c.format.rate * c.format.channels;
        EXPECT_TRUE(std::equal(out.samples.begin(), out.samples.end(), from));
    }
}

TEST(WaveSection, ClampsToTheSoundAndSaysWhyItWroteNothing) {
    TestHome home;
    QTemporaryDir dir;
    const QString source = dir.filePath(QStringLiteral("short.wav"));
    const QString cut = dir.filePath(QStringLiteral("temp.wav"));
    ASSERT_TRUE(wavgen::writeSine(source, 2.0, 440.0, {8000, 1}));
    // An end past the sound ends with the sound.
    EXPECT_EQ(extractWAVEfileSection(source, cut, 1500, 9000), 1);
    EXPECT_EQ(load(cut).info.frames, 4000);
    // Ends on frames: 0.0625 ms is half a frame at 8 kHz.
    EXPECT_EQ(extractWAVEfileSection(source, cut, 1, 2), 1);
    EXPECT_EQ(load(cut).info.frames, 8);

    EXPECT_EQ(extractWAVEfileSection(source, cut, 1500, 1500), -2);
    EXPECT_EQ(extractWAVEfileSection(source, cut, 1500, 1000), -2);
    EXPECT_EQ(extractWAVEfileSection(source, cut, 5000, 6000), -2) << "wholly beyond the sound";
    EXPECT_TRUE(lastWaveSectionError().contains(u"holds no sound"));
    EXPECT_EQ(extractWAVEfileSection(dir.filePath(QStringLiteral("gone.wav")), cut, 0, 100), -1);
    EXPECT_TRUE(lastWaveSectionError().contains(u"gone.wav"));
    EXPECT_EQ(
        extractWAVEfileSection(source, dir.filePath(QStringLiteral("nowhere/temp.wav")), 0, 100),
        -3);
    EXPECT_TRUE(lastWaveSectionError().contains(u"nowhere/temp.wav"));
}

// What the start gives for odd scratch files: 0 and a job that ends in a file twice as long,
// or a refusal with its words and no job at all.
TEST_F(EngineEntries, OddScratchFilesAreTransformedOrRefusedWithWords) {
    const auto sine = [&](double seconds, const wavgen::Format& format) {
        return [=, this] { return wavgen::writeSine(input, seconds, 440.0, format); };
    };
    const auto bytes = [&](const QByteArray& content) {
        return [=, this] { return wavgen::writeBytes(input, content); };
    };
    struct Case {
        const char* name;
        std::function<bool()> write;
        qint32 result;
        qint64 frames; // the output's, when it runs
        QString output;
    };
    const QString noFolder = dir.filePath(QStringLiteral("no such folder/tempslow.wav"));
    const Case cases[] = {
        {"mono 8-bit", sine(1.0, {8000, 1, SF_FORMAT_PCM_U8}), 0, 16000, output},
        {"96 kHz float", sine(0.5, {96000, 2, SF_FORMAT_FLOAT}), 0, 96000, output},
        // The header claims a second, the file holds a tenth: what is there is transformed.
        {"truncated", bytes(wavgen::pcm16Bytes(4410, 1, 44100, -1, 88200)), 0, 8820, output},
        {"missing", [] { return true; }, 2, 0, output},
        {"not sound", bytes("not a wave file at all"), 3, 0, output},
        {"empty", bytes({}), 3, 0, output},
        {"header without sound", bytes(wavgen::pcm16Bytes(0, 2, 44100)), 5, 0, output},
        {"output folder missing", sine(1.0, {8000, 1}), 4, 0, noFolder},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        QFile::remove(input);
        QFile::remove(output);
        ends->results.clear();
        ASSERT_TRUE(c.write());
        EXPECT_EQ(MFPlayFileStart(input, 1.0, 2.0, 1024, 1, c.output, 0, 0), c.result);
        if (c.result == 0) {
            ASSERT_TRUE(ends->waitFor(1, 20000));
            EXPECT_EQ(ends->results[0], 0);
            EXPECT_EQ(load(output).info.frames, c.frames);
        } else {
            QTest::qWait(100);
            EXPECT_EQ(ends->count(), 0) << "a job that never started has no end";
        }
    }
    EXPECT_EQ(slowPlayErrorMessage(2), u"Unable to open input file. Possible disk full problem.");
    EXPECT_EQ(slowPlayErrorMessage(3), u"Unable to read RIFF format info from input file.");
    EXPECT_EQ(slowPlayErrorMessage(4), u"Unable to open temp output file.");
    EXPECT_FALSE(slowPlayErrorMessage(5).isEmpty());
}
