// The page with the real vision module, before the cameras of a simulated machine on which the fusion pattern lies.

#include "CalibGlobalParam.h"
#include "DataRoot.h"
#include "DrawRoiWidget.h"
#include "FusionWdg.h"
#include "KorvaneVision.h"
#include "LibraryLoader.h"
#include "Machine.h"
#include "ModalAnswers.h"
#include "Painted.h"
#include "PatternFile.h"
#include "RecordingCamera.h"
#include "StepWidgets.h"
#include "Truth.h"

#include <gmock/gmock.h>

#include <QSignalSpy>

#include <memory>

namespace
{

using Simulator::Side;

class FusionOnMachine : public testing::Test
{
protected:
    void SetUp() override
    {
        g_calibGlobalParam.strLeftCameraName = "[0] Camera-Left";
        g_calibGlobalParam.strRightCameraName = "[1] Camera-Right";
        m_module.Prepare([this](Doubles::RecordingCamera& camera) {
            camera.SetList({"[0] Camera-Left", "[1] Camera-Right"});
            camera.OnCall("OpenCamera", [this, &camera] {
                const bool bLeft = camera.Calls().back() == "OpenCamera([0] Camera-Left)";
                camera.SetPicture(m_machine.Snap(bLeft ? Side::Left : Side::Right));
            });
        });
    }
    void TearDown() override
    {
        m_pPage.reset();
        g_calibGlobalParam = CalibGlobalParam();
    }

    void EngravePattern()
    {
        Workbench::PatternFile pattern;
        ASSERT_EQ(Workbench::ReadPatternFile(FUSION_PATTERN, pattern), "");
        m_machine.EngraveLines(pattern.lines);
    }
    /// Photographs the bed and draws a region, in shares of the two pictures.
    void Fuse(double dLeft, double dTop, double dRight, double dBottom)
    {
        m_pPage = std::make_unique<FusionWdg>();
        m_pPage->SetCameraType(0);
        m_pPage->resize(1120, 700);
        m_pPage->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(m_pPage.get()));
        Press(*m_pPage, "snap");
        Press(*m_pPage, "setRoiRect");
        auto& label = Child<DrawRoiWidget>(*m_pPage, "label_cameraPic");
        const QSizeF shown = label.pixmap().size();
        const auto at = [&](double x, double y) {
            return (label.GetPictureOffset() + QPointF(x * shown.width(), y * shown.height())).toPoint();
        };
        Painted::Press(label, at(dLeft, dTop));
        Painted::Drag(label, at(dRight, dBottom));
        Painted::Release(label, at(dRight, dBottom));
        Painted::Press(label, at(dRight, dBottom), Qt::RightButton);
        Painted::Release(label, at(dRight, dBottom), Qt::RightButton);
    }
    /// Where a surface point lies in a camera's upright picture.
    cv::Point2d Upright(Side side, const cv::Point2d& mm) const
    {
        const Simulator::Truth truth(m_machine);
        const cv::Point2d raw = truth.PixelFromMachine(side, mm).value();
        return {truth.PictureSize(side).height - 1 - raw.y, raw.x};
    }
    /// How far a homography of right into left misses a surface point, pixels.
    double MissPx(const cv::Matx33d& leftFromRight, const cv::Point2d& mm) const
    {
        const cv::Point2d right = Upright(Side::Right, mm);
        const cv::Vec3d mapped = leftFromRight * cv::Vec3d(right.x, right.y, 1.0);
        return cv::norm(cv::Point2d(mapped[0] / mapped[2], mapped[1] / mapped[2]) - Upright(Side::Left, mm));
    }

    DataRoot m_root;
    ModalAnswers m_answers;
    Doubles::CameraModule m_module;
    Simulator::Machine m_machine{Simulator::Machine::Kind::Manual, 5};
    std::unique_ptr<FusionWdg> m_pPage;
};

} // namespace

TEST_F(FusionOnMachine, TheEngravedPatternGivesAHomographyThatHoldsAtTheSeam)
{
    EngravePattern();
    Fuse(0.40, 0.05, 0.60, 0.95);
    ASSERT_TRUE(Button(*m_pPage, "confirm").isEnabled()) << qPrintable(m_answers.OnlyText());
    EXPECT_EQ(Child<DrawRoiWidget>(*m_pPage, "label_cameraPic").GetImageSize(), QSize(2 * 1944, 2592))
        << "the picture of the matches, on which the next region is drawn";
    QSignalSpy next(m_pPage.get(), &FusionWdg::nextWdgSignal);
    Press(*m_pPage, "confirm");
    EXPECT_EQ(next.count(), 1);

    cv::Mat homography;
    ASSERT_TRUE(Korvane::CameraCalibration::LoadHomography(
        m_root.CameraTwo("Output/mapImgR2L.xml").toLocal8Bit().toStdString(), homography));
    const cv::Matx33d leftFromRight(homography);
    double dWorstPx = 0.0;
    for (double y = 40.0; y <= 560.0; y += 20.0) {
        for (const double x : {430.0, 450.0, 470.0}) {
            dWorstPx = std::max(dWorstPx, MissPx(leftFromRight, {x, y}));
        }
    }
    RecordProperty("worst_px_at_the_seam", std::to_string(dWorstPx));
    EXPECT_LT(dWorstPx, 1.0);
}

TEST_F(FusionOnMachine, ARegionWithoutThePatternInBothHalvesIsToldAndMayBeDrawnAfterTheNextPhoto)
{
    EngravePattern();
    // The outer edges of both pictures have nothing in common.
    Fuse(0.02, 0.05, 0.51, 0.10);
    EXPECT_THAT(m_answers.Notices(), testing::SizeIs(1));
    EXPECT_FALSE(Button(*m_pPage, "confirm").isEnabled());
    EXPECT_FALSE(Button(*m_pPage, "setRoiRect").isEnabled());
}
