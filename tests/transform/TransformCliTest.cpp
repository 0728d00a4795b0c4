// cantavox-transform as a musician runs it: a whole file slowed down at its own pitch, or
// shifted by an interval at its own speed; a clear word and a non-zero status for a bad
// command line or a bad file. The real program, the real engine, generated WAV files.
#include "SoundProbe.h"
#include "WavGen.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <tuple>

namespace {

struct Outcome {
    int status = -1;
    QString err;
};

class TransformCli : public ::testing::Test {
protected:
    QString file(const char* name) const { return dir.filePath(QString::fromLatin1(name)); }
    static Outcome transform(const QStringList& args) {
        QProcess p;
        p.start(QStringLiteral(CANTAVOX_TRANSFORM_BINARY), args);
        p.waitForFinished(120000);
        return {p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1,
                QString::fromUtf8(p.readAllStandardError())};
    }
    // One file of the test's folder into another, at that speed and pitch.
    Outcome transform(const char* in, const char* out, const char* speed, const char* pitch,
                      const QStringList& more = {}) {
        return transform(QStringList{file(in), file(out), QStringLiteral("--speed"),
                                     QString::fromLatin1(speed), QStringLiteral("--pitch"),
                                     QString::fromLatin1(pitch)} +
                         more);
    }
    QTemporaryDir dir;
};

} // namespace

TEST_F(TransformCli, SlowsDownAtThePitchAndShiftsAtTheSpeed) {
    ASSERT_TRUE(wavgen::writeSine(file("in.wav"), 2.0, 440.0, {22050, 2}));
    Outcome r = transform("in.wav", "slow.wav", "50", "0");
    ASSERT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_FALSE(r.err.contains(u'[')) << "no progress bar when stderr isn't a terminal";
    Sound slow = load(file("slow.wav"));
    EXPECT_EQ(slow.info.frames, 2 * 2 * 22050);
    EXPECT_EQ(slow.info.channels, 2);
    EXPECT_NEAR(cents(frequencyOf(slow), 440.0), 0.0, 1.0);

    r = transform("in.wav", "fifth.wav", "100", "700",
                  {QStringLiteral("--quality"), QStringLiteral("1"), QStringLiteral("--channel"),
                   QStringLiteral("2")});
    ASSERT_EQ(r.status, 0) << r.err.toStdString();
    Sound fifth = load(file("fifth.wav"));
    EXPECT_EQ(fifth.info.frames, 2 * 22050);
    EXPECT_NEAR(cents(frequencyOf(fifth, 0), 440.0), 700.0, 1.0);
    EXPECT_NEAR(cents(frequencyOf(fifth, 1), 440.0), 700.0, 1.0) << "one channel on both sides";
}

TEST_F(TransformCli, ABadCommandLineShowsTheUsageWithStatus2) {
    ASSERT_TRUE(wavgen::writeSine(file("in.wav"), 0.5, 440.0, {8000, 1}));
    const QString in = file("in.wav"), out = file("out.wav");
    const QList<std::pair<QStringList, const char*>> cases = {
        {{in, out, "--speed", "50"}, "--speed and --pitch are both needed"},
        {{in, out, "--speed", "3", "--pitch", "0"}, "--speed must be 5 to 200 percent"},
        {{in, out, "--speed", "250", "--pitch", "0"}, "--speed must be 5 to 200 percent"},
        {{in, out, "--speed", "half", "--pitch", "0"}, "needs a whole number"},
        {{in, out, "--speed", "50", "--pitch", "1300"}, "--pitch must be -1200 to 1200"},
        {{in, out, "--speed", "50", "--pitch", "0", "--quality", "4"}, "--quality must be"},
        {{in, out, "--speed", "50", "--pitch", "0", "--channel", "3"}, "--channel must be"},
        {{in, "--speed", "50", "--pitch", "0"}, "give one input and one output file"},
        {{in, in, "--speed", "50", "--pitch", "0"}, "the output must not be the input"},
        {{in, out, "--speed", "50", "--pitch", "0", "--tempo", "2"}, "unknown option --tempo"},
    };
    for (const auto& [args, words] : cases) {
        const Outcome r = transform(args);
        EXPECT_EQ(r.status, 2) << words;
        EXPECT_TRUE(r.err.contains(QString::fromLatin1(words))) << r.err.toStdString();
        EXPECT_TRUE(r.err.contains(u"usage: cantavox-transform")) << words;
    }
    EXPECT_FALSE(QFile::exists(out));
}

TEST_F(TransformCli, ABadFileIsNamedWithTheEnginesWordsAndStatus1) {
    ASSERT_TRUE(wavgen::writeBytes(file("notes.wav"), "C major, then G"));
    ASSERT_TRUE(wavgen::writeSine(file("in.wav"), 0.5, 440.0, {8000, 1}));
    for (const auto& [in, out, words] :
         {std::tuple{"missing.wav", "out.wav", "missing.wav: Unable to open input file."},
          {"notes.wav", "out.wav", "notes.wav: Unable to read RIFF format info from input file."},
          {"in.wav", "no folder/out.wav", "out.wav: Unable to open temp output file."}}) {
        const Outcome r = transform(in, out, "50", "0");
        EXPECT_EQ(r.status, 1) << in;
        EXPECT_TRUE(r.err.contains(QString::fromLatin1(words))) << r.err.toStdString();
    }
    EXPECT_FALSE(QFile::exists(file("out.wav")));
}
