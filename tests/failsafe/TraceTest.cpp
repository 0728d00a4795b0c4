// The procedure trace: stack balance on every exit path, the depth limit, argument texts,
// and the trace lines that "Capture To Disk" writes.
#include "FsFixture.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QPoint>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <thread>

namespace {

const char* const kMod = "test module";
QStringList g_seen; // stack snapshots taken inside procedures

void leaf(int a, const QString& s) {
    FS_PROC(kMod, "Sub leaf", FS_ARG(a), FS_ARG(s));
    g_seen = fsCallStackLines();
}

int earlyReturn(int x) {
    FS_PROC(kMod, "Function earlyReturn", FS_ARG(x));
    if (x > 0)
        return 1;
    leaf(x, QStringLiteral("late"));
    return 0;
}

void thrower(int n) {
    FS_PROC(kMod, "Sub thrower", FS_ARG(n));
    raiseError(n);
}

void outer() {
    FS_PROC(kMod, "Sub outer");
    leaf(7, QStringLiteral("in"));
}

long g_deepestDepth = 0;
int g_deepestRecorded = 0;
void recurse(int n) {
    FS_PROC(kMod, "Sub recurse", FS_ARG(n));
    if (n > 0) {
        recurse(n - 1);
    } else {
        g_deepestDepth = fsCallDepth;
        g_deepestRecorded = int(fsCallStackLines().size());
    }
}

enum class Colour { Red = 3 };

} // namespace

TEST_F(FsTest, EveryExitPathPopsExactlyOnce) {
    leaf(1, QStringLiteral("x"));
    EXPECT_EQ(fsCallDepth, 0);
    ASSERT_EQ(g_seen.size(), 1);
    EXPECT_EQ(g_seen[0], QStringLiteral("test module : Sub leaf : (a=1, s=x) : 1"));

    EXPECT_EQ(earlyReturn(5), 1);
    EXPECT_EQ(fsCallDepth, 0);
    EXPECT_EQ(earlyReturn(0), 0);
    EXPECT_EQ(fsCallDepth, 0);
    ASSERT_EQ(g_seen.size(), 2);
    EXPECT_EQ(g_seen[0], QStringLiteral("test module : Function earlyReturn : (x=0) : 1"));
    EXPECT_EQ(g_seen[1], QStringLiteral("\ttest module : Sub leaf : (a=0, s=late) : 2"));

    EXPECT_THROW(thrower(6), AppError);
    EXPECT_EQ(fsCallDepth, 0);
    EXPECT_TRUE(fsCallStackLines().isEmpty());

    // The stack works normally after all of that.
    outer();
    ASSERT_EQ(g_seen.size(), 2);
    EXPECT_EQ(g_seen[1], QStringLiteral("\ttest module : Sub leaf : (a=7, s=in) : 2"));
    EXPECT_EQ(fsCallDepth, 0);
}

TEST_F(FsTest, UnbalancedExitLeavesTheDepthAlone) {
    fsPUSH(kMod, "Sub a", QStringLiteral("()"));
    fsPOP(kMod, "Sub other", QStringLiteral("()"));
    EXPECT_EQ(fsCallDepth, 1);
    fsPOP(kMod, "Sub a", QStringLiteral("()"));
    EXPECT_EQ(fsCallDepth, 0);
    // A pop with nothing pushed changes nothing either.
    fsPOP(kMod, "Sub a", QStringLiteral("()"));
    EXPECT_EQ(fsCallDepth, 0);
}

TEST_F(FsTest, DisabledTraceRecordsNothing) {
    fsDisabled = true;
    leaf(1, QStringLiteral("x"));
    EXPECT_TRUE(g_seen.isEmpty());
    EXPECT_FALSE(fsStarted);
}

