#pragma once

#include <QColor>
#include <QList>
#include <QString>
#include <QVariant>

class QDialog;
class QWidget;

// Button sets, icons and answers of a message box, with the values the program's logic
// compares against.
namespace vb {
constexpr int vbOKOnly = 0;
constexpr int vbOKCancel = 1;
constexpr int vbAbortRetryIgnore = 2;
constexpr int vbYesNoCancel = 3;
constexpr int vbYesNo = 4;
constexpr int vbRetryCancel = 5;
constexpr int vbCritical = 16;
constexpr int vbQuestion = 32;
constexpr int vbExclamation = 48;
constexpr int vbInformation = 64;

constexpr int vbOK = 1;
constexpr int vbCancel = 2;
constexpr int vbAbort = 3;
constexpr int vbRetry = 4;
constexpr int vbIgnore = 5;
constexpr int vbYes = 6;
constexpr int vbNo = 7;
} // namespace vb

// Every message box, confirmation, input box, file and colour dialog, and every modal
// dialog that asks the user something, goes through here. In scripted mode nothing is
// shown: each prompt is recorded with its exact texts and answered from a queue, so tests
// (and subprocess runs with CANTAVOX_PROMPTS=script) can drive and check them.
//
// Thread: UI thread only.
class Prompts {
public:
    struct Record {
        QString kind; // "msgbox", "input", "open", "save", "color", "dialog"
        QString title;
        QString text;
        int buttons = 0;
        QString defaultValue;
    };

    // The application's title, used where a box is given none.
    static QString appTitle();

    // Returns one of vb::vbOK.. vb::vbNo.
    static int msgBox(const QString& text, int buttons = vb::vbOKOnly, const QString& title = {});
    // Returns the text typed, or an empty string for Cancel.
    static QString inputBox(const QString& prompt, const QString& title = {},
                            const QString& defaultValue = {});
    // Return the chosen path, or an empty string for Cancel.
    static QString getOpenFileName(QWidget* parent, const QString& caption, const QString& dir,
                                   const QString& filter);
    static QString getSaveFileName(QWidget* parent, const QString& caption, const QString& dir,
                                   const QString& filter);
    // Returns an invalid colour for Cancel.
    static QColor getColor(const QColor& initial, QWidget* parent, const QString& title);
    // Runs a modal dialog. In scripted mode the dialog is not shown and the scripted answer
    // (or defaultAnswer) is returned; otherwise the dialog's exec() result.
    static QVariant execDialog(QDialog* dialog, const QString& text,
                               const QVariant& defaultAnswer = {});

    // Scripting.
    static void setScripted(bool on);
    static bool scripted();
    static void pushAnswer(const QVariant& answer);
    static const QList<Record>& log();
    static void clear();

private:
    static QVariant nextAnswer(const QVariant& fallback);
    static void record(const Record& r);
};
