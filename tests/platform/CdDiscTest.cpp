// The drives and discs of image drives, read through libcdio as a real drive is: the letters
// the drives are called by, a disc coming and going, its table of contents, its audio read
// back from where it lies, and broken images.
#include "CdImage.h"

#include "platform/CdDisc.h"
#include "platform/CdDrives.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtEndian>
#include <gtest/gtest.h>
#include <vector>

namespace {

class CdDiscTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_previous = qgetenv("CANTAVOX_CD");
        qputenv("CANTAVOX_CD", root.path().toLocal8Bit());
    }
    void TearDown() override {
        if (m_previous.isNull())
            qunsetenv("CANTAVOX_CD");
        else
            qputenv("CANTAVOX_CD", m_previous);
    }
    QString drive(const char* name) {
        const QString folder = root.path() + u'/' + QLatin1String(name);
        QDir().mkpath(folder);
        return folder;
    }
    CdDrive first() { return CdDrives::list().value(0); }
    // Opens the only drive's disc, failing the test with the reason when it can't.
    bool openFirst(CdDisc& disc) {
        QString why;
        const bool ok = disc.open(first(), why);
        EXPECT_TRUE(ok) << why.toStdString();
        return ok;
    }

    QTemporaryDir root;

private:
    QByteArray m_previous;
};

} // namespace

TEST_F(CdDiscTest, DrivesAreLetteredFromDInTheOrderOfTheirFolders) {
    EXPECT_TRUE(CdDrives::list().isEmpty());
    EXPECT_EQ(CdDrives::letters(), QStringLiteral(""));
    EXPECT_EQ(CdDrives::nthLetter(1), QStringLiteral(""));
    drive("b-second");
    drive("a-first");
    const QList<CdDrive> drives = CdDrives::list();
    ASSERT_EQ(drives.size(), 2);
    EXPECT_EQ(CdDrives::letters(), QStringLiteral("DE"));
    EXPECT_EQ(CdDrives::nthLetter(2), QStringLiteral("E"));
    EXPECT_EQ(CdDrives::nthLetter(3), QStringLiteral(""));
    EXPECT_EQ(CdDrives::nthLetter(0), QStringLiteral(""));
    ASSERT_TRUE(CdDrives::byLetter(QStringLiteral("e:")));
    EXPECT_TRUE(
        CdDrives::byLetter(QStringLiteral("e:"))->device.endsWith(QStringLiteral("b-second")));
    EXPECT_FALSE(CdDrives::byLetter(QStringLiteral("F")));
}

TEST_F(CdDiscTest, ADiscIsThereFromItsCueSheetOnAndGoneWithIt) {
    const QString folder = drive("d");
    EXPECT_EQ(CdDisc::status(first()), CdDisc::Status::Empty);
    CdDisc disc;
    QString why;
    EXPECT_FALSE(disc.open(first(), why));
    EXPECT_EQ(why, QStringLiteral("There is no disc in the CD drive D: ") + folder +
                       QStringLiteral("."));
    // The bin alone is a disc still arriving.
    ASSERT_TRUE(cdimage::insert(folder, {{{30.0}}}));
    ASSERT_TRUE(
        QFile::rename(folder + QStringLiteral("/disc.cue"), folder + QStringLiteral("/hold")));
    EXPECT_EQ(CdDisc::status(first()), CdDisc::Status::Empty);
    ASSERT_TRUE(
        QFile::rename(folder + QStringLiteral("/hold"), folder + QStringLiteral("/disc.cue")));
    EXPECT_EQ(CdDisc::status(first()), CdDisc::Status::Present);

    ASSERT_TRUE(CdDisc::eject(first(), why)) << why.toStdString();
    EXPECT_EQ(CdDisc::status(first()), CdDisc::Status::Empty);
    QDir(folder).removeRecursively();
    EXPECT_EQ(CdDisc::status(CdDrive{QStringLiteral("D"), folder, true}), CdDisc::Status::Missing);
}

