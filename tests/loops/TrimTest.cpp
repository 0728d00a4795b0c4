// The trim window: the loop's ends are moved by ear while it plays, within a margin of a
// second (none in SlowPlay), widened by Zoom Out, shifted by Prev and Next, and stored only
// by Save. The real window and library, generated WAV files and the null sound device.
#include "MainWindowTest.h"

#include "app/AppPaths.h"
#include "app/Forms.h"
#include "app/Prompts.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "app/stateVariable.h"
#include "library/Recordset.h"
#include "loops/frmTrim.h"
#include "platform/MMControl.h"
#include "ui_frmMain.h"
#include "ui_frmTrim.h"

#include <QAbstractButton>
#include <QDir>
#include <QSignalSpy>
#include <QSlider>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

namespace {

class Trim : public MainWindowTest {
protected:
    void SetUp() override {
        MainWindowTest::SetUp();
        openWave(QStringLiteral("etude.wav"), 60.0);
    }
    // Stores a loop, selects it and plays it, which brings up the trim window.
    frmTrim* playLoop(qint32 start, qint32 end) {
        addLoop(start, end);
        selectLoopStarting(start);
        m->btnLoopPlay_Click();
        return formIfLoaded<frmTrim>();
    }
    QSlider* s(frmTrim* t, int i) { return t->slStart(i); }
    QVariant stored(const char* field) {
        auto probe = m->library().dtaLoopPoints->Clone();
        probe->Requery();
        probe->FindFirst(QStringLiteral("waveFileID = ? AND startTime > 1"),
                         {m->library().WAVs->field(QStringLiteral("waveFileID"))});
        return probe->field(QString::fromLatin1(field));
    }
};

} // namespace

TEST_F(Trim, OpensOnTheLoopWithASecondOfMarginAndPlaysIt) {
    frmTrim* t = playLoop(10000, 14000);
    ASSERT_NE(t, nullptr);
    EXPECT_TRUE(t->isVisible());
    EXPECT_EQ(t->windowTitle(), u"Trim Start and End Points");
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(s(t, i)->minimum(), 9000);
        EXPECT_EQ(s(t, i)->maximum(), 15000);
    }
    EXPECT_EQ(s(t, 0)->value(), 10000);
    EXPECT_EQ(s(t, 1)->value(), 14000);
    EXPECT_TRUE(t->ui()->cmdSave->isEnabled());
    EXPECT_TRUE(playState->isArmed());
    EXPECT_EQ(w->Mode(), MMControl::ModePlaying);
    EXPECT_EQ(m->loops().inPt, 10000);
    EXPECT_EQ(m->loops().outPt, 14000);
    // While the window is up its sliders are the loop...
    s(t, 0)->setValue(11000);
    EXPECT_EQ(m->loops().inPt, 11000);
    // ...and a second press on Play Selected Loop fits them to the stored loop again.
    m->btnLoopPlay_Click();
    EXPECT_EQ(formIfLoaded<frmTrim>(), t);
    EXPECT_EQ(s(t, 0)->value(), 10000);
    EXPECT_EQ(m->loops().inPt, 10000);
}

