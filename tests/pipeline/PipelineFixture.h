#pragma once

// A data root with the flags of either flow, and pictures to go through the pipeline on recording doubles.

#include "CalibrateTwoCameraIns.h"
#include "DataRoot.h"
#include "FileStore.h"
#include "ModuleDoubles.h"

#include <gtest/gtest.h>

class PipelineFixture : public testing::Test
{
protected:
    void SetUp() override { Doubles::Reset(); }

    void SetFlow(int nAuto)
    {
        WriteIniInt("CAMERA_PARAM", "AUTO_CALIBRATION", nAuto, m_data.CameraTwo("Result/LeftCameraParam.ini"));
        WriteIniInt("CAMERA_PARAM", "AUTO_CALIBRATION", nAuto, Stitch());
    }

    QString Stitch() const { return m_data.CameraTwo("Result/AutoDualCalibrate_stitch.xml"); }

    void SetStitchedSize(int nWidth, int nHeight, int nBits)
    {
        WriteIniInt("CAMERA_PARAM", "AUTO_CALIBRATION_OUTPUT_WIDTH", nWidth, Stitch());
        WriteIniInt("CAMERA_PARAM", "AUTO_CALIBRATION_OUTPUT_HEIGHT", nHeight, Stitch());
        WriteIniInt("CAMERA_PARAM", "AUTO_CALIBRATION_OUTPUT_STITCHEDIMAGE_BIT", nBits, Stitch());
    }

    void SetCanvas(double dWidth, double dHeight)
    {
        const QString strFile = m_data.Root() + "/Data/CameraSetting.ini";
        m_data.WriteFile(strFile, "");
        WriteIniDouble("CANVAS_SIZE", "WIDTH", dWidth, strFile);
        WriteIniDouble("CANVAS_SIZE", "HEIGHT", dHeight, strFile);
    }

    void WritePoints(const QByteArray& left, const QByteArray& right)
    {
        m_data.WriteFile(m_data.CameraTwo("Result/LeftCalPts.txt"), left);
        m_data.WriteFile(m_data.CameraTwo("Result/RightCalPts.txt"), right);
    }

    void Touch(const QString& strFile) { m_data.WriteFile(m_data.CameraTwo(strFile), "x"); }

    int Calib(bool bUseOutput = false)
    {
        return m_instance.CalibImage(m_matLeft, m_matRight, m_matLeftOut, m_matRightOut, bUseOutput);
    }

    DataRoot m_data;
    CalibrateTwoCameraIns m_instance;
    cv::Mat m_matLeft = cv::Mat(20, 30, CV_8UC3, cv::Scalar(10, 20, 30));
    cv::Mat m_matRight = cv::Mat(20, 30, CV_8UC3, cv::Scalar(40, 50, 60));
    cv::Mat m_matLeftOut, m_matRightOut;
};
