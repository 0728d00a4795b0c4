#pragma once

#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <memory>

class QSlider;
class TrimHost;

namespace Ui {
class frmTrim;
}

// "Trim Start and End Points": moves the selected loop's two ends while it plays, so they are
// set by ear. Every move is heard at once; nothing is stored until Save. While the window is
// loaded its sliders, not the stored times, are the loop (calcInAndOutPoints reads them).
// It covers the tracks grid and stays over the main window.
//
// The sliders report a change when they are let go (or stepped by key or page click), so a
// drag restarts the loop once, on the new bounds.
//
// Thread: UI thread only.
class frmTrim : public QWidget {
    Q_OBJECT
public:
    explicit frmTrim(TrimHost& host);
    ~frmTrim() override;
    Ui::frmTrim* ui() const { return m_ui.get(); }

    // slStart(0) the start, slStart(1) the end, in milliseconds.
    QSlider* slStart(int index) const;
    void setTrimLimits();

    void slStart_Change(int Index);
    void slStart_MouseDown(int Index);
    void slStart_MouseUp(int Index);
    void tmrSliderFreedom_Timer();
    void cmdZoom_Click();
    void cmdNext_Click(int Index);
    void cmdSave_Click();
    void cmdClose_Click();
    void cmdHelp_Click();
    void MMControl1_PlayClick(bool& Cancel);
    void MMControl1_StopClick(bool& Cancel);
    void Form_Activate();
    void Form_QueryUnload(bool& Cancel);
    void Form_KeyUp(int KeyCode, Qt::KeyboardModifiers Shift);

    // True while the code itself moves the sliders: their Change does nothing then.
    bool settingLimits = true;
    bool limitsInProgress = false;
    QTimer tmrSliderFreedom;

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;

private:
    void Form_Load();
    TrimHost& m_host;
    // The slider that had the keyboard when it let go of the mouse.
    QPointer<QSlider> m_sliderWithFocus;
    std::unique_ptr<Ui::frmTrim> m_ui;
};
