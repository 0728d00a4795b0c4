// Finding the beat of a loop, on generated sound at 44.1 kHz. Figures, each against its target:
//   time      - one find on a 3-minute and a 10-minute drum loop (median of 3 and one run);
//   tempo     - the fitted BPM of click tracks at 60, 100, 140 and 180 BPM and of the drum
//               pattern at 120 and slowed to 60, 30 s each, and its error from the true tempo;
//               a double or half tempo is named as such and measured against that octave;
//   beats     - the mean and largest distance of the tracked beats from the true ones.
// aubio's command-line tracker is the peer where it is installed: its tempo on the same sound,
// written to a WAV file, and the ratio of ours to it.
#include "Rhythms.h"
#include "graph/BeatFinder.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <sndfile.h>
#include <string>
#include <vector>

namespace {

constexpr int kRate = 44100;
constexpr double kOffset = 0.23;

// As the tests make them, from the same offset.
std::vector<float> clicks(double bpm, double seconds) {
    return rhythms::clicks(bpm, seconds, kOffset, kRate);
}
std::vector<float> drums(double bpm, double seconds) {
    return rhythms::drums(bpm, seconds, kOffset, kRate);
}

void report(const std::string& what, double value, const char* unit, double target) {
    std::printf("%-60s %9.2f %-3s (target %7.2f %s: ratio %.3f)\n", what.c_str(), value, unit,
                target, unit, value / target);
}

bool writeWav(const QString& path, const std::vector<float>& mono) {
    SF_INFO info{0, kRate, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 0, 0};
    SNDFILE* sf = sf_open(QFile::encodeName(path).constData(), SFM_WRITE, &info);
    const sf_count_t n = sf_count_t(mono.size());
    const bool written = sf && sf_writef_float(sf, mono.data(), n) == n;
    return sf && sf_close(sf) == 0 && written;
}

// The peer's tempo, or 0 when it has none to give.
double aubioTempo(const QString& program, const QString& wav) {
    QProcess p;
    if (program.endsWith(QStringLiteral("aubiotrack")))
        p.start(program, {QStringLiteral("-i"), wav});
    else
        p.start(program, {QStringLiteral("tempo"), wav});
    if (!p.waitForFinished(60000) || p.exitCode() != 0)
        return 0;
    const QStringList lines =
        QString::fromUtf8(p.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
    if (!program.endsWith(QStringLiteral("aubiotrack")))
        return lines.isEmpty() ? 0 : lines.last().split(' ').first().toDouble();
    // aubiotrack prints its beats, one time a line: the median gap is its tempo.
    std::vector<double> times, gaps;
    for (const QString& l : lines)
        times.push_back(l.trimmed().toDouble());
    for (size_t i = 1; i < times.size(); ++i)
        gaps.push_back(times[i] - times[i - 1]);
    if (gaps.empty())
        return 0;
    std::nth_element(gaps.begin(), gaps.begin() + std::ptrdiff_t(gaps.size() / 2), gaps.end());
    return 60.0 / gaps[gaps.size() / 2];
}

} // namespace

int main() {
    std::vector<double> ms;
    const std::vector<float> threeMinutes = drums(120, 180);
    for (int run = 0; run < 3; ++run) {
        QElapsedTimer t;
        t.start();
        const BeatFinder::Result r = BeatFinder::find(threeMinutes, kRate);
        ms.push_back(double(t.nsecsElapsed()) / 1e9);
        if (!r.ok) {
            std::fprintf(stderr, "no beat in the 3-minute loop: %s\n", qPrintable(r.why));
            return 1;
        }
    }
    std::sort(ms.begin(), ms.end());
    report("find, 3-minute drum loop (median of 3)", ms[1], "s", 1.0);
    {
        const std::vector<float> tenMinutes = drums(120, 600);
        QElapsedTimer t;
        t.start();
        BeatFinder::find(tenMinutes, kRate);
        report("find, 10-minute drum loop", double(t.nsecsElapsed()) / 1e9, "s", 10.0 / 3);
    }

    QString peer = QStandardPaths::findExecutable(QStringLiteral("aubiotrack"));
    if (peer.isEmpty())
        peer = QStandardPaths::findExecutable(QStringLiteral("aubio"));
    QTemporaryDir dir(QDir::currentPath() + QStringLiteral("/bench-beats-XXXXXX"));

    struct Case {
        std::string name;
        double bpm;
        std::vector<float> sound;
    };
    const std::vector<Case> cases{
        {"clicks 60", 60, clicks(60, 30)},    {"clicks 100", 100, clicks(100, 30)},
        {"clicks 140", 140, clicks(140, 30)}, {"clicks 180", 180, clicks(180, 30)},
        {"drums 120", 120, drums(120, 30)},   {"drums 120 slowed to 60", 60, drums(60, 30)}};
    for (const Case& c : cases) {
        const BeatFinder::Result r = BeatFinder::find(c.sound, kRate);
        if (!r.ok) {
            std::printf("%-60s no beat: %s\n", c.name.c_str(), qPrintable(r.why));
            continue;
        }
        // Measured against the octave the tracker chose, which the window's Double Tempo and
        // Half Tempo mend.
        double octave = 1;
        for (double o : {0.5, 2.0})
            if (std::abs(r.bpm() / (c.bpm * o) - 1) < std::abs(r.bpm() / (c.bpm * octave) - 1))
                octave = o;
        const double bpm = c.bpm * octave;
        // At half tempo every tracked beat is still a true beat; at double, every other one
        // falls between two.
        const double grid = std::min(60.0 / c.bpm, 60.0 / bpm);
        const std::string name = c.name + (octave == 1  ? ""
                                           : octave > 1 ? " (found double)"
                                                        : " (found half)");
        report(name + ": BPM", r.bpm(), "bpm", bpm);
        report(name + ": tempo error", std::abs(r.bpm() / bpm - 1) * 100, "%", 1);
        double sum = 0, worst = 0;
        for (double beat : r.beats) {
            const double d = std::fmod(std::abs(beat - kOffset), grid);
            const double off = std::min(d, grid - d) * 1000;
            sum += off;
            worst = std::max(worst, off);
        }
        report(name + ": beat error, mean", sum / double(r.beats.size()), "ms", 20);
        report(name + ": beat error, largest", worst, "ms", 70);
        if (peer.isEmpty())
            continue;
        const QString wav = dir.filePath(QString::fromStdString(c.name) + QStringLiteral(".wav"));
        const double theirs = writeWav(wav, c.sound) ? aubioTempo(peer, wav) : 0;
        if (theirs > 0)
            std::printf("%-60s %9.2f bpm (ours / theirs: %.3f)\n", (c.name + ": aubio").c_str(),
                        theirs, r.bpm() / theirs);
    }
    if (peer.isEmpty())
        std::printf("aubio's tracker is not installed: no peer figures.\n");
    return 0;
}
