#include "Rhythms.h"

#include <cmath>
#include <random>

namespace rhythms {

std::vector<float> clicks(double bpm, double seconds, double offset, int rate) {
    std::mt19937 rng(1);
    std::uniform_real_distribution<float> u(-1, 1);
    std::vector<float> out(size_t(seconds * rate));
    for (double t = offset; t < seconds; t += 60.0 / bpm)
        for (size_t i = 0, at = size_t(t * rate); i < size_t(0.03 * rate) && at + i < out.size();
             ++i)
            out[at + i] += 0.6f * u(rng) * float(std::exp(-double(i) / rate / 0.005));
    return out;
}

std::vector<float> drums(double bpm, double seconds, double offset, int rate) {
    const double stretch = 120.0 / bpm, eighth = 30.0 / bpm;
    std::mt19937 rng(2);
    std::uniform_real_distribution<double> u(-1, 1);
    std::vector<float> out(size_t(seconds * rate));
    auto add = [&](double t, double length, auto sound) {
        for (size_t i = 0, at = size_t(t * rate);
             i < size_t(length * stretch * rate) && at + i < out.size(); ++i)
            out[at + i] += float(sound(double(i) / rate / stretch));
    };
    for (int k = 0; offset + k * eighth < seconds; ++k) {
        const double t = offset + k * eighth;
        double phase = 0, last = 0;
        if (k % 4 == 0)
            add(t, 0.3, [&](double s) {
                phase += 2 * M_PI * (50 + 100 * std::exp(-s / 0.03)) / rate / stretch;
                return 0.7 * std::sin(phase) * std::exp(-s / 0.08);
            });
        if (k % 4 == 2)
            add(t, 0.2, [&](double s) {
                return (0.35 * u(rng) + 0.25 * std::sin(2 * M_PI * 190 * s)) * std::exp(-s / 0.04);
            });
        add(t, 0.05, [&](double s) {
            const double n = u(rng), high = 0.5 * (n - last);
            last = n;
            return 0.25 * high * std::exp(-s / 0.012);
        });
    }
    return out;
}

} // namespace rhythms
