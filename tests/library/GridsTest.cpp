// The loops grid as a musician uses it: deleting loops with and without the question, the row
// that follows the music, a double click, the loop length panel, the data errors' words and
// the right-click help. The real window and library file, generated WAV files and the null
// sound device.
#include "MainWindowTest.h"

#include "app/Prompts.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "app/stateVariable.h"
#include "library/DataGrid.h"
#include "library/Recordset.h"
#include "library/RecordsetModel.h"
#include "platform/MMControl.h"
#include "ui_frmMain.h"

#include <QTest>
#include <gtest/gtest.h>
#include <tuple>

namespace {

class Grids : public MainWindowTest {
protected:
    void SetUp() override {
        MainWindowTest::SetUp();
        grid = u->loopPoints;
        openWave(QStringLiteral("song.wav"), 60.0);
        // The whole-file loop the catalogue made goes; the tests lay out their own.
        m->library().dtaLoopPoints->MoveFirst();
        m->library().dtaLoopPoints->Delete();
        for (qint32 start : {5000, 15000, 25000, 35000})
            m->insertLoopPt(QString::number(start), QStringLiteral("00:%1").arg(start / 1000),
                            start + 10000);
        m->library().dtaLoopPoints->Requery();
        m->library().loopsModel->reload();
        Prompts::clear();
    }

    void selectRow(int row) { grid->setCurrentIndex(grid->model()->index(row, 1)); }
    int currentStart() const {
        return m->library().dtaLoopPoints->field(QStringLiteral("startTime")).toInt();
    }
    DataGrid* grid = nullptr;
};

} // namespace

TEST_F(Grids, DeleteAsksUnlessCtrlIsHeldAndNeverWhileACellIsEdited) {
    selectRow(1);
    ASSERT_EQ(currentStart(), 15000);
    Prompts::pushAnswer(vb::vbNo);
    m->loopPoints_keyup(46, 0);
    ASSERT_FALSE(Prompts::log().isEmpty());
    EXPECT_EQ(Prompts::log().last().text, u"Are you sure want to delete this loop point?");
    EXPECT_EQ(Prompts::log().last().buttons, vb::vbYesNo);
    EXPECT_EQ(m->library().dtaLoopPoints->RecordCount(), 4) << "No keeps the loop";

    Prompts::pushAnswer(vb::vbYes);
    m->loopPoints_keyup(46, 0);
    EXPECT_EQ(m->library().dtaLoopPoints->RecordCount(), 3);

    Prompts::clear();
    selectRow(0);
    m->loopPoints_keyup(46, 2);
    EXPECT_TRUE(Prompts::log().isEmpty()) << "Ctrl+Delete deletes at once";
    EXPECT_EQ(m->library().dtaLoopPoints->RecordCount(), 2);

    // While a cell is being edited Delete is the editor's.
    selectRow(0);
    grid->edit(grid->currentIndex());
    ASSERT_TRUE(grid->EditActive());
    QTest::keyClick(grid->focusWidget() ? grid->focusWidget() : grid, Qt::Key_Delete,
                    Qt::ControlModifier);
    EXPECT_EQ(m->library().dtaLoopPoints->RecordCount(), 2);
    EXPECT_TRUE(u->cmdSlowPlay->isEnabled());

    // With no loop left the Transform button has nothing to work on.
    for (int i = 0; i < 2; ++i) {
        grid->closePersistentEditor(grid->currentIndex());
        grid->setFocus();
        selectRow(0);
        m->loopPoints_keyup(46, 2);
    }
    EXPECT_EQ(m->library().dtaLoopPoints->RecordCount(), 0);
    EXPECT_FALSE(u->cmdSlowPlay->isEnabled());
}

