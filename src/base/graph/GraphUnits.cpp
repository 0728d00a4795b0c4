#include "graph/GraphUnits.h"

#include "prefs/prefs.h"

#include <QFile>
#include <cmath>
#include <cstring>
#include <limits>

namespace graphunits {

float expFactorFor(int slowDownPercent, int channels) {
    if (channels < 1)
        return 50.0f / float(slowDownPercent);
    return (100.0f / float(slowDownPercent)) / float(channels);
}

qint32 pointOfSample(qint32 sample, float expFactor) {
    return qint32(std::lround(double(sample) / double(expFactor)));
}

qint32 sampleOfPoint(qint32 point, float expFactor) {
    return qint32(std::lround(double(point) * double(expFactor)));
}

double msOfSample(qint32 sample, int quality, float samplesPerMs) {
    return double(quality) * double(sample) / double(samplesPerMs);
}

qint32 sampleOfMs(double ms, int quality, float samplesPerMs) {
    return qint32(std::llround(double(samplesPerMs) * ms) / quality);
}

ChartPoints readChartPoints(const QString& fileName, int quality) {
    ChartPoints out;
    out.quality = std::max(1, quality);
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        out.error = QStringLiteral("%1 can't be read: %2").arg(fileName, file.errorString());
        return out;
    }
    // A file of odd length loses its last byte.
    const qint64 words = file.size() / 2;
    out.words.resize(static_cast<size_t>(words));
    const qint64 bytes = file.read(reinterpret_cast<char*>(out.words.data()), words * 2);
    if (bytes != words * 2)
        out.error = QStringLiteral("%1 could not be read whole.").arg(fileName);
    if (quality < 1)
        return out;
    out.count = int(std::min<qint64>(words / quality, std::numeric_limits<int>::max()));
    // Word number x + 44 counted from 1 is at index x + 43: the last point reaches the last
    // word at quality 1.
    out.filled = std::max(0, out.count - 44);
    return out;
}

int qualityStepFromAnswer(const QString& answer) {
    const double value = std::round(vbVal(answer));
    if (value < 1 || value > 20)
        return 0;
    return 21 - int(value);
}

double tempoOfBeat(qint32 dMs) {
    return double(600000 / dMs) / 10.0;
}

double originalTempo(double slowedTempo, int slowDownPercent) {
    return double(std::lround(slowedTempo * 1000.0 / slowDownPercent)) / 10.0;
}

GridPlace alignGrid(int startPx, int endPx, double beats, int beatsPerMeasure, int twips) {
    GridPlace g;
    g.firstLine = qint32(std::lround(double(twips) * startPx));
    g.beatWidth = double(twips) * double(endPx - startPx) / beats;
    // A measure of no width or a negative one (a negative count of beats) would never push
    // the line off the chart: it stays where the selection starts.
    const auto measureWidth = qint32(std::lround(beatsPerMeasure * g.beatWidth));
    g.firstLine = qint32(std::lround(firstLineOffThePicture(g.firstLine, measureWidth)));
    return g;
}

double firstLineOffThePicture(double firstLine, double measure) {
    if (!(measure > 0))
        return firstLine;
    return firstLine - (std::floor((firstLine - 1) / measure) + 1) * measure;
}

int nearestGridLine(int px, qint32 firstLine, double beatWidth, int twips, bool halves,
                    bool thirds) {
    if (beatWidth <= 0 || twips <= 0)
        return px;
    const double at = double(px) * twips;
    const double beats = (at - firstLine) / beatWidth;
    double best = std::round(beats);
    auto consider = [&](double step) {
        const double candidate = std::round(beats / step) * step;
        if (std::abs(candidate - beats) < std::abs(best - beats))
            best = candidate;
    };
    if (halves)
        consider(0.5);
    if (thirds)
        consider(1.0 / 3.0);
    return int(std::lround((firstLine + best * beatWidth) / twips));
}

} // namespace graphunits
