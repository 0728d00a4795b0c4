// Busy messages, the Cancel box, confirm and the scripted prompts.
#include "ProgramRun.h"
#include "TestHome.h"

#include "app/Forms.h"
#include "app/Messages.h"
#include "app/Prompts.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "app/messageForm.h"
#include "app/messages2.h"
#include "ui_messages2.h"

#include <QElapsedTimer>
#include <QStringList>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/resource.h>

TEST(Message, ShowsUntilOffWhichComparesExactly) {
    Message(QStringLiteral("Reading the disc"), QStringLiteral("Please wait"));
    auto* box = formIfLoaded<messageForm>();
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->text(), u"Reading the disc");
    EXPECT_EQ(box->windowTitle(), u"Please wait");
    EXPECT_TRUE(box->windowFlags().testFlag(Qt::WindowStaysOnTopHint));

    Message(QStringLiteral("Off"));
    ASSERT_TRUE(isLoaded(QStringLiteral("messageForm")));
    EXPECT_EQ(formIfLoaded<messageForm>()->text(), u"Off") << "\"Off\" is text, not the word off";
    EXPECT_FALSE(box->close()) << "the user can't answer the box";

    Message(QStringLiteral("off"));
    EXPECT_FALSE(isLoaded(QStringLiteral("messageForm")));
    Message(QStringLiteral("off")); // nothing up: no effect
    EXPECT_FALSE(isLoaded(QStringLiteral("messageForm")));
    ProgramRun::settle();
}

// The box of a long job: it holds the main window while it is up, and its Cancel stops only
// a digital read, after asking, and only closes the box of any other job.
TEST(Message2, TheCancelBoxHoldsTheWindowAndCancelsADigitalReadOnlyAfterAsking) {
    TestHome home;
    ProgramRun run;
    run.start();
    ASSERT_TRUE(run.waitUntilRunning());
    Prompts::clear(); // a first start without a CD drive asks for one
    run.main()->changeToMode(QStringLiteral("SlowPlay"));

    Message2(QStringLiteral("Working"), QStringLiteral("something"));
    EXPECT_FALSE(run.main()->isEnabled());
    formIfLoaded<messages2>()->ui()->btnCancel->click();
    EXPECT_FALSE(isLoaded(QStringLiteral("messages2")));
    EXPECT_TRUE(gvInSlowPlay) << "the work goes on";
    EXPECT_TRUE(run.main()->isEnabled());
    EXPECT_TRUE(Prompts::log().isEmpty());

    Message2(QStringLiteral("Reading digitally"), QStringLiteral("ACD"));
    auto* box = formIfLoaded<messages2>();
    Prompts::pushAnswer(vb::vbNo);
    box->ui()->btnCancel->click();
    ASSERT_EQ(Prompts::log().size(), 1);
    EXPECT_TRUE(Prompts::log()[0].text.contains(u"may have to be restarted"));
    EXPECT_EQ(Prompts::log()[0].buttons, vb::vbYesNo + vb::vbQuestion);
    EXPECT_TRUE(isLoaded(QStringLiteral("messages2"))) << "No keeps waiting";
    EXPECT_TRUE(gvInSlowPlay);

    Prompts::pushAnswer(vb::vbYes);
    box->ui()->btnCancel->click();
    EXPECT_FALSE(isLoaded(QStringLiteral("messages2")));
    EXPECT_FALSE(gvInSlowPlay);
    EXPECT_EQ(run.main()->currentMode(), u"CD");
    EXPECT_TRUE(run.main()->isEnabled());

    Message2(QStringLiteral("Recording..."), QStringLiteral("Analog Recording"));
    EXPECT_FALSE(run.main()->isEnabled());
    Message2(QStringLiteral("off"));
    EXPECT_FALSE(isLoaded(QStringLiteral("messages2")));
    EXPECT_TRUE(run.main()->isEnabled());
}

// Unanswered, a question takes its first button; confirm asks Yes or No.
TEST(Prompts, UnansweredPromptsTakeTheirDefaultsAndConfirmIsAYesNoQuestion) {
    Prompts::clear();
    EXPECT_EQ(Prompts::msgBox(QStringLiteral("a"), vb::vbRetryCancel), vb::vbRetry);
    EXPECT_EQ(Prompts::msgBox(QStringLiteral("b"), vb::vbYesNoCancel), vb::vbYes);
    EXPECT_EQ(Prompts::msgBox(QStringLiteral("c")), vb::vbOK);
    EXPECT_EQ(
        Prompts::inputBox(QStringLiteral("Letter?"), QStringLiteral("Drive"), QStringLiteral("D")),
        u"D");

    Prompts::clear();
    Prompts::pushAnswer(vb::vbNo);
    EXPECT_FALSE(confirm(QStringLiteral("Can you hear the CD playing?")));
    Prompts::pushAnswer(QStringLiteral("Yes"));
    EXPECT_TRUE(confirm(QStringLiteral("Can you hear the CD playing?")));
    ASSERT_EQ(Prompts::log().size(), 2);
    EXPECT_EQ(Prompts::log()[0].buttons, vb::vbYesNo + vb::vbQuestion);
}

