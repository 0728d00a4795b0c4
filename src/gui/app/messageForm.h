#pragma once

#include <QWidget>
#include <memory>

class CFormEx;
namespace Ui {
class messageForm;
}

// A busy message that stays on top of everything and can't be answered.
//
// Thread: UI thread only.
class messageForm : public QWidget {
    Q_OBJECT
public:
    explicit messageForm(QWidget* parent = nullptr);
    ~messageForm() override;
    void setText(const QString& text);
    QString text() const;

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    std::unique_ptr<Ui::messageForm> m_ui;
    std::unique_ptr<CFormEx> m_onTop;
};
