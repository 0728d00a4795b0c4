#pragma once

#include <QString>

class QWidget;
class loopPoints;

// What the window of live marking ("Make Loop Points") may do to the main window: take marks
// at the play position, save them as loops, and show and play the saved ones. The main window
// gives it this instead of itself.
//
// Thread: UI thread only.
class LoopMarking {
public:
    virtual ~LoopMarking() = default;

    // The window the marking window stands over.
    virtual QWidget* window() = 0;
    // The marks taken so far, oldest first.
    virtual loopPoints& marks() = 0;
    // The first press: a mark at the play position, the start of the first loop.
    virtual void startNewLoop() = 0;
    // The last press: a mark that ends the loop being marked.
    virtual void endLoopHere() = 0;
    // Stores one loop of the current track or file.
    virtual void saveLoop(const QString& startTimeMs, const QString& startTimeTTMMSS,
                          qint32 endTimeMs) = 0;
    // Reads the loops again after saving, the grid showing no selection.
    virtual void reloadLoops(qint32 startTimeMs) = 0;
    // Selects the loop that starts at startTimeMs in the grid, if there is one.
    virtual void selectLoop(qint32 startTimeMs) = 0;
    // Plays the selected loop, as its button does.
    virtual void playSelectedLoop() = 0;
};
