#include "GridWarp.h"

#include <gtest/gtest.h>

#include <opencv2/core.hpp>

#include <algorithm>
#include <array>
#include <cmath>

// The vector loops and the plain ones give the same bits. Pictures are noise with many zeros and full whites, so that a
// weight, a rounding or a limit that differs anywhere shows.

namespace
{

const cv::Size g_source(301, 257);

cv::Mat Noise(int nChannels, std::uint64_t nSeed)
{
    cv::Mat picture(g_source, CV_8UC(nChannels));
    cv::RNG random(nSeed);
    random.fill(picture, cv::RNG::UNIFORM, -128, 384, true);
    return picture;
}

/// A lens that bends a little, turned by `dTurn` and looking at (dCentreX, dCentreY) of the target.
Fisheye::WarpLayer Layer(const cv::Mat& picture, double dTurn, double dScale, double dCentreX, double dCentreY,
                         double dGain)
{
    const auto place = [=](double x, double y) {
        const double u = dScale * (x - dCentreX);
        const double v = dScale * (y - dCentreY);
        const double dBend = 1.0 - 4.0e-7 * (u * u + v * v);
        Fisheye::SourcePlace p;
        p.x = 0.5 * g_source.width + dBend * (std::cos(dTurn) * u - std::sin(dTurn) * v);
        p.y = 0.5 * g_source.height + dBend * (std::sin(dTurn) * u + std::cos(dTurn) * v);
        p.thetaRad = 0.001 * std::hypot(u, v);
        p.bValid = true;
        return p;
    };
    const auto gain = [=](int nCellRow) { return std::array<double, 3>{dGain, 1.0 / dGain, 1.0 + 0.01 * nCellRow}; };
    return {{picture.data, picture.cols, picture.rows, picture.channels()}, place, gain};
}

struct Case {
    int nChannels;
    double dTurn;
    double dScale;
    double dGain;
};

class WarpLoops : public testing::TestWithParam<Case>
{
protected:
    cv::Mat Paint(const Fisheye::WarpLayer& first, const Fisheye::WarpLayer* pSecond, int nWidth,
                  Fisheye::WarpLoops loops) const
    {
        cv::Mat out(331, nWidth, CV_8UC(GetParam().nChannels), cv::Scalar::all(77));
        Fisheye::PaintWarp({out.data, out.cols, out.rows, nullptr}, first, pSecond, loops);
        return out;
    }
};

} // namespace

TEST_P(WarpLoops, AllGiveTheSameBits)
{
    const auto& [nChannels, dTurn, dScale, dGain] = GetParam();
    const cv::Mat a = Noise(nChannels, 1);
    const cv::Mat b = Noise(nChannels, 2);
    const Fisheye::WarpLayer first = Layer(a, dTurn, dScale, 150.0, 160.0, dGain);
    const Fisheye::WarpLayer second = Layer(b, dTurn + CV_PI, dScale, 260.0, 170.0, 1.0 / dGain);
    for (const int nWidth : {400, 408, 413}) {
        for (const Fisheye::WarpLayer* pSecond : {static_cast<const Fisheye::WarpLayer*>(nullptr), &second}) {
            const cv::Mat fast = Paint(first, pSecond, nWidth, Fisheye::WarpLoops::Fastest);
            const cv::Mat plain = Paint(first, pSecond, nWidth, Fisheye::WarpLoops::Plain);
            EXPECT_EQ(cv::norm(fast, plain, cv::NORM_INF), 0.0) << nWidth << (pSecond ? ", two" : ", one");
            cv::Scalar mean, deviation;
            cv::meanStdDev(fast, mean, deviation);
            EXPECT_GT(deviation[0], 10.0) << "there is something to compare";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, WarpLoops,
                         testing::Values(Case{3, 0.0, 0.7, 1.0}, Case{3, 0.1, 0.33, 4.0}, Case{3, 1.6, 1.7, 0.8},
                                         Case{3, 3.2, 0.7, 0.25}, Case{4, 0.1, 0.7, 1.3}, Case{4, 4.7, 0.4, 4.0},
                                         Case{1, 0.1, 0.7, 1.3}, Case{1, 4.7, 0.4, 4.0}));
