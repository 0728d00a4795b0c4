// Discs coming and going in image drives, as the notifier tells them at each look; that it
// looks by itself the disc journeys find, as they put discs in and take them out.
#include "CdImage.h"

#include "platform/CdNotifier.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

TEST(CdNotifier, TellsArrivalsAndRemovalsOfEachDriveAndNothingElse) {
    QTemporaryDir root;
    const QByteArray previous = qgetenv("CANTAVOX_CD");
    qputenv("CANTAVOX_CD", root.path().toLocal8Bit());
    const QString d = root.path() + QStringLiteral("/d"), e = root.path() + QStringLiteral("/e");
    ASSERT_TRUE(cdimage::insert(d, {{{30.0}}}));
    ASSERT_TRUE(QDir().mkpath(e));

    CdNotifier notifier;
    QSignalSpy arrived(&notifier, &CdNotifier::arrival);
    QSignalSpy removed(&notifier, &CdNotifier::removeComplete);
    notifier.start();
    notifier.poll();
    EXPECT_EQ(arrived.count(), 0) << "a disc there from the start is no arrival";

    ASSERT_TRUE(cdimage::insert(e, {{{20.0}, {20.0}}}));
    notifier.poll();
    ASSERT_EQ(arrived.count(), 1);
    EXPECT_EQ(arrived.takeFirst().at(0).toString(), QStringLiteral("E"));
    notifier.poll();
    EXPECT_EQ(arrived.count(), 0) << "nothing new, no event";

    ASSERT_TRUE(cdimage::eject(d));
    notifier.poll();
    ASSERT_EQ(removed.count(), 1);
    EXPECT_EQ(removed.takeFirst().at(0).toString(), QStringLiteral("D"));

    // Another disc in the place of the first between two looks: out, then in.
    ASSERT_TRUE(cdimage::insert(e, {{{25.0}}}));
    notifier.poll();
    EXPECT_EQ(removed.count(), 1);
    EXPECT_EQ(arrived.count(), 1);

    notifier.stop();
    if (previous.isNull())
        qunsetenv("CANTAVOX_CD");
    else
        qputenv("CANTAVOX_CD", previous);
}
