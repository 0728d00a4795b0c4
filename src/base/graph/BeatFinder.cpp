#include "graph/BeatFinder.h"

#include <QFile>
#include <algorithm>
#include <cmath>
#include <sndfile.h>

// qm-dsp's headers pull `using namespace std` into whoever includes them; kept to this file.
#include <dsp/onsets/DetectionFunction.h>
#include <dsp/tempotracking/TempoTrackV2.h>
#include <maths/MathUtilities.h>

namespace {

// The onset function's hop as qm-dsp's own tempo trackers use it at 44.1 kHz. TempoTrackV2's
// windows and its range of tempi are counted in hops, so the hop keeps its length in seconds
// at every rate.
constexpr double kStepSeconds = 512.0 / 44100.0;

// TempoTrackV2 looks at the onset function through windows of 512 hops moved by 128, and
// makes no tempo from fewer than two windows. A shorter loop is followed by quiet, which
// brings no onset of its own.
constexpr size_t kTrackerLeastHops = 512 + 2 * 128 + 1;

constexpr double kSilentDbfs = -60.0;

// TempoTrackV2 never chooses a beat shorter than 20 hops: a loop shorter than two of those
// can't hold two beats.
constexpr double kShortestBeatSeconds = 20 * kStepSeconds;

// The tracker lays a chain of beats over any sound, white noise too, and can keep it steady
// for a few seconds. What noise lacks is onsets: its onset function is flat. Its spread
// (standard deviation over mean) measured 0.02 to 0.08 over 0.8 to 30 s at 22.05 to 96 kHz;
// a drum loop under noise 1 dB louder than the drums 0.11 (3.5 dB louder: 0.07 to 0.10),
// soft pads 0.43, drums, clicks or a piano 0.6 and more.
constexpr double kLeastOnsetSpread = 0.09;

// The grid must hold: at least this share of the tracked beats within a quarter beat of it,
// and those within this root mean square distance, in beats. Measured: steady loops, also
// clicks jittered by 30 ms or drifting 3% over 30 s, keep 89% or more of their beats at 0.07
// or less; onsets at random times longer than 16 s keep few, scattered by 0.10 to 0.15.
constexpr double kLeastOnGrid = 0.75;
constexpr double kMostScatter = 0.10;

// Every other tracked beat with less than this share of the onset strength of the others was
// laid over nothing: the tracker leans towards 120 BPM and fills in a slow beat, such as
// clicks at 60 BPM in a few seconds' loop, with a beat between each two (measured 0.00 there,
// against 0.31 or more where the weaker beats are real, such as a hi-hat between kicks).
constexpr double kMostInventedStrength = 0.15;

QString silentText() {
    return QStringLiteral("The loop is silent: there is no beat to find.");
}
QString shortText() {
    return QStringLiteral("The loop is too short to find its beat. Select at least two beats.");
}
QString unsteadyText() {
    return QStringLiteral("No steady beat was found in the loop.");
}

BeatFinder::Result failure(const QString& why) {
    BeatFinder::Result r;
    r.why = why;
    return r;
}

double median(std::vector<double> v) {
    const auto mid = v.begin() + std::ptrdiff_t(v.size() / 2);
    std::nth_element(v.begin(), mid, v.end());
    return *mid;
}

// The onset strength of every hop: complex spectral difference, which hears both a new note
// of a held sound (its phase) and a hit (its magnitude).
std::vector<double> onsetFunction(const std::vector<float>& mono, int step) {
    // A power of two keeps the transform fast at every rate.
    const int frame = MathUtilities::nextPowerOfTwo(2 * step);
    DFConfig config{};
    config.stepSize = unsigned(step);
    config.frameLength = unsigned(frame);
    config.DFType = DF_COMPLEXSD;
    config.dbRise = 3;
    config.adaptiveWhitening = false;
    config.whiteningRelaxCoeff = -1;
    config.whiteningFloor = -1;
    DetectionFunction detector(config);

    // Half a frame of quiet before the sound centres hop h's frame on sample h * step, so an
    // onset is heard on the hop of its time, not half a frame early.
    const size_t lead = size_t(frame / 2);
    const size_t hops = (mono.size() + size_t(step) - 1) / size_t(step);
    std::vector<double> out;
    out.reserve(std::max(hops, kTrackerLeastHops));
    std::vector<double> buffer(static_cast<size_t>(frame));
    for (size_t h = 0; h < hops; ++h) {
        const size_t start = h * size_t(step);
        for (size_t i = 0; i < buffer.size(); ++i) {
            const size_t at = start + i;
            buffer[i] = at >= lead && at - lead < mono.size() ? double(mono[at - lead]) : 0.0;
        }
        out.push_back(detector.processTimeDomain(buffer.data()));
    }
    return out;
}

struct Grid {
    double period = 0;
    double phase = 0;
    // Beat k's number on the grid.
    std::vector<double> index;
    // Beats within a quarter beat of the grid, and their root mean square distance, in beats.
    size_t onGrid = 0;
    double scatter = 0;
};

// Least squares of time = phase + period * index over the beats that count.
void fitLine(const std::vector<double>& beats, const std::vector<bool>& counts, Grid& g) {
    double n = 0, meanM = 0, meanT = 0;
    for (size_t k = 0; k < beats.size(); ++k)
        if (counts[k]) {
            meanM += g.index[k];
            meanT += beats[k];
            ++n;
        }
    g.period = 0;
    if (n < 2)
        return;
    meanM /= n;
    meanT /= n;
    double sMM = 0, sMT = 0;
    for (size_t k = 0; k < beats.size(); ++k)
        if (counts[k]) {
            sMM += (g.index[k] - meanM) * (g.index[k] - meanM);
            sMT += (g.index[k] - meanM) * (beats[k] - meanT);
        }
    if (sMM > 0) {
        g.period = sMT / sMM;
        g.phase = meanT - g.period * meanM;
    }
}

Grid fitGrid(const std::vector<double>& beats) {
    Grid g;
    if (beats.size() < 2)
        return g;
    std::vector<double> gaps;
    for (size_t k = 1; k < beats.size(); ++k)
        gaps.push_back(beats[k] - beats[k - 1]);
    const double typical = median(gaps);
    if (!(typical > 0))
        return g;
    // Each beat is numbered from the one before it, so that a beat the tracker missed leaves a
    // gap in the numbers, and the typical gap, which is rounded to whole hops, can't pile up
    // an error over a long loop.
    g.index.assign(beats.size(), 0.0);
    for (size_t k = 1; k < beats.size(); ++k)
        g.index[k] = g.index[k - 1] + std::max(1.0, std::round(gaps[k - 1] / typical));
    std::vector<bool> counts(beats.size(), true);
    fitLine(beats, counts, g);
    if (g.period <= 0)
        return g;
    // Once more without the beats far off the line, so that one beat the tracker put on an
    // off-beat, as it may while it settles at the start, does not pull the grid.
    for (size_t k = 0; k < beats.size(); ++k)
        counts[k] = std::abs(beats[k] - (g.phase + g.period * g.index[k])) <= g.period / 4;
    fitLine(beats, counts, g);
    if (g.period <= 0)
        return g;
    double squares = 0;
    g.onGrid = 0;
    for (size_t k = 0; k < beats.size(); ++k) {
        const double off = beats[k] - (g.phase + g.period * g.index[k]);
        if (std::abs(off) <= g.period / 4) {
            squares += off * off;
            ++g.onGrid;
        }
    }
    g.scatter = g.onGrid > 0 ? std::sqrt(squares / double(g.onGrid)) / g.period : 0;
    return g;
}

} // namespace

