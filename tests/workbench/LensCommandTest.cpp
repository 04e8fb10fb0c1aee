// The command "lens" as a person runs it, on pictures of charts that a simulated operator holds.

#include "CCameraCalibration.h"
#include "HeldChart.h"
#include "KorvaneVision.h"
#include "TempFolder.h"
#include "Truth.h"
#include "WorkbenchProcess.h"

#include <gtest/gtest.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <QRegularExpression>

#include <sys/stat.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <memory>
#include <numbers>

using Simulator::Side;

namespace
{

constexpr int g_nFailed = 1;
constexpr int g_nWrongUse = 2;
constexpr int g_nCharts = 5;

/// Pictures of half the size, rendered once, of charts of 7 x 9 ("seven") and of 10 x 10 ("ten").
struct Photographs {
    Photographs() : machine(Simulator::Machine::Kind::Manual, 6)
    {
        for (const char* pFolder : {"seven", "ten"}) {
            std::filesystem::create_directory(folder.Path(pFolder));
        }
        for (int i = 1; i <= g_nCharts; ++i) {
            auto chart = Simulator::DrawChart(machine, Side::Left, 500U + static_cast<unsigned>(i),
                                              Simulator::ChartShown::Whole);
            Write(chart, "seven/" + std::to_string(i) + ".png");
            if (i <= 3) {
                chart.layout = {10, 10, 18.0, 9.0, 15.0};
                distancesMm.push_back(cv::norm(chart.middleMm - Simulator::Truth(machine).CameraCentreMm(Side::Left)));
                tiltsDeg.push_back(TiltDeg(chart));
                Write(chart, "ten/" + std::to_string(i) + ".png");
            }
        }
    }

    /// Of the chart against the camera's picture.
    double TiltDeg(const Simulator::HeldChart& chart) const
    {
        std::vector<cv::Point3d> discsMm;
        for (int r = 0; r < chart.layout.nRows; ++r) {
            for (int c = 0; c < chart.layout.nCols; ++c) {
                const cv::Point2d mm = chart.layout.DiscMm(c, r);
                discsMm.emplace_back(mm.x, mm.y, 0.0);
            }
        }
        const Simulator::Truth truth(machine);
        cv::Vec3d turn;
        cv::Vec3d place;
        cv::solvePnP(discsMm, truth.ChartCentres(Side::Left, chart), truth.CameraMatrix(Side::Left), cv::noArray(),
                     turn, place);
        cv::Matx33d cameraFromChart;
        cv::Rodrigues(turn, cameraFromChart);
        return std::acos(std::abs(cameraFromChart(2, 2))) * 180.0 / std::numbers::pi;
    }

    void Write(const Simulator::HeldChart& chart, const std::string& strName)
    {
        machine.HoldChart(chart);
        cv::Mat half;
        cv::resize(machine.Snap(Side::Left), half, {}, 0.5, 0.5, cv::INTER_AREA);
        if (!cv::imwrite(folder.Path(strName), half)) {
            ADD_FAILURE() << strName;
        }
    }

    TempFolder folder;
    Simulator::Machine machine;
    std::vector<double> distancesMm; ///< of the charts of 10 x 10 from the camera
    std::vector<double> tiltsDeg;    ///< of the same
};

class LensCommand : public testing::Test
{
protected:
    static void SetUpTestSuite() { s_pPhotographs = std::make_unique<Photographs>(); }
    static void TearDownTestSuite() { s_pPhotographs.reset(); }

    static QString Seven() { return QString::fromStdString(s_pPhotographs->folder.Path("seven")); }
    static QString Ten() { return QString::fromStdString(s_pPhotographs->folder.Path("ten")); }
    static cv::Mat Picture(const std::string& strName)
    {
        return cv::imread(s_pPhotographs->folder.Path("seven/" + strName));
    }

    QString Own(const std::string& strName) const { return QString::fromStdString(m_own.Path(strName)); }
    WorkbenchRun Run(const QStringList& listWords) const { return RunWorkbench(listWords, Own("")); }
    WorkbenchRun RunLens(const QString& strImages, const QStringList& listMore = {}) const
    {
        return Run(QStringList{"lens", "--images", strImages, "--out", Own("lens.xml")} + listMore);
    }

