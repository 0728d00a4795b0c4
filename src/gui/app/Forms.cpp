#include "app/Forms.h"

#include "app/AppPaths.h"
#include "failsafe/modFailSafe.h"

namespace {
const char* const kUnloaded = "cantavoxUnloaded";
const char* const kForm = "cantavoxForm";

bool isForm(QWidget* w) {
    if (!w || w->property(kUnloaded).toBool())
        return false;
    // Our forms are the QWidget subclasses whose class name is their object name.
    return w->property(kForm).toBool() ||
           w->objectName() == QLatin1StringView(w->metaObject()->className());
}
} // namespace

void ensureWindowResources() {
    ensureResources();
    // The resources live in a static library: register them before the first use.
    static const bool done = [] {
        Q_INIT_RESOURCE(cantavox);
        return true;
    }();
    Q_UNUSED(done);
}

QList<QWidget*> loadedForms() {
    QList<QWidget*> forms;
    for (QWidget* w : QApplication::topLevelWidgets()) {
        if (isForm(w))
            forms.append(w);
    }
    return forms;
}

QWidget* findLoadedForm(const QString& formName) {
    for (QWidget* w : loadedForms()) {
        if (w->objectName().compare(formName, Qt::CaseInsensitive) == 0)
            return w;
    }
    return nullptr;
}

bool isLoaded(const QString& formName) {
    return findLoadedForm(formName) != nullptr;
}

void unloadForm(QWidget* form) {
    if (!form || form->property(kUnloaded).toBool())
        return;
    form->setProperty(kUnloaded, true);
    form->close();
    form->hide();
    form->deleteLater();
}
