#pragma once

#include <QRect>
#include <QtGlobal>

class MMControl;
class QWidget;
class Recordset;

// What the wave graph ("Wave View") may do to the main window: read the speed and the file's
// scale, play a selection of the slowed loop on the main window's player, store the grid in
// the current loop's record, and hand on the keys it doesn't use. The main window gives it
// this instead of itself.
//
// Thread: UI thread only.
class GraphHost {
public:
    virtual ~GraphHost() = default;

    virtual QWidget* window() = 0;
    // Where the graph stands at first: the part of the main window that SlowPlay leaves
    // empty, in global coordinates.
    virtual QRect emptyArea() = 0;
    // The player of the slowed loop, set to milliseconds.
    virtual MMControl* player() = 0;
    virtual void usePlayerInMilliseconds() = 0;
    // Marker samples per chart point, worked out first when it isn't known yet.
    virtual float expFactor() = 0;
    virtual int slowDownPercent() const = 0;
    // Plays the player's From to To as the slowed loop, repeating.
    virtual void playSelection() = 0;
    virtual bool playing() = 0;
    // No loop stays armed after the next stop.
    virtual void disarmLoop() = 0;
    // The current loop's record, found by its start (false when there is none).
    virtual Recordset* currentLoopRecord() = 0;
    // A key the graph doesn't use, handled as the main window handles it; keyCode comes back
    // 0 when the main window used it up.
    virtual void keyDown(int& keyCode, int shift) = 0;
    virtual QString status() = 0;
    virtual void setStatus(const QString& text) = 0;
};