TEST_F(FsTest, CallsBelowDepth1000AreCountedButNotRecorded) {
    writeIni(QStringLiteral(
        "[log file]\nCapture To Disk=1\n[include]\nResources=0\nMemory=0\nUser=0\n"));
    recurse(1004); // 1005 levels
    EXPECT_EQ(g_deepestDepth, 1005);
    EXPECT_EQ(g_deepestRecorded, 1000);
    EXPECT_EQ(fsCallDepth, 0);
    // The recorded levels are the first thousand; nothing at the dropped ones was written.
    const QStringList lines = logLines();
    const auto calls = lines.filter(QStringLiteral("] ->"));
    const auto returns = lines.filter(QStringLiteral("] <-"));
    EXPECT_EQ(calls.size(), 1000);
    EXPECT_EQ(returns.size(), 1000);
    EXPECT_TRUE(calls.last().endsWith(QStringLiteral("Sub recurse : (n=5)")));
    // And the program goes on with a sound stack.
    leaf(2, QStringLiteral("after"));
    ASSERT_EQ(g_seen.size(), 1);
    EXPECT_TRUE(g_seen[0].endsWith(QStringLiteral(" : 1")));
}

TEST_F(FsTest, ArgumentTexts) {
    EXPECT_EQ(fs::argText(), QStringLiteral("()"));
    const int First = 1;
    const long Last = 200;
    EXPECT_EQ(fs::argText(FS_ARG(First), FS_ARG(Last)), QStringLiteral("(First=1, Last=200)"));
    const double half = 0.5;
    const float third = 1.0f / 3.0f;
    const qint16 small = -32768;
    const unsigned char byte = 255;
    EXPECT_EQ(fs::argText(FS_ARG(half), FS_ARG(third), FS_ARG(small), FS_ARG(byte)),
              QStringLiteral("(half=0.5, third=0.3333333, small=-32768, byte=255)"));
    const bool yes = true;
    const bool no = false;
    const QString name = QStringLiteral("It's a \"song\"");
    EXPECT_EQ(fs::argText(FS_ARG(yes), FS_ARG(no), FS_ARG(name)),
              QStringLiteral("(yes=True, no=False, name=It's a \"song\")"));
    QObject* obj = nullptr;
    const Colour colour = Colour::Red;
    EXPECT_EQ(fs::argText(FS_ARG(obj), FS_ARG(colour)), QStringLiteral("(obj=<object>, colour=3)"));
}

TEST_F(FsTest, NumbersUseThePointWhateverTheLocale) {
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    const double speed = 62.5;
    const QString text = fs::argText(FS_ARG(speed));
    QLocale::setDefault(before);
    EXPECT_EQ(text, QStringLiteral("(speed=62.5)"));
}

TEST_F(FsTest, VariantsPrintOnlyTheirPrintableTypes) {
    auto v = [](const QVariant& x) {
        QString s;
        fs::appendArgValue(s, x);
        return s;
    };
    EXPECT_EQ(v(QVariant(short(2))), QStringLiteral("2"));
    EXPECT_EQ(v(QVariant(70000)), QStringLiteral("70000"));
    EXPECT_EQ(v(QVariant(2.25f)), QStringLiteral("2.25"));
    EXPECT_EQ(v(QVariant(1e20)), QStringLiteral("1e+20"));
    EXPECT_EQ(v(QVariant(QStringLiteral("Wave"))), QStringLiteral("Wave"));
    EXPECT_EQ(v(QVariant(true)), QStringLiteral("True"));
    EXPECT_EQ(v(QVariant::fromValue<uchar>(17)), QStringLiteral("17"));
    EXPECT_EQ(v(QVariant(QDate(2024, 3, 9))), QStringLiteral("2024-03-09"));
    EXPECT_EQ(v(QVariant::fromValue(nullptr)), QString()); // Null
    EXPECT_EQ(v(QVariant()), QStringLiteral("<variant>")); // Empty
    EXPECT_EQ(v(QVariant(QStringList{QStringLiteral("a")})), QStringLiteral("<variant>"));
    EXPECT_EQ(v(QVariant(QPoint(1, 2))), QStringLiteral("<variant>"));
}

