#include "MicroLineBuilder.h"

#include "ModuleDoubles.h"

#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using Line = std::array<double, 4>;

class MicroLineBuilder : public testing::Test
{
protected:
    void SetUp() override { Doubles::Reset(); }
    void TearDown() override { DeleteMicroLine(m_document); }

    void Fill(const QList<QPointF>& listPtMm, double dCrossSizeMm)
    {
        DeleteMicroLine(m_document);
        ASSERT_TRUE(FillMicroLine(m_document, listPtMm, dCrossSizeMm));
    }

    /// The nodes along `pNext`; ends after a thousand where the ring does not.
    std::vector<const MicroLineNode*> Nodes() const
    {
        std::vector<const MicroLineNode*> nodes;
        const MicroLineNode* pNode = m_document.pLayer->pFirstNode;
        do {
            nodes.push_back(pNode);
            pNode = pNode->pNext;
        } while (pNode && pNode != m_document.pLayer->pFirstNode && nodes.size() < 1000);
        EXPECT_EQ(pNode, m_document.pLayer->pFirstNode) << "the ring is not closed";
        return nodes;
    }

    std::vector<Line> Lines() const
    {
        std::vector<Line> lines;
        for (const MicroLineNode* const pNode : Nodes()) {
            const MicroLineSegment& segment = *pNode->pSegment;
            lines.push_back({segment.dX0, segment.dY0, segment.dX1, segment.dY1});
        }
        return lines;
    }

    Line Box() const { return {m_document.dX, m_document.dY, m_document.dWidth, m_document.dHeight}; }

    MicroLineDocument m_document;
};

template <typename Value> Value At(const void* pRecord, std::size_t nOffset)
{
    Value value;
    std::memcpy(&value, static_cast<const char*>(pRecord) + nOffset, sizeof value);
    return value;
}

} // namespace

TEST_F(MicroLineBuilder, ASinglePointGivesItsCrossBetweenTwoEqualArrowHeads)
{
    Fill({{100, 200}}, 40);
    const Line upper{110, 190, 120, 200}, lower{110, 210, 120, 200};
    EXPECT_THAT(Lines(), ElementsAre(upper, lower, Line{80, 200, 120, 200}, Line{100, 180, 100, 220}, upper, lower));
}

TEST_F(MicroLineBuilder, ArrowHeadsStandAtTheFirstAndTheLastCross)
{
    Fill({{10, 20}, {50, 20}, {30, 90}}, 8);
    EXPECT_THAT(Lines(), ElementsAre(Line{12, 18, 14, 20}, Line{12, 22, 14, 20}, //
                                     Line{6, 20, 14, 20}, Line{10, 16, 10, 24},  //
                                     Line{46, 20, 54, 20}, Line{50, 16, 50, 24}, //
                                     Line{26, 90, 34, 90}, Line{30, 86, 30, 94}, //
                                     Line{32, 88, 34, 90}, Line{32, 92, 34, 90}));
}

TEST_F(MicroLineBuilder, NPointsGiveTwoNAndFourNodes)
{
    for (const int nPoints : {1, 2, 18, 56}) {
        QList<QPointF> listPt;
        for (int i = 0; i < nPoints; ++i) {
            listPt.append(QPointF(10.0 * i, 5.0 * i));
        }
        Fill(listPt, 30);
        EXPECT_THAT(Nodes(), SizeIs(2 * nPoints + 4));
    }
}

TEST_F(MicroLineBuilder, EveryNodeButTheHorizontalOnesPointsBack)
{
    Fill({{10, 20}, {50, 20}, {30, 90}}, 8);
    const std::vector<const MicroLineNode*> nodes = Nodes();
    ASSERT_THAT(nodes, SizeIs(10));
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const bool bHorizontal = i == 2 || i == 4 || i == 6;
        EXPECT_EQ(nodes[i]->pPrev, bHorizontal ? nullptr : nodes[(i + 9) % 10]) << i;
    }
}

TEST_F(MicroLineBuilder, LayerAndSegmentsAreRingsOfOne)
{
    Fill({{10, 20}, {50, 20}}, 8);
    EXPECT_EQ(m_document.pLayer->pPrev, m_document.pLayer);
    EXPECT_EQ(m_document.pLayer->pNext, m_document.pLayer);
    for (const MicroLineNode* const pNode : Nodes()) {
        ASSERT_NE(pNode->pSegment, nullptr);
        EXPECT_EQ(pNode->pSegment->pPrev, pNode->pSegment);
        EXPECT_EQ(pNode->pSegment->pNext, pNode->pSegment);
    }
}

