// The tracks and loops grids of the main window: typing into their cells, playing from them,
// deleting loops, and the row that follows the music. Searches for the row to show run on
// clones of the recordsets, so they never move the row the user is on.
#include "app/Messages.h"
#include "app/Prompts.h"
#include "app/Support.h"
#include "app/TimeFormats.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "failsafe/modFailSafe.h"
#include "library/DataGrid.h"
#include "library/LoopQueries.h"
#include "library/Recordset.h"
#include "library/RecordsetModel.h"
#include "library/TrackQueries.h"
#include "platform/MMControl.h"
#include "prefs/prefs.h"
#include "ui_frmMain.h"

#include <QAction>
#include <QGuiApplication>
#include <QMenu>
#include <QPushButton>

namespace {
const char* const kModule = "main form";

// The keys held with the input event being handled (a double-click's own modifiers).
bool CtrlKey() {
    return QGuiApplication::keyboardModifiers() & Qt::ControlModifier;
}
bool AltKey() {
    return QGuiApplication::keyboardModifiers() & Qt::AltModifier;
}
} // namespace

void frmMain::connectGrids() {
    DataGrid* tracks = m_ui->tgTracks;
    DataGrid* loops = m_ui->loopPoints;
    connect(tracks, &DataGrid::BeforeColEdit, this, [this](int col, int key, bool& cancel) {
        fs::trap(kModule, "Sub tgTracks_BeforeColEdit",
                 [&] { tgTracks_BeforeColEdit(col, key, cancel); });
    });
    connect(loops, &DataGrid::BeforeColEdit, this, [this](int col, int key, bool& cancel) {
        fs::trap(kModule, "Sub loopPoints_BeforeColEdit",
                 [&] { loopPoints_BeforeColEdit(col, key, cancel); });
    });
    connect(tracks, &DataGrid::Click, this,
            fs::trapped(kModule, "Sub tgTracks_Click", [this] { tgTracks_Click(); }));
    connect(tracks, &DataGrid::DblClick, this,
            fs::trapped(kModule, "Sub tgTracks_DblClick", [this] { tgTracks_DblClick(); }));
    connect(tracks, &DataGrid::MouseUp, this,
            fs::trapped(kModule, "Sub tgTracks_MouseUp",
                        [this](int button) { tgTracks_MouseUp(button); }));
    connect(tracks->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            fs::trapped(kModule, "Sub tgTracks_RowColChange", [this] { tgTracks_RowColChange(); }));
    connect(loops, &DataGrid::Click, this,
            fs::trapped(kModule, "Sub loopPoints_Click", [this] { loopPoints_Click(); }));
    connect(loops, &DataGrid::DblClick, this,
            fs::trapped(kModule, "Sub looppoints_dblclick", [this] { looppoints_dblclick(); }));
    connect(
        loops, &DataGrid::KeyUp, this,
        fs::trapped(kModule, "Sub loopPoints_keyup", [this](int key, Qt::KeyboardModifiers shift) {
            loopPoints_keyup(key, (shift & Qt::ControlModifier) ? 2 : 0);
        }));
    connect(loops, &DataGrid::MouseUp, this,
            fs::trapped(kModule, "Sub LoopPoints_MouseUp",
                        [this](int button) { LoopPoints_MouseUp(button); }));
    connect(
        loops->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
        fs::trapped(kModule, "Sub loopPoints_RowColChange", [this] { loopPoints_RowColChange(); }));
    connect(m_library.dtaTracks, &Recordset::Reposition, this,
            fs::trapped(kModule, "Sub dtaTracks_Reposition", [this] { dtaTracks_Reposition(); }));
    connect(m_library.dtaLoopPoints, &Recordset::Reposition, this,
            fs::trapped(kModule, "Sub dtaLoopPoints_Reposition",
                        [this] { dtaLoopPoints_Reposition(); }));
    connect(m_library.dtaTracks, &Recordset::Error, this, [this](int DataErr, int& Response) {
        fs::trap(kModule, "Sub dtaTracks_Error", [&] { dtaTracks_Error(DataErr, Response); });
    });
    connect(m_library.dtaLoopPoints, &Recordset::Error, this, [this](int DataErr, int& Response) {
        fs::trap(kModule, "Sub dtaLoopPoints_Error",
                 [&] { dtaLoopPoints_Error(DataErr, Response); });
    });
    // The tracks grid's popup: the disc menu's track entries and the notation file's.
    auto* popup = new QMenu(this);
    popup->setObjectName(QStringLiteral("mnuTrackGridPopup"));
    popup->addAction(m_ui->mnuMakeLoop);
    popup->addAction(m_ui->mnuDigitalRec);
    popup->addSeparator();
    auto* open = popup->addAction(QStringLiteral("Open notation/sequencer file"));
    open->setObjectName(QStringLiteral("mnuOpenNotationFile"));
    auto* change = popup->addAction(QStringLiteral("Change notation/sequencer file"));
    change->setObjectName(QStringLiteral("mnuChangeNotationFile"));
    connect(
        popup, &QMenu::aboutToShow, this,
        fs::trapped(kModule, "Sub mnuTrackGridPopup_Click", [this] { mnuTrackGridPopup_Click(); }));
    m_trackGridPopup = popup;
}

