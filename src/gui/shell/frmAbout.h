#pragma once

#include <QDialog>
#include <memory>

namespace Ui {
class frmAbout;
}

// The about box, which is also the splash while the program starts (buttons hidden).
//
// Thread: UI thread only.
class frmAbout : public QDialog {
    Q_OBJECT
public:
    explicit frmAbout(QWidget* parent = nullptr);
    ~frmAbout() override;
    void showButtons(bool newVisibleState);
    Ui::frmAbout* ui() const { return m_ui.get(); }

    void cmdOK_Click();
    void Command1_Click();

private:
    void Form_Load();
    std::unique_ptr<Ui::frmAbout> m_ui;
};
