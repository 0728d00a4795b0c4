// The main window's start-up, shutdown, modes and status bar.
#include "app/frmMain.h"
#include "app/Dialogs.h"
#include "app/Support.h"
#include "ui_frmMain.h"

#include "app/AppPaths.h"
#include "app/Forms.h"
#include "app/Main.h"
#include "app/MainBusyHost.h"
#include "app/Messages.h"
#include "app/Prompts.h"
#include "app/TimeFormats.h"
#include "app/globals.h"
#include "app/stateVariable.h"
#include "failsafe/modFailSafe.h"
#include "graph/MainGraphHost.h"
#include "library/DiscQueries.h"
#include "library/LibraryDatabase.h"
#include "library/LoopQueries.h"
#include "library/Recordset.h"
#include "library/RecordsetModel.h"
#include "library/TrackQueries.h"
#include "library/WaveFileQueries.h"
#include "library/cdDrive.h"
#include "library/dbUpgrade.h"
#include "loops/MainLoopMarking.h"
#include "loops/MainTrimHost.h"
#include "loops/loopPoints.h"
#include "platform/AudioDevice.h"
#include "platform/CdNotifier.h"
#include "platform/MMControl.h"
#include "prefs/Preference.h"
#include "prefs/prefs.h"
#include "shell/frmAbout.h"
#include "shell/hints.h"
#include "transform/digitalAudio.h"
#include "transform/slowplayInterface.h"

#include <QCloseEvent>
#include <QDesktopServices>
#include <QFileInfo>
#include <QGuiApplication>
#include <QHeaderView>
#include <QLabel>
#include <QScreen>
#include <QStatusBar>
#include <QTableView>
#include <QUrl>

namespace {
const char* const kModule = "main form";
frmMain* g_instance = nullptr;
} // namespace

frmMain::frmMain()
    : m_busyHost(std::make_unique<MainBusyHost>(*this)),
      m_loopMarking(std::make_unique<MainLoopMarking>(*this)),
      m_trimHost(std::make_unique<MainTrimHost>(*this)),
      m_graphHost(std::make_unique<MainGraphHost>(*this)), m_ui(std::make_unique<Ui::frmMain>()) {
    g_instance = this;
    setBusyHost(m_busyHost.get());
    ensureWindowResources();
    setObjectName(QStringLiteral("frmMain"));
    m_ui->setupUi(this);
    setWindowIcon(QIcon(QStringLiteral(":/cantavox.svg")));

    // Only the current media control shows; SlowPlay's strip shows in SlowPlay alone.
    m_ui->WaveControl->hide();
    m_ui->slowControl->hide();
    m_ui->CDControl->setObjectName(QStringLiteral("CDControl"));
    m_ui->CDControl->setDeviceType(QStringLiteral("cdaudio"));
    m_ui->WaveControl->setDeviceType(QStringLiteral("waveaudio"));
    m_ui->txtCurrentPosition->setObjectName(QStringLiteral("txtCurrentPosition"));
    QFont posFont = m_ui->txtCurrentPosition->font();
    posFont.setFamily(QStringLiteral("monospace"));
    posFont.setStyleHint(QFont::Monospace);
    posFont.setPointSizeF(posFont.pointSizeF() * 2.0);
    posFont.setBold(true);
    m_ui->txtCurrentPosition->setFont(posFont);
    m_ui->lblMMCtrl->setMinimumWidth(48);
    m_ui->lblMMCtrl->setStyleSheet(
        QStringLiteral("QLabel { background: palette(highlight); color: palette(highlighted-text);"
                       " border-radius: 4px; padding: 2px 8px; font-weight: bold; }"));
    for (QLabel* key : {m_ui->lblF6, m_ui->lblF7, m_ui->lblF8})
        key->setStyleSheet(QStringLiteral("QLabel { color: palette(mid); }"));
    QFont trans = m_ui->lblTrans->font();
    trans.setBold(true);
    trans.setPointSizeF(trans.pointSizeF() * 1.3);
    m_ui->lblTrans->setFont(trans);
    m_ui->txtSlowPct_0->setMaximumWidth(60);
    m_ui->txtSlowPct_1->setMaximumWidth(50);
    m_ui->txtSlowPct_2->setMaximumWidth(50);
    m_ui->splGrids->setStretchFactor(0, 1);
    m_ui->splGrids->setStretchFactor(1, 2);
    buildStatusBar();
    connectMenus();

    m_library.CDs = new Recordset(this);
    m_library.dtaTracks = new Recordset(this);
    m_library.dtaLoopPoints = new Recordset(this);
    m_library.WAVs = new Recordset(this);
    for (auto [rs, name] :
         {std::pair{m_library.CDs, "CDs"}, std::pair{m_library.dtaTracks, "dtaTracks"},
          std::pair{m_library.dtaLoopPoints, "dtaLoopPoints"}, std::pair{m_library.WAVs, "WAVs"}})
        rs->setObjectName(QString::fromLatin1(name));

    tmrAfterFormLoad.setSingleShot(true);
    connect(&tmrAfterFormLoad, &QTimer::timeout, this, [this] { tmrAfterFormLoad_Timer(); });
}