// ---------------------------------------------------------------------------------------
// Tracks grid

void frmMain::tgTracks_BeforeColEdit(int ColIndex, int KeyAscii, bool& Cancel) {
    FS_PROC(kModule, "Sub tgTracks_BeforeColEdit", FS_ARG(ColIndex), FS_ARG(KeyAscii));
    // A Space never lands in a cell as its first key: it is the transport's.
    if (KeyAscii == 32) {
        Cancel = true;
        togglePlayState();
    }
}

void frmMain::tgTracks_Click() {
    FS_PROC(kModule, "Sub tgTracks_Click");
    m_transport.lastTypedTime = Timer();
}

void frmMain::tgTracks_DblClick() {
    FS_PROC(kModule, "Sub tgTracks_DblClick");
    const qint16 track = static_cast<qint16>(vbVal(m_ui->tgTracks->Columns(0).toString()));
    if (track != 0) {
        playFromTrack(track);
        m_ui->tgTracks->closePersistentEditor(m_ui->tgTracks->currentIndex());
    }
}

void frmMain::tgTracks_MouseUp(int Button) {
    FS_PROC(kModule, "Sub tgTracks_MouseUp", FS_ARG(Button));
    if (Button != 2)
        return;
    setMnuTrackGripPopupState();
    if (m_trackGridPopup)
        m_trackGridPopup->popup(QCursor::pos());
}

void frmMain::tgTracks_RowColChange() {
    FS_PROC(kModule, "Sub tgTracks_RowColChange");
    gvHighlightedTrack = static_cast<qint16>(vbVal(m_ui->tgTracks->Columns(0).toString()));
    if (!playing()) {
        m_ui->txtCurrentPosition->setText(QString::number(gvHighlightedTrack) +
                                          QStringLiteral(":00:00"));
        switchToTrack(gvHighlightedTrack);
    }
}

void frmMain::dtaTracks_Reposition() {
    FS_PROC(kModule, "Sub dtaTracks_Reposition");
    if (m_library.dtaTracks->isBOF() || m_library.dtaTracks->isEOF())
        return;
    m_ui->lblTrackComments->setText(
        QStringLiteral("Track ") +
        m_library.dtaTracks->field(QStringLiteral("TrackNum")).toString().trimmed() +
        QStringLiteral(" Comments"));
    fs::ignoreErrors([&] {
        setPanelText(QStringLiteral("pnlTrackLength"),
                     trackLengthMMSS(static_cast<qint16>(
                         m_library.dtaTracks->field(QStringLiteral("TrackNum")).toInt())));
    });
}

void frmMain::dtaTracks_Error(int DataErr, int& Response) {
    FS_PROC(kModule, "Sub dtaTracks_Error", FS_ARG(DataErr));
    Prompts::msgBox(QStringLiteral("Please inform programmer that there has been a data error ") +
                    QString::number(DataErr) +
                    QStringLiteral(" in the Tracks control (send e-mail to ") + supportAddress() +
                    QStringLiteral(")"));
    Response = 0;
}

