#include "MicroLineCopy.h"

#include "MicroLinePattern.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <set>

using namespace Simulator;

namespace
{

std::vector<cv::Vec4d> LinesOf(const MicroLineDocument& document)
{
    std::vector<EngravedLine> lines;
    const MicroLineReading reading = ReadMicroLine(document, lines);
    EXPECT_TRUE(reading.bComplete) << reading.strProblem;
    std::vector<cv::Vec4d> numbers;
    for (const EngravedLine& line : lines) {
        numbers.emplace_back(line.fromMm.x, line.fromMm.y, line.toMm.x, line.toMm.y);
    }
    return numbers;
}

/// Every link of the nodes and of the segments leads on and back again.
void ExpectLinkedBothWays(const MicroLineDocument& document)
{
    const MicroLineNode* const pFirst = document.pLayer->pFirstNode;
    const MicroLineNode* pNode = pFirst;
    do {
        EXPECT_EQ(pNode->pNext->pPrev, pNode);
        const MicroLineSegment* pSegment = pNode->pSegment;
        do {
            EXPECT_EQ(pSegment->pNext->pPrev, pSegment);
            pSegment = pSegment->pNext;
        } while (pSegment != pNode->pSegment);
        pNode = pNode->pNext;
    } while (pNode != pFirst);
    EXPECT_EQ(document.pLayer->pNext, document.pLayer);
    EXPECT_EQ(document.pLayer->pPrev, document.pLayer);
}

} // namespace

TEST(MicroLineCopy, OutlivesItsOriginal)
{
    auto pPattern = std::make_unique<Pattern>();
    pPattern->Add(1, 2, 3, 4);
    pPattern->Add(5, 6, 7, 8);
    pPattern->Add(9, 10, 11, 12);
    pPattern->m_document.dX = 1;
    pPattern->m_document.dY = 2;
    pPattern->m_document.dWidth = 10;
    pPattern->m_document.dHeight = 11;
    const MicroLineCopy copy(pPattern->m_document);
    pPattern.reset();

    EXPECT_TRUE(copy.Reading().bComplete) << copy.Reading().strProblem;
    EXPECT_EQ(copy.Reading().nSegments, 3u);
    EXPECT_EQ(copy.Document().dX, 1);
    EXPECT_EQ(copy.Document().dY, 2);
    EXPECT_EQ(copy.Document().dWidth, 10);
    EXPECT_EQ(copy.Document().dHeight, 11);
    EXPECT_EQ(LinesOf(copy.Document()), (std::vector<cv::Vec4d>{{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}}));
    ExpectLinkedBothWays(copy.Document());
}

TEST(MicroLineCopy, BackLinksOfTheOriginalAreNeverFollowed)
{
    Pattern pattern;
    pattern.Add(1, 2, 3, 4);
    pattern.Add(5, 6, 7, 8);
    pattern.m_nodes[0].pPrev = reinterpret_cast<MicroLineNode*>(8);
    pattern.m_nodes[1].pPrev = nullptr;
    pattern.m_segments[0].pPrev = reinterpret_cast<MicroLineSegment*>(8);
    pattern.m_layer.pPrev = reinterpret_cast<MicroLineLayer*>(8);
    const MicroLineCopy copy(pattern.m_document);
    EXPECT_TRUE(copy.Reading().bComplete);
    ExpectLinkedBothWays(copy.Document());
}

TEST(MicroLineCopy, RingsOfSeveralSegmentsAndReservedWordsAreKept)
{
    Pattern pattern;
    pattern.Add(1, 2, 3, 4);
    pattern.Add(5, 6, 7, 8);
    MicroLineSegment more;
    more.dX0 = 3;
    more.dReserved1 = 0.5;
    more.pNext = &pattern.m_segments[0];
    pattern.m_segments[0].pNext = &more;
    pattern.m_layer.nReserved1 = 7;
    pattern.m_nodes[1].reserved[5] = 9;
    const MicroLineCopy copy(pattern.m_document);
    EXPECT_EQ(LinesOf(copy.Document()), (std::vector<cv::Vec4d>{{1, 2, 3, 4}, {3, 0, 0, 0}, {5, 6, 7, 8}}));
    ExpectLinkedBothWays(copy.Document());
    const MicroLineNode& first = *copy.Document().pLayer->pFirstNode;
    EXPECT_EQ(first.pSegment->pNext->dReserved1, 0.5);
    EXPECT_EQ(copy.Document().pLayer->nReserved1, 7);
    EXPECT_EQ(first.pNext->reserved[5], 9);
}

TEST(MicroLineCopy, OfABrokenDocumentTheSoundPartIsCopiedAndTheRestTold)
{
    Pattern pattern;
    for (int i = 0; i < 4; ++i) {
        pattern.Add(i, i, i, i);
    }
    pattern.m_segments[1].dX0 = std::nan("");
    pattern.m_nodes[2].pSegment = nullptr;
    pattern.m_nodes[3].pNext = &pattern.m_nodes[1];
    const MicroLineCopy copy(pattern.m_document);
    EXPECT_FALSE(copy.Reading().bComplete);
    EXPECT_EQ(copy.Reading().strProblem, "node 1 has a coordinate that is no finite number, and 2 more");
    EXPECT_EQ(copy.Reading().nSegments, 2u);
    EXPECT_EQ(LinesOf(copy.Document()), (std::vector<cv::Vec4d>{{0, 0, 0, 0}, {3, 3, 3, 3}}));
    ExpectLinkedBothWays(copy.Document());
}

TEST(MicroLineCopy, OfNothingThereIsNoLayer)
{
    MicroLineDocument document;
    EXPECT_EQ(MicroLineCopy(document).Document().pLayer, nullptr);
    MicroLineLayer layer;
    document.pLayer = &layer;
    EXPECT_EQ(MicroLineCopy(document).Document().pLayer, nullptr);
    EXPECT_EQ(MicroLineCopy(document).Reading().strProblem, "the layer has no node");
}

TEST(FreeMicroLine, FreesEachPartOnceWhateverTheLinksSay)
{
    // The address sanitizer watches. Two nodes share a segment, and the ring of nodes misses its first.
    auto* const pLayer = new MicroLineLayer;
    auto* const pShared = new MicroLineSegment;
    pShared->pNext = pShared;
    auto* const pFirst = new MicroLineNode;
    auto* const pSecond = new MicroLineNode;
    auto* const pThird = new MicroLineNode;
    pLayer->pFirstNode = pFirst;
    pFirst->pNext = pSecond;
    pSecond->pNext = pThird;
    pThird->pNext = pSecond;
    pFirst->pSegment = pShared;
    pSecond->pSegment = pShared;
    MicroLineDocument document;
    document.pLayer = pLayer;
    FreeMicroLine(document);
    EXPECT_EQ(document.pLayer, nullptr);
    FreeMicroLine(document);
}