TEST_F(Grids, TheRowFollowsTheMusicToTheLastLoopBegun) {
    selectRow(3);
    // Before the first loop there is no previous row, and the first one shows; past the last
    // start the last loop.
    for (const auto& [at, row] : {std::pair{1000, 0}, {27000, 2}, {50000, 3}}) {
        w->setFrom(at);
        w->setCommand(QStringLiteral("Play"));
        w->setCommand(QStringLiteral("Pause"));
        m->highlightLoopPoint();
        EXPECT_EQ(grid->currentIndex().row(), row) << at;
        EXPECT_EQ(grid->SelBookmarksCount(), 1) << at;
        EXPECT_EQ(currentStart(), 5000 + 10000 * row) << at;
    }
    // Not while the musician is typing in a cell.
    selectRow(1);
    grid->edit(grid->currentIndex());
    m->highlightLoopPoint();
    EXPECT_EQ(grid->currentIndex().row(), 1);
}

TEST_F(Grids, StraightPlayPullsTheRowAlongAndALoopDoesNot) {
    // Straight play from loop 1 into loop 2, and a loop's play from row 4 within loop 1.
    for (const auto& [requested, from, row, shown] :
         {std::tuple{true, 16000, 0, 1}, {false, 6000, 3, 3}}) {
        selectRow(row);
        gvPlayRequested = requested;
        w->setFrom(from);
        w->setCommand(QStringLiteral("Play"));
        m->updatePosition();
        EXPECT_EQ(grid->currentIndex().row(), shown) << "straight play " << requested;
        w->setCommand(QStringLiteral("Stop"));
    }
}

TEST_F(Grids, TheLoopLengthPanelAndTheDataErrorsWords) {
    selectRow(2);
    EXPECT_EQ(m->panelText(QStringLiteral("pnlLoopLength")), u"Loop Length: 00:10");
    EXPECT_TRUE(m->panelVisible(QStringLiteral("pnlLoopLength")));
    // A loop without an end has no length to show.
    addLoop(50000, -1);
    selectRow(4);
    EXPECT_FALSE(m->panelVisible(QStringLiteral("pnlLoopLength")));

    int response = 1;
    m->dtaLoopPoints_Error(3022, response);
    EXPECT_EQ(response, 0);
    EXPECT_EQ(Prompts::log().last().text,
              u"Please inform programmer that there has been a data error 3022 in the Loop Point "
              u"control (send e-mail to support@cantavox.org)");
    m->dtaTracks_Error(3020, response);
    EXPECT_TRUE(Prompts::log().last().text.contains(u"error 3020 in the Tracks control"));
}

TEST_F(Grids, DoubleClickPlaysTheLoopAndTheRightButtonExplainsTheGrid) {
    const QPoint trk = grid->visualRect(grid->model()->index(1, 0)).center();
    QTest::mouseDClick(grid->viewport(), Qt::LeftButton, Qt::NoModifier, trk);
    EXPECT_FALSE(grid->EditActive()) << "the track column isn't typed into";
    EXPECT_TRUE(playState->isArmed());
    EXPECT_EQ(m->loops().inPt, 15000);
    EXPECT_EQ(m->loops().outPt, 25000);
    EXPECT_EQ(w->Mode(), MMControl::ModePlaying);
    m->togglePlayState();

    // With Ctrl held it plays from the loop on to the end of the file.
    QTest::mouseDClick(grid->viewport(), Qt::LeftButton, Qt::ControlModifier, trk);
    EXPECT_FALSE(playState->isArmed());
    EXPECT_TRUE(gvPlayRequested);
    EXPECT_EQ(w->Mode(), MMControl::ModePlaying);
    m->togglePlayState();

    m->LoopPoints_MouseUp(1);
    EXPECT_TRUE(Prompts::log().isEmpty());
    m->LoopPoints_MouseUp(2);
    ASSERT_FALSE(Prompts::log().isEmpty());
    EXPECT_TRUE(
        Prompts::log().last().text.startsWith(u"Shows the Loop Points for this CD or Wave"));
    EXPECT_TRUE(Prompts::log().last().text.endsWith(u"Pressing the Delete key deletes the Loop "
                                                    u"Point."));
}
