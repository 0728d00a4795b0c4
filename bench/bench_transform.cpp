// The time-scale engine against the `rubberband` command-line tool (Debian's rubberband-cli),
// same input, same machine, same run, and the engine's sound and real-time figures:
//   file mode - wall time for a 60 s stereo 44.1 kHz input at 50 % speed: quality 3 against
//               `rubberband --fine`, quality 1 against `rubberband --fast`; the two
//               alternate, median of 3 each (target: ours at most 1.15 times theirs);
//   pitch     - a 440 Hz sine at 5, 50, 100 and 200 % speed, and shifted +700 and -1200
//               cents, in cents from the target (target 1 cent);
//   length    - output frames against input x speed factor in file mode (target exact), and
//               the real-time file's length against its target in ms (target 1 ms);
//   real time - from the start returning to the first frame sounding at the (null) device,
//               at quality 3 (target 100 ms); CPU while it runs at quality 3 and 50 % (target
//               30 % of one core); device buffers that ran dry (target 0).
// Both sides write their output to the same folder on the real disk.
#include "BenchSupport.h"
#include "platform/AudioDevice.h"
#include "platform/TimeScaleEngine.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <random>
#include <sndfile.h>
#include <sys/resource.h>
#include <thread>
#include <vector>

namespace {

constexpr int kRate = 44100;

// Chords that change every two seconds with a noise burst at each change: real work for a
// phase vocoder, unlike a steady tone.
bool writeMusic(const QString& path, int seconds) {
    SF_INFO info{};
    info.samplerate = kRate;
    info.channels = 2;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* sf = sf_open(QFile::encodeName(path).constData(), SFM_WRITE, &info);
    if (!sf)
        return false;
    std::mt19937 noise(7);
    std::uniform_real_distribution<float> hiss(-1.0f, 1.0f);
    const double roots[] = {220.0, 246.9, 196.0, 261.6, 174.6};
    std::vector<short> block(size_t(kRate) * 2);
    for (int s = 0; s < seconds; ++s) {
        const double root = roots[(s / 2) % 5];
        for (int i = 0; i < kRate; ++i) {
            const double t = double(s * kRate + i) / kRate;
            double left = 0, right = 0;
            for (const double ratio : {1.0, 1.25, 1.5, 2.0}) {
                left += std::sin(2 * M_PI * root * ratio * t) * 0.15;
                right += std::sin(2 * M_PI * root * ratio * 1.002 * t) * 0.15;
            }
            if (s % 2 == 0 && i < kRate / 20) {
                left += hiss(noise) * 0.3;
                right += hiss(noise) * 0.3;
            }
            block[size_t(i) * 2] = short(std::clamp(left, -1.0, 1.0) * 30000);
            block[size_t(i) * 2 + 1] = short(std::clamp(right, -1.0, 1.0) * 30000);
        }
        if (sf_writef_short(sf, block.data(), kRate) != kRate) {
            sf_close(sf);
            return false;
        }
    }
    return sf_close(sf) == 0;
}

std::vector<float> readMono(const QString& path, SF_INFO& info) {
    SNDFILE* sf = sf_open(QFile::encodeName(path).constData(), SFM_READ, &info);
    if (!sf)
        return {};
    std::vector<float> all(size_t(info.frames) * size_t(info.channels));
    sf_readf_float(sf, all.data(), info.frames);
    sf_close(sf);
    std::vector<float> mono(size_t(info.frames));
    for (size_t f = 0; f < mono.size(); ++f)
        mono[f] = all[f * size_t(info.channels)];
    return mono;
}

// The tone's frequency in the middle of the sound, from interpolated zero crossings.
double frequencyOf(const std::vector<float>& s, int rate) {
    double first = -1, last = -1;
    int crossings = 0;
    for (size_t f = s.size() / 5; f + 1 < s.size() * 4 / 5; ++f)
        if (s[f] < 0 && s[f + 1] >= 0) {
            const double t = double(f) + double(-s[f]) / double(s[f + 1] - s[f]);
            if (first < 0)
                first = t;
            else
                ++crossings;
            last = t;
        }
    return crossings > 0 ? crossings * double(rate) / (last - first) : 0;
}

double cpuSeconds() {
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return u.ru_utime.tv_sec + u.ru_utime.tv_usec / 1e6 + u.ru_stime.tv_sec +
           u.ru_stime.tv_usec / 1e6;
}

// Runs one job to its end; returns the wall time in seconds, or a negative on a refusal.
double runJob(TimeScaleEngine& engine, std::atomic<int>& ends, const QString& in,
              const QString& out, double pitch, double speed, int bands, bool realTime) {
    const int before = ends.load();
    QElapsedTimer t;
    t.start();
    if (engine.start(in, pitch, speed, bands, out, realTime, 0) != TimeScaleEngine::Running)
        return -1;
    while (ends.load() == before)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    const double seconds = t.nsecsElapsed() / 1e9;
    engine.stop();
    return seconds;
}

double theirs(const QString& tool, const QStringList& args) {
    QElapsedTimer t;
    t.start();
    QProcess p;
    p.start(tool, args);
    p.waitForFinished(-1);
    if (p.exitStatus() != QProcess::NormalExit || p.exitCode() != 0) {
        std::fprintf(stderr, "rubberband failed: %s\n", p.readAllStandardError().constData());
        return -1;
    }
    return t.nsecsElapsed() / 1e9;
}

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    qputenv("CANTAVOX_AUDIO", "null");
    qunsetenv("CANTAVOX_NULL_RATE");
    QTemporaryDir dir(QDir::currentPath() + QStringLiteral("/bench-transform-XXXXXX"));
    const QString music = dir.filePath(QStringLiteral("music.wav"));
    if (!writeMusic(music, 60)) {
        std::fprintf(stderr, "could not write %s\n", qPrintable(music));
        return 1;
    }
    TimeScaleEngine engine;
    std::atomic<int> ends{0};
    engine.setCallback([&](int) { ++ends; });