namespace {
// A clock for Pause that moves only when the test moves it. A wait that has not ended
// 10 s on would never end: the test then fails and ends its process instead of hanging.
class StillClock {
public:
    StillClock() {
        setPauseClock([this] {
            ++reads;
            return now;
        });
        m_guard.setSingleShot(true);
        QObject::connect(&m_guard, &QTimer::timeout, [] {
            ADD_FAILURE() << "a wait did not end";
            std::fflush(stdout);
            std::_Exit(1);
        });
        m_guard.start(10000);
    }
    ~StillClock() { setPauseClock(nullptr); }
    StillClock(const StillClock&) = delete;
    StillClock& operator=(const StillClock&) = delete;

    double now = 1000;
    int reads = 0; // how often a wait has read the clock

private:
    QTimer m_guard;
};

double cpuSecondsOfThisThread() {
    rusage u{};
    getrusage(RUSAGE_THREAD, &u);
    return double(u.ru_utime.tv_sec + u.ru_stime.tv_sec) +
           double(u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}

} // namespace

// A wait sleeps: a program that only waits must not spin a core (and the fan) up. Only this
// thread's time counts, so that threads other tests left behind don't.
TEST(Pause, WaitsWhileEventsRunLeavesTheProcessorIdleAndSurvivesMidnight) {
    bool fired = false;
    QTimer::singleShot(10, [&] { fired = true; });
    QElapsedTimer t;
    t.start();
    const double cpuBefore = cpuSecondsOfThisThread();
    Pause(0.5f);
    const double cpu = cpuSecondsOfThisThread() - cpuBefore;
    const double waited = double(t.nsecsElapsed()) / 1e9;
    EXPECT_GE(waited, 0.495);
    EXPECT_TRUE(fired) << "the event loop ran during the pause";
    EXPECT_LT(cpu, waited / 4) << cpu << " s of processor time in a wait of " << waited << " s";

    // A clock that starts just before midnight and wraps to 0.
    double now = 86399.95;
    setPauseClock([&] {
        now += 0.01;
        if (now >= 86400)
            now -= 86400;
        return now;
    });
    t.restart();
    Pause(0.2f);
    setPauseClock(nullptr);
    EXPECT_NEAR(now, 0.165, 0.02) << "ends 0.2 s of clock after it began";
    EXPECT_LT(t.elapsed(), 2000);
}

// A click during a wait may start another wait (a second Cancel of a transform runs stopDLL
// again): the inner one returns first, and the outer one then waits out what is left of its
// own time, no more and no less.
TEST(Pause, APauseBegunDuringAnotherEndsFirstAndTheOuterKeepsItsOwnTime) {
    StillClock clock;
    QStringList events;
    QTimer::singleShot(0, [&] {
        events << QStringLiteral("inner begins");
        QTimer::singleShot(0, [&] {
            clock.now += 0.6; // the inner's 0.5 s are over, the outer's 1 s not
            events << QStringLiteral("0.6 s");
        });
        Pause(0.5f);
        events << QStringLiteral("inner returned");
        QTimer::singleShot(0, [&] {
            clock.now += 0.5;
            events << QStringLiteral("1.1 s");
        });
    });
    Pause(1.0f);
    events << QStringLiteral("outer returned");
    EXPECT_EQ(events, QStringList({QStringLiteral("inner begins"), QStringLiteral("0.6 s"),
                                   QStringLiteral("inner returned"), QStringLiteral("1.1 s"),
                                   QStringLiteral("outer returned")}));
}

TEST(Pause, AnOuterPauseWhoseTimeRanOutDuringAnInnerOneReturnsRightAfterIt) {
    StillClock clock;
    QStringList events;
    // Each wait reads the clock once a slice, so three reads take longer than a slice of
    // either: by then the outer one has seen its end while the inner one still runs.
    int readsAtJump = 0;
    QTimer later;
    QObject::connect(&later, &QTimer::timeout, [&] {
        if (clock.reads < readsAtJump + 3)
            return;
        later.stop();
        clock.now += 1.0;
        events << QStringLiteral("2.2 s");
    });
    QTimer::singleShot(0, [&] {
        QTimer::singleShot(0, [&] {
            clock.now += 1.2; // the outer's 1 s are over, the inner's 2 s not
            events << QStringLiteral("1.2 s");
            readsAtJump = clock.reads;
            later.start(1);
        });
        Pause(2.0f);
        events << QStringLiteral("inner returned");
    });
    Pause(1.0f);
    events << QStringLiteral("outer returned");
    EXPECT_EQ(events,
              QStringList({QStringLiteral("1.2 s"), QStringLiteral("2.2 s"),
                           QStringLiteral("inner returned"), QStringLiteral("outer returned")}));
}

// After End the application's event loops refuse to run; a wait still lasts its time (the
// engine that Stop waits for is no quicker then).
TEST(Pause, LastsItsTimeWhileTheApplicationIsQuitting) {
    StillClock clock;
    bool moved = false;
    QTimer::singleShot(50, [&] {
        clock.now += 0.2;
        moved = true;
    });
    QCoreApplication::exit(0); // no loop runs: this only marks the application as quitting
    Pause(0.1f);
    EXPECT_TRUE(moved) << "returned before its time";
    // The application's own loop takes the mark away when it ends.
    QTimer::singleShot(0, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();
}
