#pragma once

// Sets the recording input to what the sound device plays, so that a disc played into the
// sound device can be captured: a drive without an analog cable has no input of its own.
// Where a sound server runs (PulseAudio, or PipeWire in its place) the next recording stream
// takes the monitor of the default output; the null device's recordings always hear what it
// plays. Returns 0; the caller keeps the result without looking at it.
//
// Thread: UI thread, before the recording stream opens.
long SelectCDInput();
