#include "MicroLineCopy.h"

#include "MicroLineWalk.h"

#include <unordered_set>

namespace Simulator
{

MicroLineCopy::MicroLineCopy(const MicroLineDocument& document) : m_document(document)
{
    MicroLineProblems problems;
    const MicroLineNode* pOriginal = nullptr;
    bool bNewNode = false;
    WalkMicroLine(
        document.pLayer, problems,
        [&](const MicroLineNode& node) {
            pOriginal = &node;
            bNewNode = true;
        },
        [&](const MicroLineSegment& segment, bool bFinite) {
            if (!bFinite) {
                return;
            }
            if (bNewNode) {
                AddNode(*pOriginal, segment);
                bNewNode = false;
            } else {
                AddSegment(segment);
            }
            ++m_reading.nSegments;
        });
    m_reading.bComplete = problems.IsEmpty();
    m_reading.strProblem = problems.Text();

    m_document.pLayer = nullptr;
    if (!m_nodes.empty()) {
        m_layer = *document.pLayer;
        m_layer.pFirstNode = &m_nodes.front();
        m_layer.pPrev = &m_layer;
        m_layer.pNext = &m_layer;
        m_document.pLayer = &m_layer;
    }
}

void MicroLineCopy::AddNode(const MicroLineNode& original, const MicroLineSegment& segment)
{
    MicroLineNode& node = m_nodes.emplace_back(original);
    node.pSegment = &m_segments.emplace_back(segment);
    node.pSegment->pPrev = node.pSegment;
    node.pSegment->pNext = node.pSegment;

    MicroLineNode& first = m_nodes.front();
    node.pPrev = m_nodes.size() > 1 ? first.pPrev : &node;
    node.pNext = &first;
    node.pPrev->pNext = &node;
    first.pPrev = &node;
}

void MicroLineCopy::AddSegment(const MicroLineSegment& original)
{
    MicroLineSegment& segment = m_segments.emplace_back(original);
    MicroLineSegment& first = *m_nodes.back().pSegment;
    segment.pPrev = first.pPrev;
    segment.pNext = &first;
    segment.pPrev->pNext = &segment;
    first.pPrev = &segment;
}

void FreeMicroLine(MicroLineDocument& document)
{
    MicroLineProblems problems;
    std::unordered_set<const MicroLineNode*> nodes;
    std::unordered_set<const MicroLineSegment*> segments;
    WalkMicroLine(
        document.pLayer, problems, [&](const MicroLineNode& node) { nodes.insert(&node); },
        [&](const MicroLineSegment& segment, bool) { segments.insert(&segment); });
    for (const MicroLineSegment* const pSegment : segments) {
        delete pSegment;
    }
    for (const MicroLineNode* const pNode : nodes) {
        delete pNode;
    }
    delete document.pLayer;
    document.pLayer = nullptr;
}

} // namespace Simulator
