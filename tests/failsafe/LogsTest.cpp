// The circular log's layout and wrap, and a settings file that is missing, empty or wrong.
#include "FsFixture.h"

#include "failsafe/CircularLog.h"
#include "failsafe/FsClientIni.h"

#include <QDir>
#include <QFileInfo>

namespace {

const char* const kMod = "test module";

void step(int i, const QString& text) {
    FS_PROC(kMod, "Sub step", FS_ARG(i), FS_ARG(text));
}

void failing() {
    FS_PROC(kMod, "Sub failing");
    raiseError(errnum::DivisionByZero);
}

QByteArray record(const QByteArray& file, qint64 recordSize, qint64 n) {
    return file.mid(recordSize * n + 10, recordSize);
}

} // namespace

TEST_F(FsTest, CircularLogKeepsItsBoundAndWraps) {
    writeIni(
        QStringLiteral("[Log File]\nCircularLog=1\n[include]\nResources=0\nMemory=0\nUser=0\n"));
    const QString path = home.file(QStringLiteral("circ0001.log"));
    // Lines: 1 and 2 are the header, then each step gives its call and its return.
    for (int i = 0; i < 48; ++i)
        step(i, QStringLiteral("s"));
    QByteArray file = readFile(path);
    EXPECT_EQ(file.size(), 512 * 99 + 10); // 98 records written, record 0 left free
    EXPECT_TRUE(file.startsWith("CIRCULAR\r\n"));
    EXPECT_EQ(file.mid(10, 512), QByteArray(512, '\0'));
    QByteArray first = record(file, 512, 1);
    EXPECT_TRUE(first.startsWith("FailSafe(tm) : Program START  "));
    EXPECT_TRUE(first.endsWith("  \r\n"));

    for (int i = 48; i < 60; ++i)
        step(i, QStringLiteral("s"));
    file = readFile(path);
    EXPECT_EQ(file.size(), 512 * 101 + 10);
    // Line 101 is the call of step 49; it took the place of record 1.
    first = record(file, 512, 1);
    EXPECT_TRUE(first.contains("->test module : Sub step : (i=49, text=s)")) << first.constData();
    EXPECT_EQ(first.size(), 512);
    EXPECT_TRUE(first.endsWith(" \r\n"));
    EXPECT_TRUE(first.left(510).trimmed().size() < 510);
    // Lines 102 to 122 went to records 2 to 22; record 23 still holds line 23.
    EXPECT_TRUE(record(file, 512, 2).contains("<- : Sub step : (i=49, text=s) : 1"));
    EXPECT_TRUE(record(file, 512, 22).contains("<- : Sub step : (i=59, text=s) : 1"));
    EXPECT_TRUE(record(file, 512, 23).contains("->test module : Sub step : (i=10, text=s)"));

    for (int i = 0; i < 300; ++i)
        step(i, QStringLiteral("more"));
    EXPECT_EQ(QFileInfo(path).size(), 512 * 101 + 10);
}

TEST_F(FsTest, CircularLogCutsLongLinesWithoutWrapping) {
    const QString ini =
        QStringLiteral("[Log File]\nCircularLog=1\n[CircularLog]\nFileName=small.log\n"
                       "RecordSize=129\nMaxRecords=5\n[include]\nResources=0\nMemory=0\nUser=0\n");
    writeIni(ini);
    const QString path = home.file(QStringLiteral("small.log"));
    step(1, QString(300, u'x'));
    QByteArray file = readFile(path);
    // Records 3 and 4: the call, cut to 127 bytes, and the return, starting afresh.
    const QByteArray call = record(file, 129, 3);
    EXPECT_EQ(call.size(), 129);
    EXPECT_TRUE(call.endsWith("xxxx\r\n"));
    EXPECT_FALSE(call.left(127).contains('\n'));
    const QByteArray ret = record(file, 129, 4);
    EXPECT_TRUE(ret.startsWith("[test_failsafe] [00002] ")) << ret.constData();

    for (int i = 0; i < 20; ++i)
        step(i, QStringLiteral("s"));
    EXPECT_EQ(QFileInfo(path).size(), 129 * 6 + 10);

    // A character is never split by the cut.
    fsReset();
    QFile::remove(path);
    writeIni(ini);
    step(1, QString(100, QChar(0x00E9)));
    file = readFile(path);
    const QByteArray cut = record(file, 129, 3).left(127).trimmed();
    EXPECT_EQ(QString::fromUtf8(cut).toUtf8(), cut); // valid UTF-8 throughout
    EXPECT_TRUE(cut.endsWith("\xC3\xA9"));
    EXPECT_GT(cut.size(), 100);
}

