#include "graph/wBox.h"

#include "graph/frmScrollTime.h"

wmarker& wBox::startMarker() {
    if (!m_start)
        m_start = std::make_unique<wmarker>(m_graph);
    return *m_start;
}

wmarker& wBox::endMarker() {
    if (!m_end)
        m_end = std::make_unique<wmarker>(m_graph);
    return *m_end;
}

void wBox::invert() {
    m_graph.invertBox(startMarker().pixelPosition(), endMarker().pixelPosition());
    m_inverted = !m_inverted;
}
