#include "platform/CdDisc.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <atomic>
#include <cdio/cdio.h>
#include <cdio/cdtext.h>
#include <cdio/logging.h>
#include <cstring>
#define DO_NOT_WANT_PARANOIA_COMPATIBILITY
#include <cdio/paranoia/cdda.h>
#include <cdio/paranoia/paranoia.h>
#include <cerrno>
#include <fcntl.h>
#include <linux/cdrom.h>
#include <mutex>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

// What libcdio said last at warning level or above (its errors come with a failed call).
thread_local QString t_lastLog;
std::atomic<qint64> g_sectorsRead{0};

void quietLog(cdio_log_level_t level, const char* message) {
    if (level >= CDIO_LOG_WARN && message)
        t_lastLog = QString::fromLocal8Bit(message).trimmed();
}

QString fromCdText(const cdtext_t* text, cdtext_field_t field, track_t track) {
    if (!text)
        return {};
    const char* value = cdtext_get_const(text, field, track);
    return value ? QString::fromUtf8(value).trimmed() : QString();
}

// FILE lines of a cue sheet; its commands may be indented and in any case.
int cueFileCount(const QString& cuePath) {
    QFile cue(cuePath);
    if (!cue.open(QIODevice::ReadOnly | QIODevice::Text))
        return 0;
    int files = 0;
    while (!cue.atEnd()) {
        const QByteArray line = cue.readLine().trimmed();
        if (line.size() > 5 && line.left(5).toUpper() == "FILE ")
            ++files;
    }
    return files;
}

} // namespace

struct CdDisc::Handle {
    CdIo_t* cdio = nullptr;
    ~Handle() {
        if (cdio)
            cdio_destroy(cdio);
    }
};

CdDisc::CdDisc() = default;
CdDisc::~CdDisc() = default;

void CdDisc::prepareLibrary() {
    static std::once_flag once;
    std::call_once(once, [] { cdio_log_set_handler(quietLog); });
}