TEST_F(FsTest, CircularLogShrinksAFileFromLargerRecords) {
    writeFile(home.file(QStringLiteral("circ0001.log")), QByteArray(200000, 'z'));
    writeIni(QStringLiteral("[Log File]\nCircularLog=1\n"));
    step(1, QStringLiteral("a"));
    EXPECT_LE(QFileInfo(home.file(QStringLiteral("circ0001.log"))).size(), 512 * 101 + 10);
}

TEST_F(FsTest, CircularLogThatCannotOpenIsOffAndTheTraceGoesOn) {
    QDir(home.path()).mkdir(QStringLiteral("adir"));
    writeIni(
        QStringLiteral("[Log File]\nCircularLog=1\nCapture To Disk=1\n"
                       "[CircularLog]\nFileName=adir\n[include]\nResources=0\nMemory=0\nUser=0\n"));
    step(1, QStringLiteral("a"));
    EXPECT_TRUE(QFileInfo(home.file(QStringLiteral("adir"))).isDir());
    EXPECT_EQ(fsCallDepth, 0);
    EXPECT_EQ(logLines().size(), 4); // the capture still runs
}

TEST_F(FsTest, MissingSettingsFileMeansDefaults) {
    step(1, QStringLiteral("a"));
    fs::trap(kMod, "Sub failing", [] { failing(); });
    // No logs of any kind, and the dialog was asked.
    EXPECT_EQ(QDir(home.path()).entryList(QDir::Files | QDir::NoDotAndDotDot), QStringList());
    EXPECT_EQ(records(QStringLiteral("dialog")).size(), 1);
}

TEST_F(FsTest, EmptySettingsFileWritesNothing) {
    writeIni(QString());
    step(1, QStringLiteral("a"));
    fs::trap(kMod, "Sub failing", [] { failing(); });
    EXPECT_EQ(QDir(home.path()).entryList(QDir::Files),
              QStringList{QStringLiteral("FSCLIENT.INI")});
    EXPECT_EQ(records(QStringLiteral("dialog")).size(), 1);
}

TEST_F(FsTest, WordsWhereNumbersBelongCountAsZero) {
    writeIni(
        QStringLiteral("[log file]\nCapture To Disk=yes\nWrite To Disk=True\n"
                       "[Log File]\nCircularLog=1\n[CircularLog]\nRecordSize=big\nMaxRecords=many\n"
                       "[preferences]\nSilent Run=always\n"));
    step(1, QStringLiteral("a"));
    fs::trap(kMod, "Sub failing", [] { failing(); });
    EXPECT_FALSE(QFileInfo::exists(home.file(QStringLiteral("error.log"))));
    EXPECT_FALSE(QFileInfo::exists(home.file(QStringLiteral("circ0001.log"))));
    EXPECT_EQ(records(QStringLiteral("dialog")).size(), 1); // "Silent Run" read as 0
}

TEST_F(FsTest, SettingsNamesIgnoreCaseAndTheFileNameToo) {
    writeIni(QStringLiteral("; trace settings\n[LOG FILE]\n  capture to disk = \"1\" \n"
                            "[Include]\nRESOURCES=0\nmemory=0\nuser=0\n"),
             QStringLiteral("fsclient.ini"));
    step(1, QStringLiteral("a"));
    const QStringList lines = logLines();
    ASSERT_EQ(lines.size(), 4);
    EXPECT_TRUE(lines[2].endsWith(QStringLiteral("Sub step : (i=1, text=a)")));
}

