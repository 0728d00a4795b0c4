#include "platform/SignalWatcher.h"

#include <QSocketNotifier>
#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {
int g_pipe[2] = {-1, -1};

void onSignal(int sig) {
    const char c = static_cast<char>(sig);
    // Only async-signal-safe work here.
    [[maybe_unused]] const auto n = ::write(g_pipe[0], &c, 1);
}
} // namespace

SignalWatcher::SignalWatcher(QObject* parent) : QObject(parent) {
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, g_pipe) != 0)
        return;
    ::fcntl(g_pipe[0], F_SETFL, O_NONBLOCK);
    m_notifier = new QSocketNotifier(g_pipe[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &SignalWatcher::readSignal);
    struct sigaction sa = {};
    sa.sa_handler = onSignal;
    sigemptyset(&sa.sa_mask);
    sa.sa_flags = SA_RESTART;
    for (int sig : {SIGTERM, SIGINT, SIGHUP})
        ::sigaction(sig, &sa, nullptr);
}

SignalWatcher::~SignalWatcher() {
    for (int sig : {SIGTERM, SIGINT, SIGHUP})
        ::signal(sig, SIG_DFL);
    if (g_pipe[0] >= 0) {
        ::close(g_pipe[0]);
        ::close(g_pipe[1]);
        g_pipe[0] = g_pipe[1] = -1;
    }
}

void SignalWatcher::readSignal() {
    char c = 0;
    if (::read(g_pipe[1], &c, 1) == 1)
        emit terminationRequested(static_cast<int>(c));
}
