#pragma once

#include "platform/CdDisc.h"

#include <QObject>
#include <QString>
#include <atomic>
#include <memory>
#include <thread>

// Reads a disc's audio digitally into a wave file (44.1 kHz, 16 bits, stereo), with error
// correction, on a thread of its own: the reader the program knows as ACD1. Drives are
// numbered from 1 in the order CdDrives finds them. Times are milliseconds; a track's start
// counts from the disc's first sector.
//
// A read that started ends with exactly one of readComplete() or failure(code, text), both
// delivered on the UI thread; a cancelled read ends with neither. A file is written beside its
// name and renamed into place only when whole, so a failed or cancelled read leaves nothing.
//
// Codes of failure(): 1 no such drive, 2 the drive may not be read, 3 no disc, 4 no such
// track, 5 the stretch is not on the disc, 6 the file can't be written, 7 the disc can't be
// read, 8 the disc went away. 701, which the program ignores, is never given: a read that
// is no longer wanted (cancelled, or replaced by another) ends without an event.
//
// Thread: every function on the UI thread.
class DigitalReader : public QObject {
    Q_OBJECT
public:
    explicit DigitalReader(QObject* parent = nullptr);
    ~DigitalReader() override;

    // 0: ready.
    int initialise();
    bool aspiPresent() const { return true; }
    int deviceCount() const;
    void clearSelection(int) {}
    // 0 or less: open (an empty drive too, with no tracks); above 0: the error code.
    int openDrive(int deviceNumber);
    int trackCount() const;
    bool isAudioTrack(int track) const;
    qint32 trackLength(int track) const;
    qint32 trackStart(int track) const;
    // 0: started (its end comes as an event); above 0: refused, with the code.
    int readSectionToFile(int track, const QString& fileName, qint32 startMs, qint32 lengthMs);
    int readTrackToFile(int track, const QString& fileName);
    void cancel();
    bool reading() const { return m_worker.joinable() && !m_done.load(); }
    // The tray of the open drive (or the first): out, and back in where the drive can.
    int openTray();
    int closeTray();
    QString lastError() const { return m_lastError; }

signals:
    void readComplete();
    void failure(long code, const QString& text);
    // Sectors read so far of the running read, and how many it has.
    void progress(int done, int total);

private:
    const CdDisc::Track* track(int number) const;
    int startRead(qint32 firstSector, int sectors, const QString& fileName);
    void finish(bool ok, long code, const QString& text);
    void join();

    CdDrive m_drive;
    CdDisc::Contents m_contents;
    bool m_open = false;
    QString m_lastError;

    std::thread m_worker;
    std::atomic<bool> m_cancel{false};
    std::atomic<bool> m_done{true};
    // Which read an event belongs to: a cancelled one's late end is dropped.
    std::atomic<int> m_readNumber{0};
};
