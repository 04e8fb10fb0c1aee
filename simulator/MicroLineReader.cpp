#include "Machine.h"
#include "MicroLine.h"

#include <cmath>
#include <unordered_set>

namespace Simulator
{

namespace
{

/// More nodes or segments than any pattern has; a ring that is longer is taken for broken.
constexpr std::size_t kMaxLinks = 1000000;

/// Walks a ring by its `pNext` until it is back at the first link. What it meets twice elsewhere, or null, ends it.
template <typename Link, typename Visit>
bool WalkRing(const Link* pFirst, std::size_t& nLeft, std::string& strProblem, const char* pWhat, Visit visit)
{
    std::unordered_set<const Link*> seen;
    for (const Link* pLink = pFirst;;) {
        if (nLeft == 0) {
            strProblem = std::string("more ") + pWhat + "s than any pattern has";
            return false;
        }
        --nLeft;
        seen.insert(pLink);
        visit(*pLink);
        pLink = pLink->pNext;
        if (pLink == pFirst) {
            return true;
        }
        if (pLink == nullptr) {
            strProblem = std::string("the ring of ") + pWhat + "s is open: a pNext is null";
            return false;
        }
        if (seen.count(pLink) != 0) {
            strProblem = std::string("the ring of ") + pWhat + "s does not come back to its first link";
            return false;
        }
    }
}

} // namespace

MicroLineReading ReadMicroLine(const MicroLineDocument& document, std::vector<EngravedLine>& lines)
{
    MicroLineReading reading;
    if (document.pLayer == nullptr || document.pLayer->pFirstNode == nullptr) {
        reading.strProblem = document.pLayer == nullptr ? "the document has no layer" : "the layer has no node";
        return reading;
    }
    std::size_t nNodesLeft = kMaxLinks;
    std::size_t nSegmentsLeft = kMaxLinks;
    std::string strProblem;
    bool bComplete = true;
    const auto addSegment = [&](const MicroLineSegment& segment) {
        const EngravedLine line{{segment.dX0, segment.dY0}, {segment.dX1, segment.dY1}};
        if (!std::isfinite(segment.dX0) || !std::isfinite(segment.dY0) || !std::isfinite(segment.dX1) ||
            !std::isfinite(segment.dY1)) {
            strProblem = "a segment has a coordinate that is no number";
            bComplete = false;
            return;
        }
        lines.push_back(line);
        ++reading.nSegments;
    };
    const auto addNode = [&](const MicroLineNode& node) {
        if (node.pSegment == nullptr) {
            strProblem = "a node has no segment";
            bComplete = false;
            return;
        }
        bComplete = WalkRing(node.pSegment, nSegmentsLeft, strProblem, "segment", addSegment) && bComplete;
    };
    bComplete = WalkRing(document.pLayer->pFirstNode, nNodesLeft, strProblem, "node", addNode) && bComplete;
    reading.bComplete = bComplete;
    reading.strProblem = strProblem;
    return reading;
}

} // namespace Simulator
