#pragma once

#include <QString>
#include <QVariant>

// readPref moves a stored preference into a variable (writing the default at the first read
// of a missing one); writePref changes a variable and its stored copy together.
//
// The text is converted by the variable's type: String as it is; Boolean by the run time's
// rule (True/False in any case, or a number, 0 being False; anything else is error 13); any
// other type through the numeric value of the text (words read as 0), narrowed to the type
// (an Integer that overflows is error 6).
//
// Thread: UI thread only.

void readPref(const QString& prefName, QString& targetVariable, const QVariant& defaultVal = {});
void readPref(const QString& prefName, bool& targetVariable, const QVariant& defaultVal = {});
void readPref(const QString& prefName, qint16& targetVariable, const QVariant& defaultVal = {});
void readPref(const QString& prefName, qint32& targetVariable, const QVariant& defaultVal = {});
void readPref(const QString& prefName, float& targetVariable, const QVariant& defaultVal = {});
void readPref(const QString& prefName, double& targetVariable, const QVariant& defaultVal = {});

void writePref(const QString& prefName, QString& sourceVariable, const QVariant& newVal);
void writePref(const QString& prefName, bool& sourceVariable, const QVariant& newVal);
void writePref(const QString& prefName, qint16& sourceVariable, const QVariant& newVal);
void writePref(const QString& prefName, qint32& sourceVariable, const QVariant& newVal);
void writePref(const QString& prefName, double& sourceVariable, const QVariant& newVal);

// Derives the recording format in force from the recording preferences.
void getRecordingSubPrefs();

// The run time's conversions of text.
// Val: the leading number of the text, 0 when there is none ("12abc" is 12, "abc" is 0).
double vbVal(const QString& text);
// CBool: raises error 13 for text that is neither a Boolean word nor a number.
bool vbCBool(const QVariant& value);
