#pragma once

#include <QMainWindow>
#include <QPointer>
#include <QString>
#include <QTimer>
#include <atomic>
#include <memory>
#include <optional>

class BusyHost;
class CdNotifier;
class DigitalReader;
class KeyPreview;
class LoopMarking;
class MMControl;
class QAction;
class QDateTime;
class QLabel;
class QMenu;
class QSlider;
class Recordset;
class RecordsetModel;
class TrimHost;
class GraphHost;
class frmScrollTime;
class loopPoints;
class stateVariable;

namespace Ui {
class frmMain;
}

// The main window: one screen serving the three play modes "CD", "Wave" and "SlowPlay".
// It owns the media controls, the shared state of the modes and, in later subsystems, the
// data controls. Its procedures are defined in the folder of the subsystem they belong to
// (app/frmMain.cpp holds start-up, shutdown and the modes).
//
// Thread: UI thread only.
class frmMain : public QMainWindow {
    Q_OBJECT
public:
    // UnloadMode values of Form_QueryUnload.
    enum UnloadModeCode { vbFormControlMenu = 0, vbFormCode = 1, vbAppWindows = 2 };

    frmMain();
    ~frmMain() override;

    // The loaded main window, or nullptr.
    static frmMain* instance();

    // --- Start-up and shutdown -------------------------------------------------------
    void Form_Load();
    void tmrAfterFormLoad_Timer();
    void Form_QueryUnload(bool& Cancel, int UnloadMode);
    void Form_Unload(bool& Cancel);
    void menuExit_Click();
    void initializeStateVariables();
    void getPrefs();

    // --- Modes and state ----------------------------------------------------------------
    void changeToMode(const QString& theMode, bool suppressRefresh = false);
    void MMsuspend(const QString& theMode);
    void MMgo();
    void initCDview(bool suppressRefresh);
    void initSlowView();
    bool initWaveView();
    bool saveCurrentStatus();
    void auxiliaryFormAdjust();
    void visibilityAndPositionAdjust();
    void Form_Resize();
    bool playing();
    void togglePlayState();
    // The mode the flags describe: "CD", "Wave" or "SlowPlay".
    QString currentMode() const;

    // --- Time formats on the current control -------------------------------------------
    void tmsf();
    void ms();
    qint32 trackLengthMs(qint16 trk);
    QString trackLengthMMSS(qint16 trk);

    // --- Views, SlowPlay way back (what start-up and the modes need of them) -----------
    void mnuChooseView_Click(int Index);
    void mnuWaveView_Click();
    void cmdPrevView_Click();

    // --- Help and Internet menus ---------------------------------------------------------
    void menuAbout_Click();
    void menuHelpChoice_Click();
    void mnuWeb_Click(int Index);

    // --- Status bar ----------------------------------------------------------------------
    QLabel* statusPanel(const QString& name) const;
    void setPanelText(const QString& name, const QString& text);
    QString panelText(const QString& name) const;
    void setPanelVisible(const QString& name, bool visible);
    bool panelVisible(const QString& name) const;

    // --- Disc identity and catalogue (library/frmMain_discs.cpp) ------------------------
    void checkCDPresent();
    bool CDpresent();
    void checkCD();
    void findAndShowCD();
    // True when the library knows NO disc of these two lengths.
    bool selectCD(qint32 theLength, qint32 t1Len);
    qint32 getStableCDLength();
    qint32 track1Length();
    void addCD();
    void addCDdb();
    void refreshDisplayForNewCD();
    void showCDfields();
    void hideCDfields();
    void CDs_Reposition();
    void CDTitle_Change();
    void CDs_Error(int DataErr, int& Response);

    // --- Wave transport ------------------------------------------------------------------
    void WaveControl_PlayClick(bool& Cancel);
    void WaveControl_PauseClick(bool& Cancel);
    void WaveControl_StopClick(bool& Cancel);
    void WaveControl_PrevClick(bool& Cancel);
    void WaveControl_GotFocus();
    void WaveControl_StatusUpdate();
    void WaveControl_Done(int NotifyCode);
    void playWaveFile(const QString& fn);
    void updateWaveStatus();
    void updatePosition();
    void sbTrackPos_Scroll();
    void sbTrackPos_Change();
    void playFromLoopOn();

