#include "platform/WaveDevice.h"

#include "platform/BlockRing.h"
#include "platform/SampleRing.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <sndfile.h>

namespace {
// Error numbers of the classic wave device, with texts in our words.
constexpr qint16 kErrNotOpen = 263;
constexpr qint16 kErrCannotOpen = 275;
constexpr qint16 kErrOutOfRange = 282;
constexpr qint16 kErrBadFormat = 304;
constexpr qint16 kErrNoSound = 311;
constexpr qint16 kErrRecording = 318;
constexpr qint16 kErrCannotSave = 319;

constexpr int kBlocks = 16;
constexpr int kPieces = 64;
// How long (in real time) an unanswered repeat may sound before it is cut off.
constexpr double kRepeatGraceSeconds = 0.1;

QHash<qint16, WaveDevice*>& registry() {
    static QHash<qint16, WaveDevice*> devices;
    return devices;
}
qint16 g_nextId = 1;

QString shown(const QString& path) {
    return QFileInfo(path).fileName().isEmpty() ? path : QFileInfo(path).fileName();
}

// The steepest step from one frame to the next in any channel.
float steepestStep(const float* frames, int count, int channels) {
    float steepest = 0;
    for (int i = 0; i + 1 < count; ++i)
        for (int c = 0; c < channels; ++c)
            steepest = std::max(
                steepest, std::abs(frames[(i + 1) * channels + c] - frames[i * channels + c]));
    return steepest;
}

// The `n` frames that end a pass, blended into the `n` frames that lead into its start so that
// the pass flows on into From. tail: the frame before the blend, then the pass's last n frames;
// lead: the n frames before From, then From.
//
// The gains keep the sound's power for how alike the two stretches are: cos/sin for unrelated
// sound, summing to one for the same sound in step, where cos/sin would swell it by 3 dB. A
// held tone cut out of phase with itself still turns its phase over within the blend, which
// steepens the wave; a dip in level in the blend's middle takes that back. The shallowest dip
// whose steps stay within the steepest of the two stretches is used; where none does (a tone
// too low for a few milliseconds), the gentlest.
void blendJoin(const float* tail, const float* lead, int n, int channels, float* out) {
    const float* from = tail + channels; // the pass's last n frames
    double both = 0, tails = 0, leads = 0;
    for (int i = 0; i < n * channels; ++i) {
        both += double(from[i]) * lead[i];
        tails += double(from[i]) * from[i];
        leads += double(lead[i]) * lead[i];
    }
    const double alike =
        tails > 0 && leads > 0 ? std::clamp(both / std::sqrt(tails * leads), 0.0, 1.0) : 0.0;
    const float limit =
        std::max(steepestStep(tail, n + 1, channels), steepestStep(lead, n + 1, channels));

    auto blend = [&](double dip) {
        for (int i = 0; i < n; ++i) {
            // Smooth at both ends: the gains' own slope is no step.
            const double t = double(i + 1) / (n + 1);
            const double angle = M_PI / 4 * (1 - std::cos(M_PI * t));
            const double a = std::cos(angle), b = std::sin(angle);
            const double level = (1 - dip * std::sin(M_PI * t)) / std::sqrt(1 + 2 * alike * a * b);
            for (int c = 0; c < channels; ++c)
                out[i * channels + c] =
                    float(level * (a * from[i * channels + c] + b * lead[i * channels + c]));
        }
        // The steps into the blend, within it and out of it into From.
        float steepest = steepestStep(out, n, channels);
        for (int c = 0; c < channels; ++c)
            steepest = std::max({steepest, std::abs(out[c] - tail[c]),
                                 std::abs(lead[n * channels + c] - out[(n - 1) * channels + c])});
        return steepest;
    };
    constexpr double kDips[] = {0, 0.05, 0.1, 0.2, 0.35, 0.5};
    double gentlest = 0;
    float gentlestStep = std::numeric_limits<float>::max();
    for (double dip : kDips) {
        const float steepest = blend(dip);
        if (steepest <= limit)
            return;
        if (steepest < gentlestStep) {
            gentlestStep = steepest;
            gentlest = dip;
        }
    }
    blend(gentlest);
}
} // namespace