TEST_F(FsTest, CaptureToDiskWritesHeaderAndLinesWithAllColumns) {
    // A file with the section and no column keys: every column is on.
    writeIni(QStringLiteral("[Log File]\r\nCapture To Disk=1\r\n"));
    outer();
    const QStringList lines = logLines();
    ASSERT_EQ(lines.size(), 6) << qPrintable(lines.join(u'\n'));
    EXPECT_EQ(lines[0], QStringLiteral("FailSafe(tm) : Program START"));
    EXPECT_EQ(lines[1],
              QStringLiteral("test_failsafe - start FailSafe client v2.0.0 data capture ") +
                  QDate::currentDate().toString(QStringLiteral("yyyy-MM-dd")));
    const QString head = QStringLiteral(R"(^\[test_failsafe\] \[(\d{5})\] \[\d{5}\.\d{4}\] )");
    const QString tail = QStringLiteral(R"( : \[res =\d{1,3}%, mem = \d+\] : $)");
    const QRegularExpression call1(head + QStringLiteral("->test module : Sub outer : \\(\\)") +
                                   tail);
    const QRegularExpression call2(
        head + QStringLiteral("->\\ttest module : Sub leaf : \\(a=7, s=in\\)") + tail);
    const QRegularExpression ret2(head + QStringLiteral("<- : Sub leaf : \\(a=7, s=in\\) : 2") +
                                  tail);
    const QRegularExpression ret1(head + QStringLiteral("<- : Sub outer : \\(\\) : 1") + tail);
    EXPECT_TRUE(call1.match(lines[2]).hasMatch()) << qPrintable(lines[2]);
    EXPECT_TRUE(call2.match(lines[3]).hasMatch()) << qPrintable(lines[3]);
    EXPECT_TRUE(ret2.match(lines[4]).hasMatch()) << qPrintable(lines[4]);
    EXPECT_TRUE(ret1.match(lines[5]).hasMatch()) << qPrintable(lines[5]);
    EXPECT_EQ(call1.match(lines[2]).captured(1), QStringLiteral("00001"));
    EXPECT_EQ(ret1.match(lines[5]).captured(1), QStringLiteral("00004"));
    // Every line ends with CR LF, nothing else follows.
    EXPECT_TRUE(readFile(home.file(QStringLiteral("error.log"))).endsWith("] : \r\n"));
}

TEST_F(FsTest, ColumnsFollowTheIncludeSection) {
    writeIni(QStringLiteral("[log file]\nCapture To Disk=1\n[include]\nResources=0\nMemory=0\n"
                            "User=0\nArguments=0\n"));
    leaf(3, QStringLiteral("cut"));
    const QStringList lines = logLines();
    ASSERT_EQ(lines.size(), 4);
    EXPECT_TRUE(lines[2].endsWith(QStringLiteral("] ->test module : Sub leaf")))
        << qPrintable(lines[2]);
    EXPECT_TRUE(lines[3].endsWith(QStringLiteral("] <- : Sub leaf"))) << qPrintable(lines[3]);

    struct Case {
        const char* include;
        const char* pattern;
    };
    const Case cases[] = {
        {"Resources=1\nMemory=0\nUser=0", R"(\(a=3, s=cut\) : \[res =\d{1,3}%\]$)"},
        {"Resources=0\nMemory=1\nUser=0", R"(\(a=3, s=cut\) : \[mem = \d+\]$)"},
        {"Resources=0\nMemory=0\nUser=1", R"(\(a=3, s=cut\) : $)"},
        {"Resources=0\nMemory=0\nUser=0", R"(\(a=3, s=cut\)$)"},
    };
    for (const Case& c : cases) {
        fsReset();
        QFile::remove(home.file(QStringLiteral("error.log")));
        writeIni(QStringLiteral("[log file]\nCapture To Disk=1\n[include]\n") +
                 QLatin1StringView(c.include));
        leaf(3, QStringLiteral("cut"));
        const QStringList l = logLines();
        ASSERT_EQ(l.size(), 4) << c.include;
        EXPECT_TRUE(QRegularExpression(QLatin1StringView(c.pattern)).match(l[2]).hasMatch())
            << c.include << " / " << qPrintable(l[2]);
    }
}

