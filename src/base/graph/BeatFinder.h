#pragma once

#include <QString>
#include <vector>

// Finds the beat of a loop by itself: a beat tracker follows the onsets of the sound, and one
// constant tempo and phase are fitted to the beats it found by least squares, since a loop
// being learnt is played in one tempo.
//
// Thread: any; a call holds no state between calls.
class BeatFinder {
public:
    struct Result {
        bool ok = false;
        // Seconds of the file: the first fitted beat at or after its start, and the distance
        // of two beats.
        double firstBeat = 0;
        double beatPeriod = 0;
        double bpm() const { return beatPeriod > 0 ? 60.0 / beatPeriod : 0; }
        // The tracked beats themselves, in seconds, for a look at how well the fit holds.
        std::vector<double> beats;
        // How loud the sound is at each fitted beat from firstBeat on.
        std::vector<double> accents;
        // The first beat that begins a bar of so many beats: of the places in the bar, the
        // one whose beats start strongest on average (the accent, the kick) is taken for one.
        double firstBarBeat(int beatsPerMeasure) const;
        // Why no beat was found, in words for the musician ("The loop is silent...").
        QString why;
    };

    // Mono samples (channels mixed) at that rate. The tracker leans towards 120 BPM: a beat
    // far from it, or a loop of a few seconds, may come out at double or half its tempo,
    // which the musician mends with Double Tempo or Half Tempo.
    static Result find(const std::vector<float>& mono, int rate);
    // A file libsndfile reads, read whole; its channels are mixed.
    static Result findInFile(const QString& fileName);
    // The fit alone, on beat times in seconds in ascending order: each beat is numbered by the
    // typical gap from the one before it, so a missed beat skips a number, and a beat more
    // than a quarter beat off the first fit does not count in the second. Refused when the
    // beats don't keep to one grid.
    static Result fitBeats(const std::vector<double>& beats);
};
