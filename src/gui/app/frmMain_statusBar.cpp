// The main window's status bar: named panels that the modes and the transports write to.
#include "app/frmMain.h"
#include "ui_frmMain.h"

#include <QLabel>
#include <QStatusBar>

void frmMain::buildStatusBar() {
    QStatusBar* bar = m_ui->StatBar;
    auto addPanel = [&](const QString& name, int stretch, int minWidth) {
        auto* panel = new QLabel(bar);
        panel->setObjectName(name);
        panel->setMinimumWidth(minWidth);
        panel->setContentsMargins(6, 0, 6, 0);
        if (stretch > 0)
            bar->addWidget(panel, stretch);
        else
            bar->addPermanentWidget(panel);
    };
    addPanel(QStringLiteral("pnlMsg"), 1, 160);
    addPanel(QStringLiteral("pnlCDlength"), 0, 90);
    addPanel(QStringLiteral("pnlTrackLength"), 0, 90);
    addPanel(QStringLiteral("pnlLoopLength"), 0, 90);
}

QLabel* frmMain::statusPanel(const QString& name) const {
    return m_ui->StatBar->findChild<QLabel*>(name);
}

void frmMain::setPanelText(const QString& name, const QString& text) {
    if (QLabel* p = statusPanel(name))
        p->setText(text);
}

QString frmMain::panelText(const QString& name) const {
    QLabel* p = statusPanel(name);
    return p ? p->text() : QString();
}

void frmMain::setPanelVisible(const QString& name, bool visible) {
    if (QLabel* p = statusPanel(name))
        p->setVisible(visible);
}

bool frmMain::panelVisible(const QString& name) const {
    QLabel* p = statusPanel(name);
    return p && !p->isHidden();
}
