#include "loops/MainTrimHost.h"

#include "app/TimeFormats.h"
#include "app/frmMain.h"
#include "platform/MMControl.h"
#include "ui_frmMain.h"

QWidget* MainTrimHost::window() {
    return &m_main;
}

QWidget* MainTrimHost::tracksGrid() {
    return m_main.ui()->tgTracks;
}

QWidget* MainTrimHost::centralArea() {
    return m_main.centralWidget();
}

bool MainTrimHost::showsDiscTracks() const {
    return m_main.m_transport.currentView == 1 && m_main.m_transport.cdView;
}

Recordset& MainTrimHost::loopRows() {
    return *m_main.m_library.dtaLoopPoints;
}

MMControl* MainTrimHost::player() {
    return m_main.m_transport.currentMMControl;
}

void MainTrimHost::usePlayerInMilliseconds() {
    m_main.ms();
}

void MainTrimHost::setLoop(qint32 inPt, qint32 outPt) {
    m_main.m_loops.inPt = inPt;
    m_main.m_loops.outPt = outPt;
}

void MainTrimHost::playLoop(qint32 inPt, qint32 outPt) {
    m_main.setPanelText(QStringLiteral("pnlLoopLength"),
                        QStringLiteral("Loop Length: ") + mmss(outPt - inPt));
    m_main.playLoop(false, inPt, outPt);
}

void MainTrimHost::slowPlay() {
    m_main.cmdSlowPlay_Click();
}

void MainTrimHost::keyDown(int keyCode) {
    int key = keyCode;
    m_main.Form_KeyDown(key, 0);
}
