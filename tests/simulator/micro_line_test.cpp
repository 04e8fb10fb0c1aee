#include "Machine.h"
#include "MicroLine.h"

#include <gtest/gtest.h>

#include <cmath>
#include <deque>

using namespace Simulator;

namespace
{

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

    MicroLineReading Read()
    {
        m_lines.clear();
        return ReadMicroLine(m_document, m_lines);
    }

    MicroLineDocument m_document;
    MicroLineLayer m_layer;
    std::deque<MicroLineNode> m_nodes;
    std::deque<MicroLineSegment> m_segments;
    std::vector<EngravedLine> m_lines;
};

} // namespace

class MicroLine : public ::testing::Test
{
protected:
    void SetUp() override
    {
        for (int i = 0; i < 3; ++i) {
            m_pattern.Add(10.0 * i, 1.0, 10.0 * i + 5.0, 2.0);
        }
    }

    Pattern m_pattern;
};

TEST_F(MicroLine, AWholeRingIsReadInOrder)
{
    const MicroLineReading reading = m_pattern.Read();
    EXPECT_TRUE(reading.bComplete) << reading.strProblem;
    EXPECT_EQ(reading.nSegments, 3u);
    ASSERT_EQ(m_pattern.m_lines.size(), 3u);
    EXPECT_EQ(m_pattern.m_lines[2].fromMm, cv::Point2d(20.0, 1.0));
    EXPECT_EQ(m_pattern.m_lines[2].toMm, cv::Point2d(25.0, 2.0));
}

TEST_F(MicroLine, OnlyNextLinksAreFollowed)
{
    for (MicroLineNode& node : m_pattern.m_nodes) {
        node.pPrev = reinterpret_cast<MicroLineNode*>(8);
    }
    EXPECT_TRUE(m_pattern.Read().bComplete);
}

TEST_F(MicroLine, ADocumentWithoutLayerOrNodeIsEmpty)
{
    m_pattern.m_layer.pFirstNode = nullptr;
    EXPECT_FALSE(m_pattern.Read().bComplete);
    m_pattern.m_document.pLayer = nullptr;
    const MicroLineReading reading = m_pattern.Read();
    EXPECT_FALSE(reading.bComplete);
    EXPECT_EQ(reading.nSegments, 0u);
    EXPECT_FALSE(reading.strProblem.empty());
}

TEST_F(MicroLine, ANodeWithoutSegmentIsPassedOver)
{
    m_pattern.m_nodes[1].pSegment = nullptr;
    const MicroLineReading reading = m_pattern.Read();
    EXPECT_FALSE(reading.bComplete);
    EXPECT_EQ(reading.nSegments, 2u);
}

TEST_F(MicroLine, AnOpenRingEndsAtItsLastLink)
{
    m_pattern.m_nodes[1].pNext = nullptr;
    const MicroLineReading reading = m_pattern.Read();
    EXPECT_FALSE(reading.bComplete);
    EXPECT_EQ(reading.nSegments, 2u);
}

TEST_F(MicroLine, ARingThatMissesItsFirstNodeEnds)
{
    m_pattern.m_nodes[2].pNext = &m_pattern.m_nodes[1];
    const MicroLineReading reading = m_pattern.Read();
    EXPECT_FALSE(reading.bComplete);
    EXPECT_EQ(reading.nSegments, 3u);
}

TEST_F(MicroLine, ARingOfSegmentsThatMissesItsFirstEnds)
{
    m_pattern.m_segments[0].pNext = &m_pattern.m_segments[1];
    const MicroLineReading reading = m_pattern.Read();
    EXPECT_FALSE(reading.bComplete);
    EXPECT_EQ(reading.nSegments, 4u) << "the second segment is met from the first node and from its own";
}

TEST_F(MicroLine, NumbersThatAreNoneAreLeftOut)
{
    m_pattern.m_segments[1].dX1 = std::nan("");
    const MicroLineReading reading = m_pattern.Read();
    EXPECT_FALSE(reading.bComplete);
    EXPECT_EQ(reading.nSegments, 2u);
}

TEST(MicroLineBounds, ARingThatNoPatternHasIsCutOff)
{
    std::vector<MicroLineNode> nodes(1100000);
    MicroLineSegment segment;
    segment.pNext = &segment;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        nodes[i].pSegment = &segment;
        nodes[i].pNext = &nodes[(i + 1) % nodes.size()];
    }
    MicroLineLayer layer;
    layer.pFirstNode = nodes.data();
    MicroLineDocument document;
    document.pLayer = &layer;
    std::vector<EngravedLine> lines;
    const MicroLineReading reading = ReadMicroLine(document, lines);
    EXPECT_FALSE(reading.bComplete);
    EXPECT_EQ(reading.nSegments, 1000000u);
}

TEST(MicroLineEngraving, TheGridAsADocumentGivesThePictureOfTheGrid)
{
    Machine direct(Machine::Kind::Automatic, 31), sent(Machine::Kind::Automatic, 31);
    direct.EngraveLines({{{100, 100}, {140, 100}}, {{120, 80}, {120, 120}}, {{1200, 700}, {1500, 700}}});
    Pattern pattern;
    pattern.Add(100, 100, 140, 100);
    pattern.Add(120, 80, 120, 120);
    pattern.Add(1200, 700, 1500, 700);
    pattern.Add(1400, 700, 1500, 700);
    const MicroLineReading reading = sent.EngraveMicroLine(pattern.m_document);
    EXPECT_TRUE(reading.bComplete);
    EXPECT_EQ(reading.nSegments, 4u);
    EXPECT_EQ(reading.nEngraved, 3u) << "the last one is off the bed";
    EXPECT_EQ(cv::norm(direct.Snap(Side::Right), sent.Snap(Side::Right), cv::NORM_INF), 0.0);
}
