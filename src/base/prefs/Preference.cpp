#include "prefs/Preference.h"

#include "failsafe/modFailSafe.h"
#include "prefs/REG_MODULE.h"

void Preference::setPreferenceName(const QString& name) {
    FS_PROC("Preference", "Property (Let) PreferenceName", FS_ARG(name));
    m_name = name;
    const QString stored = GetKeyValue(kPreferencesKey, name, regtype::REG_BINARY).toString();
    m_value = stored.isEmpty() ? QStringLiteral("N/A") : stored;
}

bool Preference::setValue(const QVariant& value) {
    FS_PROC("Preference", "Property (Let) Value", FS_ARG(value));
    m_value = value;
    return SetKeyValue(kPreferencesKey, m_name, value, regtype::REG_BINARY);
}
