#include "app/Dialogs.h"

#include "app/Prompts.h"
#include "failsafe/ErrorTrap.h"
#include "failsafe/frmFAILSAFE.h"
#include "failsafe/modFailSafe.h"

#include <QAbstractFileIconProvider>
#include <QApplication>
#include <QColorDialog>
#include <QDialog>
#include <QFileDialog>
#include <QInputDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>

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

class WidgetPresenter : public Prompts::Presenter {
public:
    int showMessage(const QString& text, int buttons, const QString& caption) override {
        QMessageBox box(iconOf(buttons), caption, text, standardButtons(buttons),
                        QApplication::activeWindow());
        return answerOf(static_cast<QMessageBox::StandardButton>(box.exec()));
    }
    bool showInput(const QString& prompt, const QString& caption, const QString& defaultValue,
                   QString* typed) override {
        // A long prompt wraps, as a message box's text does, instead of making the box as
        // wide as the screen.
        QInputDialog dialog(QApplication::activeWindow());
        dialog.setWindowTitle(caption);
        dialog.setLabelText(prompt);
        dialog.setTextValue(defaultValue);
        for (QLabel* label : dialog.findChildren<QLabel*>())
            label->setWordWrap(true);
        const bool ok = dialog.exec() == QDialog::Accepted;
        *typed = ok ? dialog.textValue() : QString();
        return ok;
    }
};

// The error window, deleted even when an error inside its own loop unwinds past it; a
// window closed from within its loop is gone before exec() returns.
QVariant askInErrorWindow(const FsErrorSlot& slot, const QStringList& tree, long errorCount,
                          QString* userSaid) {
    QPointer<frmFAILSAFE> dlg = new frmFAILSAFE(QApplication::activeWindow());
    dlg->fill(slot, tree, errorCount, Prompts::appTitle());
    const QString headline = dlg->headline();
    QVariant answer;
    try {
        answer = Dialogs::execDialog(dlg, headline, fsaction::Leave);
    } catch (...) {
        delete dlg.data();
        throw;
    }
    if (dlg)
        *userSaid = dlg->userSaid();
    delete dlg.data();
    return answer;
}
} // namespace

void Dialogs::install() {
    static WidgetPresenter presenter;
    Prompts::setPresenter(&presenter);
    ErrorTrap::setAsker(askInErrorWindow);
}

QString Dialogs::getOpenFileName(QWidget* parent, const QString& caption, const QString& dir,
                                 const QString& filter) {
    if (Prompts::scripted()) {
        Prompts::record({QStringLiteral("open"), caption, filter, 0, dir});
        return Prompts::nextAnswer(QString()).toString();
    }
    return runFileDialog(parent, caption, dir, filter, QFileDialog::AcceptOpen);
}

QString Dialogs::getSaveFileName(QWidget* parent, const QString& caption, const QString& dir,
                                 const QString& filter) {
    if (Prompts::scripted()) {
        Prompts::record({QStringLiteral("save"), caption, filter, 0, dir});
        return Prompts::nextAnswer(QString()).toString();
    }
    return runFileDialog(parent, caption, dir, filter, QFileDialog::AcceptSave);
}

QColor Dialogs::getColor(const QColor& initial, QWidget* parent, const QString& title) {
    if (Prompts::scripted()) {
        Prompts::record({QStringLiteral("color"), title, QString(), 0, initial.name()});
        const QVariant a = Prompts::nextAnswer(QVariant());
        return a.isValid() ? QColor(a.toString()) : QColor();
    }
    return QColorDialog::getColor(initial, parent, title);
}

QVariant Dialogs::execDialog(QDialog* dialog, const QString& text, const QVariant& defaultAnswer) {
    if (Prompts::scripted()) {
        Prompts::record(
            {QStringLiteral("dialog"), dialog ? dialog->windowTitle() : QString(), text, 0, {}});
        return Prompts::nextAnswer(defaultAnswer);
    }
    return dialog ? dialog->exec() : defaultAnswer;
}
