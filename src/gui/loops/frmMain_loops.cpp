// Loops on the main window: marks taken by ear, the loop rows they become, the in and out
// points of the selected loop, and loop playback. Repetition needs no timer: the control's
// Done event of a natural end plays the loop again (see WaveControl_Done).
#include "app/Forms.h"
#include "app/Messages.h"
#include "app/Prompts.h"
#include "app/TimeFormats.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "app/stateVariable.h"
#include "failsafe/modFailSafe.h"
#include "library/LoopQueries.h"
#include "library/Recordset.h"
#include "library/RecordsetModel.h"
#include "loops/frmTrim.h"
#include "loops/loopPoints.h"
#include "loops/makeLoopPoints.h"
#include "platform/MMControl.h"
#include "prefs/prefs.h"
#include "ui_frmMain.h"

#include <QPushButton>
#include <QSlider>
#include <QTableView>
#include <cmath>

namespace {
const char* const kModule = "main form";

// The stage names are a diagnostic for the field: with gvDebugging set they show one by one.
void stage(const char* name) {
    if (gvDebugging)
        Message2(QString::fromLatin1(name));
}

// A field as text, empty for Null or for no current record (an empty loops grid).
QString fieldText(Recordset* rs, const QString& name) {
    if (rs->isBOF() || rs->isEOF())
        return {};
    return rs->field(name).toString();
}
} // namespace

// ---------------------------------------------------------------------------------------
// Marks and loop rows

bool frmMain::insertNewLoopPoint() {
    FS_PROC(kModule, "Function insertNewLoopPoint");
    ms();
    if (!playing()) {
        m_transport.currentMMControl->setWait(false);
        m_transport.currentMMControl->setCommand(QStringLiteral("Play"));
    }
    QString position;
    if (m_transport.currentMMControl == m_ui->CDControl) {
        // Without a disc playing there is nothing to mark (and nothing would ever pass the
        // first 100 ms below).
        if (m_transport.currentMMControl->Mode() != MMControl::ModePlaying)
            return false;
        // A disc reports a position near 0 for a moment after play starts; no mark on a
        // disc may lie there. Ten seconds without a later position means the drive isn't
        // moving, and the mark is taken where it stands.
        for (int tries = 0; tries < 50; ++tries) {
            position = QString::number(m_transport.currentMMControl->Position());
            Pause(0.2f);
            if (vbVal(position) > 100)
                break;
        }
    } else {
        position = QString::number(m_transport.currentMMControl->Position());
        // The mark is described by the position display's text: it must show this position.
        if (!m_transport.cdView && !gvInSlowPlay)
            m_ui->txtCurrentPosition->setText(mmss(static_cast<qint32>(vbVal(position))));
    }
    fastInsert(static_cast<qint32>(vbVal(position)));
    // Marks are taken while the music runs straight through, never while a loop repeats: a
    // loop that was repeating lets the music run on past its end, so the phrase being marked
    // lasts as long as the musician listens to it.
    const bool wasLooping = playState->isArmed() && playing();
    playState->setState(false);
    if (wasLooping) {
        m_transport.currentMMControl->setWait(false);
        m_transport.currentMMControl->setCommand(QStringLiteral("Play"));
    }
    return true;
}

void frmMain::fastInsert(qint32 pos) {
    FS_PROC(kModule, "Sub fastInsert", FS_ARG(pos));
    // Seven digits at least; a longer position keeps all of its digits.
    const QString key = QStringLiteral("%1").arg(pos, 7, 10, QLatin1Char('0'));
    m_loops.loopPointBuffer->Add(key, key, m_ui->txtCurrentPosition->text(), QString());
}

void frmMain::insertLoopPt(const QString& startTimeMs, const QString& startTimeTTMMSS,
                           qint32 endtimeMs) {
    FS_PROC(kModule, "Sub insertLoopPt", FS_ARG(startTimeMs), FS_ARG(startTimeTTMMSS),
            FS_ARG(endtimeMs));
    Recordset* rs = m_library.dtaLoopPoints;
    rs->AddNew();
    if (m_transport.cdView) {
        rs->setField(QStringLiteral("CDid"), m_library.CDs->field(QStringLiteral("CDid")));
        rs->setField(QStringLiteral("TrackNum"),
                     static_cast<qint32>(vbVal(startTimeTTMMSS.left(2))));
    } else {
        rs->setField(QStringLiteral("waveFileID"),
                     m_library.WAVs->field(QStringLiteral("waveFileID")));
    }
    rs->setField(QStringLiteral("startTime"), static_cast<qint32>(vbVal(startTimeMs)));
    // The position text describes the loop until the musician writes something better.
    rs->setField(QStringLiteral("Comment"), startTimeTTMMSS);
    rs->setField(QStringLiteral("endTime"), endtimeMs);
    rs->Update();
}

