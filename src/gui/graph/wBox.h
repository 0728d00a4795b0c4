#pragma once

#include "graph/wmarker.h"

#include <memory>

// The selection of the wave graph: its two markers and the box between them, drawn so that
// drawing it again at the same place takes it away.
//
// Thread: UI thread only.
class wBox {
public:
    explicit wBox(frmScrollTime& graph) : m_graph(graph) {}

    wmarker& startMarker();
    wmarker& endMarker();
    void invert();
    bool inverted() const { return m_inverted; }

private:
    frmScrollTime& m_graph;
    std::unique_ptr<wmarker> m_start, m_end;
    bool m_inverted = true;
};
