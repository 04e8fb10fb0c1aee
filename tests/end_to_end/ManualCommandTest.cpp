// The manual calibration by command: an operator script at the real pages, killed on each of them, and scripts of
// operators who do it wrong.

#include "CalibrateProcess.h"
#include "FusedFrame.h"

#include <gmock/gmock.h>
#include <opencv2/core.hpp>

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonArray>

#include <memory>

namespace
{

using testing::HasSubstr;

constexpr const char* g_pCameraTwo = "/Quillboost/Resources/Vision/calib/Camera_Two/";
/// A region that crosses the seam, in shares of the two pictures.
const QJsonArray g_region{0.42, 0.05, 0.16, 0.9};

void CopyFolder(const QString& strFrom, const QString& strTo)
{
    ASSERT_TRUE(QDir().mkpath(strTo));
    QDirIterator it(strFrom, QDir::AllEntries | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        const QString strTarget = strTo + "/" + QDir(strFrom).relativeFilePath(it.filePath());
        ASSERT_TRUE(it.fileInfo().isDir() ? QDir().mkpath(strTarget) : QFile::copy(it.filePath(), strTarget));
    }
}

class ManualCommand : public CalibrateProcess
{
protected:
    ManualCommand() : CalibrateProcess("manual") {}

    /// A run that was killed on one page after the other, resumed each time; kept as it stood on two of them.
    struct KilledRun {
        QTemporaryDir folder;
        bool bOnEachPage = false;
        QString AtFusion() const { return folder.filePath("at_fusion"); }
        QString AtMarks() const { return folder.filePath("at_marks"); }
    };
    static void TearDownTestSuite() { s_pKilled.reset(); }
    void SetUp() override
    {
        if (!s_pKilled) {
            s_pKilled = std::make_unique<KilledRun>();
            s_pKilled->bOnEachPage = KillOnEachPage();
        }
        ASSERT_TRUE(s_pKilled->bOnEachPage);
        QDir(Path("data")).removeRecursively();
    }
    bool KillOnEachPage() const
    {
        for (const char* pStep : {"Photographing the chart with the left", "Photographing the chart with the right",
                                  "Engraving the pattern", "Drawing the region"}) {
            if (!KillAt(pStep)) {
                return false;
            }
        }
        CopyFolder(Path("data"), s_pKilled->AtFusion());
        // The second pattern; a run that is resumed here begins with the fusion again.
        for (const char* pStep : {"Choosing the work area", "Engraving the pattern", "Marking"}) {
            if (!KillAt(pStep)) {
                return false;
            }
        }
        CopyFolder(Path("data"), s_pKilled->AtMarks());
        return true;
    }

    QString CameraTwo(const QString& strName) const { return Path("data") + g_pCameraTwo + strName; }
    /// As an operator without error marks them in the picture of the run that stands in "data".
    std::vector<cv::Point2d> TrueMarks() const
    {
        const Simulator::Machine machine(Simulator::Machine::Kind::Manual, 1);
        return Simulator::MarkCrosses(machine, CameraTwo("Output/mapImgR2L.xml").toStdString(), {.sigmaPx = 0.0});
    }
    WorkbenchRun RunScript(const QJsonArray& region, const std::vector<cv::Point2d>& marks) const
    {
        QJsonArray array;
        for (const cv::Point2d& mark : marks) {
            array.append(QJsonArray{mark.x, mark.y});
        }
        const QJsonObject script{{"subModel", "M1 - 900 x 600 mm"}, {"region", region}, {"marks", array}};
        return Run({"--script", WriteScript(script)});
    }

    static inline std::unique_ptr<KilledRun> s_pKilled;
};

} // namespace

