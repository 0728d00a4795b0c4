#include "library/BoundField.h"

#include "failsafe/modFailSafe.h"
#include "library/Recordset.h"

#include <QLineEdit>

namespace {
const char* const kModule = "main form";
}

BoundField::BoundField(QLineEdit* box, Recordset* rs, const QString& field, const char* procName,
                       QObject* parent)
    : QObject(parent), m_box(box), m_rs(rs), m_field(field), m_procName(procName) {
    connect(rs, &Recordset::Reposition, this, &BoundField::refresh);
    connect(box, &QLineEdit::textEdited, this,
            [this](const QString& text) { fs::trap(kModule, m_procName, [&] { typed(text); }); });
}

void BoundField::refresh() {
    if (m_rs->isEOF() || m_rs->isBOF()) {
        m_box->clear();
        return;
    }
    const QString value = m_rs->field(m_field).toString();
    if (m_box->text() != value)
        m_box->setText(value);
}

void BoundField::typed(const QString& text) {
    if (m_rs->isEOF() || m_rs->isBOF())
        return;
    m_rs->Edit();
    m_rs->setField(m_field, text);
    m_rs->Update();
}
