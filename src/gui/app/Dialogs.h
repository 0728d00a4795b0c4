#pragma once

#include <QColor>
#include <QString>
#include <QVariant>

class QDialog;
class QWidget;

// The prompts that need windows: file, colour and modal dialogs, and the message and input
// boxes and the error window that the base's Prompts and ErrorTrap show through what
// install() gives them. Each call is recorded and answered from the script as Prompts are.
//
// Thread: UI thread only.
class Dialogs {
public:
    // Gives Prompts its message and input boxes and the trace its error window. Called once
    // the widget application exists.
    static void install();

    // Return the chosen path, or an empty string for Cancel.
    static QString getOpenFileName(QWidget* parent, const QString& caption, const QString& dir,
                                   const QString& filter);
    static QString getSaveFileName(QWidget* parent, const QString& caption, const QString& dir,
                                   const QString& filter);
    // Returns an invalid colour for Cancel.
    static QColor getColor(const QColor& initial, QWidget* parent, const QString& title);
    // Runs a modal dialog. In scripted mode the dialog is not shown and the scripted answer
    // (or defaultAnswer) is returned; otherwise the dialog's exec() result.
    static QVariant execDialog(QDialog* dialog, const QString& text,
                               const QVariant& defaultAnswer = {});
};
