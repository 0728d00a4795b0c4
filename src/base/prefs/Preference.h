#pragma once

#include <QString>
#include <QVariant>

// One named preference. Setting the name reads the stored value at once ("N/A" when it is
// missing or empty); setting the value writes it to the store under the current name.
//
// Thread: UI thread only.
class Preference {
public:
    QString PreferenceName() const { return m_name; }
    void setPreferenceName(const QString& name);
    QVariant Value() const { return m_value; }
    // Returns false when the store could not be written (the object holds the value anyway).
    bool setValue(const QVariant& value);

private:
    QString m_name;
    QVariant m_value;
};