    /// A folder with the charts of 7 x 9, for a test to add to.
    std::string CopyOfSeven() const
    {
        std::filesystem::copy(Seven().toStdString(), m_own.Path("copy"));
        return m_own.Path("copy/");
    }

    struct Lens {
        // Of a size that a test may look into, also where nothing was written.
        cv::Mat camera = cv::Mat::zeros(3, 3, CV_64F);
        cv::Mat distortion = cv::Mat::zeros(1, 5, CV_64F);
        double dError = -1.0;
    };
    Lens Written(const std::string& strName = "lens.xml") const
    {
        Lens lens;
        EXPECT_TRUE(Korvane::CameraCalibration::LoadCameraParameters(m_own.Path(strName), lens.camera, lens.distortion,
                                                                     lens.dError));
        return lens;
    }

    static void ExpectTheTrueCamera(const Lens& lens)
    {
        const double dTruth = 0.5 * Simulator::Truth(s_pPhotographs->machine).CameraMatrix(Side::Left)(0, 0);
        EXPECT_NEAR(lens.camera.at<double>(0, 0), dTruth, 0.01 * dTruth);
        EXPECT_GT(lens.dError, 0.0);
        EXPECT_LT(lens.dError, 0.2);
    }

    static void ExpectSuccess(const WorkbenchRun& run)
    {
        EXPECT_EQ(run.nExitCode, 0);
        EXPECT_TRUE(run.strError.isEmpty()) << qPrintable(run.strError);
    }

    void ExpectFailure(const WorkbenchRun& run, int nCode, const QString& strNamed) const
    {
        EXPECT_EQ(run.nExitCode, nCode) << qPrintable(run.strError);
        EXPECT_TRUE(run.ErrorIsOneSentence()) << qPrintable(run.strError);
        EXPECT_TRUE(run.strError.contains(strNamed)) << qPrintable(run.strError);
        EXPECT_FALSE(std::filesystem::exists(m_own.Path("lens.xml")));
    }

    static QString LineOf(const WorkbenchRun& run, const QString& strName)
    {
        for (const QString& strLine : run.strOutput.split('\n')) {
            if (strLine.trimmed().startsWith(strName)) {
                return strLine.trimmed();
            }
        }
        return {};
    }

    TempFolder m_own;
    static std::unique_ptr<Photographs> s_pPhotographs;
};

std::unique_ptr<Photographs> LensCommand::s_pPhotographs;

} // namespace

TEST_F(LensCommand, AFolderOfChartsBecomesACamerasFileAndAPictureOfTheCoverage)
{
    const WorkbenchRun run = RunLens(Seven());
    ExpectSuccess(run);
    const Lens lens = Written();
    ExpectTheTrueCamera(lens);
    EXPECT_TRUE(run.strOutput.contains("5 of 5 pictures used")) << qPrintable(run.strOutput);
    EXPECT_TRUE(run.strOutput.contains(QString("residual %1 px rms").arg(lens.dError, 0, 'f', 3)));
    EXPECT_TRUE(run.strOutput.contains(QRegularExpression("charts cover [1-9][0-9] % of the picture")));
    EXPECT_FALSE(run.strOutput.contains("mm away"));
    const cv::Mat coverage = cv::imread(m_own.Path("lens_coverage.png"));
    EXPECT_GT(coverage.cols, 960);
    EXPECT_GT(coverage.rows, 720);
}

TEST_F(LensCommand, TheLensThatIsPrintedIsTheOneInTheFile)
{
    const WorkbenchRun run = RunLens(Seven());
    const Lens lens = Written();
    const auto entry = [&](int nRow, int nCol) { return lens.camera.at<double>(nRow, nCol); };
    EXPECT_EQ(LineOf(run, "focal length"),
              QString("focal length %1 x %2 px, principal point %3 %4 px, pictures of 1296 x 972 px")
                  .arg(entry(0, 0), 0, 'f', 2)
                  .arg(entry(1, 1), 0, 'f', 2)
                  .arg(entry(0, 2), 0, 'f', 2)
                  .arg(entry(1, 2), 0, 'f', 2));
    QString strTerms = "distortion";
    for (int i = 0; i < 5; ++i) {
        strTerms += QString(" %1").arg(lens.distortion.at<double>(i), 0, 'f', 6);
    }
    EXPECT_EQ(LineOf(run, "distortion"), strTerms);
    EXPECT_EQ(LineOf(run, "5 pictures"), "5 pictures in " + Seven() + ", chart of 7 x 9 discs");
}

