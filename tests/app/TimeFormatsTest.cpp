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
    EXPECT_EQ(toMS(4 + 7 * 256), u"04:07");
    EXPECT_EQ(to4byte(QStringLiteral("01::02:03")), 1 + 2 * 256 + 3 * 65536)
        << "runs of delimiters give no empty field";
    EXPECT_EQ(errorOf([] { to4byte(QStringLiteral("01:02:03:04")); }), errnum::SubscriptOutOfRange);
}

TEST(TimeFormats, MillisecondsTruncateToMinutesAndSecondsUpTo32767Seconds) {
    const std::pair<qint32, const char*> cases[] = {
        {0, "00:00"},         {59999, "00:59"},
        {600000, "10:00"},    {6000000, "100:00"}, // minutes above 99 take the digits they need
        {32767999, "546:07"},
    };
    for (const auto& [ms, text] : cases)
        EXPECT_EQ(mmss(ms), QLatin1StringView(text)) << ms;
    EXPECT_EQ(errorOf([] { mmss(32768000); }), errnum::Overflow);
    EXPECT_EQ(errorOf([] { trackLengthMMSS(40000000); }), errnum::Overflow);
}

TEST(TimeFormats, FieldsOfTheDiscText) {
    EXPECT_EQ(minutes(QStringLiteral("03:42:17")), 42);
    EXPECT_EQ(seconds(QStringLiteral("03:42:17")), 17);
    EXPECT_EQ(seconds(QStringLiteral("00:") + mmss(185000)), 5);
    EXPECT_EQ(minutes(QStringLiteral("03:")), 0) << "too short";
    EXPECT_EQ(seconds(QStringLiteral("03:42")), 0);
    EXPECT_EQ(minutes(QStringLiteral("03:xy:17")), 0);
}

TEST(AppUtilities, ParsePathSplitsAtTheLastSlashAndAPlainNameHasNeither) {
    QString path, name;
    parsePath(QStringLiteral("/music/it's.wav"), path, name);
    EXPECT_EQ(path, u"/music");
    EXPECT_EQ(name, u"it's.wav");
    parsePath(QStringLiteral("noslash"), path, name);
    EXPECT_TRUE(path.isEmpty());
    EXPECT_TRUE(name.isEmpty());
}
