#include "platform/PortAudioDevice.h"

#include <QMutex>
#include <portaudio.h>

namespace {
// PortAudio is initialised once per user of it; its own count pairs the calls.
bool initialise(QString& why) {
    const PaError e = Pa_Initialize();
    if (e != paNoError) {
        why = QString::fromUtf8(Pa_GetErrorText(e));
        return false;
    }
    return true;
}

QString paText(PaError e) {
    return QString::fromUtf8(Pa_GetErrorText(e));
}
} // namespace

bool PortAudioDevice::available(QString& why) {
    if (!initialise(why))
        return false;
    bool ok = true;
    const PaDeviceIndex out = Pa_GetDefaultOutputDevice();
    if (out == paNoDevice) {
        why = QStringLiteral("there is no sound output");
        ok = false;
    } else {
        // A device that lists itself but won't open a plain stream is no use either.
        PaStream* probe = nullptr;
        const PaError e =
            Pa_OpenDefaultStream(&probe, 0, 2, paFloat32, 44100, 256, nullptr, nullptr);
        if (e != paNoError) {
            why = paText(e);
            ok = false;
        } else
            Pa_CloseStream(probe);
    }
    Pa_Terminate();
    return ok;
}

PortAudioDevice::PortAudioDevice() {
    QString why;
    m_initialised = initialise(why);
}

PortAudioDevice::~PortAudioDevice() {
    stopOutput();
    stopInput();
    if (m_initialised)
        Pa_Terminate();
}

int PortAudioDevice::outputCallback(const void*, void* output, unsigned long frames,
                                    const PaStreamCallbackTimeInfo* time, unsigned long,
                                    void* self) {
    auto* d = static_cast<PortAudioDevice*>(self);
    // Some hosts leave the DAC time at 0; the stream time plus the latency is close enough.
    double dac = time ? time->outputBufferDacTime : 0;
    if (dac <= 0 && time)
        dac = time->currentTime + d->m_outputLatency;
    d->count(d->m_source->render(static_cast<float*>(output), int(frames), dac));
    return paContinue;
}

int PortAudioDevice::inputCallback(const void* input, void*, unsigned long frames,
                                   const PaStreamCallbackTimeInfo*, unsigned long, void* self) {
    auto* d = static_cast<PortAudioDevice*>(self);
    if (input)
        d->m_sink->capture(static_cast<const float*>(input), int(frames));
    return paContinue;
}

bool PortAudioDevice::startOutput(const Format& format, Source* source, QString& error) {
    if (!m_initialised) {
        error = QStringLiteral("The sound system could not be started.");
        return false;
    }
    stopOutput();
    m_source = source;
    m_channels = format.channels;
    PaStreamParameters p{};
    p.device = Pa_GetDefaultOutputDevice();
    if (p.device == paNoDevice) {
        error = QStringLiteral("There is no sound output device.");
        return false;
    }
    p.channelCount = format.channels;
    p.sampleFormat = paFloat32;
    p.suggestedLatency = Pa_GetDeviceInfo(p.device)->defaultLowOutputLatency;
    PaError e = Pa_OpenStream(&m_out, nullptr, &p, format.rate, paFramesPerBufferUnspecified,
                              paNoFlag, &PortAudioDevice::outputCallback, this);
    if (e != paNoError) {
        m_out = nullptr;
        error = QStringLiteral("The sound device can't play %1 channels at %2 Hz: %3")
                    .arg(format.channels)
                    .arg(format.rate)
                    .arg(paText(e));
        return false;
    }
    if (const PaStreamInfo* info = Pa_GetStreamInfo(m_out))
        m_outputLatency = info->outputLatency;
    e = Pa_StartStream(m_out);
    if (e != paNoError) {
        Pa_CloseStream(m_out);
        m_out = nullptr;
        error = paText(e);
        return false;
    }
    return true;
}

void PortAudioDevice::stopOutput() {
    if (!m_out)
        return;
    Pa_StopStream(m_out);
    Pa_CloseStream(m_out);
    m_out = nullptr;
}

bool PortAudioDevice::startInput(const Format& format, Sink* sink, QString& error) {
    if (!m_initialised) {
        error = QStringLiteral("The sound system could not be started.");
        return false;
    }
    stopInput();
    m_sink = sink;
    PaStreamParameters p{};
    p.device = Pa_GetDefaultInputDevice();
    if (p.device == paNoDevice) {
        error = QStringLiteral("There is no sound input device.");
        return false;
    }
    p.channelCount = format.channels;
    p.sampleFormat = paFloat32;
    p.suggestedLatency = Pa_GetDeviceInfo(p.device)->defaultLowInputLatency;
    PaError e = Pa_OpenStream(&m_in, &p, nullptr, format.rate, paFramesPerBufferUnspecified,
                              paNoFlag, &PortAudioDevice::inputCallback, this);
    if (e != paNoError) {
        m_in = nullptr;
        error = QStringLiteral("The sound device can't record %1 channels at %2 Hz: %3")
                    .arg(format.channels)
                    .arg(format.rate)
                    .arg(paText(e));
        return false;
    }
    e = Pa_StartStream(m_in);
    if (e != paNoError) {
        Pa_CloseStream(m_in);
        m_in = nullptr;
        error = paText(e);
        return false;
    }
    return true;
}

void PortAudioDevice::stopInput() {
    if (!m_in)
        return;
    Pa_StopStream(m_in);
    Pa_CloseStream(m_in);
    m_in = nullptr;
}

double PortAudioDevice::now() const {
    return m_out ? Pa_GetStreamTime(m_out) : 0.0;
}
