// The built document on a simulated machine: what is sent stands on the bed where its millimetres say.

#include "MicroLineBuilder.h"

#include "Machine.h"
#include "MicroLineCopy.h"
#include "Truth.h"

#include <gtest/gtest.h>

#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <memory>

using namespace Simulator;

namespace
{

QList<QPointF> GridOf(const CrossGrid& grid)
{
    QList<QPointF> listPtMm;
    for (const cv::Point2d& point : grid.PointsMm()) {
        listPtMm.append(QPointF(point.x, point.y));
    }
    return listPtMm;
}

/// How much darker `engraved` is than `clean`, CV_32FC1, mean of the channels.
cv::Mat Darkening(const cv::Mat& clean, const cv::Mat& engraved)
{
    cv::Mat difference;
    cv::subtract(clean, engraved, difference, cv::noArray(), CV_32F);
    cv::Mat mean;
    cv::transform(difference, mean, cv::Matx13f(1.0f / 3.0f, 1.0f / 3.0f, 1.0f / 3.0f));
    return mean;
}

/// Between pixels, bilinear; 0 near the border.
double At(const cv::Mat& picture, const cv::Point2d& pixel)
{
    const int x = cvFloor(pixel.x), y = cvFloor(pixel.y);
    if (x < 0 || y < 0 || x + 1 >= picture.cols || y + 1 >= picture.rows) {
        return 0.0;
    }
    const double fx = pixel.x - x, fy = pixel.y - y;
    return (1 - fy) * ((1 - fx) * picture.at<float>(y, x) + fx * picture.at<float>(y, x + 1)) +
           fy * ((1 - fx) * picture.at<float>(y + 1, x) + fx * picture.at<float>(y + 1, x + 1));
}

/// Darkness over a profile of 3 mm: with a line in it, and without.
constexpr double kDark = 3.0;
constexpr double kClear = 1.0;

struct Profile {
    double offMm = 0.0; ///< centroid of the darkness across the line
    double mean = 0.0;  ///< darkness over the profile, levels
};

/// A machine of each kind with its own grid sent to it as a document; built once, since tracing a picture takes long.
struct Scene {
    explicit Scene(Machine::Kind kind) : machine(kind, kSeed), truth(machine), grid(machine.Grid())
    {
        EXPECT_TRUE(FillMicroLine(document, GridOf(grid), grid.crossSizeMm));
        reading = machine.EngraveMicroLine(document);
        // Seeds and counts being equal, the two pictures differ by the engraving alone but for a little noise.
        Machine clean(kind, kSeed);
        for (const Side side : {Side::Left, Side::Right}) {
            pictures[side] = machine.Snap(side);
            dark[side] = Darkening(clean.Snap(side), pictures[side]);
        }
    }
    ~Scene() { DeleteMicroLine(document); }
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    static constexpr std::uint64_t kSeed = 41;
    Machine machine;
    Truth truth;
    CrossGrid grid;
    MicroLineDocument document;
    MicroLineReading reading;
    std::map<Side, cv::Mat> pictures;
    std::map<Side, cv::Mat> dark;
};

class EngravedPattern : public testing::TestWithParam<Machine::Kind>
{
protected:
    EngravedPattern()
    {
        std::unique_ptr<Scene>& pScene = g_scenes[GetParam()];
        if (!pScene) {
            pScene = std::make_unique<Scene>(GetParam());
        }
        m_pScene = pScene.get();
    }

    static void TearDownTestSuite() { g_scenes.clear(); }

    bool Sees(Side side, const cv::Point2d& from, const cv::Point2d& to) const
    {
        return m_pScene->truth.Sees(side, from) && m_pScene->truth.Sees(side, to);
    }

    /// Across the line through `from` and `to`, averaged over the part of it between the two shares of its length.
    Profile Across(Side side, const cv::Point2d& from, const cv::Point2d& to, double firstShare, double lastShare) const
    {
        const cv::Point2d along = (to - from) / cv::norm(to - from);
        const cv::Point2d across(-along.y, along.x);
        double sum = 0.0, sumOff = 0.0;
        int nSamples = 0;
        for (double share = firstShare; share <= lastShare; share += 0.02) {
            for (double offMm = -1.5; offMm <= 1.5; offMm += 0.05) {
                const double level =
                    At(m_pScene->dark[side],
                       *m_pScene->truth.PixelFromMachine(side, from + share * (to - from) + offMm * across));
                sum += level;
                sumOff += level * offMm;
                ++nSamples;
            }
        }
        return {sumOff / sum, sum / nSamples};
    }

    static inline std::map<Machine::Kind, std::unique_ptr<Scene>> g_scenes;
    Scene* m_pScene = nullptr;
};

} // namespace

