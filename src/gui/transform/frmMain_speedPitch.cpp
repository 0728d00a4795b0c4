// Speed and pitch in SlowPlay: the two sliders, the three text fields, the speed and half-step
// labels, and the memory of the last speed per loop and the last pitch per track or wave
// file. Every change ends in changeTransformParameters, which transforms the loop anew.
#include "app/Forms.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "failsafe/AppError.h"
#include "failsafe/modFailSafe.h"
#include "graph/frmScrollTime.h"
#include "library/LoopQueries.h"
#include "library/PitchOwner.h"
#include "library/Recordset.h"
#include "prefs/prefs.h"
#include "ui_frmMain.h"

#include <QLineEdit>
#include <QSlider>
#include <cmath>

namespace {
const char* const kModule = "main form";

// A whole number from the text as a conversion reads it: anything but a number is error 13.
double strictNumber(const QString& text) {
    bool ok = false;
    const double value = text.trimmed().toDouble(&ok);
    if (!ok)
        raiseError(errnum::TypeMismatch, QStringLiteral("Type mismatch"));
    return value;
}

// Rounding to an Integer rounds halves to the even neighbour, and overflows as error 6.
qint16 toInteger(double value) {
    return checkedInt16(static_cast<qint64>(std::nearbyint(value)));
}
} // namespace

qint16 frmMain::lstPct() {
    FS_PROC(kModule, "Function lstPct");
    const QVariant last = m_library.dtaLoopPoints->field(QStringLiteral("lastPct"));
    // A loop never transformed starts at half speed.
    if (last.isNull() || last.toInt() == 0)
        return 50;
    return checkedInt16(last.toLongLong());
}

qint16 frmMain::lstPitchChange() {
    FS_PROC(kModule, "Function lstPitchChange");
    qint16 result = 0;
    fs::ignoreErrors([&] {
        // The search goes to the tracks' recordset for a wave file too; it finds nothing
        // there and the pitch starts at 0, while saving goes to the wave file's record.
        library::findPitchOwner(*m_library.dtaTracks, *m_library.dtaLoopPoints, m_transport.cdView);
    });
    fs::ignoreErrors([&] {
        if (m_library.dtaTracks->NoMatch() ||
            m_library.dtaTracks->isNull(QStringLiteral("lastPitchChange")))
            result = 0;
        else
            result = checkedInt16(
                m_library.dtaTracks->field(QStringLiteral("lastPitchChange")).toLongLong());
    });
    return result;
}

void frmMain::saveCurrentPct() {
    FS_PROC(kModule, "Sub saveCurrentPct");
    library::findLoopStartingAt(*m_library.dtaLoopPoints, m_loops.prevStartTime);
    if (m_library.dtaLoopPoints->NoMatch())
        return;
    m_library.dtaLoopPoints->Edit();
    m_library.dtaLoopPoints->setField(QStringLiteral("lastPct"), m_transform.slowDownPercent);
    m_library.dtaLoopPoints->Update();
}

void frmMain::saveCurrentPitchChange() {
    FS_PROC(kModule, "Sub saveCurrentPitchChange");
    // Without a current loop there is no track or file to keep it for: silently nothing.
    if (m_library.dtaLoopPoints->isBOF() || m_library.dtaLoopPoints->isEOF())
        return;
    Recordset* owner = m_transport.savedCdView ? m_library.dtaTracks : m_library.WAVs;
    library::findPitchOwner(*owner, *m_library.dtaLoopPoints, m_transport.savedCdView);
    if (owner->NoMatch())
        return;
    owner->Edit();
    owner->setField(QStringLiteral("lastPitchChange"), m_transform.pitchChange);
    owner->Update();
}

double frmMain::calcPitchFactor() {
    FS_PROC(kModule, "Function calcPitchFactor");
    return pitchFactorOf(m_transform.pitchChange);
}

double frmMain::pitchFactorOf(qint16 cents) {
    if (cents == 0)
        return 1.0;
    return std::pow(2.0, (cents / 100.0) / 12.0);
}

void frmMain::pitchChangeTextFieldsFill() {
    FS_PROC(kModule, "Sub pitchChangeTextFieldsFill");
    // Both keep the sign: -250 shows as -2 and -50.
    m_ui->txtSlowPct_1->setText(QString::number(m_transform.pitchChange / 100));
    m_ui->txtSlowPct_2->setText(QString::number(m_transform.pitchChange % 100));
}

void frmMain::changeTransformParameters() {
    FS_PROC(kModule, "Sub changeTransformParameters");
    if (frmScrollTime* graph = formIfLoaded<frmScrollTime>()) {
        m_graph.savedStartPixel = graph->selection().startMarker().pixelPosition();
        m_graph.savedEndPixel = graph->selection().endMarker().pixelPosition();
    }
    m_transform.sliderUpdating = true;
    m_ui->txtSlowPct_0->setText(QString::number(m_transform.slowDownPercent));
    m_ui->slSlowPct_0->setValue(m_transform.slowDownPercent);
    m_ui->slSlowPct_1->setValue(m_transform.pitchChange);
    pitchChangeTextFieldsFill();
    m_transform.sliderUpdating = false;
    if (m_transform.tempWavChannels < 1)
        m_transform.expFactor = 50.0f / m_transform.slowDownPercent;
    else
        m_transform.expFactor =
            (100.0f / m_transform.slowDownPercent) / m_transform.tempWavChannels;
    MMControl* w = m_ui->WaveControl;
    if (!w->FileName().isEmpty()) {
        w->setWait(true);
        w->setCommand(QStringLiteral("Close"));
        w->setFileName(QString());
    }
    gvSlowFileReady = false;
    graphicEnableToggle(false);
    btnLoopPlay_Click();
}

