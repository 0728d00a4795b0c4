#include "app/Main.h"

#include "app/AppPaths.h"
#include "app/Forms.h"
#include "app/Messages.h"
#include "app/Prompts.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "failsafe/modFailSafe.h"
#include "library/cdDrive.h"
#include "library/dbUpgrade.h"
#include "platform/DesktopAutoplay.h"
#include "platform/SingleInstance.h"
#include "prefs/REG_MODULE.h"
#include "prefs/prefs.h"
#include "shell/CShutdown.h"
#include "shell/frmAbout.h"
#include "transform/digitalAudio.h"
#include "transform/slowplayInterface.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <memory>

namespace {
const char* const kModule = "Main";
const QString kFirstRunMarker = QStringLiteral(".installed");

bool g_processEnded = false;
int g_exitStatus = 0;
int g_requestedStatus = 0;
std::function<void(int)> g_endProcess;
// Held from the moment the folder is ours until the process ends.
std::unique_ptr<SingleInstance> g_instance;

void releaseFolder() {
    if (g_instance)
        g_instance->release();
    g_instance.reset();
}

void endProcess(int status) {
    releaseFolder();
    if (g_requestedStatus != 0)
        status = g_requestedStatus;
    g_processEnded = true;
    g_exitStatus = status;
    if (g_endProcess)
        g_endProcess(status);
    else
        QCoreApplication::exit(status);
}

// The program directory must exist and take files before anything is written to it. The
// check writes and removes one probe file, so nothing is left half-written on failure.
bool prepareProgramDirectory(QString& problem) {
    const QString dir = appDir();
    if (!QDir().mkpath(dir)) {
        problem = QStringLiteral("the folder could not be created");
        return false;
    }
    QSaveFile probe(dir + QStringLiteral("/.write-test"));
    if (!probe.open(QIODevice::WriteOnly) || probe.write("ok") != 2 || !probe.commit()) {
        problem = probe.errorString().isEmpty() ? QStringLiteral("it can't be written to")
                                                : probe.errorString();
        return false;
    }
    QFile::remove(dir + QStringLiteral("/.write-test"));
    return true;
}
// A second program on the same folder would write the same library and scratch files: it
// brings the running one to the front instead and leaves before writing anything.
bool claimProgramDirectory(const QString& dir) {
    if (!QDir().mkpath(dir))
        return true; // the folder checks say why it can't be used
    auto instance = std::make_unique<SingleInstance>(dir);
    if (instance->claim() != SingleInstance::Claim::AlreadyRunning) {
        QObject::connect(instance.get(), &SingleInstance::showRequested, [] {
            frmMain* main = frmMain::instance();
            if (!main || !main->isVisible())
                return;
            main->setWindowState((main->windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
            main->raise();
            main->activateWindow();
        });
        g_instance = std::move(instance);
        return true;
    }
    const bool shown = instance->askHolderToShow();
    Prompts::msgBox(
        QStringLiteral("Cantavox is already running with the program folder %1%2. Only one "
                       "Cantavox at a time can keep a library, so this one closes without "
                       "changing anything.%3")
            .arg(QDir::toNativeSeparators(dir),
                 instance->holderPid() > 0
                     ? QStringLiteral(" (process %1)").arg(instance->holderPid())
                     : QString(),
                 shown ? QStringLiteral(" Its window has been brought to the front.")
                       : QStringLiteral(" Switch to its window to go on.")),
        vb::vbInformation);
    g_processEnded = true;
    g_exitStatus = 5;
    return false;
}
} // namespace

bool processEnded() {
    return g_processEnded;
}
int processExitStatus() {
    return g_exitStatus;
}
void setEndProcessHandler(std::function<void(int)> handler) {
    g_endProcess = std::move(handler);
}
void resetProcessState() {
    releaseFolder();
    g_processEnded = false;
    g_exitStatus = 0;
    g_requestedStatus = 0;
}

void requestExitStatus(int status) {
    g_requestedStatus = status;
}

void Main() {
    FS_PROC(kModule, "Sub Main");
    const QString dir = appDir();
    if (QDir(dir).isRoot()) {
        Prompts::msgBox(QStringLiteral("This program was installed into a root directory (") + dir +
                        QStringLiteral(") , probably inadvertently. It is not designed to run "
                                       "from such a directory. We suggest that you uninstall "
                                       "the program by going to the Windows Control Panel's "
                                       "Add/Remove Program feature, and then re-install the "
                                       "program to the default installation directory or a "
                                       "different, non-root, directory."));
        exitProgram(false);
        g_exitStatus = 2;
        return;
    }
    if (!claimProgramDirectory(dir))
        return;
    QString problem;
    if (!prepareProgramDirectory(problem)) {
        releaseFolder();
        Prompts::msgBox(QStringLiteral("Cantavox can't use its folder %1: %2. Check that the "
                                       "folder exists and that you may write to it, or set "
                                       "CANTAVOX_HOME to another folder.")
                            .arg(QDir::toNativeSeparators(dir), problem),
                        vb::vbCritical);
        g_processEnded = true;
        g_exitStatus = 3;
        return;
    }
    // The first run is known by a marker file that the first start leaves behind.
    const QString marker = dir + u'/' + kFirstRunMarker;
    gvFirstRun = !QFileInfo::exists(marker);
    if (gvFirstRun) {
        QFile f(marker);
        if (f.open(QIODevice::WriteOnly))
            f.write("Cantavox\n");
    }
    if (QDir(dir + QStringLiteral("/drivers")).exists() || gvFirstRun) {
        Message(QStringLiteral("Performing one-time initialization. This may take a minute.") +
                    QStringLiteral("\n\nPlease wait..."),
                QStringLiteral("Starting Cantavox"));
    }
    gvInStartup = true;
    cleanupASPI();
    handleOldMDB();
    initializePhase2();
}

void initializePhase2() {
    FS_PROC(kModule, "Sub initializePhase2");
    // The engine's results are not looked at here; a failing engine shows itself when used.
    MFPlayFileInit(QStringLiteral("rubberband"));
    MFPlayFileRegisterCallBack(&slowPlayCallBack);
    gvInSlowPlay = false;
    readPref(QStringLiteral("Show Tips at Startup"), gvShowTips, true);
    checkForCDOwnership();
    QApplication::setOverrideCursor(Qt::WaitCursor);
    frmAbout* splash = loadForm<frmAbout>();
    splash->showButtons(false);
    splash->show();
    QCoreApplication::processEvents();
    auto* main = new frmMain();
    main->Form_Load();
    QApplication::restoreOverrideCursor();
}

void exitProgram(bool restart) {
    FS_PROC(kModule, "Sub exitProgram", FS_ARG(restart));
    if (gvExiting)
        return;
    gvExiting = true;
    // From here errors are ignored and the steps go on.
    fs::ignoreErrors([] { MFPlayFileCleanUp(); });
    fs::ignoreErrors([] {
        if (gvDeleteTempFiles) {
            QFile::remove(appDir() + QStringLiteral("/temp.wav"));
            QFile::remove(appDir() + QStringLiteral("/tempslow.wav"));
        }
    });
    fs::ignoreErrors([] { closeAllForms(); });
    if (restart) {
        fs::ignoreErrors([] {
            CShutdown shutdown;
            shutdown.setForce(4);
            shutdown.Reboot();
        });
    }
    gvExiting = false;
    endProcess(0);
}

void closeAllForms() {
    FS_PROC(kModule, "Sub closeAllForms");
    for (QWidget* form : loadedForms())
        unloadForm(form);
}

void autoplay(bool restore) {
    FS_PROC(kModule, "Sub autoplay", FS_ARG(restore));
    if (!restore) {
        QString value;
        switch (DesktopAutoplay::readAudioCdAction(value)) {
        case DesktopAutoplay::Result::NoDesktopSetting:
            return;
        case DesktopAutoplay::Result::Failed:
            Prompts::msgBox(QStringLiteral("Error 2"));
            return;
        case DesktopAutoplay::Result::Ok:
            break;
        }
        SaveSetting(QStringLiteral("Cantavox"), QStringLiteral("Previous"),
                    QStringLiteral("AutoplayString"), value.left(99).trimmed());
        DesktopAutoplay::writeAudioCdAction(QString());
    } else {
        if (!DesktopAutoplay::available())
            return;
        const QString previous = GetSetting(QStringLiteral("Cantavox"), QStringLiteral("Previous"),
                                            QStringLiteral("AutoplayString"), QString());
        DesktopAutoplay::writeAudioCdAction(previous);
    }
}
