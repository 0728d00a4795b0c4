// Discs, on image drives (a cue sheet and its bin, read through libcdio as a drive is) and the
// null sound device. Figures, each against its target and, for the digital reads, against
// cd-paranoia reading the same image in the same run:
//   loop read    - a 10-second loop read digitally into "temp.wav" (target 1 s);
//   track read   - a 5-minute track read with full error correction, in times real time
//                  (target at least 50), with the progress the copy window shows;
//   first sound  - play from a track to the first frame at the device (target 150 ms);
//   loop repeats - a 2 s loop of the disc played 100 times by answering each end: silent frames
//                  at the joins (target 0) and sectors read after the first pass (target 0);
//   position     - reported Position against what the device has played (target 20 ms);
//   shown        - from a disc appearing in the drive to its tracks in the window (target 1 s).
#include "../tests/journey/Drive.h"
#include "BenchSupport.h"
#include "CdImage.h"
#include "app/CantavoxApplication.h"
#include "app/frmMain.h"
#include "platform/CdDevice.h"
#include "platform/CdDisc.h"
#include "platform/DigitalReader.h"
#include "platform/MMControl.h"
#include "ui_frmMain.h"

#include <QAbstractItemView>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

void report(const char* what, double value, const char* unit, const char* target) {
    std::printf("%-58s %10.2f %-4s (target %s)\n", what, value, unit, target);
}

// Seconds cd-paranoia takes for the same read; -1 when it can't be run.
double peerSeconds(const QString& cue, const QString& span, const QString& out) {
    QElapsedTimer t;
    t.start();
    QProcess p;
    p.start(QStringLiteral("cd-paranoia"),
            {QStringLiteral("-d"), cue, QStringLiteral("-q"), span, out});
    if (!p.waitForFinished(120000) || p.exitCode() != 0)
        return -1;
    return t.elapsed() / 1000.0;
}

bool waitForSignal(QSignalSpy& spy, int ms) {
    return spy.count() > 0 || spy.wait(ms);
}

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v.empty() ? 0 : v[v.size() / 2];
}

