#pragma once

#include <QList>
#include <QString>
#include <QVariant>

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

// Every message box and input box goes through here, and the window layer's file, colour and
// modal dialogs (Dialogs) keep their record here too. In scripted mode nothing is shown: each
// prompt is recorded with its exact texts and answered from a queue, so tests (and subprocess
// runs with CANTAVOX_PROMPTS=script) can drive and check them.
//
// The base shows nothing itself: the window layer installs a Presenter (Dialogs::install).
// Without one, as in the command-line tool, a message goes to standard error and takes the
// answer that changes nothing (OK, Cancel, No or Abort); an input box is cancelled.
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

    // What shows a prompt on screen.
    class Presenter {
    public:
        virtual ~Presenter() = default;
        virtual int showMessage(const QString& text, int buttons, const QString& caption) = 0;
        // False for Cancel.
        virtual bool showInput(const QString& prompt, const QString& caption,
                               const QString& defaultValue, QString* typed) = 0;
    };
    // Not owned; it lives as long as the application.
    static void setPresenter(Presenter* presenter);

    // Scripting.
    static void setScripted(bool on);
    static bool scripted();
    static void pushAnswer(const QVariant& answer);
    static const QList<Record>& log();
    static void clear();

    // For prompts shown elsewhere: the next scripted answer (or fallback), and the record.
    static QVariant nextAnswer(const QVariant& fallback);
    static void record(const Record& r);
};
