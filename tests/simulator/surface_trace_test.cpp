#include "SurfaceTrace.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{

using namespace Simulator;

class SurfaceTrace : public testing::TestWithParam<Machine::Kind>
{
};

INSTANTIATE_TEST_SUITE_P(Kinds, SurfaceTrace, testing::Values(Machine::Kind::Automatic, Machine::Kind::Manual),
                         [](const auto& one) {
                             return one.param == Machine::Kind::Automatic ? "Automatic" : "Manual";
                         });

TEST_P(SurfaceTrace, IsTheModelsOwnAnswerForEachPixel)
{
    for (const Side side : {Side::Left, Side::Right}) {
        const CameraModel model = MakeCamera(GetParam(), 5, side);
        const cv::Mat surface = TraceSurface(model);
        ASSERT_EQ(surface.size(), model.PictureSize());
        ASSERT_EQ(surface.type(), CV_32FC2);
        int nSeen = 0;
        for (int y = 0; y < surface.rows; y += 13) {
            for (int x = 0; x < surface.cols; x += 17) {
                const auto truth = model.MachineFromPixel(cv::Point2d(x, y));
                const auto traced = surface.at<cv::Point2f>(y, x);
                ASSERT_EQ(std::isfinite(traced.x) && std::isfinite(traced.y), truth.has_value()) << x << " " << y;
                if (truth) {
                    // To the last digit of a float.
                    const double close = 2e-7 * (1.0 + std::hypot(truth->x, truth->y));
                    ASSERT_NEAR(traced.x, truth->x, close) << x << " " << y;
                    ASSERT_NEAR(traced.y, truth->y, close) << x << " " << y;
                    ++nSeen;
                }
            }
        }
        EXPECT_GT(nSeen, 1000);
    }
}

} // namespace
