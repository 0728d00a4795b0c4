#pragma once

#include <QByteArray>
#include <QChar>
#include <QString>
#include <QStringView>
#include <QVariant>
#include <charconv>
#include <type_traits>
#include <utility>

// The argument text of a trace entry: "(name=value, ...)", numbers and strings as text,
// Booleans as True/False. The head of every traced procedure builds it, so it is made
// without a temporary per value.
//
// Thread: any (builds a text of the caller's own).

namespace fs {

inline void appendArgValue(QString& out, const QString& v) {
    out += v;
}
inline void appendArgValue(QString& out, const char* v) {
    out += QLatin1StringView(v);
}
inline void appendArgValue(QString& out, bool v) {
    out += v ? QLatin1StringView("True") : QLatin1StringView("False");
}
void appendArgValue(QString& out, const QVariant& v);
inline void appendArgValue(QString& out, QStringView v) {
    out += v;
}
inline void appendArgValue(QString& out, QChar v) {
    out += v;
}
inline void appendArgValue(QString& out, const QByteArray& v) {
    out += QString::fromUtf8(v);
}
template <class T>
concept ArgNumber = std::is_arithmetic_v<T> && !std::is_same_v<T, bool>;
template <class T>
concept ArgEnum = std::is_enum_v<T>;

// Numbers print in the C locale, so the decimal sign is always ".". The digits are made
// on the stack.
template <ArgNumber T> inline void appendArgValue(QString& out, T v) {
    char buf[40];
    std::to_chars_result r;
    if constexpr (std::is_floating_point_v<T>)
        r = std::to_chars(buf, buf + sizeof buf, static_cast<double>(v), std::chars_format::general,
                          std::is_same_v<T, float> ? 7 : 15);
    else if constexpr (std::is_same_v<T, char> || std::is_same_v<T, signed char> ||
                       std::is_same_v<T, unsigned char>)
        r = std::to_chars(buf, buf + sizeof buf, static_cast<int>(v));
    else
        r = std::to_chars(buf, buf + sizeof buf, v);
    out += QLatin1StringView(buf, r.ptr - buf);
}
template <ArgEnum T> inline void appendArgValue(QString& out, T v) {
    appendArgValue(out, static_cast<std::underlying_type_t<T>>(v));
}
// Objects and pointers are not printed.
template <class T> inline void appendArgValue(QString& out, T* const&) {
    out += u"<object>";
}

inline void appendArgs(QString&, bool) {}
template <class V, class... Rest>
void appendArgs(QString& out, bool first, const char* name, const V& value, Rest&&... rest) {
    if (!first)
        out += QLatin1StringView(", ");
    out += QLatin1StringView(name);
    out += QLatin1Char('=');
    appendArgValue(out, value);
    appendArgs(out, false, std::forward<Rest>(rest)...);
}

template <class... Args> QString argText(Args&&... args) {
    QString out;
    out.reserve(32);
    out += QLatin1Char('(');
    appendArgs(out, true, std::forward<Args>(args)...);
    out += QLatin1Char(')');
    return out;
}

} // namespace fs
