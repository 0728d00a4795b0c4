// The "cdaudio" device on image drives and the null sound device: a disc opened by its
// drive's letter, its tracks as the media control reports them, its sound played sample for
// sample from where it lies, and a loop repeated from memory once its sectors were read.
#include "CdImage.h"

#include "platform/CdDevice.h"
#include "platform/MMControl.h"

#include <QElapsedTimer>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>
#include <sndfile.h>

namespace {

class CdDeviceTest : public ::testing::Test {
protected:
    void SetUp() override {
        qputenv("CANTAVOX_NULL_RATE", "4");
        m_previous = qgetenv("CANTAVOX_CD");
        qputenv("CANTAVOX_CD", root.path().toLocal8Bit());
        drive = root.path() + QStringLiteral("/d");
        ASSERT_TRUE(cdimage::insert(drive, {{{20.0}, {30.0}}}));
        control.setDeviceType(QStringLiteral("cdaudio"));
    }
    void TearDown() override {
        control.setCommand(QStringLiteral("Close"));
        qunsetenv("CANTAVOX_NULL_RATE");
        if (m_previous.isNull())
            qunsetenv("CANTAVOX_CD");
        else
            qputenv("CANTAVOX_CD", m_previous);
    }
    CdDevice* device() const { return static_cast<CdDevice*>(control.device()); }
    void open(const QString& letter) {
        control.setCommand(QStringLiteral("Close"));
        control.setFileName(letter);
        control.setCommand(QStringLiteral("Open"));
    }
    void play(qint32 from, qint32 to) {
        control.setFrom(from);
        control.setTo(to);
        control.setNotify(true);
        control.setCommand(QStringLiteral("Play"));
    }
    // The disc frames heard, in order, through a stereo recorder on the null loopback.
    class Ear {
    public:
        explicit Ear(const QString& file) : m_file(file) {
            m_recorder.setDeviceType(QStringLiteral("waveaudio"));
            QString why;
            static_cast<WaveDevice*>(m_recorder.device())->setRecordingFormat(16, 2, 44100, why);
            m_recorder.setFileName(file);
            m_recorder.setCommand(QStringLiteral("open"));
            m_recorder.setCommand(QStringLiteral("Record"));
        }
        std::vector<qint64> stop() {
            m_recorder.setCommand(QStringLiteral("Stop"));
            m_recorder.setCommand(QStringLiteral("Save"));
            SF_INFO info{};
            SNDFILE* sf = sf_open(QFile::encodeName(m_file).constData(), SFM_READ, &info);
            std::vector<qint64> frames;
            if (!sf)
                return frames;
            std::vector<short> s(size_t(info.frames) * 2);
            sf_readf_short(sf, s.data(), info.frames);
            sf_close(sf);
            for (size_t i = 0; i + 1 < s.size(); i += 2)
                frames.push_back(s[i] == 0 && s[i + 1] == 0 ? -1
                                                            : cdimage::frameOf(s[i], s[i + 1]));
            return frames;
        }

    private:
        QString m_file;
        MMControl m_recorder;
    };

    QTemporaryDir root;
    QString drive;
    MMControl control;

private:
    QByteArray m_previous;
};

// The longest run of consecutive disc frames that starts at first.
qint64 runFrom(const std::vector<qint64>& heard, qint64 first, size_t* at = nullptr) {
    for (size_t i = 0; i < heard.size(); ++i) {
        if (heard[i] != first)
            continue;
        size_t j = i;
        while (j + 1 < heard.size() && heard[j + 1] == heard[j] + 1)
            ++j;
        if (at)
            *at = i;
        return qint64(j - i + 1);
    }
    return 0;
}

} // namespace

TEST_F(CdDeviceTest, ADiscOpensByItsDrivesLetterAndTellsItsTracks) {
    open(QStringLiteral("D:"));
    ASSERT_EQ(control.Error(), 0) << control.ErrorMessage().toStdString();
    EXPECT_EQ(control.Tracks(), 2);
    EXPECT_EQ(control.Length(), 50000);
    control.setTrack(2);
    EXPECT_EQ(control.TrackPosition(), 20000);
    EXPECT_EQ(control.TrackLength(), 30000);

    open(QStringLiteral("E:"));
    EXPECT_GT(control.Error(), 0);
    EXPECT_EQ(control.ErrorMessage(), QStringLiteral("There is no CD drive E:."));
    EXPECT_EQ(control.Tracks(), 0);

    open(QStringLiteral("D:"));
    control.setCommand(QStringLiteral("Eject"));
    EXPECT_EQ(control.Error(), 0) << control.ErrorMessage().toStdString();
    EXPECT_EQ(control.Tracks(), 0);
    // Like a drive, the device stays open while discs come and go.
    open(QStringLiteral("D:"));
    EXPECT_EQ(control.Error(), 0) << "an empty drive opens";
    EXPECT_EQ(control.Tracks(), 0);
    EXPECT_EQ(control.Length(), 0);
    control.setCommand(QStringLiteral("Play"));
    EXPECT_GT(control.Error(), 0);
    EXPECT_TRUE(control.ErrorMessage().startsWith(QStringLiteral("There is no disc")));
    ASSERT_TRUE(cdimage::insert(drive, {{{10.0}}}));
    EXPECT_EQ(control.Tracks(), 1) << "the disc put in is there at the next question";
    EXPECT_EQ(control.Length(), 10000);
    // Another disc in its place is another disc, not the one before.
    ASSERT_TRUE(cdimage::insert(drive, {{{12.0}, {3.0}}}));
    EXPECT_EQ(control.Tracks(), 2);
    EXPECT_EQ(control.Length(), 15000);
    ASSERT_TRUE(cdimage::eject(drive));
    EXPECT_EQ(control.Tracks(), 0) << "and one taken out is gone";
}

// The loop lies across the join of the two tracks; after its first pass the drive gives
// nothing more, so every later pass comes from memory.
TEST_F(CdDeviceTest, ALoopSoundsEverySampleFromWhereItLiesAndRepeatsFromMemory) {
    open(QStringLiteral("D:"));
    ASSERT_EQ(control.Error(), 0) << control.ErrorMessage().toStdString();
    control.setRepeatAhead(true);
    Ear ear(root.filePath(QStringLiteral("heard.wav")));
    int ends = 0;
    QObject::connect(&control, &MMControl::Done, [&](int code) {
        if (code != MMControl::NotifySuccessful)
            return;
        if (++ends == 1)
            QFile(drive + QStringLiteral("/disc.bin")).resize(0);
        if (ends < 5)
            play(19500, 20500);
        else
            control.setCommand(QStringLiteral("Stop"));
    });
    play(19500, 20500);
    EXPECT_TRUE(QTest::qWaitFor([&] { return ends >= 5; }, 10000));
    QTest::qWait(50);
    const std::vector<qint64> heard = ear.stop();
    EXPECT_EQ(device()->audio()->joinSilentFrames(), 0);
    const qint64 first = 19500 * 441 / 10;
    size_t at = 0;
    ASSERT_GT(runFrom(heard, first, &at), 40000);
    for (int pass = 0; pass < 5; ++pass) {
        const size_t begin = at + size_t(pass) * 44100;
        ASSERT_LT(begin + 40000, heard.size()) << "pass " << pass;
        // Every pass the loop's own frames, but for the few that blend into the next.
        for (size_t f = 0; f < 40000; ++f)
            ASSERT_EQ(heard[begin + f], first + qint64(f)) << "pass " << pass << " frame " << f;
    }
}
