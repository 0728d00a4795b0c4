#pragma once

// Reading a sound file back and measuring the tone in it, for tests of the engine.
#include <QFile>
#include <QString>
#include <cmath>
#include <sndfile.h>
#include <vector>

struct Sound {
    SF_INFO info{};
    std::vector<float> samples;
    float at(qint64 frame, int channel) const {
        return samples[size_t(frame * info.channels + channel)];
    }
};

inline Sound load(const QString& path) {
    Sound s;
    SNDFILE* sf = sf_open(QFile::encodeName(path).constData(), SFM_READ, &s.info);
    if (!sf)
        return s;
    s.samples.resize(size_t(s.info.frames) * size_t(s.info.channels));
    sf_readf_float(sf, s.samples.data(), s.info.frames);
    sf_close(sf);
    return s;
}

// The frequency of a steady tone in the middle of the sound, from its upward zero
// crossings placed between samples.
inline double frequencyOf(const Sound& s, int channel = 0) {
    const qint64 from = s.info.frames / 5, to = s.info.frames * 4 / 5;
    double first = -1, last = -1;
    int crossings = 0;
    for (qint64 f = from; f < to; ++f) {
        const float a = s.at(f, channel), b = s.at(f + 1, channel);
        if (a < 0 && b >= 0) {
            const double t = double(f) + double(-a) / double(b - a);
            if (first < 0)
                first = t;
            else
                ++crossings;
            last = t;
        }
    }
    return crossings > 0 ? crossings * double(s.info.samplerate) / (last - first) : 0;
}

inline double cents(double f, double reference) {
    return 1200.0 * std::log2(f / reference);
}
