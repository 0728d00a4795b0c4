#include "shell/showHideTrackInfo.h"

#include "app/frmMain.h"
#include "app/globals.h"
#include "failsafe/modFailSafe.h"
#include "ui_frmMain.h"

#include <QLabel>
#include <QLineEdit>
#include <QTableView>

void showHideTrackInfo(bool arf) {
    FS_PROC("main module", "Sub showHideTrackInfo", FS_ARG(arf));
    frmMain* main = frmMain::instance();
    if (!main || (arf && gvInSlowPlay))
        return;
    Ui::frmMain* u = main->ui();
    u->lblTrackComments->setVisible(arf);
    u->Comments->setVisible(arf);
    u->tgTracks->setVisible(arf);
}
