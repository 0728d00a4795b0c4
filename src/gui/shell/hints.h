#pragma once

#include <QString>

// Hints and tooltips as start-up needs them.
//
// Thread: UI thread only.
void stashTooltips();
void checkTooltips();
void ShowHint(const QString& hintName);
