#include "AccuracyReport.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <cmath>

using namespace Workbench;

namespace
{

/// All measures kept: four dots, one of them outside of the crosses.
AccuracyReport GoodReport()
{
    AccuracyReport report;
    report.strFlow = "automatic";
    report.workAreaMm = {1300, 900};
    report.picturePx = {7800, 5400};
    report.dPxPerMm = 6.0;
    report.nExpected = 4;
    report.points = {{{100, 100}, {100.03, 100.04}, true},
                     {{200, 100}, {200.0, 100.0}, true},
                     {{300, 100}, {300.0, 100.01}, true},
                     {{5, 5}, {5.1, 5.0}, false}};
    report.nSeamExpected = 2;
    report.seamMm = {0.03, 0.04};
    report.dCoverage = 1.0;
    report.dSecondsCalibrate = 1.5;
    report.dSecondsPicture = 0.5;
    return report;
}

} // namespace

TEST(ErrorFigures, OfNothingAreZero)
{
    EXPECT_EQ(FiguresOf({}).rms, 0.0);
    EXPECT_EQ(FiguresOf({}).max, 0.0);
}

TEST(ErrorFigures, OfHundredNumbersAreTheirRmsTheNinetyFifthAndTheLargest)
{
    std::vector<double> errors;
    double dSquares = 0.0;
    for (int i = 100; i >= 1; --i) {
        errors.push_back(i);
        dSquares += i * i;
    }
    const ErrorFigures figures = FiguresOf(errors);
    EXPECT_DOUBLE_EQ(figures.rms, std::sqrt(dSquares / 100.0));
    EXPECT_EQ(figures.p95, 95.0);
    EXPECT_EQ(figures.max, 100.0);
}

TEST(AccuracyReport, ADotOutsideOfTheCrossesCountsForTheWholeAreaOnly)
{
    const AccuracyReport report = GoodReport();
    EXPECT_NEAR(report.InsideCrosses().max, 0.05, 1e-9);
    EXPECT_NEAR(report.WholeArea().max, 0.1, 1e-9);
}

TEST(AccuracyReport, MissesNothingWhenAllMeasuresAreKept)
{
    EXPECT_TRUE(GoodReport().MissedMeasures().isEmpty());
}

TEST(AccuracyReport, TellsEachMissedMeasure)
{
    const auto missed = [](auto change) {
        AccuracyReport report = GoodReport();
        change(report);
        return report.MissedMeasures().join("; ");
    };
    EXPECT_TRUE(missed([](auto& r) { r.nExpected = 6; }).contains("2 of 6 dots"));
    EXPECT_TRUE(missed([](auto& r) { r.nSeamExpected = 3; }).contains("1 of 3 dots of the seam"));
    EXPECT_TRUE(missed([](auto& r) { r.points[1].measuredMm.x += 0.2; }).contains("rms inside"));
    EXPECT_TRUE(missed([](auto& r) { r.points[1].measuredMm.x += 0.3; }).contains("max inside"));
    EXPECT_TRUE(missed([](auto& r) { r.points[3].measuredMm.x += 0.5; }).contains("rms of the work area"));
    EXPECT_TRUE(missed([](auto& r) { r.seamMm = {0.2, 0.2}; }).contains("seam"));
    EXPECT_TRUE(missed([](auto& r) { r.dCoverage = 0.9999; }).contains("does not show"));
}

TEST(AccuracyReport, HoldsEachMachineToItsMeasures)
{
    // Nine dots of no error and one of this, or ten of this.
    const auto dots = [](double dErrorMm, bool bAll, bool bInside) {
        std::vector<MeasuredPoint> points(10, {{100, 100}, {100.0 + (bAll ? dErrorMm : 0.0), 100}, bInside});
        points.back().measuredMm.x = 100.0 + dErrorMm;
        return points;
    };
    const auto missed = [](const char* pFlow, const std::vector<MeasuredPoint>& points, double dSeamMm) {
        AccuracyReport report = GoodReport();
        report.strFlow = pFlow;
        report.points = points;
        report.nExpected = static_cast<int>(points.size());
        report.seamMm = {dSeamMm, dSeamMm};
        return report.MissedMeasures();
    };
    struct Measure {
        const char* pFlow;
        bool bAll, bInside;
        double dMostMm;
        const char* pMissed;
    };
    for (const Measure& measure : {Measure{"automatic", true, true, 0.06, "rms inside the crosses is above 0.06 mm"},
                                   Measure{"automatic", false, true, 0.25, "max inside the crosses is above 0.25 mm"},
                                   Measure{"automatic", true, false, 0.15, "rms of the work area is above 0.15 mm"},
                                   Measure{"manual", true, true, 0.35, "rms of the work area is above 0.35 mm"},
                                   Measure{"manual", false, false, 1.2, "max of the work area is above 1.2 mm"}}) {
        const auto with = [&](double dErrorMm) { return dots(dErrorMm, measure.bAll, measure.bInside); };
        EXPECT_FALSE(missed(measure.pFlow, with(0.999 * measure.dMostMm), 0.0).contains(measure.pMissed));
        EXPECT_TRUE(missed(measure.pFlow, with(1.001 * measure.dMostMm), 0.0).contains(measure.pMissed))
            << measure.pMissed;
    }
    const auto good = dots(0.0, true, true);
    EXPECT_TRUE(missed("automatic", good, 0.0799).isEmpty());
    EXPECT_EQ(missed("automatic", good, 0.0801), QStringList("rms of the seam is above 0.08 mm"));
    EXPECT_TRUE(missed("manual", good, 9.0).isEmpty()) << "promised of the automatic machine only";
}

