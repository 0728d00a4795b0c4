#include "failsafe/CircularLog.h"

#include <QFile>
#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr char kHeader[] = "CIRCULAR\r\n";
constexpr qint64 kHeaderSize = sizeof(kHeader) - 1;

bool writeAll(int fd, const char* data, qint64 size, qint64 offset) {
    while (size > 0) {
        const ssize_t n = ::pwrite(fd, data, static_cast<size_t>(size), offset);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        data += n;
        size -= n;
        offset += n;
    }
    return true;
}
} // namespace

CircularLog::CircularLog(const QString& fileName, qint64 recordSize, qint64 maxRecords)
    : m_fileName(fileName), m_nativeName(QFile::encodeName(fileName)), m_recordSize(recordSize),
      // Fewer than one record still wraps after each line, onto record 1.
      m_maxRecords(std::max<qint64>(maxRecords, 1)) {}

bool CircularLog::open() {
    m_on = false;
    if (m_recordSize < 2 || m_recordSize > kMaxRecordSize || m_fileName.isEmpty())
        return false;
    // Only a normal file will do: a folder or a device of that name can't hold the log.
    struct stat st {};
    if (::stat(m_nativeName.constData(), &st) == 0 && !S_ISREG(st.st_mode))
        return false;
    const int fd = ::open(m_nativeName.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0)
        return false;
    bool ok = writeAll(fd, kHeader, kHeaderSize, 0);
    // A file left by a run with larger records would break the size bound.
    const qint64 bound = sizeBound(m_recordSize, m_maxRecords);
    if (ok && ::fstat(fd, &st) == 0 && st.st_size > bound)
        ok = ::ftruncate(fd, bound) == 0;
    ::close(fd);
    if (!ok)
        return false;
    m_record.resize(m_recordSize);
    m_next = 1;
    m_on = true;
    return true;
}

void CircularLog::write(QStringView line) {
    if (!m_on)
        return;
    while (!line.isEmpty() && (line.back() == u'\n' || line.back() == u'\r'))
        line.chop(1);
    const QByteArray utf8 = line.toUtf8();
    const qint64 room = m_recordSize - 2;
    qint64 used = std::min<qint64>(utf8.size(), room);
    // Never cut inside a character: back up over continuation bytes.
    if (used < utf8.size()) {
        while (used > 0 && (static_cast<unsigned char>(utf8[used]) & 0xC0) == 0x80)
            --used;
    }
    char* rec = m_record.data();
    std::memcpy(rec, utf8.constData(), static_cast<size_t>(used));
    std::memset(rec + used, ' ', static_cast<size_t>(room - used));
    rec[room] = '\r';
    rec[room + 1] = '\n';

    const int fd = ::open(m_nativeName.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0) {
        m_on = false;
        return;
    }
    // A record that can't be written (disk full) is lost; the log stays on for the next.
    writeAll(fd, rec, m_recordSize, m_recordSize * m_next + kHeaderSize);
    ::close(fd);
    if (++m_next > m_maxRecords)
        m_next = 1;
}
