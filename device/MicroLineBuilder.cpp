#include "MicroLineBuilder.h"

#include "Log.h"

#include <algorithm>
#include <cmath>

namespace
{

/// The nodes of one layer while they are strung together.
class NodeChain
{
public:
    explicit NodeChain(MicroLineLayer& layer) : m_layer(layer) {}

    /// @param bLinkBack  false leaves `pPrev` of the new node null
    void Append(const QPointF& from, const QPointF& to, bool bLinkBack = true)
    {
        auto* const pSegment = new MicroLineSegment;
        pSegment->dX0 = from.x();
        pSegment->dY0 = from.y();
        pSegment->dX1 = to.x();
        pSegment->dY1 = to.y();
        pSegment->pPrev = pSegment;
        pSegment->pNext = pSegment;

        auto* const pNode = new MicroLineNode;
        pNode->pSegment = pSegment;
        pNode->pPrev = bLinkBack ? m_pLast : nullptr;
        (m_pLast ? m_pLast->pNext : m_layer.pFirstNode) = pNode;
        m_pLast = pNode;
    }

    void Close()
    {
        m_layer.pFirstNode->pPrev = m_pLast;
        m_pLast->pNext = m_layer.pFirstNode;
    }

private:
    MicroLineLayer& m_layer;
    MicroLineNode* m_pLast = nullptr;
};

/// One axis of the bounding box. Raw coordinates are compared with edges that are already widened, so a later point
/// less than `dHalf` inside an edge does not move it although its cross reaches further; this is meant.
struct Extent {
    double dMin = 9999999999.0;
    double dMax = 0.0;

    void Include(double dValue, double dHalf)
    {
        if (dValue < dMin) {
            dMin = dValue - dHalf;
        }
        if (dValue > dMax) {
            dMax = dValue + dHalf;
        }
    }
};

void SetBoundingBox(MicroLineDocument& document, const QList<QPointF>& listPtMm, double dHalf)
{
    Extent x, y;
    for (const QPointF& point : listPtMm) {
        x.Include(point.x(), dHalf);
        y.Include(point.y(), dHalf);
    }
    document.dX = x.dMin;
    document.dY = y.dMin;
    document.dWidth = x.dMax - x.dMin;
    document.dHeight = y.dMax - y.dMin;
}

/// Points along growing X; its tip is the right end of the cross.
void AppendArrowHead(NodeChain& chain, const QPointF& centre, double dHalf)
{
    const QPointF tip = centre + QPointF(dHalf, 0.0);
    chain.Append(centre + QPointF(0.5 * dHalf, -0.5 * dHalf), tip);
    chain.Append(centre + QPointF(0.5 * dHalf, 0.5 * dHalf), tip);
}

void AppendCross(NodeChain& chain, const QPointF& centre, double dHalf)
{
    // The horizontal line is not linked back; this is meant.
    chain.Append(centre - QPointF(dHalf, 0.0), centre + QPointF(dHalf, 0.0), false);
    chain.Append(centre - QPointF(0.0, dHalf), centre + QPointF(0.0, dHalf));
}

bool IsFinite(const QPointF& point)
{
    return std::isfinite(point.x()) && std::isfinite(point.y());
}

} // namespace

bool FillMicroLine(MicroLineDocument& document, const QList<QPointF>& listPtMm, double dCrossSizeMm)
{
    document = MicroLineDocument();
    if (listPtMm.isEmpty()) {
        ILog_WriteLogF(2, "%s: no pattern is made of a grid without points", "FillMicroLine");
        return false;
    }
    if (!std::isfinite(dCrossSizeMm) || !std::all_of(listPtMm.begin(), listPtMm.end(), IsFinite)) {
        ILog_WriteLogF(2, "%s: no pattern is made of a grid with numbers that are not finite", "FillMicroLine");
        return false;
    }
    const double dHalf = 0.5 * dCrossSizeMm;
    SetBoundingBox(document, listPtMm, dHalf);

    auto* const pLayer = new MicroLineLayer;
    pLayer->pPrev = pLayer;
    pLayer->pNext = pLayer;
    document.pLayer = pLayer;

    NodeChain chain(*pLayer);
    AppendArrowHead(chain, listPtMm.first(), dHalf);
    for (const QPointF& point : listPtMm) {
        AppendCross(chain, point, dHalf);
    }
    AppendArrowHead(chain, listPtMm.last(), dHalf);
    chain.Close();
    return true;
}

void DeleteMicroLine(MicroLineDocument& document)
{
    if (document.pLayer) {
        MicroLineNode* pNode = document.pLayer->pFirstNode;
        do {
            MicroLineNode* const pNext = pNode->pNext;
            delete pNode->pSegment;
            delete pNode;
            pNode = pNext;
        } while (pNode != document.pLayer->pFirstNode);
        delete document.pLayer;
    }
    document = MicroLineDocument();
}
