// The library's side of wave files: choosing a file, refusing the program's own scratch
// files, finding the file's record (or making it, with one loop over the whole file), and
// showing its loops.
#include "app/AppPaths.h"
#include "app/AppUtilities.h"
#include "app/Dialogs.h"
#include "app/Messages.h"
#include "app/Prompts.h"
#include "app/TimeFormats.h"
#include "app/frmMain.h"
#include "failsafe/modFailSafe.h"
#include "library/LoopQueries.h"
#include "library/Recordset.h"
#include "library/RecordsetModel.h"
#include "library/WaveFileQueries.h"
#include "platform/MMControl.h"
#include "ui_frmMain.h"

#include <QApplication>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>

namespace {
const char* const kModule = "main form";
const QString kWaveFilter = QStringLiteral("Wave files (*.wav *.WAV);;All files (*)");
} // namespace

void frmMain::mnuFileOpen_Click() {
    FS_PROC(kModule, "Sub mnuFileOpen_Click");
    if (m_transport.currentMMControl)
        m_transport.currentMMControl->setCommand(QStringLiteral("Stop"));
    // The dialog insists on a file that exists and hides the read-only box.
    QString name =
        Dialogs::getOpenFileName(this, QStringLiteral("Open"), dialogDirectory, kWaveFilter);
    if (name.isEmpty())
        return;
    if (name.contains(u"temp.wav", Qt::CaseInsensitive)) {
        Prompts::msgBox(QStringLiteral("Please choose a different na Cantavox likes temp.wav "
                                       "for itself."));
        return;
    }
    if (name.contains(u"tempslow.wav", Qt::CaseInsensitive)) {
        if (!confirm(QStringLiteral(
                "You cannot use tempslow.wav for this function - that file name is used "
                "exclusively by Cantavox. Would you like to make a copy of it and slow down "
                "that?")))
            return;
        name = Dialogs::getSaveFileName(this,
                                        QStringLiteral("Choose filename for copy of tempslow.wav"),
                                        dialogDirectory, kWaveFilter);
        if (name.isEmpty() || name.contains(u"tempslow.wav", Qt::CaseInsensitive))
            return;
        const QString slowed = appDir() + QStringLiteral("/tempslow.wav");
        if (!QFile::exists(slowed))
            raiseError(errnum::FileNotFound, QStringLiteral("File not found"));
        // The save dialog has already asked about overwriting.
        QFile::remove(name);
        if (!QFile::copy(slowed, name))
            raiseError(errnum::PathFileAccessError, QStringLiteral("Path/File access error"));
    }
    dialogDirectory = QFileInfo(name).absolutePath();
    setWindowTitle(name);
    playWaveFile(name);
    addToMRUs(name);
    changeToMode(QStringLiteral("Wave"));
}

bool frmMain::doWaveDBThing() {
    FS_PROC(kModule, "Function doWaveDBThing");
    MMControl* w = m_ui->WaveControl;
    bool failed = false;
    QString name;
    qint64 length = 0;
    QDateTime date;
    bool notFound = true;
    auto step = [&](auto&& f) {
        try {
            f();
        } catch (const AppError&) {
            failed = true;
        }
    };
    step([&] { name = w->FileName(); });
    step([&] { length = w->Length(); });
    step([&] {
        const QFileInfo info(name);
        if (!info.exists())
            raiseError(errnum::FileNotFound, QStringLiteral("File not found"));
        date = info.lastModified();
    });
    step([&] { notFound = selectWave(name, length, date); });
    // A file the device refused (playWaveFile has shown its words) isn't filed either: a
    // record of length 0 would only gather loops that can never play.
    if (failed || w->Mode() == MMControl::ModeNotOpen) {
        Prompts::msgBox(QStringLiteral("File not found"));
        return false;
    }
    if (notFound)
        addWave();
    else
        refreshDisplayForNewWave();
    return true;
}

bool frmMain::selectWave(const QString& FileName, qint64 fileLength, const QDateTime& fileDate) {
    FS_PROC(kModule, "Function selectWave", FS_ARG(FileName), FS_ARG(fileLength),
            FS_ARG(fileDate.toString()));
    QApplication::setOverrideCursor(Qt::WaitCursor);
    QString path, name;
    parsePath(FileName, path, name);
    // Length and date go along but take no part: a file edited in place keeps its loops.
    library::findWaveFile(*m_library.WAVs, name, path);
    QApplication::restoreOverrideCursor();
    return m_library.WAVs->NoMatch();
}

