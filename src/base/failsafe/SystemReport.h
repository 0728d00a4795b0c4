#pragma once

#include <QString>

// The system state report of an error: the program, the operating system, memory and
// processor as /proc and Qt tell them, one "   Label.......value" line each under its
// heading. fsSystemReport (modFailSafe.h) makes it once per error through here; the memory
// figures of fsMemoryStatus come from here too.
//
// Thread: UI thread only (the trace's thread).
class SystemReport {
public:
    static QString make();
};