int measure(const QString& work) {
    const QString driveDir = work + QStringLiteral("/drives/d");
    const QString cue = driveDir + QStringLiteral("/disc.cue");
    // A five-minute track, then a minute.
    if (!cdimage::insert(driveDir, {{{300.0}, {60.0}}})) {
        std::fprintf(stderr, "the image could not be written\n");
        return 1;
    }
    int status = 0;

    // Digital reads against cd-paranoia.
    DigitalReader reader;
    reader.initialise();
    if (reader.openDrive(1) > 0) {
        std::fprintf(stderr, "%s\n", qPrintable(reader.lastError()));
        return 1;
    }
    QSignalSpy done(&reader, &DigitalReader::readComplete);
    QSignalSpy progress(&reader, &DigitalReader::progress);
    QElapsedTimer t;
    t.start();
    reader.readSectionToFile(1, work + QStringLiteral("/temp.wav"), 20000, 10000);
    if (!waitForSignal(done, 60000))
        status = 1;
    const double loopSeconds = t.elapsed() / 1000.0;
    const double loopPeer = peerSeconds(cue, QStringLiteral("1[0:20.00]-1[0:29.74]"),
                                        work + QStringLiteral("/peer-loop.wav"));
    report("10 s loop read digitally", loopSeconds, "s", "1");
    report("  cd-paranoia, same loop", loopPeer, "s", "-");
    if (loopPeer > 0)
        report("  ratio to cd-paranoia", loopSeconds / loopPeer, "x", "-");
    done.clear();
    progress.clear();
    t.restart();
    reader.readTrackToFile(1, work + QStringLiteral("/track.wav"));
    if (!waitForSignal(done, 120000))
        status = 1;
    const double trackSeconds = t.elapsed() / 1000.0;
    const double trackPeer =
        peerSeconds(cue, QStringLiteral("1"), work + QStringLiteral("/peer.wav"));
    report("5 min track, full correction, times real time", 300.0 / trackSeconds, "x", ">= 50");
    report("  progress reports during it", double(progress.count()), "", "> 0");
    if (trackPeer > 0) {
        report("  cd-paranoia, same track, times real time", 300.0 / trackPeer, "x", "-");
        report("  ratio of times to cd-paranoia", trackSeconds / trackPeer, "x", "-");
    }

    // Play from a track, in real time.
    std::vector<double> starts;
    std::vector<double> drift;
    {
        MMControl cd;
        cd.setDeviceType(QStringLiteral("cdaudio"));
        cd.setFileName(QStringLiteral("D:"));
        cd.setWait(true);
        cd.setCommand(QStringLiteral("Open"));
        auto* device = static_cast<CdDevice*>(cd.device());
        for (int i = 0; i < 5; ++i) {
            cd.setWait(true);
            cd.setCommand(QStringLiteral("Stop"));
            cd.setTimeFormat(MMControl::TimeFormatMs);
            cd.setTrack(2);
            cd.setFrom(cd.TrackPosition());
            const qint64 before = device->audio() ? device->audio()->framesPlayed() : 0;
            t.restart();
            cd.setCommand(QStringLiteral("Play"));
            while (!device->audio() || device->audio()->framesPlayed() == before)
                bench::waitMs(1);
            starts.push_back(double(t.nsecsElapsed()) / 1e6);
        }
        const qint64 base = device->audio()->framesPlayed();
        const qint32 from = cd.Position();
        for (int i = 0; i < 100; ++i) {
            bench::waitMs(20);
            const double played = double(device->audio()->framesPlayed() - base) * 1000.0 / 44100;
            drift.push_back(std::abs(cd.Position() - from - played));
        }
        cd.setCommand(QStringLiteral("Close"));
    }
    report("play from a track to the first frame at the device", median(starts), "ms", "150");
    std::sort(drift.begin(), drift.end());
    report("Position vs played, median of 100", drift[drift.size() / 2], "ms", "20");
    report("Position vs played, worst of 100", drift.back(), "ms", "20");

    // A loop repeated a hundred times, at twenty times real time.
    qputenv("CANTAVOX_NULL_RATE", "20");
    {
        MMControl cd;
        cd.setDeviceType(QStringLiteral("cdaudio"));
        cd.setFileName(QStringLiteral("D:"));
        cd.setWait(true);
        cd.setCommand(QStringLiteral("Open"));
        cd.setRepeatAhead(true);
        int ends = 0;
        qint64 readAfterFirst = 0;
        QObject::connect(&cd, &MMControl::Done, [&](int code) {
            if (code != MMControl::NotifySuccessful)
                return;
            if (++ends == 1)
                readAfterFirst = CdDisc::sectorsRead();
            if (ends < 100) {
                cd.setFrom(130000);
                cd.setTo(132000);
                cd.setNotify(true);
                cd.setCommand(QStringLiteral("Play"));
            } else
                cd.setCommand(QStringLiteral("Stop"));
        });
        cd.setFrom(130000);
        cd.setTo(132000);
        cd.setNotify(true);
        cd.setCommand(QStringLiteral("Play"));
        for (int i = 0; i < 3000 && ends < 100; ++i)
            bench::waitMs(5);
        auto* device = static_cast<CdDevice*>(cd.device());
        report("2 s disc loop, passes ended", double(ends), "", "100");
        report("  silent frames at the joins", double(device->audio()->joinSilentFrames()), "",
               "0");
        report("  sectors read after the first pass",
               double(CdDisc::sectorsRead() - readAfterFirst), "", "0");
        cd.setCommand(QStringLiteral("Close"));
    }
    qputenv("CANTAVOX_NULL_RATE", "10");

    // The window: a disc appears, its tracks show.
    cdimage::eject(driveDir);
    frmMain* m = bench::startProgram();
    if (!m) {
        std::fprintf(stderr, "the main window did not come up\n");
        return 1;
    }
    QAbstractItemView* tracks = m->ui()->tgTracks;
    t.restart();
    cdimage::insert(driveDir, {{{40.0}, {40.0}, {40.0}}});
    const double written = t.elapsed();
    t.restart();
    while (tracks->model()->rowCount() != 3 && t.elapsed() < 10000)
        bench::waitMs(2);
    report("disc appearing to its tracks in the window", double(t.elapsed()), "ms", "1000");
    std::printf("(the image took %.0f ms to write before it appeared)\n", written);
    return status;
}

} // namespace

int main(int argc, char** argv) {
    QDir().mkpath(QStringLiteral("bench-work"));
    QTemporaryDir work(QDir::currentPath() + QStringLiteral("/bench-work/discs-XXXXXX"));
    bench::prepareEnvironment(work.path() + QStringLiteral("/home"), 1);
    QDir().mkpath(work.path() + QStringLiteral("/home"));
    qputenv("CANTAVOX_CD", (work.path() + QStringLiteral("/drives")).toLocal8Bit());
    CantavoxApplication app(argc, argv);
    int status = 1;
    QTimer::singleShot(0, &app, [&] {
        status = measure(work.path());
        exitProgram(false);
        QCoreApplication::exit(status);
    });
    app.exec();
    return status;
}