TEST_F(LensCommand, TheWizardsEngineComesToTheSameLens)
{
    ExpectSuccess(RunLens(Seven()));
    CCameraCalibration engine;
    engine.SetImageDir(Seven().toStdString());
    ASSERT_TRUE(engine.CalibrateAndSave(m_own.Path("engine.xml")));
    const Lens command = Written();
    const Lens wizard = Written("engine.xml");
    // The engine takes the pictures in the order in which the folder has them.
    EXPECT_LT(cv::norm(command.camera, wizard.camera, cv::NORM_INF), 1.0e-3);
    EXPECT_LT(cv::norm(command.distortion, wizard.distortion, cv::NORM_INF), 1.0e-4);
    EXPECT_NEAR(command.dError, wizard.dError, 1.0e-6);
}

TEST_F(LensCommand, ViewsAreListedByNameWithWhatEachWasWorth)
{
    const WorkbenchRun run = RunLens(Seven());
    qsizetype nBefore = 0;
    double dSquares = 0.0;
    for (int i = 1; i <= g_nCharts; ++i) {
        const qsizetype nPlace = run.strOutput.indexOf(QString("  %1.png  used: ").arg(i));
        EXPECT_GT(nPlace, nBefore) << qPrintable(run.strOutput);
        nBefore = nPlace;
        const auto match = QRegularExpression("used: (0\\.[0-9]{2}) px rms, tilt [0-9]+ deg$")
                               .match(LineOf(run, QString("%1.png").arg(i)));
        EXPECT_TRUE(match.hasMatch()) << qPrintable(run.strOutput);
        dSquares += match.captured(1).toDouble() * match.captured(1).toDouble();
    }
    EXPECT_NEAR(std::sqrt(dSquares / g_nCharts), Written().dError, 0.01) << "the views' figures are those of the whole";
}

TEST_F(LensCommand, WhatIsLeftOutIsToldWithTheReason)
{
    const std::string strFolder = CopyOfSeven();
    const cv::Mat first = Picture("1.png");
    m_own.Write("copy/damaged.png", m_own.ReadAll("copy/2.png").left(20000));
    m_own.Write("copy/text.jpg", "this is no picture");
    m_own.Write("copy/notes.txt", "nor is this");
    ASSERT_TRUE(cv::imwrite(strFolder + "blank.png", cv::Mat(first.size(), CV_8UC3, cv::Scalar::all(128))));
    ASSERT_TRUE(cv::imwrite(strFolder + "small.png", first(cv::Rect(0, 0, 640, 480))));
    // Sheared, so that no pose of a flat chart explains it with the others' lens.
    cv::Mat sheared;
    const cv::Matx23d shear(1.0, 0.06, -0.06 * 486.0, 0.0, 0.97, 0.03 * 486.0);
    cv::warpAffine(first, sheared, shear, first.size(), cv::INTER_LINEAR, cv::BORDER_REPLICATE);
    ASSERT_TRUE(cv::imwrite(strFolder + "sheared.png", sheared));
    ASSERT_EQ(::mkfifo((strFolder + "pipe.png").c_str(), 0600), 0);

    const WorkbenchRun run = RunLens(QString::fromStdString(strFolder));
    ExpectSuccess(run);
    ExpectTheTrueCamera(Written());
    EXPECT_TRUE(run.strOutput.contains("5 of 10 pictures used")) << qPrintable(run.strOutput);
    EXPECT_TRUE(LineOf(run, "damaged.png").contains("left out: it cannot be read"));
    EXPECT_TRUE(LineOf(run, "text.jpg").contains("left out: it cannot be read"));
    EXPECT_TRUE(LineOf(run, "blank.png").contains("left out: no discs are seen")) << qPrintable(run.strOutput);
    EXPECT_TRUE(LineOf(run, "small.png").contains("left out: it has 640 x 480 px, most have 1296 x 972 px"));
    EXPECT_TRUE(LineOf(run, "sheared.png").contains("px rms off the lens of the others")) << qPrintable(run.strOutput);
}

