#pragma once

// The command "lens" as a person runs it, on pictures of charts that a simulated operator holds.

#include "HeldChart.h"
#include "KorvaneVision.h"
#include "TempFolder.h"
#include "Truth.h"
#include "WorkbenchProcess.h"

#include <gtest/gtest.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <filesystem>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

/// Pictures of half the size, rendered once, of charts of 7 x 9 ("seven") and of 10 x 10 ("ten").
struct LensPhotographs {
    static constexpr int CHARTS = 5;

    LensPhotographs() : machine(Simulator::Machine::Kind::Manual, 6)
    {
        for (const char* pFolder : {"seven", "ten"}) {
            std::filesystem::create_directory(folder.Path(pFolder));
        }
        for (int i = 1; i <= CHARTS; ++i) {
            auto chart = Simulator::DrawChart(machine, Simulator::Side::Left, 500U + static_cast<unsigned>(i),
                                              Simulator::ChartShown::Whole);
            Write(chart, "seven/" + std::to_string(i) + ".png");
            if (i <= 3) {
                chart.layout = {10, 10, 18.0, 9.0, 15.0};
                distancesMm.push_back(
                    cv::norm(chart.middleMm - Simulator::Truth(machine).CameraCentreMm(Simulator::Side::Left)));
                tiltsDeg.push_back(TiltDeg(chart));
                Write(chart, "ten/" + std::to_string(i) + ".png");
            }
        }
    }

    /// Of the chart against the camera's picture.
    double TiltDeg(const Simulator::HeldChart& chart) const
    {
        std::vector<cv::Point3d> discsMm;
        for (int r = 0; r < chart.layout.nRows; ++r) {
            for (int c = 0; c < chart.layout.nCols; ++c) {
                const cv::Point2d mm = chart.layout.DiscMm(c, r);
                discsMm.emplace_back(mm.x, mm.y, 0.0);
            }
        }
        const Simulator::Truth truth(machine);
        cv::Vec3d turn;
        cv::Vec3d place;
        cv::solvePnP(discsMm, truth.ChartCentres(Simulator::Side::Left, chart),
                     truth.CameraMatrix(Simulator::Side::Left), cv::noArray(), turn, place);
        cv::Matx33d cameraFromChart;
        cv::Rodrigues(turn, cameraFromChart);
        return std::acos(std::abs(cameraFromChart(2, 2))) * 180.0 / std::numbers::pi;
    }

    void Write(const Simulator::HeldChart& chart, const std::string& strName)
    {
        machine.HoldChart(chart);
        cv::Mat half;
        cv::resize(machine.Snap(Simulator::Side::Left), half, {}, 0.5, 0.5, cv::INTER_AREA);
        if (!cv::imwrite(folder.Path(strName), half)) {
            ADD_FAILURE() << strName;
        }
    }

    TempFolder folder;
    Simulator::Machine machine;
    std::vector<double> distancesMm; ///< of the charts of 10 x 10 from the camera
    std::vector<double> tiltsDeg;    ///< of the same
};

class LensCommand : public testing::Test
{
protected:
    static constexpr int FAILED = 1;
    static constexpr int WRONG_USE = 2;

    static void SetUpTestSuite() { s_pPhotographs = std::make_unique<LensPhotographs>(); }
    static void TearDownTestSuite() { s_pPhotographs.reset(); }

    static QString Seven() { return QString::fromStdString(s_pPhotographs->folder.Path("seven")); }
    static QString Ten() { return QString::fromStdString(s_pPhotographs->folder.Path("ten")); }
    static cv::Mat Picture(const std::string& strName)
    {
        return cv::imread(s_pPhotographs->folder.Path("seven/" + strName));
    }

    QString Own(const std::string& strName) const { return QString::fromStdString(m_own.Path(strName)); }
    WorkbenchRun Run(const QStringList& listWords) const { return RunWorkbench(listWords, Own("")); }
    WorkbenchRun RunLens(const QString& strImages, const QStringList& listMore = {}) const
    {
        return Run(QStringList{"lens", "--images", strImages, "--out", Own("lens.xml")} + listMore);
    }

    /// A folder with the charts of 7 x 9, for a test to add to.
    std::string CopyOfSeven() const
    {
        std::filesystem::copy(Seven().toStdString(), m_own.Path("copy"));
        return m_own.Path("copy/");
    }

    struct Lens {
        // Of a size that a test may look into, also where nothing was written.
        cv::Mat camera = cv::Mat::zeros(3, 3, CV_64F);
        cv::Mat distortion = cv::Mat::zeros(1, 5, CV_64F);
        double dError = -1.0;
    };
    Lens Written(const std::string& strName = "lens.xml") const
    {
        Lens lens;
        EXPECT_TRUE(Korvane::CameraCalibration::LoadCameraParameters(m_own.Path(strName), lens.camera, lens.distortion,
                                                                     lens.dError));
        return lens;
    }

    static void ExpectTheTrueCamera(const Lens& lens)
    {
        const double dTruth = 0.5 * Simulator::Truth(s_pPhotographs->machine).CameraMatrix(Simulator::Side::Left)(0, 0);
        EXPECT_NEAR(lens.camera.at<double>(0, 0), dTruth, 0.01 * dTruth);
        EXPECT_GT(lens.dError, 0.0);
        EXPECT_LT(lens.dError, 0.2);
    }

    static void ExpectSuccess(const WorkbenchRun& run)
    {
        EXPECT_EQ(run.nExitCode, 0);
        EXPECT_TRUE(run.strError.isEmpty()) << qPrintable(run.strError);
    }

    void ExpectFailure(const WorkbenchRun& run, int nCode, const QString& strNamed) const
    {
        EXPECT_EQ(run.nExitCode, nCode) << qPrintable(run.strError);
        EXPECT_TRUE(run.ErrorIsOneSentence()) << qPrintable(run.strError);
        EXPECT_TRUE(run.strError.contains(strNamed)) << qPrintable(run.strError);
        EXPECT_FALSE(std::filesystem::exists(m_own.Path("lens.xml")));
    }

    static QString LineOf(const WorkbenchRun& run, const QString& strName)
    {
        for (const QString& strLine : run.strOutput.split('\n')) {
            if (strLine.trimmed().startsWith(strName)) {
                return strLine.trimmed();
            }
        }
        return {};
    }

    TempFolder m_own;
    inline static std::unique_ptr<LensPhotographs> s_pPhotographs;
};