frmMain::~frmMain() {
    // The engine's end must find no window that is gone.
    setSlowPlayCallbackHandler(nullptr);
    if (playState == m_playState.get())
        playState = nullptr;
    if (busyHost() == m_busyHost.get())
        setBusyHost(nullptr);
    if (g_instance == this)
        g_instance = nullptr;
}

frmMain* frmMain::instance() {
    return g_instance;
}

void frmMain::connectMenus() {
    // The disc menu's track entries work on the disc's current track: with a wave file up, or
    // no disc in the drive, there is none, and the entries would only raise "no current
    // record". The tracks grid's popup sets them again for itself.
    connect(m_ui->mnuCD, &QMenu::aboutToShow, this, [this] {
        const bool track = m_transport.cdView && !gvInSlowPlay && CDpresent();
        m_ui->mnuMakeLoop->setEnabled(track);
        m_ui->mnuDigitalRec->setEnabled(track && gvRecordMode == 1);
    });
    connect(m_ui->menuExit, &QAction::triggered, this,
            fs::trapped(kModule, "Sub menuExit_Click", [this] { menuExit_Click(); }));
    connect(m_ui->menuAbout, &QAction::triggered, this,
            fs::trapped(kModule, "Sub menuAbout_Click", [this] { menuAbout_Click(); }));
    connect(m_ui->menuHelpChoice, &QAction::triggered, this,
            fs::trapped(kModule, "Sub menuHelpChoice_Click", [this] { menuHelpChoice_Click(); }));
    const std::pair<QAction*, int> web[] = {
        {m_ui->mnuWeb_2, 2}, {m_ui->mnuWeb_3, 3}, {m_ui->mnuWeb_4, 4}, {m_ui->mnuWeb_5, 5}};
    for (const auto& [action, index] : web) {
        connect(action, &QAction::triggered, this,
                fs::trapped(kModule, "Sub mnuWeb_Click", [this, i = index] { mnuWeb_Click(i); }));
    }
    const std::pair<QAction*, int> views[] = {
        {m_ui->mnuChooseView_1, 1}, {m_ui->mnuChooseView_2, 2}, {m_ui->mnuChooseView_3, 3}};
    for (const auto& [action, index] : views) {
        connect(action, &QAction::triggered, this,
                fs::trapped(kModule, "Sub mnuChooseView_Click",
                            [this, i = index] { mnuChooseView_Click(i); }));
    }
    connect(m_ui->mnuWaveView, &QAction::triggered, this,
            fs::trapped(kModule, "Sub mnuWaveView_Click", [this] { mnuWaveView_Click(); }));
    connect(m_ui->cmdPrevView, &QPushButton::clicked, this,
            fs::trapped(kModule, "Sub cmdPrevView_Click", [this] { cmdPrevView_Click(); }));
    // The recent-file slots stay hidden until the File menu's list is filled.
    m_ui->mnuMRUsep->setSeparator(true);
    for (QAction* mru : {m_ui->mnuMRU_1, m_ui->mnuMRU_2, m_ui->mnuMRU_3, m_ui->mnuMRU_4})
        mru->setVisible(false);
    m_ui->mnuMRUsep->setVisible(false);
    for (qint16 i = 1; i <= 4; ++i)
        connect(mnuMRU(i), &QAction::triggered, this,
                fs::trapped(kModule, "Sub mnuMRU_Click", [this, i] { mnuMRU_Click(i); }));
    connect(m_ui->mnuFile, &QMenu::aboutToShow, this,
            fs::trapped(kModule, "Sub menuFile_Click", [this] { menuFile_Click(); }));
    connect(m_ui->mnuFileOpen, &QAction::triggered, this,
            fs::trapped(kModule, "Sub mnuFileOpen_Click", [this] { mnuFileOpen_Click(); }));
    connectWaveTransport();
    connectCdTransport();
    connectDigitalReader();
    connectTransform();
    connectKeyboard();
    connect(m_ui->btnLoopPlay, &QPushButton::clicked, this,
            fs::trapped(kModule, "Sub btnLoopPlay_Click", [this] { btnLoopPlay_Click(); }));
    connect(m_ui->cmdStartNewLoop, &QPushButton::clicked, this,
            fs::trapped(kModule, "Sub cmdStartNewLoop_Click", [this] { cmdStartNewLoop_Click(); }));
    connect(m_ui->mnuMakeLoop, &QAction::triggered, this,
            fs::trapped(kModule, "Sub mnuMakeLoop_Click", [this] { mnuMakeLoop_Click(); }));
    connect(m_ui->mnuDigitalRec, &QAction::triggered, this,
            fs::trapped(kModule, "Sub mnuDigitalRec_Click", [this] { mnuDigitalRec_Click(); }));
}

