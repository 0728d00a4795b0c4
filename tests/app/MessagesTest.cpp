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
#include <QPushButton>
#include <QTimer>
#include <gtest/gtest.h>

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

TEST(Message2, CancelBoxDisablesTheMainWindowAndOffGivesItBack) {
    TestHome home;
    ProgramRun run;
    run.start();
    ASSERT_TRUE(run.waitUntilRunning());
    Message2(QStringLiteral("Recording..."), QStringLiteral("Analog Recording"));
    auto* box = formIfLoaded<messages2>();
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->windowTitle(), u"Message from Cantavox");
    EXPECT_EQ(box->text(), u"Recording...");
    EXPECT_EQ(box->source(), u"Analog Recording");
    EXPECT_FALSE(box->ui()->btnCancel->isHidden());
    EXPECT_TRUE(box->ui()->lblNoInterrupt->isHidden());
    EXPECT_FALSE(run.main()->isEnabled());

    Message2(QStringLiteral("off"));
    EXPECT_FALSE(isLoaded(QStringLiteral("messages2")));
    EXPECT_TRUE(run.main()->isEnabled());
}

TEST(Message2, CancelOfAnUnknownSourceOnlyClosesTheBox) {
    TestHome home;
    ProgramRun run;
    run.start();
    ASSERT_TRUE(run.waitUntilRunning());
    run.main()->changeToMode(QStringLiteral("SlowPlay"));
    Message2(QStringLiteral("Working"), QStringLiteral("something"));
    formIfLoaded<messages2>()->ui()->btnCancel->click();
    EXPECT_FALSE(isLoaded(QStringLiteral("messages2")));
    EXPECT_TRUE(gvInSlowPlay) << "the work goes on";
    EXPECT_TRUE(Prompts::log().isEmpty());
}

TEST(Message2, CancelOfADigitalReadAsksFirstAndYesGoesBackToCd) {
    TestHome home;
    ProgramRun run;
    run.start();
    ASSERT_TRUE(run.waitUntilRunning());
    run.main()->changeToMode(QStringLiteral("SlowPlay"));
    Message2(QStringLiteral("Reading digitally"), QStringLiteral("ACD"));
    auto* box = formIfLoaded<messages2>();

    Prompts::clear();
    Prompts::pushAnswer(vb::vbNo);
    box->ui()->btnCancel->click();
    ASSERT_EQ(Prompts::log().size(), 1);
    EXPECT_EQ(Prompts::log()[0].text,
              u"Due to the non-standard nature of computer-to-CD-ROM digital audio interfaces, "
              "after cancelling this operation, your computer may have to be restarted before "
              "digital recording will work again.\n\nClick Yes to end the operation now; click "
              "No to continue waiting for the operation to complete.");
    EXPECT_EQ(Prompts::log()[0].buttons, vb::vbYesNo + vb::vbQuestion);
    EXPECT_TRUE(isLoaded(QStringLiteral("messages2"))) << "No keeps waiting";
    EXPECT_TRUE(gvInSlowPlay);

    Prompts::pushAnswer(vb::vbYes);
    box->ui()->btnCancel->click();
    EXPECT_FALSE(isLoaded(QStringLiteral("messages2")));
    EXPECT_FALSE(gvInSlowPlay);
    EXPECT_EQ(run.main()->currentMode(), u"CD");
    EXPECT_TRUE(run.main()->isEnabled());
}

TEST(Confirm, IsAYesNoQuestionUnderTheProgramsTitle) {
    Prompts::clear();
    Prompts::pushAnswer(vb::vbNo);
    EXPECT_FALSE(confirm(QStringLiteral("Can you hear the CD playing?")));
    Prompts::pushAnswer(QStringLiteral("Yes"));
    EXPECT_TRUE(confirm(QStringLiteral("Can you hear the CD playing?")));
    ASSERT_EQ(Prompts::log().size(), 2);
    EXPECT_EQ(Prompts::log()[0].title, u"Cantavox");
    EXPECT_EQ(Prompts::log()[0].text, u"Can you hear the CD playing?");
}

TEST(Prompts, UnansweredPromptsTakeTheirDefaults) {
    Prompts::clear();
    EXPECT_EQ(Prompts::msgBox(QStringLiteral("a"), vb::vbRetryCancel), vb::vbRetry);
    EXPECT_EQ(Prompts::msgBox(QStringLiteral("b"), vb::vbYesNoCancel), vb::vbYes);
    EXPECT_EQ(Prompts::msgBox(QStringLiteral("c")), vb::vbOK);
    EXPECT_EQ(
        Prompts::inputBox(QStringLiteral("Letter?"), QStringLiteral("Drive"), QStringLiteral("D")),
        u"D");
    EXPECT_TRUE(
        Prompts::getOpenFileName(nullptr, QStringLiteral("Open"), QString(), QString()).isEmpty());
    EXPECT_FALSE(Prompts::getColor(Qt::red, nullptr, QStringLiteral("Colour")).isValid());
    ASSERT_EQ(Prompts::log().size(), 6);
    EXPECT_EQ(Prompts::log()[3].kind, u"input");
    EXPECT_EQ(Prompts::log()[3].title, u"Drive");
}

TEST(Pause, WaitsWhileEventsRunAndSurvivesMidnight) {
    bool fired = false;
    QTimer::singleShot(10, [&] { fired = true; });
    QElapsedTimer t;
    t.start();
    Pause(0.1f);
    EXPECT_GE(t.elapsed(), 95);
    EXPECT_TRUE(fired) << "the event loop ran during the pause";

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
