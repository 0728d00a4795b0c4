// Writes loops into the library one committed update at a time and says so on stdout after
// each commit, until it is killed. Loop starts are base + 1, base + 2, ... The kill test checks
// that every row it announced survives.
#include "library/LibraryDatabase.h"
#include "library/Recordset.h"

#include <QCoreApplication>
#include <cstdio>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    if (argc < 3)
        return 2;
    const int base = QString::fromLocal8Bit(argv[2]).toInt();
    QString problem;
    if (!library::openConnection(QString::fromLatin1(library::kMainConnection),
                                 QString::fromLocal8Bit(argv[1]), problem)) {
        std::fprintf(stderr, "%s\n", qPrintable(problem));
        return 1;
    }
    Recordset loops;
    loops.setRecordSource(QStringLiteral("SELECT * FROM LoopPoints WHERE CDid = ?"), {77});
    loops.Refresh();
    for (int n = 1;; ++n) {
        loops.AddNew();
        loops.setField(QStringLiteral("CDid"), 77);
        loops.setField(QStringLiteral("startTime"), base + n);
        loops.setField(QStringLiteral("Lyrics"), QString(200, QChar(u'a' + n % 26)));
        loops.Update();
        // Every tenth loop is edited again, so updates are killed too, not only inserts.
        if (n % 10 == 0) {
            loops.setBookmark(loops.LastModified());
            loops.Edit();
            loops.setField(QStringLiteral("Comment"), QStringLiteral("edited %1").arg(n));
            loops.Update();
        }
        std::printf("%d\n", n);
        std::fflush(stdout);
    }
}