// ---------------------------------------------------------------------------------------
// Start-up and shutdown

void frmMain::Form_Load() {
    FS_PROC(kModule, "Sub Form_Load");
    m_formLoaded = false;
    setEnabled(false);
    // The message window is called messageForm, so this is never true; kept as it stands.
    if (isLoaded(QStringLiteral("messagesForm")))
        Message(QStringLiteral("Loading Main Form"), QStringLiteral("Starting Cantavox"));
    m_loops.loopPointBuffer = std::make_unique<loopPoints>();
    m_ui->CDControl->setWait(false);
    gvDebugging = false;
    m_transform.externBinPath = appDir() + QStringLiteral("/extern.bin");
    centerform(this);
    stashTooltips();
    m_transport.lastTypedTime = Timer() - 10;
    autoplay(false);
    CDandRecordingSetup();
    {
        // A library made now from the shipped layout still needs its field upgrade.
        bool created = false;
        QString problem;
        if (!library::createLibraryIfMissing(library::libraryPath(), created, problem)) {
            Prompts::msgBox(problem, vb::vbCritical);
            requestExitStatus(4);
            exitProgram(false);
            return;
        }
        if (created) {
            Preference version;
            version.setPreferenceName(QStringLiteral("dbVersion"));
            version.setValue(QStringLiteral("6"));
        }
    }
    {
        Preference pref;
        pref.setPreferenceName(QStringLiteral("dbVersion"));
        // A missing value ("N/A") reads as 0 through the numeric value of the text.
        if (vbVal(pref.Value().toString()) < 7) {
            if (!AppendNewFields()) {
                requestExitStatus(4);
                exitProgram(false);
                return;
            }
            pref.setValue(QStringLiteral("7"));
        }
    }
    initializeStateVariables();
    m_transport.currentMMControl = m_ui->CDControl;
    QScreen* screen = QGuiApplication::primaryScreen();
    if (screen && screen->geometry().width() == 640) {
        // Without a window manager the state alone doesn't resize: fill the screen as well.
        setGeometry(screen->availableGeometry());
        setWindowState(windowState() | Qt::WindowMaximized);
    } else
        centerform(this);
    if (!openLibrary())
        return;
    getMRUs();
    getPrefs();
    gvDriveCount = driveCount();
    // The two grids share one place: loopPoints stands beside tgTracks at the same height,
    // which the splitter that holds them guarantees.
    tmrAfterFormLoad.setInterval(200);
    tmrAfterFormLoad.start();
    m_formLoaded = true;
    setEnabled(true);
}

