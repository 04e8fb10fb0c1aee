#pragma once

// A hand-made pattern document whose links a test may break.

#include "Machine.h"
#include "MicroLine.h"

#include <deque>
#include <vector>

/// A document of rings, one segment a node, that stays alive with this object.
class Pattern
{
public:
    Pattern() { m_document.pLayer = &m_layer; }

    void Add(double x0, double y0, double x1, double y1)
    {
        MicroLineSegment& segment = m_segments.emplace_back();
        segment.dX0 = x0;
        segment.dY0 = y0;
        segment.dX1 = x1;
        segment.dY1 = y1;
        segment.pNext = &segment;
        MicroLineNode& node = m_nodes.emplace_back();
        node.pSegment = &segment;
        m_layer.pFirstNode = &m_nodes.front();
        node.pNext = &m_nodes.front();
        if (m_nodes.size() > 1) {
            m_nodes[m_nodes.size() - 2].pNext = &node;
        }
    }

    Simulator::MicroLineReading Read()
    {
        m_lines.clear();
        return Simulator::ReadMicroLine(m_document, m_lines);
    }

    MicroLineDocument m_document;
    MicroLineLayer m_layer;
    std::deque<MicroLineNode> m_nodes;
    std::deque<MicroLineSegment> m_segments;
    std::vector<Simulator::EngravedLine> m_lines;
};
