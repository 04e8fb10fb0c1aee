#pragma once

// How the links of a pattern document are followed, whatever they say. Only for those that read, copy or free
// documents; pointers to freed memory are the sender's fault.

#include "MicroLine.h"

#include <cmath>
#include <cstddef>
#include <string>
#include <unordered_set>

namespace Simulator
{

/// More nodes or segments than any pattern has; a ring that is longer is taken for broken.
inline constexpr std::size_t kMaxMicroLineLinks = 1000000;

/// What is wrong with a document: the first thing in words, the others as a number.
class MicroLineProblems
{
public:
    void Add(const std::string& strProblem)
    {
        if (m_nCount++ == 0) {
            m_strFirst = strProblem;
        }
    }
    bool IsEmpty() const { return m_nCount == 0; }
    std::string Text() const
    {
        return m_nCount < 2 ? m_strFirst : m_strFirst + ", and " + std::to_string(m_nCount - 1) + " more";
    }

private:
    std::size_t m_nCount = 0;
    std::string m_strFirst;
};

/// Visits each link of a ring once, by `pNext`, until it is back at the first. What it meets twice elsewhere, or null,
/// ends it.
/// @param nLeft  how many more links are followed
/// @return what broke the ring; empty for a whole one
template <typename Link, typename Visit> std::string WalkRing(Link* pFirst, std::size_t& nLeft, Visit visit)
{
    std::unordered_set<const Link*> seen;
    for (Link* pLink = pFirst;;) {
        if (nLeft == 0) {
            return "is longer than any pattern";
        }
        --nLeft;
        Link* const pNext = pLink->pNext;
        visit(*pLink);
        if (pNext == pFirst) {
            return {};
        }
        if (pNext == nullptr) {
            return "is open: a pNext is null";
        }
        seen.insert(pLink);
        if (seen.count(pNext) != 0) {
            return "does not come back to its first link";
        }
        pLink = pNext;
    }
}

/// Visits each node, and after it each segment of its ring.
/// @param pLayer  may be null
template <typename VisitNode, typename VisitSegment>
void WalkMicroLine(const MicroLineLayer* pLayer, MicroLineProblems& problems, VisitNode visitNode,
                   VisitSegment visitSegment)
{
    if (pLayer == nullptr || pLayer->pFirstNode == nullptr) {
        problems.Add(pLayer == nullptr ? "the document has no layer" : "the layer has no node");
        return;
    }
    if (pLayer->pNext != nullptr && pLayer->pNext != pLayer) {
        problems.Add("the document has more than one layer; only the first is read");
    }
    std::size_t nNodesLeft = kMaxMicroLineLinks;
    std::size_t nSegmentsLeft = kMaxMicroLineLinks;
    std::size_t nNode = 0;
    const std::string strRing = WalkRing(pLayer->pFirstNode, nNodesLeft, [&](MicroLineNode& node) {
        const auto nameNode = [n = nNode++] { return "node " + std::to_string(n); };
        visitNode(node);
        if (node.pSegment == nullptr) {
            problems.Add(nameNode() + " has no segment");
            return;
        }
        const std::string strSegments = WalkRing(node.pSegment, nSegmentsLeft, [&](MicroLineSegment& segment) {
            const bool bFinite = std::isfinite(segment.dX0) && std::isfinite(segment.dY0) &&
                                 std::isfinite(segment.dX1) && std::isfinite(segment.dY1);
            if (!bFinite) {
                problems.Add(nameNode() + " has a coordinate that is no finite number");
            }
            visitSegment(segment, bFinite);
        });
        if (!strSegments.empty()) {
            problems.Add("the ring of segments of " + nameNode() + " " + strSegments);
        }
    });
    if (!strRing.empty()) {
        problems.Add("the ring of nodes " + strRing);
    }
}

} // namespace Simulator
