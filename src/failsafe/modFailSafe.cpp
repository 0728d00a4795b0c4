#include "failsafe/modFailSafe.h"

#include "app/AppPaths.h"
#include "app/Prompts.h"
#include "failsafe/CircularLog.h"
#include "failsafe/ErrorClasses.h"
#include "failsafe/FsClientIni.h"
#include "failsafe/frmFAILSAFE.h"

#include <QApplication>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPointer>
#include <QSysInfo>
#include <QThread>
#include <array>
#include <charconv>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <new>
#include <unistd.h>

bool fsDisabled = false;
bool fsStarted = false;
bool fsInError = false;
long fsCallDepth = 0;
int fsAction = fsaction::Leave;
QString fsUserSaid;
long fsErrorCount = 0;

namespace {

constexpr int kErrorSlots = 11;
constexpr QLatin1StringView kSep(" : ");
constexpr QLatin1StringView kCRLF("\r\n");
const QString kUnknown = QStringLiteral("<unknown>");

struct Settings {
    bool iniExists = false;
    bool circular = false;
    QString circularFile;
    qint64 recordSize = 512;
    qint64 maxRecords = 100;
    bool forceSystemInfo = false;
    QString emailAddress;
    bool writeToDisk = false;
    bool captureToDisk = false;
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
};

struct State {
    Settings set;
    std::unique_ptr<CircularLog> circular;
    QByteArray logFileNative;

    // Index = depth. Each entry keeps its buffer between calls, so that a procedure entered
    // again at the same depth costs no allocation.
    std::array<QString, fsMaxDepth + 1> stack;
    std::array<int, fsMaxDepth + 1> errFlags{};
    // No frame of this build knows its own code pointer; a level that is given one shows it
    // in the call tree as " : Code".
    std::array<qint64, fsMaxDepth + 1> codePointers{};
    // Index 0: the start (0 on the clock); others: the last time stamp, in ms, taken at
    // that line count.
    std::array<qint64, fsMaxDepth + 1> times{};
    long lineCount = 0;
    QString linePrefix;
    QElapsedTimer clock; // stands for timeGetTime: monotonic milliseconds since the start
    qint64 pushOverheadNs = 0;
    qint64 popOverheadNs = 0;
    bool inIDE = false;
    QString line;

    // Copy of the stack taken when an exception first leaves a frame.
    bool snapValid = false;
    long snapNextDepth = 0;
    quint64 snapPushSeq = 0;
    QList<QString> snap;
    QList<qint64> snapCodePointers;
    quint64 pushSeq = 0;

    // Depth at which the running trap was entered (-1: fsERROR was called directly).
    long trapBase = -1;
    // Event loop level at which the innermost fsERROR runs; only events of a deeper loop
    // (the dialog's) are held back.
    int errorLoopLevel = INT_MAX;

    std::array<FsErrorSlot, kErrorSlots> inProgress;
    int errLevel = 0;
    FsErrorSlot lastError;
    QStringList lastTree;
    QString sysReport;
    bool sysReportMade = false;
};

State g;

// ---- small formatting helpers (no allocation) ----------------------------------------

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

qint64 nowNs() {
    return g.clock.isValid() ? g.clock.nsecsElapsed() : 0;
}

bool outputActive() {
    return g.set.captureToDisk || (g.circular && g.circular->isOn());
}

// ---- output --------------------------------------------------------------------------

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
    if (g.set.captureToDisk)
        appendToLogFile(line);
    if (g.circular && g.circular->isOn())
        g.circular->write(line);
    // The trace monitor window of the original platform is left out: no outside viewer of
    // that kind exists here.
}

