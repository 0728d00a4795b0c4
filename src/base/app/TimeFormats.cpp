#include "app/TimeFormats.h"

#include "app/AppUtilities.h"
#include "failsafe/AppError.h"
#include "failsafe/modFailSafe.h"
#include "prefs/prefs.h"

namespace {
const char* const kModule = "main form";

QString twoDigits(int v) {
    return QStringLiteral("%1").arg(v, 2, 10, QLatin1Char('0'));
}

// The number in characters [start, start+2) of the text; 0 when they aren't there.
qint16 field(const QString& s, int start) {
    if (s.size() < start + 2)
        return 0;
    double v = vbVal(s.mid(start, 2));
    return static_cast<qint16>(v);
}
} // namespace

QString toTMS(qint32 tmsf) {
    FS_PROC(kModule, "Function toTMS", FS_ARG(tmsf));
    const quint32 u = static_cast<quint32>(tmsf);
    return twoDigits(u & 0xFF) + u':' + twoDigits((u >> 8) & 0xFF) + u':' +
           twoDigits((u >> 16) & 0xFF);
}

QString toMS(qint32 tmsf) {
    FS_PROC(kModule, "Function toMS", FS_ARG(tmsf));
    const quint32 u = static_cast<quint32>(tmsf);
    return twoDigits(u & 0xFF) + u':' + twoDigits((u >> 8) & 0xFF);
}

qint32 to4byte(const QString& inn) {
    FS_PROC(kModule, "Function to4byte", FS_ARG(inn));
    QStringList parts;
    splitStr(inn, QStringLiteral(":"), parts, 3);
    if (parts.size() > 3)
        raiseError(errnum::SubscriptOutOfRange);
    const double tt = parts.size() > 0 ? vbVal(parts[0]) : 0;
    const double mm = parts.size() > 1 ? vbVal(parts[1]) : 0;
    const double ss = parts.size() > 2 ? vbVal(parts[2]) : 0;
    return checkedInt32(tt + mm * 256 + ss * 65536);
}

QString mmss(qint32 timeInMs) {
    FS_PROC(kModule, "Function mmss", FS_ARG(timeInMs));
    const qint16 total = checkedInt16(static_cast<qint64>(timeInMs / 1000));
    const int m = total / 60;
    const int s = total % 60;
    return twoDigits(m) + u':' + twoDigits(s);
}

QString trackLengthMMSS(qint32 lengthMs) {
    FS_PROC(kModule, "Function trackLengthMMSS", FS_ARG(lengthMs));
    return mmss(lengthMs);
}

qint16 minutes(const QString& s) {
    FS_PROC(kModule, "Function minutes", FS_ARG(s));
    return field(s, 3);
}

qint16 seconds(const QString& s) {
    FS_PROC(kModule, "Function seconds", FS_ARG(s));
    return field(s, 6);
}
