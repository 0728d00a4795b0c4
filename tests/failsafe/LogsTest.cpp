// The circular log's layout and wrap, and a settings file that is missing, empty or wrong.
#include "FsFixture.h"

#include "failsafe/FsClientIni.h"

#include <QDir>
#include <QFileInfo>

using namespace fstest;

namespace {
QByteArray record(const QByteArray& file, qint64 recordSize, qint64 n) {
    return file.mid(recordSize * n + 10, recordSize);
}
} // namespace

TEST_F(FsTest, CircularLogKeepsItsBoundAndWraps) {
    writeIni(QStringLiteral("[Log File]\nCircularLog=1\n") + kFixedColumns);
    const QString path = home.file(QStringLiteral("circ0001.log"));
    // Lines 1 and 2 are the header, then each call of leaf gives its call and its return.
    for (int i = 0; i < 48; ++i)
        leaf(i, QStringLiteral("s"));
    QByteArray file = readFile(path);
    EXPECT_EQ(file.size(), 512 * 99 + 10); // 98 records written, record 0 left free
    EXPECT_TRUE(file.startsWith("CIRCULAR\r\n"));
    EXPECT_EQ(file.mid(10, 512), QByteArray(512, '\0'));
    QByteArray first = record(file, 512, 1);
    EXPECT_TRUE(first.startsWith("FailSafe(tm) : Program START  "));
    EXPECT_TRUE(first.endsWith("  \r\n"));

    for (int i = 48; i < 60; ++i)
        leaf(i, QStringLiteral("s"));
    file = readFile(path);
    EXPECT_EQ(file.size(), 512 * 101 + 10);
    // Line 101 is the call of leaf 49; it took the place of record 1, padded with blanks.
    first = record(file, 512, 1);
    EXPECT_TRUE(first.contains("->test module : Sub leaf : (a=49, s=s)")) << first.constData();
    EXPECT_TRUE(first.endsWith(" \r\n"));
    EXPECT_LT(first.left(510).trimmed().size(), 510);
    // Lines 102 to 122 went to records 2 to 22; record 23 still holds line 23.
    EXPECT_TRUE(record(file, 512, 2).contains("<- : Sub leaf : (a=49, s=s) : 1"));
    EXPECT_TRUE(record(file, 512, 22).contains("<- : Sub leaf : (a=59, s=s) : 1"));
    EXPECT_TRUE(record(file, 512, 23).contains("->test module : Sub leaf : (a=10, s=s)"));

    for (int i = 0; i < 300; ++i)
        leaf(i, QStringLiteral("more"));
    EXPECT_EQ(QFileInfo(path).size(), 512 * 101 + 10);
}

TEST_F(FsTest, CircularLogCutsLongLinesWithoutWrappingOrSplittingACharacter) {
    const QString ini =
        QStringLiteral("[Log File]\nCircularLog=1\n[CircularLog]\nFileName=small.log\n"
                       "RecordSize=129\nMaxRecords=5\n") +
        kFixedColumns;
    writeIni(ini);
    const QString path = home.file(QStringLiteral("small.log"));
    leaf(1, QString(300, u'x'));
    QByteArray file = readFile(path);
    // Records 3 and 4: the call, cut to 127 bytes, and the return, starting afresh.
    const QByteArray call = record(file, 129, 3);
    EXPECT_EQ(call.size(), 129);
    EXPECT_TRUE(call.endsWith("xxxx\r\n"));
    EXPECT_FALSE(call.left(127).contains('\n'));
    EXPECT_TRUE(record(file, 129, 4).startsWith("[test_failsafe] [00002] "));

    for (int i = 0; i < 20; ++i)
        leaf(i, QStringLiteral("s"));
    EXPECT_EQ(QFileInfo(path).size(), 129 * 6 + 10);

    fsReset();
    QFile::remove(path);
    writeIni(ini);
    leaf(1, QString(100, QChar(0x00E9)));
    const QByteArray cut = record(readFile(path), 129, 3).left(127).trimmed();
    EXPECT_EQ(QString::fromUtf8(cut).toUtf8(), cut); // valid UTF-8 throughout
    EXPECT_TRUE(cut.endsWith("\xC3\xA9"));
    EXPECT_GT(cut.size(), 100);
}

TEST_F(FsTest, CircularLogShrinksAFileFromLargerRecords) {
    writeFile(home.file(QStringLiteral("circ0001.log")), QByteArray(200000, 'z'));
    writeIni(QStringLiteral("[Log File]\nCircularLog=1\n"));
    leaf(1, QStringLiteral("a"));
    EXPECT_LE(QFileInfo(home.file(QStringLiteral("circ0001.log"))).size(), 512 * 101 + 10);
}

