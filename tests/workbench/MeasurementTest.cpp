#include "Measurement.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace Workbench;

TEST(DotGrid, ShowsNoDotWhereOneWouldBeInATurnedOrMirroredPicture)
{
    const cv::Size2d area(900.0, 600.0);
    const std::vector<Simulator::EngravedDot> dots = DotGrid(area);
    ASSERT_EQ(dots.size(), 864u);
    for (const auto& [bTurnX, bTurnY] : {std::pair{true, false}, std::pair{false, true}, std::pair{true, true}}) {
        for (const Simulator::EngravedDot& dot : dots) {
            const cv::Point2d turned(bTurnX ? area.width - dot.centreMm.x : dot.centreMm.x,
                                     bTurnY ? area.height - dot.centreMm.y : dot.centreMm.y);
            // Farther than the locator looks.
            EXPECT_TRUE(std::none_of(dots.begin(), dots.end(), [&](const Simulator::EngravedDot& other) {
                return cv::norm(other.centreMm - turned) < 4.0;
            })) << turned;
        }
    }
}

TEST(Coverage, IsTheShareOfTheWorkAreaThatIsNotBlack)
{
    const cv::Size areaMm(10, 20);
    cv::Mat picture(120, 60, CV_8UC3, cv::Scalar(0, 0, 1));
    EXPECT_EQ(Coverage(picture, areaMm), 1.0);
    picture.at<cv::Vec3b>(119, 59) = cv::Vec3b(0, 0, 0);
    EXPECT_DOUBLE_EQ(Coverage(picture, areaMm), 1.0 - 1.0 / 7200.0);
    // What the cameras do not show is cut off, and is missing all the same.
    EXPECT_DOUBLE_EQ(Coverage(picture.rowRange(0, 60), areaMm), 0.5);
}
