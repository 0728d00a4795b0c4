#include "graph/wmarker.h"

#include "app/Prompts.h"
#include "app/globals.h"
#include "graph/GraphUnits.h"
#include "graph/WaveChart.h"
#include "graph/frmScrollTime.h"

void wmarker::Hide() {
    if (m_visible) {
        m_visible = false;
        invertMe();
    }
}

void wmarker::Show() {
    if (!m_visible) {
        m_visible = true;
        invertMe();
    }
}

void wmarker::setLineColor(const QColor& color) {
    const bool was = m_visible;
    Hide();
    m_lineColor = color;
    m_visible = was;
}

void wmarker::setSamplePosition(qint32 value) {
    if (m_visible)
        invertMe();
    m_samplePosition = value;
    if (m_visible)
        invertMe();
}

double wmarker::msPosition() const {
    return graphunits::msOfSample(m_samplePosition, gvDisplayQuality, gvSamplesPerMs);
}

void wmarker::setMsPosition(double ms) {
    setSamplePosition(graphunits::sampleOfMs(ms, gvDisplayQuality, gvSamplesPerMs));
}

qint32 wmarker::pixelPosition() const {
    const float factor = m_graph.expFactor();
    qint32 point = graphunits::pointOfSample(m_samplePosition, factor);
    int x = m_graph.chart()->pointToPixel(point).x();
    // A place past the drawn points (the last ones of the file have none) falls back to the
    // last point that has one.
    for (int attempt = 0; attempt < 5 && x < 0; ++attempt) {
        point -= 50;
        x = m_graph.chart()->pointToPixel(point).x();
    }
    return x;
}

void wmarker::setPixelPosition(qint32 x) {
    const qint32 point = m_graph.chart()->pixelToPoint(x, 1);
    const float factor = m_graph.expFactor();
    if (!(factor > 0)) {
        Prompts::msgBox(QStringLiteral(" myPt: %1 expfactor %2").arg(point).arg(double(factor)));
        return;
    }
    setSamplePosition(graphunits::sampleOfPoint(point, factor));
}

void wmarker::invertMe() {
    m_graph.vertLine(pixelPosition());
}
