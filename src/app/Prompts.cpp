#include "app/Prompts.h"

#include <QAbstractFileIconProvider>
#include <QApplication>
#include <QColorDialog>
#include <QDialog>
#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>
#include <QQueue>
#include <cstdio>

namespace {
// Icons and kinds from the names alone. Left to itself the file dialog reads the start of
// every file it lists to tell its type, the library among them in the program folder; and a
// descriptor of the library closing anywhere in the process drops SQLite's locks on it, after
// which another program may delete the write-ahead log we still write into.
class NameOnlyIconProvider : public QAbstractFileIconProvider {
public:
    using QAbstractFileIconProvider::icon;
    QIcon icon(const QFileInfo& info) const override {
        return icon(info.isDir() ? QAbstractFileIconProvider::Folder
                                 : QAbstractFileIconProvider::File);
    }
    QString type(const QFileInfo& info) const override {
        if (info.isDir())
            return QStringLiteral("Folder");
        const QString suffix = info.suffix();
        return suffix.isEmpty() ? QStringLiteral("File")
                                : suffix.toUpper() + QStringLiteral(" File");
    }
};

// The dialog of our own widgets rather than the desktop's: a desktop's dialog running in our
// process reads file contents too, and ours is the one we can keep from doing it.
QString runFileDialog(QWidget* parent, const QString& caption, const QString& dir,
                      const QString& filter, QFileDialog::AcceptMode mode) {
    NameOnlyIconProvider icons;
    QFileDialog dialog(parent, caption, dir, filter);
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    dialog.setIconProvider(&icons);
    dialog.setAcceptMode(mode);
    dialog.setFileMode(mode == QFileDialog::AcceptOpen ? QFileDialog::ExistingFile
                                                       : QFileDialog::AnyFile);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return {};
    return dialog.selectedFiles().constFirst();
}

struct State {
    bool scripted = false;
    bool envChecked = false;
    bool echo = false;
    QQueue<QVariant> answers;
    QList<Prompts::Record> log;
};

State& state() {
    static State s;
    if (!s.envChecked) {
        s.envChecked = true;
        if (qEnvironmentVariable("CANTAVOX_PROMPTS") == u"script") {
            s.scripted = true;
            s.echo = true;
            const QString given = qEnvironmentVariable("CANTAVOX_PROMPT_ANSWERS");
            if (!given.isEmpty())
                for (const QString& a : given.split(u','))
                    s.answers.enqueue(a);
        }
    }
    return s;
}

int firstButton(int buttons) {
    switch (buttons & 7) {
    case vb::vbOKCancel:
        return vb::vbOK;
    case vb::vbAbortRetryIgnore:
        return vb::vbAbort;
    case vb::vbYesNoCancel:
    case vb::vbYesNo:
        return vb::vbYes;
    case vb::vbRetryCancel:
        return vb::vbRetry;
    default:
        return vb::vbOK;
    }
}

QMessageBox::StandardButtons standardButtons(int buttons) {
    switch (buttons & 7) {
    case vb::vbOKCancel:
        return QMessageBox::Ok | QMessageBox::Cancel;
    case vb::vbAbortRetryIgnore:
        return QMessageBox::Abort | QMessageBox::Retry | QMessageBox::Ignore;
    case vb::vbYesNoCancel:
        return QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
    case vb::vbYesNo:
        return QMessageBox::Yes | QMessageBox::No;
    case vb::vbRetryCancel:
        return QMessageBox::Retry | QMessageBox::Cancel;
    default:
        return QMessageBox::Ok;
    }
}

int answerOf(QMessageBox::StandardButton b) {
    switch (b) {
    case QMessageBox::Ok:
        return vb::vbOK;
    case QMessageBox::Cancel:
        return vb::vbCancel;
    case QMessageBox::Abort:
        return vb::vbAbort;
    case QMessageBox::Retry:
        return vb::vbRetry;
    case QMessageBox::Ignore:
        return vb::vbIgnore;
    case QMessageBox::Yes:
        return vb::vbYes;
    case QMessageBox::No:
        return vb::vbNo;
    default:
        return vb::vbCancel;
    }
}

QMessageBox::Icon iconOf(int buttons) {
    switch (buttons & 0x70) {
    case vb::vbCritical:
        return QMessageBox::Critical;
    case vb::vbQuestion:
        return QMessageBox::Question;
    case vb::vbExclamation:
        return QMessageBox::Warning;
    case vb::vbInformation:
        return QMessageBox::Information;
    default:
        return QMessageBox::NoIcon;
    }
}

// A scripted answer given as text ("6", "Yes") or as a number.
int toButton(const QVariant& v, int fallback) {
    bool ok = false;
    const int n = v.toInt(&ok);
    if (ok)
        return n;
    const QString s = v.toString().trimmed().toLower();
    if (s == u"ok")
        return vb::vbOK;
    if (s == u"cancel")
        return vb::vbCancel;
    if (s == u"abort")
        return vb::vbAbort;
    if (s == u"retry")
        return vb::vbRetry;
    if (s == u"ignore")
        return vb::vbIgnore;
    if (s == u"yes")
        return vb::vbYes;
    if (s == u"no")
        return vb::vbNo;
    return fallback;
}
} // namespace

