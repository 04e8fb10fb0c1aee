#include "OperatorScript.h"

#include "CalibratedMachine.h"
#include "Clicks.h"
#include "Failure.h"
#include "KorvaneVision.h"
#include "Truth.h"

#include <gmock/gmock.h>

#include <QFile>
#include <QTemporaryDir>

#include <sys/stat.h>

namespace
{

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using namespace Workbench;
using Kind = Simulator::Machine::Kind;

class ScriptFile : public testing::Test
{
protected:
    QString Write(const QByteArray& content)
    {
        const QString strFile = m_folder.filePath("operator.json");
        QFile file(strFile);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        return strFile;
    }
    static std::string ProblemOf(const QString& strFile, Kind flow = Kind::Automatic)
    {
        try {
            ReadOperatorScript(strFile, flow);
        } catch (const Failure& failure) {
            return failure.what();
        }
        return {};
    }

    QTemporaryDir m_folder;
};

TEST_F(ScriptFile, NamesTheMachineAndTheClicksOfEachCameraInTheirOrder)
{
    const OperatorScript script = ReadOperatorScript(
        Write(R"({"subModel": "1300 x 900", "left": [[10.5, 20], [1, 2]], "right": [[2591, 1943.25]]})"),
        Kind::Automatic);
    EXPECT_EQ(script.strSubModel, "1300 x 900");
    EXPECT_THAT(script.left, ElementsAre(QPointF(10.5, 20), QPointF(1, 2)));
    EXPECT_THAT(script.right, ElementsAre(QPointF(2591, 1943.25)));
}

TEST_F(ScriptFile, WithoutAMachineTakesTheOneThatIsSelected)
{
    EXPECT_TRUE(
        ReadOperatorScript(Write(R"({"left": [[1, 2]], "right": [[3, 4]]})"), Kind::Automatic).strSubModel.isEmpty());
}

TEST_F(ScriptFile, EveryDamageIsNamedWithTheFile)
{
    const std::string strMissing = m_folder.filePath("missing.json").toStdString();
    EXPECT_THAT(ProblemOf(QString::fromStdString(strMissing)),
                AllOf(HasSubstr("cannot be read"), HasSubstr(strMissing)));
    EXPECT_THAT(ProblemOf(Write("")), HasSubstr("not a JSON object"));
    EXPECT_THAT(ProblemOf(Write("[1, 2]")), EndsWith("is no JSON object."));
    EXPECT_THAT(ProblemOf(Write("\x7f\x45LF\x01")), HasSubstr("not a JSON object"));
    EXPECT_THAT(ProblemOf(Write(R"({"left": [[1, 2]]})")), HasSubstr("no points under \"right\""));
    EXPECT_THAT(ProblemOf(Write(R"({"left": [], "right": [[1, 2]]})")), HasSubstr("no points under \"left\""));
    EXPECT_THAT(ProblemOf(Write(R"({"left": [[1]], "right": [[1, 2]]})")), HasSubstr("[x, y]"));
    EXPECT_THAT(ProblemOf(Write(R"({"left": [["1", 2]], "right": [[1, 2]]})")), HasSubstr("[x, y]"));
    EXPECT_THAT(ProblemOf(Write(QByteArray((1 << 20) + 1, ' '))), HasSubstr("at most a megabyte"));
}

TEST_F(ScriptFile, OfTheManualFlowNamesTheRegionAndTheMarksInTheirOrder)
{
    const OperatorScript script = ReadOperatorScript(
        Write(R"({"subModel": "M1", "region": [0.4, 0.1, 0.25, 0.8], "marks": [[10.5, 20], [1, 2]]})"), Kind::Manual);
    EXPECT_EQ(script.strSubModel, "M1");
    EXPECT_EQ(script.region, QRectF(0.4, 0.1, 0.25, 0.8));
    EXPECT_THAT(script.marks, ElementsAre(QPointF(10.5, 20), QPointF(1, 2)));
    EXPECT_FALSE(script.findMarks);
}

TEST_F(ScriptFile, DamageToTheRegionOrTheMarksIsNamed)
{
    const auto problem = [this](const QByteArray& content) { return ProblemOf(Write(content), Kind::Manual); };
    EXPECT_THAT(problem(R"({"left": [[1, 2]], "right": [[1, 2]]})"), HasSubstr("\"region\""));
    EXPECT_THAT(problem(R"({"region": [0.1, 0.1, 0.5], "marks": [[1, 2]]})"), HasSubstr("\"region\""));
    EXPECT_THAT(problem(R"({"region": [0.1, 0.1, 0.5, 1.5], "marks": [[1, 2]]})"), HasSubstr("from 0 to 1"));
    EXPECT_THAT(problem(R"({"region": [0.1, 0.1, "0.5", 0.5], "marks": [[1, 2]]})"), HasSubstr("\"region\""));
    EXPECT_THAT(problem(R"({"region": [0.1, 0.1, 0.5, 0.5]})"), HasSubstr("no points under \"marks\""));
}

TEST_F(ScriptFile, APipeIsNotWaitedFor)
{
    const QString strPipe = m_folder.filePath("pipe");
    ASSERT_EQ(mkfifo(strPipe.toLocal8Bit().constData(), 0600), 0);
    EXPECT_THAT(ProblemOf(strPipe), HasSubstr("pipe"));
}

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

TEST(SimulatedOperatorScript, TurningGoesThereAndBackAlsoOnOddSizes)
{
    const QSize odd(2591, 1943);
    const QPointF point(12.25, 99.5);
    EXPECT_EQ(TurnedPoint(TurnedPoint(point, odd), odd), point);
    EXPECT_EQ(TurnedPoint({0, 0}, odd), QPointF(2590, 1942));
}

} // namespace
