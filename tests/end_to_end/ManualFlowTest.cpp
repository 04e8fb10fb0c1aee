// A manually calibrated machine through the same command: the files decide which road is taken.

#include "AccuracyReport.h"
#include "CalibratedMachine.h"
#include "DotLocator.h"
#include "WorkbenchProcess.h"

#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>

#include <QFile>
#include <QTemporaryDir>

TEST(ManualFlow, DotsAppearWhereTheyWereEngraved)
{
    constexpr double dPxPerMm = 6.0;
    constexpr double dRadiusMm = 1.5;
    const QTemporaryDir folder;
    const auto path = [&folder](const char* pName) { return folder.filePath(pName); };

    Simulator::Machine machine(Simulator::Machine::Kind::Manual, 1);
    Simulator::ClickOptions clicks;
    clicks.sigmaPx = 0.3;
    Simulator::CalibrationReport report;
    ASSERT_TRUE(Simulator::WriteManualCalibrationFiles(machine, path("data/Quillboost/Resources").toStdString(), clicks,
                                                       report))
        << report.strProblem;

    machine.PlaceMaterial();
    std::vector<Simulator::EngravedDot> dots;
    for (double y = 50.0; y < machine.WorkAreaMm().height; y += 50.0) {
        for (double x = 50.0; x < machine.WorkAreaMm().width; x += 50.0) {
            dots.push_back({{x, y}, dRadiusMm});
        }
    }
    machine.EngraveDots(dots);
    ASSERT_TRUE(cv::imwrite(path("left.bmp").toStdString(), machine.Snap(Simulator::Side::Left)));
    ASSERT_TRUE(cv::imwrite(path("right.bmp").toStdString(), machine.Snap(Simulator::Side::Right)));

    const WorkbenchRun run = RunWorkbench({"picture", "--left", path("left.bmp"), "--right", path("right.bmp"), "--out",
                                           path("area.bmp"), "--data", path("data")},
                                          folder.path());
    ASSERT_EQ(run.nExitCode, 0) << qPrintable(run.strError);
    const cv::Mat grey = cv::imread(path("area.bmp").toStdString(), cv::IMREAD_GRAYSCALE);
    ASSERT_EQ(grey.size(), cv::Size(5400, 3600));

    Workbench::DotOptions options;
    options.radiusPx = dRadiusMm * dPxPerMm;
    std::vector<double> errors;
    for (const Simulator::EngravedDot& dot : dots) {
        const auto found = Workbench::LocateDot(grey, dot.centreMm * dPxPerMm, options);
        ASSERT_TRUE(found) << dot.centreMm;
        errors.push_back(cv::norm(*found - dot.centreMm * dPxPerMm) / dPxPerMm);
    }
    const Workbench::ErrorFigures figures = Workbench::FiguresOf(errors);
    RecordProperty("rms_mm", std::to_string(figures.rms));
    RecordProperty("max_mm", std::to_string(figures.max));
    EXPECT_LE(figures.rms, 0.15);
    EXPECT_LE(figures.max, 0.5);

    QFile::resize(path("data/Quillboost/Resources/Vision/calib/Camera_Two/Result/mapImgR2L.xml"), 100);
    const WorkbenchRun damaged = RunWorkbench({"picture", "--left", path("left.bmp"), "--right", path("right.bmp"),
                                               "--out", path("none.bmp"), "--data", path("data")},
                                              folder.path());
    EXPECT_EQ(damaged.nExitCode, 1);
    EXPECT_TRUE(damaged.strError.contains("mapImgR2L.xml is no record")) << qPrintable(damaged.strError);

    const WorkbenchRun point = RunWorkbench({"to-world", "600", "300", "--data", path("data")}, folder.path());
    EXPECT_EQ(point.strOutput, "100.000 50.000\n");
}
