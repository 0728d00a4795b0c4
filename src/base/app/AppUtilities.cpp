#include "app/AppUtilities.h"

#include "failsafe/modFailSafe.h"

#include <QDir>

namespace {
const char* const kModule = "AppUtilities";
}

QString instrRev(const QString& strToSearch, const QString& searchChars) {
    FS_PROC(kModule, "Function instrRev", FS_ARG(strToSearch), FS_ARG(searchChars));
    for (qsizetype i = strToSearch.size() - 1; i >= 0; --i) {
        if (searchChars.contains(strToSearch[i]))
            return QString::number(i + 1);
    }
    return QStringLiteral("0");
}

QString extractPathFromFullPath(const QString& source) {
    FS_PROC(kModule, "Function extractPathFromFullPath", FS_ARG(source));
    return source.left(source.lastIndexOf(u'/') + 1);
}

QString extractFilenameFromFullPath(const QString& source) {
    FS_PROC(kModule, "Function extractFilenameFromFullPath", FS_ARG(source));
    return source.mid(source.lastIndexOf(u'/') + 1);
}

QString extractExtensionFromFilename(const QString& fn) {
    FS_PROC(kModule, "Function extractExtensionFromFilename", FS_ARG(fn));
    const qsizetype dot = fn.lastIndexOf(u'.');
    return dot < 0 ? QString() : fn.mid(dot + 1);
}

void parsePath(const QString& source, QString& pathStr, QString& nameStr) {
    FS_PROC(kModule, "Sub parsePath", FS_ARG(source));
    const qsizetype slash = source.lastIndexOf(u'/');
    pathStr = slash < 0 ? QString() : source.left(slash);
    nameStr = slash < 0 ? QString() : source.mid(slash + 1);
}

bool splitStr(const QString& sourceStr, const QString& delimiters, QStringList& ta,
              int upperBound) {
    FS_PROC(kModule, "Function splitStr", FS_ARG(sourceStr), FS_ARG(delimiters));
    ta.clear();
    QString current;
    for (QChar c : sourceStr) {
        if (delimiters.contains(c)) {
            if (!current.isEmpty()) {
                ta.append(current);
                current.clear();
                if (ta.size() > upperBound)
                    return true;
            }
        } else {
            current += c;
        }
    }
    if (!current.isEmpty() && ta.size() <= upperBound)
        ta.append(current);
    return true;
}

int Ascii(const QString& str) {
    FS_PROC(kModule, "Function Ascii", FS_ARG(str));
    return str.isEmpty() ? 0 : str.at(0).unicode();
}

void deleteTree(const QString& path) {
    FS_PROC(kModule, "Sub deleteTree", FS_ARG(path));
    QString dir = path;
    if (!dir.isEmpty())
        dir.chop(1);
    if (dir.isEmpty() || QDir(dir).isRoot())
        return;
    QDir(dir).removeRecursively();
}
