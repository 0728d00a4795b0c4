// Position texts and packed disc positions.
#include "app/TimeFormats.h"
#include "ErrorOf.h"
#include "app/AppUtilities.h"
#include "failsafe/AppError.h"

#include <gtest/gtest.h>

TEST(TimeFormats, PackedDiscPositionsReadTrackMinutesSecondsAndIgnoreFrames) {
    const qint32 packed = 3 + 2 * 256 + 5 * 65536;
    for (qint32 frame : {0, 1, 74}) // any frame byte
        EXPECT_EQ(toTMS(packed + frame * 16777216), u"03:02:05");
    EXPECT_EQ(to4byte(QStringLiteral("03:02:05")), packed);
    EXPECT_EQ(to4byte(toTMS(packed + 74 * 16777216)) >> 24, 0) << "the frame byte is written as 0";
    EXPECT_EQ(toTMS(12 + 75 * 256 + 59 * 65536), u"12:75:59");
    EXPECT_EQ(toMS(4 + 7 * 256), u"04:07");
}

TEST(TimeFormats, To4ByteWantsThreeFields) {
    EXPECT_EQ(errorOf([] { to4byte(QStringLiteral("01:02:03:04")); }), errnum::SubscriptOutOfRange);
    EXPECT_EQ(to4byte(QStringLiteral("01::02:03")), 1 + 2 * 256 + 3 * 65536)
        << "runs of delimiters give no empty field";
}

TEST(TimeFormats, MillisecondsTruncateToMinutesAndSeconds) {
    EXPECT_EQ(mmss(59999), u"00:59");
    EXPECT_EQ(mmss(600000), u"10:00");
    EXPECT_EQ(mmss(0), u"00:00");
    EXPECT_EQ(mmss(6000000), u"100:00") << "minutes above 99 take the digits they need";
    EXPECT_EQ(mmss(32767999), u"546:07");
    EXPECT_EQ(trackLengthMMSS(185500), u"03:05");
}

TEST(TimeFormats, SecondsPast32767AreAnOverflow) {
    EXPECT_EQ(errorOf([] { mmss(32768000); }), errnum::Overflow);
    EXPECT_EQ(errorOf([] { trackLengthMMSS(40000000); }), errnum::Overflow);
}

TEST(TimeFormats, FieldsOfTheDiscText) {
    EXPECT_EQ(minutes(QStringLiteral("03:42:17")), 42);
    EXPECT_EQ(seconds(QStringLiteral("03:42:17")), 17);
    EXPECT_EQ(minutes(QStringLiteral("00:") + mmss(185000)), 3);
    EXPECT_EQ(seconds(QStringLiteral("00:") + mmss(185000)), 5);
    EXPECT_EQ(minutes(QStringLiteral("03:")), 0) << "too short";
    EXPECT_EQ(seconds(QStringLiteral("03:42")), 0);
    EXPECT_EQ(minutes(QStringLiteral("03:xy:17")), 0);
}

TEST(AppUtilities, PathPieces) {
    EXPECT_EQ(extractPathFromFullPath(QStringLiteral("/music/folk/reel.wav")), u"/music/folk/");
    EXPECT_EQ(extractFilenameFromFullPath(QStringLiteral("/music/folk/reel.wav")), u"reel.wav");
    EXPECT_EQ(extractFilenameFromFullPath(QStringLiteral("reel.wav")), u"reel.wav");
    EXPECT_EQ(extractExtensionFromFilename(QStringLiteral("a.b.wav")), u"wav");
    EXPECT_EQ(extractExtensionFromFilename(QStringLiteral("README")), u"");
    QString path, name;
    parsePath(QStringLiteral("/music/it's.wav"), path, name);
    EXPECT_EQ(path, u"/music");
    EXPECT_EQ(name, u"it's.wav");
    parsePath(QStringLiteral("noslash"), path, name);
    EXPECT_TRUE(path.isEmpty());
    EXPECT_TRUE(name.isEmpty());
    EXPECT_EQ(instrRev(QStringLiteral("a/b.c/d"), QStringLiteral("/.")), u"6");
    EXPECT_EQ(instrRev(QStringLiteral("abc"), QStringLiteral("/")), u"0");
}

TEST(AppUtilities, SplitStrSkipsEmptyElementsAndStopsAtTheBound) {
    QStringList ta{QStringLiteral("stale")};
    EXPECT_TRUE(splitStr(QStringLiteral(",,a,,b;c,"), QStringLiteral(",;"), ta));
    EXPECT_EQ(ta, (QStringList{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")}));
    splitStr(QStringLiteral("a b c d e"), QStringLiteral(" "), ta, 1);
    EXPECT_EQ(ta.size(), 2);
    splitStr(QString(), QStringLiteral(" "), ta);
    EXPECT_TRUE(ta.isEmpty());
}