    // --- Loops: marks, in and out points, loop playback (loops/frmMain_loops.cpp) --------
    bool insertNewLoopPoint();
    void fastInsert(qint32 pos);
    void insertLoopPt(const QString& startTimeMs, const QString& startTimeTTMMSS, qint32 endtimeMs);
    // True if the selected loop can't be played; otherwise in1 and out1 hold its ends.
    bool calcInAndOutPoints(qint32& in1, qint32& out1);
    void playLoop(bool recalcInAndOutPoints, std::optional<qint32> myInPt = std::nullopt,
                  std::optional<qint32> myOutPt = std::nullopt);
    void btnLoopPlay_Click();
    void cmdStartNewLoop_Click();
    void mnuMakeLoop_Click();
    void cmdSlowPlayAdjust();
    void showLoopDetails();

    // --- Trim window's partners on the main window (loops/frmMain_trim.cpp) --------------
    void setupTrimFormsForSlowdown();
    void adjustTrimForm();

    // --- Grids (library/frmMain_grids.cpp) -----------------------------------------------
    void tgTracks_BeforeColEdit(int ColIndex, int KeyAscii, bool& Cancel);
    void tgTracks_Click();
    void tgTracks_DblClick();
    void tgTracks_MouseUp(int Button);
    void tgTracks_RowColChange();
    void dtaTracks_Reposition();
    void dtaTracks_Error(int DataErr, int& Response);
    void mnuTrackGridPopup_Click();
    void setMnuTrackGripPopupState();
    bool trackHighlighting();
    void highlightTrackInGrid(qint16 track);
    void loopPoints_BeforeColEdit(int ColIndex, int KeyAscii, bool& Cancel);
    void loopPoints_Click();
    void looppoints_dblclick();
    void loopPoints_keyup(int KeyCode, int Shift);
    void LoopPoints_MouseUp(int Button);
    void loopPoints_RowColChange();
    void dtaLoopPoints_Reposition();
    void dtaLoopPoints_Error(int DataErr, int& Response);
    void highlightLoopPoint();
    void mnuLoopHelp_Click();

    // --- Keyboard (transport/frmMain_keyboard.cpp) ---------------------------------------
    void Form_KeyDown(int& KeyCode, int Shift);
    void Form_KeyPress(int& KeyAscii);
    void Comments_KeyPress(int& KeyAscii);

    // --- Disc transport (transport/frmMain_cd.cpp) ----------------------------------------
    void CDControl_PlayClick(bool& Cancel);
    void CDControl_PauseClick(bool& Cancel);
    void CDControl_StopClick(bool& Cancel);
    void CDControl_NextClick(bool& Cancel);
    void CDControl_PrevClick(bool& Cancel);
    void CDControl_EjectClick(bool& Cancel);
    void CDControl_GotFocus();
    void CDcontrol_Done(int NotifyCode);
    void updateCDStatus();
    void doNextPrev(const QString& direction);
    void switchToTrack(qint16 x);
    void playFromTrack(qint16 x);

    // --- Transformation: the engine's procedures and the SlowPlay flow
    //     (transform/frmMain_slowPlay.cpp) ---------------------------------------------
    // False when the loop is not to be played on: the engine failed (the user has been told),
    // or a call made during its wait took over with newer values.
    bool slowItDown(double factor, double pitchfactor);
    qint16 doMFslowdown(double factor, double pitchfactor);
    void stopDLL();
    qint16 calcBands();
    bool openSlowdownFile();
    bool TempWavPresent();
    void tmrLoopDLL_Timer();
    void graphicEnableToggle(bool enabled);
    // The wave graph (graph/frmMain_graph.cpp).
    void cmdGraphic_Click();
    void expFactorSet();
    void adjustGraph();
    void cmdSlowPlay_Click();
    void cmdSlowPlay_MouseUp(int Button);
    void playSlowDownLoop();
    void slowControl_GotFocus();
    void slowControl_PlayClick(bool& Cancel);
    void slowControl_StopClick(bool& Cancel);
    void mnuSaveSlowedDownFile_Click();
    void recordCurrentLoop();
    void extractCurrentLoop();
    void makeAnalogRecording();

    // --- Digital reading off the disc (transform/frmMain_digital.cpp) ---------------------
    void makeDigitalRecording();
    void ACD1_ReadComplete();
    void ACD1_Failure(long Errorcode, const QString& ErrorString);
    void mnuDigitalRec_Click();

