// The loops grid as a musician uses it: typing into cells that reach the library when the row
// is left, deleting loops with and without the question, the row that follows the music, the
// loop length panel and the right-click help. The real window and library file, generated WAV
// files and the null sound device.
#include "MainWindowTest.h"

#include "app/AppPaths.h"
#include "app/Prompts.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "app/stateVariable.h"
#include "library/DataGrid.h"
#include "library/LibraryDatabase.h"
#include "library/Recordset.h"
#include "library/RecordsetModel.h"
#include "platform/MMControl.h"
#include "ui_frmMain.h"

#include <QDir>
#include <QLineEdit>
#include <QPushButton>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTest>
#include <gtest/gtest.h>

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
    // What another process reading the library file sees right now.
    QStringList lyricsOnDisk() {
        QStringList out;
        {
            QSqlDatabase db =
                QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("reader"));
            db.setDatabaseName(library::libraryPath());
            EXPECT_TRUE(db.open());
            QSqlQuery q(db);
            q.exec(QStringLiteral("SELECT Lyrics FROM WaveLoopPoints ORDER BY startTime"));
            while (q.next())
                out << q.value(0).toString();
        }
        QSqlDatabase::removeDatabase(QStringLiteral("reader"));
        return out;
    }

    DataGrid* grid = nullptr;
};

} // namespace

TEST(GridsAtStart, TransformWaitsForALoop) {
    TestHome home;
    ProgramRun run;
    run.start();
    ASSERT_TRUE(run.waitUntilRunning());
    EXPECT_FALSE(run.main()->ui()->cmdSlowPlay->isEnabled()) << "no disc, no loop";
}

TEST_F(Grids, ColumnsInTheirOrderWithTheirHeadings) {
    QStringList headings;
    for (int c = 0; c < grid->model()->columnCount(); ++c)
        headings << grid->model()->headerData(c, Qt::Horizontal).toString();
    EXPECT_EQ(headings, QStringList({QStringLiteral("Trk"), QStringLiteral("Chords"),
                                     QStringLiteral("Lyrics"), QStringLiteral("Label/Comment")}));
    QStringList tracks;
    for (int c = 0; c < u->tgTracks->model()->columnCount(); ++c)
        tracks << u->tgTracks->model()->headerData(c, Qt::Horizontal).toString();
    EXPECT_EQ(tracks, QStringList({QStringLiteral("#"), QStringLiteral("Track Name"),
                                   QStringLiteral("Rating")}));
}

TEST_F(Grids, ALongLyricReachesTheLibraryWhenTheRowIsLeft) {
    selectRow(1);
    const QString lyric = QString(10000, u'x').replace(5000, 1, QStringLiteral("\n"));
    ASSERT_TRUE(grid->model()->setData(grid->model()->index(1, 2), lyric, Qt::EditRole));
    EXPECT_EQ(lyricsOnDisk().value(1), QString()) << "held with its row until the row is left";
    selectRow(2);
    // Committed: a process killed now leaves it in the file (each update is a transaction
    // of its own, written through; the store's kill test covers the kill itself).
    EXPECT_EQ(lyricsOnDisk().value(1), lyric);
    EXPECT_EQ(grid->model()->index(1, 2).data().toString(), lyric);
}

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
    // Before the first loop: no previous row, the first one shows.
    w->setFrom(1000);
    w->setCommand(QStringLiteral("Play"));
    w->setCommand(QStringLiteral("Pause"));
    m->highlightLoopPoint();
    EXPECT_EQ(grid->currentIndex().row(), 0);

    w->setFrom(27000);
    w->setCommand(QStringLiteral("Play"));
    w->setCommand(QStringLiteral("Pause"));
    m->highlightLoopPoint();
    EXPECT_EQ(grid->currentIndex().row(), 2);
    EXPECT_EQ(grid->SelBookmarksCount(), 1);
    EXPECT_EQ(currentStart(), 25000);

    w->setFrom(50000);
    w->setCommand(QStringLiteral("Play"));
    w->setCommand(QStringLiteral("Pause"));
    m->highlightLoopPoint();
    EXPECT_EQ(grid->currentIndex().row(), 3) << "past the last start: the last loop";

    // Not while the musician is typing in a cell.
    selectRow(1);
    grid->edit(grid->currentIndex());
    m->highlightLoopPoint();
    EXPECT_EQ(grid->currentIndex().row(), 1);
}

TEST_F(Grids, StraightPlayPullsTheRowAlongAndALoopDoesNot) {
    selectRow(0);
    gvPlayRequested = true;
    w->setFrom(16000);
    w->setCommand(QStringLiteral("Play"));
    m->updatePosition();
    EXPECT_EQ(grid->currentIndex().row(), 1);
    w->setCommand(QStringLiteral("Stop"));

    selectRow(3);
    gvPlayRequested = false;
    w->setFrom(6000);
    w->setCommand(QStringLiteral("Play"));
    m->updatePosition();
    EXPECT_EQ(grid->currentIndex().row(), 3) << "a loop's row stays selected";
    w->setCommand(QStringLiteral("Stop"));
}

TEST_F(Grids, TheLoopLengthPanelAndTheDataErrorsWords) {
    selectRow(2);
    EXPECT_EQ(m->panelText(QStringLiteral("pnlLoopLength")), u"Loop Length: 00:10");
    EXPECT_TRUE(m->panelVisible(QStringLiteral("pnlLoopLength")));
    // A loop without an end has no length to show.
    m->library().dtaLoopPoints->AddNew();
    m->library().dtaLoopPoints->setField(QStringLiteral("waveFileID"),
                                         m->library().WAVs->field(QStringLiteral("waveFileID")));
    m->library().dtaLoopPoints->setField(QStringLiteral("startTime"), 50000);
    m->library().dtaLoopPoints->Update();
    m->library().dtaLoopPoints->Requery();
    m->library().loopsModel->reload();
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
