#pragma once

#include "platform/CdDisc.h"
#include "platform/WaveDevice.h"

// The "cdaudio" device behind a media control: the disc in a CD drive, played by reading its
// sectors and sending them to the sound device, as a drive without an analog cable must.
// FileName is the drive's letter and a colon ("D:"). It plays exactly as the wave device does
// (a reader thread into a lock-free ring, a new generation per command, a gapless repeat of
// an armed loop); positions are milliseconds from the disc's first sector.
//
// The reader keeps the sectors it read in memory, a few minutes' worth, so the repeats of a
// loop never go back to the drive, and reads some seconds ahead of the music, with a real
// drive asked to spin slowly enough to be quiet. A sector that can't be read sounds as silence: playback
// skips, it never hangs. Data tracks are silent.
//
// Like a drive, the device stays open while discs come and go: opened on an empty drive it
// has no tracks and no length, and every question asks the drive again (a look that costs
// nothing while nothing changed), so a disc put in later is there at the next question, and
// one taken out is gone.
//
// Threads: as WaveDevice. The disc is read on the reader thread through a handle of its own.
class CdDevice : public WaveDevice {
    Q_OBJECT
public:
    explicit CdDevice(QObject* parent = nullptr);
    ~CdDevice() override;

    QString deviceType() const override { return QStringLiteral("cdaudio"); }
    Result open(const QString& fileName) override;
    Result close() override;
    Result record() override { return notSupported(); }
    Result save(const QString&) override { return notSupported(); }
    Result eject() override;
    Result play(std::optional<qint32> fromMs, std::optional<qint32> toMs) override;
    Result seek(qint32 ms) override;

    bool isOpen() const override { return m_driveOpen; }
    int mode() const override;
    qint32 positionMs() const override;
    qint32 lengthMs() const override;
    int tracks() const override;
    qint32 trackPositionMs(int track) const override;
    qint32 trackLengthMs(int track) const override;

    // What the open disc holds, and the drive it is in.
    const CdDisc::Contents& contents() const { return m_contents; }
    const CdDrive& drive() const { return m_drive; }

private:
    const CdDisc::Track* track(int number) const;
    // Takes up a disc that arrived, or lets go of one that left, since the last question.
    void followDrive() const;
    bool loadDisc(QString& why);
    Result noDisc() const;

    bool m_driveOpen = false;
    CdDisc::Contents m_contents;
    CdDrive m_drive;
    qint64 m_discStamp = 0;
};
