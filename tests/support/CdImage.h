#pragma once

// Disc images for image drives (CANTAVOX_CD): a drive is a folder, a disc in it is
// "disc.bin" with "disc.cue" beside it. The audio counts frames: at the disc's frame f (from
// its first sector) the left sample holds f modulo 32768 and the right one f / 32768, so a
// reader can tell exactly which frame every sample it got back came from.
#include <QList>
#include <QString>
#include <QtGlobal>

namespace cdimage {

struct Track {
    double seconds = 60.0;
    bool audio = true;
    QString title;
};
struct Disc {
    QList<Track> tracks;
    QString title, performer;
};

// Writes the bin, then renames the cue sheet into place, as a disc arrives whole.
bool insert(const QString& driveFolder, const Disc& disc);
// Takes the disc out: the cue sheet goes.
bool eject(const QString& driveFolder);
// The disc frame a sample pair of the image came from.
inline qint64 frameOf(qint16 left, qint16 right) {
    return qint64(quint16(right)) * 32768 + quint16(left);
}
// Sectors of a track of so many seconds.
inline qint32 sectorsOf(double seconds) {
    return qint32(seconds * 75 + 0.5);
}

} // namespace cdimage
