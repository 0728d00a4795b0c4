// The media control strip without a device, and its status events. Its commands on a real
// device are tested with the wave device.
#include "platform/MMControl.h"
#include "failsafe/AppError.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

TEST(MMControl, WithoutADeviceItAnswersAsNotOpen) {
    MMControl cd;
    EXPECT_EQ(cd.Mode(), MMControl::ModeNotOpen);
    EXPECT_EQ(cd.Tracks(), 0);
    EXPECT_EQ(cd.Length(), 0);
    cd.setCommand(QStringLiteral("Open"));
    EXPECT_GT(cd.Error(), 0);
    EXPECT_EQ(cd.ErrorMessage(), u"No wave audio device is available.");
    cd.setCommand(QStringLiteral("play"));
    EXPECT_GT(cd.Error(), 0);
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
    QElapsedTimer clock;
    clock.start();
    c.setUpdateInterval(20);
    ASSERT_TRUE(QTest::qWaitFor([&] { return spy.count() >= 5; }, 3000));
    // Never more often than the interval asks, however slow or fast the machine.
    EXPECT_LE(spy.count(), clock.elapsed() / 20 + 1);
    c.setUpdateInterval(0);
    spy.clear();
    QTest::qWait(120);
    EXPECT_EQ(spy.count(), 0);

    // A short loop sets the interval at every pass: the events still come.
    c.setUpdateInterval(40);
    QTimer again;
    QObject::connect(&again, &QTimer::timeout, [&] { c.setUpdateInterval(40); });
    again.start(15);
    EXPECT_TRUE(QTest::qWaitFor([&] { return spy.count() >= 3; }, 3000))
        << "setting the same interval again restarted the clock";
}
