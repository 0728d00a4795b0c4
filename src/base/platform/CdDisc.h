#pragma once

#include "platform/CdDrives.h"

#include <QList>
#include <QString>
#include <functional>
#include <memory>

// A disc in a drive, read through libcdio: its table of contents, the names CD-Text gives it,
// and its audio, sector by sector (2352 bytes: 588 frames of 16-bit little-endian stereo at
// 44.1 kHz). A real drive is opened as a device; an image drive's disc is its cue sheet and
// the bin beside it, read by the same calls.
//
// libcdio's own log would print to standard output and end the process on an error; its
// handler is replaced before the first call (prepareLibrary), and what it says is kept as
// the last problem instead.
//
// Thread: one thread at a time per CdDisc; several CdDisc may read one drive.
class CdDisc {
public:
    static constexpr int kSectorBytes = 2352;
    static constexpr int kFramesPerSector = 588;
    static constexpr int kSectorsPerSecond = 75;
    static constexpr int kRate = 44100;

    enum class Status {
        Present, // a disc is in the drive
        Empty,   // no disc (or the tray is open)
        Denied,  // this user may not open the drive
        Missing  // no such drive
    };

    struct Track {
        int number = 0;
        qint32 start = 0;   // first sector (logical, from the disc's start)
        qint32 sectors = 0; // length in sectors
        bool audio = true;
        QString title; // from CD-Text, empty without
    };
    struct Contents {
        QList<Track> tracks;
        qint32 leadout = 0; // the first sector after the last track
        QString title, performer;
    };

    CdDisc();
    ~CdDisc();
    CdDisc(const CdDisc&) = delete;
    CdDisc& operator=(const CdDisc&) = delete;

    // Replaces libcdio's log handler; safe to call often, from any thread.
    static void prepareLibrary();
    // A cheap look at a drive, without reading the disc: the presence of an image drive's cue
    // sheet, a real drive's status asked without waiting for the disc to spin up.
    static Status status(const CdDrive& drive);

    // What tells one disc in the drive from the next without reading it: an image's cue sheet
    // changes when another disc is put in. 0 for a real drive, whose removal the status tells.
    static qint64 stamp(const CdDrive& drive);

    // Opens the disc in the drive and reads its table of contents; false with the reason.
    bool open(const CdDrive& drive, QString& why);
    void close();
    bool isOpen() const;
    const Contents& contents() const { return m_contents; }
    // Milliseconds as the device reports them: whole milliseconds of whole sectors.
    static qint32 sectorsToMs(qint64 sectors) { return qint32(sectors * 1000 / kSectorsPerSecond); }
    static qint64 msToSectors(qint32 ms) { return qint64(ms) * kSectorsPerSecond / 1000; }
    // Sectors read off any disc by this process so far (the figures of a benchmark).
    static qint64 sectorsRead();
    // Reads count audio sectors from start into out (count * kSectorBytes bytes).
    bool readAudio(qint32 start, int count, char* out, QString& why);
    // Reads as readAudio does, but with error correction: each sector is checked by reads
    // that overlap, and one that fails is read again up to twenty times before its samples are
    // given as they came. goOn(sectorsDone) is asked after each sector; false stops the read.
    bool readAudioCarefully(qint32 start, int count, char* out,
                            const std::function<bool(int)>& goOn, QString& why);
    // Asks a real drive to spin at `times` the speed of music, so that playing doesn't roar;
    // a drive (or an image) that can't is left as it is, and false says so.
    bool setSpeed(int times);
    // Opens the tray of a real drive; an image drive's cue sheet is renamed away.
    static bool eject(const CdDrive& drive, QString& why);

private:
    struct Handle;
    std::unique_ptr<Handle> m_handle;
    Contents m_contents;
};
