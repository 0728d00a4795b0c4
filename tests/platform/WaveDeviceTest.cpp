// The wave device behind the media control, on the null sound device with its clock running
// twenty times faster than real time, playing and recording real files.
#include "platform/WaveDevice.h"
#include "WavGen.h"
#include "platform/MMControl.h"
#include "transport/sendmcicommand.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <gtest/gtest.h>
#include <sndfile.h>

namespace {

class WaveDeviceTest : public ::testing::Test {
protected:
    void SetUp() override {
        qputenv("CANTAVOX_NULL_RATE", "20");
        ASSERT_TRUE(dir.isValid());
        control.setDeviceType(QStringLiteral("waveaudio"));
    }
    void TearDown() override {
        control.setCommand(QStringLiteral("Close"));
        qunsetenv("CANTAVOX_NULL_RATE");
    }
    QString path(const QString& name) const { return dir.filePath(name); }
    WaveDevice* device() const { return static_cast<WaveDevice*>(control.device()); }
    void open(const QString& file) {
        control.setCommand(QStringLiteral("Close"));
        control.setFileName(file);
        control.setCommand(QStringLiteral("open"));
    }
    void playWithNotify(qint32 from, qint32 to) {
        control.setFrom(from);
        control.setTo(to);
        control.setNotify(true);
        control.setCommand(QStringLiteral("Play"));
    }

    // The loop logic's way: every natural end is answered at once with the same play, and
    // the user stops after the last pass. Returns the passes that ended.
    int playLoop(qint32 from, qint32 to, int passes) {
        int ends = 0;
        const QMetaObject::Connection answer =
            QObject::connect(&control, &MMControl::Done, [&](int code) {
                if (code != MMControl::NotifySuccessful)
                    return;
                if (++ends < passes)
                    playWithNotify(from, to);
                else
                    control.setCommand(QStringLiteral("Stop"));
            });
        playWithNotify(from, to);
        // The caller judges the count; a wait that runs out leaves it short.
        (void)QTest::qWaitFor([&] { return ends >= passes; }, 5000);
        QObject::disconnect(answer);
        return ends;
    }

    QTemporaryDir dir;
    MMControl control;
};

// Reads a whole file as floats.
std::vector<float> readAll(const QString& file, SF_INFO& info) {
    info = {};
    SNDFILE* sf = sf_open(QFile::encodeName(file).constData(), SFM_READ, &info);
    std::vector<float> out;
    if (!sf)
        return out;
    out.resize(size_t(info.frames) * size_t(info.channels));
    sf_readf_float(sf, out.data(), info.frames);
    sf_close(sf);
    return out;
}

// What the null device plays, heard through its loopback by a recorder of its own (mono,
// 44.1 kHz). 16 bits keep a file's own 16-bit samples exact; 32 bits keep a blend of them to
// far below one 16-bit step.
class Loopback {
public:
    Loopback(const QString& file, int bits) : m_file(file) {
        m_recorder.setDeviceType(QStringLiteral("waveaudio"));
        QString why;
        auto* rec = static_cast<WaveDevice*>(m_recorder.device());
        const bool format = rec->setRecordingFormat(bits, 1, 44100, why);
        m_recorder.setFileName(file);
        m_recorder.setCommand(QStringLiteral("open"));
        m_recorder.setCommand(QStringLiteral("Record"));
        m_started = format && m_recorder.Error() == 0;
    }
    bool started() const { return m_started; }
    // Everything heard since the start; empty if it couldn't be saved.
    std::vector<float> stop() {
        m_recorder.setCommand(QStringLiteral("Stop"));
        m_recorder.setCommand(QStringLiteral("Save"));
        if (m_recorder.Error() != 0)
            return {};
        SF_INFO info;
        return readAll(m_file, info);
    }

private:
    QString m_file;
    MMControl m_recorder;
    bool m_started = false;
};

} // namespace