void frmMain::mnuTrackGridPopup_Click() {
    FS_PROC(kModule, "Sub mnuTrackGridPopup_Click");
    m_ui->mnuDigitalRec->setEnabled(gvRecordMode == 1);
    m_ui->mnuMakeLoop->setEnabled(true);
}

void frmMain::setMnuTrackGripPopupState() {
    FS_PROC(kModule, "Sub setMnuTrackGripPopupState");
    if (!m_trackGridPopup)
        return;
    auto* open = m_trackGridPopup->findChild<QAction*>(QStringLiteral("mnuOpenNotationFile"));
    auto* change = m_trackGridPopup->findChild<QAction*>(QStringLiteral("mnuChangeNotationFile"));
    const QVariant notation = m_library.dtaTracks->isBOF() || m_library.dtaTracks->isEOF()
                                  ? QVariant()
                                  : m_library.dtaTracks->field(QStringLiteral("Notation"));
    if (notation.isNull()) {
        change->setEnabled(false);
        open->setText(QStringLiteral("Open notation/sequencer file"));
    } else {
        change->setEnabled(true);
        open->setText(QStringLiteral("Open ") + notation.toString());
    }
}

bool frmMain::trackHighlighting() {
    FS_PROC(kModule, "Function trackHighlighting");
    // For ten seconds after the last typing the music doesn't pull the row away.
    return Timer() - m_transport.lastTypedTime > 10;
}

void frmMain::highlightTrackInGrid(qint16 track) {
    FS_PROC(kModule, "Sub highlightTrackInGrid", FS_ARG(track));
    gvHighlightedTrack = track;
    if (track == 0 || suppressTrackHighlight || !trackHighlighting())
        return;
    auto clone = m_library.dtaTracks->Clone();
    library::findTrack(*clone, track);
    if (clone->NoMatch())
        return;
    DataGrid* grid = m_ui->tgTracks;
    grid->SelBookmarksClear();
    grid->SelBookmarksAdd(clone->Bookmark());
    grid->setBookmark(clone->Bookmark());
}

// ---------------------------------------------------------------------------------------
// Loops grid

void frmMain::loopPoints_BeforeColEdit(int ColIndex, int KeyAscii, bool& Cancel) {
    FS_PROC(kModule, "Sub loopPoints_BeforeColEdit", FS_ARG(ColIndex), FS_ARG(KeyAscii));
    if (KeyAscii == 32) {
        Cancel = true;
        togglePlayState();
    }
}

void frmMain::loopPoints_Click() {
    FS_PROC(kModule, "Sub loopPoints_Click");
    gvPlayRequested = false;
}

void frmMain::looppoints_dblclick() {
    FS_PROC(kModule, "Sub looppoints_dblclick");
    if (CtrlKey())
        playFromLoopOn();
    else if (AltKey())
        cmdSlowPlay_Click();
    else
        m_ui->btnLoopPlay->click();
}

void frmMain::loopPoints_keyup(int KeyCode, int Shift) {
    FS_PROC(kModule, "Sub loopPoints_keyup", FS_ARG(KeyCode), FS_ARG(Shift));
    DataGrid* grid = m_ui->loopPoints;
    // While a cell is edited Delete deletes a character.
    if (grid->EditActive() || KeyCode != 46)
        return;
    if (m_library.dtaLoopPoints->isBOF() || m_library.dtaLoopPoints->isEOF())
        return;
    const bool ctrl = (Shift & 2) != 0;
    if (!ctrl && Prompts::msgBox(QStringLiteral("Are you sure want to delete this loop point?"),
                                 vb::vbYesNo) != vb::vbYes)
        return;
    m_library.loopsModel->commitPendingRow();
    const int row = m_library.dtaLoopPoints->AbsolutePosition();
    m_library.dtaLoopPoints->Delete();
    m_library.dtaLoopPoints->Requery();
    m_library.loopsModel->reload();
    if (m_library.dtaLoopPoints->RecordCount() > 0)
        grid->setCurrentIndex(m_library.loopsModel->index(
            std::min(row, m_library.dtaLoopPoints->RecordCount() - 1), 0));
    cmdSlowPlayAdjust();
}

void frmMain::LoopPoints_MouseUp(int Button) {
    FS_PROC(kModule, "Sub LoopPoints_MouseUp", FS_ARG(Button));
    if (Button == 2)
        mnuLoopHelp_Click();
}