TEST_F(FsTest, CapturedLinesAreOnDiskAtOnceAndAppended) {
    writeFile(home.file(QStringLiteral("error.log")), "earlier run\r\n");
    writeIni(QStringLiteral(
        "[log file]\nCapture To Disk=1\n[include]\nResources=0\nMemory=0\nUser=0\n"));
    fsPUSH(kMod, "Sub a", QStringLiteral("()"));
    // The call line is in the file while the procedure still runs.
    QStringList lines = logLines();
    ASSERT_EQ(lines.size(), 4);
    EXPECT_EQ(lines[0], QStringLiteral("earlier run"));
    EXPECT_TRUE(lines[3].endsWith(QStringLiteral("->test module : Sub a : ()")));
    fsPOP(kMod, "Sub a", QStringLiteral("()"));
    lines = logLines();
    ASSERT_EQ(lines.size(), 5);
    EXPECT_TRUE(lines[4].endsWith(QStringLiteral("<- : Sub a : () : 1")));
}

TEST_F(FsTest, TimesNeverGoBackwards) {
    writeIni(QStringLiteral(
        "[log file]\nCapture To Disk=1\n[include]\nResources=0\nMemory=0\nUser=0\n"));
    for (int i = 0; i < 20; ++i)
        leaf(i, QStringLiteral("t"));
    const QRegularExpression time(QStringLiteral(R"(\] \[(\d{5}\.\d{4})\] )"));
    double previous = -1;
    int seen = 0;
    for (const QString& line : logLines()) {
        const auto m = time.match(line);
        if (!m.hasMatch())
            continue;
        const double t = m.captured(1).toDouble();
        EXPECT_GE(t, previous);
        previous = t;
        ++seen;
    }
    EXPECT_EQ(seen, 40);
}

TEST_F(FsTest, LogFileKeyNamesTheFile) {
    writeIni(QStringLiteral("[log file]\nCapture To Disk=1\nLog File=trace.txt\n"));
    leaf(1, QStringLiteral("x"));
    EXPECT_EQ(fsLogFileName(), home.file(QStringLiteral("trace.txt")));
    EXPECT_EQ(logLines(QStringLiteral("trace.txt")).size(), 4);
    EXPECT_FALSE(QFileInfo::exists(home.file(QStringLiteral("error.log"))));

    // A name with a folder is taken as it stands.
    QTemporaryDir other;
    fsReset();
    writeIni(QStringLiteral("[log file]\nCapture To Disk=1\nLog File=") + other.path() +
             QStringLiteral("/elsewhere.log\n"));
    leaf(1, QStringLiteral("x"));
    EXPECT_TRUE(readFile(other.path() + QStringLiteral("/elsewhere.log")).contains("Sub leaf"));
}

// The stack and the logs have no lock: a procedure traced on a worker thread would tear
// them without a sign. A debug build stops at the first such call.
TEST_F(FsTest, ADebugBuildStopsAtATracedCallOffTheUiThread) {
#ifdef QT_NO_DEBUG
    GTEST_SKIP() << "the check is made in debug builds only";
#else
    // A fresh process runs the statement: a fork would carry the application's threads.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            std::thread worker([] { fsPUSH(kMod, "Sub onAWorker", QString()); });
            worker.join();
        },
        "outside the UI thread");
    EXPECT_DEATH(
        {
            fsPUSH(kMod, "Sub onAWorker", QString());
            std::thread worker([] { fsPOP(kMod, "Sub onAWorker", QString()); });
            worker.join();
        },
        "outside the UI thread");
    // The UI thread itself passes.
    leaf(1, QStringLiteral("here"));
    EXPECT_EQ(fsCallDepth, 0);
#endif
}
