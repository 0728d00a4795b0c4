#include "platform/MMControl.h"

#include "failsafe/AppError.h"
#include "platform/CdDevice.h"
#include "platform/MediaDevice.h"
#include "platform/WaveDevice.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QStyle>
#include <QToolButton>

namespace {
enum Button { Prev, Next, Play, Pause, Back, Step, Stop, Record, Eject, ButtonCount };

constexpr qint16 kErrNotOpen = 263;
constexpr qint16 kErrNoDevice = 275;
constexpr qint16 kErrUnknownCommand = 261;

QString notOpenText() {
    return QStringLiteral("The specified device is not open or is not recognized.");
}
} // namespace

MMControl::MMControl(QWidget* parent) : QWidget(parent) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(2);
    const QStyle::StandardPixmap icons[ButtonCount] = {
        QStyle::SP_MediaSkipBackward, QStyle::SP_MediaSkipForward,  QStyle::SP_MediaPlay,
        QStyle::SP_MediaPause,        QStyle::SP_MediaSeekBackward, QStyle::SP_MediaSeekForward,
        QStyle::SP_MediaStop,         QStyle::SP_DialogYesButton,   QStyle::SP_ArrowUp};
    const char* const tips[ButtonCount] = {"Previous", "Next", "Play",   "Pause", "Back",
                                           "Step",     "Stop", "Record", "Eject"};
    for (int i = 0; i < ButtonCount; ++i) {
        auto* b = new QToolButton(this);
        b->setIcon(style()->standardIcon(icons[i]));
        b->setToolTip(QString::fromLatin1(tips[i]));
        b->setAutoRaise(true);
        b->setIconSize(QSize(20, 20));
        b->setFocusPolicy(Qt::NoFocus);
        connect(b, &QToolButton::clicked, this, [this, i] { buttonClicked(i); });
        row->addWidget(b);
        m_buttons[i] = b;
    }
    // Recording is a wave device's business; a red dot says what it is.
    m_buttons[Record]->setText(QStringLiteral("●"));
    m_buttons[Record]->setIcon(QIcon());
    m_buttons[Record]->setStyleSheet(QStringLiteral("QToolButton { color: #c0392b; }"));
    setFocusPolicy(Qt::TabFocus);
    m_statusTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_statusTimer, &QTimer::timeout, this, [this] {
        if (m_updateInterval > 0)
            emit StatusUpdate();
    });
    refreshButtons();
}

MMControl::~MMControl() = default;

void MMControl::setDeviceType(const QString& type) {
    m_deviceType = type;
    if (!m_device && type.compare(u"waveaudio", Qt::CaseInsensitive) == 0)
        setDevice(new WaveDevice);
    else if (!m_device && type.compare(u"cdaudio", Qt::CaseInsensitive) == 0)
        setDevice(new CdDevice);
    refreshButtons();
}

void MMControl::setRepeatAhead(bool on) {
    m_repeatAhead = on;
    if (m_device)
        m_device->setRepeatAhead(on);
}

void MMControl::setDevice(MediaDevice* device) {
    if (m_device == device)
        return;
    delete m_device;
    m_device = device;
    if (m_device) {
        m_device->setParent(this);
        m_device->setRepeatAhead(m_repeatAhead);
        // The end of a play whose Done was awaited: reached, or lost with the medium.
        const auto ended = [this](int code) {
            refreshButtons();
            if (m_notifyPending) {
                m_notifyPending = false;
                emit Done(code);
            }
        };
        connect(m_device, &MediaDevice::playEnded, this, [ended] { ended(NotifySuccessful); });
        connect(m_device, &MediaDevice::playLost, this, [ended] { ended(NotifyFailure); });
    }
    refreshButtons();
}

// A position given in the current time format, in milliseconds from the medium's start.
qint32 MMControl::toMs(qint32 v) const {
    if (m_timeFormat == TimeFormatTmsf) {
        const int track = v & 0xFF;
        const int minutes = (v >> 8) & 0xFF, seconds = (v >> 16) & 0xFF;
        return m_device->trackPositionMs(track) + (minutes * 60 + seconds) * 1000;
    }
    if (m_timeFormat == TimeFormatMsf) {
        const int minutes = v & 0xFF, seconds = (v >> 8) & 0xFF, frames = (v >> 16) & 0xFF;
        return (minutes * 60 + seconds) * 1000 + frames * 1000 / 75;
    }
    return v;
}

void MMControl::setFrom(qint32 v) {
    if (!m_device || !m_device->isOpen())
        raiseError(errnum::MediaDeviceNotOpen, notOpenText(), QStringLiteral("MMControl"));
    m_from = toMs(v);
    m_fromSet = true;
}

