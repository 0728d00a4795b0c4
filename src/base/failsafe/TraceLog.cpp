#include "failsafe/TraceLog.h"

#include "failsafe/CircularLog.h"
#include "failsafe/ErrorClasses.h"
#include "failsafe/TraceSettings.h"
#include "failsafe/TraceStack.h"
#include "failsafe/TraceTexts.h"
#include "failsafe/modFailSafe.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace {

constexpr QLatin1StringView kCRLF("\r\n");

struct Log {
    std::unique_ptr<CircularLog> circular;
    QByteArray logFileNative;
    // Index 0: the start (0 on the clock); others: the last time stamp, in ms, taken at
    // that line count.
    std::array<qint64, fsMaxDepth + 1> times{};
    long lineCount = 0;
    QString linePrefix;
    QElapsedTimer clock; // stands for timeGetTime: monotonic milliseconds since the start
    qint64 selfTimeNs = 0;
    qint64 lastShownMs = 0;
    QString line;
};

Log g;

// No allocation: this runs for every line.
void appendInt(QString& out, qint64 v, int width = 0) {
    char buf[32];
    auto r = std::to_chars(buf, buf + sizeof buf, v < 0 ? -v : v);
    const int digits = static_cast<int>(r.ptr - buf);
    if (v < 0)
        out += QLatin1Char('-');
    for (int i = digits; i < width; ++i)
        out += QLatin1Char('0');
    out += QLatin1StringView(buf, digits);
}

// Milliseconds shown as ms / 10000 in the format "00000.0000", always with "." as the
// decimal sign.
void appendTime(QString& out, qint64 ms) {
    if (ms < 0)
        ms = 0;
    appendInt(out, ms / 10000, 5);
    out += QLatin1Char('.');
    appendInt(out, ms % 10000, 4);
}

void appendToLogFile(QStringView text) {
    if (g.logFileNative.isEmpty())
        return;
    const QByteArray utf8 = text.toUtf8();
    // Opened and closed for each piece, so that a crash loses nothing written before it.
    const int fd =
        ::open(g.logFileNative.constData(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0)
        return; // a log that can't be written simply isn't
    const char* p = utf8.constData();
    qsizetype left = utf8.size();
    while (left > 0) {
        const ssize_t n = ::write(fd, p, static_cast<size_t>(left));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        p += n;
        left -= n;
    }
    ::close(fd);
}

void outputLine(QStringView line) {
    if (TraceSettings::current().captureToDisk)
        appendToLogFile(line);
    if (g.circular && g.circular->isOn())
        g.circular->write(line);
    // The trace monitor window of the original platform is left out: no outside viewer of
    // that kind exists here.
}

qint64 lineTimeMs() {
    // The trace's own time is measured from before a line's stamp to after its write, so
    // taking it off can put the next stamp before this one; a log reads in order.
    const qint64 ms = std::max(g.lastShownMs, (TraceLog::nowNs() - g.selfTimeNs) / 1000000);
    g.lastShownMs = ms;
    g.times[1 + (g.lineCount > 0 ? (g.lineCount - 1) % fsMaxDepth : 0)] = ms;
    return ms;
}

void beginLine(QString& L) {
    L.resize(0);
    L += g.linePrefix;
    L += QLatin1Char('[');
    appendInt(L, g.lineCount, 5);
    L += QLatin1StringView("] [");
    appendTime(L, lineTimeMs());
}

void writeLine(bool call, const QString& entry) {
    const TraceSettings& set = TraceSettings::current();
    ++g.lineCount;
    QString& L = g.line;
    beginLine(L);
    L += call ? QLatin1StringView("] ->") : QLatin1StringView("] <-");
    const qsizetype body = L.size();
    if (call) {
        L += entry;
    } else {
        const qsizetype at = entry.indexOf(kEntrySep);
        L += at < 0 ? QStringView(entry) : QStringView(entry).mid(at);
    }
    if (!set.arguments) {
        const qsizetype first = L.indexOf(u':', body);
        const qsizetype second = first < 0 ? -1 : L.indexOf(u':', first + 1);
        if (second >= 0) {
            L.truncate(second);
            while (!L.isEmpty() && L.back().isSpace())
                L.chop(1);
        }
    }
    if (set.resources || set.memory) {
        const FsMemoryStatus m = fsMemoryStatus();
        if (set.resources) {
            L += QLatin1StringView(" : [res =");
            appendInt(L, m.load);
            L += QLatin1Char('%');
        }
        if (set.memory) {
            L += set.resources ? QLatin1StringView(", mem = ") : QLatin1StringView(" : [mem = ");
            appendInt(L, m.availPhys);
        }
        L += QLatin1Char(']');
    }
    if (set.user)
        L += kEntrySep; // the user text is empty
    L += kCRLF;
    outputLine(L);
}

void writeRawLine(const QString& text) {
    if (!TraceLog::active())
        return;
    outputLine(QString(text + kCRLF));
}

} // namespace

