#include "app/messageForm.h"
#include "ui_messageForm.h"

#include "app/Messages.h"
#include "failsafe/modFailSafe.h"
#include "shell/CFormEx.h"

#include <QCloseEvent>

messageForm::messageForm(QWidget* parent)
    : QWidget(parent, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint),
      m_ui(std::make_unique<Ui::messageForm>()) {
    m_ui->setupUi(this);
    setObjectName(QStringLiteral("messageForm"));
    m_onTop = std::make_unique<CFormEx>();
    m_onTop->Init(this);
    m_onTop->setOnTop(true);
}

messageForm::~messageForm() = default;

void messageForm::setText(const QString& text) {
    m_ui->Label1->setText(text);
    adjustSize();
}

QString messageForm::text() const {
    return m_ui->Label1->text();
}

void messageForm::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    centerform(this);
}

void messageForm::closeEvent(QCloseEvent* event) {
    // Only the program takes the message away.
    if (property("cantavoxUnloaded").toBool())
        event->accept();
    else
        event->ignore();
}
