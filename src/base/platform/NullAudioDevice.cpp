#include "platform/NullAudioDevice.h"

#include <algorithm>
#include <cmath>
#include <mutex>

// The loopback: a recording null input hears what null outputs play. Only the null
// devices' own threads and the UI thread touch it, never a real-time callback.
struct NullAudioDevice::Loopback {
    AudioDevice::Format format;
    AudioDevice::Sink* sink = nullptr;
    std::vector<float> converted;
    double phase = 0; // read position in the played block, in its frames
};

namespace {
std::mutex g_busLock;
std::vector<NullAudioDevice::Loopback*>* g_inputs() {
    static std::vector<NullAudioDevice::Loopback*> inputs;
    return &inputs;
}
} // namespace

NullAudioDevice::NullAudioDevice(double speed)
    : m_speed(speed), m_epoch(std::chrono::steady_clock::now()) {}

NullAudioDevice::~NullAudioDevice() {
    stopOutput();
    stopInput();
}

double NullAudioDevice::now() const {
    const std::chrono::duration<double> real = std::chrono::steady_clock::now() - m_epoch;
    return real.count() * m_speed;
}

bool NullAudioDevice::startOutput(const Format& format, Source* source, QString& error) {
    if (format.rate <= 0 || format.channels <= 0) {
        error = QStringLiteral("The null device can't play %1 channels at %2 Hz.")
                    .arg(format.channels)
                    .arg(format.rate);
        return false;
    }
    stopOutput();
    m_outFormat = format;
    m_source = source;
    m_stop = false;
    m_outThread = std::thread([this] { runOutput(); });
    return true;
}

void NullAudioDevice::stopOutput() {
    if (!m_outThread.joinable())
        return;
    m_stop = true;
    m_outThread.join();
    m_source = nullptr;
}

void NullAudioDevice::runOutput() {
    // 5 ms of device time a tick; at high speeds the ticks grow instead of coming faster,
    // so the thread wakes at most every 5 ms of real time.
    const int frames =
        std::max(64, int(std::lround(m_outFormat.rate * 0.005 * std::max(1.0, m_speed))));
    m_block.assign(size_t(frames) * size_t(m_outFormat.channels), 0.0f);
    const double tickDeviceSeconds = double(frames) / m_outFormat.rate;
    double deviceTime = now();
    while (!m_stop.load(std::memory_order_relaxed)) {
        const RenderStats stats = m_source->render(m_block.data(), frames, deviceTime);
        count(stats);
        {
            std::lock_guard lock(g_busLock);
            for (Loopback* in : *g_inputs()) {
                // Channels averaged or copied, rate by nearest frame: a test signal's shape
                // survives, which is all the loopback is for.
                const double step = double(m_outFormat.rate) / in->format.rate;
                in->converted.clear();
                while (in->phase < frames) {
                    const int src = int(in->phase);
                    for (int c = 0; c < in->format.channels; ++c) {
                        float v = 0;
                        if (in->format.channels == m_outFormat.channels)
                            v = m_block[size_t(src * m_outFormat.channels + c)];
                        else {
                            for (int k = 0; k < m_outFormat.channels; ++k)
                                v += m_block[size_t(src * m_outFormat.channels + k)];
                            v /= float(m_outFormat.channels);
                        }
                        in->converted.push_back(v);
                    }
                    in->phase += step;
                }
                in->phase -= frames;
                in->sink->capture(in->converted.data(),
                                  int(in->converted.size()) / in->format.channels);
            }
        }
        deviceTime += tickDeviceSeconds;
        const auto due = m_epoch + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                                       std::chrono::duration<double>(deviceTime / m_speed));
        std::this_thread::sleep_until(due);
    }
}

bool NullAudioDevice::startInput(const Format& format, Sink* sink, QString& error) {
    if (format.rate <= 0 || format.channels <= 0) {
        error = QStringLiteral("The null device can't record %1 channels at %2 Hz.")
                    .arg(format.channels)
                    .arg(format.rate);
        return false;
    }
    stopInput();
    m_input = new Loopback{format, sink, {}, 0};
    std::lock_guard lock(g_busLock);
    g_inputs()->push_back(m_input);
    return true;
}

void NullAudioDevice::stopInput() {
    if (!m_input)
        return;
    {
        std::lock_guard lock(g_busLock);
        auto* inputs = g_inputs();
        inputs->erase(std::remove(inputs->begin(), inputs->end(), m_input), inputs->end());
    }
    delete m_input;
    m_input = nullptr;
}
