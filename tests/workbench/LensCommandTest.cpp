// The lens that the command "lens" finds, and what it says of each photograph.

#include "LensCommandFixture.h"

#include "CCameraCalibration.h"

#include <QRegularExpression>

#include <sys/stat.h>

#include <cstdlib>

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
    for (int i = 1; i <= LensPhotographs::CHARTS; ++i) {
        const qsizetype nPlace = run.strOutput.indexOf(QString("  %1.png  used: ").arg(i));
        EXPECT_GT(nPlace, nBefore) << qPrintable(run.strOutput);
        nBefore = nPlace;
        EXPECT_TRUE(LineOf(run, QString("%1.png").arg(i))
                        .contains(QRegularExpression("used: 0\\.[0-9]{2} px rms, tilt [0-9]+ deg$")));
    }
}

TEST_F(LensCommand, TheFiguresOfTheUsedPhotographsMakeUpTheResidual)
{
    // Noise, since two digits are printed.
    const std::string strFolder = CopyOfSeven();
    cv::RNG random(7);
    for (int i = 1; i <= LensPhotographs::CHARTS; ++i) {
        const std::string strName = std::to_string(i) + ".png";
        cv::Mat noise(972, 1296, CV_16SC3);
        random.fill(noise, cv::RNG::NORMAL, 0.0, 12.0);
        cv::Mat noisy;
        cv::add(Picture(strName), noise, noisy, cv::noArray(), CV_8U);
        ASSERT_TRUE(cv::imwrite(strFolder + strName, noisy));
    }
    const WorkbenchRun run = RunLens(QString::fromStdString(strFolder));
    ExpectSuccess(run);
    double dSquares = 0.0;
    int nUsed = 0;
    const QRegularExpression used("used: (0\\.[0-9]{2}) px rms");
    for (auto it = used.globalMatch(run.strOutput); it.hasNext(); ++nUsed) {
        const double dRmsPx = it.next().captured(1).toDouble();
        dSquares += dRmsPx * dRmsPx;
    }
    EXPECT_GT(Written().dError, 0.02);
    EXPECT_NEAR(std::sqrt(dSquares / nUsed), Written().dError, 0.006) << qPrintable(run.strOutput);
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
