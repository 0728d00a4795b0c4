#include "platform/WaveSection.h"

#include <QFile>
#include <algorithm>
#include <cmath>
#include <sndfile.h>
#include <vector>

namespace {
thread_local QString t_error;

qint16 fail(qint16 code, const QString& text) {
    t_error = text;
    return code;
}

struct SoundFile {
    SNDFILE* sf = nullptr;
    ~SoundFile() {
        if (sf)
            sf_close(sf);
    }
};
} // namespace

QString lastWaveSectionError() {
    return t_error;
}

qint16 extractWAVEfileSection(const QString& sourceFile, const QString& destinationFile,
                              qint32 startMs, qint32 endMs) {
    t_error.clear();
    SF_INFO in{};
    SoundFile source;
    source.sf = sf_open(QFile::encodeName(sourceFile).constData(), SFM_READ, &in);
    if (!source.sf)
        return fail(
            -1, QStringLiteral("%1: %2").arg(sourceFile, QString::fromUtf8(sf_strerror(nullptr))));
    const auto frameAt = [&](qint32 ms) {
        const qint64 f = std::llround(double(ms) * in.samplerate / 1000.0);
        return std::clamp<qint64>(f, 0, in.frames);
    };
    const qint64 first = frameAt(startMs);
    const qint64 last = frameAt(endMs);
    if (last <= first)
        return fail(-2, QStringLiteral("The section from %1 ms to %2 ms holds no sound of %3.")
                            .arg(startMs)
                            .arg(endMs)
                            .arg(sourceFile));
    // The source's own format; a major type other than WAV keeps its samples in a WAV.
    SF_INFO out{};
    out.samplerate = in.samplerate;
    out.channels = in.channels;
    out.format = (in.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_WAVEX
                     ? SF_FORMAT_WAVEX | (in.format & SF_FORMAT_SUBMASK)
                     : SF_FORMAT_WAV | (in.format & SF_FORMAT_SUBMASK);
    if (!sf_format_check(&out))
        out.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SoundFile destination;
    destination.sf = sf_open(QFile::encodeName(destinationFile).constData(), SFM_WRITE, &out);
    if (!destination.sf)
        return fail(-3, QStringLiteral("%1: %2").arg(destinationFile,
                                                     QString::fromUtf8(sf_strerror(nullptr))));
    if (sf_seek(source.sf, first, SEEK_SET) < 0)
        return fail(-1, QStringLiteral("%1: %2").arg(sourceFile,
                                                     QString::fromUtf8(sf_strerror(source.sf))));
    // Integer samples pass through as integers, so the cut is bit-exact.
    const bool floating = (in.format & SF_FORMAT_SUBMASK) == SF_FORMAT_FLOAT ||
                          (in.format & SF_FORMAT_SUBMASK) == SF_FORMAT_DOUBLE;
    constexpr sf_count_t kBlock = 8192;
    std::vector<int> ints(floating ? 0 : size_t(kBlock) * in.channels);
    std::vector<double> reals(floating ? size_t(kBlock) * in.channels : 0);
    for (qint64 left = last - first; left > 0;) {
        const sf_count_t want = std::min<qint64>(left, kBlock);
        const sf_count_t got = floating ? sf_readf_double(source.sf, reals.data(), want)
                                        : sf_readf_int(source.sf, ints.data(), want);
        if (got <= 0)
            break; // a file cut short in place: the section ends where its sound does
        const sf_count_t put = floating ? sf_writef_double(destination.sf, reals.data(), got)
                                        : sf_writef_int(destination.sf, ints.data(), got);
        if (put != got) {
            const QString why = QString::fromUtf8(sf_strerror(destination.sf));
            sf_close(destination.sf);
            destination.sf = nullptr;
            QFile::remove(destinationFile);
            return fail(-3, QStringLiteral("%1: %2").arg(destinationFile, why));
        }
        left -= got;
    }
    if (sf_close(destination.sf) != 0) {
        destination.sf = nullptr;
        QFile::remove(destinationFile);
        return fail(-3, QStringLiteral("%1 could not be completed.").arg(destinationFile));
    }
    destination.sf = nullptr;
    return static_cast<qint16>(in.channels);
}