BeatFinder::Result BeatFinder::find(const std::vector<float>& mono, int rate) {
    if (rate <= 0 || mono.empty())
        return failure(silentText());
    double energy = 0;
    for (float s : mono)
        energy += double(s) * double(s);
    const double rms = std::sqrt(energy / double(mono.size()));
    if (!(rms > 0) || 20 * std::log10(rms) < kSilentDbfs)
        return failure(silentText());
    if (double(mono.size()) / rate < 2 * kShortestBeatSeconds)
        return failure(shortText());

    const int step = std::max(1, int(std::lround(kStepSeconds * rate)));
    std::vector<double> df = onsetFunction(mono, step);
    const size_t hops = df.size();
    double dfMean = 0, dfSquares = 0;
    for (double v : df)
        dfMean += v;
    dfMean /= double(hops);
    for (double v : df)
        dfSquares += (v - dfMean) * (v - dfMean);
    if (!(dfMean > 0) || std::sqrt(dfSquares / double(hops)) / dfMean < kLeastOnsetSpread)
        return failure(unsteadyText());
    if (df.size() < kTrackerLeastHops)
        df.resize(kTrackerLeastHops, 0.0);

    TempoTrackV2 tracker(static_cast<float>(rate), static_cast<size_t>(step));
    // calculateBeatPeriod writes a period for every hop into this vector but never sizes it.
    std::vector<double> periods(df.size(), 0.0);
    std::vector<double> tempi;
    tracker.calculateBeatPeriod(df, periods, tempi);
    std::vector<double> tracked;
    tracker.calculateBeats(df, periods, tracked);

    // The beats in the loop itself, as hops, and the strongest onset within a hop of each.
    std::vector<size_t> beatHops;
    for (double h : tracked)
        if (h >= 0 && h < double(hops))
            beatHops.push_back(size_t(h));
    auto strength = [&](size_t h) {
        return std::max({df[h], h > 0 ? df[h - 1] : 0.0, h + 1 < hops ? df[h + 1] : 0.0});
    };
    auto toSeconds = [&](const std::vector<size_t>& hs) {
        std::vector<double> seconds;
        for (size_t h : hs)
            seconds.push_back(double(h) * step / rate);
        return seconds;
    };
    if (beatHops.size() < 3)
        return failure(shortText());
    const Grid grid = fitGrid(toSeconds(beatHops));

    if (grid.period > 0) {
        double sum[2] = {0, 0};
        size_t count[2] = {0, 0};
        for (size_t k = 0; k < beatHops.size(); ++k) {
            const size_t parity = size_t(grid.index[k]) % 2;
            sum[parity] += strength(beatHops[k]);
            ++count[parity];
        }
        const double mean[2] = {count[0] ? sum[0] / double(count[0]) : 0,
                                count[1] ? sum[1] / double(count[1]) : 0};
        const size_t strong = mean[0] >= mean[1] ? 0 : 1;
        if (mean[1 - strong] < kMostInventedStrength * mean[strong]) {
            std::vector<size_t> kept;
            for (size_t k = 0; k < beatHops.size(); ++k)
                if (size_t(grid.index[k]) % 2 == strong)
                    kept.push_back(beatHops[k]);
            beatHops = kept;
        }
    }

    Result r = fitBeats(toSeconds(beatHops));
    if (r.ok) {
        // The loudness right at each beat: the onset function is evened out across its
        // frames, so an accent hardly shows in it.
        const double end = double(mono.size()) / rate;
        const auto before = size_t(0.01 * rate), after = size_t(0.06 * rate);
        for (double t = r.firstBeat; t < end; t += r.beatPeriod) {
            const auto at = size_t(std::lround(t * rate));
            double energy = 0;
            for (size_t i = at > before ? at - before : 0; i < std::min(mono.size(), at + after);
                 ++i)
                energy += double(mono[i]) * double(mono[i]);
            r.accents.push_back(energy);
        }
    }
    return r;
}