// What the audio thread says it handed to the device: frames of the file, from `frame` on,
// heard from device time `dac`. Written under a sequence count so the UI reads it whole.
struct WaveDevice::Piece {
    std::atomic<std::uint32_t> seq{0};
    std::atomic<double> dac{0};
    std::atomic<qint64> frame{0};
    std::atomic<int> frames{0};
    std::atomic<std::uint64_t> generation{0};
    std::atomic<std::uint32_t> pass{0};
};

WaveDevice::WaveDevice(QObject* parent) : MediaDevice(parent) {
    m_id = g_nextId++;
    registry().insert(m_id, this);
    m_pieces = std::make_unique<Piece[]>(kPieces);
    m_poll.setInterval(10);
    m_poll.setTimerType(Qt::PreciseTimer);
    connect(&m_poll, &QTimer::timeout, this, [this] { poll(); });
    m_recDrain.setInterval(50);
    connect(&m_recDrain, &QTimer::timeout, this, [this] { drainRecording(); });
}

WaveDevice::~WaveDevice() {
    close();
    registry().remove(m_id);
}

WaveDevice* WaveDevice::byId(qint16 id) {
    return registry().value(id, nullptr);
}

MediaDevice::Result WaveDevice::refuse(qint16 code, const QString& text) {
    return {code, text};
}

qint64 WaveDevice::msToFrame(qint32 ms) const {
    return std::clamp<qint64>(qint64(ms) * m_rate / 1000, 0, m_frames);
}

// Rounded up, so that a frame made from a millisecond value reads back as that value.
qint32 WaveDevice::frameToMs(qint64 frame) const {
    return m_rate > 0 ? qint32((frame * 1000 + m_rate - 1) / m_rate) : 0;
}

MediaDevice::Result WaveDevice::open(const QString& fileName) {
    close();
    m_fileName = fileName;
    const QFileInfo info(fileName);
    if (fileName.isEmpty() || !info.exists()) {
        // A name that isn't there yet is a new recording, as the classic device had it.
        m_fromMemory = true;
        m_recorded.clear();
        m_rate = m_recRate;
        m_channels = m_recChannels;
        m_frames = 0;
        m_open = true;
        m_mode = 525;
        m_held = 0;
        return {};
    }
    if (info.isDir())
        return refuse(kErrCannotOpen, QStringLiteral("%1 is a folder, not a sound file.")
                                          .arg(QDir::toNativeSeparators(fileName)));
    SF_INFO sfi{};
    SNDFILE* sf = sf_open(QFile::encodeName(fileName).constData(), SFM_READ, &sfi);
    if (!sf) {
        const QString why = QString::fromUtf8(sf_strerror(nullptr));
        return refuse(kErrBadFormat,
                      QStringLiteral("Cannot play %1: %2").arg(shown(fileName), why));
    }
    // Checked before anything is sized from them: a broken header can claim anything.
    QString problem;
    if (sfi.channels < 1 || sfi.channels > 32)
        problem = QStringLiteral("it claims %1 channels").arg(sfi.channels);
    else if (sfi.samplerate < 1000 || sfi.samplerate > 768000)
        problem = QStringLiteral("it claims a rate of %1 Hz").arg(sfi.samplerate);
    else if (sfi.frames <= 0)
        problem = QStringLiteral("it holds no sound");
    else if (sfi.frames / sfi.samplerate > 2000000)
        problem = QStringLiteral("it is longer than a media position can count");
    if (!problem.isEmpty()) {
        sf_close(sf);
        return refuse(sfi.frames <= 0 ? kErrNoSound : kErrBadFormat,
                      QStringLiteral("Cannot play %1: %2.").arg(shown(fileName), problem));
    }
    m_file = sf;
    m_fromMemory = false;
    m_rate = sfi.samplerate;
    m_channels = sfi.channels;
    m_frames = sfi.frames;
    m_open = true;
    m_mode = 525;
    m_held = 0;
    return {};
}

MediaDevice::Result WaveDevice::openSource(std::unique_ptr<FrameSource> source,
                                           const QString& fileName) {
    // Not the override: a device built on this one keeps what it learnt before calling.
    WaveDevice::close();
    m_fileName = fileName;
    m_source = std::move(source);
    m_fromMemory = false;
    m_rate = m_source->rate();
    m_channels = m_source->channels();
    m_frames = m_source->frames();
    m_open = true;
    m_mode = 525;
    m_held = 0;
    return {};
}

