#include "platform/CdNotifier.h"

#include <QFileInfo>

CdNotifier::CdNotifier(QObject* parent) : QObject(parent) {
    m_timer.setInterval(500);
    connect(&m_timer, &QTimer::timeout, this, &CdNotifier::poll);
}

void CdNotifier::start() {
    // What is there at the start is no arrival: the program looks at the drive itself then.
    m_primed = false;
    poll();
    m_timer.start();
}

void CdNotifier::stop() {
    m_timer.stop();
}

QList<qint32> CdNotifier::startsOf(const CdDrive& drive) {
    CdDisc disc;
    QString why;
    QList<qint32> starts;
    if (!disc.open(drive, why))
        return starts;
    for (const CdDisc::Track& t : disc.contents().tracks)
        starts.append(t.start);
    starts.append(disc.contents().leadout);
    return starts;
}

void CdNotifier::poll() {
    const QList<CdDrive> drives = CdDrives::list();
    QHash<QString, Seen> now;
    for (const CdDrive& drive : drives) {
        Seen seen;
        seen.status = CdDisc::status(drive);
        if (drive.image && seen.status == CdDisc::Status::Present)
            seen.stamp = QFileInfo(drive.cuePath()).lastModified().toMSecsSinceEpoch();
        const Seen before = m_seen.value(drive.device);
        const bool changed = !m_seen.contains(drive.device) || before.status != seen.status ||
                             before.stamp != seen.stamp;
        seen.starts = before.starts;
        if (changed && seen.status == CdDisc::Status::Present)
            seen.starts = startsOf(drive);
        else if (seen.status != CdDisc::Status::Present)
            seen.starts.clear();
        now.insert(drive.device, seen);
        if (!m_primed || !changed)
            continue;
        const bool had = before.status == CdDisc::Status::Present;
        const bool has = seen.status == CdDisc::Status::Present;
        if (had && (!has || seen.starts != before.starts))
            emit removeComplete(drive.letter);
        if (has && (!had || seen.starts != before.starts))
            emit arrival(drive.letter);
    }
    m_seen = now;
    m_primed = true;
}
