// The three play modes: what each change does, and which controls each mode shows.
#include "ProgramRun.h"
#include "TestHome.h"

#include "app/Forms.h"
#include "app/Prompts.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "app/stateVariable.h"
#include "platform/MMControl.h"
#include "ui_frmMain.h"

#include <QPushButton>
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
    // Every control of the visibility table, checked against the three flags it depends on.
    void expectTable(bool cdView, bool slow, int view) {
        const bool showCD = view == 1 && cdView && !slow;
        for (QWidget* w : {static_cast<QWidget*>(u->Artist), static_cast<QWidget*>(u->CDTitle),
                           static_cast<QWidget*>(u->Comments), static_cast<QWidget*>(u->lblArtist),
                           static_cast<QWidget*>(u->lblCDTitle)})
            EXPECT_EQ(shown(w), showCD) << w->objectName().toStdString();
        for (QWidget* w : std::initializer_list<QWidget*>{
                 u->cmdStartNewLoop, u->btnLoopPlay, u->cmdSlowPlay, u->lblF6, u->lblF7, u->lblF8,
                 u->lblMMCtrl, u->fraCurrPosition, u->loopPoints})
            EXPECT_EQ(shown(w), !slow) << w->objectName().toStdString();
        for (QWidget* w : std::initializer_list<QWidget*>{
                 u->cmdGraphic, u->cmdPrevView, u->fraPitchControl, u->fraSlowdown, u->lblTrans,
                 u->lblTransformations, u->slowControl})
            EXPECT_EQ(shown(w), slow) << w->objectName().toStdString();
        EXPECT_EQ(shown(u->lblTrackComments), cdView);
        EXPECT_EQ(shown(u->tgTracks), cdView && !slow);
        EXPECT_EQ(m->panelVisible(QStringLiteral("pnlCDlength")), cdView && !slow);
        EXPECT_EQ(m->panelVisible(QStringLiteral("pnlTrackLength")), !slow);
        for (QAction* a : {u->mnuCDRequery, u->mnuRecord, u->mnuFileOpen})
            EXPECT_EQ(a->isEnabled(), !slow) << a->objectName().toStdString();
        EXPECT_EQ(u->mnuView->isEnabled(), !slow);
    }

    TestHome home;
    ProgramRun run;
    frmMain* m = nullptr;
    Ui::frmMain* u = nullptr;
};
} // namespace

TEST_F(Modes, CdModeShowsTheDiscControls) {
    // After start the empty drive has hidden the disc's panels; a change into "CD" applies
    // the table of the mode itself.
    m->changeToMode(QStringLiteral("CD"));
    expectTable(true, false, 1);
    EXPECT_EQ(m->transport().currentMMControl, u->CDControl);
    EXPECT_FALSE(u->CDControl->isHidden());
    EXPECT_TRUE(u->WaveControl->isHidden());
}

TEST_F(Modes, SlowPlayAndBackFollowTheTableAndKeepTheWayBack) {
    {
        const QSignalBlocker quiet(u->slSlowPct_0);
        u->slSlowPct_0->setValue(0);
    }
    m->changeToMode(QStringLiteral("SlowPlay"));
    EXPECT_TRUE(gvInSlowPlay);
    EXPECT_TRUE(m->transport().cdView) << "cdView keeps its value across SlowPlay";
    EXPECT_EQ(m->currentMode(), u"SlowPlay");
    EXPECT_EQ(m->transport().currentMMControl, u->WaveControl);
    EXPECT_TRUE(u->WaveControl->isHidden());
    EXPECT_EQ(u->slSlowPct_0->value(), 50);
    EXPECT_EQ(u->txtSlowPct_0->text(), u"50");
    EXPECT_EQ(u->txtCurrentPosition->text(), u"00:00");
    EXPECT_EQ(u->WaveControl->UpdateInterval(), 500);
    EXPECT_EQ(u->CDControl->UpdateInterval(), 0);
    expectTable(true, true, 1);

    m->cmdPrevView_Click();
    EXPECT_FALSE(gvInSlowPlay);
    EXPECT_EQ(m->transport().currentMMControl, u->CDControl);
    EXPECT_EQ(u->lblMMCtrl->text(), u"CD");
    expectTable(true, false, 1);
}

