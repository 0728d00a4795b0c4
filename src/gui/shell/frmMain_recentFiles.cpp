// The File menu's last four wave files. The menu items are the list: every operation reads
// and writes their captions, and the settings keep a copy under "Recent Files".
#include "app/AppPaths.h"
#include "app/frmMain.h"
#include "failsafe/modFailSafe.h"
#include "prefs/REG_MODULE.h"
#include "ui_frmMain.h"

#include <QFile>
#include <QFileInfo>

namespace {
const char* const kModule = "recentFiles";
}

QAction* frmMain::mnuMRU(qint16 index) const {
    switch (index) {
    case 1:
        return m_ui->mnuMRU_1;
    case 2:
        return m_ui->mnuMRU_2;
    case 3:
        return m_ui->mnuMRU_3;
    case 4:
        return m_ui->mnuMRU_4;
    default:
        raiseError(errnum::SubscriptOutOfRange, QStringLiteral("Subscript out of range"));
    }
}

QString frmMain::mnuMRUCaption(qint16 index) const {
    // Every "&" was doubled on the way in, so that the menu shows it instead of taking it
    // for an accelerator.
    return mnuMRU(index)->text().replace(QStringLiteral("&&"), QStringLiteral("&"));
}

void frmMain::setMnuMRUCaption(qint16 index, const QString& caption) {
    QString shown = caption;
    mnuMRU(index)->setText(shown.replace(u'&', QStringLiteral("&&")));
}

void frmMain::getMRUs() {
    FS_PROC(kModule, "Sub getMRUs");
    for (qint16 i = 1; i <= 4; ++i)
        setMnuMRUCaption(i, GetSetting(QStringLiteral("Cantavox"), QStringLiteral("Recent Files"),
                                       QString::number(i), QString()));
    visifyMRUlist();
}

void frmMain::setMRUs() {
    FS_PROC(kModule, "Sub setMRUs");
    // An empty slot isn't written: its key keeps what it had.
    for (qint16 i = 1; i <= 4; ++i)
        if (!mnuMRUCaption(i).isEmpty())
            SaveSetting(QStringLiteral("Cantavox"), QStringLiteral("Recent Files"),
                        QString::number(i), mnuMRUCaption(i));
    visifyMRUlist();
}

void frmMain::visifyMRUlist() {
    FS_PROC(kModule, "Sub visifyMRUlist");
    bool any = false;
    for (qint16 i = 1; i <= 4; ++i) {
        const bool shown = !mnuMRUCaption(i).isEmpty();
        mnuMRU(i)->setVisible(shown);
        any = any || shown;
    }
    m_ui->mnuMRUsep->setVisible(any);
}

qint16 frmMain::foundInMRUs(const QString& fileName) {
    FS_PROC(kModule, "Function foundInMRUs", FS_ARG(fileName));
    const QString wanted = fileName.trimmed().toUpper();
    for (qint16 i = 1; i <= 4; ++i)
        if (mnuMRUCaption(i).trimmed().toUpper() == wanted)
            return i;
    return 0;
}

void frmMain::deleteMenuItem(qint16 position) {
    FS_PROC(kModule, "Sub deleteMenuItem", FS_ARG(position));
    for (qint16 i = position; i <= 3; ++i)
        setMnuMRUCaption(i, mnuMRUCaption(qint16(i + 1)));
    setMnuMRUCaption(4, QString());
}

void frmMain::bumpMRUs() {
    FS_PROC(kModule, "Sub bumpMRUs");
    for (qint16 i = 4; i >= 2; --i)
        setMnuMRUCaption(i, mnuMRUCaption(qint16(i - 1)));
    setMnuMRUCaption(1, QString());
}

void frmMain::addToMRUs(const QString& fileName) {
    FS_PROC(kModule, "Sub addToMRUs", FS_ARG(fileName));
    if (QFileInfo(fileName).suffix().compare(u"wav", Qt::CaseInsensitive) != 0)
        return;
    if (const qint16 at = foundInMRUs(fileName); at > 0)
        deleteMenuItem(at);
    bumpMRUs();
    setMnuMRUCaption(1, fileName);
    setMRUs();
}

void frmMain::mnuMRU_Click(qint16 Index) {
    FS_PROC(kModule, "Sub mnuMRU_Click", FS_ARG(Index));
    fs::ignoreErrors([&] { playWaveFile(mnuMRUCaption(Index)); });
    fs::ignoreErrors([&] { changeToMode(QStringLiteral("Wave")); });
}

void frmMain::menuFile_Click() {
    FS_PROC(kModule, "Sub menuFile_Click");
    m_ui->mnuSaveSlowedDownFile->setEnabled(
        QFile::exists(appDir() + QStringLiteral("/tempslow.wav")));
}