void MMControl::setTo(qint32 v) {
    if (!m_device || !m_device->isOpen())
        raiseError(errnum::MediaDeviceNotOpen, notOpenText(), QStringLiteral("MMControl"));
    m_to = toMs(v);
    m_toSet = true;
}

void MMControl::setTrack(qint32 t) {
    if (!m_device || !m_device->isOpen())
        raiseError(errnum::MediaDeviceNotOpen, notOpenText(), QStringLiteral("MMControl"));
    m_track = t;
}

void MMControl::setTimeFormat(qint32 fmt) {
    m_timeFormat = fmt;
}

// Packed track/minute/second values for the TMSF format; milliseconds otherwise.
static qint32 packTmsf(int track, qint32 msIntoTrack) {
    const qint32 s = msIntoTrack / 1000;
    return track + ((s / 60) & 0xFF) * 256 + (s % 60) * 65536;
}

qint32 MMControl::Position() const {
    if (!m_device || !m_device->isOpen())
        return 0;
    const qint32 pos = m_device->positionMs();
    if (m_timeFormat == TimeFormatMsf) {
        const qint32 s = pos / 1000;
        return (s / 60) + (s % 60) * 256 + (pos % 1000) * 75 / 1000 * 65536;
    }
    if (m_timeFormat != TimeFormatTmsf)
        return pos;
    int track = 1;
    for (int t = 1; t <= m_device->tracks(); ++t)
        if (m_device->trackPositionMs(t) <= pos)
            track = t;
    return packTmsf(track, pos - m_device->trackPositionMs(track));
}

qint32 MMControl::Length() const {
    if (!m_device || !m_device->isOpen())
        return 0;
    const qint32 len = m_device->lengthMs();
    if (m_timeFormat != TimeFormatTmsf && m_timeFormat != TimeFormatMsf)
        return len;
    const qint32 s = len / 1000;
    return (s / 60) + (s % 60) * 256;
}

qint32 MMControl::Mode() const {
    return m_device ? m_device->mode() : static_cast<qint32>(ModeNotOpen);
}

qint32 MMControl::Tracks() const {
    return m_device && m_device->isOpen() ? m_device->tracks() : 0;
}

qint32 MMControl::TrackLength() const {
    if (!m_device || !m_device->isOpen())
        return 0;
    const qint32 len = m_device->trackLengthMs(m_track);
    if (m_timeFormat != TimeFormatTmsf)
        return len;
    const qint32 s = len / 1000;
    return (s / 60) + (s % 60) * 256;
}

qint32 MMControl::TrackPosition() const {
    if (!m_device || !m_device->isOpen())
        return 0;
    const qint32 pos = m_device->trackPositionMs(m_track);
    return m_timeFormat == TimeFormatTmsf ? packTmsf(m_track, 0) : pos;
}

qint16 MMControl::DeviceID() const {
    return m_device ? m_device->deviceId() : 0;
}

void MMControl::setUpdateInterval(qint16 ms) {
    m_updateInterval = ms;
    // Setting the interval it already has keeps the clock running: a short loop sets it at
    // every pass, and restarting it each time would starve the status events.
    if (ms <= 0)
        m_statusTimer.stop();
    else if (!m_statusTimer.isActive() || m_statusTimer.interval() != ms)
        m_statusTimer.start(ms);
}

void MMControl::setAutoEnable(bool on) {
    m_autoEnable = on;
    refreshButtons();
}

void MMControl::setStopVisible(bool on) {
    m_stopVisible = on;
    refreshButtons();
}

void MMControl::setError(qint16 code, const QString& text) {
    m_error = code;
    m_errorMessage = text;
}

void MMControl::setCommand(const QString& word) {
    m_lastCommand = word;
    const bool notify = m_notify;
    // Wait and Notify apply to the one command they precede.
    m_wait = false;
    m_notify = false;
    runCommand(word.trimmed().toLower());
    if (notify) {
        const QString w = word.trimmed().toLower();
        if (m_error != 0)
            emit Done(NotifyFailure);
        else if ((w == u"play" && Mode() == ModePlaying) ||
                 (w == u"record" && Mode() == ModeRecording))
            m_notifyPending = true; // Done arrives with the end of play, or with its stop
        else
            emit Done(NotifySuccessful);
    }
    refreshButtons();
}