double BeatFinder::Result::firstBarBeat(int beatsPerMeasure) const {
    const auto bar = size_t(std::max(1, beatsPerMeasure));
    size_t best = 0;
    double bestMean = -1;
    for (size_t place = 0; place < bar && place < accents.size(); ++place) {
        double sum = 0;
        size_t count = 0;
        for (size_t k = place; k < accents.size(); k += bar) {
            sum += accents[k];
            ++count;
        }
        // A clearly stronger place only: the first beat stays one where the bar can't tell.
        const double mean = sum / double(count);
        if (mean > bestMean * 1.05) {
            bestMean = mean;
            best = place;
        }
    }
    return firstBeat + double(best) * beatPeriod;
}

BeatFinder::Result BeatFinder::fitBeats(const std::vector<double>& beats) {
    if (beats.size() < 3)
        return failure(shortText());
    const Grid grid = fitGrid(beats);
    Result r;
    r.beats = beats;
    if (grid.period <= 0 || grid.onGrid < 3 ||
        double(grid.onGrid) < kLeastOnGrid * double(beats.size()) || grid.scatter > kMostScatter) {
        r.why = unsteadyText();
        return r;
    }
    r.ok = true;
    r.beatPeriod = grid.period;
    r.firstBeat = grid.phase - std::floor(grid.phase / grid.period) * grid.period;
    return r;
}

BeatFinder::Result BeatFinder::findInFile(const QString& fileName) {
    SF_INFO info{};
    SNDFILE* sf = sf_open(QFile::encodeName(fileName).constData(), SFM_READ, &info);
    if (!sf)
        return failure(QStringLiteral("%1 can't be read: %2")
                           .arg(fileName, QString::fromUtf8(sf_strerror(nullptr))));
    const size_t channels = size_t(std::max(1, info.channels));
    std::vector<float> mono;
    mono.reserve(size_t(std::max<sf_count_t>(0, info.frames)));
    std::vector<float> block(4096 * channels);
    sf_count_t got = 0;
    while ((got = sf_readf_float(sf, block.data(), 4096)) > 0)
        for (size_t i = 0; i < size_t(got); ++i) {
            float sum = 0;
            for (size_t c = 0; c < channels; ++c)
                sum += block[i * channels + c];
            mono.push_back(sum / float(channels));
        }
    const QString error =
        sf_error(sf) != SF_ERR_NO_ERROR ? QString::fromUtf8(sf_strerror(sf)) : QString();
    sf_close(sf);
    if (!error.isEmpty())
        return failure(QStringLiteral("%1 can't be read: %2").arg(fileName, error));
    return find(mono, info.samplerate);
}