TEST_F(Modes, SlowPlayKeepsASpeedThatIsAlreadySet) {
    {
        const QSignalBlocker quiet(u->slSlowPct_0);
        u->slSlowPct_0->setValue(70);
    }
    m->changeToMode(QStringLiteral("slowplay"));
    EXPECT_TRUE(gvInSlowPlay) << "mode names compare without regard to case";
    EXPECT_EQ(u->slSlowPct_0->value(), 70);
    EXPECT_EQ(u->txtSlowPct_0->text(), u"70");
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

TEST_F(Modes, ArmingALoopTurnsAutomaticButtonsOffAndKeepsStopOnView) {
    u->CDControl->setStopVisible(false);
    playState->setState(true);
    EXPECT_FALSE(u->CDControl->AutoEnable());
    EXPECT_FALSE(u->WaveControl->AutoEnable());
    EXPECT_TRUE(u->CDControl->StopVisible());
    playState->setState(false);
    EXPECT_TRUE(u->CDControl->AutoEnable());
    EXPECT_TRUE(u->WaveControl->AutoEnable());
    EXPECT_EQ(playState->state().toBool(), false);
}

TEST_F(Modes, PlayKeyInSlowPlayArmsTheLoopAndASecondPressStopsIt) {
    m->changeToMode(QStringLiteral("SlowPlay"));
    gvPlayRequested = false;
    m->togglePlayState();
    EXPECT_TRUE(playState->isArmed());
    EXPECT_TRUE(gvPlayRequested);
    EXPECT_EQ(u->WaveControl->UpdateInterval(), 500);
    m->togglePlayState();
    EXPECT_FALSE(playState->isArmed());
    EXPECT_EQ(u->WaveControl->UpdateInterval(), 0);
}

TEST_F(Modes, PlayKeyOutsideSlowPlayDoesNotArm) {
    m->togglePlayState();
    EXPECT_FALSE(playState->isArmed());
    EXPECT_TRUE(gvPlayRequested);
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

TEST_F(Modes, SlowPlayUnloadsTheTrimWindowAndOtherModesUnloadTheGraph) {
    auto* trim = new QWidget();
    trim->setObjectName(QStringLiteral("frmTrim"));
    trim->setProperty("cantavoxForm", true);
    auto* save = new QPushButton(trim);
    save->setObjectName(QStringLiteral("cmdSave"));
    m->changeToMode(QStringLiteral("SlowPlay"));
    EXPECT_FALSE(isLoaded(QStringLiteral("frmTrim")));

    auto* graph = new QWidget();
    graph->setObjectName(QStringLiteral("frmScrollTime"));
    graph->setProperty("cantavoxForm", true);
    m->auxiliaryFormAdjust();
    EXPECT_TRUE(isLoaded(QStringLiteral("frmScrollTime"))) << "the graph lives in SlowPlay";
    m->cmdPrevView_Click();
    EXPECT_FALSE(isLoaded(QStringLiteral("frmScrollTime")));
    ProgramRun::settle();
}

TEST_F(Modes, SaveCurrentStatusWithoutALoopRefusesSlowPlay) {
    Prompts::clear();
    EXPECT_FALSE(m->saveCurrentStatus());
    ASSERT_EQ(Prompts::log().size(), 1);
    EXPECT_EQ(Prompts::log()[0].text, u"There are no loop points created. Please make at least "
                                      "one loop point before continuing");
    EXPECT_EQ(m->transport().savedCdView, true);
    EXPECT_EQ(m->transport().savedView, 1);
}