void frmMain::addWave() {
    FS_PROC(kModule, "Sub addWave");
    addWaveDB();
}

void frmMain::addWaveDB() {
    FS_PROC(kModule, "Sub addWaveDB");
    MMControl* w = m_ui->WaveControl;
    m_library.WAVs->AddNew();
    QString path, name;
    parsePath(w->FileName(), path, name);
    m_library.WAVs->setField(QStringLiteral("waveFilePath"), path);
    m_library.WAVs->setField(QStringLiteral("waveFileName"), name);
    m_library.WAVs->setField(QStringLiteral("waveDataLength"), w->Length());
    m_library.WAVs->setField(QStringLiteral("waveFileModDate"),
                             QFileInfo(w->FileName()).lastModified());
    m_library.WAVs->Update();
    m_library.WAVs->setBookmark(m_library.WAVs->LastModified());
    addWaveLoop();
    refreshDisplayForNewWave();
}

void frmMain::addWaveLoop() {
    FS_PROC(kModule, "Sub addWaveLoop");
    const QVariant id = m_library.WAVs->field(QStringLiteral("waveFileID"));
    library::selectWaveLoops(*m_library.dtaLoopPoints, id);
    m_library.dtaLoopPoints->Requery();
    m_library.dtaLoopPoints->AddNew();
    m_library.dtaLoopPoints->setField(QStringLiteral("waveFileID"), id);
    // One millisecond, not 0: a remembered loop start of 0 means "none".
    m_library.dtaLoopPoints->setField(QStringLiteral("startTime"), 1);
    ms();
    m_library.dtaLoopPoints->setField(QStringLiteral("endTime"), m_ui->WaveControl->Length());
    m_library.dtaLoopPoints->setField(QStringLiteral("Comment"),
                                      QStringLiteral("Entire file in this loop"));
    m_library.dtaLoopPoints->Update();
}

void frmMain::refreshDisplayForNewWave() {
    FS_PROC(kModule, "Sub refreshDisplayForNewWave");
    if (m_library.WAVs->isBOF() || m_library.WAVs->isEOF())
        return;
    MMControl* w = m_ui->WaveControl;
    const QVariant id = m_library.WAVs->field(QStringLiteral("waveFileID"));
    // What the loops grid holds for its row is written before the rows are read again.
    fs::ignoreErrors([&] { commitGridEdits(); });
    bool sourceFailed = false;
    fs::ignoreErrors([&] {
        if (!library::holdsWaveLoopsOf(*m_library.dtaLoopPoints, id)) {
            try {
                library::selectWaveLoops(*m_library.dtaLoopPoints, id);
            } catch (const AppError&) {
                sourceFailed = true;
                throw;
            }
        }
    });
    if (sourceFailed)
        return;
    fs::ignoreErrors([&] {
        try {
            m_library.dtaLoopPoints->Refresh();
        } catch (const AppError&) {
            m_library.dtaLoopPoints->Requery();
        }
    });
    qint32 count = 0;
    fs::ignoreErrors([&] { m_library.dtaLoopPoints->MoveLast(); });
    fs::ignoreErrors([&] { count = m_library.dtaLoopPoints->RecordCount(); });
    // A file whose loops were all deleted gets the whole-file loop again.
    fs::ignoreErrors([&] {
        if (count == 0)
            addWaveLoop();
    });
    fs::ignoreErrors([&] { m_library.dtaLoopPoints->MoveFirst(); });
    fs::ignoreErrors([&] { setWindowTitle(QStringLiteral("Cantavox: ") + w->FileName()); });
    fs::ignoreErrors([&] { tmsf(); });
    fs::ignoreErrors([&] { w->setTimeFormat(MMControl::TimeFormatMs); });
    fs::ignoreErrors([&] {
        setPanelText(QStringLiteral("pnlCDlength"),
                     QStringLiteral("CD Length: ") + mmss(w->Length()));
    });
    // The grid reads the rows live but must be told that they are other rows now.
    if (m_library.loopsModel)
        m_library.loopsModel->reload();
    cmdSlowPlayAdjust();
}
