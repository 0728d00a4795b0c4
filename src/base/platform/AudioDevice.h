#pragma once

#include <QString>
#include <atomic>
#include <memory>

// One sound device: an output stream that pulls frames from a source, and an input stream
// that pushes frames to a sink. Two backends: PortAudio (the real sound card) and "null", a
// silent device that consumes frames at the pace of a clock and hears what it plays.
//
// Selection: CANTAVOX_AUDIO=null|portaudio (default portaudio). When no sound device can be
// opened the program runs on the null device and says so once (takeNotice()).
// CANTAVOX_NULL_RATE=N runs the null device's clock N times faster than real time.
//
// Threads: create, start and stop on the UI thread. render() and capture() run on the
// device's audio thread and must not allocate, lock or log. now() and the counters may be
// read from any thread.
class AudioDevice {
public:
    struct Format {
        int rate = 44100;
        int channels = 2;
    };

    struct RenderStats {
        int content = 0;     // frames of sound in the block (the rest was silence)
        int joinSilence = 0; // silent frames that stood between one play and the next
    };

    class Source {
    public:
        virtual ~Source() = default;
        // Fills frames * channels interleaved floats. dacTime is the device-clock time (now())
        // at which out[0] will be heard.
        virtual RenderStats render(float* out, int frames, double dacTime) noexcept = 0;
    };

    class Sink {
    public:
        virtual ~Sink() = default;
        virtual void capture(const float* in, int frames) noexcept = 0;
    };

    virtual ~AudioDevice() = default;

    // A device of the selected backend.
    static std::unique_ptr<AudioDevice> create();
    // The text that says the program runs without sound, once per process; empty after.
    static QString takeNotice();
    // Whether the null device stands in (by choice or for want of a sound device).
    static bool usingNull();

    virtual QString backendName() const = 0;
    virtual bool startOutput(const Format& format, Source* source, QString& error) = 0;
    virtual void stopOutput() = 0;
    virtual bool outputRunning() const = 0;
    virtual bool startInput(const Format& format, Sink* sink, QString& error) = 0;
    virtual void stopInput() = 0;
    // The device clock in seconds.
    virtual double now() const = 0;
    // How many device seconds pass in a real second (1 but for a hurried null device).
    virtual double speed() const { return 1.0; }

    qint64 framesPlayed() const { return m_framesPlayed.load(std::memory_order_relaxed); }
    qint64 joinSilentFrames() const { return m_joinSilent.load(std::memory_order_relaxed); }

protected:
    // Called by the backends from the audio thread after each render.
    void count(const RenderStats& s) noexcept {
        m_framesPlayed.fetch_add(s.content, std::memory_order_relaxed);
        m_joinSilent.fetch_add(s.joinSilence, std::memory_order_relaxed);
    }

private:
    std::atomic<qint64> m_framesPlayed{0};
    std::atomic<qint64> m_joinSilent{0};
};