MediaDevice::Result WaveDevice::close() {
    m_poll.stop();
    m_recDrain.stop();
    if (m_audio)
        m_audio->stopInput();
    stopStream();
    if (m_file) {
        sf_close(m_file);
        m_file = nullptr;
    }
    m_source.reset();
    m_recorded.clear();
    m_recorded.shrink_to_fit();
    m_recRing.reset();
    m_open = false;
    m_mode = 524;
    m_frames = 0;
    m_held = 0;
    m_reportedEnds = 0;
    m_awaitingEnd = false;
    return {};
}

MediaDevice::Result WaveDevice::startStream() {
    if (m_audio && m_audio->outputRunning())
        return {};
    if (!m_audio)
        m_audio = AudioDevice::create();
    // The reader and the callback work in the format the stream was started in; the UI thread
    // may meanwhile set up the next recording's.
    m_streamRate = m_rate;
    m_streamChannels = m_channels;
    const int fpb = m_rate > 96000 ? 8192 : 4096;
    m_ring = std::make_unique<BlockRing>(kBlocks, fpb, m_channels);
    m_blockOffset = 0;
    m_seenActive = m_active.load();
    {
        std::lock_guard lock(m_commandLock);
        m_quit = false;
        m_commandPending = false;
    }
    m_graceFrames = qint64(kRepeatGraceSeconds * m_rate * m_audio->speed());
    const int blend = joinBlendFrames(m_rate, std::numeric_limits<qint64>::max());
    m_joinBlend.assign(size_t(blend) * size_t(m_channels), 0.0f);
    m_joinTail.assign(size_t(blend + 1) * size_t(m_channels), 0.0f);
    m_joinLead.assign(size_t(blend + 1) * size_t(m_channels), 0.0f);
    m_reader = std::thread([this] { runReader(); });
    QString error;
    if (!m_audio->startOutput({m_rate, m_channels}, this, error)) {
        stopStream();
        return refuse(kErrCannotOpen, error);
    }
    return {};
}

void WaveDevice::stopStream() {
    if (m_audio)
        m_audio->stopOutput();
    if (m_reader.joinable()) {
        {
            std::lock_guard lock(m_commandLock);
            m_quit = true;
        }
        m_commandReady.notify_one();
        m_reader.join();
    }
    m_ring.reset();
}

std::uint64_t WaveDevice::newGeneration(bool play) {
    ++m_generation;
    m_confirmedPass.store(0);
    m_reportedEnds = 0;
    m_active.store(m_generation << 1 | (play ? 1 : 0));
    return m_generation;
}

void WaveDevice::sendCommand(const Command& c) {
    {
        std::lock_guard lock(m_commandLock);
        m_command = c;
        m_commandPending = true;
    }
    m_commandReady.notify_one();
}

MediaDevice::Result WaveDevice::play(std::optional<qint32> fromMs, std::optional<qint32> toMs) {
    if (!m_open)
        return refuse(kErrNotOpen, QStringLiteral("The wave device is not open."));
    if (m_mode == 527)
        stop();
    const qint32 length = lengthMs();
    if ((fromMs && (*fromMs < 0 || *fromMs > length)) || (toMs && (*toMs < 0 || *toMs > length)))
        return refuse(
            kErrOutOfRange,
            QStringLiteral("The position is outside the sound (%1 ms long).").arg(length));
    const qint64 from = fromMs ? msToFrame(*fromMs) : positionFrames();
    const qint64 to = toMs ? msToFrame(*toMs) : m_frames;
    if (from > to)
        return refuse(kErrOutOfRange,
                      QStringLiteral("The play would start after its own end (%1 ms to %2 ms).")
                          .arg(frameToMs(from))
                          .arg(frameToMs(to)));

    // The answer to a natural end: the same stretch again is already sounding.
    if (m_mode == 525 && m_reportedEnds > 0 && from == m_playFrom && to == m_playTo &&
        m_repeatAhead.load() && m_repeatGeneration.load() == m_generation) {
        m_confirmedPass.store(m_reportedEnds);
        if (m_cutGeneration.load() != m_generation) {
            m_mode = 526;
            m_heldMs.reset();
            m_awaitingEnd = true;
            m_poll.start();
            return {};
        }
    }
    if (Result r = startStream(); !r.ok())
        return r;
    m_playFrom = from;
    m_playTo = to;
    m_playToMs = toMs ? *toMs : lengthMs();
    const std::uint64_t gen = newGeneration(true);
    sendCommand({gen, true, from, to});
    m_mode = 526;
    m_heldMs.reset();
    m_awaitingEnd = true;
    m_poll.start();
    return {};
}

