// The three play modes: what each change does, and which controls each mode shows.
#include "ProgramRun.h"
#include "TestHome.h"

#include "app/Forms.h"
#include "app/Prompts.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "app/stateVariable.h"
#include "loops/frmTrim.h"
#include "platform/MMControl.h"
#include "ui_frmMain.h"

#include <QSignalBlocker>
#include <QWidget>
#include <gtest/gtest.h>

namespace {
bool shown(const QWidget* w) {
    return !w->isHidden();
}

class Modes : public ::testing::Test {
protected:
    void SetUp() override {
        run.start();
        ASSERT_TRUE(run.waitUntilRunning());
        m = run.main();
        u = m->ui();
    }
    // What the musician sees of each mode: in SlowPlay the speed and pitch controls take the
    // place of the disc's fields, the tracks and the loop controls, and opening files waits.
    void expectTable(bool slow) {
        for (QWidget* w : std::initializer_list<QWidget*>{u->CDTitle, u->tgTracks, u->loopPoints,
                                                          u->cmdStartNewLoop, u->cmdSlowPlay})
            EXPECT_EQ(shown(w), !slow) << w->objectName().toStdString();
        for (QWidget* w : std::initializer_list<QWidget*>{u->cmdPrevView, u->fraSlowdown,
                                                          u->fraPitchControl, u->slowControl})
            EXPECT_EQ(shown(w), slow) << w->objectName().toStdString();
        EXPECT_EQ(m->panelVisible(QStringLiteral("pnlCDlength")), !slow);
        EXPECT_EQ(u->mnuFileOpen->isEnabled(), !slow);
    }

    TestHome home;
    ProgramRun run;
    frmMain* m = nullptr;
    Ui::frmMain* u = nullptr;
};
} // namespace

// The way in and out by the window is the transform journey's; here what each mode shows,
// which strip it drives, and the speed it starts at.
TEST_F(Modes, CdAndSlowPlayFollowTheTableAndSlowPlayKeepsTheWayBack) {
    // After start the empty drive has hidden the disc's panels; a change into "CD" applies
    // the table of the mode itself.
    m->changeToMode(QStringLiteral("CD"));
    expectTable(false);
    EXPECT_EQ(m->transport().currentMMControl, u->CDControl);
    EXPECT_FALSE(u->CDControl->isHidden());
    EXPECT_TRUE(u->WaveControl->isHidden());

    // A speed not yet set starts at 50 %; one already set is kept. Mode names compare
    // without regard to case.
    const std::tuple<int, int, const char*> cases[] = {{0, 50, "SlowPlay"}, {70, 70, "slowplay"}};
    for (const auto& [before, after, mode] : cases) {
        {
            const QSignalBlocker quiet(u->slSlowPct_0);
            u->slSlowPct_0->setValue(before);
        }
        m->changeToMode(QString::fromLatin1(mode));
        EXPECT_TRUE(gvInSlowPlay) << mode;
        EXPECT_TRUE(m->transport().cdView) << "cdView keeps its value across SlowPlay";
        EXPECT_EQ(m->transport().currentMMControl, u->WaveControl);
        EXPECT_TRUE(u->WaveControl->isHidden());
        EXPECT_EQ(u->txtSlowPct_0->text(), QString::number(after));
        EXPECT_EQ(u->WaveControl->UpdateInterval(), 500);
        EXPECT_EQ(u->CDControl->UpdateInterval(), 0);
        expectTable(true);

        m->cmdPrevView_Click();
        EXPECT_FALSE(gvInSlowPlay);
        EXPECT_EQ(m->transport().currentMMControl, u->CDControl);
        expectTable(false);
    }
}

TEST_F(Modes, WaveWithoutAFileChangesNothingAndLeavesTheControlsSilent) {
    m->changeToMode(QStringLiteral("Wave"));
    EXPECT_TRUE(m->transport().cdView);
    EXPECT_FALSE(gvInSlowPlay);
    EXPECT_EQ(m->transport().currentMMControl, u->CDControl);
    // The change had already suspended the status events; nothing revives them until the
    // next MMgo.
    EXPECT_EQ(u->CDControl->UpdateInterval(), 0);
    m->MMgo();
    EXPECT_EQ(u->CDControl->UpdateInterval(), 500);
}

TEST_F(Modes, EveryChangeDisarmsTheLoopAndRecording) {
    playState->setState(true);
    gvRecordingLoop = true;
    m->changeToMode(QStringLiteral("CD"));
    EXPECT_FALSE(playState->isArmed());
    EXPECT_FALSE(gvRecordingLoop);

    playState->setState(true);
    m->changeToMode(QStringLiteral("SlowPlay"));
    EXPECT_FALSE(playState->isArmed());
}

// An armed loop takes the strips' buttons from their automatic state and keeps Stop on view.
TEST_F(Modes, PlayKeyArmsTheLoopOnlyInSlowPlayAndASecondPressStopsIt) {
    m->togglePlayState();
    EXPECT_FALSE(playState->isArmed());
    EXPECT_TRUE(gvPlayRequested);

    m->changeToMode(QStringLiteral("SlowPlay"));
    gvPlayRequested = false;
    u->CDControl->setStopVisible(false);
    m->togglePlayState();
    EXPECT_TRUE(playState->isArmed());
    EXPECT_TRUE(gvPlayRequested);
    EXPECT_EQ(u->WaveControl->UpdateInterval(), 500);
    EXPECT_FALSE(u->CDControl->AutoEnable());
    EXPECT_FALSE(u->WaveControl->AutoEnable());
    EXPECT_TRUE(u->CDControl->StopVisible());
    m->togglePlayState();
    EXPECT_FALSE(playState->isArmed());
    EXPECT_EQ(u->WaveControl->UpdateInterval(), 0);
    EXPECT_TRUE(u->CDControl->AutoEnable());
    EXPECT_TRUE(u->WaveControl->AutoEnable());
}

TEST_F(Modes, MinimisingSilencesTheStatusEventsAndRestoringRevivesThem) {
    m->showMinimized();
    m->Form_Resize();
    EXPECT_EQ(u->CDControl->UpdateInterval(), 0);
    EXPECT_EQ(u->WaveControl->UpdateInterval(), 0);
    EXPECT_EQ(u->slowControl->UpdateInterval(), 0);
    m->showNormal();
    m->Form_Resize();
    EXPECT_EQ(u->CDControl->UpdateInterval(), 500);
}

// Wave View, which lives in SlowPlay only, goes with it in the graph and practice journeys.
TEST_F(Modes, SlowPlayUnloadsTheTrimWindow) {
    loadForm<frmTrim>(*m->trimHost());
    ASSERT_TRUE(isLoaded(QStringLiteral("frmTrim")));
    m->changeToMode(QStringLiteral("SlowPlay"));
    EXPECT_FALSE(isLoaded(QStringLiteral("frmTrim")));
    ProgramRun::settle();
}

TEST_F(Modes, SaveCurrentStatusWithoutALoopRefusesSlowPlay) {
    Prompts::clear();
    EXPECT_FALSE(m->saveCurrentStatus());
    ASSERT_EQ(Prompts::log().size(), 1);
    EXPECT_EQ(Prompts::log()[0].text, u"There are no loop points created. Please make at least "
                                      "one loop point before continuing");
}
