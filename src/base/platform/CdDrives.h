#pragma once

#include <QList>
#include <QString>
#include <optional>

// The CD drives of this machine, in the order they are found, each with the letter the
// program calls it by: the first is "D", the next "E", and so on. Real drives come from
// libcdio. With CANTAVOX_CD=<folder> (a machine without drives, and the tests) the drives
// are image drives instead: one sub-folder each, in name order, holding a disc while it
// holds "disc.cue" beside its "disc.bin".
//
// Thread: any; nothing is cached.
struct CdDrive {
    QString letter; // "D", "E", ...
    QString device; // "/dev/sr0", or the image drive's folder
    bool image = false;

    // "D: /dev/sr0", as the drive is shown to the user.
    QString shownName() const { return letter + QStringLiteral(": ") + device; }
    // The cue sheet of an image drive's disc (whether there or not).
    QString cuePath() const { return device + QStringLiteral("/disc.cue"); }
};

class CdDrives {
public:
    static QList<CdDrive> list();
    // The folder of the image drives, empty when the real drives are used.
    static QString imageRoot();
    // All letters run together ("DE"), and the n-th drive's letter from 1 (empty if none).
    static QString letters();
    static QString nthLetter(int n);
    // The drive of that letter, without regard to case.
    static std::optional<CdDrive> byLetter(const QString& letter);
};
