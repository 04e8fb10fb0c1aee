// Rectification and fusion in one call.

#include "FusionFixture.h"

using BothStages = FusionFixture;

TEST_F(BothStages, TakeOneCall)
{
    SetFlow(1);
    SetStitchedSize(40, 25, 24);
    WritePoints("", "");
    EXPECT_EQ(m_instance.CalibAndFusionImage(m_matLeft, m_matRight, m_matDst, false), 0);
    EXPECT_EQ(m_matDst.size(), cv::Size(40, 25));
}

TEST_F(BothStages, LeaveTheTargetAloneWhereOneFails)
{
    cv::Mat dst(3, 4, CV_8UC1, cv::Scalar(5));
    const unsigned char* pBefore = dst.data;
    // No calibration at all: the rectification fails.
    EXPECT_EQ(m_instance.CalibAndFusionImage(m_matLeft, m_matRight, dst, false), -1);
    SetFlow(1);
    SetStitchedSize(40, 25, 24);
    WritePoints("", "");
    Doubles::The().answers["FishEyeImageStitching"] = false;
    EXPECT_EQ(m_instance.CalibAndFusionImage(m_matLeft, m_matRight, dst, false), -1);
    EXPECT_EQ(dst.data, pBefore);
    EXPECT_EQ(dst.size(), cv::Size(4, 3));
    EXPECT_EQ(cv::countNonZero(dst != 5), 0);
}

TEST_F(BothStages, AreReachedThroughTheTable)
{
    // What a host's own instance overrides takes part; its answers, whatever they are but 0, become -1.
    class Own : public CalibrateTwoCameraIns
    {
    public:
        int CalibImage(const cv::Mat&, const cv::Mat&, cv::Mat& leftOut, cv::Mat& rightOut, bool bUseOutput) override
        {
            EXPECT_TRUE(leftOut.empty() && rightOut.empty() && bUseOutput);
            leftOut = cv::Mat(1, 1, CV_8UC1, cv::Scalar(3));
            rightOut = cv::Mat(2, 2, CV_8UC1, cv::Scalar(4));
            return nCalib;
        }
        int FusionImage(const cv::Mat& left, const cv::Mat& right, cv::Mat& dst, bool bUseOutput) override
        {
            EXPECT_TRUE(dst.empty() && bUseOutput);
            EXPECT_EQ(left.size(), cv::Size(1, 1));
            EXPECT_EQ(right.size(), cv::Size(2, 2));
            dst = cv::Mat(7, 7, CV_8UC1, cv::Scalar(9));
            ++nFusions;
            return nFusion;
        }
        int nCalib = 0, nFusion = 0, nFusions = 0;
    };
    Own own;
    m_matDst = cv::Mat(3, 3, CV_8UC1, cv::Scalar(1));
    own.nCalib = 5;
    EXPECT_EQ(own.CalibAndFusionImage(m_matLeft, m_matRight, m_matDst, true), -1);
    EXPECT_EQ(own.nFusions, 0);
    own.nCalib = 0;
    own.nFusion = 5;
    EXPECT_EQ(own.CalibAndFusionImage(m_matLeft, m_matRight, m_matDst, true), -1);
    EXPECT_EQ(own.nFusions, 1);
    EXPECT_EQ(m_matDst.size(), cv::Size(3, 3));
    own.nFusion = 0;
    EXPECT_EQ(own.CalibAndFusionImage(m_matLeft, m_matRight, m_matDst, true), 0);
    EXPECT_EQ(m_matDst.size(), cv::Size(7, 7));
}
