#include "platform/CdDrives.h"

#include "platform/CdDisc.h"

#include <QDir>
#include <cdio/cdio.h>

QString CdDrives::imageRoot() {
    return qEnvironmentVariable("CANTAVOX_CD");
}

QList<CdDrive> CdDrives::list() {
    QList<CdDrive> drives;
    auto add = [&](const QString& device, bool image) {
        // Letters as a desktop would give them after the hard disk: D to Z.
        if (drives.size() >= 23)
            return;
        drives.append({QString(QChar(char16_t(u'D' + drives.size()))), device, image});
    };
    const QString root = imageRoot();
    if (!root.isEmpty()) {
        const QDir dir(root);
        for (const QString& name : dir.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name))
            add(dir.absoluteFilePath(name), true);
        return drives;
    }
    CdDisc::prepareLibrary();
    if (char** devices = cdio_get_devices(DRIVER_DEVICE)) {
        for (char** d = devices; *d; ++d)
            add(QString::fromLocal8Bit(*d), false);
        cdio_free_device_list(devices);
    }
    return drives;
}

QString CdDrives::letters() {
    QString all;
    for (const CdDrive& d : list())
        all += d.letter;
    return all;
}

QString CdDrives::nthLetter(int n) {
    const QList<CdDrive> drives = list();
    return n >= 1 && n <= drives.size() ? drives[n - 1].letter : QString();
}

std::optional<CdDrive> CdDrives::byLetter(const QString& letter) {
    for (const CdDrive& d : list())
        if (d.letter.compare(letter.left(1), Qt::CaseInsensitive) == 0)
            return d;
    return std::nullopt;
}
