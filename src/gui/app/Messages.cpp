#include "app/Messages.h"

#include "app/BusyHost.h"
#include "app/Forms.h"
#include "app/Prompts.h"
#include "app/messageForm.h"
#include "app/messages2.h"
#include "failsafe/modFailSafe.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QEventLoop>
#include <QGuiApplication>
#include <QScreen>
#include <QTimer>
#include <QWidget>
#include <algorithm>
#include <cmath>

namespace {
const char* const kModule = "AppUtilities";
std::function<double()> g_pauseClock;
BusyHost* g_busyHost = nullptr;
} // namespace

void setBusyHost(BusyHost* host) {
    g_busyHost = host;
}

BusyHost* busyHost() {
    return g_busyHost;
}

double Timer() {
    const QTime now = QTime::currentTime();
    return now.msecsSinceStartOfDay() / 1000.0;
}

void Message(const QString& theString, const QString& newCaption) {
    FS_PROC(kModule, "Sub Message", FS_ARG(theString), FS_ARG(newCaption));
    if (theString != u"off") {
        messageForm* box = loadForm<messageForm>();
        box->setWindowTitle(newCaption);
        box->setText(theString);
        box->show();
    } else if (messageForm* box = formIfLoaded<messageForm>()) {
        unloadForm(box);
    }
    QCoreApplication::processEvents();
}

void Message2(const QString& theString, const QString& theSource) {
    FS_PROC(kModule, "Sub Message2", FS_ARG(theString), FS_ARG(theSource));
    if (theString != u"off") {
        messages2* box = loadForm<messages2>();
        box->show();
        // The box may be closing under us; its captions are not worth an error.
        fs::ignoreErrors([&] { box->setSource(theSource); });
        fs::ignoreErrors([&] { box->setText(theString); });
    } else {
        if (messages2* box = formIfLoaded<messages2>())
            unloadForm(box);
        if (BusyHost* host = busyHost())
            host->setBusy(false);
    }
    QCoreApplication::processEvents();
}

bool confirm(const QString& msg) {
    FS_PROC(kModule, "Function confirm", FS_ARG(msg));
    return Prompts::msgBox(msg, vb::vbYesNo + vb::vbQuestion, Prompts::appTitle()) == vb::vbYes;
}

void centerform(QWidget* frm) {
    FS_PROC(kModule, "Sub centerform");
    if (!frm)
        return;
    QScreen* screen = frm->screen() ? frm->screen() : QGuiApplication::primaryScreen();
    if (!screen)
        return;
    const QRect area = screen->geometry();
    const QRect frame = frm->frameGeometry();
    frm->move(area.left() + (area.width() - frame.width()) / 2,
              area.top() + (area.height() - frame.height()) / 2);
}

void setPauseClock(std::function<double()> clock) {
    g_pauseClock = std::move(clock);
}

void Pause(float nSecond) {
    FS_PROC(kModule, "Sub Pause", FS_ARG(nSecond));
    auto clock = [] { return g_pauseClock ? g_pauseClock() : Timer(); };
    double start = clock();
    // Seconds since midnight decide when the wait is over. The clock is read again after
    // each short slice, so that midnight, a clock set back or a test's clock is seen soon,
    // and the thread sleeps in between.
    constexpr double kSliceMs = 25;
    bool done = false;
    QEventLoop loop;
    QTimer slice;
    slice.setSingleShot(true);
    slice.setTimerType(Qt::PreciseTimer);
    QObject::connect(&slice, &QTimer::timeout, &loop, [&] {
        const double now = clock();
        if (now < start) // midnight has passed
            start -= 86400;
        const double left = nSecond - (now - start);
        if (left <= 0) {
            done = true;
            // A Pause begun by an event during this one returns first; this loop then ends
            // as soon as control is back in it.
            loop.quit();
            return;
        }
        slice.start(static_cast<int>(std::ceil(std::min(left * 1000, kSliceMs))));
    });
    // Events already waiting run before the clock is first read again.
    slice.start(0);
    loop.exec();
    // An event loop refuses to run once the application is quitting; the wait still lasts
    // its time.
    while (!done)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}
