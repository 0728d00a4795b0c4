#include "failsafe/frmFAILSAFE.h"

#include "app/AppPaths.h"
#include "app/Prompts.h"
#include "failsafe/ErrorClasses.h"
#include "ui_frmFAILSAFE.h"

#include <QDesktopServices>
#include <QEnterEvent>
#include <QFileInfo>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QPrinter>
#include <QPrinterInfo>
#include <QStyle>
#include <QUrl>

namespace {

// The dialog's own procedures run with resume-on-error: a failure inside the error dialog
// is dropped rather than starting another round of it.
template <class F> void quietly(F&& f) {
    try {
        f();
    } catch (...) {
    }
}

QString caption(int text) {
    return fsText(text).trimmed() + u' ';
}

} // namespace

frmFAILSAFE::frmFAILSAFE(QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<Ui::frmFAILSAFE>()) {
    m_ui->setupUi(this);
    setWindowTitle(fsText(33));

    const int iconSize = style()->pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, this);
    m_ui->lblIcon->setPixmap(
        style()->standardIcon(QStyle::SP_MessageBoxCritical, nullptr, this).pixmap(iconSize));
    QFont titleFont = m_ui->lblTitle->font();
    titleFont.setBold(true);
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.15);
    m_ui->lblTitle->setFont(titleFont);

    QFont captionFont = m_ui->lblErrNo->font();
    captionFont.setBold(true);
    for (QLabel* l : {m_ui->lblErrNo, m_ui->lblErrType, m_ui->lblErrModule, m_ui->lblErrProcedure,
                      m_ui->lblErrProject, m_ui->lblErrLine, m_ui->lblErrText})
        l->setFont(captionFont);
    m_ui->infoLayout->setColumnStretch(1, 1);
    m_ui->infoLayout->setColumnStretch(3, 2);

    const QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    m_ui->nsCtrlArgs->setFont(fixed);
    m_ui->nsCtrlCalls->setFont(fixed);

    QPalette status = m_ui->lblStatus->palette();
    status.setColor(QPalette::WindowText, status.color(QPalette::PlaceholderText));
    m_ui->lblStatus->setPalette(status);

    // Captions from the module's text table.
    m_ui->lblErrNo->setText(caption(35));
    m_ui->lblErrType->setText(caption(37));
    m_ui->lblErrModule->setText(caption(18));
    m_ui->lblErrProcedure->setText(caption(29));
    m_ui->lblErrProject->setText(caption(60));
    m_ui->lblErrLine->setText(caption(34));
    m_ui->lblErrText->setText(caption(36));
    m_ui->nsCtrlContinue->setText(fsText(41));
    // "&Break to" belongs to a development environment, which this program never runs in.
    m_ui->nsCtrlMore->setText(fsText(54));
    m_ui->nsHelp->setText(QStringLiteral("Help"));
    m_ui->nsHelp->setEnabled(true);
    m_ui->fsPrint->setText(QStringLiteral("Print"));

    m_ui->Combo1->addItem(fsText(26));
    m_ui->Combo1->addItem(fsText(27));
    m_ui->Combo1->addItem(fsText(28));
    m_ui->Combo1->setItemData(0, QStringLiteral("View detailed information about the error source"),
                              Qt::ToolTipRole);
    m_ui->Combo1->setItemData(1, QStringLiteral("View error context and procedure trace"),
                              Qt::ToolTipRole);
    m_ui->Combo1->setItemData(2, QStringLiteral("View local system information"), Qt::ToolTipRole);
    m_ui->Text1->setToolTip(
        QStringLiteral("To help resolve the problem, please enter what you were doing."));
    m_ui->Combo1->setCurrentIndex(0);
    m_ui->panels->setCurrentIndex(0);

    setStatusTexts();

    connect(m_ui->Combo1, &QComboBox::currentIndexChanged, this, [this] { Combo1_Click(); });
    connect(m_ui->nsCtrlContinue, &QPushButton::clicked, this, [this] { nsCtrlContinue_Click(); });
    connect(m_ui->nsCtrlMore, &QPushButton::clicked, this, [this] { nsCtrlMore_Click(); });
    connect(m_ui->nsHelp, &QPushButton::clicked, this, [this] { nsHelp_Click(); });
    connect(m_ui->fsPrint, &QPushButton::clicked, this, [this] { fsPrint_Click(); });
}

frmFAILSAFE::~frmFAILSAFE() = default;

