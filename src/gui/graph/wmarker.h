#pragma once

#include <QColor>
#include <QtGlobal>

class frmScrollTime;

// One vertical line of the wave graph at one position. The position is stored in marker
// samples; milliseconds and pixels are worked out from it each time. A visible marker is
// drawn as a line that a second drawing at the same place takes away, so every move is
// take-away, change, draw again, in that order.
//
// Thread: UI thread only.
class wmarker {
public:
    explicit wmarker(frmScrollTime& graph) : m_graph(graph) {}

    void Hide();
    void Show();
    bool Visible() const { return m_visible; }

    QColor lineColor() const { return m_lineColor; }
    // Takes a visible line off the screen while keeping the flag set: nothing calls it.
    void setLineColor(const QColor& color);

    qint32 samplePosition() const { return m_samplePosition; }
    void setSamplePosition(qint32 value);
    double msPosition() const;
    void setMsPosition(double ms);
    // Negative when no point of the picture has a place for it.
    qint32 pixelPosition() const;
    void setPixelPosition(qint32 x);

    void invertMe();

private:
    frmScrollTime& m_graph;
    bool m_visible = false;
    qint32 m_samplePosition = 1;
    QColor m_lineColor{Qt::black};
};
