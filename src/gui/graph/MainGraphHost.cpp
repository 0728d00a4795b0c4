#include "graph/MainGraphHost.h"

#include "app/frmMain.h"
#include "app/stateVariable.h"
#include "library/LoopQueries.h"
#include "library/Recordset.h"
#include "platform/MMControl.h"
#include "ui_frmMain.h"

#include <QStatusBar>

QWidget* MainGraphHost::window() {
    return &m_main;
}

QRect MainGraphHost::emptyArea() {
    // Below the speed and pitch controls, across the window, down to the status bar: the
    // place of the loops, which SlowPlay hides.
    const Ui::frmMain& u = *m_main.ui();
    QWidget* central = m_main.centralWidget();
    int top = 0;
    for (QWidget* w :
         {static_cast<QWidget*>(u.fraSlowdown), static_cast<QWidget*>(u.fraPitchControl)})
        if (w->isVisible())
            top = std::max(top, w->mapTo(central, QPoint(0, w->height())).y());
    const QPoint topLeft = central->mapToGlobal(QPoint(0, top + 4));
    const QPoint bottomRight = central->mapToGlobal(QPoint(central->width(), central->height()));
    return QRect(topLeft, bottomRight);
}

MMControl* MainGraphHost::player() {
    return m_main.m_transport.currentMMControl;
}

void MainGraphHost::usePlayerInMilliseconds() {
    m_main.ms();
}

float MainGraphHost::expFactor() {
    if (m_main.m_transform.expFactor == 0)
        m_main.expFactorSet();
    return m_main.m_transform.expFactor;
}

int MainGraphHost::slowDownPercent() const {
    return m_main.m_transform.slowDownPercent;
}

void MainGraphHost::playSelection() {
    m_main.playSlowDownLoop();
}

bool MainGraphHost::playing() {
    return m_main.playing();
}

void MainGraphHost::disarmLoop() {
    m_main.m_playState->setState(false);
}

Recordset* MainGraphHost::currentLoopRecord() {
    Recordset* loops = m_main.m_library.dtaLoopPoints;
    if (!loops)
        return nullptr;
    library::findLoopStartingAt(*loops, m_main.m_loops.prevStartTime);
    return loops->NoMatch() ? nullptr : loops;
}

void MainGraphHost::keyDown(int& keyCode, int shift) {
    m_main.Form_KeyDown(keyCode, shift);
}

QString MainGraphHost::status() {
    return m_main.panelText(QStringLiteral("pnlMsg"));
}

void MainGraphHost::setStatus(const QString& text) {
    m_main.setPanelText(QStringLiteral("pnlMsg"), text);
}