MediaDevice::Result WaveDevice::stop() {
    if (!m_open)
        return refuse(kErrNotOpen, QStringLiteral("The wave device is not open."));
    if (m_mode == 527) {
        m_audio->stopInput();
        m_recDrain.stop();
        drainRecording();
        m_mode = 525;
        m_held = m_frames;
        return {};
    }
    if (m_mode == 526) {
        m_held = positionFrames();
        m_heldMs.reset();
    }
    // Also after a natural end: a repeat that sounds on is cut here.
    const std::uint64_t gen = newGeneration(false);
    sendCommand({gen, false, 0, 0});
    m_poll.stop();
    m_awaitingEnd = false;
    m_mode = 525;
    return {};
}

MediaDevice::Result WaveDevice::pause() {
    if (!m_open)
        return refuse(kErrNotOpen, QStringLiteral("The wave device is not open."));
    if (m_mode != 526 && m_mode != 527)
        return {};
    stop();
    m_mode = 529;
    return {};
}

MediaDevice::Result WaveDevice::seek(qint32 ms) {
    if (!m_open)
        return refuse(kErrNotOpen, QStringLiteral("The wave device is not open."));
    if (ms < 0 || ms > lengthMs())
        return refuse(
            kErrOutOfRange,
            QStringLiteral("The position is outside the sound (%1 ms long).").arg(lengthMs()));
    stop();
    m_held = msToFrame(ms);
    m_heldMs = ms;
    return {};
}

int WaveDevice::mode() const {
    return m_open ? m_mode : 524;
}

qint32 WaveDevice::lengthMs() const {
    return m_open ? frameToMs(m_frames) : 0;
}

qint32 WaveDevice::positionMs() const {
    if (!m_open)
        return 0;
    if (m_mode != 526 && m_mode != 527 && m_heldMs)
        return *m_heldMs;
    return frameToMs(positionFrames());
}

qint64 WaveDevice::positionFrames() const {
    if (m_mode == 527)
        return m_frames;
    if (m_mode != 526 || !m_audio)
        return m_held;
    const double now = m_audio->now();
    const std::uint64_t count = m_pieceCount.load(std::memory_order_acquire);
    const std::uint32_t current = m_reportedEnds;
    for (std::uint64_t k = count; k > 0 && count - k < kPieces - 4; --k) {
        const Piece& p = m_pieces[(k - 1) % kPieces];
        const std::uint32_t s1 = p.seq.load(std::memory_order_acquire);
        const double dac = p.dac.load(std::memory_order_relaxed);
        const qint64 frame = p.frame.load(std::memory_order_relaxed);
        const int frames = p.frames.load(std::memory_order_relaxed);
        const std::uint64_t gen = p.generation.load(std::memory_order_relaxed);
        const std::uint32_t pass = p.pass.load(std::memory_order_relaxed);
        std::atomic_thread_fence(std::memory_order_acquire);
        if ((s1 & 1) || p.seq.load(std::memory_order_relaxed) != s1)
            continue;
        if (gen != m_generation)
            break; // nothing of this play has been heard yet
        if (dac > now)
            continue;
        if (pass > current)
            return m_playTo;
        if (pass < current)
            break;
        const qint64 heard = qint64((now - dac) * m_rate);
        return frame + std::clamp<qint64>(heard, 0, frames);
    }
    return m_playFrom;
}

void WaveDevice::poll() {
    if (m_mode != 526 || !m_awaitingEnd || !m_audio)
        return;
    const std::uint64_t v = m_endedPasses.load(std::memory_order_acquire);
    if ((v >> 32) != (m_generation & 0xFFFFFFFFu))
        return;
    const auto ended = static_cast<std::uint32_t>(v & 0xFFFFFFFFu);
    if (ended <= m_reportedEnds || m_audio->now() < m_lastEndDac.load())
        return;
    // The end is heard now: the play stops on To.
    m_reportedEnds = ended;
    m_held = m_playTo;
    m_heldMs = m_playToMs;
    m_mode = 525;
    m_awaitingEnd = false;
    m_poll.stop();
    emit playEnded();
}

