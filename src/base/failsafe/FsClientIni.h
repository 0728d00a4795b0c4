#pragma once

#include <QList>
#include <QString>

// Reader of the trace's own settings file "FSCLIENT.INI" in the program directory, with the
// semantics of the classic private profile functions: "[section]" lines and "key=value"
// lines, names compared without regard to case, blanks around names and values dropped,
// a value in matching quotes loses them, lines starting with ";" are comments, and the first
// occurrence of a key wins. A missing file, section or key gives the caller's default.
// Numbers are the numeric value of the text's start ("12abc" is 12, a word is 0).
//
// The file is read once, at construction; the trace reads its settings once per run.
//
// Thread: any; an instance is not shared between threads.
class FsClientIni {
public:
    // Reads `path`; defaultPath() when empty.
    explicit FsClientIni(const QString& path = {});

    static QString defaultPath();

    bool exists() const { return m_exists; }
    QString fileName() const { return m_path; }

    QString value(const QString& section, const QString& key, const QString& def = {}) const;
    double number(const QString& section, const QString& key, const QString& def) const;
    // Non-zero numeric value.
    bool flag(const QString& section, const QString& key, const QString& def) const {
        return number(section, key, def) != 0;
    }

    // The numeric value of the start of a text: blanks are skipped anywhere in the number,
    // "&H" and "&O" introduce hexadecimal and octal, an exponent may follow; 0 when the text
    // doesn't begin with a number.
    static double val(const QString& text);

private:
    struct Entry {
        QString section; // lower case
        QString key;     // lower case
        QString value;
    };
    QString m_path;
    bool m_exists = false;
    QList<Entry> m_entries;
};