TEST(AccuracyReport, AnErrorThatIsNoNumberMissesItsMeasures)
{
    AccuracyReport report = GoodReport();
    report.points[1].measuredMm.x = std::nan("");
    EXPECT_FALSE(report.MissedMeasures().isEmpty());
}

TEST(AccuracyReport, TheFileHasEveryPromisedField)
{
    const QTemporaryDir folder;
    const QString strFile = folder.filePath("report.json");
    AccuracyReport report = GoodReport();
    report.nSeed = 4'000'000'000'000;
    report.dClickErrorPx = 1.5;
    report.dMemoryMib = 812.4;
    report.dCoverage = 0.9999999;
    report.nOverlapExpected = 5;
    report.overlapMm = {0.3, 0.4, 0.5};
    ASSERT_TRUE(WriteReport(report, strFile));
    QFile file(strFile);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QJsonObject object = QJsonDocument::fromJson(file.readAll()).object();
    EXPECT_EQ(object["flow"].toString(), "automatic");
    EXPECT_EQ(object["work_area_mm"].toArray(), QJsonArray({1300, 900}));
    EXPECT_EQ(object["picture_px"].toArray(), QJsonArray({7800, 5400}));
    EXPECT_EQ(object["px_per_mm"].toDouble(), 6.0);
    EXPECT_EQ(object["points"].toInt(), 4);
    EXPECT_EQ(object["points_expected"].toInt(), 4);
    EXPECT_NEAR(object["error_mm"]["max"].toDouble(), 0.05, 1e-5);
    for (const char* pKey : {"rms", "p95", "max"}) {
        EXPECT_TRUE(object["error_mm"].toObject()[pKey].isDouble()) << pKey;
        EXPECT_TRUE(object["error_area_mm"].toObject()[pKey].isDouble()) << pKey;
    }
    EXPECT_NEAR(object["error_area_mm"]["max"].toDouble(), 0.1, 1e-5);
    EXPECT_NEAR(object["seam_mm"]["max"].toDouble(), 0.04, 1e-5);
    EXPECT_NEAR(object["seam_mm"]["rms"].toDouble(), std::sqrt((0.03 * 0.03 + 0.04 * 0.04) / 2), 1e-5);
    EXPECT_EQ(object["seam_points"].toInt(), 2);
    EXPECT_EQ(object["seam_points_expected"].toInt(), 2);
    EXPECT_NEAR(object["overlap_mm"]["max"].toDouble(), 0.5, 1e-5);
    EXPECT_NEAR(object["overlap_mm"]["rms"].toDouble(), std::sqrt(0.5 / 3), 1e-5);
    EXPECT_EQ(object["overlap_points"].toInt(), 3);
    EXPECT_EQ(object["overlap_points_expected"].toInt(), 5);
    EXPECT_EQ(object["coverage"].toDouble(), 0.9999999) << "what is nearly all is not all";
    EXPECT_EQ(object["seed"].toInteger(), 4'000'000'000'000);
    EXPECT_EQ(object["click_error_px"].toDouble(), 1.5);
    EXPECT_EQ(object["memory_mib"].toDouble(), 812.0);
    EXPECT_EQ(object["seconds"]["calibrate"].toDouble(), 1.5);
    EXPECT_EQ(object["seconds"]["picture"].toDouble(), 0.5);
    EXPECT_EQ(object["missed"].toArray(), QJsonArray({"the picture does not show the whole work area"}));
}

TEST(AccuracyReport, AFolderThatIsMissingIsAFailure)
{
    const QTemporaryDir folder;
    EXPECT_FALSE(WriteReport(GoodReport(), folder.filePath("none/report.json")));
}

TEST(AccuracyReport, TheTableShowsTheFigures)
{
    const QString strTable = ReportTable(GoodReport());
    EXPECT_TRUE(strTable.contains("4 of 4 dots"));
    EXPECT_TRUE(strTable.contains("0.050"));
    EXPECT_TRUE(strTable.contains("100.00 %"));
}

TEST(AccuracyReport, AManualMachinePromisesTheWorkAreaOnly)
{
    AccuracyReport report = GoodReport();
    report.strFlow = "manual";
    report.points = {{{100, 100}, {100.3, 100.0}, true}, {{200, 100}, {200.3, 100.0}, true}};
    report.nExpected = 2;
    report.seamMm = {0.5};
    EXPECT_TRUE(report.MissedMeasures().isEmpty()) << report.MissedMeasures().join("; ").toStdString();

    report.points[0].measuredMm.x = 101.3;
    EXPECT_EQ(report.MissedMeasures(),
              QStringList({"rms of the work area is above 0.35 mm", "max of the work area is above 1.2 mm"}));
    report.points[0].measuredMm.x = 100.3;
    report.nExpected = 3;
    report.dCoverage = 0.99;
    EXPECT_EQ(report.MissedMeasures(),
              QStringList({"1 of 3 dots were not found", "the picture does not show the whole work area"}));
}
