#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>

// The trace's circular log: a file of fixed-size records that wraps, so that a long run
// keeps its last lines in a bounded file.
//
// Layout (byte offsets from 0): "CIRCULAR" CR LF at 0; record n (1..MaxRecords) at
// RecordSize * n + 10, so the space of record 0 stays free. A record is the line in UTF-8,
// cut at a character boundary to at most RecordSize - 2 bytes or padded with blanks up to
// there, then CR LF. After record MaxRecords the next goes to record 1 again, so the file
// never grows past RecordSize * (MaxRecords + 1) + 10 bytes. Each record is written with an
// open, a write and a close of its own, so that a crash loses nothing already written.
//
// A file that can't be opened, or a record size below 2, turns the log off for the rest of
// the run.
//
// Thread: UI thread only (the trace's thread).
class CircularLog {
public:
    CircularLog(const QString& fileName, qint64 recordSize, qint64 maxRecords);

    // Writes the header; false, and off, when the file can't be used.
    bool open();
    bool isOn() const { return m_on; }

    // One line, with or without its line end.
    void write(QStringView line);

    QString fileName() const { return m_fileName; }
    qint64 recordSize() const { return m_recordSize; }
    qint64 maxRecords() const { return m_maxRecords; }
    // Number of the record the next line goes to.
    qint64 nextRecord() const { return m_next; }

    static qint64 sizeBound(qint64 recordSize, qint64 maxRecords) {
        return recordSize * (maxRecords + 1) + 10;
    }
    static constexpr qint64 kMaxRecordSize = 1 << 20;

private:
    QString m_fileName;
    QByteArray m_nativeName;
    qint64 m_recordSize;
    qint64 m_maxRecords;
    qint64 m_next = 1;
    bool m_on = false;
    QByteArray m_record;
};