TEST_F(WaveDeviceTest, APlayEndsNaturallyOnToAndAStopEndsItOtherwise) {
    ASSERT_TRUE(wavgen::writeSine(path("a.wav"), 4.0));
    open(path("a.wav"));
    ASSERT_EQ(control.Error(), 0) << control.ErrorMessage().toStdString();
    EXPECT_EQ(control.Mode(), MMControl::ModeStopped);
    EXPECT_EQ(control.Length(), 4000);

    QSignalSpy done(&control, &MMControl::Done);
    std::vector<qint32> positions;
    const QObject listening; // goes before positions, and takes the connection with it
    QObject::connect(&control, &MMControl::Done, &listening,
                     [&](int) { positions.push_back(control.Position()); });
    playWithNotify(1001, 2503);
    EXPECT_EQ(control.Mode(), MMControl::ModePlaying);
    ASSERT_TRUE(done.wait(3000));
    EXPECT_EQ(done.takeFirst().at(0).toInt(), MMControl::NotifySuccessful);
    ASSERT_EQ(positions.size(), 1u);
    EXPECT_EQ(positions[0], 2503) << "Done comes when the position has reached To";
    EXPECT_EQ(control.Mode(), MMControl::ModeStopped);
    const qint64 played = device()->audio()->framesPlayed();
    EXPECT_EQ(played, qint64(2503) * 44100 / 1000 - qint64(1001) * 44100 / 1000)
        << "From and To are exact frames";
    control.setCommand(QStringLiteral("Play"));
    EXPECT_GE(control.Position(), 2503) << "From and To were for the one play only";

    // A stop gives another code (and no second one of its own: Notify was for the play),
    // keeps the position, and nothing starts again.
    playWithNotify(0, 4000);
    ASSERT_TRUE(QTest::qWaitFor([&] { return control.Position() > 0; }, 3000));
    control.setCommand(QStringLiteral("Stop"));
    ASSERT_EQ(done.size(), 1);
    EXPECT_EQ(done.takeFirst().at(0).toInt(), MMControl::NotifyAborted);
    const qint32 stoppedAt = control.Position();
    EXPECT_GT(stoppedAt, 0);
    EXPECT_LT(stoppedAt, 4000);
    QTest::qWait(150);
    EXPECT_EQ(control.Position(), stoppedAt);
    EXPECT_EQ(control.Mode(), MMControl::ModeStopped);
    EXPECT_EQ(done.size(), 0);

    // A play that supersedes one still awaited says so.
    playWithNotify(0, 4000);
    playWithNotify(500, 900);
    ASSERT_GE(done.size(), 1);
    EXPECT_EQ(done.takeFirst().at(0).toInt(), MMControl::NotifySuperseded);
    ASSERT_TRUE(done.wait(3000));
    EXPECT_EQ(done.takeFirst().at(0).toInt(), MMControl::NotifySuccessful);
}

TEST_F(WaveDeviceTest, PauseAndResumeKeepThePositionAndBadPlaysAreRefused) {
    ASSERT_TRUE(wavgen::writeSine(path("b.wav"), 10.0, 220.0, {22050, 1}));
    open(path("b.wav"));
    ASSERT_EQ(control.Error(), 0);
    control.setCommand(QStringLiteral("Play"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return control.Position() > 200; }, 3000));
    control.setCommand(QStringLiteral("pause"));
    EXPECT_EQ(control.Mode(), MMControl::ModePaused);
    const qint32 paused = control.Position();
    QTest::qWait(100);
    EXPECT_EQ(control.Position(), paused);

    control.setCommand(QStringLiteral("Play"));
    EXPECT_GE(control.Position(), paused) << "play goes on from where it paused";
    EXPECT_LT(control.Position(), paused + 100);
    control.setCommand(QStringLiteral("Stop"));

    // From beyond the end: the caller reads the device's error, and nothing plays.
    control.setFrom(10001);
    control.setCommand(QStringLiteral("Play"));
    EXPECT_GT(control.Error(), 0);
    EXPECT_FALSE(control.ErrorMessage().isEmpty());
    EXPECT_NE(control.Mode(), MMControl::ModePlaying);
    control.setFrom(6000);
    control.setTo(5000);
    control.setCommand(QStringLiteral("Play"));
    EXPECT_GT(control.Error(), 0);

    // Position reported while playing follows what the device has played.
    const qint64 before = device()->audio()->framesPlayed();
    control.setFrom(2000);
    control.setTo(9000);
    control.setCommand(QStringLiteral("Play"));
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return device()->audio()->framesPlayed() - before > 22050; }, 3000));
    const double heard = 2000.0 + (device()->audio()->framesPlayed() - before) * 1000.0 / 22050;
    EXPECT_NEAR(control.Position(), heard, 120.0);
}

