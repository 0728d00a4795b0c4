// The wave graph's arithmetic: the points a scratch file gives whatever it holds, the four
// scales, the quality typed by the user, the tempo of a beat, and the grid placed on a
// selection or snapped to.
#include "WavGen.h"

#include "graph/GraphUnits.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace graphunits;

namespace {

// A file of the given 16-bit words, word n holding n (from 1) modulo 30000.
QString wordsFile(const QTemporaryDir& dir, const char* name, qint64 words, bool oddByte = false) {
    QByteArray bytes(words * 2 + (oddByte ? 1 : 0), '\0');
    auto* w = reinterpret_cast<qint16*>(bytes.data());
    for (qint64 n = 1; n <= words; ++n)
        w[n - 1] = qint16(n % 30000);
    const QString path = dir.filePath(QString::fromLatin1(name));
    EXPECT_TRUE(wavgen::writeBytes(path, bytes));
    return path;
}

} // namespace

TEST(GraphUnits, PointsPickEveryQualityThWordPastTheFirstFortyFourWhateverTheFile) {
    QTemporaryDir dir;
    // Quality 20: point i is word i * 20 + 44; the last 44 points keep no values.
    ChartPoints p = readChartPoints(wordsFile(dir, "a", 2000), 20);
    EXPECT_TRUE(p.error.isEmpty());
    ASSERT_EQ(p.count, 100);
    ASSERT_EQ(p.filled, 56);
    EXPECT_EQ(p.x(1), 20);
    EXPECT_EQ(p.y(1), 64);
    EXPECT_EQ(p.x(56), 1120);
    EXPECT_EQ(p.y(56), 1164);

    // Quality 1 reaches the very last word and no further.
    p = readChartPoints(wordsFile(dir, "b", 500), 1);
    ASSERT_EQ(p.filled, 456);
    EXPECT_EQ(p.y(456), 500);

    // A file of odd length loses its last byte; one shorter than 44 points fills none.
    p = readChartPoints(wordsFile(dir, "c", 501, true), 1);
    EXPECT_EQ(p.count, 501);
    p = readChartPoints(wordsFile(dir, "d", 43 * 20), 20);
    EXPECT_EQ(p.count, 43);
    EXPECT_EQ(p.filled, 0);

    // Empty and missing files give no points; only the missing one is an error.
    p = readChartPoints(wordsFile(dir, "e", 0), 20);
    EXPECT_EQ(p.count, 0);
    EXPECT_TRUE(p.error.isEmpty());
    p = readChartPoints(dir.filePath(QStringLiteral("gone.wav")), 20);
    EXPECT_EQ(p.count, 0);
    EXPECT_TRUE(p.error.contains(QStringLiteral("gone.wav can't be read")))
        << p.error.toStdString();
}

TEST(GraphUnits, ScalesConvertExactlyAndMillisecondsLoseUpToAQualityStep) {
    EXPECT_FLOAT_EQ(expFactorFor(50, 1), 2.0f);
    EXPECT_FLOAT_EQ(expFactorFor(50, 2), 1.0f);
    EXPECT_FLOAT_EQ(expFactorFor(50, 0), 1.0f) << "an unknown channel count counts as two";
    EXPECT_EQ(pointOfSample(301, 2.0f), 151);
    EXPECT_EQ(sampleOfPoint(151, 2.0f), 302);
    // 44.1 samples a millisecond at quality 20: 1000 ms is sample 2205, and back.
    EXPECT_EQ(sampleOfMs(1000, 20, 44.1f), 2205);
    EXPECT_NEAR(msOfSample(2205, 20, 44.1f), 1000.0, 1e-3);
    // 1010 ms is 44541 samples, 2227 steps: read back it is 1009.98.
    const double back = msOfSample(sampleOfMs(1010, 20, 44.1f), 20, 44.1f);
    EXPECT_LT(back, 1010.0);
    EXPECT_GT(back, 1010.0 - 20 / 44.1);
}

TEST(GraphUnits, QualityAnswersOutsideOneToTwentyChangeNothing) {
    EXPECT_EQ(qualityStepFromAnswer(QStringLiteral("1")), 20);
    EXPECT_EQ(qualityStepFromAnswer(QStringLiteral("20")), 1);
    EXPECT_EQ(qualityStepFromAnswer(QStringLiteral("19.6")), 1) << "rounded";
    for (const char* refused : {"0", "21", "fine", "", "-3"})
        EXPECT_EQ(qualityStepFromAnswer(QString::fromLatin1(refused)), 0) << refused;
}

TEST(GraphUnits, TempoIsTruncatedToATenthAndTheOriginalRounded) {
    EXPECT_EQ(tempoOfBeat(1000), 60.0);
    EXPECT_EQ(tempoOfBeat(1001), 59.9) << "59.94 truncated";
    EXPECT_EQ(tempoOfBeat(700000), 0.0) << "a beat of over ten minutes";
    EXPECT_EQ(originalTempo(60.0, 50), 120.0);
    EXPECT_EQ(originalTempo(59.9, 75), 79.9);
}

TEST(GraphUnits, TheGridStandsOnTheSelectionPushedLeftByWholeMeasures) {
    // 400 px of selection for 4 beats at 15 twips a pixel: beats of 1500 twips, measures of
    // 6000; a start at pixel 500 (7500 twips) goes back to 1500 - 6000 = -4500.
    GridPlace g = alignGrid(500, 900, 4, 4, 15);
    EXPECT_EQ(g.beatWidth, 1500.0);
    EXPECT_EQ(g.firstLine, -4500);
    // A selection starting at pixel 0 isn't pushed.
    EXPECT_EQ(alignGrid(0, 400, 4, 4, 15).firstLine, 0);
    // Fractions of beats are allowed.
    EXPECT_EQ(alignGrid(0, 300, 1.5, 4, 15).beatWidth, 3000.0);
    // A negative count or a selection of no width can't push forever: the line stays.
    g = alignGrid(500, 900, -4, 4, 15);
    EXPECT_EQ(g.beatWidth, -1500.0);
    EXPECT_EQ(g.firstLine, 7500);
    EXPECT_EQ(alignGrid(500, 500, 4, 4, 15).firstLine, 7500);
}

TEST(GraphUnits, SnappingFindsTheNearestShownLine) {
    // Beats every 100 px from pixel 10.
    const qint32 first = 150;
    const double beat = 1500;
    EXPECT_EQ(nearestGridLine(140, first, beat, 15, false, false), 110);
    EXPECT_EQ(nearestGridLine(170, first, beat, 15, false, false), 210);
    EXPECT_EQ(nearestGridLine(-60, first, beat, 15, false, false), -90) << "left of the first";
    EXPECT_EQ(nearestGridLine(140, first, beat, 15, true, false), 160) << "an eighth";
    EXPECT_EQ(nearestGridLine(140, first, beat, 15, false, true), 143) << "a triplet";
    EXPECT_EQ(nearestGridLine(140, first, 0, 15, true, true), 140) << "no grid, no snap";
}
