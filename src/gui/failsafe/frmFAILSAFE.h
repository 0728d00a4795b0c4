#pragma once

#include "failsafe/modFailSafe.h"

#include <QDialog>
#include <QHash>
#include <QTextCursor>
#include <memory>

namespace Ui {
class frmFAILSAFE;
}

// The error dialog: what went wrong and where, what the user was doing, the call tree and
// the state of the machine, and the answer that decides how the failing procedure goes on
// (fsAction: 0 Continue, 5 More).
//
// Its own procedures carry no trace: an error inside the error dialog must not start
// another round of it.
//
// Thread: UI thread only.
class frmFAILSAFE : public QDialog {
    Q_OBJECT
public:
    explicit frmFAILSAFE(QWidget* parent = nullptr);
    ~frmFAILSAFE() override;

    // Fills every control for one error. errorCount is how many errors this run has
    // logged, appTitle the application's title.
    void fill(const FsErrorSlot& error, const QStringList& callTree, long errorCount,
              const QString& appTitle);

    // The title line, "An unexpected '...' error occurred in ...".
    QString headline() const;
    // What the user typed in Text1.
    QString userSaid() const;
    // The text of a tab (0 error information, 1 call tree, 2 system state), as printed.
    QString tabText(int index);

    // Event handlers, as the controls call them.
    void Combo1_Click();
    void nsCtrlContinue_Click();
    void nsCtrlMore_Click();
    void nsHelp_Click();
    void fsPrint_Click();
    void UpdateStatusBar(const QString& text);

    // The status texts shown while the mouse is over the window and over its controls.
    static QString windowStatusText();

public slots:
    void done(int r) override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void enterEvent(QEnterEvent* event) override;

private:
    void setStatusTexts();
    void showHelp();
    void printShownTab();
    std::unique_ptr<Ui::frmFAILSAFE> m_ui;
    QHash<QObject*, QString> m_statusTexts;
    QTextCursor m_text1Selection;
    int m_shownTab = 0;
    int m_helpContext = 0;
};
