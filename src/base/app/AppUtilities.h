#pragma once

#include <QString>
#include <QStringList>

// String and path helpers used all over the program. Paths use "/".
//
// Thread: any.

// Position (1-based, as text) of the last character of strToSearch that occurs in
// searchChars; "0" if none.
QString instrRev(const QString& strToSearch, const QString& searchChars);
// Up to and including the last "/".
QString extractPathFromFullPath(const QString& source);
// What follows the last "/".
QString extractFilenameFromFullPath(const QString& source);
// What follows the last "."; empty without one.
QString extractExtensionFromFilename(const QString& fn);
// pathStr: left of the last "/" without it; nameStr: right of it. Never fails.
void parsePath(const QString& source, QString& pathStr, QString& nameStr);
// Splits at any of the delimiters; runs of delimiters give no empty elements. ta is cleared
// first; elements past upperBound (index from 0) end the walk. Returns true.
bool splitStr(const QString& sourceStr, const QString& delimiters, QStringList& ta,
              int upperBound = 1 << 30);
// Code of the first character; 0 for an empty string.
int Ascii(const QString& str);
// Takes the trailing character off path, then removes everything in it and the folder.
void deleteTree(const QString& path);

template <class T> T mathMin(const T& a, const T& b) {
    return b < a ? b : a;
}
template <class T> T mathMax(const T& a, const T& b) {
    return a < b ? b : a;
}