TEST_F(WaveDeviceTest, ARepeatedPlayJoinsWithoutASilentFrameAndBlendsOnlyThePassEnds) {
    // Four times real time, not twenty: the check is of every frame, and at twenty times the
    // reader's buffer lasts only 74 ms of a busy machine's time (1.5 s in real time).
    qputenv("CANTAVOX_NULL_RATE", "4");
    // Every sample holds its own frame number, so the loopback shows exactly what sounded.
    ASSERT_TRUE(wavgen::writeRamp(path("ramp.wav"), 88200, 44100, 1));
    open(path("ramp.wav"));
    ASSERT_EQ(control.Error(), 0);
    control.setRepeatAhead(true);
    Loopback heard(path("loopback.wav"), 16);
    ASSERT_TRUE(heard.started());

    ASSERT_EQ(playLoop(100, 1100, 4), 4);
    // Then the same stretch once with no loop armed: nothing follows it, so nothing is blended.
    QTest::qWait(60);
    control.setRepeatAhead(false);
    QSignalSpy done(&control, &MMControl::Done);
    playWithNotify(100, 1100);
    ASSERT_TRUE(done.wait(3000));
    EXPECT_EQ(done.last().at(0).toInt(), MMControl::NotifySuccessful);
    QTest::qWait(60);
    const std::vector<float> got = heard.stop();
    ASSERT_FALSE(got.empty());

    EXPECT_EQ(device()->audio()->joinSilentFrames(), 0);
    // Five whole passes, and no more than the moment it took the stop to arrive.
    EXPECT_GE(device()->audio()->framesPlayed(), 5 * 44100);
    EXPECT_LT(device()->audio()->framesPlayed(), 5 * 44100 + 44100 * 20 / 10);

    std::vector<int> frames;
    for (float v : got)
        frames.push_back(int(std::lround(v * 32768.0)));
    // Each play starts out of silence; the repeats start out of the blend.
    std::vector<size_t> starts;
    for (size_t i = 0; i < frames.size(); ++i)
        if ((i == 0 || frames[i - 1] == 0) && frames[i] == 4410)
            starts.push_back(i);
    ASSERT_EQ(starts.size(), 2u) << "the loop's first frame was heard once for each play";

    const int blend = WaveDevice::joinBlendFrames(44100, 44100);
    ASSERT_GT(blend, 0);
    for (int pass = 0; pass < 4; ++pass) {
        SCOPED_TRACE(pass);
        const size_t begin = starts[0] + size_t(pass) * 44100;
        ASSERT_LE(begin + 44100, frames.size());
        // Every frame in order, and each pass exactly as long as the loop...
        for (int f = 4410; f < 48510 - blend; ++f)
            ASSERT_EQ(frames[begin + size_t(f - 4410)], f % 30000) << "frame " << f;
        // ...but for its last frames, which go from the loop's end to what leads into its
        // start, never beyond either.
        for (int f = 48510 - blend; f < 48510; ++f) {
            const int tail = f % 30000, lead = (f - 44100) % 30000;
            const int v = frames[begin + size_t(f - 4410)];
            ASSERT_GE(v, std::min(tail, lead) - 1) << "frame " << f;
            ASSERT_LE(v, std::max(tail, lead) + 1) << "frame " << f;
        }
        EXPECT_NEAR(frames[begin + 44099], 4409, 2) << "the pass ends where its start follows";
    }
    for (int f = 4410; f < 48510; ++f)
        ASSERT_EQ(frames[starts[1] + size_t(f - 4410)], f % 30000)
            << "the play no repeat follows, frame " << f;
}