bool frmMain::openLibrary() {
    FS_PROC(kModule, "Function openLibrary");
    const QString path = library::libraryPath();
    m_library.dtaLoopPoints->setDatabaseName(path);
    for (Recordset* rs : {m_library.CDs, m_library.dtaTracks, m_library.WAVs})
        rs->setDatabaseName(m_library.dtaLoopPoints->DatabaseName());
    QString problem;
    if (!library::openConnection(QString::fromLatin1(library::kMainConnection), path, problem)) {
        Prompts::msgBox(QStringLiteral("Please inform the programmer that file ") + appDir() +
                            QStringLiteral("/cantavox.db failed to open.") +
                            QStringLiteral(" Error is ") + problem,
                        vb::vbCritical);
        requestExitStatus(4);
        exitProgram(false);
        return false;
    }
    library::selectAllDiscs(*m_library.CDs);
    m_library.CDs->Refresh();
    library::selectAllWaveFiles(*m_library.WAVs);
    m_library.WAVs->Refresh();
    m_library.tracksModel =
        new RecordsetModel(m_library.dtaTracks,
                           {{QStringLiteral("TrackNum"), QStringLiteral("#"), false},
                            {QStringLiteral("TrackName"), QStringLiteral("Track Name")},
                            {QStringLiteral("Rating"), QStringLiteral("Rating")}},
                           this);
    m_library.loopsModel =
        new RecordsetModel(m_library.dtaLoopPoints,
                           {{QStringLiteral("TrackNum"), QStringLiteral("Trk"), false},
                            {QStringLiteral("Chords"), QStringLiteral("Chords")},
                            {QStringLiteral("Lyrics"), QStringLiteral("Lyrics")},
                            {QStringLiteral("Comment"), QStringLiteral("Label/Comment")}},
                           this);
    showDiscRows();
    m_ui->tgTracks->setModel(m_library.tracksModel);
    m_ui->loopPoints->setModel(m_library.loopsModel);
    m_library.tracksModel->attach(m_ui->tgTracks->selectionModel());
    m_library.loopsModel->attach(m_ui->loopPoints->selectionModel());
    for (QTableView* grid : {m_ui->tgTracks, m_ui->loopPoints}) {
        grid->verticalHeader()->hide();
        grid->horizontalHeader()->setStretchLastSection(true);
    }
    m_ui->tgTracks->setColumnWidth(0, 40);
    m_ui->loopPoints->setColumnWidth(0, 40);
    m_ui->loopPoints->setColumnWidth(1, 140);
    m_ui->loopPoints->setColumnWidth(2, 220);
    m_ui->tgTracks->setRecordset(m_library.dtaTracks);
    m_ui->loopPoints->setRecordset(m_library.dtaLoopPoints);
    connectGrids();
    connectDiscs();
    return true;
}

void frmMain::showDiscRows() {
    FS_PROC(kModule, "Sub showDiscRows");
    commitGridEdits();
    const QVariant disc = m_library.CDs->isEOF() || m_library.CDs->isBOF()
                              ? QVariant(0)
                              : m_library.CDs->field(QStringLiteral("CDid"));
    library::selectDiscTracks(*m_library.dtaTracks, disc);
    m_library.dtaTracks->Refresh();
    library::selectDiscLoops(*m_library.dtaLoopPoints, disc);
    m_library.dtaLoopPoints->Refresh();
    if (m_library.tracksModel)
        m_library.tracksModel->reload();
    if (m_library.loopsModel)
        m_library.loopsModel->reload();
    // An empty list moves no record, so the Transform button is told here.
    cmdSlowPlayAdjust();
}

void frmMain::commitGridEdits() {
    FS_PROC(kModule, "Sub commitGridEdits");
    if (m_library.tracksModel)
        m_library.tracksModel->commitPendingRow();
    if (m_library.loopsModel)
        m_library.loopsModel->commitPendingRow();
}

void frmMain::initializeStateVariables() {
    FS_PROC(kModule, "Sub initializeStateVariables");
    m_transport.lastTypedTime = Timer() - 10;
    if (!m_playState)
        m_playState = std::make_unique<stateVariable>(m_ui->CDControl, m_ui->WaveControl);
    playState = m_playState.get();
    playState->setState(false);
    gvHighlightedTrack = 0;
    m_transport.currentView = 1;
    dialogDirectory = appDir();
    gvRecordingSampleRate = 44100;
    gvPlayRequested = false;
    gvDisplayQuality = 20;
}

void frmMain::getPrefs() {
    FS_PROC(kModule, "Sub getPrefs");
    readPref(QStringLiteral("AutoSlow"), gvAutoSlow, true);
    readPref(QStringLiteral("PreviewEnd"), gvPreviewEnd, false);
    readPref(QStringLiteral("DeleteTempFiles"), gvDeleteTempFiles, true);
    readPref(QStringLiteral("ShowTooltips"), gvShowTooltips, true);
    checkTooltips();
    readPref(QStringLiteral("SwitchToDigitalAskedAndAnswered"), gvSwitchToDigitalAskedAndAnswered,
             true);
    readPref(QStringLiteral("Realtime"), gvRealtime, true);
    readPref(QStringLiteral("SoundQuality"), gvSoundQuality, 3);
}

