// The media control strip: properties, command words, status events and click events, with a
// small in-memory device standing behind it where a device is needed.
#include "platform/MMControl.h"
#include "failsafe/AppError.h"
#include "platform/MediaDevice.h"

#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <gtest/gtest.h>

namespace {
// A device that keeps its position by hand: the control's own logic is what is tested.
class ManualDevice : public MediaDevice {
public:
    QString deviceType() const override { return QStringLiteral("waveaudio"); }
    Result open(const QString& f) override {
        if (f.isEmpty())
            return {263, QStringLiteral("no file")};
        m_open = true;
        m_mode = 525;
        return {};
    }
    Result close() override {
        m_open = false;
        m_mode = 524;
        return {};
    }
    Result play(std::optional<qint32> from, std::optional<qint32> to) override {
        if (from && *from > m_length)
            return {277, QStringLiteral("The position is out of range.")};
        lastFrom = from;
        lastTo = to;
        m_mode = 526;
        return {};
    }
    Result stop() override {
        m_mode = 525;
        return {};
    }
    Result pause() override {
        m_mode = 529;
        return {};
    }
    Result seek(qint32 ms) override {
        m_pos = ms;
        return {};
    }
    bool isOpen() const override { return m_open; }
    int mode() const override { return m_mode; }
    qint32 positionMs() const override { return m_pos; }
    qint32 lengthMs() const override { return m_length; }
    void finish() {
        m_mode = 525;
        emit playEnded();
    }

    std::optional<qint32> lastFrom, lastTo;
    bool m_open = false;
    int m_mode = 524;
    qint32 m_pos = 0;
    qint32 m_length = 185000;
};
} // namespace

TEST(MMControl, WithoutADeviceItAnswersAsNotOpen) {
    // A button strip of its own, as the slow strip is.
    MMControl cd;
    EXPECT_EQ(cd.Mode(), MMControl::ModeNotOpen);
    EXPECT_EQ(cd.Tracks(), 0);
    EXPECT_EQ(cd.Length(), 0);
    cd.setWait(true);
    cd.setCommand(QStringLiteral("Open"));
    EXPECT_GT(cd.Error(), 0);
    EXPECT_EQ(cd.ErrorMessage(), u"No wave audio device is available.");
    cd.setCommand(QStringLiteral("play"));
    EXPECT_GT(cd.Error(), 0);
    EXPECT_FALSE(cd.ErrorMessage().isEmpty());
    cd.setCommand(QStringLiteral("close"));
    EXPECT_EQ(cd.Error(), 0) << "closing what isn't open is harmless";
    try {
        cd.setTrack(2);
        ADD_FAILURE() << "a track was set on a device that isn't open";
    } catch (const AppError& e) {
        EXPECT_EQ(e.number, errnum::MediaDeviceNotOpen);
    }
}

TEST(MMControl, StatusUpdatesComeAtTheIntervalAndNeverAtZero) {
    MMControl c;
    QSignalSpy spy(&c, &MMControl::StatusUpdate);
    QTest::qWait(150);
    EXPECT_EQ(spy.count(), 0);
    c.setUpdateInterval(20);
    EXPECT_TRUE(QTest::qWaitFor([&] { return spy.count() >= 5; }, 3000));
    c.setUpdateInterval(0);
    const int before = spy.count();
    QTest::qWait(120);
    EXPECT_EQ(spy.count(), before);

    // A short loop sets the interval at every pass: the events still come.
    c.setUpdateInterval(40);
    spy.clear();
    QTimer again;
    QObject::connect(&again, &QTimer::timeout, [&] { c.setUpdateInterval(40); });
    again.start(15);
    EXPECT_TRUE(QTest::qWaitFor([&] { return spy.count() >= 3; }, 3000))
        << "setting the same interval again restarted the clock";
}

TEST(MMControl, CommandsReachTheDeviceWithFromAndToInMilliseconds) {
    MMControl c;
    auto* dev = new ManualDevice;
    c.setDevice(dev);
    c.setFileName(QStringLiteral("/music/reel.wav"));
    c.setCommand(QStringLiteral("OPEN"));
    ASSERT_EQ(c.Error(), 0);
    EXPECT_EQ(c.Mode(), MMControl::ModeStopped);
    c.setFrom(1000);
    c.setTo(3000);
    c.setCommand(QStringLiteral("play"));
    EXPECT_EQ(c.Mode(), MMControl::ModePlaying);
    EXPECT_EQ(dev->lastFrom.value_or(-1), 1000);
    EXPECT_EQ(dev->lastTo.value_or(-1), 3000);
    c.setCommand(QStringLiteral("Play")); // From and To apply to one play only
    EXPECT_FALSE(dev->lastFrom.has_value());
    c.setFrom(999999);
    c.setCommand(QStringLiteral("play"));
    EXPECT_EQ(c.Error(), 277) << "a From beyond the end is the device's error";
    c.setCommand(QStringLiteral("bogus"));
    EXPECT_GT(c.Error(), 0);
}

