#include "platform/SingleInstance.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>

namespace {
const QByteArray kShowRequest = QByteArrayLiteral("show\n");
}

SingleInstance::SingleInstance(const QString& folder, QObject* parent)
    : QObject(parent), m_folder(QDir(folder).absolutePath()) {}

SingleInstance::~SingleInstance() {
    release();
}

QString SingleInstance::lockFileName() const {
    return m_folder + QStringLiteral("/cantavox.lock");
}

// The socket lives in the system's temporary folder, so its name carries the folder's path
// (hashed: socket paths are short) rather than the path itself.
QString SingleInstance::serverName() const {
    const QString canonical = QFileInfo(m_folder).canonicalFilePath();
    const QByteArray key = (canonical.isEmpty() ? m_folder : canonical).toUtf8();
    return QStringLiteral("cantavox-%1-%2")
        .arg(QString::fromLatin1(
            QCryptographicHash::hash(key, QCryptographicHash::Sha1).toHex().left(16)))
        .arg(qEnvironmentVariable("USER", QStringLiteral("user")));
}

SingleInstance::Claim SingleInstance::claim() {
    if (m_lock)
        return Claim::Held;
    auto lock = std::make_unique<QLockFile>(lockFileName());
    // Only a dead holder makes a lock stale; a live one may run for days.
    lock->setStaleLockTime(0);
    if (!lock->tryLock(0)) {
        return lock->error() == QLockFile::LockFailedError ? Claim::AlreadyRunning
                                                           : Claim::NotPossible;
    }
    m_lock = std::move(lock);
    m_server = new QLocalServer(this);
    // A socket left behind by a holder that crashed would refuse the listen.
    QLocalServer::removeServer(serverName());
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (m_server->listen(serverName())) {
        connect(m_server, &QLocalServer::newConnection, this, [this] {
            while (QLocalSocket* s = m_server->nextPendingConnection()) {
                connect(s, &QLocalSocket::disconnected, s, &QObject::deleteLater);
                connect(s, &QLocalSocket::readyRead, this, [this, s] {
                    while (s->canReadLine())
                        if (s->readLine() == kShowRequest)
                            emit showRequested();
                });
            }
        });
    }
    // Without the socket the program still runs alone; a second start then only can't raise
    // this one's window.
    return Claim::Held;
}

bool SingleInstance::askHolderToShow(int timeoutMs) {
    QLocalSocket socket;
    socket.connectToServer(serverName());
    if (!socket.waitForConnected(timeoutMs))
        return false;
    socket.write(kShowRequest);
    const bool sent = socket.waitForBytesWritten(timeoutMs);
    socket.disconnectFromServer();
    if (socket.state() != QLocalSocket::UnconnectedState)
        socket.waitForDisconnected(timeoutMs);
    return sent;
}

qint64 SingleInstance::holderPid() const {
    QLockFile probe(lockFileName());
    qint64 pid = 0;
    QString host, app;
    return probe.getLockInfo(&pid, &host, &app) ? pid : 0;
}

void SingleInstance::release() {
    if (m_server) {
        m_server->close();
        delete m_server;
        m_server = nullptr;
    }
    if (m_lock) {
        m_lock->unlock();
        m_lock.reset();
    }
}
