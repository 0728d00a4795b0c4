// The main window's side of the wave graph: the button that shows it, the scale it is drawn
// in, and the selection put back after a new slowed file.
#include "app/Forms.h"
#include "app/Messages.h"
#include "app/frmMain.h"
#include "failsafe/modFailSafe.h"
#include "graph/GraphUnits.h"
#include "graph/frmScrollTime.h"
#include "platform/MMControl.h"
#include "ui_frmMain.h"

namespace {
const char* const kModule = "main form";
}

void frmMain::cmdGraphic_Click() {
    FS_PROC(kModule, "Sub cmdGraphic_Click");
    // The wait is said while the picture is made; then the panel says what it said before.
    const QString said = panelText(QStringLiteral("pnlMsg"));
    setPanelText(QStringLiteral("pnlMsg"), QStringLiteral("Generating graphic. Please wait..."));
    if (frmScrollTime* graph = formIfLoaded<frmScrollTime>()) {
        graph->show();
        graph->raise();
    } else {
        loadForm<frmScrollTime>(*m_graphHost);
    }
    const QString now = panelText(QStringLiteral("pnlMsg"));
    if (now == u"Generating graphic. Please wait..." ||
        now == u"Generating Wave graphic, please wait.")
        setPanelText(QStringLiteral("pnlMsg"), said);
}

void frmMain::expFactorSet() {
    FS_PROC(kModule, "Sub expFactorSet");
    m_transform.expFactor =
        graphunits::expFactorFor(m_transform.slowDownPercent, m_transform.tempWavChannels);
}

void frmMain::adjustGraph() {
    FS_PROC(kModule, "Sub adjustGraph");
    frmScrollTime* graph = formIfLoaded<frmScrollTime>();
    if (!graph)
        return;
    MMControl* w = m_ui->WaveControl;
    // A marker that can't be placed leaves the selection as it was.
    try {
        graph->selection().startMarker().setMsPosition(double(m_graph.graphStartFraction) *
                                                       w->Length());
        graph->selection().endMarker().setMsPosition(double(m_graph.graphEndFraction) *
                                                     w->Length());
    } catch (const AppError&) {
        return;
    }
    ms();
    w->setFrom(qint32(std::lround(graph->selection().startMarker().msPosition())));
    w->setTo(qint32(std::lround(graph->selection().endMarker().msPosition())));
}
