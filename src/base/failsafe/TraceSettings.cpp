#include "failsafe/TraceSettings.h"

#include "app/AppPaths.h"
#include "failsafe/CircularLog.h"
#include "failsafe/FsClientIni.h"

#include <QDir>
#include <QtGlobal>
#include <climits>

namespace {

QString inAppDir(const QString& name) {
    if (QDir::isAbsolutePath(name))
        return name;
    return appDir() + u'/' + name;
}

} // namespace

TraceSettings TraceSettings::fromIni() {
    TraceSettings s;
    const FsClientIni ini;
    s.iniExists = ini.exists();
    s.circular =
        ini.value(QStringLiteral("Log File"), QStringLiteral("CircularLog"), QStringLiteral("0"))
            .startsWith(u'1');
    if (s.circular) {
        s.circularFile =
            inAppDir(ini.value(QStringLiteral("CircularLog"), QStringLiteral("FileName"),
                               QStringLiteral("circ0001.log")));
        const double size = ini.number(QStringLiteral("CircularLog"), QStringLiteral("RecordSize"),
                                       QStringLiteral("512"));
        const double records = ini.number(QStringLiteral("CircularLog"),
                                          QStringLiteral("MaxRecords"), QStringLiteral("100"));
        // Sizes past what a record can be turn the log off (CircularLog::open refuses them).
        s.recordSize = static_cast<qint64>(qBound(-1.0, size, CircularLog::kMaxRecordSize + 1.0));
        s.maxRecords = static_cast<qint64>(qBound(0.0, records, double(INT_MAX)));
    }
    if (s.iniExists) {
        const QString prefs = QStringLiteral("preferences");
        const QString log = QStringLiteral("log file");
        const QString include = QStringLiteral("include");
        s.forceSystemInfo = ini.flag(prefs, QStringLiteral("Force System Info"), {});
        s.emailAddress = ini.value(QStringLiteral("email"), QStringLiteral("Address"));
        s.writeToDisk = ini.flag(log, QStringLiteral("Write To Disk"), {});
        s.captureToDisk = ini.flag(log, QStringLiteral("Capture To Disk"), {});
        s.logFile = ini.value(log, QStringLiteral("Log File"));
        s.silentRun = ini.flag(prefs, QStringLiteral("Silent Run"), QStringLiteral("0"));
        s.displayMode = static_cast<int>(qBound(
            -1e9, ini.number(prefs, QStringLiteral("Display Mode"), QStringLiteral("0")), 1e9));
        s.resources = ini.flag(include, QStringLiteral("Resources"), QStringLiteral("1"));
        s.memory = ini.flag(include, QStringLiteral("Memory"), QStringLiteral("1"));
        s.arguments = ini.flag(include, QStringLiteral("Arguments"), QStringLiteral("1"));
        s.user = ini.flag(include, QStringLiteral("User"), QStringLiteral("1"));
        const QString track = QStringLiteral("TrackRecord");
        s.trackDatabase = ini.value(track, QStringLiteral("Database"));
        s.trackAddress = ini.value(track, QStringLiteral("Address"));
        s.trackProject = ini.value(track, QStringLiteral("Project"));
        s.trackAssignedTo = ini.value(track, QStringLiteral("Assigned To"));
        s.attachLog = ini.flag(QStringLiteral("DevCenter"), QStringLiteral("Attach Log"),
                               QStringLiteral("1"));
    }
    if (s.logFile.isEmpty())
        s.logFile = QStringLiteral("error.log");
    if (!s.logFile.contains(u'/'))
        s.logFile = appDir() + u'/' + s.logFile;
    return s;
}