TEST(MMControl, DoneTellsANaturalEndFromAStop) {
    MMControl c;
    auto* dev = new ManualDevice;
    c.setDevice(dev);
    c.setFileName(QStringLiteral("x.wav"));
    c.setCommand(QStringLiteral("open"));
    QSignalSpy done(&c, &MMControl::Done);

    c.setNotify(true);
    c.setCommand(QStringLiteral("play"));
    EXPECT_EQ(done.count(), 0) << "Done waits for the end of play";
    dev->finish();
    ASSERT_EQ(done.count(), 1);
    EXPECT_EQ(done.takeFirst().at(0).toInt(), MMControl::NotifySuccessful);

    c.setNotify(true);
    c.setCommand(QStringLiteral("play"));
    c.setCommand(QStringLiteral("stop"));
    ASSERT_EQ(done.count(), 1);
    EXPECT_EQ(done.takeFirst().at(0).toInt(), MMControl::NotifyAborted);

    c.setNotify(true);
    c.setCommand(QStringLiteral("play"));
    c.setCommand(QStringLiteral("play"));
    ASSERT_EQ(done.count(), 1);
    EXPECT_EQ(done.takeFirst().at(0).toInt(), MMControl::NotifySuperseded);

    c.setCommand(QStringLiteral("play")); // Notify was for one command only
    dev->finish();
    EXPECT_EQ(done.count(), 0);
}

TEST(MMControl, CancelInAClickEventKeepsTheControlFromItsOwnAction) {
    MMControl c;
    auto* dev = new ManualDevice;
    c.setDevice(dev);
    c.setFileName(QStringLiteral("x.wav"));
    c.setCommand(QStringLiteral("open"));
    c.setAutoEnable(false);
    bool cancel = true;
    QObject::connect(&c, &MMControl::PlayClick, [&](bool& Cancel) { Cancel = cancel; });
    c.button(2)->click();
    EXPECT_EQ(c.Mode(), MMControl::ModeStopped);
    cancel = false;
    c.button(2)->click();
    EXPECT_EQ(c.Mode(), MMControl::ModePlaying);
}

TEST(MMControl, AutoEnableFollowsTheDeviceAndStopStaysVisibleOnRequest) {
    MMControl c;
    c.setDeviceType(QStringLiteral("waveaudio"));
    auto* dev = new ManualDevice;
    c.setDevice(dev);
    EXPECT_FALSE(c.button(2)->isEnabled()) << "nothing to play while not open";
    c.setFileName(QStringLiteral("x.wav"));
    c.setCommand(QStringLiteral("open"));
    EXPECT_TRUE(c.button(2)->isEnabled());
    EXPECT_FALSE(c.button(6)->isEnabled());
    c.setCommand(QStringLiteral("play"));
    EXPECT_FALSE(c.button(2)->isEnabled());
    EXPECT_TRUE(c.button(6)->isEnabled());

    c.setAutoEnable(false); // an armed loop: the program handles the buttons
    c.setCommand(QStringLiteral("stop"));
    EXPECT_TRUE(c.button(6)->isEnabled());
    c.setStopVisible(false);
    EXPECT_TRUE(c.button(6)->isHidden());
    c.setStopVisible(true);
    EXPECT_FALSE(c.button(6)->isHidden());
}

TEST(MMControl, TmsfFormatPacksMinutesAndSeconds) {
    MMControl c;
    auto* dev = new ManualDevice;
    c.setDevice(dev);
    c.setFileName(QStringLiteral("x.wav"));
    c.setCommand(QStringLiteral("open"));
    dev->m_pos = 125400;
    EXPECT_EQ(c.Position(), 125400);
    c.setTimeFormat(MMControl::TimeFormatTmsf);
    EXPECT_EQ(c.Position(), 1 + 2 * 256 + 5 * 65536);
    EXPECT_EQ(c.Length(), 3 + 5 * 256) << "the whole length is packed minutes and seconds";
}
