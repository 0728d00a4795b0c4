#pragma once

// The fixture of the journeys: the real program started in this process through Main, in a
// program folder of the journey's own (kept across a restart), on the null sound device, and
// used only as a musician uses it - keys and clicks on widgets found by name, dialogs answered
// as the user answers them. Results are read where a user or another program finds them:
// widget texts, files, the sound heard through a recording null input, and the library read
// through a connection of the journey's own.
#include "Drive.h"
#include "ProgramRun.h"
#include "TestHome.h"

#include <QList>
#include <QMainWindow>
#include <QString>
#include <QVariant>
#include <gtest/gtest.h>
#include <optional>

class QAbstractItemView;

namespace journey {

// Keys and clicks as QTest sends them: through the shortcut map first, then to the widget.
drive::Input qtestInput();

// The library as another program reads it: its own read-only connection, opened for each
// question and closed again, never the program's.
class LibraryReader {
public:
    struct Loop {
        qint32 start = 0;
        qint32 end = 0;
        QString chords, lyrics, comment;
        QVariant lastPct;
        bool operator==(const Loop&) const = default;
    };
    // The loops of the wave file of that name, in start order.
    static QList<Loop> loopsOf(const QString& fileName);
    struct Disc {
        int id = 0;
        QString title, artist;
        qint64 cdLen = 0, track1Len = 0;
        int numTracks = 0;
        QStringList trackNames;
    };
    // The discs the library knows, but for the record of the empty drive.
    static QList<Disc> discs();
    // The loops of a disc, in start order.
    static QList<Loop> loopsOfDisc(int cdId);
    // A field of the wave file's own record (Null when there is no such file).
    static QVariant fileField(const QString& fileName, const QString& field);

private:
    static QList<QVariantList> rows(const QString& sql, const QVariantList& values);
};

} // namespace journey

class Journey : public ::testing::Test {
protected:
    // The pace of the null device against real time; a journey may choose another before
    // SetUp runs.
    explicit Journey(int nullRate = 10) : m_nullRate(nullRate) {}
    void SetUp() override;
    void TearDown() override;

    // Starts the program (again) on the journey's program folder and waits for its window.
    void startProgram();
    // Just before the program starts: the answers a journey gives to questions of the start.
    virtual void beforeStart() {}
    // File > Exit, by its mnemonics.
    void quitThroughFileMenu();

    QMainWindow* mainWindow() const;
    template <class T = QWidget> T* widget(const char* name) const {
        T* w = drive::in<T>(mainWindow(), name);
        EXPECT_NE(w, nullptr) << "no widget " << name << " on the main window";
        return w;
    }
    QAbstractItemView* loopsGrid() const;
    QString panel(const char* name) const;

    // Alt+menu, then the item's letter in the menu that opened.
    void chooseMenu(Qt::Key menu, Qt::Key item);
    // File > Open, answered with that path.
    void openThroughFileMenu(const QString& path);
    void press(QWidget* w, int key, Qt::KeyboardModifiers mods = {});
    void click(QWidget* w);
    // Selects all of a field's text and types over it, ending with Enter.
    void enter(QWidget* field, const QString& text);
    // Message boxes shown since the journey began (questions included).
    QStringList messageBoxes() const;
    QString musicPath(const QString& name) const;

    // The rows of the loops grid as they show: (Chords, Lyrics, Label/Comment).
    QList<QStringList> shownLoops() const;

    TestHome home;
    std::optional<ProgramRun> run;
    drive::Input input = journey::qtestInput();

private:
    int m_nullRate;
};
