#include "ApplicationTest.h"
#include "InstallResources.h"
#include "PatternFile.h"
#include "TempFolder.h"
#include "Truth.h"

#include <opencv2/imgproc.hpp>

#include <QDir>

#include <map>
#include <vector>

#include <sys/stat.h>

namespace
{

using Simulator::Side;
using Workbench::PatternFile;

class FusionPatternFiles : public ApplicationTest
{
protected:
    static PatternFile Read(const char* pName)
    {
        const QString strFile = Workbench::FusionPatternFolder() + "/" + pName;
        PatternFile pattern;
        EXPECT_EQ(Workbench::ReadPatternFile(strFile.toStdString(), pattern), "") << qPrintable(strFile);
        return pattern;
    }
};

} // namespace

TEST_F(FusionPatternFiles, AreDrawnForTheirBedsAboutTheMiddle)
{
    EXPECT_EQ(QDir(Workbench::FusionPatternFolder()).entryList(QDir::Files).size(), 4);
    const std::vector<std::pair<const char*, cv::Size2d>> beds{{"FusionImage_813_508.kv", {813.0, 508.0}},
                                                               {"FusionImage_1300_900.kv", {1300.0, 900.0}},
                                                               {"FusionImage_1600_1000.kv", {1600.0, 1000.0}},
                                                               {"FusionImage.kv", {900.0, 600.0}}};
    for (const auto& [pName, bedMm] : beds) {
        const PatternFile pattern = Read(pName);
        EXPECT_EQ(pattern.bedMm, bedMm) << pName;
        EXPECT_GT(pattern.lines.size(), 5000u) << pName;
        double dLeft = bedMm.width;
        double dRight = 0.0;
        double dTop = bedMm.height;
        double dBottom = 0.0;
        for (const Simulator::EngravedLine& line : pattern.lines) {
            for (const cv::Point2d& mm : {line.fromMm, line.toMm}) {
                dLeft = std::min(dLeft, mm.x);
                dRight = std::max(dRight, mm.x);
                dTop = std::min(dTop, mm.y);
                dBottom = std::max(dBottom, mm.y);
            }
        }
        EXPECT_NEAR(0.5 * (dLeft + dRight), 0.5 * bedMm.width, 0.01 * bedMm.width) << pName;
        EXPECT_NEAR(dRight - dLeft, 0.12 * bedMm.width, 0.01 * bedMm.width) << pName;
        EXPECT_LT(dTop, 0.06 * bedMm.height) << pName;
        EXPECT_GT(dBottom, 0.94 * bedMm.height) << pName;
    }
}

TEST_F(FusionPatternFiles, HoldNoTwoShapesThatAreAlike)
{
    // An outline is the strokes that go on where the one before it ended; its sides tell a shape.
    std::map<std::vector<int>, int> shapes;
    std::vector<int> sides;
    cv::Point2d begin;
    const cv::Point2d* pEnd = nullptr;
    const PatternFile pattern = Read("FusionImage.kv");
    for (const Simulator::EngravedLine& line : pattern.lines) {
        if (!pEnd || *pEnd != line.fromMm) {
            sides.clear();
            begin = line.fromMm;
        }
        sides.push_back(cvRound(cv::norm(line.toMm - line.fromMm) / 0.05));
        pEnd = &line.toMm;
        if (line.toMm == begin) {
            ++shapes[sides];
            pEnd = nullptr;
        }
    }
    EXPECT_GT(shapes.size(), 500u);
    for (const auto& [ignored, nCount] : shapes) {
        EXPECT_EQ(nCount, 1);
    }
}

TEST_F(FusionPatternFiles, KeepClearOfTheCrossesOfTheManualMachine)
{
    const Simulator::CrossGrid grid = Simulator::Machine(Simulator::Machine::Kind::Manual, 1).Grid();
    for (const Simulator::EngravedLine& line : Read("FusionImage.kv").lines) {
        for (const cv::Point2d& cross : grid.PointsMm()) {
            const double dClearMm = 0.5 * grid.crossSizeMm + 0.5;
            EXPECT_FALSE(std::abs(line.fromMm.x - cross.x) < dClearMm && std::abs(line.fromMm.y - cross.y) < dClearMm);
        }
    }
}