namespace {
float steepestStep(const float* begin, const float* end) {
    float steepest = 0;
    for (const float* v = begin; v + 1 < end; ++v)
        steepest = std::max(steepest, std::abs(v[1] - v[0]));
    return steepest;
}
} // namespace

TEST_F(WaveDeviceTest, LoopJoinsAreNoSteeperThanTheLoopItselfAndEveryPassKeepsItsLength) {
    qputenv("CANTAVOX_NULL_RATE", "4");
    // Mono 44.1 kHz files of three seconds, cut far from zero crossings so that a plain join
    // jumps: a held tone, and clicks whose onsets are the steepest a loop holds.
    struct Case {
        bool clicks;
        qint32 fromMs, toMs;
    };
    for (const Case c : {Case{false, 1003, 1523}, Case{true, 1120, 1752}}) {
        SCOPED_TRACE(c.clicks ? "click track" : "held sine");
        const QString file = path(c.clicks ? "clicks.wav" : "sine.wav");
        ASSERT_TRUE(c.clicks ? wavgen::writeClickTrack(file, 3.0, 0.25, {44100, 1})
                             : wavgen::writeSine(file, 3.0, 440.0, {44100, 1}));
        SF_INFO info;
        const std::vector<float> source = readAll(file, info);
        open(file);
        ASSERT_EQ(control.Error(), 0);
        control.setRepeatAhead(true);
        Loopback heard(path("heard.wav"), 32);
        ASSERT_TRUE(heard.started());
        constexpr int kPasses = 4;
        ASSERT_EQ(playLoop(c.fromMs, c.toMs, kPasses), kPasses);
        QTest::qWait(60);
        const std::vector<float> got = heard.stop();
        EXPECT_EQ(device()->audio()->joinSilentFrames(), 0);

        const qint64 from = qint64(c.fromMs) * 44100 / 1000;
        const qint64 pass = qint64(c.toMs) * 44100 / 1000 - from;
        const int blend = WaveDevice::joinBlendFrames(44100, pass);
        const float within = steepestStep(source.data() + from, source.data() + from + pass);
        ASSERT_GT(within, 0.0f);
        // The play starts out of silence on a frame far from zero.
        const auto first = std::find_if(got.begin(), got.end(), [](float v) { return v != 0; });
        const size_t start = size_t(first - got.begin());
        ASSERT_GE(got.size(), start + size_t(kPasses * pass + 4 * blend));
        for (int p = 0; p < kPasses; ++p) {
            // Each pass is the loop to the frame but for the blend at its end.
            const size_t begin = start + size_t(p * pass);
            for (qint64 f = 0; f < pass - blend; ++f)
                ASSERT_NEAR(got[begin + size_t(f)], source[size_t(from + f)], 1e-6)
                    << "pass " << p << ", frame " << f << " of the loop";
        }
        for (int join = 1; join < kPasses; ++join) {
            const float* at = got.data() + start + size_t(join * pass);
            const float step = steepestStep(at - 4 * blend, at + 4 * blend);
            EXPECT_LE(step, within + 1e-6f) << "join " << join << ": its steepest step is "
                                            << step / within << " times the loop's own";
        }
    }
}

