#include "failsafe/ArgText.h"

#include <QDate>
#include <QDateTime>
#include <QTime>
#include <QVariant>

namespace fs {

void appendArgValue(QString& out, const QVariant& v) {
    // A Variant prints its value only for the types Integer, Long, Single, Double,
    // Currency, Date, String, Boolean, Byte and Null (their type numbers stand in
    // "23456781117"); anything else is "<variant>".
    switch (v.typeId()) {
    case QMetaType::Bool:
        appendArgValue(out, v.toBool());
        return;
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::SChar:
    case QMetaType::Char:
        appendArgValue(out, v.toLongLong());
        return;
    case QMetaType::UChar:
        appendArgValue(out, static_cast<int>(v.value<uchar>()));
        return;
    case QMetaType::Float:
        appendArgValue(out, v.toFloat());
        return;
    case QMetaType::Double:
        appendArgValue(out, v.toDouble());
        return;
    case QMetaType::QString:
    case QMetaType::QChar:
    case QMetaType::QByteArray:
        out += v.toString();
        return;
    case QMetaType::QDate:
        out += v.toDate().toString(QStringLiteral("yyyy-MM-dd"));
        return;
    case QMetaType::QTime:
        out += v.toTime().toString(QStringLiteral("HH:mm:ss"));
        return;
    case QMetaType::QDateTime:
        out += v.toDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
        return;
    case QMetaType::Nullptr:
        return; // Null joins a text as nothing
    default:
        out += QLatin1StringView("<variant>");
        return;
    }
}

} // namespace fs
