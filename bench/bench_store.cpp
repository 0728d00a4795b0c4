// The library store at the size of a long-used library: 5,000 discs, 50,000 tracks,
// 100,000 loops and 5,000 wave files. Figures, each against its target:
//   open   - upgrade check (the field check on a connection of its own, as after an old
//            dbVersion), then the library connection with its integrity check and the disc
//            and wave-file data controls read;
//   find   - a disc by its two lengths, as a CD is recognised;
//   load   - one disc's tracks and loops into their data controls;
//   update - one loop's comment edited and committed (synchronous FULL, this machine's disk).
// The library lives in a temporary folder under the working folder, so on the real disk.
#include "app/AppPaths.h"
#include "library/DiscQueries.h"
#include "library/LibraryDatabase.h"
#include "library/LoopQueries.h"
#include "library/Recordset.h"
#include "library/TrackQueries.h"
#include "library/WaveFileQueries.h"
#include "library/dbUpgrade.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

constexpr int kDiscs = 5000;
constexpr int kTracksPerDisc = 10;
constexpr int kLoopsPerDisc = 20;
constexpr int kWaveFiles = 5000;

qint64 cdLenOf(int disc) {
    return 1800000 + qint64(disc) * 997;
}
qint64 track1LenOf(int disc) {
    return 120000 + qint64(disc % 331) * 211;
}

bool exec(QSqlQuery& q) {
    if (q.exec())
        return true;
    std::fprintf(stderr, "%s\n", qPrintable(q.lastError().text()));
    return false;
}

bool populate(const QString& path) {
    bool created = false;
    QString problem;
    if (!library::createLibraryIfMissing(path, created, problem)) {
        std::fprintf(stderr, "%s\n", qPrintable(problem));
        return false;
    }
    AppendNewFields();
    if (!library::openConnection(QStringLiteral("fill"), path, problem)) {
        std::fprintf(stderr, "%s\n", qPrintable(problem));
        return false;
    }
    {
        QSqlDatabase db = library::connection(QStringLiteral("fill"));
        db.transaction();
        QSqlQuery cd(db), track(db), loop(db), wave(db);
        cd.prepare(QStringLiteral("INSERT INTO CDs (Title, Artist, cdLen, numTracks, track1Len) "
                                  "VALUES (?, ?, ?, ?, ?)"));
        track.prepare(QStringLiteral("INSERT INTO Tracks (CDid, TrackNum, TrackName, Rating, "
                                     "Comments) VALUES (?, ?, ?, ?, ?)"));
        loop.prepare(QStringLiteral("INSERT INTO LoopPoints (CDid, TrackNum, startTime, endTime, "
                                    "Comment, Chords, Lyrics) VALUES (?, ?, ?, ?, ?, ?, ?)"));
        wave.prepare(QStringLiteral("INSERT INTO \"Wave Files\" (waveFileName, waveFilePath, "
                                    "waveDataLength) VALUES (?, ?, ?)"));
        for (int d = 0; d < kDiscs; ++d) {
            const qint64 id = d + 2; // 1 is the empty drive's record
            cd.addBindValue(QStringLiteral("Disc %1").arg(d));
            cd.addBindValue(QStringLiteral("Artist %1").arg(d % 700));
            cd.addBindValue(cdLenOf(d));
            cd.addBindValue(kTracksPerDisc);
            cd.addBindValue(track1LenOf(d));
            if (!exec(cd))
                return false;
            for (int t = 1; t <= kTracksPerDisc; ++t) {
                track.addBindValue(id);
                track.addBindValue(t);
                track.addBindValue(QStringLiteral("Track %1 of disc %2").arg(t).arg(d));
                track.addBindValue(QStringLiteral("***"));
                track.addBindValue(QStringLiteral("Learn the bridge first; the solo at 2:10."));
                if (!exec(track))
                    return false;
            }
            for (int l = 0; l < kLoopsPerDisc; ++l) {
                const qint64 start = qint64(l) * 9000 + 500;
                loop.addBindValue(id);
                loop.addBindValue(l / 2 + 1);
                loop.addBindValue(start);
                loop.addBindValue(start + 4000);
                loop.addBindValue(QStringLiteral("Phrase %1").arg(l));
                loop.addBindValue(QStringLiteral("Am7 D9 Gmaj7 Cmaj7"));
                loop.addBindValue(QStringLiteral("and the words go round and round"));
                if (!exec(loop))
                    return false;
            }
        }
        for (int w = 0; w < kWaveFiles; ++w) {
            wave.addBindValue(QStringLiteral("take %1.wav").arg(w));
            wave.addBindValue(QStringLiteral("/home/player/recordings/%1").arg(w / 100));
            wave.addBindValue(qint64(w) * 44100 * 4);
            if (!exec(wave))
                return false;
        }
        if (!db.commit())
            return false;
    }
    library::closeConnection(QStringLiteral("fill"));
    return true;
}

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

