#pragma once

#include <QString>

// The desktop's automatic start of an application when an audio CD is inserted. On GNOME
// and its relatives this is the media-handling settings (org.gnome.desktop.media-handling),
// reached through the gsettings tool so that no GLib dependency is linked in. The action for
// audio CDs is read and written as one word: "start-app", "open-folder", "ignore", or "ask"
// (no list names audio CDs); writing an empty word means "do nothing", which is "ignore".
//
// Thread: UI thread (runs short child processes synchronously).
class DesktopAutoplay {
public:
    enum class Result { Ok, NoDesktopSetting, Failed };

    // Whether the desktop offers such a setting at all.
    static bool available();
    static Result readAudioCdAction(QString& action);
    static Result writeAudioCdAction(const QString& action);
};
