#pragma once

#include "platform/AudioDevice.h"
#include "platform/FrameSource.h"
#include "platform/MediaDevice.h"

#include <QTimer>
#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

class BlockRing;
class SampleRing;
struct sf_private_tag;

// The "waveaudio" device behind a media control: plays a sound file (anything libsndfile
// reads) from disk through an AudioDevice, records from the device's input into memory and
// saves it as a WAV.
//
// Playing: a reader thread streams the file in blocks into a lock-free ring; the audio
// callback takes them from there. Each play is a new generation: blocks of an older one are
// dropped by the callback, so a new command takes effect at once. From and To are frames
// (milliseconds * rate / 1000), and a play ends exactly on To. Position is what the device
// clock says has been heard, not what has been handed to the device.
//
// Repetition: with repeatAhead on (a loop is armed) the reader goes on past To with the same
// From..To. If the owner answers the end with a play of the same From..To, that play is
// already sounding and the join has no gap at all; if it answers otherwise (or not within a
// tenth of a second) the repeat is cut off. A pass that a repeat follows ends in a blend of a
// few milliseconds into the frames that lead into From, so the join isn't heard; it lasts just
// as long, and only what is played changes, never a file.
//
// Threads: every public function on the UI thread. playEnded() is emitted on the UI thread
// by a timer that watches what the audio thread reports.
class WaveDevice : public MediaDevice, private AudioDevice::Source, private AudioDevice::Sink {
    Q_OBJECT
public:
    explicit WaveDevice(QObject* parent = nullptr);
    ~WaveDevice() override;

    QString deviceType() const override { return QStringLiteral("waveaudio"); }
    Result open(const QString& fileName) override;
    Result close() override;
    Result play(std::optional<qint32> fromMs, std::optional<qint32> toMs) override;
    Result stop() override;
    Result pause() override;
    Result seek(qint32 ms) override;
    Result record() override;
    Result save(const QString& fileName) override;

    bool isOpen() const override { return m_open; }
    int mode() const override;
    qint32 positionMs() const override;
    qint32 lengthMs() const override;
    qint16 deviceId() const override { return m_id; }

    // The format of the next recording: 8, 16, 24 or 32 bits, 1 or 2 channels, 8000 to
    // 192000 Hz. Returns false (with the reason) for anything else.
    bool setRecordingFormat(int bitsPerSample, int channels, int rate, QString& why);
    static WaveDevice* byId(qint16 id);
    // Opens sound that isn't a file (a disc); fileName is what FileName reads afterwards.
    Result openSource(std::unique_ptr<FrameSource> source, const QString& fileName);

    void setRepeatAhead(bool on) override;
    // A pass that a repeat follows ends in a blend of this long into the sound that leads
    // into From, so that the join isn't heard; half the pass at most.
    static constexpr int kJoinBlendMs = 5;
    static int joinBlendFrames(int rate, qint64 passFrames) {
        return int(std::min<qint64>(qint64(rate) * kJoinBlendMs / 1000, passFrames / 2));
    }
    // The sound device in use (its counters tell what was played).
    AudioDevice* audio() const { return m_audio.get(); }
    int sampleRate() const { return m_rate; }
    int channels() const { return m_channels; }
    qint64 lengthFrames() const { return m_frames; }
    qint64 positionFrames() const;

private:
    struct Piece;
    struct Command {
        std::uint64_t generation = 0;
        bool play = false;
        qint64 from = 0;
        qint64 to = 0;
    };

    AudioDevice::RenderStats render(float* out, int frames, double dacTime) noexcept override;
    void capture(const float* in, int frames) noexcept override;

    Result startStream();
    void stopStream();
    void runReader();
    qint64 readFrames(qint64 from, int n, float* out);
    bool prepareJoinBlend(const Command& c, int frames);
    void sendCommand(const Command& c);
    std::uint64_t newGeneration(bool play);
    void poll();
    void drainRecording();
    qint64 msToFrame(qint32 ms) const;
    qint32 frameToMs(qint64 frame) const;
    Result refuse(qint16 code, const QString& text);

    // What stays on the UI thread.
    qint16 m_id = 0;
    bool m_open = false;
    QString m_fileName;
    int m_rate = 0;
    int m_channels = 0;
    qint64 m_frames = 0;
    int m_mode = 524;
    qint64 m_held = 0;              // the position while not playing
    std::optional<qint32> m_heldMs; // the exact millisecond asked for, when one was
    qint32 m_playToMs = 0;
    qint64 m_playFrom = 0;
    qint64 m_playTo = 0;
    std::uint32_t m_reportedEnds = 0; // passes whose end was reported
    bool m_awaitingEnd = false;
    std::uint64_t m_generation = 0;
    QTimer m_poll;
    std::unique_ptr<AudioDevice> m_audio;

    // The file (or other sound), read by the reader thread only once playing starts.
    sf_private_tag* m_file = nullptr;
    std::unique_ptr<FrameSource> m_source;
    std::vector<float> m_recorded; // a recording (or nothing) stands in for the file
    bool m_fromMemory = false;
    int m_recBits = 16;
    int m_recChannels = 1;
    int m_recRate = 22050;
    std::unique_ptr<SampleRing> m_recRing;
    QTimer m_recDrain;

    // Set before the streams start and constant while they run: the format the reader, the
    // audio callback and the input callback work in.
    int m_streamRate = 0;
    int m_streamChannels = 0;
    int m_inChannels = 0;

    // Reader thread.
    std::thread m_reader;
    std::mutex m_commandLock;
    std::condition_variable m_commandReady;
    Command m_command;
    bool m_commandPending = false;
    bool m_quit = false;
    std::unique_ptr<BlockRing> m_ring;
    // The end of a pass as it sounds when a repeat follows, and what it is made of: the frame
    // before it and the pass's last frames; the frames that lead into From, and From. Sized
    // when the stream starts.
    std::vector<float> m_joinBlend;
    std::vector<float> m_joinTail;
    std::vector<float> m_joinLead;

    // Shared with the audio thread.
    std::atomic<std::uint64_t> m_active{0}; // generation << 1 | playing
    std::atomic<std::uint32_t> m_confirmedPass{0};
    // The generation's low 32 bits above the passes ended in it: both counters are wide
    // enough for a session of months, and the two travel together.
    std::atomic<std::uint64_t> m_endedPasses{0};
    std::atomic<double> m_lastEndDac{0};
    std::atomic<std::uint64_t> m_cutGeneration{0}; // a repeat that was cut off
    // The generation whose stretch the reader went on to repeat: only then is a repeat
    // already sounding when the owner answers the end.
    std::atomic<std::uint64_t> m_repeatGeneration{0};
    std::atomic<bool> m_repeatAhead{false};
    std::atomic<std::uint64_t> m_pieceCount{0};
    std::unique_ptr<Piece[]> m_pieces;
    // Audio thread only.
    int m_blockOffset = 0;
    std::uint64_t m_seenActive = 0;
    qint64 m_pendingSilence = 0;
    bool m_joinArmed = false;
    qint64 m_speculated = 0;
    qint64 m_graceFrames = 0;
};
