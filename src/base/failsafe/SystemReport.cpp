#include "failsafe/SystemReport.h"

#include "app/AppPaths.h"
#include "failsafe/TraceTexts.h"
#include "failsafe/modFailSafe.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QStringList>
#include <QSysInfo>
#include <QThread>
#include <charconv>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

QString grouped(qint64 v) {
    QString digits = QString::number(v < 0 ? -v : v);
    for (qsizetype i = digits.size() - 3; i > 0; i -= 3)
        digits.insert(i, u',');
    return v < 0 ? u'-' + digits : digits;
}

QString reportLabel(const char* label) {
    QString s = QStringLiteral("   ") + QLatin1StringView(label);
    while (s.size() < 23)
        s += u'.';
    return s;
}

QString readProcFile(const char* path) {
    QFile f(QString::fromLatin1(path));
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return QString::fromLatin1(f.readAll());
}

qint64 procKb(const QString& text, QLatin1StringView key) {
    const qsizetype at = text.indexOf(key);
    if (at < 0)
        return -1;
    qsizetype i = at + key.size();
    while (i < text.size() && !text[i].isDigit())
        ++i;
    qint64 v = 0;
    while (i < text.size() && text[i].isDigit())
        v = v * 10 + text[i++].digitValue();
    return v;
}

} // namespace

QString SystemReport::make() {
    QStringList r;
    auto line = [&](const char* label, const QString& value) { r << reportLabel(label) + value; };
    r << QStringLiteral("Application running on computer ") + QSysInfo::machineHostName();
    r << QStringLiteral("Application");
    // Not through Prompts: the report is made while the dialog holds traced calls back.
    line("Title", QCoreApplication::applicationName());
    line("Path", appDir());
    QString version = QCoreApplication::applicationVersion();
    if (version.isEmpty())
        version = QStringLiteral("%1.%2.%3")
                      .arg(CANTAVOX_VERSION_MAJOR)
                      .arg(CANTAVOX_VERSION_MINOR)
                      .arg(CANTAVOX_VERSION_PATCH);
    line("Project Version", version);
    line("Qt Version", QString::fromLatin1(qVersion()));
    line("EXE Name", traceProgramName());
    const qint64 rss = procKb(readProcFile("/proc/self/status"), QLatin1StringView("VmRSS:"));
    line("Resident Size", rss < 0 ? QStringLiteral("<Unknown>") : grouped(rss * 1024) + fsText(38));
    r << QStringLiteral("Operating System");
    line("Version", QSysInfo::prettyProductName());
    line("Kernel", QSysInfo::kernelType() + u' ' + QSysInfo::kernelVersion());
    line("Current Path", QDir::currentPath());
    r << QStringLiteral("Memory Information");
    const FsMemoryStatus m = fsMemoryStatus();
    if (m.ok) {
        line("Total Physical", grouped(m.totalPhys) + fsText(38));
        line("Available Physical", grouped(m.availPhys) + fsText(38));
        line("Memory Load", QString::number(m.load) + u'%');
        line("Pct Physical Free",
             QString::number(100.0 * double(m.availPhys) / double(m.totalPhys), 'f', 2));
    } else {
        line("Total Physical", QStringLiteral("<Unknown>"));
        line("Available Physical", QStringLiteral("<none>"));
    }
    r << QStringLiteral("Processor");
    line("CPU", QSysInfo::currentCpuArchitecture());
    line("Number of CPUs", QString::number(QThread::idealThreadCount()));
    r << QStringLiteral("Date and Time");
    const QDateTime now = QDateTime::currentDateTime();
    line("Date", now.toString(QStringLiteral("yyyy-MM-dd")));
    line("Time", now.toString(QStringLiteral("HH:mm:ss")));
    return r.join(u'\n');
}

FsMemoryStatus fsMemoryStatus() {
    FsMemoryStatus m;
    // Read with plain calls into a stack buffer: with "Resources" or "Memory" on, this runs
    // for every trace line.
    char buf[4096];
    const int fd = ::open("/proc/meminfo", O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return m;
    const ssize_t n = ::read(fd, buf, sizeof buf - 1);
    ::close(fd);
    if (n <= 0)
        return m;
    buf[n] = 0;
    auto field = [&](const char* key) -> qint64 {
        const char* at = std::strstr(buf, key);
        if (!at)
            return -1;
        at += std::strlen(key);
        while (*at == ' ')
            ++at;
        qint64 v = 0;
        std::from_chars(at, buf + n, v);
        return v;
    };
    const qint64 total = field("MemTotal:");
    qint64 avail = field("MemAvailable:");
    if (avail < 0)
        avail = field("MemFree:");
    if (total <= 0 || avail < 0)
        return m;
    m.ok = true;
    m.totalPhys = total * 1024;
    m.availPhys = avail * 1024;
    m.load = static_cast<int>(100 - avail * 100 / total);
    return m;
}
