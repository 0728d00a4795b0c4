#include "platform/TimeScaleEngine.h"

#include "platform/SampleRing.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <new>
#include <rubberband/RubberBandStretcher.h>
#include <sndfile.h>
#include <vector>

using RubberBand::RubberBandStretcher;

struct TimeScaleEngine::Job {
    SNDFILE* in = nullptr;
    SNDFILE* out = nullptr;
    QString outputPath;
    SF_INFO inInfo{};
    double pitch = 1.0;
    double speed = 1.0;
    int bands = 2048;
    bool playNow = false;
    int channelChoice = 0;
    int procChannels = 1;
    int outChannels = 1;
    qint64 target = 0; // output frames, exactly

    ~Job() {
        if (in)
            sf_close(in);
        if (out)
            sf_close(out);
    }
};

namespace {
constexpr int kBlock = 1024;

RubberBandStretcher::Options optionsFor(int bands, bool realTime) {
    RubberBandStretcher::Options o = realTime ? RubberBandStretcher::OptionProcessRealTime
                                              : RubberBandStretcher::OptionProcessOffline;
    // Offline, the faster engine may give each channel a thread of its own; in real time one
    // thread keeps the timing even.
    o |= realTime ? RubberBandStretcher::OptionThreadingNever
                  : RubberBandStretcher::OptionThreadingAuto;
    if (bands <= 512)
        o |= RubberBandStretcher::OptionEngineFaster;
    else if (bands <= 1024)
        o |= RubberBandStretcher::OptionEngineFiner | RubberBandStretcher::OptionWindowShort;
    else
        o |= RubberBandStretcher::OptionEngineFiner;
    if (realTime)
        o |= RubberBandStretcher::OptionPitchHighConsistency;
    return o;
}
} // namespace

TimeScaleEngine::TimeScaleEngine() = default;

TimeScaleEngine::~TimeScaleEngine() {
    stop();
}

QString TimeScaleEngine::errorText(int result) {
    switch (result) {
    case InputNotOpened:
        return QStringLiteral("Unable to open input file. Possible disk full problem.");
    case NotASoundFile:
        return QStringLiteral("Unable to read RIFF format info from input file.");
    case OutputNotOpened:
        return QStringLiteral("Unable to open temp output file.");
    case NoSoundData:
        return QStringLiteral("Unable to find input file data chunk.");
    case NoMemory:
        return QStringLiteral("Unable to allocate buffers. Close some windows and try again.");
    default:
        return {};
    }
}

qint32 TimeScaleEngine::start(const QString& inputFile, double pitchFactor, double speedFactor,
                              int bands, const QString& outputFile, bool playNow,
                              int channelChoice) {
    stop();
    // Everything that can refuse the job is checked here, so the caller learns it from the
    // result; what is left for the worker can only be cut short.
    auto job = std::make_unique<Job>();
    {
        QFile probe(inputFile);
        if (!probe.open(QIODevice::ReadOnly))
            return InputNotOpened;
    }
    job->in = sf_open(QFile::encodeName(inputFile).constData(), SFM_READ, &job->inInfo);
    if (!job->in)
        return NotASoundFile;
    const SF_INFO& info = job->inInfo;
    if (info.channels < 1 || info.channels > 32 || info.samplerate < 1000)
        return NotASoundFile;
    if (info.frames <= 0)
        return NoSoundData;
    if (!(speedFactor > 0) || !(pitchFactor > 0) || speedFactor > 100 || pitchFactor > 16)
        return NotASoundFile;
    job->pitch = pitchFactor;
    job->speed = speedFactor;
    job->bands = bands;
    job->playNow = playNow;
    job->channelChoice = info.channels >= 1 ? channelChoice : 0;
    job->procChannels = channelChoice == 0 ? info.channels : 1;
    job->outChannels = channelChoice == 0 ? info.channels : 2;
    job->target = qint64(std::llround(double(info.frames) * speedFactor));
    if (job->target > qint64(1) << 36)
        return NoMemory;

    SF_INFO outInfo{};
    outInfo.samplerate = info.samplerate;
    outInfo.channels = job->outChannels;
    const int subtype = info.format & SF_FORMAT_SUBMASK;
    outInfo.format = SF_FORMAT_WAV | subtype;
    if (!sf_format_check(&outInfo))
        outInfo.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    job->out = sf_open(QFile::encodeName(outputFile).constData(), SFM_WRITE, &outInfo);
    if (!job->out)
        return OutputNotOpened;
    job->outputPath = outputFile;

    if (playNow) {
        if (!m_audio)
            m_audio = AudioDevice::create();
        m_outChannels = job->outChannels;
        m_outRate = info.samplerate;
        try {
            // Two seconds between the worker and the device: enough for any hiccup of the
            // worker, little enough to keep a stop immediate.
            m_ring = std::make_unique<SampleRing>(size_t(info.samplerate) * 2 *
                                                  size_t(job->outChannels));
        } catch (const std::bad_alloc&) {
            return NoMemory;
        }
        m_producerDone = false;
        m_drained = false;
        m_underruns = 0;
        m_firstSoundDac = 0;
        QString error;
        if (!m_audio->startOutput({info.samplerate, job->outChannels}, this, error))
            return OutputNotOpened;
        m_startedAt = m_audio->now();
    }
    m_cancel = false;
    m_finished = false;
    m_progress = 0;
    m_job = std::move(job);
    Job* j = m_job.get();
    m_worker = std::thread([this, j] { run(j); });
    return Running;
}

