#pragma once

#include <QString>

// The program directory: $CANTAVOX_HOME if set, else ~/.local/share/Cantavox. It holds the
// library, the scratch files, FSCLIENT.INI, the logs, Cantavox.conf and the grid layouts.
// The result never ends with a separator, except for the root directory "/" itself.
//
// Thread: any (reads the environment only).
QString appDir();

// The settings file beside the library: preferences and application settings.
QString settingsFile();

// The folder that the installed program ships its read-only files in (manual, layouts).
QString shareDir();

// Registers the compiled-in resources of the base (the library's schema); safe to call often.
void ensureResources();
