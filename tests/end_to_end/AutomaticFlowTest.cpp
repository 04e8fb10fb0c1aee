// The main job as `./run` starts it, on real-sized pictures, and the commands on what it leaves behind.

#include "WorkbenchProcess.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <memory>

namespace
{

class AutomaticFlow : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        s_pFolder = std::make_unique<QTemporaryDir>();
        s_run = RunWorkbench({"demo", "--out", Path("out")}, s_pFolder->path());
        QFile report(Path("out/report.json"));
        if (report.open(QIODevice::ReadOnly)) {
            s_report = QJsonDocument::fromJson(report.readAll()).object();
        }
    }
    static void TearDownTestSuite() { s_pFolder.reset(); }

    static QString Path(const QString& strName) { return s_pFolder->filePath(strName); }

    static double Figure(const QString& strGroup, const QString& strName)
    {
        return s_report[strGroup].toObject()[strName].toDouble();
    }

    static std::unique_ptr<QTemporaryDir> s_pFolder;
    static WorkbenchRun s_run;
    static QJsonObject s_report;
};

std::unique_ptr<QTemporaryDir> AutomaticFlow::s_pFolder;
WorkbenchRun AutomaticFlow::s_run;
QJsonObject AutomaticFlow::s_report;

} // namespace

TEST_F(AutomaticFlow, TheDemonstrationSucceedsWithoutAWordOfComplaint)
{
    EXPECT_EQ(s_run.nExitCode, 0) << qPrintable(s_run.strError);
    EXPECT_TRUE(s_run.strError.isEmpty()) << qPrintable(s_run.strError);
    EXPECT_TRUE(s_run.strOutput.contains("inside the crosses"));
}

TEST_F(AutomaticFlow, KeepsItsMeasuresOfAccuracy)
{
    ASSERT_FALSE(s_report.isEmpty());
    ASSERT_GT(s_report["points"].toInt(), 1000);
    EXPECT_EQ(s_report["points"].toInt(), s_report["points_expected"].toInt());
    EXPECT_GT(Figure("error_mm", "rms"), 0.0);
    EXPECT_LE(Figure("error_mm", "rms"), 0.06);
    EXPECT_LE(Figure("error_mm", "max"), 0.25);
    EXPECT_LE(Figure("error_area_mm", "rms"), 0.15);
    ASSERT_GT(s_report["seam_points"].toInt(), 100);
    EXPECT_LE(Figure("seam_mm", "rms"), 0.08);
    EXPECT_EQ(s_report["coverage"].toDouble(), 1.0);
}

TEST_F(AutomaticFlow, ShowsTheWholeBedAtSixPixelsAMillimetre)
{
    EXPECT_EQ(s_report["work_area_mm"].toArray(), QJsonArray({1300, 900}));
    EXPECT_EQ(s_report["picture_px"].toArray(), QJsonArray({7800, 5400}));
    EXPECT_EQ(cv::imread(Path("out/work_area.png").toStdString()).size(), cv::Size(7800, 5400));
    EXPECT_FALSE(cv::imread(Path("out/error_map.png").toStdString()).empty());
}

TEST_F(AutomaticFlow, ThePicturesThatItKeepsMakeTheSameWorkAreaAgain)
{
    const WorkbenchRun run = RunWorkbench({"picture", "--left", Path("out/left.png"), "--right", Path("out/right.png"),
                                           "--out", Path("again.bmp"), "--data", Path("out/data")},
                                          s_pFolder->path());
    ASSERT_EQ(run.nExitCode, 0) << qPrintable(run.strError);
    const cv::Mat again = cv::imread(Path("again.bmp").toStdString());
    const cv::Mat first = cv::imread(Path("out/work_area.png").toStdString());
    ASSERT_EQ(again.size(), first.size());
    EXPECT_EQ(cv::norm(again, first, cv::NORM_INF), 0.0);
}

TEST_F(AutomaticFlow, AnotherRunIntoTheSameFolderGivesTheSameFigures)
{
    const WorkbenchRun run = RunWorkbench({"demo", "--out", Path("out")}, s_pFolder->path());
    ASSERT_EQ(run.nExitCode, 0) << qPrintable(run.strError);
    QFile report(Path("out/report.json"));
    ASSERT_TRUE(report.open(QIODevice::ReadOnly));
    const QJsonObject second = QJsonDocument::fromJson(report.readAll()).object();
    ASSERT_FALSE(second["error_mm"].toObject().isEmpty());
    EXPECT_EQ(second["error_mm"], s_report["error_mm"]);
    EXPECT_EQ(second["error_area_mm"], s_report["error_area_mm"]);
    EXPECT_EQ(second["seam_mm"], s_report["seam_mm"]);
}