CdDisc::Status CdDisc::status(const CdDrive& drive) {
    if (drive.image) {
        if (!QFileInfo(drive.device).isDir())
            return Status::Missing;
        return QFileInfo::exists(drive.cuePath()) ? Status::Present : Status::Empty;
    }
    const QByteArray path = QFile::encodeName(drive.device);
    const int fd = ::open(path.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return errno == EACCES || errno == EPERM ? Status::Denied : Status::Missing;
    const int state = ::ioctl(fd, CDROM_DRIVE_STATUS, CDSL_CURRENT);
    ::close(fd);
    return state == CDS_DISC_OK ? Status::Present : Status::Empty;
}

qint64 CdDisc::stamp(const CdDrive& drive) {
    if (!drive.image)
        return 0;
    const QFileInfo cue(drive.cuePath());
    return cue.exists() ? cue.lastModified().toMSecsSinceEpoch() : 0;
}

bool CdDisc::open(const CdDrive& drive, QString& why) {
    prepareLibrary();
    close();
    const Status now = status(drive);
    if (now == Status::Denied) {
        why = QStringLiteral("You may not read the CD drive %1. Ask for membership of its group "
                             "(usually \"cdrom\") and log in again.")
                  .arg(drive.device);
        return false;
    }
    if (now != Status::Present) {
        why = QStringLiteral("There is no disc in the CD drive %1.").arg(drive.shownName());
        return false;
    }
    // libcdio reads every FILE of a cue sheet from the one bin named after the sheet, so a
    // sheet of several files would play the wrong sound at every track past the first.
    if (drive.image && cueFileCount(drive.cuePath()) > 1) {
        why = QStringLiteral("The disc image in the CD drive %1 is split into several files. Join "
                             "them into one \"disc.bin\" to play it.")
                  .arg(drive.shownName());
        return false;
    }
    t_lastLog.clear();
    auto handle = std::make_unique<Handle>();
    // An image is opened by its cue sheet only: libcdio aborts on some other image kinds.
    const QByteArray source = QFile::encodeName(drive.image ? drive.cuePath() : drive.device);
    handle->cdio = cdio_open(source.constData(), drive.image ? DRIVER_BINCUE : DRIVER_DEVICE);
    if (!handle->cdio) {
        why = QStringLiteral("The disc in the CD drive %1 can't be read%2.")
                  .arg(drive.shownName(),
                       t_lastLog.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(t_lastLog));
        return false;
    }
    Contents contents;
    const track_t first = cdio_get_first_track_num(handle->cdio);
    const track_t count = cdio_get_num_tracks(handle->cdio);
    if (first == CDIO_INVALID_TRACK || count == CDIO_INVALID_TRACK || count == 0) {
        why = QStringLiteral("The disc in the CD drive %1 has no tracks.").arg(drive.shownName());
        return false;
    }
    const cdtext_t* text = cdio_get_cdtext(handle->cdio);
    contents.title = fromCdText(text, CDTEXT_FIELD_TITLE, 0);
    contents.performer = fromCdText(text, CDTEXT_FIELD_PERFORMER, 0);
    for (track_t t = first; t < first + count; ++t) {
        Track track;
        track.number = t;
        track.start = cdio_get_track_lsn(handle->cdio, t);
        const lsn_t last = cdio_get_track_last_lsn(handle->cdio, t);
        track.sectors = last >= track.start ? last - track.start + 1 : 0;
        track.audio = cdio_get_track_format(handle->cdio, t) == TRACK_FORMAT_AUDIO;
        track.title = fromCdText(text, CDTEXT_FIELD_TITLE, t);
        // A table of contents whose tracks overlap can't be played or named by its lengths.
        if (track.sectors == 0 ||
            (!contents.tracks.isEmpty() && track.start <= contents.tracks.back().start)) {
            why = QStringLiteral("The disc in the CD drive %1 has a table of contents that can't "
                                 "be right at track %2.")
                      .arg(drive.shownName())
                      .arg(t);
            return false;
        }
        contents.tracks.append(track);
    }
    contents.leadout = cdio_get_track_lsn(handle->cdio, CDIO_CDROM_LEADOUT_TRACK);
    m_handle = std::move(handle);
    m_contents = contents;
    return true;
}

void CdDisc::close() {
    m_handle.reset();
    m_contents = {};
}

bool CdDisc::isOpen() const {
    return m_handle && m_handle->cdio;
}

bool CdDisc::readAudio(qint32 start, int count, char* out, QString& why) {
    if (!isOpen()) {
        why = QStringLiteral("No disc is open.");
        return false;
    }
    if (start < 0 || count <= 0 || start + count > m_contents.leadout) {
        why = QStringLiteral("Sectors %1 to %2 are not on the disc.").arg(start).arg(start + count);
        return false;
    }
    t_lastLog.clear();
    g_sectorsRead += count;
    if (cdio_read_audio_sectors(m_handle->cdio, out, start, unsigned(count)) != DRIVER_OP_SUCCESS) {
        why = t_lastLog.isEmpty()
                  ? QStringLiteral("The disc could not be read at sector %1.").arg(start)
                  : t_lastLog;
        return false;
    }
    return true;
}

qint64 CdDisc::sectorsRead() {
    return g_sectorsRead.load();
}

bool CdDisc::readAudioCarefully(qint32 start, int count, char* out,
                                const std::function<bool(int)>& goOn, QString& why) {
    if (!isOpen()) {
        why = QStringLiteral("No disc is open.");
        return false;
    }
    if (start < 0 || count <= 0 || start + count > m_contents.leadout) {
        why = QStringLiteral("Sectors %1 to %2 are not on the disc.").arg(start).arg(start + count);
        return false;
    }
    t_lastLog.clear();
    cdrom_drive_t* drive = cdio_cddap_identify_cdio(m_handle->cdio, CDDA_MESSAGE_FORGETIT, nullptr);
    if (!drive || cdio_cddap_open(drive) != 0) {
        if (drive)
            cdio_cddap_close_no_free_cdio(drive);
        why =
            t_lastLog.isEmpty() ? QStringLiteral("The drive can't be read digitally.") : t_lastLog;
        return false;
    }
    cdrom_paranoia_t* paranoia = cdio_paranoia_init(drive);
    cdio_paranoia_modeset(paranoia, PARANOIA_MODE_FULL ^ PARANOIA_MODE_NEVERSKIP);
    // Its own cache model would read thousands of sectors again after the seek: a loop needs
    // only its own.
    cdio_paranoia_cachemodel_size(paranoia, std::max(count + 32, 150));
    cdio_paranoia_seek(paranoia, start, SEEK_SET);
    bool ok = true;
    for (int s = 0; s < count; ++s) {
        const int16_t* sector = cdio_paranoia_read_limited(paranoia, nullptr, 20);
        if (!sector) {
            why = QStringLiteral("The disc could not be read at sector %1.").arg(start + s);
            ok = false;
            break;
        }
        std::memcpy(out + qint64(s) * kSectorBytes, sector, kSectorBytes);
        if (goOn && !goOn(s + 1)) {
            why = QStringLiteral("The read was cancelled.");
            ok = false;
            break;
        }
    }
    cdio_paranoia_free(paranoia);
    cdio_cddap_close_no_free_cdio(drive);
    return ok;
}

bool CdDisc::setSpeed(int times) {
    return isOpen() && cdio_set_speed(m_handle->cdio, times) == DRIVER_OP_SUCCESS;
}

bool CdDisc::eject(const CdDrive& drive, QString& why) {
    prepareLibrary();
    if (drive.image) {
        // The image drive's tray is its cue sheet: renamed away, the drive is empty.
        const QString cue = drive.cuePath();
        QFile::remove(cue + QStringLiteral(".ejected"));
        if (QFileInfo::exists(cue) && !QFile::rename(cue, cue + QStringLiteral(".ejected"))) {
            why = QStringLiteral("The disc in %1 could not be taken out.").arg(drive.shownName());
            return false;
        }
        return true;
    }
    // By the drive's name, never on an open handle: ejecting through a handle frees its
    // insides, and destroying it afterwards would free them again.
    t_lastLog.clear();
    const QByteArray device = QFile::encodeName(drive.device);
    if (cdio_eject_media_drive(device.constData()) != DRIVER_OP_SUCCESS) {
        why = t_lastLog.isEmpty()
                  ? QStringLiteral("The CD drive %1 did not open.").arg(drive.shownName())
                  : t_lastLog;
        return false;
    }
    return true;
}
