#pragma once

#include <QApplication>
#include <QList>
#include <QString>
#include <QWidget>
#include <utility>

// The collection of loaded forms. A form is a top-level window of ours whose objectName is
// its form name ("frmMain", "messageForm", ...). Forms are loaded on demand, one instance
// per name, and unloading one hides and destroys it; from that moment it no longer counts
// as loaded, even before Qt has deleted it.
//
// Thread: UI thread only.

QList<QWidget*> loadedForms();
QWidget* findLoadedForm(const QString& formName);
// Compares without regard to case, first to last.
bool isLoaded(const QString& formName);
// Hides the form, fires its close handling, and deletes it later.
void unloadForm(QWidget* form);

// Registers the windows' compiled-in resources (the program's icon), and the base's;
// safe to call often.
void ensureWindowResources();

// The loaded instance of a form class, created (hidden) from args if none is loaded. The
// collection owns it: unloadForm (or the form's own close) deletes it, and closeAllForms
// unloads every form at the end.
template <class T, class... Args> T* loadForm(Args&&... args) {
    const QString name = QString::fromLatin1(T::staticMetaObject.className());
    if (QWidget* w = findLoadedForm(name))
        return static_cast<T*>(w);
    T* form = new T(std::forward<Args>(args)...);
    form->setObjectName(name);
    return form;
}

template <class T> T* formIfLoaded() {
    return static_cast<T*>(findLoadedForm(QString::fromLatin1(T::staticMetaObject.className())));
}
