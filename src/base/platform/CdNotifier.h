#pragma once

#include "platform/CdDisc.h"

#include <QHash>
#include <QObject>
#include <QTimer>

// Tells when a disc arrives in a drive or leaves it. Twice a second it asks every drive for
// its status, which costs nothing while nothing changes (a real drive answers without
// spinning up; an image drive is a look at its cue sheet); on a change it reads the disc's
// table of contents and compares it with the last one, so a disc swapped between two polls
// is an arrival too. No signal while nothing changed.
//
// Thread: UI thread; the signals come on it.
class CdNotifier : public QObject {
    Q_OBJECT
public:
    explicit CdNotifier(QObject* parent = nullptr);

    void start();
    void stop();
    // One look at every drive now (the timer's work).
    void poll();

signals:
    // letter: the drive's letter ("D").
    void arrival(const QString& letter);
    void removeComplete(const QString& letter);

private:
    struct Seen {
        CdDisc::Status status = CdDisc::Status::Missing;
        qint64 stamp = 0; // the cue sheet's change time, for an image
        QList<qint32> starts;
    };
    static QList<qint32> startsOf(const CdDrive& drive);

    QTimer m_timer;
    QHash<QString, Seen> m_seen; // by the drive's device
    bool m_primed = false;
};