void TraceLog::start(const TraceSettings& settings) {
    g.logFileNative = QFile::encodeName(settings.logFile);
    g.circular.reset();
    if (settings.circular) {
        g.circular = std::make_unique<CircularLog>(settings.circularFile, settings.recordSize,
                                                   settings.maxRecords);
        // A circular log that can't be opened stays off for the rest of the run (the
        // message of the development environment has no place here).
        if (!g.circular->open())
            g.circular.reset();
    }
    g.times.fill(0);
    g.linePrefix = u'[' + traceProgramName() + QStringLiteral("] ");
    // The clock stands for the millisecond timer; times are shown from here.
    g.clock.start();
    g.selfTimeNs = 0;
    g.lastShownMs = 0;
    // No trace monitor window exists on this platform (see outputLine).
    writeRawLine(fsText(31));
    writeRawLine(fsText(19));
}

void TraceLog::reset() {
    g.circular.reset();
    g.logFileNative.clear();
    g.times.fill(0);
    g.lineCount = 0;
    g.linePrefix.clear();
    g.clock.invalidate();
    g.selfTimeNs = 0;
    g.lastShownMs = 0;
}

bool TraceLog::active() {
    return TraceSettings::current().captureToDisk || (g.circular && g.circular->isOn());
}

qint64 TraceLog::nowNs() {
    return g.clock.isValid() ? g.clock.nsecsElapsed() : 0;
}

void TraceLog::addSelfTime(qint64 ns) {
    g.selfTimeNs += ns;
}

void TraceLog::callLine(const QString& entry) {
    writeLine(true, entry);
}

void TraceLog::returnLine(const QString& entry) {
    writeLine(false, entry);
}

void TraceLog::trapLine(const FsErrorSlot& error) {
    if (!active())
        return;
    ++g.lineCount;
    QString L;
    beginLine(L);
    L += QLatin1StringView("] ");
    L += fsText(17) + u' ' + QString::number(error.number) + QStringLiteral(" at ") +
         error.procedure + kEntrySep + error.module + QStringLiteral(": Line ") +
         QString::number(error.line) + kCRLF;
    outputLine(L);
}

void TraceLog::errorReport(const FsErrorSlot& error, const QStringList& callTree) {
    const QString tab = QStringLiteral("\t");
    const QDateTime now = QDateTime::currentDateTime();
    QString b;
    b += fsText(33) + u' ' + now.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")) + kCRLF;
    b += QString(72, u'*') + kCRLF;
    b += fsText(26) + kCRLF;
    b += fsText(35) + tab + QStringLiteral("*Error ") + QString::number(error.number) + kCRLF;
    b += fsText(36) + tab + error.text + kCRLF;
    b += fsText(37) + tab + ErrorClasses::categoryText(error.errClass) + kCRLF;
    b += fsText(60) + tab + error.source + kCRLF;
    b += fsText(29) + tab + error.procedure + kCRLF;
    if (error.line != 0) {
        b += fsText(34) + tab + QString::number(error.line) + kCRLF;
    } else {
        b += fsText(34) + tab + fsText(16).trimmed() + kCRLF;
        b += QStringLiteral("Code Pointer : ") + QString::number(error.codePointer) + kCRLF;
    }
    b += fsText(27) + kCRLF;
    for (const QString& l : callTree)
        b += l + kCRLF;
    b += kCRLF;
    b += QStringLiteral("User Said") + kCRLF;
    QString said = fsUserSaid;
    said.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    said.replace(u'\n', kCRLF);
    b += said + kCRLF;
    b += fsText(28) + kCRLF;
    QString report = fsSystemReport();
    report.replace(u'\n', kCRLF);
    b += report + kCRLF;
    appendToLogFile(b);
}
