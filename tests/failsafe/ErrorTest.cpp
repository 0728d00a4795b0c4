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

using namespace fstest;

namespace {
QString headline(const QString& category, const QString& where = {}) {
    return QStringLiteral("An unexpected '") + category + QStringLiteral("' error occurred in ") +
           where + Prompts::appTitle() + u'.';
}
} // namespace

// Continue leaves the body, Retry and Break run it again, as often as the user says so;
// "Silent Run" asks nothing and leaves.
TEST_F(FsTest, TheAnswerDecidesWhetherTheBodyRunsAgain) {
    struct Case {
        QList<int> answers;
        bool silent;
        int failures; // how many runs of the body fail
        int runs;
        bool finished;
    };
    const Case cases[] = {
        {{fsaction::Leave}, false, 99, 1, false},
        {{fsaction::Retry}, false, 1, 2, true},
        {{fsaction::Break}, false, 1, 2, true},
        {{fsaction::Retry, fsaction::Retry, fsaction::ResumeNext}, false, 99, 3, false},
        {{fsaction::Retry}, true, 99, 1, false},
    };
    for (const Case& c : cases) {
        restart();
        QFile::remove(home.file(QStringLiteral("error.log")));
        QFile::remove(home.file(QStringLiteral("FSCLIENT.INI")));
        if (c.silent)
            writeIni(QStringLiteral("[preferences]\nSilent Run=1\n[log file]\nWrite To Disk=1\n"));
        for (int answer : c.answers)
            Prompts::pushAnswer(answer);
        int runs = 0;
        bool finished = false;
        fs::trap(kMod, "Sub flaky", [&] {
            FS_PROC(kMod, "Sub flaky", FS_ARG(runs));
            if (++runs <= c.failures)
                thrower(errnum::FileNotFound);
            finished = true;
        });
        const std::string which = std::to_string(c.answers.last()) + (c.silent ? " silent" : "");
        EXPECT_EQ(runs, c.runs) << which;
        EXPECT_EQ(finished, c.finished) << which;
        EXPECT_EQ(fsErrorCount, qMin(c.runs, c.failures)) << which;
        const auto dialogs = records(QStringLiteral("dialog"));
        EXPECT_EQ(dialogs.size(), c.silent ? 0 : fsErrorCount) << which;
        for (const Prompts::Record& d : dialogs)
            EXPECT_EQ(d.text,
                      headline(QStringLiteral("File System (disk, directory or file) access")));
        EXPECT_EQ(logLines().contains(QStringLiteral("Error No. \t*Error 53")), c.silent);
        EXPECT_EQ(fsAction, c.silent ? fsaction::Leave : c.answers.last()) << which;
        EXPECT_FALSE(fsInError);
        EXPECT_EQ(Err.Number, 0);
        EXPECT_EQ(fsCallDepth, 0);
    }
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
        failing();
    });
    EXPECT_EQ(fsCallTree(),
              (QStringList{
                  QStringLiteral("Sub handler : test module : () : Trap : Runtime error 11, "
                                 "Division by zero on line 0"),
                  QStringLiteral("\tSub failing : test module : () : Error"),
              }));
    EXPECT_EQ(fsCurrentError().number, errnum::DivisionByZero);
}

TEST_F(FsTest, OtherExceptionsAreInternalErrors) {
    fs::trap(kMod, "Sub std", [] { throw std::runtime_error("vector too long"); });
    EXPECT_EQ(fsCurrentError().number, errnum::InternalError);
    EXPECT_EQ(fsCurrentError().text, u"vector too long");
    fs::trap(kMod, "Sub alloc", [] { throw std::bad_alloc(); });
    EXPECT_EQ(fsCurrentError().number, errnum::OutOfMemory);
    EXPECT_EQ(fsCurrentError().text, u"Out of memory");
    EXPECT_EQ(records(QStringLiteral("dialog")).size(), 2);
}

TEST_F(FsTest, RemoteErrorsArePickedApart) {
    fs::trap(kMod, "Sub callServer", [] {
        raiseError(440, QStringLiteral("Server failed!RemoteSrv!Sub doIt!srv.cls!12"));
    });
    FsErrorSlot e = fsCurrentError();
    EXPECT_TRUE(e.remote);
    EXPECT_EQ(e.text, u"Server failed");
    EXPECT_EQ(e.source, u"RemoteSrv (remote)");
    EXPECT_EQ(e.procedure, u"Sub doIt");
    EXPECT_EQ(e.module, u"srv.cls");
    EXPECT_EQ(e.line, 12);
    EXPECT_EQ(records(QStringLiteral("dialog")).last().text,
              headline(QStringLiteral("Object Linking and Embedding"),
                       QStringLiteral("a component used by ")));

    fs::trap(kMod, "Sub callServer", [] { raiseError(440, QStringLiteral("Only text!")); });
    e = fsCurrentError();
    EXPECT_EQ(e.source, u"<unknown> (remote)");
    EXPECT_EQ(e.procedure, u"<unknown>");
    EXPECT_EQ(e.module, u"<unknown>");
}

