#include "Journey.h"

#include "app/AppPaths.h"
#include "app/Prompts.h"

#include <QAbstractItemView>
#include <QDir>
#include <QLabel>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTest>

namespace journey {

drive::Input qtestInput() {
    drive::Input in;
    in.key = [](QWidget* w, int key, Qt::KeyboardModifiers mods, const QString& text) {
        QTest::sendKeyEvent(QTest::Click, w, Qt::Key(key), text, mods);
    };
    in.click = [](QWidget* w, QPoint at) { QTest::mouseClick(w, Qt::LeftButton, {}, at); };
    return in;
}

QList<QVariantList> LibraryReader::rows(const QString& sql, const QVariantList& values) {
    const QString name = QStringLiteral("journey-reader");
    QList<QVariantList> out;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        db.setDatabaseName(appDir() + QStringLiteral("/cantavox.db"));
        db.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY"));
        EXPECT_TRUE(db.open()) << "the library can't be read by another program";
        QSqlQuery q(db);
        q.prepare(sql);
        for (const QVariant& v : values)
            q.addBindValue(v);
        EXPECT_TRUE(q.exec()) << sql.toStdString();
        while (q.next()) {
            QVariantList row;
            for (int i = 0; i < q.record().count(); ++i)
                row << q.value(i);
            out << row;
        }
        q.finish();
        db.close();
    }
    QSqlDatabase::removeDatabase(name);
    return out;
}

QList<LibraryReader::Loop> LibraryReader::loopsOf(const QString& fileName) {
    QList<Loop> loops;
    const auto found =
        rows(QStringLiteral("SELECT l.startTime, l.endTime, l.Chords, l.Lyrics, l.Comment, "
                            "l.lastPct FROM WaveLoopPoints l JOIN \"Wave Files\" f "
                            "ON f.waveFileID = l.waveFileID WHERE f.waveFileName = ? "
                            "ORDER BY l.startTime"),
             {fileName});
    for (const QVariantList& r : found)
        loops << Loop{r[0].toInt(),    r[1].toInt(),    r[2].toString(),
                      r[3].toString(), r[4].toString(), r[5]};
    return loops;
}

QList<LibraryReader::Disc> LibraryReader::discs() {
    QList<Disc> out;
    for (const QVariantList& r :
         rows(QStringLiteral("SELECT CDid, Title, Artist, cdLen, track1Len, numTracks FROM CDs "
                             "WHERE cdLen > 0 ORDER BY CDid"),
              {})) {
        Disc d{r[0].toInt(),
               r[1].toString(),
               r[2].toString(),
               r[3].toLongLong(),
               r[4].toLongLong(),
               r[5].toInt(),
               {}};
        for (const QVariantList& t :
             rows(QStringLiteral("SELECT TrackName FROM Tracks WHERE CDid = ? ORDER BY TrackNum"),
                  {d.id}))
            d.trackNames << t[0].toString();
        out << d;
    }
    return out;
}

QList<LibraryReader::Loop> LibraryReader::loopsOfDisc(int cdId) {
    QList<Loop> loops;
    for (const QVariantList& r :
         rows(QStringLiteral("SELECT startTime, endTime, Chords, Lyrics, Comment, lastPct FROM "
                             "LoopPoints WHERE CDid = ? ORDER BY startTime"),
              {cdId}))
        loops << Loop{r[0].toInt(),    r[1].toInt(),    r[2].toString(),
                      r[3].toString(), r[4].toString(), r[5]};
    return loops;
}

QVariant LibraryReader::fileField(const QString& fileName, const QString& field) {
    // The field's name is the journey's own word, never the user's.
    const auto found = rows(QStringLiteral("SELECT \"%1\" FROM \"Wave Files\" WHERE "
                                           "waveFileName = ?")
                                .arg(field),
                            {fileName});
    return found.isEmpty() ? QVariant() : found.first().value(0);
}

} // namespace journey

void Journey::SetUp() {
    qputenv("CANTAVOX_NULL_RATE", QByteArray::number(m_nullRate));
    ASSERT_TRUE(QDir().mkpath(musicPath({})));
    startProgram();
}

void Journey::TearDown() {
    run.reset();
    Prompts::setScripted(true);
    Prompts::clear();
    qunsetenv("CANTAVOX_NULL_RATE");
}

void Journey::startProgram() {
    run.reset();
    run.emplace();
    beforeStart();
    run->start();
    ASSERT_TRUE(run->waitUntilRunning()) << "the main window never came up";
    ASSERT_TRUE(drive::activate(mainWindow()));
}

void Journey::quitThroughFileMenu() {
    ASSERT_TRUE(drive::activate(mainWindow()));
    chooseMenu(Qt::Key_F, Qt::Key_X);
    ASSERT_TRUE(drive::waitFor([] { return !drive::shownWindow(QStringLiteral("frmMain")); }))
        << "File > Exit left the window up";
}

QMainWindow* Journey::mainWindow() const {
    return qobject_cast<QMainWindow*>(drive::shownWindow(QStringLiteral("frmMain")));
}

QAbstractItemView* Journey::loopsGrid() const {
    return widget<QAbstractItemView>("loopPoints");
}

QString Journey::panel(const char* name) const {
    auto* label = widget<QLabel>(name);
    return label ? label->text() : QString();
}

void Journey::chooseMenu(Qt::Key menu, Qt::Key item) {
    QTest::keyClick(mainWindow(), menu, Qt::AltModifier);
    QWidget* popup = nullptr;
    ASSERT_TRUE(drive::waitFor([&] {
        return (popup = QApplication::activePopupWidget()) != nullptr;
    })) << "Alt+"
        << char(menu) << " opened no menu";
    QTest::keyClick(popup, item);
}

void Journey::openThroughFileMenu(const QString& path) {
    ASSERT_TRUE(drive::activate(mainWindow()));
    Prompts::pushAnswer(path);
    chooseMenu(Qt::Key_F, Qt::Key_O);
}

void Journey::press(QWidget* w, int key, Qt::KeyboardModifiers mods) {
    ASSERT_NE(w, nullptr);
    drive::press(input, w, key, mods);
}

void Journey::click(QWidget* w) {
    ASSERT_NE(w, nullptr);
    ASSERT_TRUE(w->isVisible()) << w->objectName().toStdString() << " isn't on the screen";
    drive::click(input, w);
}

void Journey::enter(QWidget* field, const QString& text) {
    click(field);
    press(field, Qt::Key_A, Qt::ControlModifier);
    drive::type(input, text);
    press(field, Qt::Key_Return);
}

QStringList Journey::messageBoxes() const {
    QStringList boxes;
    for (const Prompts::Record& r : Prompts::log())
        if (r.kind == u"msgbox")
            boxes << r.text;
    return boxes;
}

QString Journey::musicPath(const QString& name) const {
    return appDir() + QStringLiteral("/music/") + name;
}

QList<QStringList> Journey::shownLoops() const {
    QList<QStringList> out;
    QAbstractItemView* grid = loopsGrid();
    if (!grid)
        return out;
    for (int r = 0; r < grid->model()->rowCount(); ++r)
        out << QStringList{grid->model()->index(r, 1).data().toString(),
                           grid->model()->index(r, 2).data().toString(),
                           grid->model()->index(r, 3).data().toString()};
    return out;
}
