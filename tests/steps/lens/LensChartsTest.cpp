// The page with the real vision module and dialog, on charts that a simulated operator holds under the left camera.

#include "CalibGlobalParam.h"
#include "CalibrateWdg.h"
#include "DataRoot.h"
#include "HeldChart.h"
#include "KorvaneVision.h"
#include "ModalAnswers.h"
#include "RecordingCamera.h"
#include "StepWidgets.h"
#include "Truth.h"

#include <gtest/gtest.h>

#include <QLabel>
#include <QPixmap>
#include <QThread>

#include <functional>

using Simulator::ChartShown;
using Simulator::Side;

namespace
{

class LensCharts : public testing::Test
{
protected:
    LensCharts()
    {
        g_calibGlobalParam.strLeftCameraName = "[0] Camera-Left";
        g_calibGlobalParam.strRightCameraName = "[1] Camera-Right";
        m_module.Prepare([this](Doubles::RecordingCamera& camera) {
            camera.SetList({"[0] Camera-Left", "[1] Camera-Right"});
            camera.SetPicture(m_machine.Snap(Side::Left));
            camera.OnCall("SnapPicture", [] { QThread::msleep(30); });
        });
        m_page.SetCameraType(1);
        m_page.resize(1120, 640);
        m_page.show();
        WaitUntil([this] { return Streams(); });
    }
    ~LensCharts() override { g_calibGlobalParam = CalibGlobalParam(); }

    static void WaitUntil(const std::function<bool()>& condition)
    {
        while (!condition()) {
            QTest::qWait(1);
        }
    }
    bool Streams() { return !Child<QLabel>(m_page, "label_snapPic").pixmap(Qt::ReturnByValue).isNull(); }
    void Shoot()
    {
        m_module.Camera().SetPicture(m_machine.Snap(Side::Left));
        // A snap that is under way still has the picture before.
        const int nSnaps = m_module.Camera().Count("SnapPicture");
        WaitUntil([&] { return m_module.Camera().Count("SnapPicture") >= nSnaps + 2; });
        Press(m_page, "snap");
        WaitUntil([this] { return Button(m_page, "snap").isEnabled(); });
    }
    void ShootChart(std::uint64_t nSeed, ChartShown shown)
    {
        m_machine.HoldChart(Simulator::DrawChart(m_machine, Side::Left, nSeed, shown));
        Shoot();
    }
    std::string PicNum() const { return Child<QLabel>(m_page, "label_picNum").text().toStdString(); }

    DataRoot m_root;
    ModalAnswers m_answers;
    Simulator::Machine m_machine{Simulator::Machine::Kind::Manual, 6};
    Doubles::CameraModule m_module;
    CalibrateWdg m_page;
};

} // namespace

TEST_F(LensCharts, NineHeldChartsBecomeTheCamerasFile)
{
    for (int i = 1; i <= 9; ++i) {
        ShootChart(500U + static_cast<unsigned>(i), ChartShown::Whole);
        ASSERT_EQ(PicNum(), "Number of valid pictures: " + std::to_string(i));
        if (i < 9) {
            Press(m_page, "nextPic");
        }
    }
    Press(m_page, "rectify");
    ASSERT_EQ(m_answers.OnlyText(), "Camera Calibration success!");
    cv::Mat camera, lens;
    double dError = -1.0;
    const std::string strFile = m_root.CameraTwo("Output/cameraL_calibrateMap.xml").toStdString();
    ASSERT_TRUE(Korvane::CameraCalibration::LoadCameraParameters(strFile, camera, lens, dError));
    const cv::Matx33d truth = Simulator::Truth(m_machine).CameraMatrix(Side::Left);
    EXPECT_NEAR(camera.at<double>(0, 0), truth(0, 0), 0.005 * truth(0, 0));
    EXPECT_LT(dError, 0.2);
}

TEST_F(LensCharts, AChartThatIsCutOffAndABareBedArePoorPictures)
{
    ShootChart(31, ChartShown::Part);
    EXPECT_EQ(m_answers.OnlyText(), "Poor picture quality, Please re-shoot!");
    EXPECT_EQ(Child<QLabel>(m_page, "label_picError").text(), "pictures(error: -1)");
    m_machine.TakeChartAway();
    Shoot();
    EXPECT_EQ(m_answers.Notices().size(), 2u);
    EXPECT_EQ(PicNum(), "Number of valid pictures: 0");
    EXPECT_FALSE(Button(m_page, "nextPic").isEnabled());
    ShootChart(501, ChartShown::Whole);
    EXPECT_EQ(PicNum(), "Number of valid pictures: 1");
}
