#pragma once

#include <QMainWindow>
#include <QPointer>
#include <QString>
#include <QTimer>
#include <memory>

class MMControl;
class QLabel;
class QAction;
class QDateTime;
class Recordset;
class RecordsetModel;

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

    // --- Drive and disc presence (what start-up needs until the CD subsystem lands) -----
    void checkCDPresent();
    bool CDpresent();
    void hideCDfields();

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

    // --- Loops (what the wave transport calls of them) ----------------------------------
    void playLoop();
    void btnLoopPlay_Click();
    void highlightLoopPoint();
    void showLoopDetails();
    // Counts natural ends that restarted an armed loop (read by tests until loops play).
    int loopRestarts = 0;

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

    // The data controls.
    Recordset* CDs = nullptr;
    Recordset* dtaTracks = nullptr;
    Recordset* dtaLoopPoints = nullptr;
    Recordset* WAVs = nullptr;
    RecordsetModel* tracksModel = nullptr;
    RecordsetModel* loopsModel = nullptr;

    // Form state.
    QPointer<MMControl> currentMMControl;
    bool cdView = true;
    qint32 currentView = 1;
    qint32 savedView = 1;
    QString savedWaveFile;
    bool savedCdView = true;
    qint32 prevStartTime = 0;
    bool formLoaded = false;
    QString externBinPath;
    double lastTypedTime = 0;
    bool scrollDragging = false;
    QTimer tmrAfterFormLoad;

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void buildStatusBar();
    bool openLibrary();
    void connectMenus();
    void connectWaveTransport();
    QString dialogDirectory;
    std::unique_ptr<Ui::frmMain> m_ui;
    bool m_unloading = false;
};

// The timer value of the run time: seconds since midnight, with fractions.
double Timer();
