#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <vector>

// A single-producer single-consumer ring of floats, allocated once: recorded sound on its way
// from the audio thread to the UI thread. What doesn't fit is dropped and counted.
//
// Threads: write() on one thread, read() on another.
class SampleRing {
public:
    explicit SampleRing(size_t capacity) : m_data(capacity) {}

    void write(const float* in, size_t n) noexcept {
        const std::uint64_t head = m_head.load(std::memory_order_relaxed);
        const std::uint64_t tail = m_tail.load(std::memory_order_acquire);
        const size_t room = m_data.size() - size_t(head - tail);
        const size_t take = std::min(n, room);
        for (size_t i = 0; i < take; ++i)
            m_data[(head + i) % m_data.size()] = in[i];
        m_head.store(head + take, std::memory_order_release);
        if (take < n)
            m_dropped.fetch_add(n - take, std::memory_order_relaxed);
    }

    // Appends everything waiting to out.
    void read(std::vector<float>& out) {
        const std::uint64_t tail = m_tail.load(std::memory_order_relaxed);
        const std::uint64_t head = m_head.load(std::memory_order_acquire);
        for (std::uint64_t i = tail; i < head; ++i)
            out.push_back(m_data[i % m_data.size()]);
        m_tail.store(head, std::memory_order_release);
    }

    // Takes up to n floats into out; returns how many. Never allocates.
    size_t readInto(float* out, size_t n) noexcept {
        const std::uint64_t tail = m_tail.load(std::memory_order_relaxed);
        const std::uint64_t head = m_head.load(std::memory_order_acquire);
        const size_t take = std::min<size_t>(n, size_t(head - tail));
        for (size_t i = 0; i < take; ++i)
            out[i] = m_data[(tail + i) % m_data.size()];
        m_tail.store(tail + take, std::memory_order_release);
        return take;
    }

    // Room left for the writer.
    size_t room() const noexcept {
        return m_data.size() - size_t(m_head.load(std::memory_order_acquire) -
                                      m_tail.load(std::memory_order_acquire));
    }

    std::uint64_t dropped() const { return m_dropped.load(std::memory_order_relaxed); }

private:
    std::vector<float> m_data;
    std::atomic<std::uint64_t> m_head{0};
    std::atomic<std::uint64_t> m_tail{0};
    std::atomic<std::uint64_t> m_dropped{0};
};
