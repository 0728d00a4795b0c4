// Loops on the main window, with the program's own procedures on the null sound device in
// real time. Figures, each against its target:
//   highlight - the loops grid's row following the music (updatePosition in straight play,
//               which calls highlightLoopPoint) with 2,000 loops on the file, per status
//               event: median and worst of 500 events spread over the file (target 1 ms);
//   trim      - from the release of a trim slider to the first frame of the loop on its new
//               bounds reaching the device: median and worst of 20 moves (target 50 ms).
#include "BenchSupport.h"
#include "app/AppPaths.h"
#include "app/CantavoxApplication.h"
#include "app/Forms.h"
#include "app/Main.h"
#include "app/Prompts.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "library/Recordset.h"
#include "library/RecordsetModel.h"
#include "loops/frmTrim.h"
#include "platform/AudioDevice.h"
#include "platform/MMControl.h"
#include "platform/WaveDevice.h"
#include "ui_frmMain.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QSlider>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sndfile.h>
#include <thread>
#include <vector>

namespace {

constexpr int kRate = 44100;
constexpr int kLoops = 2000;
constexpr int kSeconds = 1200; // 20 minutes: 2,000 loops of 600 ms

void report(const char* what, std::vector<double> v, double target) {
    std::sort(v.begin(), v.end());
    const double median = v[v.size() / 2];
    std::printf("%-40s median %7.3f ms, worst %7.3f ms (target %4.0f ms: ratios %.3f / %.3f)\n",
                what, median, v.back(), target, median / target, v.back() / target);
}

} // namespace

int main(int argc, char** argv) {
    QTemporaryDir home;
    bench::prepareEnvironment(home.path(), 1);
    CantavoxApplication app(argc, argv);
    frmMain* m = bench::startProgram();
    if (!m)
        return 1;
    const QString file = appDir() + QStringLiteral("/twenty minutes.wav");
    if (!bench::writeTone(file, kSeconds, 220.0))
        return 1;
    Prompts::pushAnswer(file);
    m->mnuFileOpen_Click();
    MMControl* w = m->ui()->WaveControl;
    if (m->transport().cdView || w->Error() != 0)
        return 1;

    // 2,000 loops through the loops data control, then read as the grid reads them.
    {
        const QVariant id = m->library().WAVs->field(QStringLiteral("waveFileID"));
        Recordset* rs = m->library().dtaLoopPoints;
        for (int i = 1; i < kLoops; ++i) {
            rs->AddNew();
            rs->setField(QStringLiteral("waveFileID"), id);
            rs->setField(QStringLiteral("startTime"), i * 600);
            rs->setField(QStringLiteral("endTime"), i * 600 + 600);
            rs->setField(QStringLiteral("Comment"), QStringLiteral("phrase %1").arg(i));
            rs->Update();
        }
        rs->Requery();
        m->library().loopsModel->reload();
    }
    std::printf("%d loops on a %d-minute file\n", m->library().dtaLoopPoints->RecordCount(),
                kSeconds / 60);

    // Straight play, the status events' work timed one by one at positions along the file.
    std::vector<double> highlight;
    gvPlayRequested = true;
    for (int i = 0; i < 500; ++i) {
        w->setFrom((i * 2399) % (kSeconds * 1000 - 1000));
        w->setWait(false);
        w->setCommand(QStringLiteral("Play"));
        gvPlayRequested = true;
        QElapsedTimer t;
        t.start();
        m->updatePosition();
        highlight.push_back(t.nsecsElapsed() / 1e6);
    }
    w->setCommand(QStringLiteral("Stop"));
    report("row following the music, per event", highlight, 1.0);

    // The trim window on one loop; each move of a slider is timed from its release to the
    // first frame of the new play at the device.
    m->library().dtaLoopPoints->FindFirst(QStringLiteral("startTime = ?"), {60000});
    m->btnLoopPlay_Click();
    frmTrim* trim = formIfLoaded<frmTrim>();
    auto* device = static_cast<WaveDevice*>(w->device());
    std::vector<double> restart;
    gvPreviewEnd = false;
    for (int i = 0; i < 20; ++i) {
        bench::waitMs(150);
        QSlider* slider = trim->slStart(i % 2);
        trim->slStart_MouseDown(i % 2);
        const qint64 before = device->audio() ? device->audio()->framesPlayed() : 0;
        QElapsedTimer t;
        t.start();
        slider->setValue(slider->value() + (i % 4 < 2 ? 50 : -50));
        trim->slStart_MouseUp(i % 2);
        while (device->audio() && device->audio()->framesPlayed() == before && t.elapsed() < 1000)
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        restart.push_back(t.nsecsElapsed() / 1e6);
        bench::waitMs(320); // the slider takes the mouse again
    }
    report("trim slider release to new sound", restart, 50.0);
    exitProgram(false);
    return 0;
}
