#include "ChartPose.h"

#include "Truth.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace Simulator;

namespace
{

class ChartPoses : public testing::Test
{
protected:
    std::vector<cv::Point2d> Centres(const ChartPose& pose) const
    {
        return m_truth.ChartCentres(pose.side, ChartOf(m_machine, pose));
    }
    std::ptrdiff_t CountShown(const ChartPose& pose) const
    {
        const cv::Rect2d picture(cv::Point2d(), cv::Size2d(m_truth.PictureSize(pose.side)));
        const std::vector<cv::Point2d> centres = Centres(pose);
        return std::count_if(centres.begin(), centres.end(), [&](const cv::Point2d& p) { return picture.contains(p); });
    }

    Machine m_machine{Machine::Kind::Manual, 1};
    Truth m_truth{m_machine};
};

} // namespace

TEST_F(ChartPoses, ShowEveryDiscAndComeToCoverThePicture)
{
    for (const Side side : {Side::Left, Side::Right}) {
        const cv::Size picture = m_truth.PictureSize(side);
        cv::Mat covered = cv::Mat::zeros(6, 8, CV_8U);
        for (int nPose = 0; nPose < 9; ++nPose) {
            const ChartPose pose{side, nPose};
            EXPECT_EQ(CountShown(pose), 63) << nPose;
            for (const cv::Point2d& p : Centres(pose)) {
                covered.at<std::uint8_t>(static_cast<int>(6 * p.y / picture.height),
                                         static_cast<int>(8 * p.x / picture.width)) = 1;
            }
        }
        EXPECT_GE(cv::countNonZero(covered), 40) << "of 48 fields; a disc never lies quite in a corner";
    }
}

TEST_F(ChartPoses, TheSamePoseIsTheSameChartAndTheNextOneAnother)
{
    EXPECT_EQ(Centres({Side::Left, 4}), Centres({Side::Left, 4}));
    EXPECT_GT(cv::norm(Centres({Side::Left, 4})[31] - Centres({Side::Left, 5})[31]), 100.0);
    EXPECT_GT(cv::norm(Centres({Side::Left, 4})[31] - Centres({Side::Left, 13})[31]), 1.0) << "the same ninth";
}

TEST_F(ChartPoses, ATurnBringsTheFirstDiscToTheNextCorner)
{
    // The middle disc stays where it is; seen from it the first one goes round by right angles.
    std::vector<double> angles;
    for (int nTurns = 0; nTurns < 4; ++nTurns) {
        const std::vector<cv::Point2d> centres = Centres({Side::Right, 0, 0, nTurns});
        const cv::Point2d first = centres.front() - centres[31];
        angles.push_back(std::atan2(first.y, first.x) * 180.0 / CV_PI);
    }
    for (std::size_t i = 0; i + 1 < angles.size(); ++i) {
        const double turn = std::remainder(angles[i + 1] - angles[i], 360.0);
        // Pictures are seen with y down, so clockwise is positive; tilt makes a right angle a little less or more.
        EXPECT_NEAR(turn, 90.0, 30.0) << i;
    }
    EXPECT_EQ(Centres({Side::Right, 0, 0, 4}), Centres({Side::Right, 0, 0, 0}));
}

TEST_F(ChartPoses, AFurtherTiltChangesTheChartsShape)
{
    const auto widthToHeight = [this](int nTilt) {
        const std::vector<cv::Point2d> centres = Centres({Side::Left, 0, nTilt});
        return cv::norm(centres[6] - centres[0]) / cv::norm(centres[56] - centres[0]);
    };
    EXPECT_GT(std::abs(widthToHeight(1) - widthToHeight(0)), 0.01);
    EXPECT_GT(std::abs(widthToHeight(2) - widthToHeight(1)), 0.01);
}

TEST_F(ChartPoses, OneThatIsPushedOutOfViewLacksDiscs)
{
    for (int nPose = 0; nPose < 9; ++nPose) {
        const std::ptrdiff_t nShown = CountShown({Side::Left, nPose, 0, 0, true});
        EXPECT_LE(nShown, 42) << nPose;
        EXPECT_GT(nShown, 0) << nPose;
    }
}