void frmMain::tmrAfterFormLoad_Timer() {
    if (gvExiting || !m_formLoaded)
        return;
    fs::trap(kModule, "Sub tmrAfterFormLoad_Timer", [this] {
        FS_PROC(kModule, "Sub tmrAfterFormLoad_Timer");
        tmrAfterFormLoad.setInterval(0);
        tmrAfterFormLoad.stop();
        if (gvFirstRun)
            setCDdrive();
        changeToMode(QStringLiteral("CD"), true);
        if (frmAbout* about = formIfLoaded<frmAbout>())
            unloadForm(about);
        checkCDPresent();
        m_disc.CDNotify1->start();
        // Placeholder: with digital extraction usable, an empty drive's tray is cycled here.
        // Without a sound card the program still runs, silently, and says so once.
        if (const QString notice = AudioDevice::takeNotice(); !notice.isEmpty())
            setPanelText(QStringLiteral("pnlMsg"), notice);
        show();
    });
    if (gvExiting)
        return;
    // From here errors are no longer trapped by this handler.
    Message(QStringLiteral("off"), QStringLiteral("Make Loop Points"));
    ShowHint(QStringLiteral("warnTutorialExists"));
    gvInStartup = false;
}

void frmMain::closeEvent(QCloseEvent* event) {
    // A close that comes from unloadForm (closeAllForms) is by code; anything else is the
    // window's own close box or the window manager.
    const int mode = property("cantavoxUnloaded").toBool() ? vbFormCode : vbFormControlMenu;
    bool cancel = false;
    fs::trap(kModule, "Sub Form_QueryUnload", [&] { Form_QueryUnload(cancel, mode); });
    if (cancel) {
        event->ignore();
        return;
    }
    event->accept();
    if (m_unloading)
        return;
    m_unloading = true;
    bool unloadCancel = false;
    fs::trap(kModule, "Sub Form_Unload", [&] { Form_Unload(unloadCancel); });
}

void frmMain::Form_QueryUnload(bool& Cancel, int UnloadMode) {
    FS_PROC(kModule, "Sub Form_QueryUnload", FS_ARG(Cancel), FS_ARG(UnloadMode));
    if (UnloadMode == vbFormControlMenu && gvInSlowPlay) {
        cmdPrevView_Click();
        Cancel = true;
    }
}

void frmMain::Form_Unload(bool& Cancel) {
    FS_PROC(kModule, "Sub Form_Unload", FS_ARG(Cancel));
    if (m_disc.CDNotify1)
        m_disc.CDNotify1->stop();
    for (MMControl* control : {m_ui->CDControl, m_ui->WaveControl}) {
        control->setWait(true);
        control->setCommand(QStringLiteral("stop"));
        control->setWait(true);
        control->setCommand(QStringLiteral("close"));
    }
    autoplay(true);
    // What the grids still hold is written, and the library closed with its log folded in.
    fs::ignoreErrors([&] { commitGridEdits(); });
    library::closeConnection(QString::fromLatin1(library::kMainConnection));
    m_loops.loopPointBuffer.reset();
    m_transport.currentMMControl = nullptr;
    exitProgram(false);
}

void frmMain::menuExit_Click() {
    FS_PROC(kModule, "Sub menuExit_Click");
    exitProgram(false);
}

// ---------------------------------------------------------------------------------------
// Modes and state

QString frmMain::currentMode() const {
    if (gvInSlowPlay)
        return QStringLiteral("SlowPlay");
    return m_transport.cdView ? QStringLiteral("CD") : QStringLiteral("Wave");
}

void frmMain::changeToMode(const QString& theMode, bool suppressRefresh) {
    FS_PROC(kModule, "Sub changeToMode", FS_ARG(theMode), FS_ARG(suppressRefresh));
    playState->setState(false);
    gvRecordingLoop = false;
    MMsuspend(theMode);
    if (theMode.compare(u"CD", Qt::CaseInsensitive) == 0) {
        initCDview(suppressRefresh);
    } else if (theMode.compare(u"Wave", Qt::CaseInsensitive) == 0) {
        if (!initWaveView())
            return;
    } else if (theMode.compare(u"SlowPlay", Qt::CaseInsensitive) == 0) {
        initSlowView();
    }
    fs::ignoreErrors(
        [&] { gvInSlowPlay = theMode.compare(u"SlowPlay", Qt::CaseInsensitive) == 0; });
    fs::ignoreErrors([&] { visibilityAndPositionAdjust(); });
    fs::ignoreErrors([&] { auxiliaryFormAdjust(); });
    fs::ignoreErrors([&] { MMgo(); });
    fs::ignoreErrors([&] {
        if (isLoaded(QStringLiteral("messages2")))
            setEnabled(true);
    });
    fs::ignoreErrors([&] {
        while (QGuiApplication::overrideCursor())
            QGuiApplication::restoreOverrideCursor();
    });
}

