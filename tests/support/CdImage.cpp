#include "CdImage.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QtEndian>

namespace cdimage {
namespace {

QString msf(qint32 sectors) {
    return QStringLiteral("%1:%2:%3")
        .arg(sectors / 75 / 60, 2, 10, QLatin1Char('0'))
        .arg(sectors / 75 % 60, 2, 10, QLatin1Char('0'))
        .arg(sectors % 75, 2, 10, QLatin1Char('0'));
}

QString quoted(const QString& text) {
    QString t = text;
    t.replace(u'"', u'\'');
    return u'"' + t + u'"';
}

} // namespace

bool insert(const QString& driveFolder, const Disc& disc) {
    if (!QDir().mkpath(driveFolder))
        return false;
    QFile bin(driveFolder + QStringLiteral("/disc.bin"));
    if (!bin.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    QString cue;
    if (!disc.performer.isEmpty())
        cue += QStringLiteral("PERFORMER ") + quoted(disc.performer) + u'\n';
    if (!disc.title.isEmpty())
        cue += QStringLiteral("TITLE ") + quoted(disc.title) + u'\n';
    cue += QStringLiteral("FILE \"disc.bin\" BINARY\n");
    qint32 sector = 0;
    QByteArray block(2352, '\0');
    for (int i = 0; i < disc.tracks.size(); ++i) {
        const Track& t = disc.tracks[i];
        cue += QStringLiteral("  TRACK %1 %2\n")
                   .arg(i + 1, 2, 10, QLatin1Char('0'))
                   .arg(t.audio ? QStringLiteral("AUDIO") : QStringLiteral("MODE1/2352"));
        if (!t.title.isEmpty())
            cue += QStringLiteral("    TITLE ") + quoted(t.title) + u'\n';
        cue += QStringLiteral("    INDEX 01 ") + msf(sector) + u'\n';
        const qint32 sectors = sectorsOf(t.seconds);
        for (qint32 s = 0; s < sectors; ++s, ++sector) {
            if (t.audio) {
                auto* samples = reinterpret_cast<qint16*>(block.data());
                for (int f = 0; f < 588; ++f) {
                    const qint64 frame = qint64(sector) * 588 + f;
                    samples[2 * f] = qToLittleEndian(qint16(frame % 32768));
                    samples[2 * f + 1] = qToLittleEndian(qint16(frame / 32768));
                }
            } else {
                block.fill('\0');
            }
            if (bin.write(block) != block.size())
                return false;
        }
    }
    bin.close();
    // The cue sheet arrives last and whole; libcdio reads its names as Latin-1.
    QSaveFile sheet(driveFolder + QStringLiteral("/disc.cue"));
    if (!sheet.open(QIODevice::WriteOnly))
        return false;
    sheet.write(cue.toLatin1());
    return sheet.commit();
}

bool eject(const QString& driveFolder) {
    return QFile::remove(driveFolder + QStringLiteral("/disc.cue"));
}

} // namespace cdimage