// ---------------------------------------------------------------------------------------
// In and out points

bool frmMain::calcInAndOutPoints(qint32& in1, qint32& out1) {
    FS_PROC(kModule, "Function calcInAndOutPoints", FS_ARG(in1), FS_ARG(out1));
    // While the trim window is up its sliders are the loop, whatever is stored.
    if (frmTrim* trim = formIfLoaded<frmTrim>()) {
        // A loop stored with its end before its start reaches the sliders as it is: it is
        // refused here with the same words, and nothing plays.
        if (trim->slStart(1)->value() < trim->slStart(0)->value()) {
            Prompts::msgBox(QStringLiteral("Sorry, there's a loop problem. Endpoints are wrong."));
            return true;
        }
        in1 = trim->slStart(0)->value();
        out1 = trim->slStart(1)->value();
        return false;
    }
    Recordset* rs = m_library.dtaLoopPoints;
    const QString startText = fieldText(rs, QStringLiteral("startTime"));
    if (!startText.isEmpty()) {
        // Of two loops with the same start the first in order always wins.
        library::findLoopStartingAt(*rs, startText.toLongLong());
        if (rs->isNull(QStringLiteral("endTime"))) {
            // An end never set is derived once and stored, so later edits of the next loop
            // no longer move it.
            const QVariant mark = rs->Bookmark();
            rs->MoveNext();
            double end = 0;
            if (rs->isEOF()) {
                ms();
                end = std::min<double>(m_transport.currentMMControl->Length(),
                                       vbVal(startText) + 5000.0);
            } else {
                end = rs->field(QStringLiteral("startTime")).toDouble();
            }
            rs->setBookmark(mark);
            rs->Edit();
            rs->setField(QStringLiteral("endTime"), static_cast<qint32>(std::lround(end)));
            rs->Update();
        }
    }
    QString endText = fieldText(rs, QStringLiteral("endTime"));
    if (endText.isEmpty())
        endText = QString::number(m_transport.currentMMControl->Length());
    if (startText.isEmpty() || vbVal(endText) < vbVal(startText)) {
        Prompts::msgBox(QStringLiteral("Sorry, there's a loop problem. Endpoints are wrong."));
        return true;
    }
    const qint32 duration = static_cast<qint32>(std::lround(vbVal(endText) - vbVal(startText)));
    in1 = static_cast<qint32>(vbVal(startText));
    out1 = in1 + duration;
    return false;
}

// ---------------------------------------------------------------------------------------
// Loop playback

void frmMain::playLoop(bool recalcInAndOutPoints, std::optional<qint32> myInPt,
                       std::optional<qint32> myOutPt) {
    FS_PROC(kModule, "Sub playLoop", FS_ARG(recalcInAndOutPoints));
    stage("stage PL1");
    gvPlayRequested = false;
    if (recalcInAndOutPoints && calcInAndOutPoints(m_loops.inPt, m_loops.outPt)) {
        playState->setState(false);
        return;
    }
    ms();
    stage("stage PL2");
    MMControl* source = m_transport.currentMMControl;
    if (myInPt)
        m_loops.inPt = *myInPt;
    // A trim slider may reach below 0 near the start of the sound; the loop starts there.
    if (m_loops.inPt < 0)
        m_loops.inPt = 0;
    source->setFrom(m_loops.inPt);
    if (myOutPt)
        m_loops.outPt = *myOutPt;
    source->setTo(m_loops.outPt);
    stage("stage PL2b");

    if (!gvRecordingLoop) {
        source->setNotify(true);
        source->setWait(false);
        source->setCommand(QStringLiteral("Play"));
        if (!gvInSlowPlay)
            source->setUpdateInterval(500);
        // An out point the device refuses is pulled back until it plays: by a hundred
        // seconds a try, as far as the end of the medium when it lies beyond it.
        for (int retry = 0; retry < 15 && source->Error() >= 1; ++retry) {
            source->setFrom(m_loops.inPt);
            const qint32 length = source->Length();
            m_loops.outPt = m_loops.outPt > length ? std::max(length, m_loops.outPt - 100000)
                                                   : m_loops.outPt - 100000;
            source->setTo(m_loops.outPt);
            source->setWait(false);
            source->setCommand(QStringLiteral("Play"));
        }
        return;
    }

    // A capture: the order of the commands is what matters. The source is made ready at
    // the loop, the recorder waits in cue, and the source plays the loop into it.
    source->setNotify(false);
    source->setWait(false);
    source->setCommand(QStringLiteral("play"));
    stage("stage PL3");
    source->setWait(true);
    source->setCommand(QStringLiteral("pause"));
    MMControl* recorder = m_ui->WaveControl;
    stage("stage PL4");
    recorder->setWait(true);
    recorder->setNotify(false);
    recorder->setCommand(QStringLiteral("cue"));
    recorder->setWait(false);
    stage("stage PL5");
    recorder->setNotify(true);
    recorder->setCommand(QStringLiteral("Record"));
    source->setWait(false);
    source->setNotify(true);
    source->setFrom(m_loops.inPt);
    source->setTo(m_loops.outPt);
    stage("stage PL6");
    source->setCommand(QStringLiteral("play"));
    source->setUpdateInterval(500);
}

