// Digital reads of image drives: what is refused before a read, and reads that end early
// leaving nothing behind.
#include "CdImage.h"

#include "platform/DigitalReader.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

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
    QTemporaryDir root;
    DigitalReader reader;

private:
    QByteArray m_previous;
};

} // namespace

// A loop and a whole track read sample for sample are heard in the disc journeys; here what
// the reader refuses before it starts.
TEST_F(DigitalReaderTest, ReadsOfWhatIsNotOnTheDiscAreRefusedWithTheirCodes) {
    ASSERT_EQ(reader.initialise(), 0);
    EXPECT_EQ(reader.deviceCount(), 1);
    EXPECT_GT(reader.openDrive(2), 0) << "there is no second drive";
    ASSERT_LE(reader.openDrive(1), 0) << reader.lastError().toStdString();
    EXPECT_EQ(reader.trackStart(2), 20000);
    EXPECT_EQ(reader.trackLength(2), 40000);
    const QString loop = root.filePath(QStringLiteral("loop.wav"));
    EXPECT_EQ(reader.readSectionToFile(3, loop, 0, 1000), 4) << "no such track";
    EXPECT_EQ(reader.readSectionToFile(2, loop, 39000, 5000), 5) << "past the disc's end";
    EXPECT_EQ(reader.readSectionToFile(2, loop, -1, 1000), 5) << "before the track";
    EXPECT_EQ(reader.readTrackToFile(2, root.filePath(QStringLiteral("no folder/t.wav"))), 6);
    EXPECT_FALSE(QFile::exists(loop));
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