void frmMain::MMsuspend(const QString& theMode) {
    FS_PROC(kModule, "Sub MMsuspend", FS_ARG(theMode));
    if (!m_transport.currentMMControl)
        m_transport.currentMMControl = m_ui->CDControl;
    m_transport.currentMMControl->setUpdateInterval(0);
    m_ui->WaveControl->setUpdateInterval(0);
    m_ui->CDControl->setUpdateInterval(0);
    m_ui->slowControl->setUpdateInterval(0);
    const bool toCD = theMode.compare(u"CD", Qt::CaseInsensitive) == 0;
    if (!toCD || m_transport.currentMMControl != m_ui->CDControl) {
        m_transport.currentMMControl->setWait(true);
        m_transport.currentMMControl->setCommand(QStringLiteral("Stop"));
    }
}

void frmMain::MMgo() {
    FS_PROC(kModule, "Sub MMgo");
    m_transport.currentMMControl->setUpdateInterval(500);
    m_transport.currentMMControl->setVisible(!gvInSlowPlay);
    m_transport.currentMMControl->setEnabled(true);
    if (m_transport.currentMMControl->objectName() == u"CDControl")
        m_ui->lblMMCtrl->setText(QStringLiteral("CD"));
    else if (m_transport.currentMMControl->objectName() == u"WaveControl")
        m_ui->lblMMCtrl->setText(QStringLiteral("Wave"));
}

void frmMain::initCDview(bool suppressRefresh) {
    FS_PROC(kModule, "Sub initCDview", FS_ARG(suppressRefresh));
    m_transport.cdView = true;
    m_transport.currentMMControl->hide();
    m_transport.currentMMControl = m_ui->CDControl;
    if (m_ui->CDControl->Mode() == MMControl::ModeNotOpen) {
        m_ui->CDControl->setWait(true);
        m_ui->CDControl->setCommand(QStringLiteral("Open"));
    } else if (!suppressRefresh) {
        refreshDisplayForNewCD();
    }
}

void frmMain::initSlowView() {
    FS_PROC(kModule, "Sub initSlowView");
    m_transport.currentMMControl->hide();
    m_transport.currentMMControl = m_ui->WaveControl;
    if (m_ui->slSlowPct_0->value() == 0) {
        // Set by code: this runs no transformation of its own.
        m_transform.sliderUpdating = true;
        m_ui->slSlowPct_0->setValue(50);
        m_transform.sliderUpdating = false;
    }
    m_ui->txtSlowPct_0->setText(QString::number(m_ui->slSlowPct_0->value()));
    m_transport.currentMMControl->setWait(true);
    m_transport.currentMMControl->setCommand(QStringLiteral("Close"));
    m_ui->txtCurrentPosition->setText(QStringLiteral("00:00"));
}

bool frmMain::initWaveView() {
    FS_PROC(kModule, "Function initWaveView");
    MMControl* wave = m_ui->WaveControl;
    const QString name = wave->FileName();
    if (name.contains(u"tempslow.wav", Qt::CaseInsensitive) ||
        name.contains(u"temp.wav", Qt::CaseInsensitive) || name.isEmpty()) {
        wave->setWait(true);
        wave->setCommand(QStringLiteral("Close"));
        wave->setFileName(m_transport.savedWaveFile);
        wave->setWait(true);
        wave->setCommand(QStringLiteral("open"));
    }
    if (wave->FileName().isEmpty()) {
        mnuFileOpen_Click();
        if (wave->FileName().isEmpty())
            return false;
    }
    if (!doWaveDBThing())
        return false;
    m_transport.cdView = false;
    m_transport.currentMMControl->hide();
    m_transport.currentMMControl = wave;
    showLoopDetails();
    m_ui->sbTrackPos->setMaximum(checkedInt16(static_cast<qint64>(wave->Length() / 1000)));
    refreshDisplayForNewWave();
    return true;
}