void frmMain::completetxtSlowPctEntry(int Index) {
    FS_PROC(kModule, "Sub completetxtSlowPctEntry", FS_ARG(Index));
    if (Index == 1 || Index == 2) {
        // Whole half steps and the cents beyond them: -2 and 50 is -150, 1 and 150 is 250.
        m_transform.pitchChange = toInteger(strictNumber(m_ui->txtSlowPct_1->text()) * 100 +
                                            strictNumber(m_ui->txtSlowPct_2->text()));
    } else {
        // The leading number of the text; text without one reads 0 (raised to 5 on play).
        m_transform.slowDownPercent = toInteger(vbVal(m_ui->txtSlowPct_0->text()));
    }
    changeTransformParameters();
}

void frmMain::txtSlowPct_KeyDown(int Index, int& KeyCode) {
    FS_PROC(kModule, "Sub txtSlowPct_KeyDown", FS_ARG(Index), FS_ARG(KeyCode));
    // Only Enter acts; leaving the field without it changes nothing.
    if (KeyCode == 13)
        completetxtSlowPctEntry(Index);
}

void frmMain::slSlowPct_Change(int Index) {
    FS_PROC(kModule, "Sub slSlowPct_Change", FS_ARG(Index));
    if (m_transform.sliderUpdating)
        return;
    if (Index == 0)
        fs::ignoreErrors([&] {
            m_transform.slowDownPercent =
                static_cast<qint16>(std::max(m_ui->slSlowPct_0->value(), 5));
        });
    else
        m_transform.pitchChange = static_cast<qint16>(m_ui->slSlowPct_1->value());
    changeTransformParameters();
}

void frmMain::slSlowPct_Scroll(int Index) {
    FS_PROC(kModule, "Sub slSlowPct_Scroll", FS_ARG(Index));
    // The numbers follow the mouse; the transformation waits for the release.
    if (!m_transform.sliderDragging)
        return;
    if (Index == 0) {
        m_transform.slowDownPercent = static_cast<qint16>(m_ui->slSlowPct_0->sliderPosition());
        m_ui->txtSlowPct_0->setText(QString::number(m_transform.slowDownPercent));
    } else {
        m_transform.pitchChange = static_cast<qint16>(m_ui->slSlowPct_1->sliderPosition());
        pitchChangeTextFieldsFill();
    }
}

void frmMain::slSlowPct_MouseDown(int Index) {
    FS_PROC(kModule, "Sub slSlowPct_MouseDown", FS_ARG(Index));
    m_transform.sliderDragging = true;
}

void frmMain::slSlowPct_MouseUp(int Index) {
    FS_PROC(kModule, "Sub slSlowPct_MouseUp", FS_ARG(Index));
    m_transform.sliderDragging = false;
    // The slider lets go of the mouse and takes no more input until the new speed has been
    // taken up; both are given back by the timer, with the keyboard focus if it had it, so
    // the arrow keys go on moving it.
    QSlider* slider = Index == 0 ? m_ui->slSlowPct_0 : m_ui->slSlowPct_1;
    if (slider->hasFocus())
        m_transform.sliderWithFocus = slider;
    slider->setEnabled(false);
    m_transform.tmrSliderFreedom.start(300);
}

void frmMain::tmrSliderFreedom_Timer() {
    FS_PROC(kModule, "Sub tmrSliderFreedom_Timer");
    m_ui->slSlowPct_0->setEnabled(true);
    m_ui->slSlowPct_1->setEnabled(true);
    m_transform.tmrSliderFreedom.stop();
    if (m_transform.sliderWithFocus)
        m_transform.sliderWithFocus->setFocus(Qt::OtherFocusReason);
    m_transform.sliderWithFocus = nullptr;
}

void frmMain::lblSteps_Click(int Index) {
    FS_PROC(kModule, "Sub lblSteps_Click", FS_ARG(Index));
    m_transform.pitchChange = static_cast<qint16>(Index <= 12 ? Index * 100 : (12 - Index) * 100);
    changeTransformParameters();
}

void frmMain::speedLabel_Click(qint16 percent) {
    FS_PROC(kModule, "Sub speedLabel_Click", FS_ARG(percent));
    m_transform.slowDownPercent = percent;
    changeTransformParameters();
}

qint16 frmMain::roundPct(qint16 rawPct) {
    FS_PROC(kModule, "Function roundPct", FS_ARG(rawPct));
    return checkedInt16((static_cast<qint64>(rawPct) + 5) / 10 * 10);
}
