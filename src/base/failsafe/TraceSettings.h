#pragma once

#include <QString>

// The trace's settings, from FSCLIENT.INI beside the program (see FsClientIni), read once
// by fsSTART. Without the file every setting keeps its default; the circular log is read
// either way, and its own defaults keep it off.
//
// Thread: UI thread only (the trace's thread).
struct TraceSettings {
    bool iniExists = false;
    bool circular = false;
    QString circularFile;
    qint64 recordSize = 512;
    qint64 maxRecords = 100;
    bool forceSystemInfo = false;
    QString emailAddress;
    bool writeToDisk = false;
    bool captureToDisk = false;
    // Absolute: a bare name lies in the program directory.
    QString logFile;
    bool silentRun = false;
    int displayMode = 0;
    // Without FSCLIENT.INI no column is read, so all stay off.
    bool resources = false;
    bool memory = false;
    bool arguments = false;
    bool user = false;
    QString trackDatabase;
    QString trackAddress;
    QString trackProject;
    QString trackAssignedTo;
    bool attachLog = true;

    static TraceSettings fromIni();

    // The settings the trace runs with: the defaults until fsSTART and again after fsReset.
    // Inline, because every traced call asks whether an output is on.
    static const TraceSettings& current() { return s_current; }
    static void setCurrent(const TraceSettings& settings) { s_current = settings; }

private:
    static TraceSettings s_current;
};

inline TraceSettings TraceSettings::s_current;
