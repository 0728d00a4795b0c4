#pragma once

#include <QtGlobal>

class MMControl;
class QWidget;
class Recordset;

// What the trim window ("Trim Start and End Points") may do to the main window: read and
// store the selected loop, play it on the main window's player, and hand on the keys the
// musician presses. The main window gives it this instead of itself.
//
// Thread: UI thread only.
class TrimHost {
public:
    virtual ~TrimHost() = default;

    // The window the trim window stands over, and the places it covers: the tracks grid
    // when it is on view, else the main window's central area.
    virtual QWidget* window() = 0;
    virtual QWidget* tracksGrid() = 0;
    virtual QWidget* centralArea() = 0;
    // Whether the disc's track fields belong on view once the trim window is gone.
    virtual bool showsDiscTracks() const = 0;
    // The loops of the current track or file, on the selected one.
    virtual Recordset& loopRows() = 0;
    // The player now in force, set to milliseconds.
    virtual MMControl* player() = 0;
    virtual void usePlayerInMilliseconds() = 0;
    // The loop the main window plays and repeats from now on.
    virtual void setLoop(qint32 inPt, qint32 outPt) = 0;
    // Shows the loop's length and plays it from inPt to outPt.
    virtual void playLoop(qint32 inPt, qint32 outPt) = 0;
    // Alt+T: to SlowPlay and back.
    virtual void slowPlay() = 0;
    // Any other key, handled as the main window handles it.
    virtual void keyDown(int keyCode) = 0;
};
