// The engine entries as the program uses them, on the real Rubber Band engine with generated
// WAV files: a start returns while the job runs, in both modes; the end comes once per job
// from another thread; a stop is harmless when idle and still ends with one callback. And
// the cut of a loop out of a wave file, in the file's own format, to the frame.
#include "TestHome.h"
#include "WavGen.h"

#include "platform/TimeScaleEngine.h"
#include "platform/WaveSection.h"
#include "transform/slowplayInterface.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <mutex>
#include <sndfile.h>
#include <thread>
#include <vector>

namespace {

SF_INFO infoOf(const QString& path) {
    SF_INFO info{};
    if (SNDFILE* sf = sf_open(QFile::encodeName(path).constData(), SFM_READ, &info))
        sf_close(sf);
    return info;
}

std::vector<int> samplesOf(const QString& path, sf_count_t from, sf_count_t frames) {
    SF_INFO info{};
    SNDFILE* sf = sf_open(QFile::encodeName(path).constData(), SFM_READ, &info);
    if (!sf)
        return {};
    sf_seek(sf, from, SEEK_SET);
    std::vector<int> v(size_t(frames) * info.channels);
    v.resize(size_t(sf_readf_int(sf, v.data(), frames)) * info.channels);
    sf_close(sf);
    return v;
}

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
        QElapsedTimer t;
        t.start();
        while (count() < n && t.elapsed() < ms)
            QTest::qWait(10);
        return count() >= n;
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
        EXPECT_EQ(infoOf(output).frames, 2 * 3 * 22050) << "twice as long, to the frame";
    }
}

TEST_F(EngineEntries, StopIsHarmlessWhenIdleAndEndsARunningJobWithOneEnd) {
    EXPECT_EQ(ends->count(), 0);
    MFPlayFileStop();
    MFPlayFileStop();
    EXPECT_EQ(ends->count(), 0) << "no job, no end";

    ASSERT_TRUE(wavgen::writeSine(input, 20.0, 440.0, {22050, 1}));
    ASSERT_EQ(MFPlayFileStart(input, 1.0, 4.0, 2048, 1, output, 1, 0), 0);
    QTest::qWait(100);
    MFPlayFileStop();
    ASSERT_TRUE(ends->waitFor(1, 3000));
    EXPECT_EQ(ends->results[0], 1) << "a stopped job reports 1";
    QTest::qWait(300);
    EXPECT_EQ(ends->count(), 1);

    // A second start while one runs replaces it: the first ends (once), the second runs on.
    ASSERT_EQ(MFPlayFileStart(input, 1.0, 4.0, 2048, 1, output, 1, 0), 0);
    QTest::qWait(50);
    ASSERT_EQ(MFPlayFileStart(input, 1.0, 1.0, 512, 1, output, 0, 0), 0);
    ASSERT_TRUE(ends->waitFor(3, 20000));
    EXPECT_EQ(infoOf(output).frames, 20 * 22050) << "the file is the second job's";
}

TEST_F(EngineEntries, RefusalsComeBackAsNumbersWithTheirWords) {
    EXPECT_EQ(MFPlayFileStart(dir.filePath(QStringLiteral("missing.wav")), 1.0, 2.0, 2048, 1,
                              output, 0, 0),
              2);
    QFile text(input);
    ASSERT_TRUE(text.open(QIODevice::WriteOnly));
    text.write("not a wave file at all");
    text.close();
    const qint32 notSound = MFPlayFileStart(input, 1.0, 2.0, 2048, 1, output, 0, 0);
    EXPECT_EQ(notSound, 3);
    EXPECT_EQ(slowPlayErrorMessage(2), u"Unable to open input file. Possible disk full problem.");
    EXPECT_EQ(slowPlayErrorMessage(3), u"Unable to read RIFF format info from input file.");
    EXPECT_EQ(slowPlayErrorMessage(4), u"Unable to open temp output file.");
    ASSERT_TRUE(wavgen::writeSine(input, 1.0, 440.0, {8000, 1}));
    EXPECT_EQ(MFPlayFileStart(input, 1.0, 2.0, 2048, 1,
                              dir.filePath(QStringLiteral("no such folder/tempslow.wav")), 0, 0),
              4);
    QTest::qWait(100);
    EXPECT_EQ(ends->count(), 0) << "a job that never started has no end";
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
        const SF_INFO in = infoOf(source);
        EXPECT_EQ(extractWAVEfileSection(source, cut, 1000, 2500), c.format.channels);
        const SF_INFO out = infoOf(cut);
        EXPECT_EQ(out.frames, c.format.rate * 3 / 2);
        EXPECT_EQ(out.samplerate, in.samplerate);
        EXPECT_EQ(out.channels, in.channels);
        EXPECT_EQ(out.format & SF_FORMAT_SUBMASK, in.format & SF_FORMAT_SUBMASK);
        // The same samples, from the first frame of the section on.
        EXPECT_EQ(samplesOf(cut, 0, 64), samplesOf(source, c.format.rate, 64));
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
    EXPECT_EQ(infoOf(cut).frames, 4000);
    // Ends on frames: 0.0625 ms is half a frame at 8 kHz.
    EXPECT_EQ(extractWAVEfileSection(source, cut, 1, 2), 1);
    EXPECT_EQ(infoOf(cut).frames, 8);

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

TEST_F(EngineEntries, OddScratchFilesAreTransformedOrRefusedWithWords) {
    struct Case {
        const char* name;
        std::function<bool()> write;
        qint32 result; // what the start gives
        qint64 frames; // the output's frames when it runs
    };
    const Case cases[] = {
        {"mono 8-bit",
         [&] {
             return wavgen::writeSine(input, 1.0, 440.0, {8000, 1, SF_FORMAT_PCM_U8});
         },
         0, 16000},
        {"96 kHz float",
         [&] {
             return wavgen::writeSine(input, 0.5, 440.0, {96000, 2, SF_FORMAT_FLOAT});
         },
         0, 96000},
        {"empty file", [&] { return wavgen::writeBytes(input, {}); }, 3, 0},
        {"header without sound",
         [&] { return wavgen::writeBytes(input, wavgen::pcm16Bytes(0, 2, 44100)); }, 5, 0},
        // The header claims a second, the file holds a tenth: what is there is transformed.
        {"truncated",
         [&] { return wavgen::writeBytes(input, wavgen::pcm16Bytes(4410, 1, 44100, -1, 88200)); },
         0, 8820},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        QFile::remove(input);
        QFile::remove(output);
        ends->results.clear();
        ASSERT_TRUE(c.write());
        const qint32 result = MFPlayFileStart(input, 1.0, 2.0, 1024, 1, output, 0, 0);
        EXPECT_EQ(result, c.result);
        if (result == 0) {
            ASSERT_TRUE(ends->waitFor(1, 20000));
            EXPECT_EQ(ends->results[0], 0);
            EXPECT_EQ(infoOf(output).frames, c.frames);
        } else {
            EXPECT_FALSE(slowPlayErrorMessage(result).isEmpty());
        }
    }
}
