#pragma once

#include <QString>

// The names of the preferences, to the letter, and their defaults where they have one.
namespace pref {
inline const QString AutoSlow = QStringLiteral("AutoSlow");
inline const QString PreviewEnd = QStringLiteral("PreviewEnd");
inline const QString DeleteTempFiles = QStringLiteral("DeleteTempFiles");
inline const QString ShowTooltips = QStringLiteral("ShowTooltips");
inline const QString SwitchToDigitalAskedAndAnswered =
    QStringLiteral("SwitchToDigitalAskedAndAnswered");
inline const QString Realtime = QStringLiteral("Realtime");
inline const QString SoundQuality = QStringLiteral("SoundQuality");
inline const QString AutomaticallySetRecordingMixer =
    QStringLiteral("AutomaticallySetRecordingMixer");
inline const QString RecordingDepth = QStringLiteral("RecordingDepth");
inline const QString RecordingSampleRate = QStringLiteral("RecordingSampleRate");
inline const QString ChannelToTransform = QStringLiteral("ChannelToTransform");
inline const QString RecordMode = QStringLiteral("RecordMode");
inline const QString digCDNum = QStringLiteral("digCDNum");
inline const QString MciCdLetter = QStringLiteral("MCI CD letter");
inline const QString FaspiAttempted = QStringLiteral("faspi attempted");
inline const QString dbVersion = QStringLiteral("dbVersion");
inline const QString oldDBHandled = QStringLiteral("oldDBHandled");
inline const QString ShowTipsAtStartup = QStringLiteral("Show Tips at Startup");
inline const QString GraphInvertSelection = QStringLiteral("Graph Invert Selection");
inline const QString GraphBackgroundColor = QStringLiteral("Graph Background Color");
inline const QString GraphForegroundColor = QStringLiteral("Graph Foreground Color");
inline const QString GridBeatColor = QStringLiteral("Grid BeatColor");
inline const QString GridHalfColor = QStringLiteral("Grid HalfColor");
inline const QString GridThirdColor = QStringLiteral("Grid ThirdColor");
inline const QString GridHalvesVisible = QStringLiteral("Grid HalvesVisible");
inline const QString GridThirdsVisible = QStringLiteral("Grid ThirdsVisible");

// Colours as one Long: red + green * 256 + blue * 65536.
constexpr qint32 rgb(int r, int g, int b) {
    return r + g * 256 + b * 65536;
}
constexpr qint32 GridBeatColorDefault = rgb(0, 255, 0);
constexpr qint32 GridHalfColorDefault = rgb(0, 0, 255);
constexpr qint32 GridThirdColorDefault = rgb(255, 0, 0);
} // namespace pref