TEST_F(WaveDeviceTest, AnUnansweredRepeatIsCutAndAStopEndsItToo) {
    ASSERT_TRUE(wavgen::writeSine(path("c.wav"), 2.0));
    open(path("c.wav"));
    control.setRepeatAhead(true);
    QSignalSpy done(&control, &MMControl::Done);
    playWithNotify(0, 200);
    ASSERT_TRUE(done.wait(3000));
    QTest::qWait(300); // six seconds of device time, three times the grace
    const qint64 cut = device()->audio()->framesPlayed();
    EXPECT_LT(cut, 8820 + 44100 * 20 / 5) << "the repeat nobody asked for stops soon";
    QTest::qWait(100);
    EXPECT_EQ(device()->audio()->framesPlayed(), cut);
    EXPECT_EQ(control.Position(), 200);
    EXPECT_EQ(control.Mode(), MMControl::ModeStopped);
    // Asked for after the cut, the same play starts afresh.
    playWithNotify(0, 200);
    ASSERT_TRUE(done.wait(3000));
    EXPECT_EQ(done.last().at(0).toInt(), MMControl::NotifySuccessful);
    control.setCommand(QStringLiteral("Stop"));
    const qint64 stopped = device()->audio()->framesPlayed();
    QTest::qWait(100);
    EXPECT_EQ(device()->audio()->framesPlayed(), stopped);
}

// An armed play once took the stretch just ended for a repeat already sounding, and stayed
// silent.
TEST_F(WaveDeviceTest, AStretchThatEndedUnarmedPlaysAgainWhenALoopIsArmedOnIt) {
    ASSERT_TRUE(wavgen::writeSine(path("air.wav"), 3.0));
    open(path("air.wav"));
    QSignalSpy done(&control, &MMControl::Done);
    playWithNotify(100, 600);
    ASSERT_TRUE(done.wait(3000));
    // The musician arms the loop on the stretch that just ended: it must sound, and end.
    control.setRepeatAhead(true);
    const qint64 before = device()->audio()->framesPlayed();
    playWithNotify(100, 600);
    ASSERT_TRUE(done.wait(3000)) << "the armed play never ended";
    EXPECT_EQ(done.last().at(0).toInt(), MMControl::NotifySuccessful);
    EXPECT_GE(device()->audio()->framesPlayed() - before, 44100 / 2 - 64)
        << "the armed play was silent";
}

// A musician starts and stops hundreds of times an hour. Every command is a new generation
// of play; the ends of a loop's passes must still be reported after a session's worth of them
// (they once carried the generation in 8 bits, and loops stopped after 256 commands).
TEST_F(WaveDeviceTest, ALoopStillRepeatsAfterThousandsOfPlaysAndStops) {
    ASSERT_TRUE(wavgen::writeSine(path("long.wav"), 10.0));
    open(path("long.wav"));
    for (int i = 0; i < 2000; ++i) {
        control.setCommand(QStringLiteral("Play"));
        control.setCommand(QStringLiteral("Stop"));
    }
    control.setRepeatAhead(true);
    EXPECT_EQ(playLoop(1000, 1400, 4), 4);
    EXPECT_EQ(device()->audio()->joinSilentFrames(), 0);
}

TEST_F(WaveDeviceTest, TheStripsButtonsFollowThePlayUnlessTheProgramTakesThem) {
    QToolButton* play = control.button(2);
    QToolButton* stop = control.button(6);
    EXPECT_FALSE(play->isEnabled()) << "nothing to play while not open";
    ASSERT_TRUE(wavgen::writeSine(path("e.wav"), 10.0));
    open(path("e.wav"));
    EXPECT_TRUE(play->isEnabled());
    EXPECT_FALSE(stop->isEnabled());
    // A click event that cancels keeps the strip from its own action.
    bool cancel = true;
    QObject::connect(&control, &MMControl::PlayClick, [&](bool& c) { c = cancel; });
    play->click();
    EXPECT_EQ(control.Mode(), MMControl::ModeStopped);
    cancel = false;
    play->click();
    EXPECT_EQ(control.Mode(), MMControl::ModePlaying);
    EXPECT_FALSE(play->isEnabled());
    EXPECT_TRUE(stop->isEnabled());

    control.setAutoEnable(false); // an armed loop: the program handles the buttons
    control.setCommand(QStringLiteral("Stop"));
    EXPECT_TRUE(stop->isEnabled());
}

