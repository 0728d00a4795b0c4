#pragma once

#include "loops/loopPoint.h"

#include <QHash>
#include <QString>
#include <QVariant>
#include <memory>
#include <vector>

// The marks of live loop marking, in the order they were taken. Items are reached by
// position from 1 or by the key they were added under; two marks at the same millisecond
// are two entries.
//
// Thread: UI thread only.
class loopPoints {
public:
    loopPoints();
    ~loopPoints();

    void Clear();
    // sKey empty: the mark is reachable by position only.
    loopPoint* Add(const QString& Key, const QString& startTimeMs, const QString& startTimeTTMMSS,
                   const QString& sKey = {});
    // A number is a position from 1, a text a key; anything else is error 5, a position
    // or key not held error 9 / 5 as a collection gives them.
    loopPoint* Item(const QVariant& vntIndexKey) const;
    qint32 Count() const { return static_cast<qint32>(m_items.size()); }
    void Remove(const QVariant& vntIndexKey);

    // Walks the marks in order (NewEnum).
    auto begin() const { return m_items.cbegin(); }
    auto end() const { return m_items.cend(); }

private:
    qsizetype indexOf(const QVariant& vntIndexKey) const;
    std::vector<std::unique_ptr<loopPoint>> m_items;
    QHash<QString, loopPoint*> m_keys;
};
