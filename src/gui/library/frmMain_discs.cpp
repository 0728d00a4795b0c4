// Disc identity and catalogue: whether the disc in the drive is the current record, another
// disc the library knows, or a new one; and the disc's fields, tracks and loops on view.
#include "app/AppUtilities.h"
#include "app/Messages.h"
#include "app/Prompts.h"
#include "app/Support.h"
#include "app/TimeFormats.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "failsafe/AppError.h"
#include "failsafe/modFailSafe.h"
#include "library/BoundField.h"
#include "library/DiscQueries.h"
#include "library/LoopQueries.h"
#include "library/Recordset.h"
#include "library/RecordsetModel.h"
#include "library/TrackQueries.h"
#include "platform/CdDevice.h"
#include "platform/CdNotifier.h"
#include "platform/DigitalReader.h"
#include "platform/MMControl.h"
#include "prefs/prefs.h"
#include "ui_frmMain.h"

#include <QDateTime>
#include <QGuiApplication>
#include <QLineEdit>

namespace {
const char* const kModule = "main form";

bool atRecord(const Recordset* rs) {
    return rs && !rs->isEOF() && !rs->isBOF();
}

// The disc is measured in milliseconds whichever player is in force: a disc put in while a
// wave file is up would otherwise be measured in another unit, or by the wrong player, and
// never be known again.
void discInMs(MMControl* cd) {
    fs::ignoreErrors([&] { cd->setTimeFormat(MMControl::TimeFormatMs); });
}
} // namespace

void frmMain::connectDiscs() {
    // The disc's fields follow its record, and what the user types is kept at once. The texts
    // the code shows in the title for an empty drive or a data disc are never written.
    new BoundField(m_ui->CDTitle, m_library.CDs, QStringLiteral("Title"), "Sub CDTitle_Change",
                   this);
    new BoundField(m_ui->Artist, m_library.CDs, QStringLiteral("Artist"), "Sub Artist_Change",
                   this);
    new BoundField(m_ui->Comments, m_library.dtaTracks, QStringLiteral("Comments"),
                   "Sub Comments_Change", this);
    connect(m_ui->CDTitle, &QLineEdit::textEdited, this,
            fs::trapped(kModule, "Sub CDTitle_Change", [this] { CDTitle_Change(); }));
    connect(m_library.CDs, &Recordset::Reposition, this,
            fs::trapped(kModule, "Sub CDs_Reposition", [this] { CDs_Reposition(); }));
    connect(m_library.CDs, &Recordset::Error, this, [this](int dataErr, int& response) {
        fs::trap(kModule, "Sub CDs_Error", [&] { CDs_Error(dataErr, response); });
    });
    m_disc.CDNotify1 = new CdNotifier(this);
    auto check = [this] {
        if (!gvExiting && m_formLoaded)
            checkCDPresent();
    };
    connect(m_disc.CDNotify1, &CdNotifier::arrival, this,
            fs::trapped(kModule, "Sub CDNotify1_Arrival", check));
    connect(m_disc.CDNotify1, &CdNotifier::removeComplete, this,
            fs::trapped(kModule, "Sub CDNotify1_RemoveComplete", check));
}

bool frmMain::CDpresent() {
    FS_PROC(kModule, "Function CDpresent");
    return m_ui->CDControl->Tracks() > 0;
}

void frmMain::checkCDPresent() {
    FS_PROC(kModule, "Sub checkCDPresent");
    if (CDpresent()) {
        // The strip was taken away with the disc; it comes back with one, whatever view the
        // disc is put back in.
        m_ui->CDControl->setEnabled(true);
        checkCD();
        if (panelText(QStringLiteral("pnlMsg")) != u"CD-ROM (no audio tracks)") {
            setPanelVisible(QStringLiteral("pnlTrackLength"), true);
            setPanelVisible(QStringLiteral("pnlCDlength"), true);
            if (panelText(QStringLiteral("pnlMsg")) != u"CD Found")
                setPanelText(QStringLiteral("pnlMsg"), QStringLiteral("CD Found"));
        }
        return;
    }
    m_ui->CDControl->setEnabled(false);
    setPanelText(QStringLiteral("pnlMsg"), QStringLiteral("No CD in drive"));
    setWindowTitle(QStringLiteral("Cantavox: No CD in drive"));
    setPanelVisible(QStringLiteral("pnlTrackLength"), false);
    setPanelVisible(QStringLiteral("pnlCDlength"), false);
    hideCDfields();
    m_ui->CDTitle->setText(QStringLiteral("No CD In Drive"));
    if (atRecord(m_library.CDs) &&
        m_library.CDs->field(QStringLiteral("cdLen")).toLongLong() != 0) {
        library::findEmptyDriveRecord(*m_library.CDs);
        refreshDisplayForNewCD();
    }
}

