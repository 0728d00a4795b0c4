#pragma once

#include <QObject>
#include <QString>
#include <memory>

class QLocalServer;
class QLockFile;

// One running program per program folder. Two programs on one folder would write one
// library and one pair of scratch files behind each other's back.
//
// The first start holds a lock file in the folder (a holder that crashed leaves a stale lock,
// which the next start takes over) and listens on a local socket named after the folder. A
// second start finds the lock held, asks the holder over that socket to come to the front,
// and leaves; it writes no file.
//
// Thread: UI thread only.
class SingleInstance : public QObject {
    Q_OBJECT
public:
    enum class Claim {
        Held,           // this process is the one for the folder
        AlreadyRunning, // another live process holds the folder
        NotPossible     // the lock could not be made (an unwritable folder): let the caller's
                        // own checks say why
    };

    explicit SingleInstance(const QString& folder, QObject* parent = nullptr);
    ~SingleInstance() override;

    Claim claim();
    // For a second start: asks the holder to bring its window to the front. False when the
    // holder did not answer within the time.
    bool askHolderToShow(int timeoutMs = 2000);
    // The process id the lock file names, or 0.
    qint64 holderPid() const;
    // Gives the folder free again (the process ends, or a test starts the program anew).
    void release();

    QString lockFileName() const;
    QString serverName() const;

signals:
    // A second start asked this one to come to the front.
    void showRequested();

private:
    QString m_folder;
    std::unique_ptr<QLockFile> m_lock;
    QLocalServer* m_server = nullptr;
};