// The program sets the format by the device's id; a format no device records is refused.
TEST_F(WaveDeviceTest, ARecordingIsSavedInTheChosenFormatAndAClosedOneIsDiscarded) {
    ASSERT_TRUE(wavgen::writeSine(path("source.wav"), 3.0, 440.0, {44100, 2}));
    MMControl player;
    player.setDeviceType(QStringLiteral("waveaudio"));
    player.setFileName(path("source.wav"));
    player.setCommand(QStringLiteral("open"));

    struct Case {
        int bits, channels, rate, subtype;
    };
    for (const Case c :
         {Case{8, 1, 22050, SF_FORMAT_PCM_U8}, Case{24, 2, 48000, SF_FORMAT_PCM_24}}) {
        SCOPED_TRACE(c.bits);
        const QString target = path(QStringLiteral("take %1.wav").arg(c.bits));
        open(target);
        ASSERT_EQ(control.Error(), 0);
        EXPECT_EQ(control.Mode(), MMControl::ModeStopped) << "a name not there is a new recording";
        ASSERT_TRUE(SetRecordingParameters(control.DeviceID(), c.bits, c.channels, c.rate));
        QSignalSpy done(&control, &MMControl::Done);
        control.setNotify(true);
        control.setCommand(QStringLiteral("Record"));
        ASSERT_EQ(control.Mode(), MMControl::ModeRecording);
        player.setFrom(0);
        player.setTo(2000);
        player.setCommand(QStringLiteral("Play"));
        ASSERT_TRUE(QTest::qWaitFor([&] { return control.Length() > 500; }, 3000));
        control.setCommand(QStringLiteral("Stop"));
        ASSERT_EQ(done.size(), 1);
        EXPECT_EQ(done.first().at(0).toInt(), MMControl::NotifyAborted);
        control.setCommand(QStringLiteral("Save"));
        ASSERT_EQ(control.Error(), 0) << control.ErrorMessage().toStdString();
        control.setCommand(QStringLiteral("Close"));

        SF_INFO info;
        const std::vector<float> got = readAll(target, info);
        EXPECT_EQ(info.format, SF_FORMAT_WAV | c.subtype);
        EXPECT_EQ(info.channels, c.channels);
        EXPECT_EQ(info.samplerate, c.rate);
        const float peak = got.empty() ? 0 : *std::max_element(got.begin(), got.end());
        EXPECT_GT(peak, 0.2f) << "what was played was recorded";
        player.setCommand(QStringLiteral("Stop"));
    }

    open(path("discarded.wav"));
    const qint16 id = control.DeviceID();
    EXPECT_FALSE(SetRecordingParameters(id, 12, 1, 22050));
    EXPECT_FALSE(SetRecordingParameters(id, 16, 3, 22050));
    EXPECT_FALSE(SetRecordingParameters(id, 16, 1, 4000));
    EXPECT_FALSE(SetRecordingParameters(qint16(id + 1000), 16, 1, 22050)) << "no such device";
    // Closed without a save, a recording leaves nothing behind.
    control.setCommand(QStringLiteral("Record"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return control.Length() > 0; }, 3000));
    control.setCommand(QStringLiteral("Close"));
    EXPECT_FALSE(QFile::exists(path("discarded.wav")));
}

