#pragma once

#include "platform/AudioDevice.h"

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

// The silent device: a thread of its own consumes frames in ticks of 5 ms of its clock's
// time, which runs `speed` times faster than real time. What it plays is offered to every
// null input that is recording (loopback), converted to the input's rate and channels.
//
// Threads: start/stop on the UI thread; the source and sink are called on the device's own
// thread.
class NullAudioDevice : public AudioDevice {
public:
    explicit NullAudioDevice(double speed = 1.0);
    ~NullAudioDevice() override;

    QString backendName() const override { return QStringLiteral("null"); }
    bool startOutput(const Format& format, Source* source, QString& error) override;
    void stopOutput() override;
    bool outputRunning() const override { return m_outThread.joinable(); }
    bool startInput(const Format& format, Sink* sink, QString& error) override;
    void stopInput() override;
    double now() const override;
    double speed() const override { return m_speed; }

private:
    void runOutput();

    double m_speed;
    std::chrono::steady_clock::time_point m_epoch;
    Format m_outFormat;
    Source* m_source = nullptr;
    std::thread m_outThread;
    std::atomic<bool> m_stop{false};
    std::vector<float> m_block;

public:
    struct Loopback;

private:
    Loopback* m_input = nullptr;
};
