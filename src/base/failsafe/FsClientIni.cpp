#include "failsafe/FsClientIni.h"

#include "app/AppPaths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cmath>

namespace {
const QString kFileName = QStringLiteral("FSCLIENT.INI");

bool isBlank(QChar c) {
    return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r';
}
} // namespace

QString FsClientIni::defaultPath() {
    const QString dir = appDir();
    const QString exact = dir + u'/' + kFileName;
    if (QFileInfo::exists(exact))
        return exact;
    // The name comes from a file system that ignores case; a copy written as "fsclient.ini"
    // is meant just as well.
    const QStringList names = QDir(dir).entryList(QDir::Files | QDir::Readable);
    for (const QString& name : names) {
        if (name.compare(kFileName, Qt::CaseInsensitive) == 0)
            return dir + u'/' + name;
    }
    return exact;
}

FsClientIni::FsClientIni(const QString& path) : m_path(path.isEmpty() ? defaultPath() : path) {
    QFile f(m_path);
    if (!QFileInfo(m_path).isFile() || !f.open(QIODevice::ReadOnly))
        return;
    m_exists = true;
    const QString text = QString::fromUtf8(f.readAll());
    QString section;
    bool inSection = false;
    for (QStringView raw : QStringView(text).split(u'\n')) {
        const QStringView line = raw.trimmed();
        if (line.isEmpty() || line.startsWith(u';'))
            continue;
        if (line.startsWith(u'[')) {
            const qsizetype close = line.indexOf(u']');
            // A header without its bracket still names the section up to the line's end.
            section = (close < 0 ? line.mid(1) : line.mid(1, close - 1)).trimmed().toString();
            section = section.toLower();
            inSection = true;
            continue;
        }
        if (!inSection)
            continue;
        const qsizetype eq = line.indexOf(u'=');
        if (eq <= 0)
            continue;
        QStringView value = line.mid(eq + 1).trimmed();
        if (value.size() >= 2 && (value.front() == u'"' || value.front() == u'\'') &&
            value.back() == value.front())
            value = value.mid(1, value.size() - 2);
        m_entries.append(
            Entry{section, line.left(eq).trimmed().toString().toLower(), value.toString()});
    }
}

QString FsClientIni::value(const QString& section, const QString& key, const QString& def) const {
    const QString s = section.trimmed().toLower();
    const QString k = key.trimmed().toLower();
    for (const Entry& e : m_entries) {
        if (e.section == s && e.key == k)
            return e.value;
    }
    return def;
}

double FsClientIni::number(const QString& section, const QString& key, const QString& def) const {
    return val(value(section, key, def));
}

double FsClientIni::val(const QString& text) {
    // Blanks inside a number don't end it ("1 2" is 12).
    QString s;
    s.reserve(text.size());
    for (QChar c : text) {
        if (!isBlank(c))
            s += c;
    }
    qsizetype i = 0;
    const qsizetype n = s.size();
    if (n >= 2 && s[0] == u'&') {
        const QChar kind = s[1].toUpper();
        int base = 0;
        if (kind == u'H')
            base = 16;
        else if (kind == u'O')
            base = 8;
        if (base == 0)
            return 0;
        qint64 v = 0;
        for (i = 2; i < n; ++i) {
            const char16_t c = s[i].toLower().unicode();
            int d = -1;
            if (c >= u'0' && c <= u'9')
                d = c - u'0';
            else if (c >= u'a' && c <= u'f')
                d = c - u'a' + 10;
            if (d < 0 || d >= base || v > 0xFFFFFFFFLL)
                break;
            v = v * base + d;
        }
        return static_cast<double>(v);
    }
    qsizetype end = 0;
    if (end < n && (s[end] == u'+' || s[end] == u'-'))
        ++end;
    const qsizetype digitsStart = end;
    while (end < n && s[end].isDigit() && s[end].unicode() < 128)
        ++end;
    bool anyDigit = end > digitsStart;
    if (end < n && s[end] == u'.') {
        ++end;
        const qsizetype fracStart = end;
        while (end < n && s[end].isDigit() && s[end].unicode() < 128)
            ++end;
        anyDigit = anyDigit || end > fracStart;
    }
    if (!anyDigit)
        return 0;
    QString number = s.left(end);
    if (end < n && (s[end].toUpper() == u'E' || s[end].toUpper() == u'D')) {
        qsizetype e = end + 1;
        if (e < n && (s[e] == u'+' || s[e] == u'-'))
            ++e;
        const qsizetype expStart = e;
        while (e < n && s[e].isDigit() && s[e].unicode() < 128)
            ++e;
        if (e > expStart)
            number = s.left(end) + u'e' + s.mid(end + 1, e - end - 1);
    }
    bool ok = false;
    const double v = number.toDouble(&ok);
    return ok && std::isfinite(v) ? v : 0;
}
