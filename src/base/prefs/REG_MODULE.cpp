#include "prefs/REG_MODULE.h"

#include "app/AppPaths.h"
#include "failsafe/modFailSafe.h"

#include <QSettings>
#include <memory>

const QString kPreferencesKey =
    QStringLiteral("Software\\VB and VBA Program Settings\\Cantavox\\Preferences");

namespace {
const char* const kModule = "REG_MODULE";
const QString kVbPrefix = QStringLiteral("Software\\VB and VBA Program Settings\\");

// One QSettings per settings file; a new program folder (tests change it) gets a new one.
QSettings& store() {
    static std::unique_ptr<QSettings> settings;
    const QString path = settingsFile();
    if (!settings || settings->fileName() != path) {
        settings = std::make_unique<QSettings>(path, QSettings::IniFormat);
        settings->setAtomicSyncRequired(true);
    }
    return *settings;
}

bool writeValue(const QString& group, const QString& name, const QString& text) {
    QSettings& s = store();
    s.beginGroup(group);
    s.setValue(name, text);
    s.endGroup();
    s.sync();
    return s.status() == QSettings::NoError;
}

QVariant readValue(const QString& group, const QString& name) {
    QSettings& s = store();
    // Someone else (another run, a test) may have changed the file.
    s.sync();
    if (s.status() == QSettings::AccessError)
        return {};
    s.beginGroup(group);
    QVariant v = s.value(name);
    s.endGroup();
    // A garbled file can give lists or other kinds; only text counts.
    if (v.metaType().id() == QMetaType::QStringList)
        return v.toStringList().join(QStringLiteral(", "));
    return v;
}
} // namespace

QString groupForKey(const QString& sKeyName) {
    QString key = sKeyName;
    while (key.endsWith(u'\\'))
        key.chop(1);
    if (key.startsWith(kVbPrefix, Qt::CaseInsensitive)) {
        const QStringList parts = key.mid(kVbPrefix.size()).split(u'\\', Qt::SkipEmptyParts);
        // "<app>\<section>[\...]": the section names the group.
        return parts.size() >= 2 ? parts.mid(1).join(u'/') : parts.value(0);
    }
    return QString(key).replace(u'\\', u'/');
}

QString storeText(const QVariant& value) {
    if (value.metaType().id() == QMetaType::Bool)
        return value.toBool() ? QStringLiteral("True") : QStringLiteral("False");
    if (value.metaType().id() == QMetaType::Double || value.metaType().id() == QMetaType::Float)
        return QString::number(value.toDouble(), 'g', 15);
    return value.toString();
}

bool SetKeyValue(const QString& sKeyName, const QString& sValueName, const QVariant& vValueSetting,
                 int lValueType) {
    FS_PROC(kModule, "Function SetKeyValue", FS_ARG(sKeyName), FS_ARG(sValueName),
            FS_ARG(lValueType));
    QString text;
    if (lValueType == regtype::REG_DWORD)
        text = QString::number(static_cast<qint32>(vValueSetting.toLongLong()));
    else
        text = storeText(vValueSetting);
    return writeValue(groupForKey(sKeyName), sValueName, text);
}

QVariant GetKeyValue(const QString& sKeyName, const QString& sValueName, int lValueType) {
    FS_PROC(kModule, "Function GetKeyValue", FS_ARG(sKeyName), FS_ARG(sValueName),
            FS_ARG(lValueType));
    const QVariant v = readValue(groupForKey(sKeyName), sValueName);
    if (!v.isValid())
        return {};
    if (lValueType == regtype::REG_DWORD) {
        bool ok = false;
        const qint32 n = v.toString().toInt(&ok);
        return ok ? QVariant(n) : QVariant();
    }
    // The classic read buffer holds 255 characters.
    return v.toString().left(255);
}

bool SaveSetting(const QString& appName, const QString& section, const QString& key,
                 const QString& setting) {
    FS_PROC(kModule, "Function SaveSetting", FS_ARG(appName), FS_ARG(section), FS_ARG(key));
    Q_UNUSED(appName);
    return writeValue(section, key, setting);
}

QString GetSetting(const QString& appName, const QString& section, const QString& key,
                   const QString& defaultValue) {
    FS_PROC(kModule, "Function GetSetting", FS_ARG(appName), FS_ARG(section), FS_ARG(key));
    Q_UNUSED(appName);
    const QVariant v = readValue(section, key);
    return v.isValid() ? v.toString() : defaultValue;
}

bool DeleteSetting(const QString& appName, const QString& section, const QString& key) {
    FS_PROC(kModule, "Function DeleteSetting", FS_ARG(appName), FS_ARG(section), FS_ARG(key));
    Q_UNUSED(appName);
    QSettings& s = store();
    s.beginGroup(section);
    if (key.isEmpty())
        s.remove(QString());
    else
        s.remove(key);
    s.endGroup();
    s.sync();
    return s.status() == QSettings::NoError;
}
