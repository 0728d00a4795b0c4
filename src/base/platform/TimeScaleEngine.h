#pragma once

#include "platform/AudioDevice.h"

#include <QString>
#include <atomic>
#include <functional>
#include <memory>
#include <thread>

class SampleRing;

// The time-scale and pitch-shift engine: one job at a time turns an input sound file into an
// output file that lasts speedFactor times as long, at pitchFactor times the pitch, on
// Rubber Band. In real time the result is also heard while it is computed.
//
// bands picks the engine: 512 the faster engine, 1024 the finer engine with its short
// window, 2048 the finer engine. channelChoice 0 keeps the channels; 1 (right) or 2 (left)
// transforms that channel alone and writes it on both sides.
//
// Threads: every public function on one thread (the UI thread). The job runs on a worker
// thread of its own; the end callback is called on that worker thread, once per job (also a
// stopped one), after the job's sound has finished playing.
class TimeScaleEngine : private AudioDevice::Source {
public:
    // Results of start(): 0 running; anything else it didn't start.
    enum Result {
        Running = 0,
        InputNotOpened = 2,
        NotASoundFile = 3,
        OutputNotOpened = 4,
        NoSoundData = 5,
        NoMemory = 6,
    };
    using Callback = std::function<void(int)>;

    TimeScaleEngine();
    ~TimeScaleEngine() override;

    void setCallback(Callback callback) { m_callback = std::move(callback); }
    qint32 start(const QString& inputFile, double pitchFactor, double speedFactor, int bands,
                 const QString& outputFile, bool playNow, int channelChoice);
    // Ends the running job and its sound, waiting for its thread; harmless when idle.
    void stop();
    bool running() const { return m_worker.joinable() && !m_finished.load(); }
    // The engine version the last job ran on (2 or 3).
    int engineVersion() const { return m_engineVersion.load(); }
    // The sound device of real-time jobs, once one ran.
    AudioDevice* audio() const { return m_audio.get(); }
    // Device time of the first frame of the last real-time job that sounded, and the device
    // time at which its start returned: the start latency is the difference.
    double firstSoundAt() const { return m_firstSoundDac.load(); }
    double startedAt() const { return m_startedAt; }

    // Device buffers of the last real-time job that came short of sound before its end.
    int underruns() const { return m_underruns.load(); }
    // How far the running (or last) job has come, 0 to 1; any thread may read it.
    double progress() const { return m_progress.load(); }
    // The words for a result other than 0 and 1.
    static QString errorText(int result);

private:
    struct Job;
    void run(Job* job);
    AudioDevice::RenderStats render(float* out, int frames, double dacTime) noexcept override;

    Callback m_callback;
    std::thread m_worker;
    std::unique_ptr<Job> m_job;
    std::atomic<bool> m_cancel{false};
    std::atomic<bool> m_finished{true};
    std::atomic<double> m_progress{0};
    std::atomic<int> m_underruns{0};
    std::atomic<int> m_engineVersion{0};
    std::unique_ptr<AudioDevice> m_audio;
    std::unique_ptr<SampleRing> m_ring;
    int m_outChannels = 2;
    double m_outRate = 44100;
    std::atomic<bool> m_producerDone{false};
    std::atomic<double> m_lastDac{0};
    std::atomic<double> m_firstSoundDac{0};
    std::atomic<bool> m_drained{false};
    double m_startedAt = 0;
};
