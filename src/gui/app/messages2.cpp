#include "app/messages2.h"
#include "ui_messages2.h"

#include "app/BusyHost.h"
#include "app/Forms.h"
#include "app/Messages.h"
#include "failsafe/modFailSafe.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QProgressBar>
#include <algorithm>

namespace {
const char* const kModule = "messages2";
}

messages2::messages2(QWidget* parent)
    : QWidget(parent, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint),
      m_ui(std::make_unique<Ui::messages2>()) {
    m_ui->setupUi(this);
    setObjectName(QStringLiteral("messages2"));
    // Nothing else may be started while the work it stands for runs; the music and the work
    // go on all the same (no event loop of its own).
    setWindowModality(Qt::ApplicationModal);
    // The text of lblNoInterrupt belongs to the design only: the box always offers Cancel.
    m_ui->lblNoInterrupt->hide();
    m_ui->btnCancel->show();
    connect(m_ui->btnCancel, &QPushButton::clicked, this,
            fs::trapped(kModule, "Sub btnCancel_Click", [this] { btnCancel_Click(); }));
    Form_Load();
}

messages2::~messages2() = default;

void messages2::Form_Load() {
    FS_PROC(kModule, "Sub Form_Load");
    if (BusyHost* host = busyHost())
        host->setBusy(true);
    // The user must be able to reach Cancel.
    while (QGuiApplication::overrideCursor())
        QGuiApplication::restoreOverrideCursor();
}

void messages2::Form_Unload() {
    FS_PROC(kModule, "Sub Form_Unload");
    if (BusyHost* host = busyHost())
        host->setBusy(false);
    if (QWidget* graph = findLoadedForm(QStringLiteral("frmScrollTime")))
        graph->raise();
}

void messages2::setText(const QString& text) {
    m_ui->Label1->setText(text);
    adjustSize();
}

void messages2::setProgress(int done, int total) {
    m_ui->pbProgress->setRange(0, std::max(total, 1));
    m_ui->pbProgress->setValue(done);
    m_ui->pbProgress->show();
}

QString messages2::text() const {
    return m_ui->Label1->text();
}

void messages2::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    centerform(this);
}

void messages2::closeEvent(QCloseEvent* event) {
    if (!property("cantavoxUnloaded").toBool()) {
        // The window's own close box means Cancel.
        event->ignore();
        fs::trap(kModule, "Sub btnCancel_Click", [this] { btnCancel_Click(); });
        return;
    }
    event->accept();
    if (!m_unloaded) {
        m_unloaded = true;
        fs::trap(kModule, "Sub Form_Unload", [this] { Form_Unload(); });
    }
}

void messages2::btnCancel_Click() {
    FS_PROC(kModule, "Sub btnCancel_Click");
    if (m_source == u"ACD") {
        if (!confirm(
                QStringLiteral("Due to the non-standard nature of computer-to-CD-ROM digital audio "
                               "interfaces, "
                               "after cancelling this operation, your computer may have to be "
                               "restarted before "
                               "digital recording will work again.") +
                QStringLiteral("\n\n") +
                QStringLiteral("Click Yes to end the operation now; click No to continue waiting "
                               "for the operation to complete.")))
            return;
        if (BusyHost* host = busyHost())
            host->cancelBusyWork(m_source);
        unloadForm(this);
    } else if (m_source == u"MF") {
        if (BusyHost* host = busyHost())
            host->cancelBusyWork(m_source);
        unloadForm(this);
    } else {
        unloadForm(this);
    }
}