void WaveDevice::setRepeatAhead(bool on) {
    m_repeatAhead.store(on);
}

qint64 WaveDevice::readFrames(qint64 from, int n, float* out) {
    if (m_fromMemory) {
        const qint64 have = qint64(m_recorded.size()) / std::max(1, m_streamChannels);
        const qint64 take = std::clamp<qint64>(have - from, 0, n);
        std::memcpy(out, m_recorded.data() + from * m_streamChannels,
                    size_t(take * m_streamChannels) * sizeof(float));
        return take;
    }
    if (m_source)
        return m_source->read(from, n, out);
    if (sf_seek(m_file, from, SEEK_SET) < 0)
        return 0;
    return sf_readf_float(m_file, out, n);
}

// The blend that ends each pass of c when a repeat follows, into m_joinBlend; false if the
// file no longer holds the frames.
bool WaveDevice::prepareJoinBlend(const Command& c, int frames) {
    const int ch = m_streamChannels;
    if (readFrames(c.to - frames - 1, frames + 1, m_joinTail.data()) != frames + 1)
        return false;
    // Before the file's start there is silence to lead in from.
    const qint64 lead = c.from - frames;
    const int silent = int(std::max<qint64>(0, -lead));
    std::fill_n(m_joinLead.begin(), size_t(silent) * size_t(ch), 0.0f);
    if (readFrames(lead + silent, frames + 1 - silent, m_joinLead.data() + size_t(silent * ch)) !=
        frames + 1 - silent)
        return false;
    blendJoin(m_joinTail.data(), m_joinLead.data(), frames, ch, m_joinBlend.data());
    return true;
}

void WaveDevice::runReader() {
    Command cur;
    bool active = false;
    qint64 pos = 0;
    std::uint32_t pass = 0;
    // The blend at the end of each pass: made once a command, when the first pass reaches it
    // with a repeat to follow, and laid over every pass whose end is read with one to follow.
    int blendFrames = 0;
    int blendMade = 0; // 0 not yet, 1 made, -1 the file didn't hold it
    std::uint32_t blendPass = 0;
    bool blendThisPass = false;
    for (;;) {
        {
            std::unique_lock lock(m_commandLock);
            if (!m_commandPending && !m_quit && (!active || m_ring->full()))
                m_commandReady.wait_for(lock, std::chrono::milliseconds(5));
            if (m_quit)
                return;
            if (m_commandPending) {
                cur = m_command;
                m_commandPending = false;
                active = cur.play;
                pos = cur.from;
                pass = 0;
                blendFrames = cur.play ? joinBlendFrames(m_streamRate, cur.to - cur.from) : 0;
                blendMade = 0;
                blendPass = ~std::uint32_t(0);
            }
        }
        // Up to four blocks, then a look for a newer command.
        for (int i = 0; i < 4 && active && !m_ring->full(); ++i) {
            if ((m_active.load() >> 1) != cur.generation ||
                m_cutGeneration.load() == cur.generation) {
                active = false;
                break;
            }
            AudioBlock& b = m_ring->back();
            const int want = int(std::min<qint64>(m_ring->framesPerBlock(), cur.to - pos));
            // A file cut short under us ends the play where its sound ends.
            const qint64 got = want > 0 ? readFrames(pos, want, b.samples.data()) : 0;
            b.generation = cur.generation;
            b.pass = pass;
            b.startFrame = pos;
            b.frames = int(got);
            b.endsPass = got < want || pos + got >= cur.to;
            const qint64 blendStart = cur.to - blendFrames;
            if (blendFrames > 1 && got > 0 && pos + got > blendStart) {
                // Decided once a pass, so that a blend is never cut off half way.
                if (blendPass != pass) {
                    blendPass = pass;
                    blendThisPass = m_repeatAhead.load();
                    if (blendThisPass && blendMade == 0)
                        blendMade = prepareJoinBlend(cur, blendFrames) ? 1 : -1;
                    blendThisPass = blendThisPass && blendMade > 0;
                }
                if (blendThisPass) {
                    const qint64 first = std::max(pos, blendStart);
                    std::memcpy(
                        b.samples.data() + size_t(first - pos) * size_t(m_streamChannels),
                        m_joinBlend.data() + size_t(first - blendStart) * size_t(m_streamChannels),
                        size_t(pos + got - first) * size_t(m_streamChannels) * sizeof(float));
                }
            }
            m_ring->push();
            pos += got;
            if (b.endsPass) {
                if (m_repeatAhead.load() && cur.to > cur.from && got == want) {
                    m_repeatGeneration.store(cur.generation);
                    pos = cur.from;
                    ++pass;
                } else
                    active = false;
            }
        }
    }
}

