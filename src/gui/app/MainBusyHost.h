#pragma once

#include "app/BusyHost.h"

class frmMain;

// The main window's side of the busy box.
//
// Thread: UI thread only.
class MainBusyHost : public BusyHost {
public:
    explicit MainBusyHost(frmMain& main) : m_main(main) {}

    void setBusy(bool busy) override;
    void cancelBusyWork(const QString& source) override;

private:
    frmMain& m_main;
};
