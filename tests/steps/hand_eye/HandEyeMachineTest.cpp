// The page with the real modules before a simulated machine: an operator who marks the crosses one pixel off, and what
// the run-time pipeline then makes of the machine's pictures.

#include "HandEyeAdjustWdg.h"

#include "CalibGlobalParam.h"
#include "CalibratedMachine.h"
#include "CalibrateTwoCameraIns.h"
#include "DataRoot.h"
#include "DotLocator.h"
#include "DualGraphicsView.h"
#include "FileStore.h"
#include "FusedFrame.h"
#include "LibraryLoader.h"
#include "ModalAnswers.h"
#include "RecordingCamera.h"
#include "StepWidgets.h"

#include <gmock/gmock.h>
#include <opencv2/imgproc.hpp>

#include <QDir>
#include <QFile>
#include <QListWidget>
#include <QSignalSpy>
#include <QTimer>

#include <cmath>
#include <memory>

namespace
{

using Simulator::Side;

constexpr double PX_PER_MM = 6.0;

struct Errors {
    double dRmsMm = 0.0;
    double dMaxMm = 0.0;
};

class HandEyeOnMachine : public testing::Test
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
        // What the pages before this one leave in Output.
        Simulator::CalibrationReport report;
        Simulator::ClickOptions exact;
        exact.sigmaPx = 0.0;
        ASSERT_TRUE(WriteManualCalibrationFiles(m_machine, m_root.Root().toStdString(), exact, report))
            << report.strProblem;
        for (const char* const pFile : {"cameraL_calibrateMap.xml", "cameraR_calibrateMap.xml", "mapImgR2L.xml"}) {
            ASSERT_TRUE(QFile::copy(Result(pFile), Output(pFile)));
        }
        QDir(Result("")).removeRecursively();
        m_machine.PlaceMaterial();
        m_machine.EngraveCrossGrid();
    }
    void TearDown() override
    {
        m_pPage.reset();
        g_calibGlobalParam = CalibGlobalParam();
    }

    QString Output(const char* pFile) const { return m_root.CameraTwo(QString("Output/") + pFile); }
    QString Result(const char* pFile) const { return m_root.CameraTwo(QString("Result/") + pFile); }

    void OpenWithPicture()
    {
        m_pPage = std::make_unique<HandEyeAdjustWdg>();
        m_pPage->SetCameraType(0);
        QList<QPointF> grid;
        for (const cv::Point2d& point : m_machine.Grid().PointsMm()) {
            grid << QPointF(point.x, point.y);
        }
        m_pPage->SetListPt(grid);
        m_pPage->resize(1120, 640);
        m_pPage->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(m_pPage.get()));
        Press(*m_pPage, "takePic");
        while (m_pPage->findChild<QTimer*>()->isActive()) {
            QMetaObject::invokeMethod(m_pPage.get(), "TimeOutSlot", Qt::DirectConnection);
        }
        ASSERT_TRUE(Child<DualGraphicsView>(*m_pPage, "graphicsView").HasPicture()) << qPrintable(m_answers.OnlyText());
    }
    /// The operator zooms in, sets each cross and records it.
    void Mark(double dSigmaPx)
    {
        Simulator::ClickOptions options;
        options.sigmaPx = dSigmaPx;
        auto& view = Child<DualGraphicsView>(*m_pPage, "graphicsView");
        view.scale(2, 2);
        const std::vector<cv::Point2d> places =
            MarkCrosses(m_machine, ToLocalBytes(Output("mapImgR2L.xml")).toStdString(), options);
        ASSERT_EQ(places.size(), 18u);
        for (const cv::Point2d& place : places) {
            const QPointF point(place.x, place.y);
            view.centerOn(point);
            QTest::mouseDClick(view.viewport(), Qt::LeftButton, {}, view.mapFromScene(point));
            Press(*m_pPage, "AddCoord");
        }
        ASSERT_EQ(Child<QListWidget>(*m_pPage, "listWidget_Coord").count(), 18) << qPrintable(m_answers.OnlyText());
    }

    /// How far dots of the work area picture lie from where they were engraved.
    Errors ErrorsOfTheWorkArea()
    {
        const cv::Size2d bed = m_machine.WorkAreaMm();
        m_machine.PlaceMaterial();
        std::vector<Simulator::EngravedDot> dots;
        for (double y = 30.0; y < bed.height; y += 60.0) {
            for (double x = 30.0; x < bed.width; x += 60.0) {
                dots.push_back({{x, y}, 1.5});
            }
        }
        m_machine.EngraveDots(dots);
        CalibrateTwoCameraIns instance;
        cv::Mat fused;
        cv::Mat area;
        EXPECT_EQ(instance.CalibAndFusionImage(m_machine.Snap(Side::Left), m_machine.Snap(Side::Right), fused, false),
                  0);
        EXPECT_EQ(instance.WarpImage(fused, static_cast<int>(bed.width), static_cast<int>(bed.height), area), 0);
        cv::Mat grey;
        cv::cvtColor(area, grey, cv::COLOR_BGR2GRAY);
        Workbench::DotOptions options;
        options.radiusPx = 1.5 * PX_PER_MM;
        Errors errors;
        for (const Simulator::EngravedDot& dot : dots) {
            const auto found = Workbench::LocateDot(grey, dot.centreMm * PX_PER_MM, options);
            if (!found) {
                ADD_FAILURE() << "no dot at " << dot.centreMm;
                return {INFINITY, INFINITY};
            }
            const double dErrorMm = cv::norm(*found - dot.centreMm * PX_PER_MM) / PX_PER_MM;
            errors.dRmsMm += dErrorMm * dErrorMm;
            errors.dMaxMm = std::max(errors.dMaxMm, dErrorMm);
        }
        errors.dRmsMm = std::sqrt(errors.dRmsMm / static_cast<double>(dots.size()));
        return errors;
    }

    DataRoot m_root;
    ModalAnswers m_answers;
    Doubles::CameraModule m_module;
    Simulator::Machine m_machine{Simulator::Machine::Kind::Manual, 1};
    std::unique_ptr<HandEyeAdjustWdg> m_pPage;
};

} // namespace