bool frmMain::saveCurrentStatus() {
    FS_PROC(kModule, "Function saveCurrentStatus");
    m_transport.savedWaveFile = m_ui->WaveControl->FileName();
    m_transport.savedView = m_transport.currentView;
    m_transport.savedCdView = m_transport.cdView;
    if (m_library.dtaLoopPoints->isBOF() || m_library.dtaLoopPoints->isEOF()) {
        Prompts::msgBox(QStringLiteral("There are no loop points created. Please make at least "
                                       "one loop point before continuing"));
        return false;
    }
    m_loops.prevStartTime = m_library.dtaLoopPoints->field(QStringLiteral("startTime")).toInt();
    return true;
}

void frmMain::auxiliaryFormAdjust() {
    FS_PROC(kModule, "Sub auxiliaryFormAdjust");
    if (QWidget* graph = findLoadedForm(QStringLiteral("frmScrollTime")); graph && !gvInSlowPlay)
        unloadForm(graph);
    if (QWidget* trim = findLoadedForm(QStringLiteral("frmTrim"))) {
        if (QWidget* main = trim->findChild<QWidget*>(QStringLiteral("cmdSave")))
            main->setEnabled(!gvInSlowPlay);
        if (gvInSlowPlay)
            unloadForm(trim);
    }
}

void frmMain::visibilityAndPositionAdjust() {
    FS_PROC(kModule, "Sub visibilityAndPositionAdjust");
    Ui::frmMain& u = *m_ui;
    const bool showCD = m_transport.currentView == 1 && m_transport.cdView && !gvInSlowPlay;
    // In SlowPlay the loop button moves up to where the CD strip stood; the layout keeps it
    // in the action row, which is already that place once the strips are hidden.
    if (!gvRealtime)
        u.cmdGraphic->setEnabled(false);

    for (QAction* a : {u.mnuCDRequery, u.mnuRecord, u.mnuFileOpen})
        a->setEnabled(!gvInSlowPlay);
    u.mnuView->setEnabled(!gvInSlowPlay);
    for (QWidget* w : std::initializer_list<QWidget*>{u.Artist, u.CDTitle, u.Comments, u.lblArtist,
                                                      u.lblCDTitle})
        w->setVisible(showCD);
    for (QWidget* w : std::initializer_list<QWidget*>{u.cmdStartNewLoop, u.btnLoopPlay,
                                                      u.cmdSlowPlay, u.lblF6, u.lblF7, u.lblF8,
                                                      u.lblMMCtrl, u.fraCurrPosition, u.loopPoints})
        w->setVisible(!gvInSlowPlay);
    for (QWidget* w : std::initializer_list<QWidget*>{u.cmdGraphic, u.cmdPrevView,
                                                      u.fraPitchControl, u.fraSlowdown, u.lblTrans,
                                                      u.lblTransformations, u.slowControl})
        w->setVisible(gvInSlowPlay);
    u.lblTrackComments->setVisible(m_transport.cdView);
    setPanelVisible(QStringLiteral("pnlCDlength"), m_transport.cdView && !gvInSlowPlay);
    setPanelVisible(QStringLiteral("pnlTrackLength"), !gvInSlowPlay);
    u.tgTracks->setVisible(m_transport.cdView && !gvInSlowPlay);
}

void frmMain::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::WindowStateChange && m_formLoaded && !gvExiting)
        fs::trap(kModule, "Sub Form_Resize", [this] { Form_Resize(); });
}

void frmMain::resizeEvent(QResizeEvent* event) {
    QMainWindow::resizeEvent(event);
}

void frmMain::Form_Resize() {
    FS_PROC(kModule, "Sub Form_Resize");
    if (windowState() & Qt::WindowMinimized)
        MMsuspend(QStringLiteral("CD"));
    else
        MMgo();
}

bool frmMain::playing() {
    FS_PROC(kModule, "Function playing");
    return m_transport.currentMMControl &&
           m_transport.currentMMControl->Mode() == MMControl::ModePlaying;
}

void frmMain::togglePlayState() {
    FS_PROC(kModule, "Sub togglePlayState");
    if (playing() || playState->isArmed()) {
        if (playState->isArmed())
            playState->setState(false);
        m_transport.currentMMControl->setWait(true);
        m_transport.currentMMControl->setCommand(QStringLiteral("Stop"));
        m_transport.currentMMControl->setUpdateInterval(0);
    } else {
        if (gvInSlowPlay)
            playState->setState(true);
        m_transport.currentMMControl->setWait(false);
        m_transport.currentMMControl->setCommand(QStringLiteral("Play"));
        m_transport.currentMMControl->setUpdateInterval(500);
        gvPlayRequested = true;
    }
}

