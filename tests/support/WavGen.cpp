#include "WavGen.h"

#include <QFile>
#include <QtEndian>
#include <algorithm>
#include <cmath>
#include <functional>
#include <sndfile.h>

namespace wavgen {

namespace {
// Frame by frame and channel by channel from `sample`.
bool writeSignal(const QString& path, double seconds, const Format& f,
                 const std::function<double(qint64, int)>& sample) {
    SF_INFO info{};
    info.samplerate = f.rate;
    info.channels = f.channels;
    info.format = (f.extensible ? SF_FORMAT_WAVEX : SF_FORMAT_WAV) | f.subtype;
    SNDFILE* sf = sf_open(QFile::encodeName(path).constData(), SFM_WRITE, &info);
    if (!sf)
        return false;
    const qint64 frames = qint64(std::llround(seconds * f.rate));
    std::vector<float> block(4096 * size_t(f.channels));
    for (qint64 done = 0; done < frames;) {
        const qint64 n = std::min<qint64>(4096, frames - done);
        for (qint64 i = 0; i < n; ++i)
            for (int c = 0; c < f.channels; ++c)
                block[size_t(i * f.channels + c)] = float(sample(done + i, c));
        if (sf_writef_float(sf, block.data(), n) != n) {
            sf_close(sf);
            return false;
        }
        done += n;
    }
    return sf_close(sf) == 0;
}
} // namespace

bool writeSine(const QString& path, double seconds, double hz, const Format& f) {
    const double rate = f.rate;
    // Each further channel quieter, so a test can tell the channels apart.
    return writeSignal(path, seconds, f, [&](qint64 n, int c) {
        return 0.5 * std::sin(2.0 * M_PI * hz * double(n) / rate) / (1 + c);
    });
}

bool writeChord(const QString& path, double seconds, double hz1, double hz2, double hz3,
                const Format& f) {
    const double rate = f.rate;
    return writeSignal(path, seconds, f, [&](qint64 n, int) {
        double v = 0;
        for (double hz : {hz1, hz2, hz3})
            v += 0.2 * std::sin(2.0 * M_PI * hz * double(n) / rate);
        return v;
    });
}

bool writeClickTrack(const QString& path, double seconds, double interval, const Format& f) {
    const double rate = f.rate;
    const qint64 every = std::max<qint64>(1, qint64(std::llround(interval * rate)));
    const qint64 click = qint64(std::llround(0.004 * rate));
    return writeSignal(path, seconds, f, [&](qint64 n, int) {
        double v = 0.02 * std::sin(2.0 * M_PI * 110.0 * double(n) / rate);
        const qint64 k = n % every;
        if (k < click)
            v += 0.8 * 0.5 * (1.0 - std::cos(2.0 * M_PI * double(k) / double(click))) *
                 std::sin(2.0 * M_PI * 1700.0 * double(k) / rate);
        return v;
    });
}

bool writeDrumLoop(const QString& path, double seconds, double bpm, const Format& f) {
    const double rate = f.rate, eighth = 30.0 / bpm;
    return writeSignal(path, seconds, f, [&](qint64 n, int) {
        const double t = double(n) / rate;
        const auto k = qint64(t / eighth);
        const double s = t - double(k) * eighth;
        // Noise from the sample's number, so that every channel and every run hears the same.
        auto h = quint32(n) * 2654435761u;
        h ^= h >> 13;
        h *= 0x5bd1e995u;
        h ^= h >> 15;
        const double noise = double(h & 0xFFFFu) / 32768.0 - 1.0;
        double v = 0.25 * noise * std::exp(-s / 0.012);
        if (k % 4 == 0) // a kick falling from 150 to 50 Hz
            v += 0.7 * std::sin(2.0 * M_PI * (50.0 * s + 3.0 * (1.0 - std::exp(-s / 0.03)))) *
                 std::exp(-s / 0.08);
        if (k % 4 == 2)
            v += (0.35 * noise + 0.25 * std::sin(2.0 * M_PI * 190.0 * s)) * std::exp(-s / 0.04);
        return std::clamp(v, -1.0, 1.0);
    });
}

bool writeRamp(const QString& path, qint64 frames, int rate, int channels) {
    SF_INFO info{};
    info.samplerate = rate;
    info.channels = channels;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* sf = sf_open(QFile::encodeName(path).constData(), SFM_WRITE, &info);
    if (!sf)
        return false;
    std::vector<short> block(4096 * size_t(channels));
    qint64 done = 0;
    while (done < frames) {
        const qint64 n = std::min<qint64>(4096, frames - done);
        for (qint64 i = 0; i < n; ++i)
            for (int c = 0; c < channels; ++c)
                block[size_t(i * channels + c)] = short((done + i) % 30000);
        if (sf_writef_short(sf, block.data(), n) != n) {
            sf_close(sf);
            return false;
        }
        done += n;
    }
    return sf_close(sf) == 0;
}

QByteArray pcm16Bytes(qint64 frames, int channels, int rate, qint64 riffSize, qint64 dataSize) {
    const qint64 bytes = frames * channels * 2;
    QByteArray out;
    auto u32 = [&](quint32 v) {
        char b[4];
        qToLittleEndian(v, b);
        out.append(b, 4);
    };
    auto u16 = [&](quint16 v) {
        char b[2];
        qToLittleEndian(v, b);
        out.append(b, 2);
    };
    out.append("RIFF");
    u32(quint32(riffSize >= 0 ? riffSize : 36 + bytes));
    out.append("WAVEfmt ");
    u32(16);
    u16(1);
    u16(quint16(channels));
    u32(quint32(rate));
    u32(quint32(rate * channels * 2));
    u16(quint16(channels * 2));
    u16(16);
    out.append("data");
    u32(quint32(dataSize >= 0 ? dataSize : bytes));
    out.append(QByteArray(bytes, '\0'));
    return out;
}

bool writeBytes(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(bytes) == bytes.size();
}

} // namespace wavgen
