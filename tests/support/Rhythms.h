#pragma once

// Generated rhythms for finding beats: mono samples in [-1, 1], the same every run.
#include <vector>

namespace rhythms {

// A burst of noise decaying in 5 ms on every beat, from `offset` seconds on.
std::vector<float> clicks(double bpm, double seconds, double offset, int rate = 44100);

// Kick on 1 and 3, snare on 2 and 4, hi-hat on every eighth, from `offset` seconds on; every
// sound lasts 120 / bpm times as long, as a loop slowed down keeping its pitch does.
std::vector<float> drums(double bpm, double seconds, double offset, int rate = 44100);

} // namespace rhythms
