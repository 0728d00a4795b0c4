#pragma once

#include "graph/GraphHost.h"

class frmMain;

// The main window's side of the wave graph.
//
// Thread: UI thread only.
class MainGraphHost : public GraphHost {
public:
    explicit MainGraphHost(frmMain& main) : m_main(main) {}

    QWidget* window() override;
    QRect emptyArea() override;
    MMControl* player() override;
    void usePlayerInMilliseconds() override;
    float expFactor() override;
    int slowDownPercent() const override;
    void playSelection() override;
    bool playing() override;
    void disarmLoop() override;
    Recordset* currentLoopRecord() override;
    void keyDown(int& keyCode, int shift) override;
    QString status() override;
    void setStatus(const QString& text) override;

private:
    frmMain& m_main;
};