double msOf(const std::function<void()>& f) {
    QElapsedTimer t;
    t.start();
    f();
    return double(t.nsecsElapsed()) / 1e6;
}

void report(const char* what, const std::vector<double>& ms, double target) {
    const double med = median(ms);
    const double worst = *std::max_element(ms.begin(), ms.end());
    std::printf("%-34s median %8.3f ms, worst %8.3f ms  (target %5.0f ms: ratio %.3f)\n", what, med,
                worst, target, med / target);
}

} // namespace

int main(int argc, char** argv) {
    QTemporaryDir home(QDir::currentPath() + QStringLiteral("/bench-store-XXXXXX"));
    qputenv("CANTAVOX_HOME", home.path().toUtf8());
    qputenv("CANTAVOX_PROMPTS", "script");
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    ensureResources();
    const QString path = library::libraryPath();

    const double fillMs = msOf([&] {
        if (!populate(path))
            std::exit(1);
    });
    std::printf("library of %d discs, %d tracks, %d loops, %d wave files: %.1f MB, made in %.0f "
                "ms\n",
                kDiscs, kDiscs * kTracksPerDisc, kDiscs * kLoopsPerDisc, kWaveFiles,
                double(QFileInfo(path).size()) / 1e6, fillMs);

    Recordset CDs, WAVs, dtaTracks, dtaLoopPoints;
    std::vector<double> open;
    for (int i = 0; i < 7; ++i) {
        library::closeConnection(QString::fromLatin1(library::kMainConnection));
        open.push_back(msOf([&] {
            AppendNewFields();
            QString problem;
            if (!library::openConnection(QString::fromLatin1(library::kMainConnection), path,
                                         problem)) {
                std::fprintf(stderr, "%s\n", qPrintable(problem));
                std::exit(1);
            }
            library::selectAllDiscs(CDs);
            CDs.Refresh();
            library::selectAllWaveFiles(WAVs);
            WAVs.Refresh();
        }));
    }
    if (CDs.RecordCount() != kDiscs + 1 || WAVs.RecordCount() != kWaveFiles) {
        std::fprintf(stderr, "data controls read %d discs and %d wave files\n", CDs.RecordCount(),
                     WAVs.RecordCount());
        return 1;
    }
    report("open with the upgrade check", open, 300);

    auto* rng = QRandomGenerator::global();
    std::vector<double> find;
    for (int i = 0; i < 200; ++i) {
        const int d = int(rng->bounded(kDiscs));
        find.push_back(msOf([&] { library::findDiscByLengths(CDs, cdLenOf(d), track1LenOf(d)); }));
        if (CDs.NoMatch() || CDs.field(QStringLiteral("CDid")).toLongLong() != d + 2) {
            std::fprintf(stderr, "disc %d was not found\n", d);
            return 1;
        }
    }
    report("find a disc by its two lengths", find, 2);

    std::vector<double> load;
    for (int i = 0; i < 200; ++i) {
        const qint64 id = 2 + rng->bounded(kDiscs);
        load.push_back(msOf([&] {
            library::selectDiscTracks(dtaTracks, id);
            dtaTracks.Refresh();
            library::selectDiscLoops(dtaLoopPoints, id);
            dtaLoopPoints.Refresh();
        }));
        if (dtaTracks.RecordCount() != kTracksPerDisc ||
            dtaLoopPoints.RecordCount() != kLoopsPerDisc) {
            std::fprintf(stderr, "disc %lld loaded %d tracks and %d loops\n", id,
                         dtaTracks.RecordCount(), dtaLoopPoints.RecordCount());
            return 1;
        }
    }
    report("load one disc's tracks and loops", load, 5);

    std::vector<double> update;
    for (int i = 0; i < 50; ++i) {
        dtaLoopPoints.setAbsolutePosition(i % kLoopsPerDisc);
        update.push_back(msOf([&] {
            dtaLoopPoints.Edit();
            dtaLoopPoints.setField(QStringLiteral("Comment"), QStringLiteral("take %1").arg(i));
            dtaLoopPoints.Update();
        }));
    }
    report("one loop update committed", update, 20);

    library::closeConnection(QString::fromLatin1(library::kMainConnection));
    return 0;
}
