#pragma once

#include "platform/AudioDevice.h"

typedef void PaStream;

// The sound card through PortAudio (ALSA, PipeWire or Pulse through ALSA, JACK): the
// default output and input devices, 32-bit float interleaved.
//
// Threads: start/stop on the UI thread; the source and sink are called on PortAudio's
// callback thread.
class PortAudioDevice : public AudioDevice {
public:
    PortAudioDevice();
    ~PortAudioDevice() override;

    // Whether PortAudio runs and has a default output device; why not in `why`.
    static bool available(QString& why);

    QString backendName() const override { return QStringLiteral("portaudio"); }
    bool startOutput(const Format& format, Source* source, QString& error) override;
    void stopOutput() override;
    bool outputRunning() const override { return m_out != nullptr; }
    bool startInput(const Format& format, Sink* sink, QString& error) override;
    void stopInput() override;
    double now() const override;

private:
    static int outputCallback(const void*, void* output, unsigned long frames,
                              const struct PaStreamCallbackTimeInfo* time, unsigned long,
                              void* self);
    static int inputCallback(const void* input, void*, unsigned long frames,
                             const struct PaStreamCallbackTimeInfo*, unsigned long, void* self);

    PaStream* m_out = nullptr;
    PaStream* m_in = nullptr;
    Source* m_source = nullptr;
    Sink* m_sink = nullptr;
    int m_channels = 2;
    double m_outputLatency = 0;
    bool m_initialised = false;
};