void frmMain::checkCD() {
    FS_PROC(kModule, "Sub checkCD");
    ms();
    discInMs(m_ui->CDControl);
    const qint32 theLen = getStableCDLength();
    const qint32 t1 = track1Length();
    const bool current = atRecord(m_library.CDs) &&
                         theLen == m_library.CDs->field(QStringLiteral("cdLen")).toLongLong() &&
                         vbVal(m_library.CDs->field(QStringLiteral("cdLen")).toString()) > 0 &&
                         t1 == m_library.CDs->field(QStringLiteral("track1Len")).toLongLong();
    if (current) {
        if (!m_ui->CDTitle->isVisible())
            showCDfields();
        return;
    }
    ms();
    findAndShowCD();
}

qint32 frmMain::getStableCDLength() {
    FS_PROC(kModule, "Function getStableCDLength");
    qint32 length = 0;
    try {
        const bool hadCursor = QGuiApplication::overrideCursor() != nullptr;
        ms();
        MMControl* cd = m_ui->CDControl;
        discInMs(cd);
        const qint64 started = QDateTime::currentSecsSinceEpoch();
        auto restoreCursor = [&] {
            if (!hadCursor)
                while (QGuiApplication::overrideCursor())
                    QGuiApplication::restoreOverrideCursor();
        };
        while (cd->Length() == 0 && QDateTime::currentSecsSinceEpoch() - started < 3) {
            if (!QGuiApplication::overrideCursor())
                QGuiApplication::setOverrideCursor(Qt::WaitCursor);
            setPanelText(QStringLiteral("pnlMsg"), QStringLiteral("Looking up CD..."));
            cd->setWait(true);
            cd->setCommand(QStringLiteral("Close"));
            cd->setCommand(QStringLiteral("Open"));
            if (!CDpresent()) {
                restoreCursor();
                return 0;
            }
        }
        if (cd->Length() == 0 && CDpresent()) {
            restoreCursor();
            Prompts::msgBox(
                QStringLiteral("The CD player is not responding. A restart of Windows might fix "
                               "this problem.\n\nIf that doesn't work, go to the Control Panel "
                               "and double-click the Multimedia icon. In the Advanced (or "
                               "Devices) tab, one area is called Media Control Devices. This "
                               "should contain a CD Audio driver which is enabled (you can tell "
                               "whether it's enabled by double-clicking it and examining the "
                               "dialog box).\n\nAlso, if you click the CD Music tab of the "
                               "Multimedia Control Panel, the drive letter of your CD-ROM drive "
                               "should appear in the drop-down box labelled 'CD-ROM drive'. "));
            return 0;
        }
        length = cd->Length();
        restoreCursor();
    } catch (const AppError& e) {
        Prompts::msgBox(QStringLiteral("Error ") + QString::number(e.number) +
                        QStringLiteral("occurred in procedure getStableCDLength\n\n") +
                        e.description +
                        QStringLiteral("\n\nPlease send email with the error "
                                       "description to ") +
                        supportAddress() + QStringLiteral(". Thank you."));
        return 0;
    }
    return length;
}

qint32 frmMain::track1Length() {
    FS_PROC(kModule, "Function track1Length");
    ms();
    discInMs(m_ui->CDControl);
    m_ui->CDControl->setTrack(1);
    return m_ui->CDControl->TrackLength();
}