TEST_F(MicroLineBuilder, ReservedWordsAreZero)
{
    Fill({{10, 20}, {50, 20}}, 8);
    EXPECT_EQ(At<std::int64_t>(m_document.pLayer, 0), 0);
    for (const MicroLineNode* const pNode : Nodes()) {
        EXPECT_EQ(At<std::int32_t>(pNode, 0), 0);
        for (const std::size_t nOffset : {8, 16, 24, 32, 40, 48, 64}) {
            EXPECT_EQ(At<std::int64_t>(pNode, nOffset), 0) << nOffset;
        }
        EXPECT_EQ(At<double>(pNode->pSegment, 16), 0.0);
        EXPECT_EQ(At<double>(pNode->pSegment, 40), 0.0);
    }
}

TEST_F(MicroLineBuilder, TheBoxOfASortedGridHoldsEveryCross)
{
    Fill({{75, 75}, {225, 75}, {75, 300}, {225, 300}}, 40);
    EXPECT_EQ(Box(), (Line{55, 55, 190, 265}));
}

TEST_F(MicroLineBuilder, ALaterPointJustInsideAWidenedEdgeDoesNotMoveIt)
{
    // The second cross reaches to 75 and the third to 225, and the box to 80 and 220 only.
    Fill({{100, 100}, {95, 100}, {200, 100}, {205, 100}}, 40);
    EXPECT_EQ(Box(), (Line{80, 80, 140, 40}));
}

TEST_F(MicroLineBuilder, ALaterPointOutsideAWidenedEdgeMovesItByTheWholeHalf)
{
    Fill({{100, 100}, {79, 121}}, 40);
    EXPECT_EQ(Box(), (Line{59, 80, 61, 61}));
}

TEST_F(MicroLineBuilder, TheFarEdgesOfANegativeGridStayAtZero)
{
    Fill({{-100, -50}}, 20);
    EXPECT_EQ(Box(), (Line{-110, -60, 110, 60}));
}

TEST_F(MicroLineBuilder, APointAtZeroLeavesTheFarEdgesAtZero)
{
    Fill({{0, 0}}, 20);
    EXPECT_EQ(Box(), (Line{-10, -10, 10, 10}));
}

TEST_F(MicroLineBuilder, APointFartherThanTheStartOfTheSearchLeavesTheNearEdgeThere)
{
    Fill({{2e10, 5}}, 20);
    EXPECT_EQ(Box(), (Line{9999999999.0, -5, 2e10 + 10 - 9999999999.0, 20}));
}

TEST_F(MicroLineBuilder, WhateverStoodInTheDocumentIsReplaced)
{
    MicroLineLayer layer;
    m_document = {&layer, 1, 2, 3, 4};
    ASSERT_TRUE(FillMicroLine(m_document, {{100, 100}}, 40));
    EXPECT_NE(m_document.pLayer, &layer);
    EXPECT_EQ(Box(), (Line{80, 80, 40, 40}));
}

TEST_F(MicroLineBuilder, AGridWithoutPointsIsRefused)
{
    MicroLineLayer layer;
    m_document = {&layer, 1, 2, 3, 4};
    EXPECT_FALSE(FillMicroLine(m_document, {}, 40));
    EXPECT_EQ(m_document.pLayer, nullptr);
    EXPECT_EQ(Box(), (Line{0, 0, 0, 0}));
    ASSERT_THAT(Doubles::The().logLines, SizeIs(1));
    EXPECT_THAT(Doubles::The().logLines[0].second, testing::HasSubstr("without points"));
}

TEST_F(MicroLineBuilder, NumbersThatAreNotFiniteAreRefused)
{
    const double dInfinity = std::numeric_limits<double>::infinity();
    for (const double dBad : {std::nan(""), dInfinity, -dInfinity}) {
        EXPECT_FALSE(FillMicroLine(m_document, {{1, 1}, {dBad, 1}}, 40));
        EXPECT_FALSE(FillMicroLine(m_document, {{1, dBad}, {1, 1}}, 40));
        EXPECT_FALSE(FillMicroLine(m_document, {{1, 1}}, dBad));
        EXPECT_EQ(m_document.pLayer, nullptr);
    }
    EXPECT_THAT(Doubles::The().logLines, SizeIs(9));
}

TEST_F(MicroLineBuilder, ACrossWithoutSizeIsDrawnAsPoints)
{
    Fill({{7, 8}}, 0);
    const Line point{7, 8, 7, 8};
    EXPECT_THAT(Lines(), ElementsAre(point, point, point, point, point, point));
    EXPECT_EQ(Box(), (Line{7, 8, 0, 0}));
}

TEST_F(MicroLineBuilder, DeletingLeavesAnEmptyDocumentAndMayBeDoneAgain)
{
    Fill({{10, 20}}, 8);
    DeleteMicroLine(m_document);
    EXPECT_EQ(m_document.pLayer, nullptr);
    EXPECT_EQ(Box(), (Line{0, 0, 0, 0}));
    DeleteMicroLine(m_document);
    EXPECT_THAT(Doubles::The().logLines, IsEmpty());
}
