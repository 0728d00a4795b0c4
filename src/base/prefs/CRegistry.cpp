#include "prefs/CRegistry.h"

#include "app/AppPaths.h"
#include "failsafe/AppError.h"
#include "failsafe/modFailSafe.h"
#include "prefs/REG_MODULE.h"

#include <QSettings>

namespace {
const char* const kModule = "CRegistry";

[[noreturn]] void fail(const QString& text) {
    raiseError(errnum::ComponentFailure, text, QStringLiteral("Cantavox.CRegistry"));
}

// A marker value keeps a created key in the file even while it holds no values of its own.
const QString kKeyMarker = QStringLiteral(".key");
} // namespace

void CRegistry::setKeyName(const QString& keyName) {
    FS_PROC(kModule, "Property (Let) KeyName", FS_ARG(keyName));
    QString k = keyName;
    while (k.endsWith(u'\\'))
        k.chop(1);
    if (k.isEmpty() || k.contains(QStringLiteral("\\\\")) || k.startsWith(u'\\'))
        fail(QStringLiteral("Invalid KeyName value"));
    m_keyName = k;
}

QString CRegistry::group() const {
    if (m_keyName.isEmpty())
        fail(QStringLiteral("Invalid KeyName value"));
    const QString g = groupForKey(m_keyName);
    return m_root == LocalMachine ? QStringLiteral("Machine/") + g : g;
}

void CRegistry::CreateKey() {
    FS_PROC(kModule, "Sub CreateKey");
    QSettings s(settingsFile(), QSettings::IniFormat);
    s.setValue(group() + u'/' + kKeyMarker, QString());
    s.sync();
    if (s.status() != QSettings::NoError)
        fail(QStringLiteral("CRegistry component failure"));
}

void CRegistry::DeleteKey() {
    FS_PROC(kModule, "Sub DeleteKey");
    QSettings s(settingsFile(), QSettings::IniFormat);
    s.remove(group());
    s.sync();
    if (s.status() != QSettings::NoError)
        fail(QStringLiteral("CRegistry component failure"));
}

void CRegistry::DeleteValue(const QString& valueName) {
    FS_PROC(kModule, "Sub DeleteValue", FS_ARG(valueName));
    QSettings s(settingsFile(), QSettings::IniFormat);
    s.remove(group() + u'/' + valueName);
    s.sync();
    if (s.status() != QSettings::NoError)
        fail(QStringLiteral("CRegistry component failure"));
}

QStringList CRegistry::EnumerateSubKeys() const {
    FS_PROC(kModule, "Function EnumerateSubKeys");
    QSettings s(settingsFile(), QSettings::IniFormat);
    s.beginGroup(group());
    return s.childGroups();
}

QStringList CRegistry::EnumerateValues() const {
    FS_PROC(kModule, "Function EnumerateValues");
    QSettings s(settingsFile(), QSettings::IniFormat);
    s.beginGroup(group());
    QStringList keys = s.childKeys();
    keys.removeAll(kKeyMarker);
    return keys;
}

QVariant CRegistry::ReadValue(const QString& valueName, int* valueType) const {
    FS_PROC(kModule, "Function ReadValue", FS_ARG(valueName));
    QSettings s(settingsFile(), QSettings::IniFormat);
    const QVariant v = s.value(group() + u'/' + valueName);
    if (!v.isValid()) {
        if (valueType)
            *valueType = 0;
        return {};
    }
    const QString text = v.toString();
    bool isNumber = false;
    const qint32 n = text.toInt(&isNumber);
    if (valueType)
        *valueType = isNumber ? regtype::REG_DWORD : regtype::REG_SZ;
    return isNumber ? QVariant(n) : QVariant(text);
}

bool CRegistry::KeyExists() const {
    FS_PROC(kModule, "Function KeyExists");
    QSettings s(settingsFile(), QSettings::IniFormat);
    const QString g = group();
    const QStringList parts = g.split(u'/');
    for (int i = 0; i < parts.size() - 1; ++i)
        s.beginGroup(parts[i]);
    return s.childGroups().contains(parts.last());
}

void CRegistry::WriteValue(const QString& valueName, const QVariant& value) {
    FS_PROC(kModule, "Sub WriteValue", FS_ARG(valueName), FS_ARG(value));
    QSettings s(settingsFile(), QSettings::IniFormat);
    s.setValue(group() + u'/' + valueName, storeText(value));
    s.sync();
    if (s.status() != QSettings::NoError)
        fail(QStringLiteral("CRegistry component failure"));
}
