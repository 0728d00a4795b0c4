#pragma once

#include <QWidget>
#include <memory>

namespace Ui {
class messages2;
}

// A busy message with a Cancel button. Its source tells what Cancel stops: "ACD" a digital
// read (after a question), "MF" a transformation job, anything else nothing but the box.
// While it is up the main window is disabled.
//
// Thread: UI thread only.
class messages2 : public QWidget {
    Q_OBJECT
public:
    explicit messages2(QWidget* parent = nullptr);
    ~messages2() override;

    QString source() const { return m_source; }
    void setSource(const QString& source) { m_source = source; }
    void setText(const QString& text);
    // A long job's progress: the bar shows from the first report on.
    void setProgress(int done, int total);
    QString text() const;
    Ui::messages2* ui() const { return m_ui.get(); }

    void btnCancel_Click();

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void Form_Load();
    void Form_Unload();
    std::unique_ptr<Ui::messages2> m_ui;
    QString m_source;
    bool m_unloaded = false;
};