AudioDevice::RenderStats WaveDevice::render(float* out, int frames, double dacTime) noexcept {
    AudioDevice::RenderStats stats;
    const std::uint64_t active = m_active.load(std::memory_order_acquire);
    const std::uint64_t gen = active >> 1;
    const bool playingGen = active & 1;
    if (active != m_seenActive) {
        m_seenActive = active;
        m_speculated = 0;
        if (!playingGen) {
            m_pendingSilence = 0;
            m_joinArmed = false;
        }
    }
    int written = 0;
    const qint64 grace = m_graceFrames;
    while (written < frames && playingGen && m_ring && !m_ring->empty()) {
        if (m_cutGeneration.load(std::memory_order_relaxed) == gen)
            break;
        AudioBlock& b = m_ring->front();
        if (b.generation != gen) {
            m_ring->pop();
            m_blockOffset = 0;
            continue;
        }
        if (b.pass > m_confirmedPass.load()) {
            // A repeat nobody has asked for yet: it may sound only briefly.
            if (b.pass > m_confirmedPass.load() + 1 || m_speculated > grace) {
                m_cutGeneration.store(gen);
                if (m_confirmedPass.load() < b.pass) {
                    m_joinArmed = true;
                    break;
                }
                m_cutGeneration.store(0);
            }
        }
        const int n = std::min(frames - written, b.frames - m_blockOffset);
        if (n > 0) {
            std::memcpy(out + size_t(written) * size_t(m_streamChannels),
                        b.samples.data() + size_t(m_blockOffset) * size_t(m_streamChannels),
                        size_t(n) * size_t(m_streamChannels) * sizeof(float));
            Piece& p = m_pieces[m_pieceCount.load(std::memory_order_relaxed) % kPieces];
            const std::uint32_t s = p.seq.load(std::memory_order_relaxed);
            p.seq.store(s + 1, std::memory_order_relaxed);
            std::atomic_thread_fence(std::memory_order_release);
            p.dac.store(dacTime + double(written) / m_streamRate, std::memory_order_relaxed);
            p.frame.store(b.startFrame + m_blockOffset, std::memory_order_relaxed);
            p.frames.store(n, std::memory_order_relaxed);
            p.generation.store(gen, std::memory_order_relaxed);
            p.pass.store(b.pass, std::memory_order_relaxed);
            p.seq.store(s + 2, std::memory_order_release);
            m_pieceCount.fetch_add(1, std::memory_order_release);
            if (m_joinArmed) {
                stats.joinSilence += int(m_pendingSilence);
                m_pendingSilence = 0;
                m_joinArmed = false;
            }
            if (b.pass > m_confirmedPass.load())
                m_speculated += n;
            stats.content += n;
            written += n;
            m_blockOffset += n;
        }
        if (m_blockOffset >= b.frames) {
            if (b.endsPass) {
                m_lastEndDac.store(dacTime + double(written) / m_streamRate);
                m_endedPasses.store((gen & 0xFFFFFFFFu) << 32 | (b.pass + 1u),
                                    std::memory_order_release);
                m_joinArmed = true;
                m_speculated = 0;
            }
            m_ring->pop();
            m_blockOffset = 0;
        }
    }
    if (written < frames) {
        std::memset(out + size_t(written) * size_t(m_streamChannels), 0,
                    size_t(frames - written) * size_t(m_streamChannels) * sizeof(float));
        if (m_joinArmed)
            m_pendingSilence += frames - written;
    }
    return stats;
}