    // File mode against the command-line tool.
    const QString tool = QStandardPaths::findExecutable(QStringLiteral("rubberband"));
    std::printf("60 s stereo 44.1 kHz input at 50 %% speed, file mode, median of 3\n");
    const QString ours = dir.filePath(QStringLiteral("ours.wav"));
    const QString peer = dir.filePath(QStringLiteral("theirs.wav"));
    struct Pair {
        const char* name;
        int bands;
        const char* option;
    };
    for (const Pair& p : {Pair{"quality 3 vs --fine", 2048, "--fine"},
                          Pair{"quality 1 vs --fast", 512, "--fast"}}) {
        std::vector<double> a, b;
        for (int i = 0; i < 3; ++i) {
            a.push_back(runJob(engine, ends, music, ours, 1.0, 2.0, p.bands, false));
            if (!tool.isEmpty())
                b.push_back(
                    theirs(tool, {QString::fromLatin1(p.option), QStringLiteral("-q"),
                                  QStringLiteral("-t"), QStringLiteral("2.0"), music, peer}));
        }
        if (b.empty() || *std::min_element(b.begin(), b.end()) < 0)
            std::printf("%-24s ours %6.2f s; rubberband not available to compare\n", p.name,
                        median(a));
        else
            std::printf("%-24s ours %6.2f s, theirs %6.2f s (ratio %.3f, target 1.15)\n", p.name,
                        median(a), median(b), median(a) / median(b));
    }
    {
        SF_INFO in{}, out{};
        readMono(music, in);
        readMono(ours, out);
        std::printf("%-24s %lld frames for %lld x 2.0 (difference %lld, target 0)\n",
                    "file-mode length", static_cast<long long>(out.frames),
                    static_cast<long long>(in.frames),
                    static_cast<long long>(out.frames - 2 * in.frames));
    }

    // Pitch kept at four speeds, and two shifts.
    const QString sine = dir.filePath(QStringLiteral("sine.wav"));
    bench::writeTone(sine, 4.0, 440.0, 1, kRate, 12000.0 / 32767);
    const QString shifted = dir.filePath(QStringLiteral("shifted.wav"));
    double worst = 0;
    for (const int pct : {5, 50, 100, 200}) {
        runJob(engine, ends, sine, shifted, 1.0, 100.0 / pct, 2048, false);
        SF_INFO info{};
        const double c = 1200 * std::log2(frequencyOf(readMono(shifted, info), kRate) / 440.0);
        std::printf("pitch at %3d %% speed      %+7.3f cents\n", pct, c);
        worst = std::max(worst, std::abs(c));
    }
    for (const int cents : {700, -1200}) {
        runJob(engine, ends, sine, shifted, std::pow(2.0, cents / 1200.0), 1.0, 2048, false);
        SF_INFO info{};
        const double c = 1200 * std::log2(frequencyOf(readMono(shifted, info), kRate) / 440.0);
        std::printf("shift of %+5d cents        %+7.3f cents off\n", cents, c - cents);
        worst = std::max(worst, std::abs(c - cents));
    }
    std::printf("%-24s %7.3f cents (target 1: ratio %.3f)\n", "worst pitch error", worst, worst);

    // Real time, quality 3, 50 % speed, on the null device at real-time pace.
    const QString loop = dir.filePath(QStringLiteral("loop.wav"));
    {
        // Ten seconds of the music as the loop.
        SF_INFO info{};
        SNDFILE* in = sf_open(QFile::encodeName(music).constData(), SFM_READ, &info);
        SF_INFO outInfo = info;
        SNDFILE* out = sf_open(QFile::encodeName(loop).constData(), SFM_WRITE, &outInfo);
        std::vector<short> v(size_t(kRate) * 10 * 2);
        sf_readf_short(in, v.data(), kRate * 10);
        sf_writef_short(out, v.data(), kRate * 10);
        sf_close(in);
        sf_close(out);
    }
    std::vector<double> latency;
    double cpuShare = 0;
    int underruns = 0;
    double lengthErrorMs = 0;
    for (int i = 0; i < 3; ++i) {
        const double cpu0 = cpuSeconds();
        const int before = ends.load();
        QElapsedTimer wall;
        wall.start();
        if (engine.start(loop, 1.0, 2.0, 2048, ours, true, 0) != TimeScaleEngine::Running)
            return 1;
        while (ends.load() == before)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        const double seconds = wall.nsecsElapsed() / 1e9;
        cpuShare = std::max(cpuShare, (cpuSeconds() - cpu0) / seconds * 100.0);
        latency.push_back((engine.firstSoundAt() - engine.startedAt()) * 1000.0);
        underruns += engine.underruns();
        engine.stop();
        SF_INFO info{};
        readMono(ours, info);
        lengthErrorMs = std::max(lengthErrorMs,
                                 std::abs(double(info.frames) - 2.0 * 10 * kRate) * 1000 / kRate);
    }
    std::printf("%-24s %7.1f ms median of 3 (target 100: ratio %.3f)\n", "start to first sound",
                median(latency), median(latency) / 100.0);
    std::printf("%-24s %7.1f %% of one core, worst of 3 (target 30: ratio %.3f)\n",
                "CPU in real time", cpuShare, cpuShare / 30.0);
    std::printf("%-24s %7d (target 0)\n", "device buffers run dry", underruns);
    std::printf("%-24s %7.3f ms (target 1)\n", "real-time length error", lengthErrorMs);
    return 0;
}
