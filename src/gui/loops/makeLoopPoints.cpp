#include "loops/makeLoopPoints.h"

#include "app/Forms.h"
#include "app/Messages.h"
#include "failsafe/modFailSafe.h"
#include "loops/LoopMarking.h"
#include "loops/loopPoints.h"
#include "ui_makeLoopPoints.h"

#include <QApplication>
#include <QCloseEvent>
#include <QListWidget>
#include <QScrollBar>

namespace {
const char* const kModule = "makeLoopPoints";
const QString kEndNotSet = QStringLiteral("Endpoint not set yet.");
} // namespace

makeLoopPoints::makeLoopPoints(LoopMarking& marking)
    : QDialog(marking.window()), m_marking(marking), m_ui(std::make_unique<Ui::makeLoopPoints>()) {
    m_ui->setupUi(this);
    setObjectName(QStringLiteral("makeLoopPoints"));
    // The mark is taken when the button goes down: the release comes a moment later than
    // the musician heard the phrase begin.
    connect(m_ui->cmdCompletePreviousLoop, &QPushButton::pressed, this,
            fs::trapped(kModule, "Sub cmdCompletePreviousLoop_MouseDown",
                        [this] { cmdCompletePreviousLoop_MouseDown(); }));
    connect(m_ui->btnKeep, &QPushButton::clicked, this,
            fs::trapped(kModule, "Sub btnKeep_Click", [this] { btnKeep_Click(); }));
    connect(m_ui->lstStarts, &QListWidget::itemSelectionChanged, this,
            fs::trapped(kModule, "Sub lstStarts_MouseUp", [this] { lstStarts_MouseUp(); }));
    connect(m_ui->lstEnds, &QListWidget::itemSelectionChanged, this,
            fs::trapped(kModule, "Sub lstEnds_MouseUp", [this] { lstEnds_MouseUp(); }));
    // The two lists scroll together, so that a start stands beside its end.
    connect(m_ui->lstStarts->verticalScrollBar(), &QScrollBar::valueChanged, this,
            [this](int top) { m_ui->lstEnds->verticalScrollBar()->setValue(top); });
    connect(m_ui->lstEnds->verticalScrollBar(), &QScrollBar::valueChanged, this,
            [this](int top) { m_ui->lstStarts->verticalScrollBar()->setValue(top); });
    fs::trap(kModule, "Sub Form_Load", [this] { Form_Load(); });
}

makeLoopPoints::~makeLoopPoints() = default;

void makeLoopPoints::Form_Load() {
    FS_PROC(kModule, "Sub Form_Load");
    reset();
    centerform(this);
}

void makeLoopPoints::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    fs::trap(kModule, "Sub Form_Activate", [this] { Form_Activate(); });
}

void makeLoopPoints::Form_Activate() {
    FS_PROC(kModule, "Sub Form_Activate");
    if (m_ui->btnKeep->isVisible())
        m_ui->btnKeep->setFocus();
}

void makeLoopPoints::reset() {
    FS_PROC(kModule, "Sub reset");
    m_ui->lstStarts->clear();
    m_ui->lstEnds->clear();
    const loopPoints& marks = m_marking.marks();
    if (marks.Count() >= 1)
        m_ui->lstStarts->addItem(marks.Item(1)->startTimeTTMMSS);
    m_ui->lstEnds->addItem(kEndNotSet);
}

void makeLoopPoints::cmdCompletePreviousLoop_MouseDown() {
    FS_PROC(kModule, "Sub cmdCompletePreviousLoop_MouseDown");
    m_marking.startNewLoop();
    const loopPoints& marks = m_marking.marks();
    const QString text = marks.Item(marks.Count())->startTimeTTMMSS;
    m_ui->lstStarts->addItem(text);
    // The row for the open loop stays last.
    m_ui->lstEnds->insertItem(m_ui->lstEnds->count() - 1, text);
}

void makeLoopPoints::btnKeep_Click() {
    FS_PROC(kModule, "Sub btnKeep_Click");
    m_marking.endLoopHere();
    loopPoints& marks = m_marking.marks();
    const qint32 firstStart = marks.Item(1)->startTimeMs.toInt();
    QApplication::processEvents();
    Message(QStringLiteral("Saving loop points"), QStringLiteral("Make Loop Points"));
    // Written last to first: each loop ends where the next one starts.
    qint32 nextStart = marks.Item(marks.Count())->startTimeMs.toInt();
    for (qint32 i = marks.Count() - 1; i >= 1; --i) {
        const loopPoint* mark = marks.Item(i);
        m_marking.saveLoop(mark->startTimeMs, mark->startTimeTTMMSS, nextStart);
        nextStart = mark->startTimeMs.toInt();
    }
    marks.Clear();
    m_marking.reloadLoops(nextStart);
    Message(QStringLiteral("Starting loop playback"), QStringLiteral("Make Loop Points"));
    m_marking.selectLoop(firstStart);
    m_marking.playSelectedLoop();
    Message(QStringLiteral("off"), QStringLiteral("Make Loop Points"));
    unloadForm(this);
}

void makeLoopPoints::copySelection(QListWidget* from, QListWidget* to) {
    if (m_copying)
        return;
    m_copying = true;
    for (int i = 0; i < from->count() && i < to->count(); ++i)
        to->item(i)->setSelected(from->item(i)->isSelected());
    m_copying = false;
}

void makeLoopPoints::lstStarts_MouseUp() {
    FS_PROC(kModule, "Sub lstStarts_MouseUp");
    copySelection(m_ui->lstStarts, m_ui->lstEnds);
}

void makeLoopPoints::lstEnds_MouseUp() {
    FS_PROC(kModule, "Sub lstEnds_MouseUp");
    copySelection(m_ui->lstEnds, m_ui->lstStarts);
}

void makeLoopPoints::Form_QueryUnload(bool& Cancel) {
    FS_PROC(kModule, "Sub Form_QueryUnload", FS_ARG(Cancel));
    // Closed by its frame: the marks are dropped, nothing is saved.
    if (!Cancel)
        m_marking.marks().Clear();
}

void makeLoopPoints::closeEvent(QCloseEvent* event) {
    bool cancel = false;
    fs::trap(kModule, "Sub Form_QueryUnload", [&] { Form_QueryUnload(cancel); });
    if (cancel) {
        event->ignore();
        return;
    }
    QDialog::closeEvent(event);
    // Closed by its frame the window is unloaded too: the next marking starts afresh.
    if (!property("cantavoxUnloaded").toBool()) {
        setProperty("cantavoxUnloaded", true);
        deleteLater();
    }
}

void makeLoopPoints::reject() {
    // Escape is the frame's close: the same question of unloading.
    close();
}
