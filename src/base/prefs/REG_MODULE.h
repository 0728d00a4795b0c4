#pragma once

#include <QString>
#include <QVariant>

// The settings store: one INI file, settingsFile(), with every value kept as text.
//
// Key names map to INI groups: the preferences key
// "Software\VB and VBA Program Settings\Cantavox\Preferences" is the group "Preferences";
// any other key name "Software\VB and VBA Program Settings\<app>\<section>" is the group
// "<section>", and a key name without that prefix is used as it stands with "\" read as "/".
// Application settings (SaveSetting/GetSetting) of application "Cantavox" are groups named by
// their section ("Previous", "Recent Files").
//
// Thread: UI thread only.

namespace regtype {
constexpr int REG_SZ = 1;
constexpr int REG_BINARY = 3;
constexpr int REG_DWORD = 4;
} // namespace regtype

extern const QString kPreferencesKey;

// The group an INI key name stands for.
QString groupForKey(const QString& sKeyName);

// Writes a value; false when the store could not be written.
bool SetKeyValue(const QString& sKeyName, const QString& sValueName, const QVariant& vValueSetting,
                 int lValueType);
// Reads a value; an empty value when it is missing or can't be read.
QVariant GetKeyValue(const QString& sKeyName, const QString& sValueName, int lValueType);

bool SaveSetting(const QString& appName, const QString& section, const QString& key,
                 const QString& setting);
QString GetSetting(const QString& appName, const QString& section, const QString& key,
                   const QString& defaultValue = {});
bool DeleteSetting(const QString& appName, const QString& section, const QString& key = {});

// Text form of a value as the store keeps it: digits for numbers, True/False for Booleans.
QString storeText(const QVariant& value);
