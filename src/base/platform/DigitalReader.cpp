#include "platform/DigitalReader.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMetaObject>
#include <QPointer>
#include <sndfile.h>
#include <vector>

DigitalReader::DigitalReader(QObject* parent) : QObject(parent) {}

DigitalReader::~DigitalReader() {
    cancel();
}

int DigitalReader::initialise() {
    CdDisc::prepareLibrary();
    return 0;
}

int DigitalReader::deviceCount() const {
    return int(CdDrives::list().size());
}

int DigitalReader::openDrive(int deviceNumber) {
    m_open = false;
    m_contents = {};
    const QList<CdDrive> drives = CdDrives::list();
    if (deviceNumber < 1 || deviceNumber > drives.size()) {
        m_lastError = QStringLiteral("There is no CD drive number %1.").arg(deviceNumber);
        return 1;
    }
    m_drive = drives[deviceNumber - 1];
    if (CdDisc::status(m_drive) == CdDisc::Status::Denied) {
        m_lastError = QStringLiteral("You may not read the CD drive %1. Ask for membership of its "
                                     "group (usually \"cdrom\") and log in again.")
                          .arg(m_drive.device);
        return 2;
    }
    // The drive opens empty too: its disc, if any, is read now and its tracks counted.
    m_open = true;
    CdDisc disc;
    if (disc.open(m_drive, m_lastError))
        m_contents = disc.contents();
    return 0;
}

int DigitalReader::trackCount() const {
    return m_open ? int(m_contents.tracks.size()) : 0;
}

const CdDisc::Track* DigitalReader::track(int number) const {
    for (const CdDisc::Track& t : m_contents.tracks)
        if (t.number == number)
            return &t;
    return nullptr;
}

bool DigitalReader::isAudioTrack(int number) const {
    const CdDisc::Track* t = track(number);
    return t && t->audio;
}

qint32 DigitalReader::trackLength(int number) const {
    const CdDisc::Track* t = track(number);
    return t ? CdDisc::sectorsToMs(t->sectors) : 0;
}

qint32 DigitalReader::trackStart(int number) const {
    const CdDisc::Track* t = track(number);
    return t ? CdDisc::sectorsToMs(t->start) : 0;
}

int DigitalReader::readSectionToFile(int number, const QString& fileName, qint32 startMs,
                                     qint32 lengthMs) {
    const CdDisc::Track* t = m_open ? track(number) : nullptr;
    if (!t || !t->audio) {
        m_lastError = QStringLiteral("There is no audio track %1 on the disc.").arg(number);
        return 4;
    }
    const qint64 first = t->start + CdDisc::msToSectors(std::max(startMs, 0));
    const qint64 sectors = std::max<qint64>(1, CdDisc::msToSectors(lengthMs));
    if (startMs < 0 || lengthMs <= 0 || first + sectors > m_contents.leadout) {
        m_lastError = QStringLiteral("The stretch of %1 ms at %2 ms into track %3 is not on the "
                                     "disc.")
                          .arg(lengthMs)
                          .arg(startMs)
                          .arg(number);
        return 5;
    }
    return startRead(qint32(first), int(sectors), fileName);
}

int DigitalReader::readTrackToFile(int number, const QString& fileName) {
    const CdDisc::Track* t = m_open ? track(number) : nullptr;
    if (!t || !t->audio) {
        m_lastError = QStringLiteral("There is no audio track %1 on the disc.").arg(number);
        return 4;
    }
    return startRead(t->start, t->sectors, fileName);
}

int DigitalReader::startRead(qint32 firstSector, int sectors, const QString& fileName) {
    cancel();
    const QString partial = fileName + QStringLiteral(".part");
    {
        QFile probe(partial);
        if (!probe.open(QIODevice::WriteOnly)) {
            m_lastError = QStringLiteral("%1 can't be written: %2")
                              .arg(QDir::toNativeSeparators(fileName), probe.errorString());
            return 6;
        }
    }
    const int number = ++m_readNumber;
    m_cancel = false;
    m_done = false;
    const CdDrive drive = m_drive;
    QPointer<DigitalReader> self(this);
    m_worker = std::thread([this, self, drive, firstSector, sectors, fileName, partial, number] {
        auto report = [&](bool ok, long code, const QString& text) {
            m_done = true;
            QMetaObject::invokeMethod(
                this,
                [this, self, ok, code, text, number] {
                    if (self && number == m_readNumber.load())
                        finish(ok, code, text);
                },
                Qt::QueuedConnection);
        };
        CdDisc disc;
        QString why;
        if (!disc.open(drive, why)) {
            QFile::remove(partial);
            report(false, 8, why);
            return;
        }
        SF_INFO info{};
        info.samplerate = CdDisc::kRate;
        info.channels = 2;
        info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
        SNDFILE* out = sf_open(QFile::encodeName(partial).constData(), SFM_WRITE, &info);
        if (!out) {
            QFile::remove(partial);
            report(false, 6, QString::fromUtf8(sf_strerror(nullptr)));
            return;
        }
        // A second of sectors at a time: the file grows as the disc is read.
        constexpr int kChunk = CdDisc::kSectorsPerSecond;
        std::vector<char> buffer(size_t(kChunk) * CdDisc::kSectorBytes);
        bool ok = true;
        long code = 0;
        for (int done = 0; done < sectors && ok;) {
            const int n = std::min(kChunk, sectors - done);
            if (!disc.readAudioCarefully(
                    firstSector + done, n, buffer.data(), [&](int) { return !m_cancel.load(); },
                    why)) {
                ok = false;
                code = m_cancel.load() ? 0
                                       : (CdDisc::status(drive) == CdDisc::Status::Present ? 7 : 8);
                break;
            }
            const sf_count_t frames = sf_count_t(n) * CdDisc::kFramesPerSector;
            if (sf_writef_short(out, reinterpret_cast<const short*>(buffer.data()), frames) !=
                frames) {
                ok = false;
                code = 6;
                why = QString::fromUtf8(sf_strerror(out));
                break;
            }
            done += n;
            QMetaObject::invokeMethod(
                this,
                [this, self, done, sectors, number] {
                    if (self && number == m_readNumber.load())
                        emit progress(done, sectors);
                },
                Qt::QueuedConnection);
        }
        if (sf_close(out) != 0 && ok) {
            ok = false;
            code = 6;
            why = QStringLiteral("The file could not be finished.");
        }
        if (ok) {
            QFile::remove(fileName);
            if (!QFile::rename(partial, fileName)) {
                ok = false;
                code = 6;
                why =
                    QStringLiteral("%1 can't be written.").arg(QDir::toNativeSeparators(fileName));
            }
        }
        if (!ok)
            QFile::remove(partial);
        if (m_cancel.load()) {
            m_done = true;
            return;
        }
        report(ok, code, why);
    });
    return 0;
}

void DigitalReader::finish(bool ok, long code, const QString& text) {
    join();
    if (ok)
        emit readComplete();
    else
        emit failure(code, text);
}

void DigitalReader::join() {
    if (m_worker.joinable())
        m_worker.join();
}

void DigitalReader::cancel() {
    m_cancel = true;
    ++m_readNumber;
    join();
}

int DigitalReader::openTray() {
    const CdDrive drive = m_drive.device.isEmpty() ? CdDrives::list().value(0) : m_drive;
    QString why;
    m_open = false;
    return !drive.device.isEmpty() && CdDisc::eject(drive, why) ? 0 : 1;
}

int DigitalReader::closeTray() {
    // Image drives have no tray to close, and a real one closes at its owner's push.
    return 0;
}
