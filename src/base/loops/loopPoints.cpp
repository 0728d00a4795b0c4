#include "loops/loopPoints.h"

#include "failsafe/AppError.h"
#include "failsafe/modFailSafe.h"

namespace {
const char* const kModule = "loopPoints";
}

loopPoints::loopPoints() = default;
loopPoints::~loopPoints() = default;

void loopPoints::Clear() {
    FS_PROC(kModule, "Sub Clear");
    m_keys.clear();
    m_items.clear();
}

loopPoint* loopPoints::Add(const QString& Key, const QString& startTimeMs,
                           const QString& startTimeTTMMSS, const QString& sKey) {
    FS_PROC(kModule, "Function Add", FS_ARG(Key), FS_ARG(startTimeMs), FS_ARG(startTimeTTMMSS),
            FS_ARG(sKey));
    // A key already in use is refused before anything is added, as a keyed collection does.
    if (!sKey.isEmpty() && m_keys.contains(sKey.toUpper()))
        raiseError(errnum::KeyAlreadyAssociated,
                   QStringLiteral("This key is already associated with an element of this "
                                  "collection"));
    auto mark = std::make_unique<loopPoint>();
    mark->Key = Key;
    mark->startTimeMs = startTimeMs;
    mark->startTimeTTMMSS = startTimeTTMMSS;
    loopPoint* added = mark.get();
    m_items.push_back(std::move(mark));
    if (!sKey.isEmpty())
        m_keys.insert(sKey.toUpper(), added);
    return added;
}

qsizetype loopPoints::indexOf(const QVariant& vntIndexKey) const {
    if (vntIndexKey.typeId() == QMetaType::QString) {
        // Keys compare without regard to case.
        const loopPoint* found = m_keys.value(vntIndexKey.toString().toUpper());
        if (!found)
            raiseError(errnum::InvalidProcedureCall,
                       QStringLiteral("Invalid procedure call or argument"));
        for (size_t i = 0; i < m_items.size(); ++i)
            if (m_items[i].get() == found)
                return static_cast<qsizetype>(i);
    }
    bool ok = false;
    const qlonglong position = vntIndexKey.toLongLong(&ok);
    if (!ok || position < 1 || position > static_cast<qlonglong>(m_items.size()))
        raiseError(errnum::SubscriptOutOfRange, QStringLiteral("Subscript out of range"));
    return static_cast<qsizetype>(position - 1);
}

loopPoint* loopPoints::Item(const QVariant& vntIndexKey) const {
    return m_items[static_cast<size_t>(indexOf(vntIndexKey))].get();
}

void loopPoints::Remove(const QVariant& vntIndexKey) {
    FS_PROC(kModule, "Sub Remove", FS_ARG(vntIndexKey));
    const qsizetype at = indexOf(vntIndexKey);
    const loopPoint* gone = m_items[static_cast<size_t>(at)].get();
    for (auto it = m_keys.begin(); it != m_keys.end();)
        it = it.value() == gone ? m_keys.erase(it) : std::next(it);
    m_items.erase(m_items.begin() + at);
}
