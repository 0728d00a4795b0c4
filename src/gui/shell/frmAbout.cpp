#include "shell/frmAbout.h"
#include "ui_frmAbout.h"

#include "app/AppPaths.h"
#include "app/Forms.h"
#include "app/Prompts.h"
#include "failsafe/modFailSafe.h"

#include <QDesktopServices>
#include <QUrl>

namespace {
const char* const kModule = "frmAbout";
}

frmAbout::frmAbout(QWidget* parent) : QDialog(parent), m_ui(std::make_unique<Ui::frmAbout>()) {
    m_ui->setupUi(this);
    ensureWindowResources();
    setObjectName(QStringLiteral("frmAbout"));
    m_ui->lblIcon->setPixmap(QIcon(QStringLiteral(":/cantavox.svg")).pixmap(96, 96));
    QFont title = m_ui->lblTitle->font();
    title.setPointSizeF(title.pointSizeF() * 2.4);
    title.setBold(true);
    m_ui->lblTitle->setFont(title);
    connect(m_ui->cmdOK, &QPushButton::clicked, this,
            fs::trapped(kModule, "Sub cmdOK_Click", [this] { cmdOK_Click(); }));
    connect(m_ui->Command1, &QPushButton::clicked, this,
            fs::trapped(kModule, "Sub Command1_Click", [this] { Command1_Click(); }));
    fs::trap(kModule, "Sub Form_Load", [this] { Form_Load(); });
}

frmAbout::~frmAbout() = default;

void frmAbout::Form_Load() {
    FS_PROC(kModule, "Sub Form_Load");
    setWindowTitle(QStringLiteral("About ") + Prompts::appTitle());
    m_ui->lblVersion->setText(QStringLiteral("Version %1.%2.%3")
                                  .arg(CANTAVOX_VERSION_MAJOR)
                                  .arg(CANTAVOX_VERSION_MINOR)
                                  .arg(CANTAVOX_VERSION_PATCH));
}

void frmAbout::showButtons(bool newVisibleState) {
    FS_PROC(kModule, "Sub showButtons", FS_ARG(newVisibleState));
    m_ui->cmdOK->setVisible(newVisibleState);
    m_ui->Command1->setVisible(newVisibleState);
}

void frmAbout::cmdOK_Click() {
    FS_PROC(kModule, "Sub cmdOK_Click");
    accept();
}

void frmAbout::Command1_Click() {
    FS_PROC(kModule, "Sub Command1_Click");
    QDesktopServices::openUrl(QUrl(QStringLiteral("https://cantavox.example.org/")));
}
