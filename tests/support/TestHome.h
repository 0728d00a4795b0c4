#pragma once

#include <QString>
#include <QTemporaryDir>

// Gives one test a fresh, empty program directory and puts the previous one back after.
class TestHome {
public:
    TestHome();
    ~TestHome();
    QString path() const { return m_dir.path(); }
    // Path of a file inside the program directory.
    QString file(const QString& name) const { return m_dir.path() + u'/' + name; }

private:
    QTemporaryDir m_dir;
    QByteArray m_previous;
};
