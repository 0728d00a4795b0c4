#include "loops/MainLoopMarking.h"

#include "app/frmMain.h"
#include "library/LoopQueries.h"
#include "library/Recordset.h"
#include "library/RecordsetModel.h"
#include "loops/loopPoints.h"
#include "ui_frmMain.h"

QWidget* MainLoopMarking::window() {
    return &m_main;
}

loopPoints& MainLoopMarking::marks() {
    return *m_main.m_loops.loopPointBuffer;
}

void MainLoopMarking::startNewLoop() {
    m_main.cmdStartNewLoop_Click();
}

void MainLoopMarking::endLoopHere() {
    m_main.insertNewLoopPoint();
}

void MainLoopMarking::saveLoop(const QString& startTimeMs, const QString& startTimeTTMMSS,
                               qint32 endTimeMs) {
    m_main.insertLoopPt(startTimeMs, startTimeTTMMSS, endTimeMs);
}

void MainLoopMarking::reloadLoops(qint32 startTimeMs) {
    Recordset* rs = m_main.m_library.dtaLoopPoints;
    rs->Requery();
    library::findLoopStartingAt(*rs, startTimeMs);
    m_main.ui()->loopPoints->clearSelection();
    if (m_main.m_library.loopsModel)
        m_main.m_library.loopsModel->reload();
}

void MainLoopMarking::selectLoop(qint32 startTimeMs) {
    Recordset* rs = m_main.m_library.dtaLoopPoints;
    library::findLoopStartingAt(*rs, startTimeMs);
    if (m_main.m_library.loopsModel)
        m_main.m_library.loopsModel->reload();
    QTableView* grid = m_main.ui()->loopPoints;
    if (!rs->NoMatch())
        grid->setCurrentIndex(grid->model()->index(rs->AbsolutePosition(), 0));
}

void MainLoopMarking::playSelectedLoop() {
    m_main.ui()->btnLoopPlay->click();
}