TEST_F(LensCommand, PicturesInGreyOrWithAnAlphaChannelServeAsWell)
{
    const std::string strFolder = CopyOfSeven();
    cv::Mat grey;
    cv::cvtColor(Picture("1.png"), grey, cv::COLOR_BGR2GRAY);
    ASSERT_TRUE(cv::imwrite(strFolder + "1.png", grey));
    cv::Mat withAlpha;
    cv::cvtColor(Picture("2.png"), withAlpha, cv::COLOR_BGR2BGRA);
    ASSERT_TRUE(cv::imwrite(strFolder + "2.png", withAlpha));
    const WorkbenchRun run = RunLens(QString::fromStdString(strFolder));
    ExpectSuccess(run);
    EXPECT_TRUE(run.strOutput.contains("5 of 5 pictures used"));
}

TEST_F(LensCommand, PicturesOfEachFormatAreTaken)
{
    const std::string strFolder = CopyOfSeven();
    const char* const formats[] = {"1.JPG", "2.jpeg", "3.bmp", "4.tif", "5.TIFF"};
    for (const char* pName : formats) {
        const std::string strPng = std::string(1, *pName) + ".png";
        ASSERT_TRUE(cv::imwrite(strFolder + pName, Picture(strPng)));
        std::filesystem::remove(strFolder + strPng);
    }
    const WorkbenchRun run = RunLens(QString::fromStdString(strFolder));
    ExpectSuccess(run);
    for (const char* pName : formats) {
        EXPECT_TRUE(LineOf(run, pName).contains("used:")) << qPrintable(run.strOutput);
    }
}

TEST_F(LensCommand, APhotographThatSaysHowItWasTurnedIsTakenAsTheSensorDeliveredIt)
{
    const std::string strFolder = CopyOfSeven();
    std::vector<unsigned char> jpeg;
    ASSERT_TRUE(cv::imencode(".jpg", Picture("1.png"), jpeg, {cv::IMWRITE_JPEG_QUALITY, 98}));
    // Behind the begin of the file: a note that the picture stands right when it is turned by 90 degrees.
    constexpr char szNote[] = "\xFF\xE1\x00\x22"
                              "Exif\0\0"
                              "MM\0\x2A\0\0\0\x08"
                              "\0\x01\x01\x12\0\x03\0\0\0\x01\0\x06\0\0"
                              "\0\0\0\0";
    static_assert(sizeof szNote - 1 == 2 + 0x22);
    jpeg.insert(jpeg.begin() + 2, szNote, szNote + sizeof szNote - 1);
    m_own.Write("copy/1.jpg",
                QByteArray(reinterpret_cast<const char*>(jpeg.data()), static_cast<qsizetype>(jpeg.size())));
    std::filesystem::remove(strFolder + "1.png");
    ASSERT_EQ(cv::imread(strFolder + "1.jpg").cols, Picture("2.png").rows) << "others turn it";
    const WorkbenchRun run = RunLens(QString::fromStdString(strFolder));
    ExpectSuccess(run);
    EXPECT_TRUE(run.strOutput.contains("5 of 5 pictures used")) << qPrintable(run.strOutput);
}

TEST_F(LensCommand, OfTwoSizesThatAreAsFrequentTheFirstPicturesIsTaken)
{
    std::filesystem::create_directory(m_own.Path("mixed"));
    const cv::Mat small = cv::Mat(480, 640, CV_8UC3, cv::Scalar::all(128));
    for (const char* pName : {"1.png", "2.png", "3.png"}) {
        std::filesystem::copy((Seven() + "/" + pName).toStdString(), m_own.Path("mixed"));
        ASSERT_TRUE(cv::imwrite(m_own.Path(std::string("mixed/small") + pName), small));
    }
    const WorkbenchRun run = RunLens(Own("mixed"));
    ExpectSuccess(run);
    EXPECT_TRUE(run.strOutput.contains("3 of 6 pictures used")) << qPrintable(run.strOutput);
    EXPECT_TRUE(run.strOutput.contains("pictures of 1296 x 972 px")) << qPrintable(run.strOutput);
}

