#include "prefs/prefs.h"

#include "app/globals.h"
#include "failsafe/AppError.h"
#include "failsafe/modFailSafe.h"
#include "prefs/Preference.h"

#include <cmath>

namespace {
const char* const kModule = "globals";

// The stored text of a preference, with the default written on the first read.
QString storedOrDefault(const QString& prefName, const QVariant& defaultVal) {
    Preference pref;
    pref.setPreferenceName(prefName);
    if (pref.Value().toString() == u"N/A")
        pref.setValue(defaultVal);
    const QVariant v = pref.Value();
    if (v.metaType().id() == QMetaType::Bool)
        return v.toBool() ? QStringLiteral("True") : QStringLiteral("False");
    return v.toString();
}

// A failed write isn't reported: the variable already holds the new value.
void storePref(const QString& prefName, const QVariant& value) {
    Preference pref;
    pref.setPreferenceName(prefName);
    pref.setValue(value);
}

bool isNumericText(const QString& text, double& value) {
    QString t = text.trimmed();
    if (t.isEmpty())
        return false;
    bool ok = false;
    value = t.toDouble(&ok);
    return ok;
}
} // namespace

double vbVal(const QString& text) {
    QString t;
    t.reserve(text.size());
    for (QChar c : text)
        if (c != u' ' && c != u'\t' && c != u'\n' && c != u'\r')
            t += c;
    qsizetype i = 0;
    QString num;
    if (i < t.size() && (t[i] == u'-' || t[i] == u'+'))
        num += t[i++];
    bool digits = false, dot = false;
    while (i < t.size() && (t[i].isDigit() || (t[i] == u'.' && !dot))) {
        if (t[i] == u'.')
            dot = true;
        else
            digits = true;
        num += t[i++];
    }
    if (!digits)
        return 0;
    if (i < t.size() && (t[i] == u'e' || t[i] == u'E' || t[i] == u'd' || t[i] == u'D')) {
        QString exp = QStringLiteral("e");
        qsizetype j = i + 1;
        if (j < t.size() && (t[j] == u'-' || t[j] == u'+'))
            exp += t[j++];
        bool expDigits = false;
        while (j < t.size() && t[j].isDigit()) {
            exp += t[j++];
            expDigits = true;
        }
        if (expDigits)
            num += exp;
    }
    const double v = num.toDouble();
    return std::isfinite(v) ? v : 0;
}

bool vbCBool(const QVariant& value) {
    if (value.metaType().id() == QMetaType::Bool)
        return value.toBool();
    const QString t = value.toString().trimmed();
    if (t.compare(u"True", Qt::CaseInsensitive) == 0)
        return true;
    if (t.compare(u"False", Qt::CaseInsensitive) == 0)
        return false;
    double n = 0;
    if (isNumericText(t, n))
        return n != 0;
    raiseError(errnum::TypeMismatch);
}

void readPref(const QString& prefName, QString& targetVariable, const QVariant& defaultVal) {
    FS_PROC(kModule, "Sub readPref", FS_ARG(prefName), FS_ARG(targetVariable));
    targetVariable = storedOrDefault(prefName, defaultVal);
}

void readPref(const QString& prefName, bool& targetVariable, const QVariant& defaultVal) {
    FS_PROC(kModule, "Sub readPref", FS_ARG(prefName), FS_ARG(targetVariable));
    targetVariable = vbCBool(storedOrDefault(prefName, defaultVal));
}

void readPref(const QString& prefName, qint16& targetVariable, const QVariant& defaultVal) {
    FS_PROC(kModule, "Sub readPref", FS_ARG(prefName), FS_ARG(targetVariable));
    targetVariable = checkedInt16(vbVal(storedOrDefault(prefName, defaultVal)));
}

void readPref(const QString& prefName, qint32& targetVariable, const QVariant& defaultVal) {
    FS_PROC(kModule, "Sub readPref", FS_ARG(prefName), FS_ARG(targetVariable));
    targetVariable = checkedInt32(vbVal(storedOrDefault(prefName, defaultVal)));
}

void readPref(const QString& prefName, float& targetVariable, const QVariant& defaultVal) {
    FS_PROC(kModule, "Sub readPref", FS_ARG(prefName), FS_ARG(targetVariable));
    targetVariable = static_cast<float>(vbVal(storedOrDefault(prefName, defaultVal)));
}

void readPref(const QString& prefName, double& targetVariable, const QVariant& defaultVal) {
    FS_PROC(kModule, "Sub readPref", FS_ARG(prefName), FS_ARG(targetVariable));
    targetVariable = vbVal(storedOrDefault(prefName, defaultVal));
}

// The variable changes first, so it holds the new value even when the store can't be written.
void writePref(const QString& prefName, QString& sourceVariable, const QVariant& newVal) {
    FS_PROC(kModule, "Sub writePref", FS_ARG(prefName), FS_ARG(newVal));
    sourceVariable = newVal.toString();
    storePref(prefName, sourceVariable);
}

void writePref(const QString& prefName, bool& sourceVariable, const QVariant& newVal) {
    FS_PROC(kModule, "Sub writePref", FS_ARG(prefName), FS_ARG(newVal));
    sourceVariable = vbCBool(newVal);
    storePref(prefName, sourceVariable);
}

void writePref(const QString& prefName, qint16& sourceVariable, const QVariant& newVal) {
    FS_PROC(kModule, "Sub writePref", FS_ARG(prefName), FS_ARG(newVal));
    sourceVariable = checkedInt16(vbVal(newVal.toString()));
    storePref(prefName, QString::number(sourceVariable));
}

void writePref(const QString& prefName, qint32& sourceVariable, const QVariant& newVal) {
    FS_PROC(kModule, "Sub writePref", FS_ARG(prefName), FS_ARG(newVal));
    sourceVariable = checkedInt32(vbVal(newVal.toString()));
    storePref(prefName, QString::number(sourceVariable));
}

void writePref(const QString& prefName, double& sourceVariable, const QVariant& newVal) {
    FS_PROC(kModule, "Sub writePref", FS_ARG(prefName), FS_ARG(newVal));
    sourceVariable = vbVal(newVal.toString());
    storePref(prefName, sourceVariable);
}

void getRecordingSubPrefs() {
    FS_PROC(kModule, "Sub getRecordingSubPrefs");
    gvRecordingChannels = 1;
    gvTrueSampleRate = gvRecordMode != 1 ? gvRecordingSampleRate : 44100;
    gvSamplesPerMs = static_cast<float>(gvTrueSampleRate) / 1000.0f;
}