    // --- Speed and pitch (transform/frmMain_speedPitch.cpp) ------------------------------
    qint16 lstPct();
    qint16 lstPitchChange();
    void saveCurrentPct();
    void saveCurrentPitchChange();
    double calcPitchFactor();
    // The ratio of frequencies a change of so many cents makes.
    static double pitchFactorOf(qint16 cents);
    void pitchChangeTextFieldsFill();
    void changeTransformParameters();
    void completetxtSlowPctEntry(int Index);
    void slSlowPct_Change(int Index);
    void slSlowPct_Scroll(int Index);
    void slSlowPct_MouseDown(int Index);
    void slSlowPct_MouseUp(int Index);
    void txtSlowPct_KeyDown(int Index, int& KeyCode);
    void tmrSliderFreedom_Timer();
    void lblSteps_Click(int Index);
    // The five speed labels: 20, 33, 50, 100 and 200 percent.
    void speedLabel_Click(qint16 percent);
    static qint16 roundPct(qint16 rawPct);

    // --- Wave file catalogue -----------------------------------------------------------
    void mnuFileOpen_Click();
    bool doWaveDBThing();
    bool selectWave(const QString& FileName, qint64 fileLength, const QDateTime& fileDate);
    void addWave();
    void addWaveDB();
    void addWaveLoop();
    void refreshDisplayForNewWave();

    // --- Recent files ----------------------------------------------------------------------
    void getMRUs();
    void setMRUs();
    void visifyMRUlist();
    qint16 foundInMRUs(const QString& fileName);
    void deleteMenuItem(qint16 position);
    void bumpMRUs();
    void addToMRUs(const QString& fileName);
    void mnuMRU_Click(qint16 Index);
    void menuFile_Click();
    // The control array mnuMRU(1..4); another index is error 9.
    QAction* mnuMRU(qint16 index) const;
    // An item's caption as the user reads it: the full path of the file.
    QString mnuMRUCaption(qint16 index) const;
    void setMnuMRUCaption(qint16 index, const QString& caption);

    // --- Library -------------------------------------------------------------------------
    // Points the tracks and loops data controls at the current disc's rows.
    void showDiscRows();
    // Writes what the grids still hold for the row being edited.
    void commitGridEdits();

    Ui::frmMain* ui() const { return m_ui.get(); }

    // --- State, owned by subsystem ------------------------------------------------------
    // Each group is written only by the procedures of its subsystem (the file named beside
    // it); everyone else reads it through the accessor below, and the windows beside the main
    // window act through the narrow interfaces they are given (LoopMarking, TrimHost).