TEST_F(FsTest, CircularLogThatCannotOpenIsOffAndTheTraceGoesOn) {
    QDir(home.path()).mkdir(QStringLiteral("adir"));
    writeIni(QStringLiteral("[Log File]\nCircularLog=1\nCapture To Disk=1\n"
                            "[CircularLog]\nFileName=adir\n") +
             kFixedColumns);
    leaf(1, QStringLiteral("a"));
    EXPECT_TRUE(QFileInfo(home.file(QStringLiteral("adir"))).isDir());
    EXPECT_EQ(fsCallDepth, 0);
    EXPECT_EQ(logLines().size(), 4); // the capture still runs
}

// No file, an empty one, or words where numbers belong (read as 0): no log of any kind is
// written, and the dialog is asked.
TEST_F(FsTest, SettingsThatSayNothingWriteNoLogAndAsk) {
    const char* const cases[] = {
        nullptr,
        "",
        "[log file]\nCapture To Disk=yes\nWrite To Disk=True\n[Log File]\nCircularLog=1\n"
        "[CircularLog]\nRecordSize=big\nMaxRecords=many\n[preferences]\nSilent Run=always\n",
    };
    for (const char* ini : cases) {
        restart();
        QFile::remove(home.file(QStringLiteral("FSCLIENT.INI")));
        if (ini)
            writeIni(QString::fromLatin1(ini));
        leaf(1, QStringLiteral("a"));
        fs::trap(kMod, "Sub failing", [] { failing(); });
        EXPECT_EQ(QDir(home.path()).entryList(QDir::Files),
                  ini ? QStringList{QStringLiteral("FSCLIENT.INI")} : QStringList())
            << (ini ? ini : "no file");
        EXPECT_EQ(records(QStringLiteral("dialog")).size(), 1) << (ini ? ini : "no file");
    }
}

TEST_F(FsTest, UnwritableLogFolderCostsOnlyTheLog) {
    // A file where the folder should be: no one, not even root, can write below it.
    writeFile(home.file(QStringLiteral("notadir")), "x");
    writeIni(QStringLiteral("[log file]\nCapture To Disk=1\nWrite To Disk=1\nLog File=") +
             home.file(QStringLiteral("notadir/error.log")) +
             QStringLiteral("\n[Log File]\nCircularLog=1\n"));
    leaf(1, QStringLiteral("a"));
    fs::trap(kMod, "Sub failing", [] { failing(); });
    EXPECT_EQ(fsCallDepth, 0);
    EXPECT_FALSE(fsInError);
    // The circular log beside it still took the lines.
    EXPECT_TRUE(readFile(home.file(QStringLiteral("circ0001.log"))).contains("Sub leaf"));
}

TEST_F(FsTest, TheSettingsFileReadsLikeAPrivateProfile) {
    // The file's name, too, is found whatever its case.
    writeIni(QStringLiteral("key=outside\r\n[Email]\r\nAddress = a@b.c ; not a "
                            "comment\r\n[email]\r\naddress=second\r\n[Quoted]\r\nA='x y'\r\n"
                            "B=\"half\r\n[Empty]\r\nKey=\r\n"),
             QStringLiteral("fsclient.ini"));
    const FsClientIni ini;
    EXPECT_TRUE(ini.exists());
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"EMAIL", "address", "a@b.c ; not a comment"}, // the first of two sections wins
        {"quoted", "a", "x y"},
        {"quoted", "b", "\"half"},
        {"empty", "key", ""},
        {"none", "key", "d"},
        {"", "key", "d"}, // a key before any section belongs to none
    };
    const QString d = QStringLiteral("d");
    for (const auto& [section, key, value] : cases)
        EXPECT_EQ(ini.value(QString::fromLatin1(section), QString::fromLatin1(key), d),
                  QLatin1StringView(value))
            << section << '/' << key;
    EXPECT_EQ(ini.number(QStringLiteral("none"), QStringLiteral("key"), QStringLiteral("512")),
              512);

    const FsClientIni missing(home.file(QStringLiteral("nope.ini")));
    EXPECT_FALSE(missing.exists());
    EXPECT_EQ(missing.value(QStringLiteral("email"), QStringLiteral("address"), d), d);
}

TEST(FsClientIniTest, NumericValueOfText) {
    const std::pair<const char*, double> cases[] = {
        {"12abc", 12}, {" 1 2 ", 12}, {"-3.5e2", -350}, {"2e", 2},
        {"&H1F", 31},  {"&o17", 15},  {"yes", 0},       {"-", 0},
    };
    for (const auto& [text, value] : cases)
        EXPECT_EQ(FsClientIni::val(QString::fromLatin1(text)), value) << text;
}
