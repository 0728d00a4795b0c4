// The procedure trace: stack balance on every exit path, the depth limit, argument texts,
// and the trace lines that "Capture To Disk" writes.
#include "FsFixture.h"

#include <QDate>
#include <QFileInfo>
#include <QLocale>
#include <QPoint>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <thread>

using namespace fstest;

namespace {

int earlyReturn(int x) {
    FS_PROC(kMod, "Function earlyReturn", FS_ARG(x));
    if (x > 0)
        return 1;
    leaf(x, QStringLiteral("late"));
    return 0;
}

void twoLevels() {
    FS_PROC(kMod, "Sub twoLevels");
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
    EXPECT_EQ(seen, QStringList{QStringLiteral("test module : Sub leaf : (a=1, s=x) : 1")});

    EXPECT_EQ(earlyReturn(5), 1);
    EXPECT_EQ(fsCallDepth, 0);
    EXPECT_EQ(earlyReturn(0), 0);
    EXPECT_EQ(fsCallDepth, 0);
    EXPECT_EQ(seen, (QStringList{QStringLiteral("test module : Function earlyReturn : (x=0) : 1"),
                                 QStringLiteral("\ttest module : Sub leaf : (a=0, s=late) : 2")}));

    EXPECT_THROW(thrower(6), AppError);
    EXPECT_EQ(fsCallDepth, 0);
    EXPECT_TRUE(fsCallStackLines().isEmpty());

    // The stack works normally after all of that.
    twoLevels();
    ASSERT_EQ(seen.size(), 2);
    EXPECT_EQ(seen[1], u"\ttest module : Sub leaf : (a=7, s=in) : 2");
    EXPECT_EQ(fsCallDepth, 0);
}

TEST_F(FsTest, AnUnbalancedExitLeavesTheDepthAloneAndADisabledTraceRecordsNothing) {
    fsPUSH(kMod, "Sub a", QStringLiteral("()"));
    fsPOP(kMod, "Sub other", QStringLiteral("()"));
    EXPECT_EQ(fsCallDepth, 1);
    fsPOP(kMod, "Sub a", QStringLiteral("()"));
    EXPECT_EQ(fsCallDepth, 0);
    fsPOP(kMod, "Sub a", QStringLiteral("()")); // nothing pushed
    EXPECT_EQ(fsCallDepth, 0);

    restart();
    fsDisabled = true;
    leaf(1, QStringLiteral("x"));
    EXPECT_TRUE(seen.isEmpty());
    EXPECT_FALSE(fsStarted);
}

TEST_F(FsTest, CallsBelowDepth1000AreCountedButNotRecorded) {
    writeIni(QStringLiteral("[log file]\nCapture To Disk=1\n") + kFixedColumns);
    recurse(1004); // 1005 levels
    EXPECT_EQ(g_deepestDepth, 1005);
    EXPECT_EQ(g_deepestRecorded, 1000);
    EXPECT_EQ(fsCallDepth, 0);
    // The recorded levels are the first thousand; nothing at the dropped ones was written.
    const QStringList lines = logLines();
    const auto calls = lines.filter(QStringLiteral("] ->"));
    EXPECT_EQ(calls.size(), 1000);
    EXPECT_EQ(lines.filter(QStringLiteral("] <-")).size(), 1000);
    EXPECT_TRUE(calls.last().endsWith(u"Sub recurse : (n=5)"));
    // Their times never go backwards.
    const QRegularExpression time(QStringLiteral(R"(\] \[(\d{5}\.\d{4})\] )"));
    double previous = -1;
    for (const QString& line : lines.mid(2)) {
        const auto m = time.match(line);
        ASSERT_TRUE(m.hasMatch()) << qPrintable(line);
        EXPECT_GE(m.captured(1).toDouble(), previous);
        previous = m.captured(1).toDouble();
    }
    // And the program goes on with a sound stack.
    leaf(2, QStringLiteral("after"));
    ASSERT_EQ(seen.size(), 1);
    EXPECT_TRUE(seen[0].endsWith(u" : 1"));
}

TEST_F(FsTest, ArgumentTextsUseThePointWhateverTheLocale) {
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    const double half = 0.5;
    const float third = 1.0f / 3.0f;
    const qint16 small = -32768;
    const unsigned char byte = 255;
    const bool yes = true;
    const bool no = false;
    const QString name = QStringLiteral("It's a \"song\"");
    QObject* obj = nullptr;
    const Colour colour = Colour::Red;
    const QString texts[] = {
        fs::argText(FS_ARG(half), FS_ARG(third), FS_ARG(small), FS_ARG(byte)),
        fs::argText(FS_ARG(yes), FS_ARG(no), FS_ARG(name)),
        fs::argText(FS_ARG(obj), FS_ARG(colour)),
    };
    QLocale::setDefault(before);
    EXPECT_EQ(texts[0], u"(half=0.5, third=0.3333333, small=-32768, byte=255)");
    EXPECT_EQ(texts[1], u"(yes=True, no=False, name=It's a \"song\")");
    EXPECT_EQ(texts[2], u"(obj=<object>, colour=3)");
}

TEST_F(FsTest, VariantsPrintOnlyTheirPrintableTypes) {
    const std::pair<QVariant, const char*> cases[] = {
        {QVariant(1e20), "1e+20"},
        {QVariant(true), "True"},
        {QVariant::fromValue(nullptr), ""}, // Null
        {QVariant(), "<variant>"},          // Empty
        {QVariant(QPoint(1, 2)), "<variant>"},
    };
    for (const auto& [value, text] : cases) {
        QString s;
        fs::appendArgValue(s, value);
        EXPECT_EQ(s, QLatin1StringView(text)) << value.typeName();
    }
}

TEST_F(FsTest, CaptureToDiskWritesHeaderAndLinesWithAllColumns) {
    // A file with the section and no column keys: every column is on.
    writeIni(QStringLiteral("[Log File]\r\nCapture To Disk=1\r\n"));
    twoLevels();
    const QStringList lines = logLines();
    ASSERT_EQ(lines.size(), 6) << qPrintable(lines.join(u'\n'));
    EXPECT_EQ(lines[0], u"FailSafe(tm) : Program START");
    EXPECT_EQ(lines[1],
              QStringLiteral("test_failsafe - start FailSafe client v2.0.0 data capture ") +
                  QDate::currentDate().toString(QStringLiteral("yyyy-MM-dd")));
    const QString head = QStringLiteral(R"(^\[test_failsafe\] \[0000%1\] \[\d{5}\.\d{4}\] )");
    const QString tail = QStringLiteral(R"( : \[res =\d{1,3}%, mem = \d+\] : $)");
    const QString bodies[] = {
        QStringLiteral(R"(->test module : Sub twoLevels : \(\))"),
        QStringLiteral(R"(->\ttest module : Sub leaf : \(a=7, s=in\))"),
        QStringLiteral(R"(<- : Sub leaf : \(a=7, s=in\) : 2)"),
        QStringLiteral(R"(<- : Sub twoLevels : \(\) : 1)"),
    };
    for (int i = 0; i < 4; ++i) {
        const QRegularExpression line(head.arg(i + 1) + bodies[i] + tail);
        EXPECT_TRUE(line.match(lines[i + 2]).hasMatch()) << qPrintable(lines[i + 2]);
    }
    // Every line ends with CR LF, nothing else follows.
    EXPECT_TRUE(readFile(home.file(QStringLiteral("error.log"))).endsWith("] : \r\n"));
}

TEST_F(FsTest, ColumnsFollowTheIncludeSection) {
    struct Case {
        const char* include;
        const char* call; // what the call line ends with
        const char* ret;  // and the return line
    };
    const Case cases[] = {
        {"Resources=1\nMemory=0\nUser=0", R"(\(a=3, s=cut\) : \[res =\d{1,3}%\]$)", nullptr},
        {"Resources=0\nMemory=1\nUser=0", R"(\(a=3, s=cut\) : \[mem = \d+\]$)", nullptr},
        {"Resources=0\nMemory=0\nUser=1", R"(\(a=3, s=cut\) : $)", nullptr},
        {"Resources=0\nMemory=0\nUser=0", R"(\(a=3, s=cut\)$)",
         R"(: Sub leaf : \(a=3, s=cut\) : 1$)"},
        {"Resources=0\nMemory=0\nUser=0\nArguments=0", R"(\] ->test module : Sub leaf$)",
         R"(\] <- : Sub leaf$)"},
    };
    for (const Case& c : cases) {
        restart();
        QFile::remove(home.file(QStringLiteral("error.log")));
        writeIni(QStringLiteral("[log file]\nCapture To Disk=1\n[include]\n") +
                 QLatin1StringView(c.include));
        leaf(3, QStringLiteral("cut"));
        const QStringList l = logLines();
        ASSERT_EQ(l.size(), 4) << c.include;
        EXPECT_TRUE(QRegularExpression(QLatin1StringView(c.call)).match(l[2]).hasMatch())
            << c.include << " / " << qPrintable(l[2]);
        if (c.ret)
            EXPECT_TRUE(QRegularExpression(QLatin1StringView(c.ret)).match(l[3]).hasMatch())
                << c.include << " / " << qPrintable(l[3]);
    }
}

// The log is appended to, a line at a time as it happens, in the home folder unless its
// name has a folder of its own.
TEST_F(FsTest, TheLogFileIsNamedByItsKeyAndEachLineIsOnDiskAtOnce) {
    writeFile(home.file(QStringLiteral("trace.txt")), "earlier run\r\n");
    writeIni(QStringLiteral("[log file]\nCapture To Disk=1\nLog File=trace.txt\n") + kFixedColumns);
    fsPUSH(kMod, "Sub a", QStringLiteral("()"));
    EXPECT_EQ(fsLogFileName(), home.file(QStringLiteral("trace.txt")));
    // The call line is in the file while the procedure still runs.
    QStringList lines = logLines(QStringLiteral("trace.txt"));
    ASSERT_EQ(lines.size(), 4);
    EXPECT_EQ(lines[0], u"earlier run");
    EXPECT_TRUE(lines[3].endsWith(u"->test module : Sub a : ()"));
    fsPOP(kMod, "Sub a", QStringLiteral("()"));
    lines = logLines(QStringLiteral("trace.txt"));
    ASSERT_EQ(lines.size(), 5);
    EXPECT_TRUE(lines[4].endsWith(u"<- : Sub a : () : 1"));
    EXPECT_FALSE(QFileInfo::exists(home.file(QStringLiteral("error.log"))));

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