    // The data controls (app/frmMain.cpp opens them, library/ works them). Owned by the
    // window through Qt's parent.
    struct LibraryState {
        Recordset* CDs = nullptr;
        Recordset* dtaTracks = nullptr;
        Recordset* dtaLoopPoints = nullptr;
        Recordset* WAVs = nullptr;
        RecordsetModel* tracksModel = nullptr;
        RecordsetModel* loopsModel = nullptr;
    };
    // The modes and the play position (app/frmMain.cpp, transport/).
    struct TransportState {
        QPointer<MMControl> currentMMControl;
        bool cdView = true;
        qint32 currentView = 1;
        // The way back from SlowPlay.
        qint32 savedView = 1;
        QString savedWaveFile;
        bool savedCdView = true;
        // When the last time digit was typed (Timer()), for the typed jump.
        double lastTypedTime = 0;
        bool scrollDragging = false;
    };
    // The loop in force and live marking (loops/).
    struct LoopState {
        // The marks of live loop marking; empty except while "Make Loop Points" is open.
        std::unique_ptr<loopPoints> loopPointBuffer;
        // The loop now in force, milliseconds.
        qint32 inPt = 0;
        qint32 outPt = 0;
        // Where the trim sliders stood, as parts of the sound's length, across a change of
        // speed.
        float trimStartFraction = 0;
        float trimEndFraction = 0;
        qint32 prevStartTime = 0;
    };
    // Speed, pitch and the engine (transform/).
    struct TransformState {
        // Speed in percent of the original, pitch change in cents.
        qint16 slowDownPercent = 50;
        qint16 pitchChange = 0;
        // Code is setting the speed and pitch sliders / the mouse is down on one.
        bool sliderUpdating = false;
        bool sliderDragging = false;
        // The speed factor of the last finished start of the engine.
        double lastFactor = 0;
        // Channel count of the scratch file "temp.wav", and the ratio between positions in
        // the graph and in the file.
        qint16 tempWavChannels = 0;
        float expFactor = 1;
        // The disc went away while a loop of it was being recorded: the recording is thrown
        // away at its end instead of being slowed down.
        bool captureLost = false;
        // 200 ms after the engine's end: opens the result and loops it. Its tag says whether
        // the next end is wanted ("LOOP") or not ("STOP").
        QTimer tmrLoopDLL;
        QString tmrLoopDLLTag;
        // Gives the speed and pitch sliders back to the mouse 300 ms after a release.
        QTimer tmrSliderFreedom;
        // The speed or pitch slider that had the keyboard focus when it let go of the mouse.
        QPointer<QSlider> sliderWithFocus;
        QString externBinPath;
        // The number of the engine job whose end is wanted; any other job's end is stale.
        // Written on the UI thread, read by the engine's callback thread.
        std::atomic<int> engineJob{0};
        // What the wanted job ended with: 0 done, anything above 1 a failure (a full disk).
        int engineResult = 0;
        // Counts the calls of slowItDown, so that one resuming after its wait knows whether
        // another began meanwhile.
        quint64 slowDownCalls = 0;
    };
    // The disc in the drive (library/frmMain_discs.cpp, transport/frmMain_cd.cpp).
    struct DiscState {
        // Tells a disc's arrival and removal (CDNotify1).
        CdNotifier* CDNotify1 = nullptr;
        // Reads the disc digitally (ACD1).
        DigitalReader* ACD1 = nullptr;
        // The first move of the discs' control after start shows the disc; later ones don't.
        bool repositionedOnce = false;
        // Which way the next Eject goes, and the retries of a play from a track.
        bool cdEjected = false;
        qint16 playRetryCount = 0;
    };
    // Where the graph's markers stood, as parts of the sound's length, across a change of
    // speed (the wave graph's own procedures arrive with it).
    struct GraphState {
        float graphStartFraction = 0;
        float graphEndFraction = 0;
        // The selection's pixels before a change of speed: the same stretch of the picture
        // stays selected on the new file.
        qint32 savedStartPixel = 0;
        qint32 savedEndPixel = 0;
    };

    const LibraryState& library() const { return m_library; }
    const TransportState& transport() const { return m_transport; }
    const LoopState& loops() const { return m_loops; }
    const TransformState& transform() const { return m_transform; }
    const GraphState& graph() const { return m_graph; }
    const DiscState& disc() const { return m_disc; }
    // The digital reader, for the start-up and drive set-up steps that use it.
    DigitalReader* ACD1() const { return m_disc.ACD1; }
    bool formLoaded() const { return m_formLoaded; }

    // What the marking and trim windows may do to the main window.
    LoopMarking* loopMarking() const { return m_loopMarking.get(); }
    TrimHost* trimHost() const { return m_trimHost.get(); }
    GraphHost* graphHost() const { return m_graphHost.get(); }

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    friend class MainLoopMarking;
    friend class MainTrimHost;
    friend class MainGraphHost;

    void buildStatusBar();
    bool openLibrary();
    void connectMenus();
    void connectWaveTransport();
    void connectTransform();
    void connectGrids();
    void connectDiscs();
    void connectCdTransport();
    void connectDigitalReader();
    // The disc's branches of updatePosition, sbTrackPos_Scroll and sbTrackPos_Change.
    void updateCDPosition();
    void scrollCDPosition();
    void playCDFromShownPosition();
    void connectKeyboard();
    // On the UI thread, for the engine's end of job number job.
    void slowPlayCallbackArrived(int job, int jobResult);

    LibraryState m_library;
    TransportState m_transport;
    LoopState m_loops;
    TransformState m_transform;
    GraphState m_graph;
    DiscState m_disc;

    // Start-up and the window's own.
    bool m_formLoaded = false;
    bool m_unloading = false;
    QTimer tmrAfterFormLoad;
    QString dialogDirectory;
    QMenu* m_trackGridPopup = nullptr;
    KeyPreview* m_keyPreview = nullptr;
    // Whether a loop is armed; playState points at it while the window lives.
    std::unique_ptr<stateVariable> m_playState;
    std::unique_ptr<BusyHost> m_busyHost;
    std::unique_ptr<LoopMarking> m_loopMarking;
    std::unique_ptr<TrimHost> m_trimHost;
    std::unique_ptr<GraphHost> m_graphHost;
    std::unique_ptr<Ui::frmMain> m_ui;
};

// The timer value of the run time: seconds since midnight, with fractions.
double Timer();