// ---------------------------------------------------------------------------------------
// Time formats on the current control

void frmMain::tmsf() {
    FS_PROC(kModule, "Sub tmsf");
    m_transport.currentMMControl->setWait(true);
    m_transport.currentMMControl->setTimeFormat(MMControl::TimeFormatTmsf);
}

void frmMain::ms() {
    FS_PROC(kModule, "Sub ms");
    fs::ignoreErrors([&] { m_transport.currentMMControl->setTimeFormat(MMControl::TimeFormatMs); });
}

qint32 frmMain::trackLengthMs(qint16 trk) {
    FS_PROC(kModule, "Function trackLengthMs", FS_ARG(trk));
    MMControl* cd = m_ui->CDControl;
    fs::ignoreErrors([&] { cd->setTimeFormat(MMControl::TimeFormatMs); });
    cd->setTrack(trk);
    return cd->TrackLength();
}

QString frmMain::trackLengthMMSS(qint16 trk) {
    FS_PROC(kModule, "Function trackLengthMMSS", FS_ARG(trk));
    return ::trackLengthMMSS(trackLengthMs(trk));
}

// ---------------------------------------------------------------------------------------
// Views and the way back from SlowPlay

void frmMain::mnuChooseView_Click(int Index) {
    FS_PROC(kModule, "Sub mnuChooseView_Click", FS_ARG(Index));
    // Placeholder: the views work lays out the grids for "Normal", "Loop Detail" and
    // "Big Lyrics"; choosing any view goes to the disc.
    m_transport.currentView = Index;
    changeToMode(QStringLiteral("CD"));
}

void frmMain::mnuWaveView_Click() {
    FS_PROC(kModule, "Sub mnuWaveView_Click");
    changeToMode(QStringLiteral("Wave"));
}

void frmMain::cmdPrevView_Click() {
    FS_PROC(kModule, "Sub cmdPrevView_Click");
    stopDLL();
    if (m_transport.savedCdView)
        mnuChooseView_Click(m_transport.savedView);
    else
        changeToMode(QStringLiteral("Wave"));
    // The loop that was transformed is the current one again.
    library::findLoopStartingAt(*m_library.dtaLoopPoints, m_loops.prevStartTime);
    if (m_library.loopsModel)
        m_library.loopsModel->reload();
    if (!m_library.dtaLoopPoints->NoMatch() && !m_library.dtaLoopPoints->isEOF())
        m_ui->loopPoints->setCurrentIndex(
            m_library.loopsModel->index(m_library.dtaLoopPoints->AbsolutePosition(), 0));
    if (QWidget* trim = findLoadedForm(QStringLiteral("frmTrim")))
        unloadForm(trim);
}

// ---------------------------------------------------------------------------------------
// Help and Internet menus

void frmMain::menuAbout_Click() {
    FS_PROC(kModule, "Sub menuAbout_Click");
    frmAbout* about = loadForm<frmAbout>();
    about->showButtons(true);
    Dialogs::execDialog(about, QStringLiteral("About"));
    unloadForm(about);
}

void frmMain::menuHelpChoice_Click() {
    FS_PROC(kModule, "Sub menuHelpChoice_Click");
    MMsuspend(QStringLiteral("CD"));
    const QString manual = appDir() + QStringLiteral("/Cantavox Manual.pdf");
    if (!QFileInfo::exists(manual)) {
        Prompts::msgBox(QStringLiteral("The help file was not found."));
        MMgo();
        return;
    }
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(manual))) {
        Prompts::msgBox(QStringLiteral(
            "The help file requires a PDF reader. Install one from your distribution's software "
            "centre (for example Evince or Okular) and try again."));
        MMgo();
    }
}

void frmMain::mnuWeb_Click(int Index) {
    FS_PROC(kModule, "Sub mnuWeb_Click", FS_ARG(Index));
    QString page;
    switch (Index) {
    case 2:
        page = QStringLiteral("update");
        break;
    case 3:
        break;
    case 4:
        page = QStringLiteral("subscribe");
        break;
    case 5:
        page = QStringLiteral("faq");
        break;
    default:
        return;
    }
    QDesktopServices::openUrl(
        QUrl(page.isEmpty() ? makerSite() : makerSite() + page + QStringLiteral(".htm")));
}
