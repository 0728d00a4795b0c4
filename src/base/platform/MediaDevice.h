#pragma once

#include <QObject>
#include <QString>
#include <optional>

// The device behind a media control: a wave player/recorder or a CD player. Positions are
// milliseconds; the control converts to and from its time formats.
//
// Thread: created and called on the UI thread. A device that runs an audio thread reports a
// natural end of play by emitting playEnded() through a queued call, never directly.
class MediaDevice : public QObject {
    Q_OBJECT
public:
    struct Result {
        qint16 error = 0; // 0: success
        QString message;
        bool ok() const { return error == 0; }
    };

    using QObject::QObject;
    ~MediaDevice() override = default;

    virtual QString deviceType() const = 0;
    virtual Result open(const QString& fileName) = 0;
    virtual Result close() = 0;
    // Plays from..to (ms); an absent bound means the current position or the end.
    virtual Result play(std::optional<qint32> fromMs, std::optional<qint32> toMs) = 0;
    virtual Result stop() = 0;
    virtual Result pause() = 0;
    virtual Result seek(qint32 ms) = 0;
    virtual Result record() { return notSupported(); }
    virtual Result save(const QString&) { return notSupported(); }
    virtual Result eject() { return notSupported(); }
    // A loop is armed: the owner will answer a natural end by playing the same stretch again,
    // so a device that can should carry on without a gap.
    virtual void setRepeatAhead(bool) {}

    virtual bool isOpen() const = 0;
    // One of the control's mode codes (524 not open ... 529 paused).
    virtual int mode() const = 0;
    virtual qint32 positionMs() const = 0;
    virtual qint32 lengthMs() const = 0;
    virtual int tracks() const { return isOpen() ? 1 : 0; }
    virtual qint32 trackPositionMs(int) const { return 0; }
    virtual qint32 trackLengthMs(int) const { return lengthMs(); }
    virtual qint16 deviceId() const { return 0; }

signals:
    void playEnded();
    // The medium went away during a play (a disc taken out): the play did not finish.
    void playLost();

protected:
    static Result notSupported() {
        return {274, QStringLiteral("The device does not support this command.")};
    }
};
