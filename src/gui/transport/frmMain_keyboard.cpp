// The keyboard of the main window. A musician's hands are on the instrument: the transport
// lies on single keys that work wherever the focus is, except where a key is wanted as text.
#include "app/Forms.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "failsafe/modFailSafe.h"
#include "graph/frmScrollTime.h"
#include "library/DataGrid.h"
#include "transport/KeyPreview.h"
#include "ui_frmMain.h"

#include <QApplication>

namespace {
const char* const kModule = "main form";
}

void frmMain::connectKeyboard() {
    m_keyPreview = new KeyPreview(this);
}

void frmMain::Form_KeyDown(int& KeyCode, int Shift) {
    FS_PROC(kModule, "Sub Form_KeyDown", FS_ARG(KeyCode), FS_ARG(Shift));
    fs::ignoreErrors([&] {
        switch (KeyCode) {
        case 117: // F6
            KeyCode = 0;
            togglePlayState();
            return;
        case 32: { // Space
            const QWidget* focus = QApplication::focusWidget();
            const QString name = focus ? focus->objectName() : QString();
            const bool editing =
                m_ui->loopPoints->EditActive() ||
                (m_transport.cdView && (m_ui->tgTracks->EditActive() || name == u"Comments" ||
                                        name == u"Artist" || name == u"CDTitle"));
            if (editing) {
                m_transport.lastTypedTime = Timer();
                return;
            }
            KeyCode = 0;
            togglePlayState();
            return;
        }
        case 118: // F7
            btnLoopPlay_Click();
            return;
        case 119: // F8
            playFromLoopOn();
            return;
        case 109: // numeric pad minus
        case 107: // numeric pad plus
            if (gvInSlowPlay) {
                // The sign is a command here, not text for whatever field has the focus.
                const int step = KeyCode == 107 ? 10 : -10;
                KeyCode = 0;
                m_transform.slowDownPercent =
                    checkedInt16(static_cast<qint64>(m_transform.slowDownPercent) + step);
                changeTransformParameters();
                return;
            }
            break;
        default:
            break;
        }
        frmScrollTime* graph = gvInSlowPlay ? formIfLoaded<frmScrollTime>() : nullptr;
        if (graph && !gvKeyForwarding) {
            gvKeyForwarding = true;
            // The graph's answer doesn't take the key from the main window.
            int forwarded = KeyCode;
            graph->Form_KeyDown(forwarded, Shift);
            gvKeyForwarding = false;
        }
    });
}

void frmMain::Form_KeyPress(int& KeyAscii) {
    FS_PROC(kModule, "Sub Form_KeyPress", FS_ARG(KeyAscii));
    // The Space that starts or stops play never lands in a field; one typed in a field has
    // just renewed lastTypedTime.
    if (KeyAscii == 32 && Timer() - m_transport.lastTypedTime >= 10)
        KeyAscii = 0;
}

void frmMain::Comments_KeyPress(int& KeyAscii) {
    FS_PROC(kModule, "Sub Comments_KeyPress", FS_ARG(KeyAscii));
    m_transport.lastTypedTime = Timer();
}