TEST_F(LensCommand, AnotherChartIsNamedByItsDiscsAndASpacingTellsDistances)
{
    const WorkbenchRun run = RunLens(Ten(), {"--chart", "10x10", "--spacing", "18"});
    ExpectSuccess(run);
    EXPECT_TRUE(run.strOutput.contains("3 of 3 pictures used")) << qPrintable(run.strOutput);
    for (int i = 1; i <= 3; ++i) {
        const auto match =
            QRegularExpression("tilt ([0-9]+) deg, ([0-9]+) mm away$").match(LineOf(run, QString("%1.png").arg(i)));
        EXPECT_NEAR(match.captured(1).toDouble(), s_pPhotographs->tiltsDeg[static_cast<std::size_t>(i - 1)], 1.5);
        const double dTruthMm = s_pPhotographs->distancesMm[static_cast<std::size_t>(i - 1)];
        EXPECT_NEAR(match.captured(2).toDouble(), dTruthMm, 0.03 * dTruthMm) << qPrintable(run.strOutput);
    }
}

TEST_F(LensCommand, TheCoverageGoesWhereItIsAskedFor)
{
    ExpectSuccess(RunLens(Seven(), {"--coverage", Own("field.jpg")}));
    EXPECT_FALSE(cv::imread(m_own.Path("field.jpg")).empty());
    EXPECT_FALSE(std::filesystem::exists(m_own.Path("lens_coverage.png")));
}

TEST_F(LensCommand, AFolderWithoutPicturesIsNamed)
{
    ExpectFailure(RunLens(Own("none")), g_nFailed, "There is no folder " + Own("none"));
    m_own.Write("notes.txt", "no picture");
    const WorkbenchRun run = RunLens(Own(""));
    ExpectFailure(run, g_nFailed, "There is no picture in " + Own(""));
    EXPECT_TRUE(run.strOutput.isEmpty());
    ExpectFailure(RunLens(Own("notes.txt")), g_nFailed, "There is no folder " + Own("notes.txt"));
}

TEST_F(LensCommand, PicturesThatShowNoChartTellNoLens)
{
    const WorkbenchRun run = RunLens(Ten());
    ExpectFailure(run, g_nFailed, "the chart is found in 0 of 3 pictures");
    EXPECT_TRUE(LineOf(run, "1.png").contains("left out: not a lattice of 7 x 9")) << qPrintable(run.strOutput);
    EXPECT_FALSE(std::filesystem::exists(m_own.Path("lens_coverage.png")));
}

TEST_F(LensCommand, TwoChartsAreTooFew)
{
    std::filesystem::create_directory(m_own.Path("two"));
    for (const char* pName : {"1.png", "2.png"}) {
        std::filesystem::copy((Seven() + "/" + pName).toStdString(), m_own.Path("two"));
    }
    m_own.Write("two/damaged.png", "no picture");
    const WorkbenchRun run = RunLens(Own("two"));
    ExpectFailure(run, g_nFailed, "the chart is found in 2 of 2 pictures, at least 3 are needed");
    EXPECT_TRUE(LineOf(run, "1.png").contains("chart found"));
}

TEST_F(LensCommand, OnlyDamagedPicturesTellNoLens)
{
    std::filesystem::create_directory(m_own.Path("bad"));
    m_own.Write("bad/a.png", "no picture");
    m_own.Write("bad/b.jpg", "");
    ExpectFailure(RunLens(Own("bad")), g_nFailed, "there are no pictures");
}

TEST_F(LensCommand, APlaceThatCannotBeWrittenIsToldBeforeTheWork)
{
    const auto lens = [&](const QString& strOut) { return Run({"lens", "--images", Seven(), "--out", strOut}); };
    ExpectFailure(lens(Own("none/lens.xml")), g_nFailed, "there is no folder " + Own("none"));
    ExpectFailure(lens(Own("")), g_nFailed, "it is a folder");
    // A pipe, since a program that failed here would put its file in the place of a device of the system.
    ASSERT_EQ(::mkfifo(m_own.Path("pipe").c_str(), 0600), 0);
    const WorkbenchRun pipe = lens(Own("pipe"));
    ExpectFailure(pipe, g_nFailed, "it is no file");
    EXPECT_TRUE(pipe.strOutput.isEmpty());
    EXPECT_TRUE(std::filesystem::is_fifo(m_own.Path("pipe")));
}

