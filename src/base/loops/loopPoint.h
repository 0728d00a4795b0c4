#pragma once

#include <QString>

// One mark taken while the musician marks loops by ear.
//
// Thread: UI thread only.
class loopPoint {
public:
    // The position in milliseconds as seven digits with leading zeros (more for a position of
    // 10,000,000 ms or beyond).
    QString Key;
    QString startTimeMs;
    // The position display's text when the mark was taken; on a disc its first two
    // characters are the track number.
    QString startTimeTTMMSS;
};
