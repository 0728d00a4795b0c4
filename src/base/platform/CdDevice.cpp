#include "platform/CdDevice.h"

#include <QHash>
#include <QMetaObject>
#include <algorithm>
#include <list>
#include <vector>

namespace {

constexpr qint16 kErrNotReady = 275;
// Sectors read from the drive at a time, and how many such pieces stay in memory: a second
// each, a little over four minutes in all.
constexpr int kChunkSectors = CdDisc::kSectorsPerSecond;
constexpr int kCachedChunks = 256;
// Chunks read beyond the one being played, one per call of the reader: a drive that stops to
// seek or spin up again has that long before the ring runs dry.
constexpr int kChunksAhead = 4;
// Fast enough to stay ahead of the music with room to spare, slow enough to be quiet.
constexpr int kPlaySpeed = 4;

// The disc as frames, read on the player's reader thread through a handle of its own.
class DiscSource : public FrameSource {
public:
    DiscSource(const CdDrive& drive, const CdDisc::Contents& contents) : m_contents(contents) {
        QString why;
        if (m_disc.open(drive, why))
            m_disc.setSpeed(kPlaySpeed);
    }
    int rate() const override { return CdDisc::kRate; }
    int channels() const override { return 2; }
    qint64 frames() const override { return qint64(m_contents.leadout) * CdDisc::kFramesPerSector; }
    qint64 read(qint64 from, int n, float* out) override {
        qint64 done = 0;
        const qint64 end = std::min(frames(), from + n);
        while (from + done < end) {
            const qint64 frame = from + done;
            const qint64 chunk = frame / (qint64(kChunkSectors) * CdDisc::kFramesPerSector);
            const std::vector<qint16>& samples = chunkAt(chunk);
            const qint64 inChunk = frame - chunk * kChunkSectors * CdDisc::kFramesPerSector;
            const qint64 take = std::min<qint64>(end - frame, qint64(samples.size() / 2) - inChunk);
            if (take <= 0)
                break;
            for (qint64 i = 0; i < take * 2; ++i)
                out[done * 2 + i] = float(samples[size_t(inChunk * 2 + i)]) / 32768.0f;
            done += take;
        }
        if (done > 0)
            readAhead((from + done - 1) / (qint64(kChunkSectors) * CdDisc::kFramesPerSector));
        return done;
    }

private:
    bool audioSector(qint32 sector) const {
        for (const CdDisc::Track& t : m_contents.tracks)
            if (sector >= t.start && sector < t.start + t.sectors)
                return t.audio;
        return false;
    }

    // Reads the first chunk after `chunk` not yet in memory, if one of the next few is missing.
    void readAhead(qint64 chunk) {
        const qint64 last = (m_contents.leadout - 1) / kChunkSectors;
        for (qint64 next = chunk + 1; next <= std::min(last, chunk + kChunksAhead); ++next) {
            if (!m_index.contains(next)) {
                chunkAt(next);
                return;
            }
        }
    }

    // The samples of one chunk, from memory or read now; the least recently used goes.
    const std::vector<qint16>& chunkAt(qint64 chunk) {
        if (auto it = m_index.find(chunk); it != m_index.end()) {
            m_order.splice(m_order.begin(), m_order, it.value());
            return m_order.front().second;
        }
        if (int(m_order.size()) >= kCachedChunks) {
            m_index.remove(m_order.back().first);
            m_order.pop_back();
        }
        const qint32 first = qint32(chunk * kChunkSectors);
        const int count = std::min(kChunkSectors, m_contents.leadout - first);
        std::vector<qint16> samples(size_t(std::max(count, 0)) * CdDisc::kFramesPerSector * 2, 0);
        auto* bytes = reinterpret_cast<char*>(samples.data());
        QString why;
        if (count > 0 && !m_disc.readAudio(first, count, bytes, why)) {
            // One at a time, so that only what can't be read is silent.
            for (int s = 0; s < count; ++s)
                if (!m_disc.readAudio(first + s, 1, bytes + s * CdDisc::kSectorBytes, why))
                    std::fill_n(bytes + s * CdDisc::kSectorBytes, CdDisc::kSectorBytes, '\0');
        }
        for (int s = 0; s < count; ++s)
            if (!audioSector(first + s))
                std::fill_n(bytes + s * CdDisc::kSectorBytes, CdDisc::kSectorBytes, '\0');
        // The disc's samples are little-endian, as this machine's.
        m_order.emplace_front(chunk, std::move(samples));
        m_index.insert(chunk, m_order.begin());
        return m_order.front().second;
    }

    CdDisc m_disc;
    CdDisc::Contents m_contents;
    std::list<std::pair<qint64, std::vector<qint16>>> m_order;
    QHash<qint64, std::list<std::pair<qint64, std::vector<qint16>>>::iterator> m_index;
};

} // namespace