// Time of a line: clock minus what the trace has spent on itself.
qint64 lineTimeMs() {
    const qint64 ms = (nowNs() - g.pushOverheadNs - g.popOverheadNs) / 1000000;
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

// The line of a call (the entry as it stands before its depth is added) or of a return.
void makeLine(bool call, const QString& entry) {
    QString& L = g.line;
    beginLine(L);
    L += call ? QLatin1StringView("] ->") : QLatin1StringView("] <-");
    const qsizetype body = L.size();
    if (call) {
        L += entry;
    } else {
        const qsizetype at = entry.indexOf(kSep);
        L += at < 0 ? QStringView(entry) : QStringView(entry).mid(at);
    }
    if (!g.set.arguments) {
        const qsizetype first = L.indexOf(u':', body);
        const qsizetype second = first < 0 ? -1 : L.indexOf(u':', first + 1);
        if (second >= 0) {
            L.truncate(second);
            while (!L.isEmpty() && L.back().isSpace())
                L.chop(1);
        }
    }
    if (g.set.resources || g.set.memory) {
        const FsMemoryStatus m = fsMemoryStatus();
        if (g.set.resources) {
            L += QLatin1StringView(" : [res =");
            appendInt(L, m.load);
            L += QLatin1Char('%');
        }
        if (g.set.memory) {
            L += g.set.resources ? QLatin1StringView(", mem = ") : QLatin1StringView(" : [mem = ");
            appendInt(L, m.availPhys);
        }
        L += QLatin1Char(']');
    }
    if (g.set.user)
        L += kSep; // the user text is empty
    L += kCRLF;
}

void writeRawLine(const QString& text) {
    if (!outputActive())
        return;
    outputLine(QString(text + kCRLF));
}

// ---- internal handler ----------------------------------------------------------------

void internalHandler(int number, const QString& description) {
    try {
        Prompts::msgBox(QString::number(number) + QStringLiteral(", '") + description +
                            QStringLiteral("', inside FAILSAFE.BAS"),
                        vb::vbOKOnly | vb::vbCritical, QStringLiteral("FailSafe"));
    } catch (...) {
        qWarning("%s", qPrintable(fsText(24) + QString::number(number) + fsText(25) +
                                  QString::number(0)));
    }
}

// Runs one step of the trap's own work; a failure is reported by the internal handler and
// the next step runs.
template <class F> void guarded(F&& step) {
    try {
        step();
    } catch (const AppError& e) {
        internalHandler(e.number, e.description);
    } catch (const std::bad_alloc&) {
        internalHandler(errnum::OutOfMemory, standardErrorText(errnum::OutOfMemory));
    } catch (const std::exception& e) {
        internalHandler(errnum::InternalError, QString::fromLocal8Bit(e.what()));
    } catch (...) {
        internalHandler(errnum::InternalError, standardErrorText(errnum::InternalError));
    }
}

// ---- start ---------------------------------------------------------------------------

QString executablePath() {
    if (QCoreApplication::instance())
        return QCoreApplication::applicationFilePath();
    return QFileInfo(QStringLiteral("/proc/self/exe")).symLinkTarget();
}

QString inAppDir(const QString& name) {
    if (QDir::isAbsolutePath(name))
        return name;
    return appDir() + u'/' + name;
}

void startImpl() {
    Settings s;
    // The settings file beside the program.
    const FsClientIni ini;
    s.iniExists = ini.exists();
    // The circular log is read whether the file exists or not (its defaults keep it off).
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
    fsStarted = true;
    // The arrays are fixed; they start empty.
    for (QString& e : g.stack)
        e.resize(0);
    g.errFlags.fill(0);
    g.codePointers.fill(0);
    g.times.fill(0);
    const QDateTime now = QDateTime::currentDateTime();
    g.stack[0] = now.toString(QStringLiteral("HH:mm:ss")) + QStringLiteral(", ") +
                 now.toString(QStringLiteral("yyyy-MM-dd")) + QStringLiteral(" <") + fsText(32) +
                 u'>';
    // There are no system error boxes to switch off on this platform.
    // Without the file every other setting keeps its default.
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
    g.set = s;
    g.logFileNative = QFile::encodeName(s.logFile);
    g.circular.reset();
    if (s.circular) {
        g.circular = std::make_unique<CircularLog>(s.circularFile, s.recordSize, s.maxRecords);
        // A circular log that can't be opened stays off for the rest of the run (the
        // message of the development environment has no place here).
        if (!g.circular->open())
            g.circular.reset();
    }
    // This program never runs inside a development environment.
    g.inIDE = false;
    g.linePrefix = u'[' + QFileInfo(executablePath()).fileName() + QStringLiteral("] ");
    // The clock stands for the millisecond timer; times are shown from here.
    g.clock.start();
    g.times[0] = 0;
    g.pushOverheadNs = 0;
    g.popOverheadNs = 0;
    // No trace monitor window exists on this platform (see outputLine).
    writeRawLine(fsText(31));
    writeRawLine(fsText(19));
}

// ---- waiting while the error dialog is up --------------------------------------------

bool mustWait() {
    return fsInError && QCoreApplication::instance() &&
           QThread::currentThread()->loopLevel() > g.errorLoopLevel;
}

void waitWhileInError() {
    // Only events that the dialog's own loop lets through are held here; the trap's own
    // calls (at the trap's loop level) go on.
    while (mustWait())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

// ---- stack entries -------------------------------------------------------------------

// The entry is balanced when it holds ModuleFile, " : ", ProcName.
bool balanced(const QString& entry, const char* module, const char* proc) {
    const QLatin1StringView m(module);
    const QLatin1StringView p(proc);
    qsizetype from = 0;
    while (true) {
        const qsizetype at = entry.indexOf(m, from);
        if (at < 0)
            return false;
        const QStringView rest = QStringView(entry).mid(at + m.size());
        if (rest.startsWith(kSep) && rest.mid(kSep.size()).startsWith(p))
            return true;
        from = at + 1;
    }
}

struct Level {
    int depth = 0;
    QString module;
    QString proc;
    QString args;
    qint64 codePointer = 0;
};

Level parseEntry(const QString& entry, int depth, qint64 codePointer) {
    Level l;
    l.depth = depth;
    l.codePointer = codePointer;
    QStringView e(entry);
    while (e.startsWith(u'\t'))
        e = e.mid(1);
    const qsizetype a = e.indexOf(kSep);
    if (a < 0) {
        l.module = e.toString();
        return l;
    }
    l.module = e.left(a).toString();
    e = e.mid(a + kSep.size());
    const qsizetype b = e.indexOf(kSep);
    if (b < 0) {
        l.proc = e.toString();
        return l;
    }
    l.proc = e.left(b).toString();
    e = e.mid(b + kSep.size());
    const qsizetype c = e.lastIndexOf(kSep);
    l.args = (c < 0 ? e : e.left(c)).toString();
    return l;
}

QString treeLine(const Level& l, const QString& marker) {
    QString s(qMax(0, l.depth - 1), u'\t');
    s += l.proc + kSep + l.module;
    if (!l.args.isEmpty())
        s += kSep + l.args;
    return s + marker;
}

QStringList buildCallTree(const QList<QString>& entries, const QList<qint64>& pointers, long base,
                          const QString& module, const QString& proc, const FsErrorSlot& e) {
    QList<Level> levels;
    for (qsizetype i = 0; i < entries.size(); ++i)
        levels.append(parseEntry(entries[i], int(i + 1), i < pointers.size() ? pointers[i] : 0));

    auto matches = [&](const Level& l) { return l.module == module && l.proc == proc; };
    qsizetype trap = -1;
    if (base >= 0) {
        if (base < levels.size() && matches(levels[base]))
            trap = base;
    } else {
        for (qsizetype i = levels.size() - 1; i >= 0 && trap < 0; --i) {
            if (matches(levels[i]))
                trap = i;
        }
    }
    if (trap < 0) {
        // The trap has no frame of its own (its body called straight into another
        // procedure): it is shown as a level of its own where it was entered.
        const qsizetype at = base >= 0 ? qMin<qsizetype>(base, levels.size()) : levels.size();
        Level t;
        t.depth = int(at + 1);
        t.module = module;
        t.proc = proc;
        for (qsizetype i = at; i < levels.size(); ++i)
            ++levels[i].depth;
        levels.insert(at, t);
        trap = at;
    }
    const QString trapMarker = QStringLiteral(" : Trap : Runtime error ") +
                               QString::number(e.number) + QStringLiteral(", ") + e.text +
                               QStringLiteral(" on line ") + QString::number(e.line);
    QStringList lines;
    for (qsizetype i = 0; i < levels.size(); ++i) {
        const Level& l = levels[i];
        QString marker;
        if (i == trap)
            marker = trapMarker;
        else if (i == levels.size() - 1 && i > trap)
            marker = QStringLiteral(" : Error");
        else if (l.codePointer != 0)
            marker = QStringLiteral(" : Code : Code Pointer = ") + QString::number(l.codePointer);
        else
            marker = QStringLiteral(" : Call");
        lines.append(treeLine(l, marker));
    }
    return lines;
}

// ---- the error -----------------------------------------------------------------------

void fillSlot(FsErrorSlot& slot, const ErrObject& err, const QString& module, const QString& proc) {
    slot = FsErrorSlot{};
    slot.number = err.Number;
    slot.helpContext = err.HelpContext;
    slot.errClass = ErrorClasses::classOf(err.Number);
    if (err.Description.contains(u'!')) {
        // Handed over by a server: text!source!procedure!module!line!code pointer.
        const QStringList f = err.Description.split(u'!');
        auto field = [&](int i) {
            return i < f.size() && !f[i].trimmed().isEmpty() ? f[i].trimmed() : kUnknown;
        };
        slot.remote = true;
        slot.text = field(0);
        slot.rawSource = field(1);
        slot.source = slot.rawSource + QStringLiteral(" (remote)");
        slot.procedure = field(2);
        slot.module = field(3);
        slot.line = f.size() > 4 ? static_cast<int>(FsClientIni::val(f[4])) : 0;
        slot.codePointer = f.size() > 5 ? static_cast<qint64>(FsClientIni::val(f[5])) : 0;
    } else {
        slot.text = err.Description;
        slot.rawSource = err.Source;
        slot.source = err.Source + QStringLiteral(" (local)");
        slot.procedure = proc;
        slot.module = module;
        slot.line = err.Line;
        slot.codePointer = err.CodePointer;
    }
}

void writeTrapLine(const FsErrorSlot& slot) {
    if (!outputActive())
        return;
    ++g.lineCount;
    QString L;
    beginLine(L);
    L += QLatin1StringView("] ");
    L += fsText(17) + u' ' + QString::number(slot.number) + QStringLiteral(" at ") +
         slot.procedure + kSep + slot.module + QStringLiteral(": Line ") +
         QString::number(slot.line) + kCRLF;
    outputLine(L);
}

int chooseAction(const FsErrorSlot& slot) {
    if (g.set.silentRun)
        return fsaction::Leave;
    // Without a widget application (a tool run on QCoreApplication) there is no dialog to
    // ask; the procedure leaves as with "Silent Run".
    if (!qobject_cast<QApplication*>(QCoreApplication::instance()))
        return fsaction::Leave;
    QPointer<frmFAILSAFE> dlg = new frmFAILSAFE(QApplication::activeWindow());
    dlg->fill(slot, g.lastTree, fsErrorCount, Prompts::appTitle());
    const QString headline = dlg->headline();
    QVariant answer;
    try {
        answer = Prompts::execDialog(dlg, headline, fsaction::Leave);
    } catch (...) {
        delete dlg.data();
        throw;
    }
    if (dlg && !Prompts::scripted())
        fsUserSaid = dlg->userSaid();
    else
        fsUserSaid.clear();
    delete dlg.data();
    bool ok = false;
    const int action = answer.toInt(&ok);
    if (!ok)
        raiseError(errnum::TypeMismatch);
    fsAction = action;
    return action;
}

void writeReport(const FsErrorSlot& slot) {
    const QString tab = QStringLiteral("\t");
    const QDateTime now = QDateTime::currentDateTime();
    QString b;
    b += fsText(33) + u' ' + now.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")) + kCRLF;
    b += QString(72, u'*') + kCRLF;
    b += fsText(26) + kCRLF;
    b += fsText(35) + tab + QStringLiteral("*Error ") + QString::number(slot.number) + kCRLF;
    b += fsText(36) + tab + slot.text + kCRLF;
    b += fsText(37) + tab + ErrorClasses::categoryText(slot.errClass) + kCRLF;
    b += fsText(60) + tab + slot.source + kCRLF;
    b += fsText(29) + tab + slot.procedure + kCRLF;
    if (slot.line != 0) {
        b += fsText(34) + tab + QString::number(slot.line) + kCRLF;
    } else {
        b += fsText(34) + tab + fsText(16).trimmed() + kCRLF;
        b += QStringLiteral("Code Pointer : ") + QString::number(slot.codePointer) + kCRLF;
    }
    b += fsText(27) + kCRLF;
    for (const QString& l : g.lastTree)
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

QString makeSystemReport() {
    QStringList r;
    auto line = [&](const char* label, const QString& value) { r << reportLabel(label) + value; };
    r << QStringLiteral("Application running on computer ") + QSysInfo::machineHostName();
    r << QStringLiteral("Application");
    // Not through Prompts: the report is made while the dialog holds traced calls back.
    line("Title", QGuiApplication::applicationDisplayName());
    line("Path", appDir());
    QString version = QCoreApplication::applicationVersion();
    if (version.isEmpty())
        version = QStringLiteral("%1.%2.%3")
                      .arg(CANTAVOX_VERSION_MAJOR)
                      .arg(CANTAVOX_VERSION_MINOR)
                      .arg(CANTAVOX_VERSION_PATCH);
    line("Project Version", version);
    line("Qt Version", QString::fromLatin1(qVersion()));
    const QString exe = executablePath();
    line("EXE Name", QFileInfo(exe).fileName());
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

// The module's texts by number (19 and 30 are made up in fsText).
struct Text {
    int number;
    const char* text;
};
constexpr Text kTexts[] = {
    {0, "] END PROGRAM "},
    {15, " error"},
    {16, " <unavailable: line numbers not used>"},
    {17, "<< ERROR >>"},
    {18, "Module    "},
    {20, "The error handler was not initialized before a call to 'fsPOP()' was made."},
    {21, "The program is too deeply nested. The error handler can only handle 1000 levels of "
         "recursion."},
    {22, "generated error"},
    {23, " - Internal Error Handler"},
    {24, "An internal error "},
    {25, " has occurred in module FAILSAFE.BAS, procedure pfErr(), line "},
    {26, "Error Information"},
    {27, "Call Tree & Arguments"},
    {28, "System State Information"},
    {29, "Procedure"},
    {31, "FailSafe(tm) : Program START"},
    {32, "START PROGRAM"},
    {33, "Program Error Intercepted"},
    {34, "Line Number "},
    {35, "Error No. "},
    {36, "Description "},
    {37, "Category "},
    {38, " bytes"},
    {39, "YES"},
    {40, "NO"},
    {41, "&Continue"},
    {42, "&Go to"},
    {43, "&Break to"},
    {47, "Procedure is unbalanced or contains calls to unbalanced routines. "},
    {48, "'fsPOP()' was called without 'fsPUSH()'. "},
    {49, "Choose OK break to VB."},
    {50, "Choose CANCEL to continue with program."},
    {51, "Windows is in 'Standard' mode. Microsecond timer resolution only available under Windows "
         "'Enhanced' mode. Using millisecond timer resolution."},
    {52, "FSVB100"},
    {54, "&More"},
    {57, "trappable errors"},
    {60, "Source "},
};

} // namespace

// ---- public --------------------------------------------------------------------------

QString fsText(int number) {
    if (number == 19 || number == 30)
        return QFileInfo(executablePath()).fileName() +
               (number == 19 ? QStringLiteral(" - start FailSafe client v")
                             : QStringLiteral(" - stop FailSafe client v")) +
               QStringLiteral("%1.%2.%3")
                   .arg(CANTAVOX_VERSION_MAJOR)
                   .arg(CANTAVOX_VERSION_MINOR)
                   .arg(CANTAVOX_VERSION_PATCH) +
               QStringLiteral(" data capture") + u' ' +
               QDate::currentDate().toString(QStringLiteral("yyyy-MM-dd"));
    for (const Text& t : kTexts) {
        if (t.number == number)
            return QString::fromLatin1(t.text);
    }
    return {};
}

void fsSTART() {
    try {
        startImpl();
    } catch (const AppError& e) {
        fsStarted = true;
        internalHandler(e.number, e.description);
    } catch (const std::exception& e) {
        fsStarted = true;
        internalHandler(errnum::InternalError, QString::fromLocal8Bit(e.what()));
    }
}

void fsPUSH(const char* ModuleFile, const char* ProcName, const QString& ArgText) {
    if (fsDisabled)
        return;
    try {
        if (!fsStarted)
            fsSTART();
        if (fsInError)
            waitWhileInError();
        const long d = ++fsCallDepth;
        ++g.pushSeq;
        // Below the deepest level the call is counted but not recorded.
        if (d < 1 || d > fsMaxDepth)
            return;
        const bool out = outputActive();
        const qint64 t0 = out ? nowNs() : 0;
        QString& e = g.stack[d];
        e.resize(0);
        e.resize(d - 1, u'\t');
        e += QLatin1StringView(ModuleFile);
        e += kSep;
        e += QLatin1StringView(ProcName);
        e += kSep;
        e += ArgText;
        if (out) {
            g.errFlags[d] = 0;
            ++g.lineCount;
            makeLine(true, e);
            outputLine(g.line);
        }
        e += kSep;
        appendInt(e, d);
        if (out)
            g.pushOverheadNs += nowNs() - t0;
    } catch (...) {
        // The trace never raises into the procedure that calls it.
    }
}

void fsPOP(const char* ModuleFile, const char* ProcName, const QString& ArgText) {
    Q_UNUSED(ArgText); // the return line shows the entry as it was pushed
    if (fsDisabled)
        return;
    try {
        if (!fsStarted)
            fsSTART();
        if (fsInError)
            waitWhileInError();
        const long d = fsCallDepth;
        if (d > fsMaxDepth) {
            --fsCallDepth;
            return;
        }
        if (d < 1)
            return;
        QString& e = g.stack[d];
        // Outside a development environment an unbalanced exit changes nothing.
        if (!balanced(e, ModuleFile, ProcName))
            return;
        const bool out = outputActive();
        const qint64 t0 = out ? nowNs() : 0;
        if (out) {
            ++g.lineCount;
            makeLine(false, e);
            outputLine(g.line);
        }
        e.resize(0);
        g.codePointers[d] = 0;
        g.errFlags[d] = 0;
        --fsCallDepth;
        if (out)
            g.popOverheadNs += nowNs() - t0;
    } catch (...) {
    }
}

int fsERROR(const QString& ModuleFile, const QString& ProcName) {
    // Before anything can clear it.
    const ErrObject saved = Err;
    const bool wasInError = fsInError;
    const int savedLoopLevel = g.errorLoopLevel;
    // An error during the dialog of another lets that one's pending events run first.
    if (fsInError && QCoreApplication::instance())
        QCoreApplication::processEvents();
    fsInError = true;
    g.errorLoopLevel = QThread::currentThread()->loopLevel();
    const int level = g.errLevel++;
    FsErrorSlot& slot = g.inProgress[qMin(level, kErrorSlots - 1)];
    int action = fsaction::Leave;
    fsAction = fsaction::Leave;
    fsUserSaid.clear();
    g.sysReport.clear();
    g.sysReportMade = false;
    ++fsErrorCount;

    guarded([] {
        if (!fsStarted)
            fsSTART();
    });
    guarded([&] {
        fillSlot(slot, saved, ModuleFile, ProcName);
        g.lastError = slot;
        if (g.snapValid)
            g.lastTree =
                buildCallTree(g.snap, g.snapCodePointers, g.trapBase, ModuleFile, ProcName, slot);
        else
            g.lastTree = buildCallTree(
                fsCallStackLines(),
                QList<qint64>(g.codePointers.begin() + 1,
                              g.codePointers.begin() + 1 + qBound(0L, fsCallDepth, fsMaxDepth)),
                g.trapBase, ModuleFile, ProcName, slot);
    });
    guarded([&] { writeTrapLine(slot); });
    guarded([&] {
        if (g.set.forceSystemInfo)
            fsSystemReport();
    });
    guarded([&] { action = chooseAction(slot); });
    // "TrackRecord": the defect record is left to the remote report, which replaces it.
    // "email": the mailed report is left to the remote report, which replaces it.
    guarded([&] {
        if (g.set.writeToDisk)
            writeReport(slot);
    });
    Err.clear();
    --g.errLevel;
    g.errorLoopLevel = savedLoopLevel;
    // A nested error leaves the dialog of the outer one holding events back.
    fsInError = level > 0 && wasInError;
    return action;
}

QStringList fsCallStackLines() {
    QStringList lines;
    const long top = qBound(0L, fsCallDepth, fsMaxDepth);
    lines.reserve(top);
    for (long d = 1; d <= top; ++d)
        lines.append(g.stack[d]);
    return lines;
}

FsErrorSlot fsCurrentError() {
    if (g.errLevel > 0)
        return g.inProgress[qMin(g.errLevel - 1, kErrorSlots - 1)];
    return g.lastError;
}

QStringList fsCallTree() {
    return g.lastTree;
}

QString fsSystemReport() {
    if (!g.sysReportMade) {
        g.sysReport = makeSystemReport();
        g.sysReportMade = true;
    }
    return g.sysReport;
}

bool fsSystemReportMade() {
    return g.sysReportMade;
}

QString fsLogFileName() {
    return g.set.logFile;
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

void fsReset() {
    fsDisabled = false;
    fsStarted = false;
    fsInError = false;
    fsCallDepth = 0;
    fsAction = fsaction::Leave;
    fsUserSaid.clear();
    fsErrorCount = 0;
    g.set = Settings{};
    g.circular.reset();
    g.logFileNative.clear();
    for (QString& e : g.stack)
        e = QString();
    g.errFlags.fill(0);
    g.codePointers.fill(0);
    g.times.fill(0);
    g.lineCount = 0;
    g.linePrefix.clear();
    g.clock.invalidate();
    g.pushOverheadNs = 0;
    g.popOverheadNs = 0;
    g.inIDE = false;
    g.snapValid = false;
    g.snap.clear();
    g.snapCodePointers.clear();
    g.pushSeq = 0;
    g.snapPushSeq = 0;
    g.snapNextDepth = 0;
    g.trapBase = -1;
    g.errorLoopLevel = INT_MAX;
    g.inProgress.fill(FsErrorSlot{});
    g.errLevel = 0;
    g.lastError = FsErrorSlot{};
    g.lastTree.clear();
    g.sysReport.clear();
    g.sysReportMade = false;
}

namespace fs {

void appendArgValue(QString& out, const QVariant& v) {
    // A Variant prints its value only for the types Integer, Long, Single, Double,
    // Currency, Date, String, Boolean, Byte and Null (their type numbers stand in
    // "23456781117"); anything else is "<variant>".
    switch (v.typeId()) {
    case QMetaType::Bool:
        appendArgValue(out, v.toBool());
        return;
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::SChar:
    case QMetaType::Char:
        appendArgValue(out, v.toLongLong());
        return;
    case QMetaType::UChar:
        appendArgValue(out, static_cast<int>(v.value<uchar>()));
        return;
    case QMetaType::Float:
        appendArgValue(out, v.toFloat());
        return;
    case QMetaType::Double:
        appendArgValue(out, v.toDouble());
        return;
    case QMetaType::QString:
    case QMetaType::QChar:
    case QMetaType::QByteArray:
        out += v.toString();
        return;
    case QMetaType::QDate:
        out += v.toDate().toString(QStringLiteral("yyyy-MM-dd"));
        return;
    case QMetaType::QTime:
        out += v.toTime().toString(QStringLiteral("HH:mm:ss"));
        return;
    case QMetaType::QDateTime:
        out += v.toDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
        return;
    case QMetaType::Nullptr:
        return; // Null joins a text as nothing
    default:
        out += QLatin1StringView("<variant>");
        return;
    }
}

void noteUnwinding() {
    try {
        const long d = fsCallDepth;
        // The same exception passing the next frame out: the copy stands.
        if (g.snapValid && d == g.snapNextDepth && g.pushSeq == g.snapPushSeq) {
            g.snapNextDepth = d - 1;
            return;
        }
        const long top = qBound(0L, d, fsMaxDepth);
        g.snap.resize(top);
        g.snapCodePointers.resize(top);
        for (long i = 1; i <= top; ++i) {
            g.snap[i - 1] = g.stack[i];
            g.snapCodePointers[i - 1] = g.codePointers[i];
        }
        g.snapValid = true;
        g.snapNextDepth = d - 1;
        g.snapPushSeq = g.pushSeq;
    } catch (...) {
        // Called while unwinding: nothing may leave here.
    }
}

void noteHandled() {
    g.snapValid = false;
}

void runUnheld(const std::function<void()>& f) {
    const int saved = g.errorLoopLevel;
    if (saved != INT_MAX && QCoreApplication::instance())
        g.errorLoopLevel = QThread::currentThread()->loopLevel();
    try {
        f();
    } catch (...) {
        g.errorLoopLevel = saved;
        throw;
    }
    g.errorLoopLevel = saved;
}

void trapImpl(const char* module, const char* proc, const std::function<void()>& body) {
    const long base = fsCallDepth;
    for (;;) {
        // A copy left by an error that someone else caught is not this one's.
        noteHandled();
        try {
            body();
            return;
        } catch (const AppError& e) {
            Err.set(e);
        } catch (const std::bad_alloc&) {
            Err.set(AppError(errnum::OutOfMemory));
        } catch (const std::exception& e) {
            Err.set(AppError(errnum::InternalError, QString::fromLocal8Bit(e.what())));
        } catch (...) {
            Err.set(AppError(errnum::InternalError));
        }
        const long savedBase = g.trapBase;
        g.trapBase = base;
        const int action = fsERROR(QString::fromLatin1(module), QString::fromLatin1(proc));
        g.trapBase = savedBase;
        noteHandled();
        // Break to the debugger has no debugger to go to in a release build: it retries.
        if (action == fsaction::Retry || action == fsaction::Break)
            continue;
        return;
    }
}

} // namespace fs
