// The main window's side of the trim window across a change of speed: a trimmed stretch is
// kept as the same part of the sound when the slowed-down file changes length.
#include "app/Forms.h"
#include "app/frmMain.h"
#include "failsafe/modFailSafe.h"
#include "graph/frmScrollTime.h"
#include "loops/frmTrim.h"
#include "platform/MMControl.h"
#include "ui_frmMain.h"

#include <QSlider>
#include <cmath>

namespace {
const char* const kModule = "main form";
}

void frmMain::setupTrimFormsForSlowdown() {
    FS_PROC(kModule, "Sub setupTrimFormsForSlowdown");
    if (frmTrim* trim = formIfLoaded<frmTrim>()) {
        m_loops.trimStartFraction = static_cast<float>(trim->slStart(0)->value()) /
                                    static_cast<float>(trim->slStart(0)->maximum());
        m_loops.trimEndFraction = static_cast<float>(trim->slStart(1)->value()) /
                                  static_cast<float>(trim->slStart(1)->maximum());
    }
    if (frmScrollTime* graph = formIfLoaded<frmScrollTime>()) {
        const double length = std::max<qint32>(1, m_ui->WaveControl->Length());
        m_graph.graphStartFraction = float(graph->selection().startMarker().msPosition() / length);
        m_graph.graphEndFraction = float(graph->selection().endMarker().msPosition() / length);
    }
}

void frmMain::adjustTrimForm() {
    FS_PROC(kModule, "Sub adjustTrimForm");
    frmTrim* trim = formIfLoaded<frmTrim>();
    if (!trim)
        return;
    trim->setTrimLimits();
    trim->slStart(0)->setValue(static_cast<int>(
        std::lround(trim->slStart(0)->maximum() * double(m_loops.trimStartFraction))));
    trim->slStart(1)->setValue(static_cast<int>(
        std::lround(trim->slStart(1)->maximum() * double(m_loops.trimEndFraction))));
}
