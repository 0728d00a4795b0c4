#pragma once

#include <QString>
#include <QTimer>
#include <QWidget>

class QToolButton;
class MediaDevice;

// The media control: a strip of transport buttons plus a media device driven by command
// words ("Open", "Play", "Stop", ...), in the manner of the classic multimedia control.
//
// Properties are plain getters and setters named as the control publishes them. Mode codes:
// 524 not open, 525 stopped, 526 playing, 527 recording, 529 paused. Done's NotifyCode: 1 a
// natural end, 2 superseded by a new command, 4 aborted by stop or close.
//
// Thread: UI thread only. The device behind it may run an audio thread of its own; what that
// thread learns reaches this object through queued calls.
class MMControl : public QWidget {
    Q_OBJECT
public:
    enum ModeCode {
        ModeNotOpen = 524,
        ModeStopped = 525,
        ModePlaying = 526,
        ModeRecording = 527,
        ModeSeeking = 528,
        ModePaused = 529,
        ModeOpen = 530
    };
    enum NotifyCode {
        NotifySuccessful = 1,
        NotifySuperseded = 2,
        NotifyAborted = 4,
        NotifyFailure = 8
    };
    enum TimeFormatCode { TimeFormatMs = 0, TimeFormatMsf = 2, TimeFormatTmsf = 10 };

    explicit MMControl(QWidget* parent = nullptr);
    ~MMControl() override;

    // Sends a command word; case is ignored. Errors are reported through Error/ErrorMessage.
    void setCommand(const QString& word);
    QString Command() const { return m_lastCommand; }
    void setWait(bool on) { m_wait = on; }
    bool Wait() const { return m_wait; }
    void setNotify(bool on) { m_notify = on; }
    bool Notify() const { return m_notify; }

    QString DeviceType() const { return m_deviceType; }
    void setDeviceType(const QString& type);
    QString FileName() const { return m_fileName; }
    void setFileName(const QString& name) { m_fileName = name; }

    // From and To are given in the current time format and read back in milliseconds.
    qint32 From() const { return m_from; }
    void setFrom(qint32 v);
    qint32 To() const { return m_to; }
    void setTo(qint32 v);
    qint32 Position() const;
    qint32 Length() const;
    qint32 Mode() const;
    qint32 TimeFormat() const { return m_timeFormat; }
    void setTimeFormat(qint32 fmt);
    qint32 Track() const { return m_track; }
    void setTrack(qint32 t);
    qint32 Tracks() const;
    qint32 TrackLength() const;
    qint32 TrackPosition() const;

    qint16 UpdateInterval() const { return m_updateInterval; }
    void setUpdateInterval(qint16 ms);

    qint16 Error() const { return m_error; }
    QString ErrorMessage() const { return m_errorMessage; }
    qint16 DeviceID() const;

    bool AutoEnable() const { return m_autoEnable; }
    void setAutoEnable(bool on);
    bool StopVisible() const { return m_stopVisible; }
    void setStopVisible(bool on);
    // Set while a loop is armed: a natural end will be answered by the same play again, which
    // the device then joins without a gap.
    bool RepeatAhead() const { return m_repeatAhead; }
    void setRepeatAhead(bool on);

    // The device behind the control; the control owns it. Without one the control answers
    // as a device that is not open. Setting the device type "waveaudio" gives the control
    // its wave device.
    void setDevice(MediaDevice* device);
    MediaDevice* device() const { return m_device; }

    // The strip's buttons, in the order Prev, Next, Play, Pause, Back, Step, Stop, Record,
    // Eject (0 to 8).
    QToolButton* button(int index) const;
    // A strip of a window beside the player: Play and Stop only, always enabled, their clicks
    // for the window to act on.
    void offerPlayAndStopOnly();

signals:
    void StatusUpdate();
    void Done(int NotifyCode);
    void PrevClick(bool& Cancel);
    void NextClick(bool& Cancel);
    void PlayClick(bool& Cancel);
    void PauseClick(bool& Cancel);
    void BackClick(bool& Cancel);
    void StepClick(bool& Cancel);
    void StopClick(bool& Cancel);
    void RecordClick(bool& Cancel);
    void EjectClick(bool& Cancel);
    void GotFocus();

protected:
    void focusInEvent(QFocusEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void runCommand(const QString& word);
    void setError(qint16 code, const QString& text);
    void refreshButtons();
    void buttonClicked(int index);

    MediaDevice* m_device = nullptr;
    QString m_deviceType;
    QString m_fileName;
    QString m_lastCommand;
    bool m_wait = false;
    bool m_notify = false;
    bool m_notifyPending = false;
    qint32 toMs(qint32 v) const;
    qint32 m_from = 0;
    qint32 m_to = 0;
    bool m_fromSet = false;
    bool m_toSet = false;
    qint32 m_timeFormat = TimeFormatMs;
    qint32 m_track = 1;
    qint16 m_updateInterval = 0;
    qint16 m_error = 0;
    QString m_errorMessage;
    bool m_autoEnable = true;
    bool m_stopVisible = true;
    bool m_repeatAhead = false;
    QTimer m_statusTimer;
    QToolButton* m_buttons[9] = {};
    bool m_shown[9] = {true, true, true, true, true, true, true, true, true};
};