TEST_F(ManualCommand, ARunThatIsKilledOnEveryPageIsResumedEachTimeAndEndsRight)
{
    CopyFolder(s_pKilled->AtMarks(), Path("data"));
    const WorkbenchRun run = Run();
    EXPECT_EQ(run.nExitCode, 0) << qPrintable(run.strOutput) << qPrintable(run.strError);
    for (const char* pStep : {"Photographing", "Engraving the pattern", "Matching", "Choosing the work area"}) {
        EXPECT_FALSE(run.strOutput.contains(pStep)) << pStep << ": " << qPrintable(run.strOutput);
    }
    const QJsonObject report = Report();
    EXPECT_EQ(report["flow"].toString(), "manual");
    EXPECT_EQ(report["click_error_px"].toDouble(), 1.0);
    EXPECT_EQ(report["points"].toInt(), report["points_expected"].toInt());
    EXPECT_GT(report["points"].toInt(), 800);
    EXPECT_LE(report["error_area_mm"].toObject()["rms"].toDouble(), 0.35);
    EXPECT_LE(report["error_area_mm"].toObject()["max"].toDouble(), 1.2);
    EXPECT_GT(report["error_area_mm"].toObject()["rms"].toDouble(), 0.02) << "the marks were off";
    EXPECT_GT(report["seam_points"].toInt(), 50);
    EXPECT_EQ(report["coverage"].toDouble(), 1.0);
    EXPECT_TRUE(QFile::exists(Path("out/work_area.png")));
    EXPECT_TRUE(QFile::exists(Path("out/error_map.png")));
    EXPECT_FALSE(QFile::exists(CameraTwo("Output")));
    EXPECT_FALSE(QFile::exists(CameraTwo("ResultBeforeRun")));

    const WorkbenchRun point = RunWorkbench({"to-world", "600", "300", "--data", Path("data")}, m_folder.path());
    EXPECT_EQ(point.strOutput, "100.000 50.000\n");
}

TEST_F(ManualCommand, TheMarksOfAScriptAreTakenAsTheyStandAndThoseBesideTheCrossesMissTheMeasures)
{
    CopyFolder(s_pKilled->AtMarks(), Path("data"));
    std::vector<cv::Point2d> marks = TrueMarks();
    ASSERT_EQ(marks.size(), 18u);
    // All of them alike: no page can tell.
    for (cv::Point2d& mark : marks) {
        mark += cv::Point2d(12.0, 0.0);
    }
    const WorkbenchRun run = RunScript(g_region, marks);
    EXPECT_EQ(run.nExitCode, 3) << qPrintable(run.strOutput) << qPrintable(run.strError);
    EXPECT_THAT(run.strError.toStdString(), HasSubstr("Measure missed: "));
}

TEST_F(ManualCommand, ARegionWithTooLittleInItIsRefusedAndTheCalibrationOfBeforeComesBack)
{
    CopyFolder(s_pKilled->AtFusion(), Path("data"));
    QFile before(CameraTwo("ResultBeforeRun/of_before.txt"));
    ASSERT_TRUE(before.open(QIODevice::WriteOnly));
    before.close();
    std::vector<cv::Point2d> marks;
    for (int i = 0; i < 18; ++i) {
        marks.emplace_back(100.0 + 50.0 * (i % 6), 100.0 + 50.0 * (i / 6));
    }
    const WorkbenchRun run = RunScript({0.49, 0.01, 0.02, 0.02}, marks);
    EXPECT_EQ(run.nExitCode, 1) << qPrintable(run.strOutput);
    EXPECT_THAT(run.strError.toStdString(), HasSubstr("The stitching process failed"));
    EXPECT_FALSE(QFile::exists(CameraTwo("Progress.ini"))) << "the wizard was cancelled";
    EXPECT_TRUE(QFile::exists(CameraTwo("Result/of_before.txt")));
}

TEST_F(ManualCommand, ADiskThatFillsUpIsNamedAndTheCalibrationOfBeforeComesBack)
{
    const auto fillUpAt = [this](const char* pStep, const QStringList& more) {
        ASSERT_TRUE(QDir().mkpath(CameraTwo("ResultBeforeRun")));
        QFile before(CameraTwo("ResultBeforeRun/of_before.txt"));
        ASSERT_TRUE(before.open(QIODevice::WriteOnly));
        before.close();
        const WorkbenchRun run = RunWithoutRoomFrom(pStep, more);
        EXPECT_EQ(run.nExitCode, 1) << pStep << qPrintable(run.strOutput);
        EXPECT_THAT(run.strError.toStdString(),
                    HasSubstr("The machine could not be calibrated. The folder " +
                              CameraTwo("").chopped(1).toStdString() + " cannot be written: File too large.\n"));
        EXPECT_FALSE(run.strError.contains("png")) << qPrintable(run.strError);
        EXPECT_TRUE(QFile::exists(CameraTwo("Result/of_before.txt"))) << pStep;
        EXPECT_FALSE(QFile::exists(CameraTwo("Progress.ini"))) << pStep;
    };
    fillUpAt("Photographing the chart with the left", {});
    QDir(Path("data")).removeRecursively();
    // Which begins there whatever page the run before has died on.
    CopyFolder(s_pKilled->AtMarks(), Path("data"));
    fillUpAt("Matching the two pictures", {"--opening", "fusion"});
    QDir(Path("data")).removeRecursively();
    CopyFolder(s_pKilled->AtMarks(), Path("data"));
    fillUpAt("Marking", {});
}
