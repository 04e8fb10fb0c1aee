// The pages with the real modules on the simulated machine: an operator who does what an operator may do wrong. Each
// mistake ends in a notice, or in a calibration that is as good as any.

#include "AutoDualCalibrateWdg.h"
#include "StitchingWdg.h"

#include "CalibGlobalParam.h"
#include "DataRoot.h"
#include "DualGraphicsView.h"
#include "FileStore.h"
#include "FisheyeCalibrationDllR.h"
#include "FisheyeModel.h"
#include "Machine.h"
#include "ModalAnswers.h"
#include "PageParts.h"
#include "RecordingCamera.h"
#include "StepWidgets.h"
#include "Truth.h"

#include <gmock/gmock.h>
#include <opencv2/imgcodecs.hpp>

#include <QFile>
#include <QLabel>
#include <QListWidget>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>

namespace
{

using Simulator::Machine;
using Simulator::Side;
using Simulator::Truth;

struct Errors {
    double dHullMm = 0.0; ///< RMS inside the camera's own crosses
    double dAreaMm = 0.0; ///< RMS over the half of the bed that it shows
};

class Operator : public testing::Test
{
protected:
    static constexpr double CLICK_SIGMA_PX = 3.0;

    void SetUp() override
    {
        m_machine.EngraveCrossGrid();
        UseCameras("[0] Camera-Left", "[1] Camera-Right");
        m_module.Prepare([this](Doubles::RecordingCamera& camera) {
            camera.SetList({"[0] Camera-Left", "[1] Camera-Right"});
            camera.OnCall("SnapPicture", [this, &camera] {
                const bool bLeft = camera.Calls().back().find("Camera-Left") != std::string::npos;
                camera.SetPicture(m_machine.Snap(bLeft ? Side::Left : Side::Right));
            });
        });
        const auto write = [](const char* pKey, int nValue) { WriteIniInt("PROGRESS", pKey, nValue, ProgressFile()); };
        write("PROGRESS", 3);
        write("Row", m_grid.nRow);
        write("Col", m_grid.nCol);
        write("RowForSingleCamera", m_grid.nRow);
        write("ColForSingleCamera", m_grid.nColSingle);
        for (int i = 0; i < m_grid.nRow * m_grid.nCol; ++i) {
            const cv::Point2d point = m_grid.PointsMm()[static_cast<std::size_t>(i)];
            WriteIniDouble("PROGRESS", QString("X%1").arg(i), point.x, ProgressFile());
            WriteIniDouble("PROGRESS", QString("Y%1").arg(i), point.y, ProgressFile());
        }
    }
    void TearDown() override
    {
        if (m_pPage) {
            EndCountdown(*m_pPage);
        }
        m_pPage.reset();
        g_calibGlobalParam = CalibGlobalParam();
    }

    static void UseCameras(const QString& strLeft, const QString& strRight)
    {
        g_calibGlobalParam.strLeftCameraName = strLeft;
        g_calibGlobalParam.strRightCameraName = strRight;
    }
    static void EndCountdown(QWidget& page)
    {
        while (page.findChild<QTimer*>()->isActive()) {
            QMetaObject::invokeMethod(&page, "TimeOutSlot", Qt::DirectConnection);
        }
    }

    void Open()
    {
        m_pPage = std::make_unique<AutoDualCalibrateWdg>();
        m_pPage->SetCameraType(1);
        m_pPage->resize(1200, 800);
        m_pPage->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(m_pPage.get()));
    }
    /// At the right camera, as after a run that broke off there.
    void OpenAtRightStep()
    {
        WriteIniInt("PROGRESS", "STEPINDEX", 4, ProgressFile());
        WriteIniInt("PROGRESS", "PROGRESS", 4, ProgressFile());
        Open();
    }

    DualGraphicsView& View() { return Child<DualGraphicsView>(*m_pPage, "graphicsView"); }
    QListWidget& List() { return Child<QListWidget>(*m_pPage, "listWidget_Coord"); }
    bool IsLeftStep() { return Child<QLabel>(*m_pPage, "label_coorAlignment").text() == "Get Left Coords"; }
    void TakePicture()
    {
        Press(*m_pPage, "takePic");
        EndCountdown(*m_pPage);
    }

    /// The crosses of five columns in the picture that one camera delivers, as the current step shows it.
    std::vector<QPointF> CrossesShown(Side camera, int nFirstCol)
    {
        const Truth truth(m_machine);
        const std::vector<cv::Point2d> all = m_grid.PointsMm();
        std::vector<QPointF> shown;
        for (std::size_t i = 0; i < all.size(); ++i) {
            const int nCol = static_cast<int>(i) % m_grid.nCol;
            if (nCol < nFirstCol || nCol >= nFirstCol + m_grid.nColSingle) {
                continue;
            }
            const cv::Point2d pixel = *truth.PixelFromMachine(camera, all[i]);
            // The machine's pictures have even sizes.
            shown.push_back(IsLeftStep() ? QPointF(2592 - pixel.x, 1944 - pixel.y) : QPointF(pixel.x, pixel.y));
        }
        return shown;
    }
    std::vector<QPointF> CrossesShown(Side camera)
    {
        return CrossesShown(camera, camera == Side::Left ? 0 : m_grid.nCol - m_grid.nColSingle);
    }