QString Prompts::appTitle() {
    const QString t = QApplication::applicationDisplayName();
    return t.isEmpty() ? QStringLiteral("Cantavox") : t;
}

void Prompts::record(const Record& r) {
    State& s = state();
    s.log.append(r);
    if (s.echo) {
        QString text = r.text;
        text.replace(u'\n', QStringLiteral("\\n"));
        std::fprintf(stderr, "PROMPT %s|%s|%s\n", qUtf8Printable(r.kind), qUtf8Printable(r.title),
                     qUtf8Printable(text));
        std::fflush(stderr);
    }
}

QVariant Prompts::nextAnswer(const QVariant& fallback) {
    State& s = state();
    return s.answers.isEmpty() ? fallback : s.answers.dequeue();
}

int Prompts::msgBox(const QString& text, int buttons, const QString& title) {
    const QString caption = title.isEmpty() ? appTitle() : title;
    if (scripted()) {
        record({QStringLiteral("msgbox"), caption, text, buttons, {}});
        const int first = firstButton(buttons);
        return toButton(nextAnswer(first), first);
    }
    QMessageBox box(iconOf(buttons), caption, text, standardButtons(buttons),
                    QApplication::activeWindow());
    return answerOf(static_cast<QMessageBox::StandardButton>(box.exec()));
}

QString Prompts::inputBox(const QString& prompt, const QString& title,
                          const QString& defaultValue) {
    const QString caption = title.isEmpty() ? appTitle() : title;
    if (scripted()) {
        record({QStringLiteral("input"), caption, prompt, 0, defaultValue});
        return nextAnswer(defaultValue).toString();
    }
    bool ok = false;
    const QString text = QInputDialog::getText(QApplication::activeWindow(), caption, prompt,
                                               QLineEdit::Normal, defaultValue, &ok);
    return ok ? text : QString();
}

QString Prompts::getOpenFileName(QWidget* parent, const QString& caption, const QString& dir,
                                 const QString& filter) {
    if (scripted()) {
        record({QStringLiteral("open"), caption, filter, 0, dir});
        return nextAnswer(QString()).toString();
    }
    return runFileDialog(parent, caption, dir, filter, QFileDialog::AcceptOpen);
}

QString Prompts::getSaveFileName(QWidget* parent, const QString& caption, const QString& dir,
                                 const QString& filter) {
    if (scripted()) {
        record({QStringLiteral("save"), caption, filter, 0, dir});
        return nextAnswer(QString()).toString();
    }
    return runFileDialog(parent, caption, dir, filter, QFileDialog::AcceptSave);
}

QColor Prompts::getColor(const QColor& initial, QWidget* parent, const QString& title) {
    if (scripted()) {
        record({QStringLiteral("color"), title, QString(), 0, initial.name()});
        const QVariant a = nextAnswer(QVariant());
        return a.isValid() ? QColor(a.toString()) : QColor();
    }
    return QColorDialog::getColor(initial, parent, title);
}

QVariant Prompts::execDialog(QDialog* dialog, const QString& text, const QVariant& defaultAnswer) {
    if (scripted()) {
        record({QStringLiteral("dialog"), dialog ? dialog->windowTitle() : QString(), text, 0, {}});
        return nextAnswer(defaultAnswer);
    }
    return dialog ? dialog->exec() : defaultAnswer;
}

void Prompts::setScripted(bool on) {
    state().scripted = on;
}
bool Prompts::scripted() {
    return state().scripted;
}
void Prompts::pushAnswer(const QVariant& answer) {
    state().answers.enqueue(answer);
}
const QList<Prompts::Record>& Prompts::log() {
    return state().log;
}
void Prompts::clear() {
    state().log.clear();
    state().answers.clear();
}