CdDevice::CdDevice(QObject* parent) : WaveDevice(parent) {}

CdDevice::~CdDevice() = default;

MediaDevice::Result CdDevice::open(const QString& fileName) {
    close();
    const QString letter = fileName.trimmed().left(1);
    const std::optional<CdDrive> found = letter.isEmpty()
                                             ? std::optional<CdDrive>(CdDrives::list().value(0))
                                             : CdDrives::byLetter(letter);
    if (!found || found->device.isEmpty())
        return {kErrNotReady, letter.isEmpty()
                                  ? QStringLiteral("There is no CD drive.")
                                  : QStringLiteral("There is no CD drive %1:.").arg(letter)};
    if (CdDisc::status(*found) == CdDisc::Status::Denied)
        return {kErrNotReady,
                QStringLiteral("You may not read the CD drive %1. Ask for membership of its "
                               "group (usually \"cdrom\") and log in again.")
                    .arg(found->device)};
    m_drive = *found;
    m_driveOpen = true;
    QString why;
    loadDisc(why);
    return {};
}

bool CdDevice::loadDisc(QString& why) {
    CdDisc disc;
    if (!disc.open(m_drive, why))
        return false;
    m_contents = disc.contents();
    m_discStamp = CdDisc::stamp(m_drive);
    const Result r = openSource(std::make_unique<DiscSource>(m_drive, m_contents),
                                m_drive.letter + QStringLiteral(":"));
    return r.ok();
}

void CdDevice::followDrive() const {
    if (!m_driveOpen)
        return;
    // The answers of a drive change under the asker; so do this device's.
    auto* self = const_cast<CdDevice*>(this);
    const bool present = CdDisc::status(m_drive) == CdDisc::Status::Present;
    const bool loaded = WaveDevice::isOpen();
    if (loaded && (!present || CdDisc::stamp(m_drive) != m_discStamp)) {
        const bool wasPlaying = WaveDevice::mode() == 526;
        self->WaveDevice::close();
        self->m_contents = {};
        // A play the disc took with it has ended unfinished: whoever waits for its end hears
        // of it, and that it didn't reach it.
        if (wasPlaying)
            QMetaObject::invokeMethod(
                self, [self] { emit self->playLost(); }, Qt::QueuedConnection);
    }
    if (present && !WaveDevice::isOpen()) {
        QString why;
        self->loadDisc(why);
    }
}

MediaDevice::Result CdDevice::noDisc() const {
    return {kErrNotReady,
            QStringLiteral("There is no disc in the CD drive %1.").arg(m_drive.shownName())};
}

MediaDevice::Result CdDevice::close() {
    m_driveOpen = false;
    m_contents = {};
    return WaveDevice::close();
}

MediaDevice::Result CdDevice::eject() {
    const CdDrive drive = m_drive.device.isEmpty() ? CdDrives::list().value(0) : m_drive;
    if (WaveDevice::isOpen()) {
        WaveDevice::close();
        m_contents = {};
    }
    QString why;
    if (drive.device.isEmpty())
        return {kErrNotReady, QStringLiteral("There is no CD drive.")};
    if (!CdDisc::eject(drive, why))
        return {kErrNotReady, why};
    return {};
}

MediaDevice::Result CdDevice::play(std::optional<qint32> fromMs, std::optional<qint32> toMs) {
    followDrive();
    if (!WaveDevice::isOpen())
        return noDisc();
    return WaveDevice::play(fromMs, toMs);
}

MediaDevice::Result CdDevice::seek(qint32 ms) {
    followDrive();
    if (!WaveDevice::isOpen())
        return noDisc();
    return WaveDevice::seek(ms);
}

int CdDevice::mode() const {
    followDrive();
    return WaveDevice::mode();
}

qint32 CdDevice::positionMs() const {
    followDrive();
    return WaveDevice::positionMs();
}

qint32 CdDevice::lengthMs() const {
    followDrive();
    return WaveDevice::lengthMs();
}

const CdDisc::Track* CdDevice::track(int number) const {
    for (const CdDisc::Track& t : m_contents.tracks)
        if (t.number == number)
            return &t;
    return nullptr;
}

int CdDevice::tracks() const {
    followDrive();
    return WaveDevice::isOpen() ? int(m_contents.tracks.size()) : 0;
}

qint32 CdDevice::trackPositionMs(int number) const {
    const CdDisc::Track* t = track(number);
    return t ? CdDisc::sectorsToMs(t->start) : 0;
}

qint32 CdDevice::trackLengthMs(int number) const {
    const CdDisc::Track* t = track(number);
    return t ? CdDisc::sectorsToMs(t->sectors) : 0;
}
