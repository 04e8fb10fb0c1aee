#pragma once

// The second stage of the run-time road on recording doubles: one picture out of the two, by either flow.

#include "PipelineFixture.h"

#include <opencv2/core.hpp>

class FusionFixture : public PipelineFixture
{
protected:
    void SetUp() override
    {
        PipelineFixture::SetUp();
        Doubles::The().homography = cv::Mat::eye(3, 3, CV_64F);
    }

    int Fuse(bool bUseOutput = false) { return m_instance.FusionImage(m_matLeft, m_matRight, m_matDst, bUseOutput); }

    cv::Mat m_matDst;
};