// Files as they come from elsewhere, under a name no shell would like: each opens and plays
// to its end at its own length, or is refused in words that name it and leaves nothing open.
TEST_F(WaveDeviceTest, OddFilesOpenAndPlayOrSayWhyAndLeaveNothingOpen) {
    const auto bytes = [](const QByteArray& b) {
        return [b](const QString& p) { return wavgen::writeBytes(p, b); };
    };
    const auto sine = [](double seconds, wavgen::Format f) {
        return [=](const QString& p) { return wavgen::writeSine(p, seconds, 440, f); };
    };
    struct Case {
        const char* name;
        std::function<bool(const QString&)> make;
        qint32 lengthMs; // -1: the device refuses the file
    };
    const Case cases[] = {
        {"text named wav", bytes("just some words\n"), -1},
        {"empty file", bytes({}), -1},
        {"header only, data size 0", bytes(wavgen::pcm16Bytes(0, 2, 44100)), -1},
        {"data claims more than the file holds",
         bytes(wavgen::pcm16Bytes(22050, 2, 44100, -1, 44100 * 4 * 10)), 500},
        {"data size 0xFFFFFFFF", bytes(wavgen::pcm16Bytes(44100, 1, 44100, 0xFFFFFFFF, 0xFFFFFFFF)),
         1000},
        {"8-bit", sine(0.5, {22050, 1, SF_FORMAT_PCM_U8}), 500},
        {"mono 8 kHz", sine(1.25, {8000, 1, SF_FORMAT_PCM_16}), 1250},
        {"96 kHz stereo", sine(0.75, {96000, 2, SF_FORMAT_PCM_16}), 750},
    };
    const QString file = path(QStringLiteral("odd 'name' – ünïcode.wav"));
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ASSERT_TRUE(c.make(file));
        open(file);
        if (c.lengthMs < 0) {
            EXPECT_GT(control.Error(), 0);
            EXPECT_TRUE(control.ErrorMessage().contains(u"odd 'name' – ünïcode.wav"))
                << control.ErrorMessage().toStdString();
            EXPECT_EQ(control.Mode(), MMControl::ModeNotOpen);
            EXPECT_EQ(control.Length(), 0);
            continue;
        }
        ASSERT_EQ(control.Error(), 0) << control.ErrorMessage().toStdString();
        EXPECT_EQ(control.Length(), c.lengthMs);
        QSignalSpy done(&control, &MMControl::Done);
        playWithNotify(0, control.Length());
        ASSERT_TRUE(done.wait(5000));
        EXPECT_EQ(done.first().at(0).toInt(), MMControl::NotifySuccessful);
        EXPECT_EQ(control.Position(), c.lengthMs);
    }
}

TEST_F(WaveDeviceTest, AFileDeletedOrReplacedWhileOpenPlaysOnAsOpened) {
    ASSERT_TRUE(wavgen::writeSine(path("gone.wav"), 1.0));
    open(path("gone.wav"));
    ASSERT_EQ(control.Error(), 0);
    QSignalSpy done(&control, &MMControl::Done);
    playWithNotify(0, 1000);
    ASSERT_TRUE(QFile::remove(path("gone.wav")));
    ASSERT_TRUE(done.wait(3000));
    EXPECT_EQ(done.takeFirst().at(0).toInt(), MMControl::NotifySuccessful);
    EXPECT_EQ(device()->audio()->framesPlayed(), 44100);

    ASSERT_TRUE(wavgen::writeSine(path("swap.wav"), 1.0));
    open(path("swap.wav"));
    ASSERT_TRUE(wavgen::writeSine(path("other.wav"), 0.1));
    ASSERT_TRUE(QFile::remove(path("swap.wav")));
    ASSERT_TRUE(QFile::rename(path("other.wav"), path("swap.wav")));
    playWithNotify(0, 1000);
    ASSERT_TRUE(done.wait(3000));
    EXPECT_EQ(done.takeFirst().at(0).toInt(), MMControl::NotifySuccessful);
    EXPECT_EQ(control.Length(), 1000);

    // A file cut short in place ends the play where its sound ends, without a crash.
    ASSERT_TRUE(wavgen::writeSine(path("cut.wav"), 2.0));
    open(path("cut.wav"));
    QFile cut(path("cut.wav"));
    ASSERT_TRUE(cut.resize(44 + 44100 * 4 / 2));
    const qint64 before = device()->audio()->framesPlayed();
    playWithNotify(0, 2000);
    ASSERT_TRUE(done.wait(3000));
    EXPECT_EQ(done.takeFirst().at(0).toInt(), MMControl::NotifySuccessful);
    EXPECT_LE(device()->audio()->framesPlayed() - before, 44100 / 2);
}