TEST_F(FsTest, ReportBlockInTheLogFileWithTheCallTree) {
    writeIni(QStringLiteral("[log file]\nWrite To Disk=1\nCapture To Disk=1\n") + kFixedColumns);
    fs::trap(kMod, "Sub outer", [] { outer(); });
    const QStringList lines = logLines();
    // The trace line of the trap comes before the block.
    const qsizetype trapLine = lines.indexOf(QRegularExpression(
        QStringLiteral(R"(^\[test_failsafe\] \[00007\] \[\d{5}\.\d{4}\] << ERROR >> 6 at )"
                       R"(Sub outer : test module: Line 0$)")));
    ASSERT_GE(trapLine, 0) << qPrintable(lines.join(u'\n'));
    // Lines ending in "*" are the start of what stands there; the others are whole.
    const QStringList expected = {
        QStringLiteral("Program Error Intercepted *"),
        QString(72, u'*'),
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
        QStringLiteral("Application running on computer *"),
    };
    ASSERT_GE(lines.size(), trapLine + 1 + expected.size());
    for (qsizetype i = 0; i < expected.size(); ++i) {
        const QString& want = expected[i];
        const QString& got = lines[trapLine + 1 + i];
        EXPECT_TRUE(want.endsWith(u" *") ? got.startsWith(want.chopped(1)) : got == want)
            << "got " << qPrintable(got) << ", expected " << qPrintable(want);
    }
    EXPECT_EQ(fsCallTree(), expected.mid(11, 3));
    EXPECT_TRUE(lines.contains(QStringLiteral("Memory Information")));
    EXPECT_TRUE(fsSystemReportMade());
}

// The report takes a moment to make: only a log that takes it, a look at its tab, or the
// setting that forces it makes it.
TEST_F(FsTest, SystemReportOnlyWhenNeeded) {
    fs::trap(kMod, "Sub outer", [] { outer(); });
    EXPECT_FALSE(fsSystemReportMade());
    fsReset();
    writeIni(QStringLiteral("[preferences]\nForce System Info=1\n"));
    fs::trap(kMod, "Sub outer", [] { outer(); });
    EXPECT_TRUE(fsSystemReportMade());
    EXPECT_TRUE(
        fsSystemReport().contains(QStringLiteral("\n   Path................") + home.path()));
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
    EXPECT_EQ(boxes[0].title, u"FailSafe");
    EXPECT_EQ(boxes[0].text, u"13, 'Type mismatch', inside FAILSAFE.BAS");
    EXPECT_FALSE(fsInError);
}

TEST_F(FsTest, EventsWaitWhileTheDialogIsUp) {
    // A timer whose handler is traced fires while the real dialog is shown: its procedure
    // must not run until the user has answered.
    Prompts::setScripted(false);
    bool fired = false;
    bool answered = false;
    bool ran = false;
    bool ranAfterAnswer = false;
    QTimer::singleShot(30, [&] {
        fired = true;
        FS_PROC(kMod, "Sub tmrTick_Timer");
        ran = true;
        ranAfterAnswer = answered;
    });
    // The user answers once the dialog is up and the timer has fired.
    QTimer answer;
    QObject::connect(&answer, &QTimer::timeout, [&] {
        for (QWidget* w : QApplication::topLevelWidgets()) {
            auto* dlg = qobject_cast<frmFAILSAFE*>(w);
            if (fired && !answered && dlg && dlg->isVisible()) {
                answered = true;
                dlg->findChild<QPushButton*>(QStringLiteral("nsCtrlContinue"))->click();
            }
        }
    });
    answer.start(10);
    fs::trap(kMod, "Sub outer", [] { outer(); });
    answer.stop();
    Prompts::setScripted(true);
    QCoreApplication::processEvents();
    EXPECT_TRUE(ran);
    EXPECT_TRUE(ranAfterAnswer);
    EXPECT_EQ(fsAction, fsaction::Leave);
    EXPECT_EQ(fsUserSaid, u"Type in what you were doing here.");
    EXPECT_FALSE(fsInError);
    EXPECT_EQ(fsCallDepth, 0);
}