// Names, kinds and whole-second lengths reach the library in the disc journeys; here the
// sectors of a track that ends mid-second, a read of its last ones, and reads past the end.
TEST_F(CdDiscTest, TracksLieWhereTheirSectorsAreAndReadsStopAtTheDiscsEnd) {
    ASSERT_TRUE(cdimage::insert(drive("d"), {{{30.0}, {61.5}, {4.0, false, {}}}}));
    CdDisc disc;
    ASSERT_TRUE(openFirst(disc));
    const CdDisc::Contents& c = disc.contents();
    ASSERT_EQ(c.tracks.size(), 3);
    EXPECT_EQ(c.tracks[1].start, 2250);
    EXPECT_EQ(c.tracks[1].sectors, cdimage::sectorsOf(61.5));
    EXPECT_EQ(c.leadout, 2250 + cdimage::sectorsOf(61.5) + 300);
    EXPECT_EQ(CdDisc::sectorsToMs(1), 13) << "whole milliseconds of whole sectors";

    const int count = 7;
    const qint32 start = c.tracks[1].start + c.tracks[1].sectors - count;
    std::vector<char> bytes(size_t(count) * CdDisc::kSectorBytes);
    QString why;
    ASSERT_TRUE(disc.readAudio(start, count, bytes.data(), why)) << why.toStdString();
    const auto* s = reinterpret_cast<const qint16*>(bytes.data());
    for (int f = 0; f < count * CdDisc::kFramesPerSector; ++f)
        ASSERT_EQ(cdimage::frameOf(qFromLittleEndian(s[2 * f]), qFromLittleEndian(s[2 * f + 1])),
                  qint64(start) * CdDisc::kFramesPerSector + f)
            << "frame " << f;
    EXPECT_FALSE(disc.readAudio(c.leadout - 1, 2, bytes.data(), why)) << "past the last sector";
    EXPECT_FALSE(why.isEmpty());
    disc.close();
    EXPECT_FALSE(disc.readAudio(0, 1, bytes.data(), why));
}

TEST_F(CdDiscTest, BrokenImagesAreRefusedOrReadAsFarAsTheyGoWithoutEndingTheProgram) {
    // A cue sheet whose bin is missing.
    const QString lost = drive("d-lost");
    ASSERT_TRUE(cdimage::insert(lost, {{{10.0}}}));
    ASSERT_TRUE(QFile::remove(lost + QStringLiteral("/disc.bin")));
    CdDisc disc;
    QString why;
    EXPECT_FALSE(disc.open(CdDrives::list().value(0), why));
    EXPECT_TRUE(why.startsWith(QStringLiteral("The disc in the CD drive D: ")))
        << why.toStdString();
    QDir(lost).removeRecursively();

    // A bin cut short: the last track ends where the sound does.
    const QString cut = drive("e-cut");
    ASSERT_TRUE(cdimage::insert(cut, {{{10.0}, {10.0}}}));
    QFile bin(cut + QStringLiteral("/disc.bin"));
    ASSERT_TRUE(bin.resize(qint64(1100) * CdDisc::kSectorBytes));
    ASSERT_TRUE(disc.open(first(), why)) << why.toStdString();
    EXPECT_EQ(disc.contents().leadout, 1100);
    EXPECT_EQ(disc.contents().tracks[1].sectors, 350);

    // A sheet of one file per track, as some rippers write it: libcdio would read them all
    // from one bin and play the first track's sound for every track.
    QDir(cut).removeRecursively();
    const QString split = drive("e-split");
    ASSERT_TRUE(cdimage::insert(split, {{{10.0}, {10.0}}}));
    {
        QFile cue(split + QStringLiteral("/disc.cue"));
        ASSERT_TRUE(cue.open(QIODevice::WriteOnly | QIODevice::Truncate));
        cue.write("FILE \"disc.bin\" BINARY\n  TRACK 01 AUDIO\n    INDEX 01 00:00:00\n"
                  "file \"two.bin\" BINARY\n  TRACK 02 AUDIO\n    INDEX 01 00:00:00\n");
    }
    EXPECT_FALSE(disc.open(first(), why));
    EXPECT_EQ(why, QStringLiteral("The disc image in the CD drive D: %1 is split into several "
                                  "files. Join them into one \"disc.bin\" to play it.")
                       .arg(split));
    // With one FILE line but the second track placed at the first one's start, the table of
    // contents itself is wrong.
    {
        QFile cue(split + QStringLiteral("/disc.cue"));
        ASSERT_TRUE(cue.open(QIODevice::WriteOnly | QIODevice::Truncate));
        cue.write("FILE \"disc.bin\" BINARY\n  TRACK 01 AUDIO\n    INDEX 01 00:05:00\n"
                  "  TRACK 02 AUDIO\n    INDEX 01 00:05:00\n");
    }
    EXPECT_FALSE(disc.open(first(), why));
    EXPECT_TRUE(why.endsWith(QStringLiteral("can't be right at track 1."))) << why.toStdString();

    // Ninety-nine tracks, the most a disc holds.
    QDir(split).removeRecursively();
    cdimage::Disc many;
    for (int i = 0; i < 99; ++i)
        many.tracks.append(cdimage::Track{2.0, true, {}});
    ASSERT_TRUE(cdimage::insert(drive("f-many"), many));
    ASSERT_TRUE(disc.open(first(), why)) << why.toStdString();
    EXPECT_EQ(disc.contents().tracks.size(), 99);
    EXPECT_EQ(disc.contents().tracks[98].number, 99);
    EXPECT_EQ(disc.contents().tracks[98].start, 98 * 150);
}
