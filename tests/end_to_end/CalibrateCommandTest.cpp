// The calibration by command: an operator script at the real pages, with what comes between.

#include "CalibrateProcess.h"
#include "Clicks.h"
#include "Machine.h"
#include "OperatorScript.h"

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <QDir>
#include <QFile>
#include <QJsonArray>

namespace
{

using Simulator::Machine;

class CalibrateCommand : public CalibrateProcess
{
protected:
    CalibrateCommand() : CalibrateProcess("automatic") {}

    void ExpectMeasuresKept() const
    {
        const QJsonObject report = Report();
        ASSERT_FALSE(report.isEmpty());
        EXPECT_EQ(report["points"].toInt(), report["points_expected"].toInt());
        EXPECT_GT(report["points"].toInt(), 1000);
        EXPECT_LE(report["error_mm"].toObject()["rms"].toDouble(), 0.06);
        EXPECT_LE(report["error_mm"].toObject()["max"].toDouble(), 0.25);
        EXPECT_LE(report["error_area_mm"].toObject()["rms"].toDouble(), 0.15);
        EXPECT_LE(report["seam_mm"].toObject()["rms"].toDouble(), 0.08);
        EXPECT_EQ(report["coverage"].toDouble(), 1.0);
    }

    QString WriteClicks(const Workbench::OperatorScript& script) const
    {
        const auto toJson = [](const std::vector<QPointF>& points) {
            QJsonArray array;
            for (const QPointF& point : points) {
                array.append(QJsonArray{point.x(), point.y()});
            }
            return array;
        };
        return WriteScript({{"left", toJson(script.left)}, {"right", toJson(script.right)}});
    }
};

} // namespace

TEST_F(CalibrateCommand, ARunWithAScriptThatIsKilledAtEveryStepEndsRightAndAFailedOneAfterItLeavesItsRecords)
{
    const Machine machine(Machine::Kind::Automatic, 5);
    Workbench::OperatorScript script = Workbench::SimulatedOperator(machine, {.sigmaPx = 2.0, .nSeed = 99});
    const QStringList listScript{"--script", WriteClicks(script)};
    // The machine is the first run's; those after it go on with it.
    ASSERT_TRUE(KillAt("Choosing the work area", listScript + QStringList{"--seed", "5"}));
    for (const char* pStep :
         {"Engraving the pattern", "Taking the left picture", "Clicking", "Calibrating the left camera",
          "Taking the right picture", "Clicking", "Calibrating the right camera", "Stitching"}) {
        ASSERT_TRUE(KillAt(pStep, listScript));
    }
    const WorkbenchRun run = Run(listScript);
    ASSERT_EQ(run.nExitCode, 0) << qPrintable(run.strOutput) << qPrintable(run.strError);
    // What was done before the last of them is not done again.
    for (const char* pStep : {"Choosing the work area", "Engraving the pattern", "Calibrating the left camera"}) {
        EXPECT_FALSE(run.strOutput.contains(pStep)) << pStep << ": " << qPrintable(run.strOutput);
    }
    EXPECT_EQ(Report()["seed"].toInt(), 5);
    ExpectMeasuresKept();

    const QString strRecord = Path("data/Quillboost/Resources/Vision/calib/Camera_Two/Result/L_AutoDualCalibrate.xml");
    QFile record(strRecord);
    ASSERT_TRUE(record.open(QIODevice::ReadOnly));
    const QByteArray before = record.readAll();
    record.close();
    // One cross twice, not so near that the script itself tells.
    script.left[3] = script.left[4] + QPointF(7.0, 0.0);
    const WorkbenchRun bad = Run({"--script", WriteClicks(script)});
    EXPECT_EQ(bad.nExitCode, 1) << qPrintable(bad.strOutput);
    EXPECT_TRUE(bad.strError.startsWith("The machine could not be calibrated. The wizard said: "))
        << qPrintable(bad.strError);
    ASSERT_TRUE(record.open(QIODevice::ReadOnly));
    EXPECT_EQ(record.readAll(), before);
}

TEST_F(CalibrateCommand, PicturesOnFileAreCalibratedWithClicksFromAFile)
{
    Machine machine(Machine::Kind::Automatic, 3);
    machine.PlaceMaterial();
    machine.EngraveCrossGrid();
    ASSERT_TRUE(cv::imwrite(Path("left.png").toStdString(), machine.Snap(Simulator::Side::Left)));
    ASSERT_TRUE(cv::imwrite(Path("right.png").toStdString(), machine.Snap(Simulator::Side::Right)));
    ASSERT_TRUE(QDir().mkpath(Path("data/Quillboost/Resources/Data")));
    QFile settings(Path("data/Quillboost/Resources/Data/CameraSetting.ini"));
    ASSERT_TRUE(settings.open(QIODevice::WriteOnly));
    settings.write(QString("[CameraSetting]\nCamera-Left=%1\nCamera-Right=%2\n[CANVAS_SIZE]\nWIDTH=1300\nHEIGHT=900\n")
                       .arg(Path("left.png"), Path("right.png"))
                       .toUtf8());
    settings.close();

    const WorkbenchRun without = Run();
    EXPECT_EQ(without.nExitCode, 2);
    EXPECT_TRUE(without.ErrorIsOneSentence()) << qPrintable(without.strError);

    const QString strScript = WriteClicks(Workbench::SimulatedOperator(machine, {.sigmaPx = 3.0, .nSeed = 4}));
    const WorkbenchRun run = Run({"--script", strScript});
    ASSERT_EQ(run.nExitCode, 0) << qPrintable(run.strOutput) << qPrintable(run.strError);
    const cv::Mat area = cv::imread(Path("out/work_area.png").toStdString(), cv::IMREAD_GRAYSCALE);
    ASSERT_EQ(area.size(), cv::Size(7800, 5400));
    for (const cv::Point2d& mm : machine.Grid().PointsMm()) {
        const cv::Point centre(cvRound(mm.x * 6.0), cvRound(mm.y * 6.0));
        const double dCross = cv::mean(area(cv::Rect(centre.x, centre.y - 40, 1, 80)))[0];
        const double dBeside = cv::mean(area(cv::Rect(centre.x + 12, centre.y - 40, 12, 30)))[0];
        EXPECT_LT(dCross, dBeside - 15.0) << "the upright arm of the cross at " << mm;
    }
}
