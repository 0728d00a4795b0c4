#include "app/MainBusyHost.h"

#include "app/frmMain.h"
#include "app/globals.h"
#include "platform/DigitalReader.h"

void MainBusyHost::setBusy(bool busy) {
    m_main.setEnabled(!busy);
}

void MainBusyHost::cancelBusyWork(const QString& source) {
    if (source == u"MF") {
        m_main.stopDLL();
    } else if (source == u"ACD") {
        if (gvDigitalRecordingOK && m_main.ACD1())
            m_main.ACD1()->cancel();
        m_main.setEnabled(true);
        gvInSlowPlay = false;
        m_main.changeToMode(QStringLiteral("CD"));
    }
}
