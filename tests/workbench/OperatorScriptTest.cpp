#include "OperatorScript.h"

#include "CalibratedMachine.h"
#include "Clicks.h"
#include "FusedFrame.h"
#include "KorvaneVision.h"
#include "Truth.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

namespace
{

using namespace Workbench;
using Kind = Simulator::Machine::Kind;

TEST(SimulatedOperatorScript, ClicksTheCrossesWhereTheWizardShowsThem)
{
    const Simulator::Machine machine(Simulator::Machine::Kind::Automatic, 1);
    const Simulator::ClickOptions exact{.sigmaPx = 0.0, .nSeed = 1, .bShuffle = false};
    const OperatorScript script = SimulatedOperator(machine, exact);
    const std::vector<cv::Point2d> crosses = Simulator::CrossesOf(machine.Grid(), Simulator::Side::Left);
    ASSERT_EQ(script.left.size(), crosses.size());
    ASSERT_EQ(script.right.size(), crosses.size());
    const cv::Point2d raw = Simulator::Truth(machine).PixelFromMachine(Simulator::Side::Left, crosses.front()).value();
    EXPECT_NEAR(script.left.front().x(), 2592 - raw.x, 1e-9);
    EXPECT_NEAR(script.left.front().y(), 1944 - raw.y, 1e-9);
    // Turned upright, the machine's first cross lies to the upper left of its last one.
    EXPECT_LT(script.left.front().x(), script.left.back().x());
    EXPECT_LT(script.left.front().y(), script.left.back().y());
    EXPECT_LT(script.right.front().x(), script.right.back().x());
    EXPECT_LT(script.right.front().y(), script.right.back().y());
}

TEST(SimulatedOperatorScript, ThatOfTheManualFlowDrawsAcrossTheSeam)
{
    const OperatorScript script = SimulatedManualOperator(3, {.sigmaPx = 0.0}, "/nowhere");
    EXPECT_FALSE(script.strSubModel.isEmpty());
    EXPECT_GT(script.region.left(), 0.2);
    EXPECT_LT(script.region.left(), 0.48);
    EXPECT_GT(script.region.right(), 0.52);
    EXPECT_LT(script.region.right(), 0.8);
    EXPECT_GE(script.region.top(), 0.0);
    EXPECT_LE(script.region.bottom(), 1.0);
    EXPECT_TRUE(script.findMarks().empty()) << "no homography was found yet";
}

TEST(SimulatedOperatorScript, ItsMarksLieWhereTheFusedPictureShowsTheCrosses)
{
    const QTemporaryDir folder;
    Simulator::Machine machine(Kind::Manual, 4);
    Simulator::CalibrationReport report;
    ASSERT_TRUE(Simulator::WriteManualCalibrationFiles(machine, folder.path().toStdString(), {.sigmaPx = 0.0}, report));
    const OperatorScript script =
        SimulatedManualOperator(4, {.sigmaPx = 0.0}, folder.filePath("Vision/calib/Camera_Two/Result"));
    const std::vector<QPointF> marks = script.findMarks();
    ASSERT_EQ(marks.size(), 18u);
    cv::Mat mmFromPixel;
    ASSERT_TRUE(Korvane::CameraCalibration::LoadHomography(
        folder.filePath("Vision/calib/Camera_Two/Result/DualCamera_pix2mm.xml").toStdString(), mmFromPixel));
    const std::vector<cv::Point2d> crosses = machine.Grid().PointsMm();
    for (std::size_t i = 0; i < marks.size(); ++i) {
        const cv::Vec3d mm = cv::Matx33d(mmFromPixel) * cv::Vec3d(marks[i].x(), marks[i].y(), 1.0);
        EXPECT_NEAR(mm[0] / mm[2], crosses[i].x, 0.3) << i;
        EXPECT_NEAR(mm[1] / mm[2], crosses[i].y, 0.3) << i;
    }
}

TEST(SimulatedOperatorScript, EveryPointOfItLiesInThePicturesThatItsMachineTakes)
{
    const ScriptPictures automatic = SimulatedPictures(Kind::Automatic);
    const OperatorScript clicks = SimulatedOperator(Simulator::Machine(Kind::Automatic, 2), {.sigmaPx = 3.0});
    EXPECT_NO_THROW(RequireScriptFits(clicks, {1300, 900}, automatic));
    EXPECT_FALSE(automatic.fusedPx.isValid());

    const QSize fusedPx = SimulatedPictures(Kind::Manual).fusedPx;
    cv::Mat leftFromRight = cv::Mat::eye(3, 3, CV_64F);
    leftFromRight.at<double>(0, 2) = 900.0;
    const auto frame = Simulator::AskFusedFrame(Simulator::Machine(Kind::Manual, 4), leftFromRight);
    ASSERT_TRUE(frame);
    EXPECT_EQ(fusedPx, QSize(frame->sizePx.width, frame->sizePx.height)) << "no homography changes it";
}

TEST(SimulatedOperatorScript, TurningGoesThereAndBackAlsoOnOddSizes)
{
    const QSize odd(2591, 1943);
    const QPointF point(12.25, 99.5);
    EXPECT_EQ(TurnedPoint(TurnedPoint(point, odd), odd), point);
    EXPECT_EQ(TurnedPoint({0, 0}, odd), QPointF(2590, 1942));
}

} // namespace