TEST_P(EngravedPattern, EveryLineLiesAtItsMillimetres)
{
    const CrossGrid& grid = m_pScene->grid;
    const std::vector<cv::Point2d> points = grid.PointsMm();
    ASSERT_TRUE(m_pScene->reading.bComplete) << m_pScene->reading.strProblem;
    EXPECT_EQ(m_pScene->reading.nSegments, 2 * points.size() + 4);
    EXPECT_EQ(m_pScene->reading.nEngraved, m_pScene->reading.nSegments);

    const double half = 0.5 * grid.crossSizeMm;
    double worstMm = 0.0;
    int nParts = 0;
    for (const Side side : {Side::Left, Side::Right}) {
        const auto expectLine = [&](const cv::Point2d& from, const cv::Point2d& to, double first, double last) {
            if (!Sees(side, from, to)) {
                return;
            }
            const Profile profile = Across(side, from, to, first, last);
            EXPECT_GT(profile.mean, kDark) << from << " to " << to;
            EXPECT_NEAR(profile.offMm, 0.0, 0.1) << from << " to " << to;
            worstMm = std::max(worstMm, std::abs(profile.offMm));
            ++nParts;
        };
        for (const cv::Point2d& p : points) {
            // Both halves of each arm, clear of the crossing and of an arrow head.
            expectLine({p.x - half, p.y}, {p.x + half, p.y}, 0.1, 0.4);
            expectLine({p.x - half, p.y}, {p.x + half, p.y}, 0.6, 0.9);
            expectLine({p.x, p.y - half}, {p.x, p.y + half}, 0.1, 0.4);
            expectLine({p.x, p.y - half}, {p.x, p.y + half}, 0.6, 0.9);
        }
        for (const cv::Point2d& p : {points.front(), points.back()}) {
            expectLine({p.x + 0.5 * half, p.y - 0.5 * half}, {p.x + half, p.y}, 0.1, 0.7);
            expectLine({p.x + 0.5 * half, p.y + 0.5 * half}, {p.x + half, p.y}, 0.1, 0.7);
        }
    }
    EXPECT_GE(nParts, static_cast<int>(4 * points.size())) << "each cross is seen by one camera at least";
    std::printf("%d parts of lines, the farthest %.3f mm off\n", nParts, worstMm);
}

TEST_P(EngravedPattern, BetweenTheCrossesThereIsNothing)
{
    const CrossGrid& grid = m_pScene->grid;
    int nSeen = 0;
    for (const cv::Point2d& p : grid.PointsMm()) {
        const cv::Point2d from = p + 0.5 * cv::Point2d(grid.columnSpacingMm, grid.rowSpacingMm);
        const cv::Point2d to = from + cv::Point2d(20.0, 0.0);
        if (Sees(Side::Right, from, to)) {
            EXPECT_LT(std::abs(Across(Side::Right, from, to, 0.0, 1.0).mean), kClear) << from;
            ++nSeen;
        }
    }
    EXPECT_GT(nSeen, 5);
}

TEST_P(EngravedPattern, OnlyTheFirstAndTheLastCrossHaveArrowHeads)
{
    const double half = 0.5 * m_pScene->grid.crossSizeMm;
    const std::vector<cv::Point2d> points = m_pScene->grid.PointsMm();
    int nArrows = 0;
    for (const Side side : {Side::Left, Side::Right}) {
        for (std::size_t i = 0; i < points.size(); ++i) {
            const cv::Point2d from = points[i] + cv::Point2d(0.5 * half, -0.5 * half);
            const cv::Point2d to = points[i] + cv::Point2d(half, 0.0);
            if (Sees(side, from, to)) {
                const bool bArrow = i == 0 || i + 1 == points.size();
                EXPECT_EQ(Across(side, from, to, 0.1, 0.7).mean > kDark, bArrow) << i;
                nArrows += bArrow ? 1 : 0;
            }
        }
    }
    EXPECT_GE(nArrows, 2);
}

TEST_P(EngravedPattern, AHostsCopyEngravesTheSamePicture)
{
    MicroLineDocument document;
    ASSERT_TRUE(FillMicroLine(document, GridOf(m_pScene->grid), m_pScene->grid.crossSizeMm));
    const MicroLineCopy copy(document);
    FreeMicroLine(document);
    Machine other(GetParam(), Scene::kSeed);
    EXPECT_TRUE(other.EngraveMicroLine(copy.Document()).bComplete);
    EXPECT_EQ(cv::norm(m_pScene->pictures[Side::Left], other.Snap(Side::Left), cv::NORM_INF), 0.0);
}

TEST_P(EngravedPattern, TheMachinesOwnGridIsTheSamePattern)
{
    Machine own(GetParam(), Scene::kSeed);
    own.EngraveCrossGrid();
    // The strokes are burnt in another order, which rounds differently.
    EXPECT_LE(cv::norm(m_pScene->pictures[Side::Right], own.Snap(Side::Right), cv::NORM_INF), 1.0);
}

INSTANTIATE_TEST_SUITE_P(Machines, EngravedPattern, testing::Values(Machine::Kind::Automatic, Machine::Kind::Manual),
                         [](const auto& machine) {
                             return machine.param == Machine::Kind::Automatic ? "Automatic" : "Manual";
                         });
