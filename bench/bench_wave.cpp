// Playing a long wave file: a 60-minute 16-bit stereo WAV at 44.1 kHz on the wave media
// control, the null sound device at real-time pace. Figures, each against its target:
//   open+play - from the "open" command to the first frame handed to the device;
//   memory    - growth of resident memory while it plays, seeks and plays on;
//   position  - reported Position against what the device has played, sampled while playing;
//   cpu       - process CPU time over wall time while playing, with the 500 ms status events.
// The file is made in a temporary folder under the working folder, so on the real disk.
#include "platform/AudioDevice.h"
#include "platform/MMControl.h"
#include "platform/WaveDevice.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sndfile.h>
#include <sys/resource.h>
#include <thread>
#include <vector>

namespace {

constexpr int kRate = 44100;
constexpr int kMinutes = 60;

bool makeLongFile(const QString& path) {
    SF_INFO info{};
    info.samplerate = kRate;
    info.channels = 2;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* sf = sf_open(QFile::encodeName(path).constData(), SFM_WRITE, &info);
    if (!sf)
        return false;
    std::vector<short> block(size_t(kRate) * 2);
    for (int i = 0; i < kRate; ++i)
        block[size_t(i) * 2] = block[size_t(i) * 2 + 1] =
            short(8000 * std::sin(2 * M_PI * 440.0 * i / kRate));
    for (int s = 0; s < kMinutes * 60; ++s)
        if (sf_writef_short(sf, block.data(), kRate) != kRate) {
            sf_close(sf);
            return false;
        }
    return sf_close(sf) == 0;
}

qint64 residentKb() {
    QFile f(QStringLiteral("/proc/self/status"));
    if (!f.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : f.readAll().split('\n'))
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toLongLong();
    return 0;
}

double cpuSeconds() {
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return u.ru_utime.tv_sec + u.ru_utime.tv_usec / 1e6 + u.ru_stime.tv_sec +
           u.ru_stime.tv_usec / 1e6;
}

// Lets the event loop run (status events, the end watch) for that long.
void waitMs(int ms) {
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

void report(const char* what, double value, const char* unit, double target) {
    std::printf("%-44s %9.2f %-3s (target %5.0f %s: ratio %.3f)\n", what, value, unit, target, unit,
                value / target);
}

} // namespace

int main(int argc, char** argv) {
    qputenv("CANTAVOX_AUDIO", "null");
    qunsetenv("CANTAVOX_NULL_RATE");
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTemporaryDir dir(QDir::currentPath() + QStringLiteral("/bench-wave-XXXXXX"));
    const QString file = dir.filePath(QStringLiteral("sixty minutes.wav"));
    QElapsedTimer made;
    made.start();
    if (!makeLongFile(file)) {
        std::fprintf(stderr, "could not write %s\n", qPrintable(file));
        return 1;
    }
    std::printf("%d-minute 16-bit stereo WAV, %.0f MB, written in %.1f s\n", kMinutes,
                double(QFileInfo(file).size()) / 1e6, made.elapsed() / 1000.0);

    std::vector<double> openMs;
    qint64 rssBefore = 0, rssPeak = 0;
    std::vector<double> drift;
    double cpuShare = 0;
    for (int run = 0; run < 5; ++run) {
        MMControl wave;
        wave.setDeviceType(QStringLiteral("waveaudio"));
        auto* device = static_cast<WaveDevice*>(wave.device());
        if (run == 0)
            rssBefore = residentKb();
        QElapsedTimer t;
        t.start();
        wave.setFileName(file);
        wave.setWait(true);
        wave.setCommand(QStringLiteral("open"));
        if (wave.Error() != 0) {
            std::fprintf(stderr, "%s\n", qPrintable(wave.ErrorMessage()));
            return 1;
        }
        wave.setCommand(QStringLiteral("Play"));
        while (!device->audio() || device->audio()->framesPlayed() == 0)
            std::this_thread::yield();
        openMs.push_back(double(t.nsecsElapsed()) / 1e6);
        if (run > 0) {
            wave.setCommand(QStringLiteral("Close"));
            continue;
        }
        // Plays, seeks far in, plays on: the memory stays with the ring, not the file.
        wave.setUpdateInterval(500);
        const double cpu0 = cpuSeconds();
        QElapsedTimer wall;
        wall.start();
        for (int i = 0; i < 100; ++i) {
            waitMs(50);
            const double played = double(device->audio()->framesPlayed()) * 1000.0 / kRate;
            drift.push_back(std::abs(wave.Position() - played));
            rssPeak = std::max(rssPeak, residentKb());
        }
        cpuShare = (cpuSeconds() - cpu0) / (wall.nsecsElapsed() / 1e9) * 100.0;
        for (const qint32 from : {30 * 60000, 59 * 60000}) {
            wave.setFrom(from);
            wave.setCommand(QStringLiteral("Play"));
            waitMs(1000);
            rssPeak = std::max(rssPeak, residentKb());
        }
        wave.setCommand(QStringLiteral("Close"));
    }

    report("open and start playing (median of 5)", median(openMs), "ms", 50);
    report("resident memory growth while playing", double(rssPeak - rssBefore) / 1024.0, "MB", 20);
    std::sort(drift.begin(), drift.end());
    report("Position vs played, median of 100", drift[drift.size() / 2], "ms", 10);
    report("Position vs played, worst of 100", drift.back(), "ms", 10);
    report("CPU while playing, share of one core", cpuShare, "%", 3);
    return 0;
}
