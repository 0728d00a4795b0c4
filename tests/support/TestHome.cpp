#include "TestHome.h"

TestHome::TestHome() : m_previous(qgetenv("CANTAVOX_HOME")) {
    qputenv("CANTAVOX_HOME", m_dir.path().toUtf8());
}

TestHome::~TestHome() {
    qputenv("CANTAVOX_HOME", m_previous);
}