bool WaveDevice::setRecordingFormat(int bitsPerSample, int channels, int rate, QString& why) {
    if (bitsPerSample != 8 && bitsPerSample != 16 && bitsPerSample != 24 && bitsPerSample != 32)
        why = QStringLiteral("%1 bits a sample can't be recorded.").arg(bitsPerSample);
    else if (channels != 1 && channels != 2)
        why = QStringLiteral("%1 channels can't be recorded.").arg(channels);
    else if (rate < 8000 || rate > 192000)
        why = QStringLiteral("A rate of %1 Hz can't be recorded.").arg(rate);
    else {
        m_recBits = bitsPerSample;
        m_recChannels = channels;
        m_recRate = rate;
        // A new recording that hasn't started takes the format at once.
        if (m_open && m_fromMemory && m_recorded.empty()) {
            m_rate = rate;
            m_channels = channels;
        }
        return true;
    }
    return false;
}

MediaDevice::Result WaveDevice::record() {
    if (!m_open)
        return refuse(kErrNotOpen, QStringLiteral("The wave device is not open."));
    if (m_mode == 527)
        return {};
    stop();
    // The play stream runs in the file's format; the recording brings its own.
    stopStream();
    if (m_file) {
        sf_close(m_file);
        m_file = nullptr;
    }
    m_source.reset();
    m_fromMemory = true;
    m_recorded.clear();
    m_rate = m_recRate;
    m_channels = m_recChannels;
    m_frames = 0;
    // Eight seconds of room between the audio thread and the drain timer.
    m_recRing = std::make_unique<SampleRing>(size_t(m_rate) * size_t(m_channels) * 8);
    if (!m_audio)
        m_audio = AudioDevice::create();
    QString error;
    m_inChannels = m_channels;
    if (!m_audio->startInput({m_rate, m_channels}, this, error))
        return refuse(kErrRecording, error);
    m_mode = 527;
    m_recDrain.start();
    return {};
}

void WaveDevice::capture(const float* in, int frames) noexcept {
    if (SampleRing* ring = m_recRing.get())
        ring->write(in, size_t(frames) * size_t(m_inChannels));
}

void WaveDevice::drainRecording() {
    if (!m_recRing)
        return;
    m_recRing->read(m_recorded);
    m_frames = qint64(m_recorded.size()) / std::max(1, m_channels);
}

MediaDevice::Result WaveDevice::save(const QString& fileName) {
    if (!m_open)
        return refuse(kErrNotOpen, QStringLiteral("The wave device is not open."));
    if (m_mode == 527)
        stop();
    if (!m_fromMemory)
        return refuse(kErrCannotSave, QStringLiteral("There is no recording to save."));
    if (fileName.isEmpty())
        return refuse(kErrCannotSave, QStringLiteral("No file name was given for the recording."));
    SF_INFO info{};
    info.samplerate = m_rate;
    info.channels = m_channels;
    const int subtype = m_recBits == 8    ? SF_FORMAT_PCM_U8
                        : m_recBits == 24 ? SF_FORMAT_PCM_24
                        : m_recBits == 32 ? SF_FORMAT_PCM_32
                                          : SF_FORMAT_PCM_16;
    info.format = SF_FORMAT_WAV | subtype;
    // Written beside the target and moved over it, so a failed save leaves the old file.
    const QString temp = fileName + QStringLiteral(".part");
    SNDFILE* sf = sf_open(QFile::encodeName(temp).constData(), SFM_WRITE, &info);
    if (!sf)
        return refuse(kErrCannotSave,
                      QStringLiteral("Cannot save %1: %2")
                          .arg(shown(fileName), QString::fromUtf8(sf_strerror(nullptr))));
    sf_command(sf, SFC_SET_CLIPPING, nullptr, SF_TRUE);
    const sf_count_t frames = sf_count_t(m_recorded.size()) / m_channels;
    const sf_count_t wrote = sf_writef_float(sf, m_recorded.data(), frames);
    const QString why = QString::fromUtf8(sf_strerror(sf));
    const int closed = sf_close(sf);
    if (wrote != frames || closed != 0) {
        QFile::remove(temp);
        return refuse(kErrCannotSave,
                      QStringLiteral("Cannot save %1: %2").arg(shown(fileName), why));
    }
    QFile::remove(fileName);
    if (!QFile::rename(temp, fileName)) {
        QFile::remove(temp);
        return refuse(
            kErrCannotSave,
            QStringLiteral("Cannot save %1: the file can't be replaced.").arg(shown(fileName)));
    }
    m_fileName = fileName;
    return {};
}
