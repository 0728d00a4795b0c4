#pragma once

#include "loops/LoopMarking.h"

class frmMain;

// The main window's side of live marking.
//
// Thread: UI thread only.
class MainLoopMarking : public LoopMarking {
public:
    explicit MainLoopMarking(frmMain& main) : m_main(main) {}

    QWidget* window() override;
    loopPoints& marks() override;
    void startNewLoop() override;
    void endLoopHere() override;
    void saveLoop(const QString& startTimeMs, const QString& startTimeTTMMSS,
                  qint32 endTimeMs) override;
    void reloadLoops(qint32 startTimeMs) override;
    void selectLoop(qint32 startTimeMs) override;
    void playSelectedLoop() override;

private:
    frmMain& m_main;
};
