#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>

// A general wrapper of the settings store for the error-trapping side: a root and a key name
// as state, and the operations on keys and values. Keys are INI groups of the settings file
// (see REG_MODULE.h for how a key name maps to a group); nested keys nest groups.
//
// Thread: UI thread only.
class CRegistry {
public:
    enum Root { CurrentUser = 0, LocalMachine = 1 };

    Root RootKey() const { return m_root; }
    void setRootKey(Root root) { m_root = root; }
    QString KeyName() const { return m_keyName; }
    // An empty name or one with empty parts ("a\\\\b") raises "Invalid KeyName value".
    void setKeyName(const QString& keyName);

    void CreateKey();
    void DeleteKey();
    void DeleteValue(const QString& valueName);
    QStringList EnumerateSubKeys() const;
    QStringList EnumerateValues() const;
    // The value and its type (1 text, 4 number).
    QVariant ReadValue(const QString& valueName, int* valueType = nullptr) const;
    bool KeyExists() const;
    void WriteValue(const QString& valueName, const QVariant& value);

private:
    QString group() const;
    Root m_root = CurrentUser;
    QString m_keyName;
};
