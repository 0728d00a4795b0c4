#pragma once

#include <QObject>
#include <QString>

class QLineEdit;
class Recordset;

// A text box bound to a field of a data control's current record: it shows the field at
// every move of the record, and what the user types is written to the record at once, one
// committed change per edit, so nothing typed is lost if the program dies. Text the code puts
// into the box is not written.
//
// Thread: UI thread only.
class BoundField : public QObject {
    Q_OBJECT
public:
    BoundField(QLineEdit* box, Recordset* rs, const QString& field, const char* procName,
               QObject* parent);

    // Shows the field of the current record again (after a move the control didn't report).
    void refresh();

private:
    void typed(const QString& text);

    QLineEdit* m_box;
    Recordset* m_rs;
    QString m_field;
    const char* m_procName;
};
