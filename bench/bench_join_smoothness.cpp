// How a loop's join sounds: a held sine, a chord and a click track, each cut far from a zero
// crossing and repeated through the wave device on the null sound device (four times real
// time) the way the loop logic repeats it, heard through the null device's loopback. Figures,
// against the steepest step from one frame to the next within the loop itself: the step of the
// join as the cut leaves it (what a plain repeat plays), and the steepest step heard within
// 20 ms of each join (target: no more than 1). Also silent frames at the joins (target 0) and
// whether every pass was heard frame for frame for its whole length but the blend at its end.
#include "BenchSupport.h"
#include "platform/AudioDevice.h"
#include "platform/WaveDevice.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <sndfile.h>
#include <vector>

namespace {

constexpr int kRate = 44100;
constexpr int kPasses = 10;

struct Signal {
    const char* name;
    std::function<double(qint64)> sample;
    qint32 fromMs, toMs;
    bool target; // a tone slower than the blend's few milliseconds has none
};

double sine(double hz, qint64 n) {
    return std::sin(2.0 * M_PI * hz * double(n) / kRate);
}

// Three seconds of mono 16-bit sound.
bool writeSignal(const QString& path, const std::function<double(qint64)>& sample) {
    SF_INFO info{};
    info.samplerate = kRate;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* sf = sf_open(QFile::encodeName(path).constData(), SFM_WRITE, &info);
    if (!sf)
        return false;
    std::vector<float> samples(3 * kRate);
    for (size_t n = 0; n < samples.size(); ++n)
        samples[n] = float(sample(qint64(n)));
    const bool ok = sf_writef_float(sf, samples.data(), sf_count_t(samples.size())) ==
                    sf_count_t(samples.size());
    return sf_close(sf) == 0 && ok;
}

std::vector<float> readAll(const QString& path) {
    SF_INFO info{};
    SNDFILE* sf = sf_open(QFile::encodeName(path).constData(), SFM_READ, &info);
    std::vector<float> out;
    if (!sf)
        return out;
    out.resize(size_t(info.frames) * size_t(info.channels));
    sf_readf_float(sf, out.data(), info.frames);
    sf_close(sf);
    return out;
}

float steepestStep(const float* begin, const float* end) {
    float steepest = 0;
    for (const float* v = begin; v + 1 < end; ++v)
        steepest = std::max(steepest, std::abs(v[1] - v[0]));
    return steepest;
}

struct Figures {
    bool measured = false;
    double cutAsIs = 0;
    double heard = 0; // the worst join
    qint64 silent = -1;
    qint64 passFrames = 0;
    bool passesExact = false;
};

Figures measure(const QString& dir, const Signal& s) {
    Figures fig;
    const QString file = dir + QStringLiteral("/%1.wav").arg(QString::fromLatin1(s.name));
    const QString heardFile = dir + QStringLiteral("/heard.wav");
    QFile::remove(heardFile);
    if (!writeSignal(file, s.sample))
        return fig;
    const std::vector<float> source = readAll(file);

    WaveDevice recorder;
    QString why;
    if (!recorder.setRecordingFormat(32, 1, kRate, why) || !recorder.open(heardFile).ok() ||
        !recorder.record().ok())
        return fig;
    WaveDevice player;
    if (!player.open(file).ok())
        return fig;
    player.setRepeatAhead(true);
    int ends = 0;
    QObject::connect(&player, &WaveDevice::playEnded, &player, [&] {
        if (++ends < kPasses)
            player.play(s.fromMs, s.toMs);
        else
            player.stop();
    });
    player.play(s.fromMs, s.toMs);
    QElapsedTimer t;
    t.start();
    while (ends < kPasses && t.elapsed() < 30000)
        bench::waitMs(5);
    bench::waitMs(60);
    recorder.stop();
    if (ends < kPasses || !recorder.save(heardFile).ok())
        return fig;
    fig.silent = player.audio()->joinSilentFrames();
    player.close();

    const std::vector<float> got = readAll(heardFile);
    const qint64 from = qint64(s.fromMs) * kRate / 1000, to = qint64(s.toMs) * kRate / 1000;
    const qint64 pass = to - from;
    const int blend = WaveDevice::joinBlendFrames(kRate, pass);
    const auto first = std::find_if(got.begin(), got.end(), [](float v) { return v != 0.0f; });
    const size_t start = size_t(first - got.begin());
    if (first == got.end() || got.size() < start + size_t(kPasses * pass + 4 * blend))
        return fig;
    const float within = steepestStep(source.data() + from, source.data() + to);
    fig.cutAsIs = std::abs(source[size_t(to - 1)] - source[size_t(from)]) / within;
    fig.passFrames = pass;
    fig.passesExact = true;
    for (int p = 0; p < kPasses; ++p)
        for (qint64 f = 0; f < pass - blend; ++f)
            fig.passesExact = fig.passesExact && std::abs(got[start + size_t(p * pass + f)] -
                                                          source[size_t(from + f)]) < 1e-6f;
    for (int join = 1; join < kPasses; ++join) {
        const float* at = got.data() + start + size_t(join * pass);
        fig.heard = std::max(fig.heard,
                             double(steepestStep(at - 4 * blend, at + 4 * blend)) / double(within));
    }
    fig.measured = true;
    return fig;
}

} // namespace

int main(int argc, char** argv) {
    QTemporaryDir home;
    bench::prepareEnvironment(home.path(), 4);
    QCoreApplication app(argc, argv);

    const Signal cases[] = {
        {"held sine", [](qint64 n) { return 0.5 * sine(440, n); }, 1003, 1523, true},
        {"chord", [](qint64 n) { return 0.2 * (sine(220, n) + sine(277.18, n) + sine(329.63, n)); },
         1013, 1571, true},
        {"click track",
         [](qint64 n) {
             // A 4 ms burst of 1.7 kHz under a Hann envelope every 250 ms, over a quiet hum.
             const qint64 every = kRate / 4, click = kRate * 4 / 1000, k = n % every;
             double v = 0.02 * sine(110, n);
             if (k < click)
                 v += 0.4 * (1 - std::cos(2 * M_PI * double(k) / double(click))) * sine(1700, k);
             return v;
         },
         1120, 1752, true},
        {"low sine (110 Hz)", [](qint64 n) { return 0.5 * sine(110, n); }, 1003, 1517, false},
    };

    std::printf("%d passes of each loop; steps against the steepest step within the loop\n",
                kPasses);
    std::printf("%-18s %11s %9s %12s %9s %8s %s\n", "signal", "loop (ms)", "cut as is",
                "heard (max)", "silent", "frames", "every pass exact");
    bool met = true;
    for (const Signal& s : cases) {
        const Figures fig = measure(home.path(), s);
        if (!fig.measured) {
            std::printf("%-18s could not be measured\n", s.name);
            met = false;
            continue;
        }
        std::printf("%-18s %5d-%-5d %9.2f %12.4f %9lld %8lld %s%s\n", s.name, int(s.fromMs),
                    int(s.toMs), fig.cutAsIs, fig.heard, static_cast<long long>(fig.silent),
                    static_cast<long long>(fig.passFrames), fig.passesExact ? "yes" : "no",
                    s.target ? "" : "   (no target: its period is longer than the blend)");
        met = met && fig.silent == 0 && fig.passesExact && (!s.target || fig.heard <= 1.0001);
    }
    std::printf("targets: heard (max) no more than 1 (to 1e-4), silent 0, every pass exact\n");
    return met ? 0 : 1;
}