void frmMain::findAndShowCD() {
    FS_PROC(kModule, "Sub findAndShowCD");
    MMControl* cd = m_ui->CDControl;
    ms();
    discInMs(cd);
    int rounds = 0;
    while (cd->Length() == 0 && rounds < 6) {
        ++rounds;
        setPanelText(QStringLiteral("pnlMsg"), QStringLiteral("Looking up CD..."));
        cd->setWait(true);
        cd->setCommand(QStringLiteral("Close"));
        cd->setWait(true);
        cd->setCommand(QStringLiteral("open"));
    }
    if (rounds >= 6)
        return;
    // Digital reading, when it is in force, tells a data track 1 from music; otherwise the
    // device's track count alone does.
    bool dataDisc = cd->Tracks() == 0;
    if (gvDigitalRecordingOK) {
        DigitalReader* acd = m_disc.ACD1;
        acd->openDrive(gvDigCDNum);
        dataDisc = !acd->isAudioTrack(1) || (cd->Tracks() == 0 && acd->trackCount() <= 0);
    }
    if (dataDisc) {
        hideCDfields();
        m_ui->CDTitle->setText(QStringLiteral("CD-ROM (no audio tracks)"));
        setPanelText(QStringLiteral("pnlMsg"), m_ui->CDTitle->text());
        setPanelVisible(QStringLiteral("pnlTrackLength"), false);
        setPanelVisible(QStringLiteral("pnlCDlength"), false);
        setWindowTitle(m_ui->CDTitle->text());
        return;
    }
    ms();
    discInMs(cd);
    const qint32 theLength = cd->Length();
    const qint32 t1 = track1Length();
    if (selectCD(theLength, t1))
        addCD();
    else
        refreshDisplayForNewCD();
}

bool frmMain::selectCD(qint32 theLength, qint32 t1Len) {
    FS_PROC(kModule, "Function selectCD", FS_ARG(theLength), FS_ARG(t1Len));
    library::findDiscByLengths(*m_library.CDs, theLength, t1Len);
    return m_library.CDs->NoMatch();
}

void frmMain::addCD() {
    FS_PROC(kModule, "Sub addCD");
    addCDdb();
    m_ui->CDTitle->setEnabled(true);
    if (m_ui->CDTitle->isVisible())
        m_ui->CDTitle->setFocus(Qt::OtherFocusReason);
    m_ui->CDTitle->selectAll();
}

void frmMain::addCDdb() {
    FS_PROC(kModule, "Sub addCDdb");
    Recordset* cds = m_library.CDs;
    MMControl* cd = m_ui->CDControl;
    // A disc that carries its names (CD-Text) gives them instead of the words to type over.
    CdDisc::Contents names;
    if (const auto* device = qobject_cast<const CdDevice*>(cd->device()))
        names = device->contents();
    cds->AddNew();
    discInMs(cd);
    const QString cdLen = QString::number(cd->Length());
    const qint16 numTracks = static_cast<qint16>(cd->Tracks());
    cds->setField(QStringLiteral("Title"),
                  names.title.isEmpty() ? QStringLiteral("CD Title") : names.title);
    cds->setField(QStringLiteral("Artist"),
                  names.performer.isEmpty() ? QStringLiteral("Artist") : names.performer);
    cds->setField(QStringLiteral("cdLen"), cdLen);
    cds->setField(QStringLiteral("numTracks"), numTracks);
    cds->setField(QStringLiteral("track1Len"), track1Length());
    cds->Update();
    cds->setBookmark(cds->LastModified());
    const QVariant cdId = cds->field(QStringLiteral("CDid"));
    Recordset* tracks = m_library.dtaTracks;
    for (qint16 t = 1; t <= numTracks; ++t) {
        tracks->AddNew();
        tracks->setField(QStringLiteral("TrackNum"), t);
        const QString named = t <= names.tracks.size() ? names.tracks[t - 1].title : QString();
        tracks->setField(QStringLiteral("TrackName"), named.isEmpty() ? QString::number(t) : named);
        tracks->setField(QStringLiteral("CDid"), cdId);
        tracks->Update();
    }
    refreshDisplayForNewCD();
}

