#pragma once

#include <QString>

// Positions as the disc display shows them (packed track/minute/second, "tt:mm:ss") and as
// everything else counts them (milliseconds, "mm:ss"). Frames are never converted: the frame
// byte is read past and written as 0.
//
// Thread: any (pure functions); they raise run-time errors as AppError.

// "tt:mm:ss" from bytes 0, 1, 2 of a packed TMSF value.
QString toTMS(qint32 tmsf);
// "mm:ss" from bytes 0, 1 of a packed MS value.
QString toMS(qint32 tmsf);
// tt + mm * 256 + ss * 65536 from "tt:mm:ss"; a fourth field is error 9.
qint32 to4byte(const QString& inn);
// "mm:ss" of milliseconds, truncated; from 32768 seconds up it is error 6.
QString mmss(qint32 timeInMs);
// The same text for a track length.
QString trackLengthMMSS(qint32 lengthMs);
// Characters 4-5 and 7-8 of "tt:mm:ss" as numbers; 0 on any error.
qint16 minutes(const QString& s);
qint16 seconds(const QString& s);
