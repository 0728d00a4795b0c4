#include "app/AppPaths.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

QString appDir() {
    QString dir = qEnvironmentVariable("CANTAVOX_HOME");
    if (dir.isEmpty())
        dir = QDir::homePath() + QStringLiteral("/.local/share/Cantavox");
    dir = QDir::cleanPath(dir);
    return dir;
}

QString settingsFile() {
    const QString dir = appDir();
    return (dir.endsWith(u'/') ? dir : dir + u'/') + QStringLiteral("Cantavox.conf");
}

QString shareDir() {
    // Beside the binary while running from the build tree, the install prefix otherwise.
    const QString local = QCoreApplication::applicationDirPath() + QStringLiteral("/share");
    if (QFileInfo::exists(local))
        return local;
    return QStringLiteral(CANTAVOX_SHARE_DIR);
}

void ensureResources() {
    // The resources live in a static library: register them before the first use.
    static const bool done = [] {
        Q_INIT_RESOURCE(library);
        return true;
    }();
    Q_UNUSED(done);
}
