// Cost of the procedure trace: one traced call (fsPUSH + fsPOP through FS_PROC with two
// arguments, building the argument text at head and tail) with every output off, and the
// cost of one trace line with "Capture To Disk" and with the circular log.
#include "failsafe/modFailSafe.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <cstdio>

namespace {

volatile int g_sink = 0;

[[gnu::noinline]] void traced(int index, const QString& name) {
    FS_PROC("bench module", "Sub traced", FS_ARG(index), FS_ARG(name));
    g_sink = g_sink + index;
}

[[gnu::noinline]] void nested(int depth, const QString& name) {
    FS_PROC("bench module", "Sub nested", FS_ARG(depth), FS_ARG(name));
    if (depth > 0)
        nested(depth - 1, name);
}

void writeIni(const QString& dir, const char* text) {
    QFile f(dir + QStringLiteral("/FSCLIENT.INI"));
    if (f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        f.write(text);
}

// Nanoseconds per traced call (two lines when an output is on).
double perCall(long calls) {
    const QString name = QStringLiteral("loop A");
    for (long i = 0; i < calls / 10; ++i) // warm up
        traced(int(i), name);
    QElapsedTimer t;
    t.start();
    for (long i = 0; i < calls; ++i)
        traced(int(i), name);
    return double(t.nsecsElapsed()) / double(calls);
}

double perCallNested(long calls, int depth) {
    const QString name = QStringLiteral("loop A");
    QElapsedTimer t;
    t.start();
    for (long i = 0; i < calls; ++i)
        nested(depth - 1, name);
    return double(t.nsecsElapsed()) / double(calls * depth);
}

} // namespace

int main(int argc, char** argv) {
    QTemporaryDir home;
    qputenv("CANTAVOX_HOME", home.path().toUtf8());
    QCoreApplication app(argc, argv);

    fsReset();
    const double off = perCall(5'000'000);
    std::printf("outputs off: %.1f ns per push+pop pair (FS_PROC, two arguments)\n", off);
    fsReset();
    const double offDeep = perCallNested(200'000, 20);
    std::printf("outputs off, 20 levels deep: %.1f ns per pair\n", offDeep);

    fsReset();
    writeIni(home.path(), "[log file]\nCapture To Disk=1\n[include]\nResources=0\nMemory=0\n");
    const double capture = perCall(20'000) / 2;
    std::printf("Capture To Disk, no resource columns: %.2f us per line\n", capture / 1000);

    fsReset();
    QFile::remove(home.path() + QStringLiteral("/error.log"));
    writeIni(home.path(), "[log file]\nCapture To Disk=1\n");
    const double captureAll = perCall(20'000) / 2;
    std::printf("Capture To Disk, all columns: %.2f us per line\n", captureAll / 1000);

    fsReset();
    writeIni(home.path(), "[Log File]\nCircularLog=1\n[include]\nResources=0\nMemory=0\n");
    const double circular = perCall(20'000) / 2;
    std::printf("circular log (512 x 100), no resource columns: %.2f us per line\n",
                circular / 1000);

    fsReset();
    return 0;
}
