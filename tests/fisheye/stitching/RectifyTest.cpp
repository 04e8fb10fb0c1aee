#include "StitchScene.h"

#include <gtest/gtest.h>

#include <opencv2/core/utility.hpp>

using StitchScene::Camera;

namespace
{

class Rectify : public testing::Test
{
protected:
    bool Correct(cv::Mat& dst, unsigned char* pMask = nullptr)
    {
        return SingleCamCorrected(m_camera.picture.data, m_camera.picture.cols, m_camera.picture.rows, m_camera.Bits(),
                                  m_camera.record, dst.data, dst.cols, dst.rows, pMask);
    }

    Camera m_camera{370.0, 0.3, 0.012};
};

} // namespace

TEST_F(Rectify, StraightLinesOfTheSurfaceBecomeStraight)
{
    cv::Mat dst(972, 1296, CV_8UC3, cv::Scalar::all(1));
    ASSERT_TRUE(Correct(dst));
    // The focal length of the rectilinear picture follows from the raw picture's width.
    const double dHalf = std::min(*m_camera.model.ThetaFromRadius(0.5 * 648 / m_camera.model.fx), 1.05);
    const double dFocal = 0.5 * dst.cols / std::tan(dHalf);
    const Fisheye::FisheyeProjector projector(m_camera.model);
    double dWorst = 0.0;
    for (int y = 250; y < 720; y += 31) {
        for (int x = 300; x < 1000; x += 37) {
            // A ray of the pinhole camera, met with the surface.
            const cv::Vec3d ray =
                m_camera.model.RotationMatrix().t() *
                cv::Vec3d((x - 0.5 * (dst.cols - 1)) / dFocal, (y - 0.5 * (dst.rows - 1)) / dFocal, 1.0);
            const cv::Point3d centre = projector.CentreMm();
            const double t = -centre.z / ray[2];
            const cv::Vec3d expected = StitchScene::Pattern({centre.x + t * ray[0], centre.y + t * ray[1]});
            for (int c = 0; c < 3; ++c) {
                dWorst = std::max(dWorst, std::abs(dst.at<cv::Vec3b>(y, x)[c] - expected[c]));
            }
        }
    }
    EXPECT_LT(dWorst, 5.0);
}

TEST_F(Rectify, TheMaskMarksWhatTheLensSees)
{
    cv::Mat dst(486, 648, CV_8UC3, cv::Scalar::all(1));
    cv::Mat mask(486, 648, CV_8UC1, cv::Scalar(7));
    ASSERT_TRUE(Correct(dst, mask.data));
    EXPECT_EQ(mask.at<uchar>(243, 324), 255);
    int nOther = 0;
    int nBlackSeen = 0;
    for (int y = 0; y < mask.rows; ++y) {
        for (int x = 0; x < mask.cols; ++x) {
            const uchar n = mask.at<uchar>(y, x);
            nOther += n != 0 && n != 255 ? 1 : 0;
            nBlackSeen += n == 0 && dst.at<cv::Vec3b>(y, x) != cv::Vec3b(0, 0, 0) ? 1 : 0;
        }
    }
    EXPECT_EQ(nOther, 0);
    EXPECT_EQ(nBlackSeen, 0);
}

TEST_F(Rectify, DoesNotDependOnTheNumberOfThreads)
{
    cv::Mat first(486, 648, CV_8UC3);
    cv::Mat second(486, 648, CV_8UC3);
    ASSERT_TRUE(Correct(first));
    cv::setNumThreads(1);
    ASSERT_TRUE(Correct(second));
    cv::setNumThreads(-1);
    EXPECT_EQ(cv::norm(first, second, cv::NORM_INF), 0.0);
}

TEST_F(Rectify, BadInputIsRefused)
{
    cv::Mat dst(10, 10, CV_8UC3, cv::Scalar::all(99));
    const cv::Mat before = dst.clone();
    unsigned char* pSource = m_camera.picture.data;
    EXPECT_FALSE(SingleCamCorrected(nullptr, 648, 486, 24, m_camera.record, dst.data, 10, 10, nullptr));
    EXPECT_FALSE(SingleCamCorrected(pSource, 648, 486, 24, m_camera.record, nullptr, 10, 10, nullptr));
    EXPECT_FALSE(SingleCamCorrected(pSource, 648, 486, 24, {}, dst.data, 10, 10, nullptr));
    EXPECT_FALSE(SingleCamCorrected(pSource, 640, 480, 24, m_camera.record, dst.data, 10, 10, nullptr));
    EXPECT_FALSE(SingleCamCorrected(pSource, 648, 486, 16, m_camera.record, dst.data, 10, 10, nullptr));
    EXPECT_FALSE(SingleCamCorrected(pSource, 648, 486, 24, m_camera.record, dst.data, -10, 10, nullptr));
    EXPECT_FALSE(SingleCamCorrected(pSource, 648, 486, 24, m_camera.record, dst.data, 100000, 10, nullptr));
    EXPECT_EQ(cv::norm(before, dst, cv::NORM_INF), 0.0);
}
