#pragma once

#include <QString>

// The texts of the trace, by number, as the logs and the error dialog show them.
//
// Thread: UI thread only (the trace's thread).

QString fsText(int number);

// The program's file name, which the start text, each trace line and the system report
// name.
QString traceProgramName();
