#pragma once

#include <QApplication>

// The application object. Its notify() is the last trap: a run-time error that escapes an
// event handler without a trap of its own still reaches the error dialog instead of ending
// the process.
//
// Thread: UI thread only.
class CantavoxApplication : public QApplication {
    Q_OBJECT
public:
    CantavoxApplication(int& argc, char** argv);
    bool notify(QObject* receiver, QEvent* event) override;
};
