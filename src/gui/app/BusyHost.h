#pragma once

#include <QString>

// What the busy box with its Cancel button (messages2) may do to the window behind it: keep
// the window from input while it is up, and stop the work it stands for. The main window
// registers itself as the host (Messages.h: setBusyHost) for as long as it lives.
//
// Thread: UI thread only.
class BusyHost {
public:
    virtual ~BusyHost() = default;
    // While busy, the window takes no input; Cancel must stay the one way out.
    virtual void setBusy(bool busy) = 0;
    // Cancel: "MF" stops a transformation job, "ACD" leaves a digital read for mode "CD".
    virtual void cancelBusyWork(const QString& source) = 0;
};