TEST_F(FsTest, UnwritableLogFolderCostsOnlyTheLog) {
    // A file where the folder should be: no one, not even root, can write below it.
    writeFile(home.file(QStringLiteral("notadir")), "x");
    writeIni(QStringLiteral("[log file]\nCapture To Disk=1\nWrite To Disk=1\nLog File=") +
             home.file(QStringLiteral("notadir/error.log")) +
             QStringLiteral("\n[Log File]\nCircularLog=1\n"));
    step(1, QStringLiteral("a"));
    fs::trap(kMod, "Sub failing", [] { failing(); });
    EXPECT_EQ(fsCallDepth, 0);
    EXPECT_FALSE(fsInError);
    // The circular log beside it still took the lines.
    EXPECT_TRUE(readFile(home.file(QStringLiteral("circ0001.log"))).contains("Sub step"));
}

TEST(FsClientIniTest, ReadsLikeAPrivateProfile) {
    TestHome home;
    QFile f(home.file(QStringLiteral("FSCLIENT.INI")));
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write("key=outside\r\n[Email]\r\nAddress = a@b.c ; not a comment\r\n"
            "[email]\r\naddress=second\r\n[Quoted]\r\nA='x y'\r\nB=\"half\r\n[Empty]\r\nKey=\r\n");
    f.close();
    const FsClientIni ini;
    EXPECT_TRUE(ini.exists());
    EXPECT_EQ(ini.value(QStringLiteral("EMAIL"), QStringLiteral("address")),
              QStringLiteral("a@b.c ; not a comment"));
    EXPECT_EQ(ini.value(QStringLiteral("quoted"), QStringLiteral("a")), QStringLiteral("x y"));
    EXPECT_EQ(ini.value(QStringLiteral("quoted"), QStringLiteral("b")), QStringLiteral("\"half"));
    EXPECT_EQ(ini.value(QStringLiteral("empty"), QStringLiteral("key"), QStringLiteral("d")),
              QString());
    EXPECT_EQ(ini.value(QStringLiteral("none"), QStringLiteral("key"), QStringLiteral("d")),
              QStringLiteral("d"));
    EXPECT_EQ(ini.value(QString(), QStringLiteral("key"), QStringLiteral("d")),
              QStringLiteral("d"));
    EXPECT_EQ(ini.number(QStringLiteral("none"), QStringLiteral("key"), QStringLiteral("512")),
              512);

    const FsClientIni missing(home.file(QStringLiteral("nope.ini")));
    EXPECT_FALSE(missing.exists());
    EXPECT_EQ(
        missing.value(QStringLiteral("email"), QStringLiteral("address"), QStringLiteral("d")),
        QStringLiteral("d"));
}

TEST(FsClientIniTest, NumericValueOfText) {
    EXPECT_EQ(FsClientIni::val(QStringLiteral("12abc")), 12);
    EXPECT_EQ(FsClientIni::val(QStringLiteral(" 1 2 ")), 12);
    EXPECT_EQ(FsClientIni::val(QStringLiteral("-3.5e2")), -350);
    EXPECT_EQ(FsClientIni::val(QStringLiteral(".5")), 0.5);
    EXPECT_EQ(FsClientIni::val(QStringLiteral("1,000")), 1);
    EXPECT_EQ(FsClientIni::val(QStringLiteral("&H1F")), 31);
    EXPECT_EQ(FsClientIni::val(QStringLiteral("&o17")), 15);
    EXPECT_EQ(FsClientIni::val(QStringLiteral("2e")), 2);
    EXPECT_EQ(FsClientIni::val(QStringLiteral("yes")), 0);
    EXPECT_EQ(FsClientIni::val(QStringLiteral("True")), 0);
    EXPECT_EQ(FsClientIni::val(QString()), 0);
    EXPECT_EQ(FsClientIni::val(QStringLiteral("-")), 0);
}