TEST_F(Trim, AMovedSliderIsHeardAtOnceAndSavedOnlyOnSave) {
    frmTrim* t = playLoop(10000, 14000);
    ASSERT_NE(t, nullptr);
    gvPreviewEnd = false;
    // Pressing a slider stops the loop; letting go plays the new bounds.
    t->slStart_MouseDown(0);
    EXPECT_FALSE(playState->isArmed());
    EXPECT_NE(w->Mode(), MMControl::ModePlaying);
    s(t, 0)->setValue(10500);
    t->slStart_MouseUp(0);
    EXPECT_TRUE(playState->isArmed());
    EXPECT_EQ(w->Mode(), MMControl::ModePlaying);
    EXPECT_EQ(m->loops().inPt, 10500);
    EXPECT_EQ(m->loops().outPt, 14000);
    EXPECT_EQ(m->panelText(QStringLiteral("pnlLoopLength")), u"Loop Length: 00:03");
    EXPECT_FALSE(s(t, 0)->isEnabled()) << "the slider lets go of the mouse";
    EXPECT_TRUE(QTest::qWaitFor([&] { return s(t, 0)->isEnabled(); }, 3000))
        << "and works again 300 ms later";

    // The next natural end repeats the trimmed loop.
    QSignalSpy done(w, &MMControl::Done);
    ASSERT_TRUE(done.wait(3000));
    EXPECT_GE(w->Position(), 10500);

    EXPECT_EQ(stored("startTime").toInt(), 10000) << "moves are for listening only";
    Prompts::pushAnswer(vb::vbNo);
    t->cmdSave_Click();
    EXPECT_EQ(stored("startTime").toInt(), 10000);
    Prompts::pushAnswer(vb::vbYes);
    t->cmdSave_Click();
    EXPECT_EQ(Prompts::log().last().text,
              u"Are you sure that you want to save the current trim points as the new start and "
              u"end points for the loop?");
    EXPECT_EQ(stored("startTime").toInt(), 10500);
    EXPECT_EQ(stored("endTime").toInt(), 14000);
}

TEST_F(Trim, ClosingWithoutSaveLeavesTheLoopAndTheStoredTimesCountAgain) {
    frmTrim* t = playLoop(20000, 25000);
    s(t, 1)->setValue(24000);
    t->cmdClose_Click();
    ProgramRun::settle();
    EXPECT_FALSE(isLoaded(QStringLiteral("frmTrim")));
    EXPECT_EQ(stored("endTime").toInt(), 25000);
}

TEST_F(Trim, TheEndPreviewPlaysTheLastTwoSecondsOfALoopOverThree) {
    frmTrim* t = playLoop(10000, 16000);
    gvPreviewEnd = true;
    s(t, 1)->setValue(15000);
    // The preview is under way: the last two seconds, and the whole loop stays in force.
    EXPECT_EQ(w->Mode(), MMControl::ModePlaying);
    EXPECT_GE(w->Position(), 13000);
    EXPECT_EQ(m->loops().inPt, 10000);
    EXPECT_EQ(m->loops().outPt, 15000);
    EXPECT_EQ(w->From(), 10000) << "the loop's own bounds are put back for the next pass";
    EXPECT_EQ(w->To(), 15000);

    // A loop of three seconds or less never previews.
    s(t, 0)->setValue(12000);
    s(t, 1)->setValue(14500);
    EXPECT_LT(w->Position(), 12500) << "plays from the start at once";
    EXPECT_EQ(m->loops().inPt, 12000);
}

// The end preview waits a second before it plays; a musician who closes the window in that
// second gets no preview, and the program goes on.
TEST_F(Trim, ClosingTheWindowDuringTheEndPreviewsWaitPlaysNoPreview) {
    frmTrim* t = playLoop(10000, 16000);
    gvPreviewEnd = true;
    QTimer::singleShot(100, t, [t] { t->close(); });
    s(t, 1)->setValue(15000);
    EXPECT_FALSE(isLoaded(QStringLiteral("frmTrim")));
    EXPECT_NE(w->Mode(), MMControl::ModePlaying) << "the preview played for a closed window";
    m->btnLoopPlay_Click();
    EXPECT_TRUE(isLoaded(QStringLiteral("frmTrim"))) << "the loop plays and trims again";
    EXPECT_EQ(w->Mode(), MMControl::ModePlaying);
}