void TimeScaleEngine::stop() {
    m_cancel = true;
    if (m_worker.joinable())
        m_worker.join();
    if (m_audio)
        m_audio->stopOutput();
    m_ring.reset();
    m_job.reset();
    m_finished = true;
}

AudioDevice::RenderStats TimeScaleEngine::render(float* out, int frames, double dacTime) noexcept {
    AudioDevice::RenderStats stats;
    const size_t want = size_t(frames) * size_t(m_outChannels);
    SampleRing* ring = m_ring.get();
    const size_t got = ring ? ring->readInto(out, want) : 0;
    std::fill(out + got, out + want, 0.0f);
    stats.content = int(got / size_t(m_outChannels));
    if (stats.content > 0 && m_firstSoundDac.load(std::memory_order_relaxed) == 0)
        m_firstSoundDac.store(dacTime, std::memory_order_relaxed);
    // Short of sound while the job still computes: the device ran dry (an underrun).
    if (got < want && m_firstSoundDac.load(std::memory_order_relaxed) != 0 &&
        !m_producerDone.load(std::memory_order_acquire))
        m_underruns.fetch_add(1, std::memory_order_relaxed);
    if (got < want && m_producerDone.load(std::memory_order_acquire) &&
        !m_drained.load(std::memory_order_relaxed)) {
        // The last frame is heard at this time; the job ends when the clock passes it.
        m_lastDac.store(dacTime + double(stats.content) / m_outRate, std::memory_order_relaxed);
        m_drained.store(true, std::memory_order_release);
    }
    return stats;
}

