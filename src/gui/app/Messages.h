#pragma once

#include <QString>
#include <functional>

class BusyHost;
class QWidget;

// The busy messages, the yes/no question and the small window helpers the whole program
// uses.
//
// Thread: UI thread only.

// A box that stays on top and can't be answered; "off" (exact case) takes it away.
void Message(const QString& theString, const QString& newCaption = {});
// A box with a Cancel button that knows what it cancels (source "ACD", "MF", ...); "off"
// takes it away and gives the busy host its input again.
void Message2(const QString& theString, const QString& theSource = {});
// The window the busy box keeps from input and whose work its Cancel stops; nullptr when
// there is none. Not owned.
void setBusyHost(BusyHost* host);
BusyHost* busyHost();
bool confirm(const QString& msg);
void centerform(QWidget* frm);
// Waits nSecond seconds in an event loop of its own: every event comes in, the thread
// sleeps. A Pause begun by an event during this one returns first (see "What a click during
// a wait may start" in docs/ARCHITECTURE.md).
void Pause(float nSecond);
// The clock Pause reads, seconds since midnight; tests replace it to cross midnight.
void setPauseClock(std::function<double()> clock);