void frmFAILSAFE::setStatusTexts() {
    const QString line = QStringLiteral("The line number where the error happened");
    const QString module = QStringLiteral("The error module");
    const QString number = QStringLiteral("The error number");
    const QString procedure = QStringLiteral("The error procedure");
    const QString source = QStringLiteral("The error source");
    const QString category = QStringLiteral("The error category");
    m_statusTexts = {
        {m_ui->nsCtrlContinue, QStringLiteral("Press to acknowledge this error and continue.")},
        {m_ui->nsCtrlMore, QStringLiteral("Press to break to design-mode in this procedure.")},
        {m_ui->nsHelp, QStringLiteral("Press to show detailed help about this error.")},
        {m_ui->fsPrint, QStringLiteral("Press to print this tabs data to the default printer.")},
        {m_ui->ErrLine, line},
        {m_ui->lblErrLine, line},
        {m_ui->ErrModule, module},
        {m_ui->lblErrModule, module},
        {m_ui->ErrNo, number},
        {m_ui->lblErrNo, number},
        {m_ui->ErrProcedure, procedure},
        {m_ui->lblErrProcedure, procedure},
        {m_ui->errProject, source},
        {m_ui->lblErrProject, source},
        {m_ui->ErrType, category},
        {m_ui->lblErrType, category},
        {m_ui->lblErrText, QStringLiteral("A description of the error")},
    };
    for (auto it = m_statusTexts.cbegin(); it != m_statusTexts.cend(); ++it)
        it.key()->installEventFilter(this);
}

QString frmFAILSAFE::windowStatusText() {
    return QStringLiteral("Press 'Continue' to acknowledge this error and continue.");
}

void frmFAILSAFE::fill(const FsErrorSlot& error, const QStringList& callTree, long errorCount,
                       const QString& appTitle) {
    quietly([&] {
        m_helpContext = error.helpContext;
        const QString category = ErrorClasses::categoryText(error.errClass);
        m_ui->ErrNo->setText(QString::number(error.number));
        m_ui->ErrType->setText(category);
        m_ui->ErrModule->setText(error.module);
        m_ui->ErrProcedure->setText(error.procedure);
        m_ui->errProject->setText(error.source);
        m_ui->ErrLine->setText(error.line != 0
                                   ? QString::number(error.line)
                                   : QStringLiteral(" line numbers not used - Code Pointer = ") +
                                         QString::number(error.codePointer));
        m_ui->errText->setPlainText(
            error.remote ? error.text + QStringLiteral(" (handled remotely by Lopaib FailSafe)")
                         : error.text);

        // An error raised by a part that isn't the application's own code is a component's.
        const bool component = !error.rawSource.isEmpty() &&
                               error.rawSource.compare(appTitle, Qt::CaseInsensitive) != 0;
        m_ui->lblTitle->setText(
            component
                ? QStringLiteral("An unexpected '") + category +
                      QStringLiteral("' error occurred in a component used by ") + appTitle + u'.'
                : QStringLiteral("An unexpected '") + category +
                      QStringLiteral("' error occurred in ") + appTitle + u'.');
        m_ui->lblErrCnt->setText(QString::number(errorCount) +
                                 QStringLiteral(" error(s) are logged."));
        m_ui->lblStatus->setText(QStringLiteral("Error ") + QString::number(error.number) +
                                 QStringLiteral(" - ") + error.text);

        m_ui->Text1->setPlainText(QStringLiteral("Type in what you were doing here."));
        m_ui->Text1->selectAll();
        m_text1Selection = m_ui->Text1->textCursor();

        m_ui->nsCtrlArgs->setPlainText(callTree.join(u'\n'));
        m_ui->nsCtrlCalls->setPlainText(fsSystemReportMade() ? fsSystemReport() : QString());
        m_ui->Combo1->setCurrentIndex(0);
    });
}

QString frmFAILSAFE::headline() const {
    return m_ui->lblTitle->text();
}

QString frmFAILSAFE::userSaid() const {
    return m_ui->Text1->toPlainText();
}

QString frmFAILSAFE::tabText(int index) {
    switch (index) {
    case 0: {
        QStringList lines;
        lines << m_ui->lblTitle->text() << QString();
        const std::pair<QLabel*, QLabel*> fields[] = {
            {m_ui->lblErrNo, m_ui->ErrNo},           {m_ui->lblErrType, m_ui->ErrType},
            {m_ui->lblErrModule, m_ui->ErrModule},   {m_ui->lblErrProcedure, m_ui->ErrProcedure},
            {m_ui->lblErrProject, m_ui->errProject}, {m_ui->lblErrLine, m_ui->ErrLine},
        };
        for (const auto& [label, value] : fields)
            lines << label->text() + u'\t' + value->text();
        lines << m_ui->lblErrText->text() << m_ui->errText->toPlainText() << QString()
              << m_ui->Text1->toPlainText();
        return lines.join(u'\n');
    }
    case 1:
        return m_ui->nsCtrlArgs->toPlainText();
    case 2:
        if (m_ui->nsCtrlCalls->toPlainText().isEmpty())
            m_ui->nsCtrlCalls->setPlainText(fsSystemReport());
        return m_ui->nsCtrlCalls->toPlainText();
    default:
        return {};
    }
}