void TimeScaleEngine::run(Job* job) {
    int result = 0;
    try {
        const SF_INFO& info = job->inInfo;
        const bool realTime = job->playNow;
        RubberBandStretcher rb(size_t(info.samplerate), size_t(job->procChannels),
                               optionsFor(job->bands, realTime), job->speed, job->pitch);
        m_engineVersion = rb.getEngineVersion();
        rb.setMaxProcessSize(kBlock);
        if (!realTime)
            rb.setExpectedInputDuration(size_t(info.frames));

        std::vector<float> inter(size_t(kBlock) * size_t(info.channels));
        std::vector<std::vector<float>> planes(size_t(job->procChannels),
                                               std::vector<float>(kBlock));
        std::vector<float*> planePtrs;
        for (auto& p : planes)
            planePtrs.push_back(p.data());
        std::vector<std::vector<float>> outPlanes(size_t(job->procChannels),
                                                  std::vector<float>(kBlock * 4));
        std::vector<float*> outPtrs;
        for (auto& p : outPlanes)
            outPtrs.push_back(p.data());
        std::vector<float> outInter(size_t(kBlock) * 4 * size_t(job->outChannels));

        // Reads the next block of the input into planes, keeping only the chosen channel.
        auto readBlock = [&](int n) {
            const sf_count_t got = sf_readf_float(job->in, inter.data(), n);
            for (sf_count_t f = 0; f < got; ++f) {
                if (job->channelChoice == 0) {
                    for (int c = 0; c < info.channels; ++c)
                        planes[size_t(c)][size_t(f)] = inter[size_t(f * info.channels + c)];
                } else {
                    const int c = info.channels == 1 ? 0 : (job->channelChoice == 1 ? 1 : 0);
                    planes[0][size_t(f)] = inter[size_t(f * info.channels + c)];
                }
            }
            return int(got);
        };

        qint64 written = 0;
        qint64 toDrop = 0;
        bool failed = false;
        // Hands n frames of output on: to the file, and in real time to the device.
        auto emitFrames = [&](int n) {
            const qint64 keep = std::min<qint64>(n, job->target - written);
            for (qint64 f = 0; f < keep; ++f)
                for (int c = 0; c < job->outChannels; ++c)
                    outInter[size_t(f * job->outChannels + c)] =
                        outPlanes[size_t(job->procChannels == 1 ? 0 : c)][size_t(f)];
            if (keep <= 0)
                return;
            if (sf_writef_float(job->out, outInter.data(), keep) != keep)
                failed = true;
            if (realTime) {
                const size_t samples = size_t(keep) * size_t(job->outChannels);
                while (m_ring->room() < samples && !m_cancel.load())
                    std::this_thread::sleep_for(std::chrono::milliseconds(2));
                m_ring->write(outInter.data(), samples);
            }
            written += keep;
        };
        auto retrieve = [&] {
            int avail;
            while ((avail = rb.available()) > 0 && !m_cancel.load()) {
                const int n = int(rb.retrieve(outPtrs.data(), size_t(std::min(avail, kBlock * 4))));
                int from = 0;
                if (toDrop > 0) {
                    from = int(std::min<qint64>(toDrop, n));
                    toDrop -= from;
                    if (from > 0)
                        for (auto& p : outPlanes)
                            std::copy(p.begin() + from, p.begin() + n, p.begin());
                }
                emitFrames(n - from);
            }
        };

        if (!realTime) {
            for (qint64 done = 0; done < info.frames && !m_cancel.load();) {
                const int n = readBlock(int(std::min<qint64>(kBlock, info.frames - done)));
                if (n <= 0)
                    break;
                done += n;
                rb.study(planePtrs.data(), size_t(n), done >= info.frames);
                // Studying is the first half of an offline job's work.
                m_progress.store(0.5 * double(done) / double(info.frames));
            }
            sf_seek(job->in, 0, SEEK_SET);
        } else {
            // The start pad primes the engine; the delay it then reports is cut from the
            // output, so the first frame heard is the first frame of the loop.
            const int pad = int(rb.getPreferredStartPad());
            for (auto& p : planes)
                std::fill(p.begin(), p.end(), 0.0f);
            for (int left = pad; left > 0;) {
                const int n = std::min(left, kBlock);
                rb.process(planePtrs.data(), size_t(n), false);
                left -= n;
            }
            toDrop = qint64(rb.getStartDelay());
        }
        for (qint64 done = 0; done < info.frames && !m_cancel.load() && !failed;) {
            const int want = realTime ? std::clamp(int(rb.getSamplesRequired()), 1, kBlock)
                                      : int(std::min<qint64>(kBlock, info.frames - done));
            const int n = readBlock(int(std::min<qint64>(want, info.frames - done)));
            if (n <= 0)
                break;
            done += n;
            rb.process(planePtrs.data(), size_t(n), done >= info.frames);
            retrieve();
            const double part = double(done) / double(info.frames);
            m_progress.store(realTime ? part : 0.5 + 0.5 * part);
        }
        if (!m_cancel.load()) {
            // What the engine still holds, then silence up to the exact length.
            for (int guard = 0;
                 guard < 10000 && !m_cancel.load() && written < job->target && !failed; ++guard) {
                const int a = rb.available();
                if (a < 0)
                    break;
                if (a == 0) {
                    if (!realTime)
                        break;
                    rb.process(planePtrs.data(), 0, true);
                    if (rb.available() <= 0)
                        break;
                    continue;
                }
                retrieve();
            }
            while (written < job->target && !m_cancel.load() && !failed) {
                for (auto& p : outPlanes)
                    std::fill(p.begin(), p.end(), 0.0f);
                emitFrames(int(std::min<qint64>(kBlock * 4, job->target - written)));
            }
        }
        if (sf_close(job->out) != 0)
            failed = true;
        job->out = nullptr;
        if (failed) {
            // A part of a file would play as if it were the whole loop: better none.
            QFile::remove(job->outputPath);
            result = OutputNotOpened;
        } else if (m_cancel.load())
            result = 1;
        if (realTime) {
            m_producerDone.store(true, std::memory_order_release);
            // The job ends when its sound has ended, not when its computing has.
            while (!m_cancel.load() && !m_drained.load(std::memory_order_acquire))
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
            while (!m_cancel.load() && m_audio->now() < m_lastDac.load())
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    } catch (const std::bad_alloc&) {
        result = NoMemory;
    }
    m_finished = true;
    if (m_callback)
        m_callback(result);
}
