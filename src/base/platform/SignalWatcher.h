#pragma once

#include <QObject>

class QSocketNotifier;

// Turns SIGTERM, SIGINT and SIGHUP into a Qt signal on the UI thread, so that a session's
// end or a Ctrl+C in the terminal closes the program the same way File, Exit does.
//
// Thread: construct on the UI thread; the signal handler only writes one byte to a pipe.
class SignalWatcher : public QObject {
    Q_OBJECT
public:
    explicit SignalWatcher(QObject* parent = nullptr);
    ~SignalWatcher() override;

signals:
    void terminationRequested(int signalNumber);

private:
    void readSignal();
    QSocketNotifier* m_notifier = nullptr;
};
