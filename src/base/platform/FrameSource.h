#pragma once

#include <QtGlobal>

// Sound that a player reads by frame: a file, or a disc. Interleaved float samples.
//
// Thread: format queries on any thread once open; read() on the one thread that plays it
// (the player's reader), never two at once.
class FrameSource {
public:
    virtual ~FrameSource() = default;
    virtual int rate() const = 0;
    virtual int channels() const = 0;
    virtual qint64 frames() const = 0;
    // Reads up to n frames from frame `from`; returns how many were read (0 at the end or on
    // a failure to read).
    virtual qint64 read(qint64 from, int n, float* out) = 0;
};