TEST_F(HandEyeOnMachine, MarksOnePixelOffGiveAWorkAreaThatALaserCanFollow)
{
    OpenWithPicture();
    Mark(1.0);
    QSignalSpy exit(m_pPage.get(), &HandEyeAdjustWdg::ExitWindowSignal);
    Press(*m_pPage, "confirm");
    EXPECT_EQ(m_answers.OnlyText(), "Adjusting success!");
    EXPECT_EQ(exit.count(), 1);
    for (const char* const pFile : {"cameraL_calibrateMap.xml", "cameraR_calibrateMap.xml", "mapImgR2L.xml",
                                    "DualCamera_pix2mm.xml", "DualCamera_mm2pix.xml", "CameraParam.ini"}) {
        EXPECT_TRUE(QFile::exists(Result(pFile))) << pFile;
    }
    const Errors errors = ErrorsOfTheWorkArea();
    RecordProperty("rms_mm", std::to_string(errors.dRmsMm));
    RecordProperty("max_mm", std::to_string(errors.dMaxMm));
    EXPECT_LE(errors.dRmsMm, 0.35);
    EXPECT_LE(errors.dMaxMm, 1.2);
}

TEST_F(HandEyeOnMachine, WithoutTheFilesOfTheStepsBeforeThereIsNoPicture)
{
    QFile::remove(Output("mapImgR2L.xml"));
    m_pPage = std::make_unique<HandEyeAdjustWdg>();
    m_pPage->show();
    Press(*m_pPage, "takePic");
    EXPECT_EQ(m_answers.OnlyText(), "Fusion images failed!");
    EXPECT_FALSE(Child<DualGraphicsView>(*m_pPage, "graphicsView").HasPicture());
    EXPECT_TRUE(Button(*m_pPage, "takePic").isEnabled());
}
