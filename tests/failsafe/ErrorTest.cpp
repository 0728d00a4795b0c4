// The trap: error classes, fsERROR's answers, the call tree, the report in the log file.
#include "FsFixture.h"

#include "failsafe/ErrorClasses.h"
#include "failsafe/frmFAILSAFE.h"

#include <QApplication>
#include <QPushButton>
#include <QRegularExpression>
#include <QTimer>
#include <new>
#include <stdexcept>

namespace {

const char* const kMod = "test module";

void thrower(int n) {
    FS_PROC(kMod, "Sub thrower", FS_ARG(n));
    raiseError(n);
}

void middle(int x) {
    FS_PROC(kMod, "Sub middle", FS_ARG(x));
    thrower(6);
}

void outer() {
    FS_PROC(kMod, "Sub outer");
    middle(3);
}

void other() {
    FS_PROC(kMod, "Sub other");
    raiseError(errnum::DivisionByZero);
}

QString headline(const QString& category) {
    return QStringLiteral("An unexpected '") + category + QStringLiteral("' error occurred in ") +
           Prompts::appTitle() + u'.';
}

} // namespace

TEST(ErrorClassesTest, NumbersFallIntoTheirClasses) {
    struct Case {
        int number;
        const char* category;
    };
    const Case cases[] = {
        {6, "General run-time"},
        {3, "General run-time"},
        {53, "File System (disk, directory or file) access"},
        {91, "Non-initialzed object or variant"},
        {280, "Dynamic Data Exchange protocol"},
        {380, "Form, control, property or object value"},
        {400, "Form or MDI child form"},
        {424, "Object reference"},
        {429, "Object Linking and Embedding"},
        {521, "Clipboard access or format"},
        {480, "Printer access"},
        {486, "Printer access"},
        {3000, "Data Access"},
        {3021, "Data Access"},
        {3999, "Data Access"},
        {31001, "OLE Container Control"},
        {errnum::MediaDeviceNotOpen, "Custom Control or user defined"},
        {errnum::ComponentFailure, "Custom Control or user defined"},
        {32999, "Custom Control or user defined"},
        {35600, "Windows 95 Custom Control"},
        {35618, "Windows 95 Custom Control"},
        {40000, "Remote Data Object (RDO)"},
        {40059, "Remote Data Object (RDO)"},
        {40500, "Remote Data Control (RDC)"},
        {40516, "Remote Data Control (RDC)"},
        {ErrorClasses::ObjectErrorBase + 513, "User defined "},
        {0, "Unknown Error Class"},
        {2, "Unknown Error Class"},
        {95, "Unknown Error Class"},
        {4000, "Unknown Error Class"},
        {35619, "Unknown Error Class"},
        {40060, "Unknown Error Class"},
        {40517, "Unknown Error Class"},
        {-1, "Unknown Error Class"},
        {99999, "Unknown Error Class"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ErrorClasses::categoryOf(c.number), QString::fromLatin1(c.category)) << c.number;
    EXPECT_EQ(ErrorClasses::categoryText(60), QStringLiteral("Network "));
    EXPECT_EQ(ErrorClasses::categoryText(61), QStringLiteral("Unknown Error Class"));
}

TEST_F(FsTest, ContinueLeavesTheHandler) {
    int runs = 0;
    bool finished = false;
    fs::trap(kMod, "Sub outer", [&] {
        ++runs;
        outer();
        finished = true;
    });
    EXPECT_EQ(runs, 1);
    EXPECT_FALSE(finished);
    const auto dialogs = records(QStringLiteral("dialog"));
    ASSERT_EQ(dialogs.size(), 1);
    EXPECT_EQ(dialogs[0].text, headline(QStringLiteral("General run-time")));
    EXPECT_EQ(fsAction, fsaction::Leave);
    EXPECT_FALSE(fsInError);
    EXPECT_EQ(Err.Number, 0);
    EXPECT_EQ(fsCallDepth, 0);
    EXPECT_EQ(fsErrorCount, 1);
}

TEST_F(FsTest, RetryRunsTheBodyAgain) {
    for (int answer : {fsaction::Retry, fsaction::Break}) {
        fsReset();
        Prompts::clear();
        Prompts::pushAnswer(answer);
        int runs = 0;
        bool finished = false;
        fs::trap(kMod, "Sub flaky", [&] {
            FS_PROC(kMod, "Sub flaky", FS_ARG(runs));
            ++runs;
            if (runs == 1)
                raiseError(errnum::FileNotFound);
            finished = true;
        });
        EXPECT_EQ(runs, 2) << answer;
        EXPECT_TRUE(finished) << answer;
        EXPECT_EQ(records(QStringLiteral("dialog")).size(), 1) << answer;
        EXPECT_EQ(fsCallDepth, 0);
    }
}

TEST_F(FsTest, RetryGoesOnWhileTheUserSaysSo) {
    Prompts::pushAnswer(fsaction::Retry);
    Prompts::pushAnswer(fsaction::Retry);
    Prompts::pushAnswer(fsaction::ResumeNext);
    int runs = 0;
    fs::trap(kMod, "Sub stubborn", [&] {
        ++runs;
        thrower(errnum::PermissionDenied);
    });
    EXPECT_EQ(runs, 3);
    EXPECT_EQ(records(QStringLiteral("dialog")).size(), 3);
    EXPECT_EQ(fsErrorCount, 3);
}

TEST_F(FsTest, SilentRunAsksNothingAndLeaves) {
    writeIni(QStringLiteral("[preferences]\nSilent Run=1\n[log file]\nWrite To Disk=1\n"));
    Prompts::pushAnswer(fsaction::Retry); // must not be used
    int runs = 0;
    fs::trap(kMod, "Sub outer", [&] {
        ++runs;
        outer();
    });
    EXPECT_EQ(runs, 1);
    EXPECT_TRUE(records(QStringLiteral("dialog")).isEmpty());
    EXPECT_TRUE(logLines().contains(QStringLiteral("Error No. \t*Error 6")));
}

TEST_F(FsTest, CallTreeMarksTrapAndError) {
    fs::trap(kMod, "Sub outer", [] { outer(); });
    EXPECT_EQ(fsCallTree(),
              (QStringList{
                  QStringLiteral("Sub outer : test module : () : Trap : Runtime error 6, "
                                 "Overflow on line 0"),
                  QStringLiteral("\tSub middle : test module : (x=3) : Call"),
                  QStringLiteral("\t\tSub thrower : test module : (n=6) : Error"),
              }));
}

TEST_F(FsTest, CallTreeOfATrapWithoutFrameAndBelowACaller) {
    // The trap runs inside a traced procedure, and its body calls straight into another.
    {
        FS_PROC(kMod, "Sub caller");
        fs::trap(kMod, "Sub tmrX_Timer", [] { middle(8); });
    }
    EXPECT_EQ(fsCallTree(),
              (QStringList{
                  QStringLiteral("Sub caller : test module : () : Call"),
                  QStringLiteral("\tSub tmrX_Timer : test module : Trap : Runtime error 6, "
                                 "Overflow on line 0"),
                  QStringLiteral("\t\tSub middle : test module : (x=8) : Call"),
                  QStringLiteral("\t\t\tSub thrower : test module : (n=6) : Error"),
              }));
    EXPECT_EQ(fsCallDepth, 0);
}

TEST_F(FsTest, CallTreeIsTheLatestErrors) {
    // An error swallowed deeper down must not stand for the one that reaches the trap.
    fs::trap(kMod, "Sub handler", [] {
        FS_PROC(kMod, "Sub handler");
        fs::ignoreErrors([] { middle(1); });
        other();
    });
    EXPECT_EQ(fsCallTree(),
              (QStringList{
                  QStringLiteral("Sub handler : test module : () : Trap : Runtime error 11, "
                                 "Division by zero on line 0"),
                  QStringLiteral("\tSub other : test module : () : Error"),
              }));
    EXPECT_EQ(fsCurrentError().number, errnum::DivisionByZero);
}

TEST_F(FsTest, OtherExceptionsAreInternalErrors) {
    fs::trap(kMod, "Sub std", [] { throw std::runtime_error("vector too long"); });
    EXPECT_EQ(fsCurrentError().number, errnum::InternalError);
    EXPECT_EQ(fsCurrentError().text, QStringLiteral("vector too long"));
    fs::trap(kMod, "Sub alloc", [] { throw std::bad_alloc(); });
    EXPECT_EQ(fsCurrentError().number, errnum::OutOfMemory);
    EXPECT_EQ(fsCurrentError().text, QStringLiteral("Out of memory"));
    EXPECT_EQ(records(QStringLiteral("dialog")).size(), 2);
}

TEST_F(FsTest, RemoteErrorsArePickedApart) {
    fs::trap(kMod, "Sub callServer", [] {
        raiseError(440, QStringLiteral("Server failed!RemoteSrv!Sub doIt!srv.cls!12"));
    });
    FsErrorSlot e = fsCurrentError();
    EXPECT_TRUE(e.remote);
    EXPECT_EQ(e.text, QStringLiteral("Server failed"));
    EXPECT_EQ(e.source, QStringLiteral("RemoteSrv (remote)"));
    EXPECT_EQ(e.procedure, QStringLiteral("Sub doIt"));
    EXPECT_EQ(e.module, QStringLiteral("srv.cls"));
    EXPECT_EQ(e.line, 12);
    EXPECT_EQ(records(QStringLiteral("dialog")).last().text,
              QStringLiteral("An unexpected 'Object Linking and Embedding' error occurred in a "
                             "component used by ") +
                  Prompts::appTitle() + u'.');

    fs::trap(kMod, "Sub callServer", [] { raiseError(440, QStringLiteral("Only text!")); });
    e = fsCurrentError();
    EXPECT_EQ(e.source, QStringLiteral("<unknown> (remote)"));
    EXPECT_EQ(e.procedure, QStringLiteral("<unknown>"));
    EXPECT_EQ(e.module, QStringLiteral("<unknown>"));

    fs::trap(kMod, "Sub local", [] { raiseError(errnum::FileNotFound); });
    e = fsCurrentError();
    EXPECT_FALSE(e.remote);
    EXPECT_EQ(e.source, QStringLiteral("Cantavox (local)"));
    EXPECT_EQ(e.module, QStringLiteral("test module"));
    EXPECT_EQ(e.procedure, QStringLiteral("Sub local"));
}

TEST_F(FsTest, ReportBlockInTheLogFile) {
    writeIni(QStringLiteral("[log file]\nWrite To Disk=1\nCapture To Disk=1\n"
                            "[include]\nResources=0\nMemory=0\nUser=0\n"));
    fs::trap(kMod, "Sub outer", [] { outer(); });
    const QStringList lines = logLines();
    // The trace line of the trap comes before the block.
    const qsizetype trapLine = lines.indexOf(QRegularExpression(
        QStringLiteral(R"(^\[test_failsafe\] \[00007\] \[\d{5}\.\d{4}\] << ERROR >> 6 at )"
                       R"(Sub outer : test module: Line 0$)")));
    ASSERT_GE(trapLine, 0) << qPrintable(lines.join(u'\n'));
    const QStringList expected = {
        QStringLiteral("*****"),
        QStringLiteral("Error Information"),
        QStringLiteral("Error No. \t*Error 6"),
        QStringLiteral("Description \tOverflow"),
        QStringLiteral("Category \tGeneral run-time"),
        QStringLiteral("Source \tCantavox (local)"),
        QStringLiteral("Procedure\tSub outer"),
        QStringLiteral("Line Number \t<unavailable: line numbers not used>"),
        QStringLiteral("Code Pointer : 0"),
        QStringLiteral("Call Tree & Arguments"),
        QStringLiteral("Sub outer : test module : () : Trap : Runtime error 6, Overflow on line 0"),
        QStringLiteral("\tSub middle : test module : (x=3) : Call"),
        QStringLiteral("\t\tSub thrower : test module : (n=6) : Error"),
        QString(),
        QStringLiteral("User Said"),
        QString(), // scripted: nothing typed
        QStringLiteral("System State Information"),
        QStringLiteral("Application running on computer "),
    };
    ASSERT_GT(lines.size(), trapLine + 2);
    EXPECT_TRUE(lines[trapLine + 1].startsWith(QStringLiteral("Program Error Intercepted ")));
    for (qsizetype i = 0; i < expected.size(); ++i) {
        const qsizetype at = trapLine + 2 + i;
        ASSERT_LT(at, lines.size());
        EXPECT_TRUE(expected[i].isEmpty() ? lines[at].isEmpty() : lines[at].startsWith(expected[i]))
            << "line " << at << ": " << qPrintable(lines[at]) << " expected "
            << qPrintable(expected[i]);
    }
    EXPECT_TRUE(lines.contains(QStringLiteral("Memory Information")));
    EXPECT_TRUE(fsSystemReportMade());
}

TEST_F(FsTest, SystemReportOnlyWhenNeeded) {
    fs::trap(kMod, "Sub outer", [] { outer(); });
    EXPECT_FALSE(fsSystemReportMade());
    fsReset();
    writeIni(QStringLiteral("[preferences]\nForce System Info=1\n"));
    fs::trap(kMod, "Sub outer", [] { outer(); });
    EXPECT_TRUE(fsSystemReportMade());
    const QString report = fsSystemReport();
    EXPECT_TRUE(report.contains(QStringLiteral("\n   Path................") + home.path()));
    EXPECT_TRUE(report.contains(QStringLiteral("\n   Number of CPUs......")));
    EXPECT_TRUE(report.contains(QStringLiteral("\n   Qt Version..........") +
                                QLatin1StringView(qVersion())));
}

TEST_F(FsTest, FailureInsideTheTrapGoesToTheInternalHandler) {
    Prompts::pushAnswer(QStringLiteral("not a number"));
    int runs = 0;
    fs::trap(kMod, "Sub outer", [&] {
        ++runs;
        outer();
    });
    EXPECT_EQ(runs, 1);
    const auto boxes = records(QStringLiteral("msgbox"));
    ASSERT_EQ(boxes.size(), 1);
    EXPECT_EQ(boxes[0].title, QStringLiteral("FailSafe"));
    EXPECT_EQ(boxes[0].text, QStringLiteral("13, 'Type mismatch', inside FAILSAFE.BAS"));
    EXPECT_FALSE(fsInError);
}

TEST_F(FsTest, EventsWaitWhileTheDialogIsUp) {
    // A timer whose handler is traced fires while the real dialog is shown: its procedure
    // must not run until the user has answered.
    Prompts::setScripted(false);
    bool answered = false;
    bool ranAfterAnswer = false;
    bool ran = false;
    QTimer::singleShot(30, [&] {
        FS_PROC(kMod, "Sub tmrTick_Timer");
        ran = true;
        ranAfterAnswer = answered;
    });
    QTimer::singleShot(200, [&] {
        auto* dlg = qobject_cast<frmFAILSAFE*>(QApplication::activeModalWidget());
        if (!dlg) {
            for (QWidget* w : QApplication::topLevelWidgets()) {
                if (auto* d = qobject_cast<frmFAILSAFE*>(w); d && d->isVisible())
                    dlg = d;
            }
        }
        ASSERT_NE(dlg, nullptr);
        answered = true;
        dlg->findChild<QPushButton*>(QStringLiteral("nsCtrlContinue"))->click();
    });
    fs::trap(kMod, "Sub outer", [] { outer(); });
    Prompts::setScripted(true);
    QCoreApplication::processEvents();
    EXPECT_TRUE(ran);
    EXPECT_TRUE(ranAfterAnswer);
    EXPECT_EQ(fsAction, fsaction::Leave);
    EXPECT_EQ(fsUserSaid, QStringLiteral("Type in what you were doing here."));
    EXPECT_FALSE(fsInError);
    EXPECT_EQ(fsCallDepth, 0);
}
