#include "app/Prompts.h"

#include <QCoreApplication>
#include <QQueue>
#include <cstdio>

namespace {
struct State {
    bool scripted = false;
    bool envChecked = false;
    bool echo = false;
    QQueue<QVariant> answers;
    QList<Prompts::Record> log;
    Prompts::Presenter* presenter = nullptr;
};

State& state() {
    static State s;
    if (!s.envChecked) {
        s.envChecked = true;
        if (qEnvironmentVariable("CANTAVOX_PROMPTS") == u"script") {
            s.scripted = true;
            s.echo = true;
            const QString given = qEnvironmentVariable("CANTAVOX_PROMPT_ANSWERS");
            if (!given.isEmpty())
                for (const QString& a : given.split(u','))
                    s.answers.enqueue(a);
        }
    }
    return s;
}

int firstButton(int buttons) {
    switch (buttons & 7) {
    case vb::vbOKCancel:
        return vb::vbOK;
    case vb::vbAbortRetryIgnore:
        return vb::vbAbort;
    case vb::vbYesNoCancel:
    case vb::vbYesNo:
        return vb::vbYes;
    case vb::vbRetryCancel:
        return vb::vbRetry;
    default:
        return vb::vbOK;
    }
}

// The answer that changes nothing, for a message no one can see.
int safeButton(int buttons) {
    switch (buttons & 7) {
    case vb::vbOKCancel:
    case vb::vbYesNoCancel:
    case vb::vbRetryCancel:
        return vb::vbCancel;
    case vb::vbAbortRetryIgnore:
        return vb::vbAbort;
    case vb::vbYesNo:
        return vb::vbNo;
    default:
        return vb::vbOK;
    }
}

// A scripted answer given as text ("6", "Yes") or as a number.
int toButton(const QVariant& v, int fallback) {
    bool ok = false;
    const int n = v.toInt(&ok);
    if (ok)
        return n;
    const QString s = v.toString().trimmed().toLower();
    if (s == u"ok")
        return vb::vbOK;
    if (s == u"cancel")
        return vb::vbCancel;
    if (s == u"abort")
        return vb::vbAbort;
    if (s == u"retry")
        return vb::vbRetry;
    if (s == u"ignore")
        return vb::vbIgnore;
    if (s == u"yes")
        return vb::vbYes;
    if (s == u"no")
        return vb::vbNo;
    return fallback;
}
} // namespace

QString Prompts::appTitle() {
    const QString t = QCoreApplication::applicationName();
    return t.isEmpty() ? QStringLiteral("Cantavox") : t;
}

void Prompts::record(const Record& r) {
    State& s = state();
    s.log.append(r);
    if (s.echo) {
        QString text = r.text;
        text.replace(u'\n', QStringLiteral("\\n"));
        std::fprintf(stderr, "PROMPT %s|%s|%s\n", qUtf8Printable(r.kind), qUtf8Printable(r.title),
                     qUtf8Printable(text));
        std::fflush(stderr);
    }
}

QVariant Prompts::nextAnswer(const QVariant& fallback) {
    State& s = state();
    return s.answers.isEmpty() ? fallback : s.answers.dequeue();
}

int Prompts::msgBox(const QString& text, int buttons, const QString& title) {
    const QString caption = title.isEmpty() ? appTitle() : title;
    if (scripted()) {
        record({QStringLiteral("msgbox"), caption, text, buttons, {}});
        const int first = firstButton(buttons);
        return toButton(nextAnswer(first), first);
    }
    if (Presenter* p = state().presenter)
        return p->showMessage(text, buttons, caption);
    std::fprintf(stderr, "%s: %s\n", qUtf8Printable(caption), qUtf8Printable(text));
    return safeButton(buttons);
}

QString Prompts::inputBox(const QString& prompt, const QString& title,
                          const QString& defaultValue) {
    const QString caption = title.isEmpty() ? appTitle() : title;
    if (scripted()) {
        record({QStringLiteral("input"), caption, prompt, 0, defaultValue});
        return nextAnswer(defaultValue).toString();
    }
    QString typed;
    if (Presenter* p = state().presenter; p && p->showInput(prompt, caption, defaultValue, &typed))
        return typed;
    return {};
}

void Prompts::setPresenter(Presenter* presenter) {
    state().presenter = presenter;
}

void Prompts::setScripted(bool on) {
    state().scripted = on;
}
bool Prompts::scripted() {
    return state().scripted;
}
void Prompts::pushAnswer(const QVariant& answer) {
    state().answers.enqueue(answer);
}
const QList<Prompts::Record>& Prompts::log() {
    return state().log;
}
void Prompts::clear() {
    state().log.clear();
    state().answers.clear();
}
