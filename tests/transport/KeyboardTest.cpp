// The main window's keys, sent as real key events to the widget that has them: Space and F6
// start and stop wherever the focus is, except that Space types where text is being edited;
// F7 plays the selected loop, F8 plays on from it; the pad's plus and minus change the speed
// in SlowPlay. The real window, a generated WAV file and the null sound device.
#include "MainWindowTest.h"

#include "app/AppPaths.h"
#include "app/Prompts.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "app/stateVariable.h"
#include "library/DataGrid.h"
#include "library/Recordset.h"
#include "library/RecordsetModel.h"
#include "platform/MMControl.h"
#include "ui_frmMain.h"

#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QTest>
#include <gtest/gtest.h>

namespace {

class Keyboard : public MainWindowTest {
protected:
    void openWave() { MainWindowTest::openWave(QStringLiteral("reel.wav"), 60.0, {8000, 2}); }
    bool isPlaying() const { return w->Mode() == MMControl::ModePlaying; }
};

} // namespace

TEST_F(Keyboard, TheLabelsNameTheKeys) {
    EXPECT_EQ(u->lblF6->text(), u"Space, F6=Stop/Start");
    EXPECT_EQ(u->lblF7->text(), u"F7=Play Loop");
    EXPECT_EQ(u->lblF8->text(), u"F8=Continue from Loop");
}

TEST_F(Keyboard, SpaceOnTheGridTogglesAndTypesNothing) {
    openWave();
    DataGrid* grid = u->loopPoints;
    grid->setCurrentIndex(grid->model()->index(0, 1));
    const QString before = grid->model()->index(0, 1).data().toString();
    QTest::keyClick(grid, Qt::Key_Space);
    EXPECT_TRUE(isPlaying());
    EXPECT_FALSE(grid->EditActive());
    QTest::keyClick(grid, Qt::Key_Space);
    EXPECT_FALSE(isPlaying());
    EXPECT_EQ(grid->model()->index(0, 1).data().toString(), before);

    // In a cell being edited the Space is a blank, and the transport stays as it is.
    grid->edit(grid->currentIndex());
    ASSERT_TRUE(grid->EditActive());
    auto* editor = qobject_cast<QLineEdit*>(QApplication::focusWidget());
    ASSERT_NE(editor, nullptr);
    editor->setText(QStringLiteral("Am"));
    editor->end(false);
    QTest::keyClick(editor, Qt::Key_Space);
    QTest::keyClicks(editor, QStringLiteral("G"));
    EXPECT_EQ(editor->text(), u"Am G");
    EXPECT_FALSE(isPlaying());
    EXPECT_FALSE(m->trackHighlighting()) << "typing holds the highlight for ten seconds";

    // F6 toggles even there.
    QTest::keyClick(editor, Qt::Key_F6);
    EXPECT_TRUE(isPlaying());
    m->togglePlayState();
}

TEST_F(Keyboard, SpaceInACommentTypesOnlyOnADisc) {
    // On a disc the comment field is text being edited.
    ASSERT_TRUE(m->transport().cdView);
    u->Comments->show();
    u->Comments->setFocus();
    u->Comments->setText(QStringLiteral("live"));
    u->Comments->end(false);
    QTest::keyClick(u->Comments, Qt::Key_Space);
    QTest::keyClicks(u->Comments, QStringLiteral("take"));
    EXPECT_EQ(u->Comments->text(), u"live take");
    EXPECT_FALSE(m->trackHighlighting());

    // In mode Wave the field rule doesn't apply: Space is the transport's, and no blank lands.
    openWave();
    u->txtCurrentPosition->setFocus();
    const QString shown = u->txtCurrentPosition->text();
    QTest::keyClick(u->txtCurrentPosition, Qt::Key_Space);
    EXPECT_TRUE(isPlaying());
    EXPECT_EQ(u->txtCurrentPosition->text(), shown);
    m->togglePlayState();
}

TEST_F(Keyboard, ABlankIsEatenUnlessTypingJustRenewedTheClock) {
    // Nothing typed since the start: the blank is the transport's, never text.
    int blank = 32;
    m->Form_KeyPress(blank);
    EXPECT_EQ(blank, 0);
    // Typing in the comments renews the clock: the next blank is text.
    int typed = 'a';
    m->Comments_KeyPress(typed);
    blank = 32;
    m->Form_KeyPress(blank);
    EXPECT_EQ(blank, 32);
    int letter = 'a';
    m->Form_KeyPress(letter);
    EXPECT_EQ(letter, 'a');
}

TEST_F(Keyboard, F7PlaysTheSelectedLoopAndF8PlaysOnFromIt) {
    openWave();
    Recordset* rs = m->library().dtaLoopPoints;
    rs->AddNew();
    rs->setField(QStringLiteral("waveFileID"),
                 m->library().WAVs->field(QStringLiteral("waveFileID")));
    rs->setField(QStringLiteral("startTime"), 30000);
    rs->setField(QStringLiteral("endTime"), 33000);
    rs->Update();
    rs->Requery();
    m->library().loopsModel->reload();
    rs->FindFirst(QStringLiteral("startTime = ?"), {30000});

    QTest::keyClick(u->loopPoints, Qt::Key_F7);
    EXPECT_TRUE(playState->isArmed());
    EXPECT_EQ(m->loops().inPt, 30000);
    EXPECT_EQ(m->loops().outPt, 33000);
    EXPECT_TRUE(isPlaying());

    QTest::keyClick(u->loopPoints, Qt::Key_F8);
    EXPECT_TRUE(gvPlayRequested);
    EXPECT_TRUE(isPlaying());
    QTest::qWait(300);
    EXPECT_GT(w->Position(), 33000) << "F8 plays on past the loop's end";
}

TEST_F(Keyboard, ThePadsPlusAndMinusChangeTheSpeedInSlowPlayOnly) {
    openWave();
    m->library().dtaLoopPoints->MoveFirst();
    m->library().dtaLoopPoints->Edit();
    m->library().dtaLoopPoints->setField(QStringLiteral("endTime"), 2000);
    m->library().dtaLoopPoints->Update();
    gvAutoSlow = false;
    m->cmdSlowPlay_Click();
    ASSERT_TRUE(gvInSlowPlay);
    ASSERT_EQ(m->transform().slowDownPercent, 50);
    QTest::keyClick(u->txtSlowPct_0, Qt::Key_Plus, Qt::KeypadModifier);
    EXPECT_EQ(m->transform().slowDownPercent, 60);
    EXPECT_EQ(u->txtSlowPct_0->text(), u"60");
    QTest::keyClick(u->txtSlowPct_0, Qt::Key_Minus, Qt::KeypadModifier);
    QTest::keyClick(u->txtSlowPct_0, Qt::Key_Minus, Qt::KeypadModifier);
    EXPECT_EQ(m->transform().slowDownPercent, 40);
    EXPECT_EQ(u->slSlowPct_0->value(), 40);
    m->stopDLL();

    // Outside SlowPlay the pad's keys are plain keys.
    m->cmdPrevView_Click();
    int plus = 107;
    m->Form_KeyDown(plus, 0);
    EXPECT_EQ(m->transform().slowDownPercent, 40);
    EXPECT_EQ(plus, 107);
}