void frmMain::btnLoopPlay_Click() {
    FS_PROC(kModule, "Sub btnLoopPlay_Click");
    stage("stage LP1");
    if (gvInSlowPlay) {
        playSlowDownLoop();
        return;
    }
    if (playing()) {
        m_transport.currentMMControl->setWait(true);
        m_transport.currentMMControl->setCommand(QStringLiteral("Stop"));
    }
    stage("stage LP2");
    playState->setState(true);
    gvPlayRequested = false;
    if (!gvRecordingLoop) {
        // No position events while the trim window settles on the loop.
        m_transport.currentMMControl->setUpdateInterval(0);
        if (frmTrim* trim = formIfLoaded<frmTrim>())
            trim->setTrimLimits();
        else
            loadForm<frmTrim>(*m_trimHost)->show();
        m_transport.currentMMControl->setUpdateInterval(500);
    }
    stage("stage LP3");
    playLoop(true);
}

void frmMain::cmdStartNewLoop_Click() {
    FS_PROC(kModule, "Sub cmdStartNewLoop_Click");
    if (!insertNewLoopPoint())
        return;
    // A press while the marking window is up only adds the mark.
    if (makeLoopPoints* marking = formIfLoaded<makeLoopPoints>(); marking && marking->isVisible())
        return;
    makeLoopPoints* marking = loadForm<makeLoopPoints>(*m_loopMarking);
    marking->setWindowModality(Qt::ApplicationModal);
    marking->show();
}

void frmMain::mnuMakeLoop_Click() {
    FS_PROC(kModule, "Sub mnuMakeLoop_Click");
    MMControl* cd = m_ui->CDControl;
    fs::ignoreErrors([&] { cd->setTimeFormat(MMControl::TimeFormatMs); });
    cd->setTrack(m_library.dtaTracks->field(QStringLiteral("TrackNum")).toInt());
    const qint32 startTime = cd->TrackPosition();
    const qint32 endTime = cd->TrackPosition() + cd->TrackLength();
    // A drive that isn't open has no tracks to read: that counts as the device's error.
    if (cd->Error() <= 0 && cd->Mode() != MMControl::ModeNotOpen) {
        Recordset* rs = m_library.dtaLoopPoints;
        rs->AddNew();
        rs->setField(QStringLiteral("CDid"), m_library.dtaTracks->field(QStringLiteral("CDid")));
        rs->setField(QStringLiteral("TrackNum"),
                     m_library.dtaTracks->field(QStringLiteral("TrackNum")));
        rs->setField(QStringLiteral("startTime"), startTime);
        rs->setField(QStringLiteral("endTime"), endTime);
        rs->setField(QStringLiteral("Comment"),
                     m_library.dtaTracks->field(QStringLiteral("TrackName")).toString() +
                         QStringLiteral(" - Entire Track"));
        rs->Update();
        rs->Requery();
    }
    if (m_library.loopsModel)
        m_library.loopsModel->reload();
}

void frmMain::cmdSlowPlayAdjust() {
    FS_PROC(kModule, "Sub cmdSlowPlayAdjust");
    fs::ignoreErrors(
        [&] { m_ui->cmdSlowPlay->setEnabled(m_library.dtaLoopPoints->RecordCount() >= 1); });
}

void frmMain::showLoopDetails() {
    FS_PROC(kModule, "Sub showLoopDetails"); // placeholder: the views work's loop detail columns
}