void MMControl::runCommand(const QString& word) {
    setError(0, QString());
    // A command that supersedes a play whose end was awaited ends that wait.
    if (m_notifyPending && word != u"sound") {
        m_notifyPending = false;
        emit Done(word == u"stop" || word == u"close" ? NotifyAborted : NotifySuperseded);
    }
    if (!m_device) {
        if (word == u"close" || word == u"sound")
            return;
        if (word == u"open") {
            setError(kErrNoDevice, m_deviceType.compare(u"cdaudio", Qt::CaseInsensitive) == 0
                                       ? QStringLiteral("No audio CD device is available.")
                                       : QStringLiteral("No wave audio device is available."));
            return;
        }
        setError(kErrNotOpen, notOpenText());
        return;
    }
    MediaDevice::Result r;
    if (word == u"open") {
        r = m_device->open(m_fileName);
    } else if (word == u"close") {
        r = m_device->close();
    } else if (!m_device->isOpen() && word != u"eject") {
        r = {kErrNotOpen, notOpenText()};
    } else if (word == u"play") {
        const std::optional<qint32> from = m_fromSet ? std::optional<qint32>(m_from) : std::nullopt;
        const std::optional<qint32> to = m_toSet ? std::optional<qint32>(m_to) : std::nullopt;
        m_fromSet = m_toSet = false;
        r = m_device->play(from, to);
    } else if (word == u"stop") {
        r = m_device->stop();
    } else if (word == u"pause") {
        r = m_device->pause();
    } else if (word == u"cue" || word == u"sound") {
        r = {};
    } else if (word == u"seek") {
        r = m_device->seek(m_toSet ? m_to : 0);
    } else if (word == u"prev") {
        r = m_device->seek(0);
    } else if (word == u"next") {
        r = m_device->seek(m_device->lengthMs());
    } else if (word == u"back" || word == u"step") {
        const qint32 delta = word == u"back" ? -1000 : 1000;
        r = m_device->seek(qBound(0, m_device->positionMs() + delta, m_device->lengthMs()));
    } else if (word == u"record") {
        r = m_device->record();
    } else if (word == u"save") {
        r = m_device->save(m_fileName);
    } else if (word == u"eject") {
        r = m_device->eject();
    } else {
        r = {kErrUnknownCommand, QStringLiteral("The specified command is not recognized.")};
    }
    setError(r.error, r.message);
}

void MMControl::refreshButtons() {
    const int mode = Mode();
    const bool cd = m_deviceType.compare(u"cdaudio", Qt::CaseInsensitive) == 0;
    bool enabled[ButtonCount];
    for (bool& e : enabled)
        e = true;
    if (m_autoEnable) {
        // The buttons follow what the device can do in its present state.
        const bool open = mode != ModeNotOpen;
        const bool playingNow = mode == ModePlaying || mode == ModeRecording;
        enabled[Prev] = enabled[Next] = open;
        enabled[Back] = enabled[Step] = open && !playingNow;
        enabled[Play] = open && !playingNow;
        enabled[Pause] = playingNow;
        enabled[Stop] = playingNow || mode == ModePaused;
        enabled[Record] = open && !cd && !playingNow;
        enabled[Eject] = cd;
    }
    for (int i = 0; i < ButtonCount; ++i)
        m_buttons[i]->setEnabled(enabled[i]);
    for (int i = 0; i < ButtonCount; ++i) {
        bool visible = m_shown[i];
        if (i == Stop)
            visible = visible && m_stopVisible;
        else if (i == Record)
            visible = visible && !cd;
        else if (i == Eject)
            visible = visible && cd;
        m_buttons[i]->setVisible(visible);
    }
}

void MMControl::offerPlayAndStopOnly() {
    setAutoEnable(false);
    for (int i = 0; i < ButtonCount; ++i)
        m_shown[i] = i == Play || i == Stop;
    refreshButtons();
}

void MMControl::buttonClicked(int index) {
    bool cancel = false;
    static const char* const words[ButtonCount] = {"Prev", "Next", "Play",   "Pause", "Back",
                                                   "Step", "Stop", "Record", "Eject"};
    switch (index) {
    case Prev:
        emit PrevClick(cancel);
        break;
    case Next:
        emit NextClick(cancel);
        break;
    case Play:
        emit PlayClick(cancel);
        break;
    case Pause:
        emit PauseClick(cancel);
        break;
    case Back:
        emit BackClick(cancel);
        break;
    case Step:
        emit StepClick(cancel);
        break;
    case Stop:
        emit StopClick(cancel);
        break;
    case Record:
        emit RecordClick(cancel);
        break;
    case Eject:
        emit EjectClick(cancel);
        break;
    default:
        return;
    }
    if (!cancel)
        setCommand(QString::fromLatin1(words[index]));
}

QToolButton* MMControl::button(int index) const {
    return index >= 0 && index < ButtonCount ? m_buttons[index] : nullptr;
}

void MMControl::focusInEvent(QFocusEvent* event) {
    QWidget::focusInEvent(event);
    emit GotFocus();
}

void MMControl::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::EnabledChange)
        refreshButtons();
}
