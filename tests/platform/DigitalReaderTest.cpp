// Digital reads of image drives: a loop and a whole track into wave files that hold every
// sample where it lies on the disc, and reads that end early leaving nothing behind.
#include "CdImage.h"

#include "platform/DigitalReader.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>
#include <sndfile.h>
#include <vector>

namespace {

class DigitalReaderTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_previous = qgetenv("CANTAVOX_CD");
        qputenv("CANTAVOX_CD", root.path().toLocal8Bit());
        ASSERT_TRUE(cdimage::insert(root.filePath(QStringLiteral("d")), {{{20.0}, {40.0}}}));
    }
    void TearDown() override {
        if (m_previous.isNull())
            qunsetenv("CANTAVOX_CD");
        else
            qputenv("CANTAVOX_CD", m_previous);
    }
    // The disc frames a wave file holds, in order; empty if it can't be read.
    static std::vector<qint64> framesIn(const QString& file, SF_INFO& info) {
        info = {};
        std::vector<qint64> frames;
        SNDFILE* sf = sf_open(QFile::encodeName(file).constData(), SFM_READ, &info);
        if (!sf)
            return frames;
        std::vector<short> s(size_t(info.frames) * size_t(info.channels));
        sf_readf_short(sf, s.data(), info.frames);
        sf_close(sf);
        for (size_t i = 0; i + 1 < s.size(); i += 2)
            frames.push_back(cdimage::frameOf(s[i], s[i + 1]));
        return frames;
    }

    QTemporaryDir root;
    DigitalReader reader;

private:
    QByteArray m_previous;
};

} // namespace

TEST_F(DigitalReaderTest, ALoopAndAWholeTrackAreReadSampleForSample) {
    ASSERT_EQ(reader.initialise(), 0);
    EXPECT_EQ(reader.deviceCount(), 1);
    EXPECT_GT(reader.openDrive(2), 0) << "there is no second drive";
    ASSERT_LE(reader.openDrive(1), 0) << reader.lastError().toStdString();
    EXPECT_EQ(reader.trackCount(), 2);
    EXPECT_TRUE(reader.isAudioTrack(1));
    EXPECT_EQ(reader.trackStart(2), 20000);
    EXPECT_EQ(reader.trackLength(2), 40000);

    QSignalSpy done(&reader, &DigitalReader::readComplete);
    QSignalSpy failed(&reader, &DigitalReader::failure);
    const QString loop = root.filePath(QStringLiteral("loop.wav"));
    ASSERT_EQ(reader.readSectionToFile(2, loop, 3000, 2000), 0);
    ASSERT_TRUE(done.wait(10000));
    EXPECT_TRUE(failed.isEmpty());
    SF_INFO info;
    std::vector<qint64> frames = framesIn(loop, info);
    EXPECT_EQ(info.samplerate, 44100);
    EXPECT_EQ(info.channels, 2);
    ASSERT_EQ(frames.size(), size_t(2 * 44100));
    for (size_t f = 0; f < frames.size(); ++f)
        ASSERT_EQ(frames[f], qint64(23 * 44100) + qint64(f)) << "frame " << f;

    const QString whole = root.filePath(QStringLiteral("track 1.wav"));
    ASSERT_EQ(reader.readTrackToFile(1, whole), 0);
    ASSERT_TRUE(done.wait(20000));
    frames = framesIn(whole, info);
    ASSERT_EQ(frames.size(), size_t(20 * 44100));
    EXPECT_EQ(frames.front(), 0);
    EXPECT_EQ(frames.back(), qint64(20 * 44100 - 1));

    EXPECT_EQ(reader.readSectionToFile(3, loop, 0, 1000), 4) << "no such track";
    EXPECT_EQ(reader.readSectionToFile(2, loop, 39000, 5000), 5) << "past the disc's end";
}

TEST_F(DigitalReaderTest, AReadCancelledOrLosingItsDiscLeavesNoFile) {
    ASSERT_LE(reader.openDrive(1), 0);
    QSignalSpy done(&reader, &DigitalReader::readComplete);
    QSignalSpy failed(&reader, &DigitalReader::failure);
    const QString file = root.filePath(QStringLiteral("cancelled.wav"));
    ASSERT_EQ(reader.readTrackToFile(2, file), 0);
    reader.cancel();
    QTest::qWait(100);
    EXPECT_TRUE(done.isEmpty());
    EXPECT_TRUE(failed.isEmpty()) << "a cancelled read ends without an event";
    EXPECT_FALSE(QFile::exists(file));
    EXPECT_FALSE(QFile::exists(file + QStringLiteral(".part")));

    // The disc taken out before the read begins: the reader says the disc went away.
    ASSERT_TRUE(cdimage::eject(root.filePath(QStringLiteral("d"))));
    const QString lost = root.filePath(QStringLiteral("lost.wav"));
    ASSERT_EQ(reader.readTrackToFile(2, lost), 0);
    ASSERT_TRUE(failed.wait(10000));
    EXPECT_EQ(failed.first().at(0).toLongLong(), 8);
    EXPECT_FALSE(QFile::exists(lost));
    EXPECT_FALSE(QFile::exists(lost + QStringLiteral(".part")));
}
