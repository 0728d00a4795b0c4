#include "app/CantavoxApplication.h"

#include "app/AppPaths.h"
#include "app/Dialogs.h"
#include "app/Forms.h"
#include "failsafe/modFailSafe.h"

#include <QIcon>

CantavoxApplication::CantavoxApplication(int& argc, char** argv) : QApplication(argc, argv) {
    setApplicationName(QStringLiteral("Cantavox"));
    ensureWindowResources();
    setApplicationDisplayName(QStringLiteral("Cantavox"));
    setOrganizationName(QStringLiteral("Cantavox"));
    setApplicationVersion(QStringLiteral("%1.%2.%3")
                              .arg(CANTAVOX_VERSION_MAJOR)
                              .arg(CANTAVOX_VERSION_MINOR)
                              .arg(CANTAVOX_VERSION_PATCH));
    setWindowIcon(QIcon(QStringLiteral(":/cantavox.svg")));
    Dialogs::install();
}

bool CantavoxApplication::notify(QObject* receiver, QEvent* event) {
    bool result = false;
    // Retrying would deliver the same event again; the answer of the dialog can only leave.
    fs::trap("Main", "Sub notify", [&] { result = QApplication::notify(receiver, event); });
    return result;
}