TEST_F(LensCommand, ACoverageThatCannotBeWrittenLeavesNoLensEither)
{
    const WorkbenchRun run = RunLens(Seven(), {"--coverage", Own("none/c.png")});
    ExpectFailure(run, g_nFailed, "The picture cannot be written to " + Own("none/c.png"));
    EXPECT_TRUE(run.strOutput.isEmpty()) << "told before the work";
    ExpectFailure(RunLens(Seven(), {"--coverage", Own("c.strange")}), g_nWrongUse, "c.strange");
    for (const char* pName : {"a.png", "./a.png", ".local/../a.png"}) {
        std::filesystem::create_directory(m_own.Path(".local"));
        ExpectFailure(Run({"lens", "--images", Seven(), "--out", Own("a.png"), "--coverage", Own(pName)}), g_nWrongUse,
                      "the same file");
    }
}

TEST_F(LensCommand, WhereOneOfItsTwoFilesCannotBeWrittenBothStayAsTheyWere)
{
    std::filesystem::create_directory(m_own.Path("out"));
    // A name that fits the disk, but not with what is written beside it.
    const std::string strLong(250, 'l');
    const struct {
        std::string strOut;
        std::string strCoverage;
    } rows[] = {{"out/lens.xml", "out/" + strLong + ".png"}, {"out/" + strLong + ".xml", "out/field.png"}};
    for (const auto& row : rows) {
        m_own.Write(row.strOut, "the lens of before");
        m_own.Write(row.strCoverage, "the field of before");
        const WorkbenchRun run =
            Run({"lens", "--images", Seven(), "--out", Own(row.strOut), "--coverage", Own(row.strCoverage)});
        ExpectFailure(run, g_nFailed, "cannot be written to " + Own("out/" + strLong));
        EXPECT_EQ(m_own.ReadAll(row.strOut), "the lens of before");
        EXPECT_EQ(m_own.ReadAll(row.strCoverage), "the field of before");
        const std::filesystem::directory_iterator entries(m_own.Path("out"));
        EXPECT_EQ(std::distance(begin(entries), end(entries)), 2) << "nothing else is left";
        std::filesystem::remove(m_own.Path(row.strOut));
        std::filesystem::remove(m_own.Path(row.strCoverage));
    }
}

TEST_F(LensCommand, TheCoverageOfAnEarlierRunIsNoPhotograph)
{
    const QString strFolder = QString::fromStdString(CopyOfSeven());
    for (int i = 0; i < 2; ++i) {
        const WorkbenchRun run = Run({"lens", "--images", strFolder, "--out", Own("copy/lens.xml")});
        ExpectSuccess(run);
        EXPECT_TRUE(run.strOutput.contains("5 of 5 pictures used")) << qPrintable(run.strOutput);
        EXPECT_TRUE(std::filesystem::exists(m_own.Path("copy/lens_coverage.png")));
    }
    // The name alone says nothing.
    std::filesystem::rename(m_own.Path("copy/1.png"), m_own.Path("copy/lens_coverage.png"));
    const WorkbenchRun elsewhere = RunLens(strFolder);
    EXPECT_TRUE(elsewhere.strOutput.contains("5 of 5 pictures used")) << qPrintable(elsewhere.strOutput);
}

/// The photographs are not part of the project. Where CTC_CHART_PHOTOS names their folder, this runs.
TEST_F(LensCommand, RealPhotographsGiveTheKnownFocalLengths)
{
    const char* pFolder = std::getenv("CTC_CHART_PHOTOS");
    if (pFolder == nullptr || !std::filesystem::is_directory(pFolder)) {
        GTEST_SKIP() << "CTC_CHART_PHOTOS names no folder";
    }
    const WorkbenchRun run = RunLens(pFolder, {"--chart", "10x10"});
    ExpectSuccess(run);
    EXPECT_TRUE(run.strOutput.contains("15 of 15 pictures used")) << qPrintable(run.strOutput);
    const Lens lens = Written();
    EXPECT_LT(lens.dError, 0.30);
    EXPECT_NEAR(lens.camera.at<double>(0, 0), 541.5, 0.005 * 541.5);
    EXPECT_NEAR(lens.camera.at<double>(1, 1), 542.8, 0.005 * 542.8);
}
