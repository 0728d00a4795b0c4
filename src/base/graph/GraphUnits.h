#pragma once

#include <QString>
#include <QtGlobal>
#include <vector>

// The wave graph counts in four scales, and these are the exact ways between them:
//  - a point: the index (from 1) of a chart point, standing for word index point * quality of
//    the loop's file "temp.wav";
//  - a marker sample: a position in the slowed playback, in units of `quality` samples of one
//    channel (1 is the beginning);
//  - a millisecond of the slowed playback, the player's own scale;
//  - a pixel of the chart.
// expFactor joins the file and the slowed playback: marker samples per point.
namespace graphunits {

// The marker samples per point for a speed and the file's channel count; an unknown count
// (below 1) counts as two.
float expFactorFor(int slowDownPercent, int channels);

qint32 pointOfSample(qint32 sample, float expFactor);
qint32 sampleOfPoint(qint32 point, float expFactor);
double msOfSample(qint32 sample, int quality, float samplesPerMs);
// Loses up to `quality` samples: a millisecond read back may differ from the one written.
qint32 sampleOfMs(double ms, int quality, float samplesPerMs);

// The chart's points read from a file taken whole for signed 16-bit words, with no header
// parsed: point i (from 1) has X = i * quality and Y = the word numbered X + 44 (from 1), for
// i up to count - 44; the last 44 points keep no values. It is a plain pick of every
// quality-th word: with stereo words both channels alternate.
struct ChartPoints {
    int count = 0;  // words / quality
    int filled = 0; // the points with values: count - 44, or none
    int quality = 1;
    std::vector<qint16> words; // the file, read once; the points are worked out from it
    QString error;             // why the file could not be read whole; the points read stand
    // Point i from 1 to filled.
    double x(int i) const { return double(qint64(i) * quality); }
    double y(int i) const { return double(words[size_t(qint64(i) * quality + 43)]); }
};
ChartPoints readChartPoints(const QString& fileName, int quality);

// The quality the user typed (1 worst .. 20 every word) as the decimation step it stands
// for; 0 when the answer is refused (not a number, out of range, empty).
int qualityStepFromAnswer(const QString& answer);

// The tempo a beat of d milliseconds gives, to one decimal, truncated; 0 for d over 600000.
// d of 0 has no tempo: the caller treats it as the division error it is.
double tempoOfBeat(qint32 dMs);
// The original tempo of a slowed one: rounded to one decimal.
double originalTempo(double slowedTempo, int slowDownPercent);

// The grid aligned to a selection of `beats` beats from startPx to endPx: the first line on
// the selection's start, pushed left by whole measures until it lies off the chart.
struct GridPlace {
    qint32 firstLine = 0; // twips
    double beatWidth = 0; // twips
};
GridPlace alignGrid(int startPx, int endPx, double beats, int beatsPerMeasure, int twips);

// A first line moved by whole measures to the last measure line left of the picture's first
// pixel (below 1 twip), so that the ruler's origin is off the chart and its measure lines stay
// where they were. A measure of no width or less leaves it where it is.
double firstLineOffThePicture(double firstLine, double measure);

// The grid line nearest to a pixel: beats, and eighths or triplets where they are shown.
// Returns the pixel itself while the grid has no width.
int nearestGridLine(int px, qint32 firstLine, double beatWidth, int twips, bool halves,
                    bool thirds);

} // namespace graphunits
