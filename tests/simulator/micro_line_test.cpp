#include "Machine.h"
#include "MicroLine.h"
#include "MicroLineCopy.h"

#include "MicroLinePattern.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

using namespace Simulator;

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
    EXPECT_EQ(m_pattern.Read().strProblem, "the layer has no node");
    m_pattern.m_document.pLayer = nullptr;
    const MicroLineReading reading = m_pattern.Read();
    EXPECT_FALSE(reading.bComplete);
    EXPECT_EQ(reading.nSegments, 0u);
    EXPECT_EQ(reading.strProblem, "the document has no layer");
}

TEST_F(MicroLine, ANodeWithoutSegmentIsPassedOver)
{
    m_pattern.m_nodes[1].pSegment = nullptr;
    const MicroLineReading reading = m_pattern.Read();
    EXPECT_FALSE(reading.bComplete);
    EXPECT_EQ(reading.nSegments, 2u);
    EXPECT_EQ(reading.strProblem, "node 1 has no segment");
}

TEST_F(MicroLine, AnOpenRingEndsAtItsLastLink)
{
    m_pattern.m_nodes[1].pNext = nullptr;
    const MicroLineReading reading = m_pattern.Read();
    EXPECT_FALSE(reading.bComplete);
    EXPECT_EQ(reading.nSegments, 2u);
    EXPECT_EQ(reading.strProblem, "the ring of nodes is open: a pNext is null");
}

TEST_F(MicroLine, ARingThatMissesItsFirstNodeEnds)
{
    m_pattern.m_nodes[2].pNext = &m_pattern.m_nodes[1];
    const MicroLineReading reading = m_pattern.Read();
    EXPECT_FALSE(reading.bComplete);
    EXPECT_EQ(reading.nSegments, 3u);
    EXPECT_EQ(reading.strProblem, "the ring of nodes does not come back to its first link");
}

TEST_F(MicroLine, ARingOfSegmentsThatMissesItsFirstEnds)
{
    m_pattern.m_segments[0].pNext = &m_pattern.m_segments[1];
    const MicroLineReading reading = m_pattern.Read();
    EXPECT_FALSE(reading.bComplete);
    EXPECT_EQ(reading.nSegments, 4u) << "the second segment is met from the first node and from its own";
    EXPECT_EQ(reading.strProblem, "the ring of segments of node 0 does not come back to its first link");
}

TEST_F(MicroLine, NumbersThatAreNoneAreLeftOut)
{
    const double dInfinity = std::numeric_limits<double>::infinity();
    for (const double dBad : {std::nan(""), dInfinity, -dInfinity}) {
        for (double MicroLineSegment::*pMember :
             {&MicroLineSegment::dX0, &MicroLineSegment::dY0, &MicroLineSegment::dX1, &MicroLineSegment::dY1}) {
            Pattern pattern;
            pattern.Add(0, 0, 1, 1);
            pattern.Add(2, 2, 3, 3);
            pattern.m_segments[1].*pMember = dBad;
            const MicroLineReading reading = pattern.Read();
            EXPECT_FALSE(reading.bComplete);
            EXPECT_EQ(reading.nSegments, 1u);
            EXPECT_EQ(reading.strProblem, "node 1 has a coordinate that is no finite number");
        }
    }
}

TEST_F(MicroLine, TheFirstProblemIsToldAndTheOthersAreCounted)
{
    m_pattern.m_nodes[1].pSegment = nullptr;
    m_pattern.m_segments[2].dX0 = std::nan("");
    m_pattern.m_nodes[2].pNext = nullptr;
    EXPECT_EQ(m_pattern.Read().strProblem, "node 1 has no segment, and 2 more");
}

TEST_F(MicroLine, ALayerBehindTheFirstIsToldAndNotRead)
{
    MicroLineLayer second;
    m_pattern.m_layer.pNext = &second;
    const MicroLineReading reading = m_pattern.Read();
    EXPECT_EQ(reading.nSegments, 3u);
    EXPECT_EQ(reading.strProblem, "the document has more than one layer; only the first is read");
    m_pattern.m_layer.pNext = &m_pattern.m_layer;
    EXPECT_TRUE(m_pattern.Read().bComplete);
}

TEST_F(MicroLine, NumbersBeyondAnyBedAreReadAndNotEngraved)
{
    Pattern pattern;
    pattern.Add(-1e308, 100, 1e308, 100);
    pattern.Add(1e300, 1e300, 1e301, 1e301);
    Machine machine(Machine::Kind::Automatic, 32);
    const MicroLineReading reading = machine.EngraveMicroLine(pattern.m_document);
    EXPECT_TRUE(reading.bComplete);
    EXPECT_EQ(reading.nSegments, 2u);
    EXPECT_EQ(reading.nEngraved, 0u);
}

TEST_F(MicroLine, WhatIsSoundInABrokenDocumentIsEngraved)
{
    m_pattern.m_nodes[1].pNext = nullptr;
    m_pattern.m_segments[0].dY1 = std::nan("");
    Machine machine(Machine::Kind::Automatic, 33);
    const MicroLineReading reading = machine.EngraveMicroLine(m_pattern.m_document);
    EXPECT_EQ(reading.nEngraved, 1u);
    EXPECT_EQ(reading.strProblem, "node 0 has a coordinate that is no finite number, and 1 more");
    EXPECT_FALSE(machine.Snap(Side::Right).empty());
}

TEST(MicroLineBounds, ARingThatNoPatternHasIsCutOff)
{
    for (const std::size_t nNodes : {1000000u, 1000001u}) {
        std::vector<MicroLineNode> nodes(nNodes);
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
        EXPECT_EQ(reading.nSegments, 1000000u);
        EXPECT_EQ(reading.strProblem, nNodes == 1000000u ? "" : "the ring of nodes is longer than any pattern");
        EXPECT_EQ(MicroLineCopy(document).Reading().nSegments, 1000000u);
    }
}

TEST(MicroLineBounds, RingsOfSegmentsShareOneBound)
{
    // Every node leads into the same long ring.
    std::vector<MicroLineSegment> segments(300000);
    for (std::size_t i = 0; i < segments.size(); ++i) {
        segments[i].pNext = &segments[(i + 1) % segments.size()];
    }
    Pattern pattern;
    for (int i = 0; i < 10; ++i) {
        pattern.Add(0, 0, 1, 1);
        pattern.m_nodes.back().pSegment = segments.data();
    }
    const MicroLineReading reading = pattern.Read();
    EXPECT_EQ(reading.nSegments, 1000000u);
    EXPECT_EQ(reading.strProblem, "the ring of segments of node 3 is longer than any pattern, and 6 more");
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

TEST(MicroLineEngraving, StrokesWithoutNumberInOnePlaceAreDrawnAsFarAsTheyShow)
{
    Machine few(Machine::Kind::Automatic, 34), many(Machine::Kind::Automatic, 34);
    const EngravedLine line{{900, 400}, {940, 400}};
    const EngravedLine elsewhere{{1000, 500}, {1000, 540}};
    for (auto [pMachine, nLines] : {std::pair(&few, 4096u), {&many, 20000u}}) {
        pMachine->EngraveLines(std::vector<EngravedLine>(nLines, line));
        pMachine->EngraveLines({elsewhere});
    }
    EXPECT_EQ(cv::norm(few.Snap(Side::Right), many.Snap(Side::Right), cv::NORM_INF), 0.0);
}