void frmFAILSAFE::Combo1_Click() {
    quietly([&] {
        const int index = m_ui->Combo1->currentIndex();
        if (index < 0)
            return;
        if (m_shownTab == 0 && index != 0)
            m_text1Selection = m_ui->Text1->textCursor();
        m_ui->panels->setCurrentIndex(index);
        m_shownTab = index;
        if (index == 0) {
            if (!m_text1Selection.isNull())
                m_ui->Text1->setTextCursor(m_text1Selection);
            m_ui->Text1->setFocus();
        } else if (index == 2 &&
                   (!fsSystemReportMade() || m_ui->nsCtrlCalls->toPlainText().isEmpty())) {
            QGuiApplication::setOverrideCursor(Qt::WaitCursor);
            m_ui->nsCtrlCalls->clear();
            QString report;
            fs::runUnheld([&] { report = fsSystemReport(); });
            m_ui->nsCtrlCalls->setPlainText(report);
            QGuiApplication::restoreOverrideCursor();
        }
    });
}

void frmFAILSAFE::nsCtrlContinue_Click() {
    done(fsaction::Leave);
}

void frmFAILSAFE::nsCtrlMore_Click() {
    done(fsaction::Break);
}

void frmFAILSAFE::done(int r) {
    // Every way out (the buttons, Escape, the window's close box) gives the answer and lets
    // the events held back by the trace run again.
    fsAction = r;
    quietly([&] { fsUserSaid = m_ui->Text1->toPlainText(); });
    fsInError = false;
    QDialog::done(r);
}

void frmFAILSAFE::nsHelp_Click() {
    quietly([&] { fs::runUnheld([&] { showHelp(); }); });
}

void frmFAILSAFE::showHelp() {
    // No error of this program carries a help file of its own; the manual stands in.
    const QString manual = appDir() + QStringLiteral("/Cantavox Manual.pdf");
    if (QFileInfo::exists(manual))
        QDesktopServices::openUrl(QUrl::fromLocalFile(manual));
    else
        Prompts::msgBox(QStringLiteral("No help file is installed."), vb::vbInformation);
}

void frmFAILSAFE::fsPrint_Click() {
    quietly([&] { fs::runUnheld([&] { printShownTab(); }); });
}

void frmFAILSAFE::printShownTab() {
    const QPrinterInfo info = QPrinterInfo::defaultPrinter();
    if (info.isNull()) {
        Prompts::msgBox(QStringLiteral("No default printer is set up on this computer."),
                        vb::vbExclamation);
        return;
    }
    const QStringList lines = tabText(m_ui->Combo1->currentIndex()).split(u'\n');
    QPrinter printer(info);
    printer.setDocName(fsText(33));
    QPainter p;
    if (!p.begin(&printer)) {
        Prompts::msgBox(QStringLiteral("The printer could not be started."), vb::vbExclamation);
        return;
    }
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPointSize(9);
    p.setFont(font);
    const QFontMetrics fm = p.fontMetrics();
    const int bottom = printer.height();
    int y = fm.ascent();
    for (QString line : lines) {
        if (y + fm.descent() > bottom) {
            printer.newPage();
            y = fm.ascent();
        }
        line.replace(u'\t', QStringLiteral("    "));
        p.drawText(0, y, line);
        y += fm.lineSpacing();
    }
    p.end();
}

void frmFAILSAFE::UpdateStatusBar(const QString& text) {
    quietly([&] { m_ui->lblStatus->setText(text); });
}

bool frmFAILSAFE::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Enter) {
        const auto it = m_statusTexts.constFind(watched);
        if (it != m_statusTexts.cend())
            UpdateStatusBar(it.value());
    } else if (event->type() == QEvent::Leave && m_statusTexts.contains(watched)) {
        // Back over the window itself (entering another control overrides this at once).
        UpdateStatusBar(windowStatusText());
    }
    return QDialog::eventFilter(watched, event);
}

void frmFAILSAFE::enterEvent(QEnterEvent* event) {
    UpdateStatusBar(windowStatusText());
    QDialog::enterEvent(event);
}

void frmFAILSAFE::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    quietly([&] {
        fsInError = true;
        if (m_ui->Combo1->currentIndex() == 0) {
            m_ui->Text1->setFocus();
            m_ui->Text1->selectAll();
        }
    });
}

void frmFAILSAFE::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_F1) {
        nsHelp_Click();
        return;
    }
    QDialog::keyPressEvent(event);
}