TEST_F(FusionPatternFiles, GiveBothCamerasCornersAllOverTheirOverlap)
{
    Simulator::Machine machine(Simulator::Machine::Kind::Manual, 3);
    machine.EngraveLines(Read("FusionImage.kv").lines);
    const Simulator::Truth truth(machine);
    int nPlaces = 0;
    for (const Side side : {Side::Left, Side::Right}) {
        cv::Mat grey;
        cv::cvtColor(machine.Snap(side), grey, cv::COLOR_BGR2GRAY);
        for (double y = 40.0; y <= 560.0; y += 40.0) {
            for (double x = 405.0; x <= 495.0; x += 30.0) {
                if (!truth.Sees(Side::Left, {x, y}) || !truth.Sees(Side::Right, {x, y})) {
                    continue;
                }
                const cv::Point2d pixel = truth.PixelFromMachine(side, {x, y}).value();
                // 30 mm of the bed.
                const cv::Rect window = cv::Rect(cvRound(pixel.x) - 55, cvRound(pixel.y) - 55, 110, 110) &
                                        cv::Rect(cv::Point(), grey.size());
                std::vector<cv::Point2f> corners;
                cv::Mat smooth;
                cv::GaussianBlur(grey(window), smooth, cv::Size(), 1.5);
                cv::goodFeaturesToTrack(smooth, corners, 100, 0.2, 6.0);
                double dDark = 0.0;
                double dBright = 0.0;
                cv::minMaxLoc(smooth, &dDark, &dBright);
                EXPECT_GE(corners.size(), 12u) << x << " " << y;
                EXPECT_GT(dBright - dDark, 40.0) << x << " " << y;
                ++nPlaces;
            }
        }
    }
    EXPECT_GE(nPlaces, 60);
}

TEST_F(FusionPatternFiles, AreCopiedForTheWizardWhereItHasNoneOfItsOwn)
{
    const TempFolder folder;
    const QString strTarget = QString::fromStdString(folder.Path("data/FusionCalibImages"));
    QDir().mkpath(strTarget);
    const QByteArray users = "KV 1\nbed 900 600\nline 10 10 20 20\nend 1\n";
    folder.Write("data/FusionCalibImages/FusionImage.kv", users);
    EXPECT_TRUE(Workbench::CopyFusionPatterns(strTarget));
    EXPECT_EQ(folder.ReadAll("data/FusionCalibImages/FusionImage.kv"), users);
    PatternFile pattern;
    EXPECT_EQ(Workbench::ReadPatternFile(folder.Path("data/FusionCalibImages/FusionImage_813_508.kv"), pattern), "");
    EXPECT_EQ(QDir(strTarget).entryList(QDir::Files).size(), 4);
    folder.Write("no folder", "");
    EXPECT_FALSE(Workbench::CopyFusionPatterns(QString::fromStdString(folder.Path("no folder/deeper"))));
}

TEST_F(FusionPatternFiles, TakeThePlaceOfADamagedOneWhichIsKept)
{
    const TempFolder folder;
    const QString strTarget = QString::fromStdString(folder.Path("data"));
    QDir().mkpath(strTarget);
    ASSERT_TRUE(Workbench::CopyFusionPatterns(strTarget));
    const QByteArray whole = folder.ReadAll("data/FusionImage.kv");
    const QByteArray half = whole.left(whole.size() / 2);
    folder.Write("data/FusionImage.kv", half);
    folder.Write("data/FusionImage.kv.damaged", "of a time before");
    QFile::remove(strTarget + "/FusionImage_813_508.kv");
    ASSERT_EQ(mkfifo(folder.Path("data/FusionImage_813_508.kv").c_str(), 0600), 0);
    EXPECT_TRUE(Workbench::CopyFusionPatterns(strTarget));
    EXPECT_EQ(folder.ReadAll("data/FusionImage.kv"), whole);
    EXPECT_EQ(folder.ReadAll("data/FusionImage.kv.damaged"), half);
    PatternFile pattern;
    EXPECT_EQ(Workbench::ReadPatternFile(folder.Path("data/FusionImage_813_508.kv"), pattern), "");
}

TEST_F(FusionPatternFiles, AreCopiedAllTheSameWhereACopyBrokeOffOrOneCannotBeMade)
{
    const TempFolder folder;
    const QString strTarget = QString::fromStdString(folder.Path("data"));
    QDir().mkpath(strTarget + "/FusionImage_1300_900.kv.part");
    folder.Write("data/FusionImage_813_508.kv.part", "KV 1");
    EXPECT_FALSE(Workbench::CopyFusionPatterns(strTarget)) << "a folder is in the way of one";
    EXPECT_EQ(QDir(strTarget).entryList(QDir::Files),
              QStringList({"FusionImage.kv", "FusionImage_1600_1000.kv", "FusionImage_813_508.kv"}));
    PatternFile pattern;
    EXPECT_EQ(Workbench::ReadPatternFile(folder.Path("data/FusionImage_813_508.kv"), pattern), "");
    QDir(strTarget + "/FusionImage_1300_900.kv.part").removeRecursively();
    EXPECT_TRUE(Workbench::CopyFusionPatterns(strTarget));
}