    /// Brings the place into view and clicks it as a hand does.
    void Mark(QPointF place)
    {
        std::normal_distribution<double> hand(0.0, CLICK_SIGMA_PX);
        place += QPointF(hand(m_random), hand(m_random));
        View().centerOn(place);
        QTest::mouseClick(&Child<QToolButton>(*m_pPage, "toolButton_Add"), Qt::LeftButton);
        QTest::mouseDClick(View().viewport(), Qt::LeftButton, {}, View().mapFromScene(place));
    }
    void MarkAll(std::vector<QPointF> places)
    {
        std::shuffle(places.begin(), places.end(), m_random);
        for (const QPointF& place : places) {
            Mark(place);
        }
        ASSERT_EQ(static_cast<std::size_t>(List().count()), places.size());
    }
    void Delete(int nRow)
    {
        List().scrollToItem(List().item(nRow));
        QTest::mouseClick(List().viewport(), Qt::LeftButton, {}, List().visualItemRect(List().item(nRow)).center());
        QTest::mouseClick(&Child<QToolButton>(*m_pPage, "toolButton_Delete"), Qt::LeftButton);
    }
    /// @return what the operator is told
    QString Confirm()
    {
        const std::size_t nBefore = m_answers.Notices().size();
        Press(*m_pPage, "confirm");
        const auto& notices = m_answers.Notices();
        return notices.size() == nBefore + 1 ? notices.back().strText
                                             : QString("(%1 notices)").arg(notices.size() - nBefore);
    }

    /// Of the record that was stored, against the truth.
    Errors ErrorsOf(Side side)
    {
        FishEyeCalibrationParam param;
        const QString strFile =
            m_root.CameraTwo(side == Side::Left ? "Result/L_AutoDualCalibrate.xml" : "Result/R_AutoDualCalibrate.xml");
        LoadCalibrationParam(ToLocalBytes(strFile).constData(), param);
        const auto model = Fisheye::UnpackRecord(param);
        if (!model) {
            ADD_FAILURE() << "there is no record";
            return {INFINITY, INFINITY};
        }
        const Fisheye::FisheyeProjector projector(*model);
        const Truth truth(m_machine);
        const double dFromX =
            m_grid.startMm.x + (side == Side::Left ? 0 : m_grid.nCol - m_grid.nColSingle) * m_grid.columnSpacingMm;
        const cv::Rect2d hull(dFromX, m_grid.startMm.y, (m_grid.nColSingle - 1) * m_grid.columnSpacingMm,
                              (m_grid.nRow - 1) * m_grid.rowSpacingMm);
        const double dMiddle = m_machine.WorkAreaMm().width / 2;
        double dHull = 0.0, dArea = 0.0;
        int nHull = 0, nArea = 0;
        for (double y = 10; y < m_machine.WorkAreaMm().height; y += 20) {
            for (double x = 10; x < m_machine.WorkAreaMm().width; x += 20) {
                const cv::Point2d mm(x, y);
                if (!truth.Sees(side, mm) || (x < dMiddle) != (side == Side::Left)) {
                    continue;
                }
                const auto seen = projector.SurfaceFromPixel(*truth.PixelFromMachine(side, mm));
                const double dOff = seen ? cv::norm(*seen - mm) : 1000.0;
                dArea += dOff * dOff;
                ++nArea;
                if (hull.contains(mm)) {
                    dHull += dOff * dOff;
                    ++nHull;
                }
            }
        }
        EXPECT_GT(nHull, 500);
        return {std::sqrt(dHull / nHull), std::sqrt(dArea / nArea)};
    }
    void ExpectGood(Side side)
    {
        const Errors errors = ErrorsOf(side);
        EXPECT_LE(errors.dHullMm, 0.06);
        EXPECT_LE(errors.dAreaMm, 0.15);
    }

    DataRoot m_root;
    ModalAnswers m_answers;
    Doubles::CameraModule m_module;
    Machine m_machine{Machine::Kind::Automatic, 3};
    const Simulator::CrossGrid m_grid = m_machine.Grid();
    std::mt19937 m_random{20};
    std::unique_ptr<AutoDualCalibrateWdg> m_pPage;
};

} // namespace

