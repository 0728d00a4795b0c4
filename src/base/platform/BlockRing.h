#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

// A single-producer single-consumer ring of fixed-size audio blocks, allocated once. The
// producer fills the block at back() and publishes it with push(); the consumer reads front()
// and frees it with pop(). Neither side allocates or locks.
//
// Threads: one producer thread and one consumer thread; reset() only while neither runs.
struct AudioBlock {
    std::uint64_t generation = 0;
    std::uint32_t pass = 0;
    std::int64_t startFrame = 0; // the file's frame of the first frame in the block
    int frames = 0;
    bool endsPass = false; // the last frame of the block is the last of the play
    std::vector<float> samples;
};

class BlockRing {
public:
    BlockRing(int blocks, int framesPerBlock, int channels)
        : m_blocks(size_t(blocks)), m_framesPerBlock(framesPerBlock) {
        for (AudioBlock& b : m_blocks)
            b.samples.assign(size_t(framesPerBlock) * size_t(channels), 0.0f);
    }

    int framesPerBlock() const { return m_framesPerBlock; }
    bool full() const {
        return m_head.load(std::memory_order_acquire) - m_tail.load(std::memory_order_acquire) >=
               m_blocks.size();
    }
    bool empty() const {
        return m_head.load(std::memory_order_acquire) == m_tail.load(std::memory_order_acquire);
    }
    // Producer side.
    AudioBlock& back() {
        return m_blocks[m_head.load(std::memory_order_relaxed) % m_blocks.size()];
    }
    void push() { m_head.fetch_add(1, std::memory_order_release); }
    // Consumer side.
    AudioBlock& front() {
        return m_blocks[m_tail.load(std::memory_order_relaxed) % m_blocks.size()];
    }
    void pop() { m_tail.fetch_add(1, std::memory_order_release); }

private:
    std::vector<AudioBlock> m_blocks;
    int m_framesPerBlock;
    std::atomic<std::uint64_t> m_head{0};
    std::atomic<std::uint64_t> m_tail{0};
};
