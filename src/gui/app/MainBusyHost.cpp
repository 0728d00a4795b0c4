#include "app/MainBusyHost.h"

#include "app/frmMain.h"
#include "app/globals.h"

void MainBusyHost::setBusy(bool busy) {
    m_main.setEnabled(!busy);
}

void MainBusyHost::cancelBusyWork(const QString& source) {
    if (source == u"MF") {
        m_main.stopDLL();
    } else if (source == u"ACD") {
        // Placeholder: the digital extraction work aborts the reader here when it is usable.
        m_main.setEnabled(true);
        gvInSlowPlay = false;
        m_main.changeToMode(QStringLiteral("CD"));
    }
}