void frmMain::loopPoints_RowColChange() {
    FS_PROC(kModule, "Sub loopPoints_RowColChange");
    if (m_library.dtaLoopPoints->isEOF() || m_library.dtaLoopPoints->isBOF() || !m_transport.cdView)
        return;
    if (m_library.CDs->isEOF() || m_library.CDs->isBOF())
        return;
    m_library.CDs->Edit();
    m_library.CDs->setField(QStringLiteral("lastLoopSelected"),
                            m_library.dtaLoopPoints->field(QStringLiteral("startTime")));
    m_library.CDs->Update();
}

void frmMain::dtaLoopPoints_Reposition() {
    FS_PROC(kModule, "Sub dtaLoopPoints_Reposition");
    bool failed = false;
    try {
        if (m_library.dtaLoopPoints->isBOF() || m_library.dtaLoopPoints->isEOF() ||
            m_library.dtaLoopPoints->isNull(QStringLiteral("endTime")))
            failed = true;
        else
            setPanelText(
                QStringLiteral("pnlLoopLength"),
                QStringLiteral("Loop Length: ") +
                    mmss(m_library.dtaLoopPoints->field(QStringLiteral("endTime")).toInt() -
                         m_library.dtaLoopPoints->field(QStringLiteral("startTime")).toInt()));
    } catch (const AppError&) {
        failed = true;
    }
    // A loop without an end has no length to show yet.
    setPanelVisible(QStringLiteral("pnlLoopLength"), !failed);
    cmdSlowPlayAdjust();
}

void frmMain::dtaLoopPoints_Error(int DataErr, int& Response) {
    FS_PROC(kModule, "Sub dtaLoopPoints_Error", FS_ARG(DataErr));
    Prompts::msgBox(QStringLiteral("Please inform programmer that there has been a data error ") +
                    QString::number(DataErr) +
                    QStringLiteral(" in the Loop Point control (send e-mail to ") +
                    supportAddress() + QStringLiteral(")"));
    Response = 0;
}

void frmMain::highlightLoopPoint() {
    FS_PROC(kModule, "Sub highlightLoopPoint");
    DataGrid* grid = m_ui->loopPoints;
    if (grid->EditActive() || m_library.dtaLoopPoints->RecordCount() == 0)
        return;
    ms();
    // The row to show is the last loop that has begun.
    auto clone = m_library.dtaLoopPoints->Clone();
    library::findFirstLoopStartingFrom(*clone, m_transport.currentMMControl->Position());
    if (clone->NoMatch())
        clone->MoveLast();
    else if (clone->AbsolutePosition() > 0)
        clone->MovePrevious();
    const int row = clone->AbsolutePosition();
    if (grid->currentIndex().row() == row && grid->SelBookmarksCount() == 1)
        return; // already there: the common case at each status event costs nothing more
    if (grid->SelBookmarksCount() > 0)
        grid->SelBookmarksClear();
    grid->SelBookmarksAdd(clone->Bookmark());
    grid->setBookmark(clone->Bookmark());
    if (row >= grid->FirstRow() + grid->VisibleRows() || row < grid->FirstRow())
        grid->setFirstRow(row);
}

void frmMain::mnuLoopHelp_Click() {
    FS_PROC(kModule, "Sub mnuLoopHelp_Click");
    Prompts::msgBox(
        QStringLiteral("Shows the Loop Points for this CD or Wave file. The left columns shows the "
                       "track numbers and start times in milliseconds and are not editable. The "
                       "other columns are for notes, lyrics and comments (not all columns are "
                       "visible in all views) and can be edited by clicking on it.") +
        QStringLiteral("\n\n") +
        QStringLiteral("Double-clicking in the left column starts loop play. Ctrl-double-clicking "
                       "starts playback at the loop point and continues to the end of the CD or "
                       "Wave file") +
        QStringLiteral("\n\n") +
        QStringLiteral("You can edit loops by adjusting the sliders in the Trim window which "
                       "appears when the loop plays. Click the Save button in that window to make "
                       "your edits permanent.") +
        QStringLiteral("\n\n") + QStringLiteral("Pressing the Delete key deletes the Loop Point."));
}
