#pragma once

#include <QString>

// Cuts a section out of a sound file: the destination is a WAV of the source's own format
// (sample type, channels, rate) holding the frames from startMs to endMs. Both ends are
// rounded to the nearest whole frame and held within the file.
//
// Returns the channel count, above 0. 0 or less means no file was written; the reason is in
// lastWaveSectionError(): -1 the source can't be read as sound, -2 the section is empty
// (its end not after its start, or wholly beyond the sound), -3 the destination can't be
// written (or filled: a full disk).
//
// Thread: any, one call at a time per destination.
qint16 extractWAVEfileSection(const QString& sourceFile, const QString& destinationFile,
                              qint32 startMs, qint32 endMs);
// The words for the last failure of extractWAVEfileSection on this thread.
QString lastWaveSectionError();
