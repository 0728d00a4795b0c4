#pragma once

#include <QByteArray>
#include <QString>
#include <vector>

// Sound files for tests, made here rather than shipped: sines through libsndfile in any
// format it writes, and raw byte-level WAVs for the malformed cases.
namespace wavgen {

struct Format {
    int rate = 44100;
    int channels = 2;
    // A libsndfile subtype: SF_FORMAT_PCM_16, _PCM_U8, _PCM_24, _PCM_32, _FLOAT.
    int subtype = 0x0002;
    // WAVE_FORMAT_EXTENSIBLE header instead of the plain one.
    bool extensible = false;
};

// A sine of that frequency and length; each channel a little quieter than the one before,
// so channels can be told apart. Returns false if the file could not be written.
bool writeSine(const QString& path, double seconds, double hz = 440.0, const Format& f = {});

// Three sines at a fifth of full scale each, the same on every channel: a held chord.
bool writeChord(const QString& path, double seconds, double hz1 = 220.0, double hz2 = 277.18,
                double hz3 = 329.63, const Format& f = {});

// A click every `interval` seconds (4 ms of a 1.7 kHz tone under a Hann envelope, peaking at
// 0.8) over a hum at 0.02 of full scale, the same on every channel: a metronome track.
bool writeClickTrack(const QString& path, double seconds, double interval = 0.25,
                     const Format& f = {});

// A drum loop: kick on beats 1 and 3, snare on 2 and 4, a hi-hat on every eighth, at that
// tempo from the first sample, the same on every channel.
bool writeDrumLoop(const QString& path, double seconds, double bpm = 120.0, const Format& f = {});

// A file whose sample n (per channel) holds the value n modulo 30000, as 16-bit PCM, so a
// reader can tell exactly which frame it got.
bool writeRamp(const QString& path, qint64 frames, int rate = 44100, int channels = 2);

// The bytes of a plain 16-bit PCM WAV holding `frames` frames of silence, with the RIFF
// and data sizes as given (-1: the true size).
QByteArray pcm16Bytes(qint64 frames, int channels, int rate, qint64 riffSize = -1,
                      qint64 dataSize = -1);

bool writeBytes(const QString& path, const QByteArray& bytes);

} // namespace wavgen