TEST_F(Trim, ZoomPrevAndNextStayWithinTheSliders) {
    frmTrim* t = playLoop(3000, 5000);
    t->cmdZoom_Click();
    EXPECT_EQ(s(t, 0)->minimum(), 0) << "never below 0";
    EXPECT_EQ(s(t, 0)->maximum(), 11000);
    t->cmdZoom_Click();
    EXPECT_EQ(s(t, 1)->maximum(), 16000) << "each press widens further";
    EXPECT_EQ(s(t, 0)->value(), 3000) << "zoom doesn't move the ends";

    // Prev moves by the loop's length, short of it at the left stop.
    t->cmdNext_Click(1);
    EXPECT_EQ(s(t, 0)->value(), 1000);
    EXPECT_EQ(s(t, 1)->value(), 3000);
    t->cmdNext_Click(1);
    EXPECT_EQ(s(t, 0)->value(), 0);
    EXPECT_EQ(s(t, 1)->value(), 2000);
    t->cmdNext_Click(1);
    EXPECT_EQ(s(t, 0)->value(), 0) << "at the left stop Prev moves by 0";
    EXPECT_EQ(s(t, 1)->value(), 2000);
    t->cmdNext_Click(2);
    EXPECT_EQ(s(t, 0)->value(), 2000);
    EXPECT_EQ(s(t, 1)->value(), 4000);
    EXPECT_EQ(m->loops().inPt, 2000) << "each shift is heard";
}

TEST_F(Trim, ALoopWithinTheFirstSecondGetsANegativeMinimum) {
    frmTrim* t = playLoop(400, 2400);
    EXPECT_EQ(s(t, 0)->minimum(), -600);
    EXPECT_EQ(s(t, 0)->value(), 400);
    t->cmdNext_Click(1);
    EXPECT_EQ(s(t, 0)->value(), -600);
    EXPECT_EQ(m->loops().inPt, 0) << "the loop starts with the sound";
    EXPECT_EQ(w->Mode(), MMControl::ModePlaying);
    t->cmdZoom_Click();
    EXPECT_EQ(s(t, 0)->minimum(), 0);
}

TEST_F(Trim, InSlowPlayTheWholeFileWithoutMarginAndTheFractionsSurviveANewSpeed) {
    frmTrim* t = playLoop(10000, 14000);
    // SlowPlay's loop is the whole slowed-down file; the trim window follows it there.
    gvInSlowPlay = true;
    t->setTrimLimits();
    EXPECT_EQ(s(t, 0)->minimum(), 1);
    EXPECT_EQ(s(t, 1)->maximum(), w->Length());
    EXPECT_EQ(s(t, 1)->value(), w->Length());

    t->settingLimits = true;
    s(t, 0)->setValue(w->Length() / 4);
    s(t, 1)->setValue(w->Length() / 2);
    t->settingLimits = false;
    m->setupTrimFormsForSlowdown();
    EXPECT_NEAR(m->loops().trimStartFraction, 0.25, 0.001);
    EXPECT_NEAR(m->loops().trimEndFraction, 0.5, 0.001);
    m->adjustTrimForm();
    EXPECT_NEAR(s(t, 0)->value(), w->Length() / 4, 1);
    EXPECT_NEAR(s(t, 1)->value(), w->Length() / 2, 1);
    gvInSlowPlay = false;
}

TEST_F(Trim, KeysInTheWindowAreTheMainWindowsAndNoButtonTakesThem) {
    frmTrim* t = playLoop(10000, 14000);
    ASSERT_TRUE(playState->isArmed());
    s(t, 0)->setFocus();
    // Space stops, as it does on the main window; Save never sees it.
    QTest::keyClick(s(t, 0), Qt::Key_Space);
    EXPECT_NE(w->Mode(), MMControl::ModePlaying);
    EXPECT_TRUE(Prompts::log().isEmpty());
    for (QAbstractButton* b : t->findChildren<QAbstractButton*>())
        EXPECT_EQ(b->focusPolicy(), Qt::NoFocus) << b->objectName().toStdString();
    // F7 plays the loop again.
    QTest::keyClick(s(t, 0), Qt::Key_F7);
    EXPECT_EQ(w->Mode(), MMControl::ModePlaying);
    EXPECT_EQ(s(t, 0)->value(), 10000) << "arrow keys aside, the key moved nothing";
}