TEST_F(Operator, WhoMakesNoMistakeEndsWithAStitchedPicture)
{
    Open();
    TakePicture();
    MarkAll(CrossesShown(Side::Left));
    EXPECT_EQ(Confirm(), "Adjusting success!");
    ASSERT_FALSE(IsLeftStep());
    TakePicture();
    MarkAll(CrossesShown(Side::Right));
    EXPECT_EQ(Confirm(), "Adjusting success!");
    ExpectGood(Side::Left);
    ExpectGood(Side::Right);

    StitchingWdg stitching;
    stitching.SetCameraType(1);
    stitching.show();
    Press(stitching, "Stitch");
    EndCountdown(stitching);
    EXPECT_EQ(m_answers.Notices().size(), 2u) << m_answers.Notices().back().strText.toStdString();
    const cv::Mat stitched = cv::imread(m_root.CameraTwo("Temp/DImage.bmp").toStdString());
    EXPECT_GE(stitched.cols, 7800);
    EXPECT_GE(stitched.rows, 5400);
    Press(stitching, "confirm");
    EXPECT_EQ(m_answers.Notices().back().strText, "Adjusting success!");
}

TEST_F(Operator, WhoLeavesOneCrossOutAndClicksAnotherTwiceIsToldAndCanCorrectIt)
{
    Open();
    TakePicture();
    const std::vector<QPointF> crosses = CrossesShown(Side::Left);
    for (std::size_t i = 1; i < crosses.size(); ++i) {
        Mark(crosses[i]);
    }
    Mark(crosses[20]);
    EXPECT_EQ(Confirm(), "Adjusting fail!");
    EXPECT_TRUE(IsLeftStep());

    Delete(List().count() - 1);
    m_pPage->hide();
    m_pPage->show();
    Mark(crosses[0]);
    EXPECT_EQ(Confirm(), "Adjusting success!");
    ExpectGood(Side::Left);
}

TEST_F(Operator, TheSameAtTheRightCamera)
{
    OpenAtRightStep();
    TakePicture();
    std::vector<QPointF> crosses = CrossesShown(Side::Right);
    crosses[34] = crosses[33];
    MarkAll(crosses);
    EXPECT_EQ(Confirm(), "Adjusting fail!");
}

TEST_F(Operator, WhoseCamerasAreSwappedIsToldAtTheFirstOfThem)
{
    UseCameras("[1] Camera-Right", "[0] Camera-Left");
    Open();
    TakePicture();
    MarkAll(CrossesShown(Side::Right));
    EXPECT_EQ(Confirm(), "Adjusting fail!");
    EXPECT_TRUE(IsLeftStep());
    EXPECT_FALSE(QFile::exists(m_root.CameraTwo("Result/L_AutoDualCalibrate.xml")));
}

TEST_F(Operator, WhoseCamerasAreSwappedIsToldAtTheSecondOfThemToo)
{
    UseCameras("[1] Camera-Right", "[0] Camera-Left");
    OpenAtRightStep();
    TakePicture();
    MarkAll(CrossesShown(Side::Left));
    EXPECT_EQ(Confirm(), "Adjusting fail!");
    EXPECT_FALSE(QFile::exists(m_root.CameraTwo("Result/R_AutoDualCalibrate.xml")));
}

TEST_F(Operator, WhoBeginsAColumnTooLateIsTold)
{
    Open();
    TakePicture();
    MarkAll(CrossesShown(Side::Left, 1));
    EXPECT_EQ(Confirm(), "Adjusting fail!");
}

TEST_F(Operator, WhoClicksOneCrossFortyPixelsOffGetsAGoodCalibration)
{
    for (const std::size_t nCross : {0u, 17u, 34u}) {
        WriteIniInt("PROGRESS", "STEPINDEX", 3, ProgressFile());
        Open();
        TakePicture();
        std::vector<QPointF> crosses = CrossesShown(Side::Left);
        crosses[nCross] += QPointF(32, -24);
        MarkAll(crosses);
        EXPECT_EQ(Confirm(), "Adjusting success!") << nCross;
        ExpectGood(Side::Left);
    }
}

TEST_F(Operator, WhosePictureIsDarkIsToldAndNeedsOnlyLight)
{
    Open();
    TakePicture();
    MarkAll(CrossesShown(Side::Left));
    m_machine.SetLight(0.02);
    TakePicture();
    EXPECT_EQ(Confirm(), "Adjusting fail!");
    EXPECT_TRUE(IsLeftStep());
    EXPECT_EQ(List().count(), 35) << "the marks stay";

    m_machine.SetLight(1.0);
    TakePicture();
    EXPECT_EQ(Confirm(), "Adjusting success!");
    ExpectGood(Side::Left);
}

TEST_F(Operator, APictureInWhichTheCrossesCanJustBeSeenIsGoodEnoughOrRefused)
{
    OpenAtRightStep();
    TakePicture();
    MarkAll(CrossesShown(Side::Right));
    int nGood = 0;
    int nRefused = 0;
    for (const double light : {0.2, 0.08, 0.07, 0.065, 0.06, 0.04}) {
        m_machine.SetLight(light);
        TakePicture();
        if (Confirm() == "Adjusting success!") {
            ++nGood;
            ExpectGood(Side::Right);
        } else {
            ++nRefused;
            EXPECT_EQ(m_answers.Notices().back().strText, "Adjusting fail!");
        }
    }
    EXPECT_GE(nGood, 2);
    EXPECT_GE(nRefused, 2);
}
