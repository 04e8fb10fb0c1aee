// The engine with the real vision module, on pictures of a chart that a simulated operator holds under a camera.

#include "CCameraCalibration.h"
#include "HeldChart.h"
#include "KorvaneVision.h"
#include "LensTruth.h"
#include "TempFolder.h"
#include "Truth.h"

#include <gtest/gtest.h>

#include <opencv2/imgcodecs.hpp>

#include <filesystem>

using Simulator::Side;

namespace
{

constexpr int g_nCharts = 9;

/// A folder of nine pictures "1.png" to "9.png", rendered once, and one without a chart beside it.
struct Photographed {
    Photographed() : machine(Simulator::Machine::Kind::Manual, 6)
    {
        std::filesystem::create_directory(folder.Path("L_images"));
        const Simulator::Truth truth(machine);
        for (int i = 1; i <= g_nCharts; ++i) {
            const auto nSeed = 500U + static_cast<unsigned>(i);
            const auto chart = Simulator::DrawChart(machine, Side::Left, nSeed, Simulator::ChartShown::Whole);
            machine.HoldChart(chart);
            Write("L_images/" + std::to_string(i) + ".png");
            for (const cv::Point2d& p : truth.ChartCentres(Side::Left, chart)) {
                covered.emplace_back(p);
            }
        }
        machine.TakeChartAway();
        Write("bare.png");
    }

    void Write(const std::string& strName)
    {
        if (!cv::imwrite(folder.Path(strName), machine.Snap(Side::Left), {cv::IMWRITE_PNG_COMPRESSION, 1})) {
            ADD_FAILURE() << strName;
        }
    }

    TempFolder folder;
    Simulator::Machine machine;
    std::vector<cv::Point2f> covered;
};

Photographed& The()
{
    static Photographed photographed;
    return photographed;
}

/// A folder of its own with the nine pictures, for a test to add to.
std::string CopyOfTheNine(const TempFolder& own)
{
    for (int i = 1; i <= g_nCharts; ++i) {
        const std::string strName = std::to_string(i) + ".png";
        std::filesystem::create_symlink(The().folder.Path("L_images/" + strName), own.Path(strName));
    }
    return own.Path();
}

void ExpectTheTrueCamera(const std::string& strFile)
{
    cv::Mat camera, lens;
    double dError = -1.0;
    ASSERT_TRUE(Korvane::CameraCalibration::LoadCameraParameters(strFile, camera, lens, dError));
    const cv::Matx33d truth = Simulator::Truth(The().machine).CameraMatrix(Side::Left);
    EXPECT_NEAR(camera.at<double>(0, 0), truth(0, 0), 0.005 * truth(0, 0));
    EXPECT_NEAR(camera.at<double>(1, 1), truth(1, 1), 0.005 * truth(1, 1));
    EXPECT_LT(Simulator::LensMappingRmsPx(The().machine, Side::Left, camera, lens, The().covered), 0.3);
    EXPECT_GT(dError, 0.0);
    EXPECT_LT(dError, 0.2);
}

} // namespace

TEST(RenderedCharts, AFolderOfNineBecomesTheCamerasFile)
{
    CCameraCalibration calibration;
    calibration.SetImageDir(The().folder.Path("L_images/"));
    const std::string strFile = The().folder.Path("cameraL_calibrateMap.xml");
    ASSERT_TRUE(calibration.CalibrateAndSave(strFile));
    ExpectTheTrueCamera(strFile);
}

TEST(RenderedCharts, PicturesThatShowNoChartOrCannotBeReadSpoilNothing)
{
    const TempFolder own;
    CCameraCalibration calibration;
    calibration.SetImageDir(CopyOfTheNine(own));
    std::filesystem::create_symlink(The().folder.Path("bare.png"), own.Path("10.png"));
    own.Write("11.png", "this is no picture");
    own.Write("notes.txt", "nor is this");
    const std::string strFile = own.Path("lens.xml");
    ASSERT_TRUE(calibration.CalibrateAndSave(strFile));
    ExpectTheTrueCamera(strFile);
}

TEST(RenderedCharts, OneEngineServesBothCamerasInTurn)
{
    const TempFolder own;
    CCameraCalibration calibration;
    calibration.SetImageDir(own.Path());
    EXPECT_FALSE(calibration.CalibrateAndSave(own.Path("right.xml")));
    EXPECT_FALSE(std::filesystem::exists(own.Path("right.xml")));
    calibration.SetImageDir(The().folder.Path("L_images"));
    ASSERT_TRUE(calibration.CalibrateAndSave(own.Path("left.xml")));
    ExpectTheTrueCamera(own.Path("left.xml"));
    calibration.SetImageDir(own.Path());
    EXPECT_FALSE(calibration.CalibrateAndSave(own.Path("right.xml")));
    EXPECT_FALSE(std::filesystem::exists(own.Path("right.xml")));
}

TEST(RenderedCharts, AFileThatCannotBeWrittenIsAFailure)
{
    CCameraCalibration calibration;
    calibration.SetImageDir(The().folder.Path("L_images"));
    EXPECT_FALSE(calibration.CalibrateAndSave(The().folder.Path("none/lens.xml")));
}

TEST(RenderedCharts, EveryPictureWithAWholeChartPassesTheInspection)
{
    for (int i = 1; i <= g_nCharts; ++i) {
        double dError = -1.0;
        EXPECT_TRUE(
            CCameraCalibration::InspectPicPass(The().folder.Path("L_images/" + std::to_string(i) + ".png"), dError));
        EXPECT_GT(dError, 0.0);
        EXPECT_LT(dError, 0.5);
    }
}

TEST(RenderedCharts, APictureWithoutAChartFailsTheInspection)
{
    double dError = 7.0;
    EXPECT_FALSE(CCameraCalibration::InspectPicPass(The().folder.Path("bare.png"), dError));
    EXPECT_EQ(dError, -1.0);
    EXPECT_FALSE(CCameraCalibration::InspectPicPass(The().folder.Path("none.png"), dError));
}