void frmMain::refreshDisplayForNewCD() {
    FS_PROC(kModule, "Sub refreshDisplayForNewCD");
    Recordset* cds = m_library.CDs;
    if (!atRecord(cds))
        return;
    // A disc that comes while a wave file is up is filed, but the grids keep the file's
    // loops: the disc is shown when the disc's view is chosen (initCDview).
    if (!m_transport.cdView)
        return;
    showDiscRows();
    const QVariant last = cds->field(QStringLiteral("lastLoopSelected"));
    if (!last.isNull() && last.toLongLong() > 0) {
        library::findLoopStartingAt(*m_library.dtaLoopPoints, last.toInt());
        if (m_library.loopsModel)
            m_library.loopsModel->reload();
        if (!m_library.dtaLoopPoints->NoMatch() && !m_library.dtaLoopPoints->isEOF())
            m_ui->loopPoints->setCurrentIndex(
                m_library.loopsModel->index(m_library.dtaLoopPoints->AbsolutePosition(), 0));
    }
    showCDfields();
    MMControl* cd = m_ui->CDControl;
    tmsf();
    QString lengthText;
    fs::ignoreErrors([&] {
        cd->setTimeFormat(MMControl::TimeFormatMsf);
        lengthText = toMS(cd->Length());
    });
    setPanelText(QStringLiteral("pnlCDlength"), QStringLiteral("CD Length: ") + lengthText.left(5));
    if (vbVal(lengthText.left(5)) > 0 && !playing())
        switchToTrack(1);
    m_ui->txtCurrentPosition->setText(QStringLiteral("01:00:00"));
}

void frmMain::showCDfields() {
    FS_PROC(kModule, "Sub showCDfields");
    if (!atRecord(m_library.CDs) || m_library.CDs->field(QStringLiteral("cdLen")).toLongLong() == 0)
        return;
    for (QWidget* w :
         {static_cast<QWidget*>(m_ui->CDTitle), static_cast<QWidget*>(m_ui->Artist),
          static_cast<QWidget*>(m_ui->loopPoints), static_cast<QWidget*>(m_ui->tgTracks),
          static_cast<QWidget*>(m_ui->Comments), static_cast<QWidget*>(m_ui->lblTrackComments)})
        w->show();
    setWindowTitle(m_transport.cdView ? m_ui->CDTitle->text() + QStringLiteral(" - Cantavox")
                                      : QStringLiteral("Cantavox"));
    m_ui->CDControl->setEnabled(true);
}

void frmMain::hideCDfields() {
    FS_PROC(kModule, "Sub hideCDfields");
    Recordset* cds = m_library.CDs;
    if (!atRecord(cds) || cds->field(QStringLiteral("cdLen")).toLongLong() <= 0)
        return;
    library::findEmptyDriveRecord(*cds);
    if (cds->NoMatch()) {
        Prompts::msgBox(QStringLiteral("There is an error in your database file. It must contain "
                                       "a record with cdID=1. Please send e-mail to ") +
                        supportAddress());
        return;
    }
    refreshDisplayForNewCD();
}

void frmMain::CDs_Reposition() {
    FS_PROC(kModule, "Sub CDs_Reposition");
    if (m_disc.repositionedOnce)
        return;
    m_disc.repositionedOnce = true;
    refreshDisplayForNewCD();
}

void frmMain::CDTitle_Change() {
    FS_PROC(kModule, "Sub CDTitle_Change");
    setWindowTitle(QStringLiteral("Cantavox: ") + m_ui->CDTitle->text());
}

void frmMain::CDs_Error(int DataErr, int& Response) {
    FS_PROC(kModule, "Sub CDs_Error", FS_ARG(DataErr));
    Prompts::msgBox(QStringLiteral("Please inform programmer that there has been a data error ") +
                    QString::number(DataErr) +
                    QStringLiteral(" in the CDs control (send e-mail to ") + supportAddress() +
                    QStringLiteral(")"));
    Response = 0;
}
