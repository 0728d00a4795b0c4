#pragma once

#include "loops/TrimHost.h"

class frmMain;

// The main window's side of the trim window.
//
// Thread: UI thread only.
class MainTrimHost : public TrimHost {
public:
    explicit MainTrimHost(frmMain& main) : m_main(main) {}

    QWidget* window() override;
    QWidget* tracksGrid() override;
    QWidget* centralArea() override;
    bool showsDiscTracks() const override;
    Recordset& loopRows() override;
    MMControl* player() override;
    void usePlayerInMilliseconds() override;
    void setLoop(qint32 inPt, qint32 outPt) override;
    void playLoop(qint32 inPt, qint32 outPt) override;
    void slowPlay() override;
    void keyDown(int keyCode) override;

private:
    frmMain& m_main;
};
