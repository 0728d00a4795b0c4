#include "platform/DesktopAutoplay.h"

#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QStringList>

namespace {
const QString kSchema = QStringLiteral("org.gnome.desktop.media-handling");
const QString kAudioCd = QStringLiteral("x-content/audio-cdda");
const QStringList kLists = {QStringLiteral("start-app"), QStringLiteral("open-folder"),
                            QStringLiteral("ignore")};

QString listKey(const QString& word) {
    return QStringLiteral("autorun-x-content-") + word;
}

bool runGsettings(const QStringList& args, QString* out) {
    const QString tool = QStandardPaths::findExecutable(QStringLiteral("gsettings"));
    if (tool.isEmpty())
        return false;
    QProcess p;
    p.start(tool, args);
    if (!p.waitForFinished(5000) || p.exitStatus() != QProcess::NormalExit || p.exitCode() != 0)
        return false;
    if (out)
        *out = QString::fromUtf8(p.readAllStandardOutput()).trimmed();
    return true;
}

// gsettings prints a string array as "['a', 'b']" or "@as []".
bool parseList(const QString& text, QStringList& items) {
    items.clear();
    QString t = text;
    if (t.startsWith(u"@as "))
        t = t.mid(4);
    if (!t.startsWith(u'[') || !t.endsWith(u']'))
        return false;
    static const QRegularExpression quoted(QStringLiteral("'((?:[^'\\\\]|\\\\.)*)'"));
    auto it = quoted.globalMatch(t);
    while (it.hasNext())
        items << it.next().captured(1);
    return true;
}

QString formatList(const QStringList& items) {
    QStringList quoted;
    for (const QString& s : items)
        quoted << u'\'' + s + u'\'';
    return u'[' + quoted.join(QStringLiteral(", ")) + u']';
}
} // namespace

bool DesktopAutoplay::available() {
    QString keys;
    if (!runGsettings({QStringLiteral("list-keys"), kSchema}, &keys))
        return false;
    return keys.split(u'\n').contains(listKey(QStringLiteral("start-app")));
}

DesktopAutoplay::Result DesktopAutoplay::readAudioCdAction(QString& action) {
    if (!available())
        return Result::NoDesktopSetting;
    action = QStringLiteral("ask");
    for (const QString& word : kLists) {
        QString text;
        QStringList items;
        if (!runGsettings({QStringLiteral("get"), kSchema, listKey(word)}, &text) ||
            !parseList(text, items))
            return Result::Failed;
        if (items.contains(kAudioCd)) {
            action = word;
            break;
        }
    }
    return Result::Ok;
}

DesktopAutoplay::Result DesktopAutoplay::writeAudioCdAction(const QString& actionIn) {
    if (!available())
        return Result::NoDesktopSetting;
    const QString action =
        actionIn.trimmed().isEmpty() ? QStringLiteral("ignore") : actionIn.trimmed().toLower();
    for (const QString& word : kLists) {
        QString text;
        QStringList items;
        if (!runGsettings({QStringLiteral("get"), kSchema, listKey(word)}, &text) ||
            !parseList(text, items))
            return Result::Failed;
        const bool want = word == action;
        if (want == items.contains(kAudioCd))
            continue;
        if (want)
            items << kAudioCd;
        else
            items.removeAll(kAudioCd);
        if (!runGsettings({QStringLiteral("set"), kSchema, listKey(word), formatList(items)},
                          nullptr))
            return Result::Failed;
    }
    return Result::Ok;
}
