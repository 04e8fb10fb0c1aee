#include "CCameraCalibration.h"
#include "ModuleDoubles.h"
#include "TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <opencv2/imgcodecs.hpp>

#include <QDir>

#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <type_traits>

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;

namespace
{

struct OpenCalibration : CCameraCalibration {
    using CCameraCalibration::m_cameraMatrix;
    using CCameraCalibration::m_dError;
    using CCameraCalibration::m_distCoeffs;
    using CCameraCalibration::m_dWorkAreaExtent;
    using CCameraCalibration::m_nBoardHeight;
    using CCameraCalibration::m_nBoardWidth;
    using CCameraCalibration::m_pCallback;
    using CCameraCalibration::m_pOwner;
    using CCameraCalibration::m_strDescrPath;
    using CCameraCalibration::m_strImageDir;
};

class CameraCalibration : public testing::Test
{
protected:
    CameraCalibration()
    {
        Doubles::Reset();
        calibration.SetImageDir(folder.Path());
    }

    /// A grey picture whose level tells which one it is.
    std::string Picture(const std::string& strName, int nLevel = 100) const
    {
        const cv::Mat picture(6, 8, CV_8UC1, cv::Scalar(nLevel));
        if (!cv::imwrite(folder.Path(strName), picture)) {
            ADD_FAILURE() << strName;
        }
        return folder.Path(strName);
    }
    void Pictures(int nCount) const
    {
        for (int i = 1; i <= nCount; ++i) {
            Picture(std::to_string(i) + ".png", 10 * i);
        }
    }
    CalibResult SetCamPara(double sx, double sy, int cx = 1296, int cy = 972, int width = 2592, int height = 1944)
    {
        return calibration.SetCamPara(0.0015, 0.0, sx, sy, cx, cy, width, height);
    }

    TempFolder folder;
    OpenCalibration calibration;
};

using Lines = std::vector<std::pair<int, std::string>>;

int g_nCallbacks = 0;

void CountCallback(CalibResult /*result*/, void* /*pOwner*/)
{
    ++g_nCallbacks;
}

} // namespace

TEST_F(CameraCalibration, BeginsWithoutAResult)
{
    EXPECT_FALSE(std::is_polymorphic_v<CCameraCalibration>);
    const OpenCalibration fresh;
    EXPECT_EQ(fresh.m_pOwner, nullptr);
    EXPECT_TRUE(fresh.m_cameraMatrix.empty());
    EXPECT_TRUE(fresh.m_distCoeffs.empty());
    EXPECT_EQ(fresh.m_dError, -1.0);
    EXPECT_EQ(fresh.m_dWorkAreaExtent, 1000.0);
    EXPECT_EQ(fresh.m_nBoardWidth, 7);
    EXPECT_EQ(fresh.m_nBoardHeight, 9);
    EXPECT_THAT(fresh.m_strImageDir, IsEmpty());
    EXPECT_THAT(fresh.m_strDescrPath, IsEmpty());
    EXPECT_THAT(Doubles::The().journal, IsEmpty());
}

TEST_F(CameraCalibration, KeepsTheDescriptionAndTheExtentAndReadsNeither)
{
    calibration.SetDescrPath("/none/caltab.descr");
    EXPECT_EQ(calibration.m_strDescrPath, "/none/caltab.descr");
    calibration.SetWorkAreaSize(900, -7);
    EXPECT_EQ(calibration.m_dWorkAreaExtent, 1050.0);
    calibration.SetWorkAreaSize(std::numeric_limits<int>::max(), 0);
    EXPECT_EQ(calibration.m_dWorkAreaExtent, 2147483797.0);
    Pictures(3);
    EXPECT_TRUE(calibration.CalibrateAndSave(folder.Path("lens.xml")));
    EXPECT_THAT(Doubles::The().logLines, IsEmpty());
}

TEST_F(CameraCalibration, TheCallbackIsKeptAndNeverCalled)
{
    g_nCallbacks = 0;
    calibration.SetCallback(CountCallback, this);
    EXPECT_EQ(calibration.m_pCallback, &CountCallback);
    EXPECT_EQ(calibration.m_pOwner, this);
    Pictures(3);
    EXPECT_TRUE(calibration.CalibrateAndSave(folder.Path("lens.xml")));
    SetCamPara(0.0, 0.0);
    double dError = 0.0;
    CCameraCalibration::InspectPicPass(folder.Path("1.png"), dError);
    EXPECT_EQ(g_nCallbacks, 0);
}

TEST_F(CameraCalibration, APixelSizeOfExactlyTheLimitIsRefusedAndTheUsualOnePasses)
{
    EXPECT_FALSE(SetCamPara(1e-06, 1.4e-06).m_bSuccess);
    EXPECT_FALSE(SetCamPara(1.4e-06, 1e-06).m_bSuccess);
    EXPECT_FALSE(SetCamPara(NAN, 1.4e-06).m_bSuccess);
    Doubles::Reset();
    const CalibResult usual = SetCamPara(1.4e-06, 1.4e-06);
    EXPECT_TRUE(usual.m_bSuccess);
    EXPECT_EQ(usual.m_nCode, 0);
    EXPECT_THAT(usual.m_strMessage, IsEmpty());
    EXPECT_THAT(Doubles::The().logLines, IsEmpty());
}

TEST_F(CameraCalibration, EveryNumberOfPixelsMustBeAboveZero)
{
    for (int i = 0; i < 4; ++i) {
        for (const int nBad : {0, -5}) {
            Doubles::Reset();
            int aNumbers[] = {1296, 972, 2592, 1944};
            aNumbers[i] = nBad;
            const CalibResult result = SetCamPara(1.4e-06, 1.4e-06, aNumbers[0], aNumbers[1], aNumbers[2], aNumbers[3]);
            EXPECT_FALSE(result.m_bSuccess);
            EXPECT_EQ(result.m_nCode, -1);
            EXPECT_EQ(result.m_strMessage, "parameters error");
            EXPECT_THAT(Doubles::The().logLines, ElementsAre(Pair(2, "SetCamPara err, params < 0")));
        }
    }
    EXPECT_TRUE(SetCamPara(1.4e-06, 1.4e-06, 1, 1, 1, 1).m_bSuccess);
}

TEST_F(CameraCalibration, FocusAndKappaAreNotLookedAt)
{
    EXPECT_TRUE(calibration.SetCamPara(-1.0, NAN, 1.4e-06, 1.4e-06, 1296, 972, 2592, 1944).m_bSuccess);
}

TEST_F(CameraCalibration, NineOfTheKindsOfPicturesInAFolderGoToTheModule)
{
    Pictures(9);
    folder.Write("notes.txt", "no picture");
    Picture("other.tif");
    ASSERT_TRUE(QDir(QString::fromStdString(folder.Path())).mkdir("folder.png"));
    EXPECT_TRUE(calibration.FindAllImgCalibObject());
    EXPECT_THAT(Doubles::The().journal, ElementsAre("CalibrateDistortedCamera(9 pictures, 7x9)"));
    EXPECT_THAT(Doubles::The().logLines, IsEmpty());
    std::vector<int> levels;
    for (const cv::Mat& picture : Doubles::The().chartPictures) {
        EXPECT_EQ(picture.type(), CV_8UC3);
        levels.push_back(picture.at<cv::Vec3b>(0, 0)[0]);
    }
    EXPECT_THAT(levels, ::testing::UnorderedElementsAre(10, 20, 30, 40, 50, 60, 70, 80, 90));
}

TEST_F(CameraCalibration, AllThreeKindsOfPictureFilesCount)
{
    Picture("a.jpg");
    Picture("b.png");
    Picture("c.bmp");
    EXPECT_TRUE(calibration.FindAllImgCalibObject());
    EXPECT_THAT(Doubles::The().journal, ElementsAre("CalibrateDistortedCamera(3 pictures, 7x9)"));
}

TEST_F(CameraCalibration, OtherEndingsAndHiddenFilesDoNotCount)
{
    Picture("1.PNG");
    Picture("2.jpeg");
    Picture("3.png.webp");
    Picture(".4.png");
    std::filesystem::create_directory(folder.Path("below"));
    Picture("below/5.png");
    EXPECT_TRUE(calibration.FindAllImgCalibObject());
    EXPECT_THAT(Doubles::The().journal, ElementsAre("CalibrateDistortedCamera(1 pictures, 7x9)"))
        << "large letters are the same ending";
    EXPECT_THAT(Doubles::The().logLines, IsEmpty());
}

TEST_F(CameraCalibration, AFolderBesideTheWorkingFolderIsLoggedByItsWholePath)
{
    const std::string strBad = folder.Write("1.png", "this is no picture");
    calibration.SetImageDir(std::filesystem::relative(folder.Path()));
    EXPECT_TRUE(calibration.FindAllImgCalibObject());
    // The folder for temporary files may be a link.
    const std::string strWhole = std::filesystem::canonical(strBad);
    EXPECT_THAT(Doubles::The().logLines,
                ElementsAre(Pair(2, "[FindAllImgCalibObject]Failed to load image:" + strWhole)));
}

TEST_F(CameraCalibration, AnUnreadablePictureAmongTenIsPassedOverWithOneLine)
{
    Pictures(9);
    const std::string strBad = folder.Write("10.png", "this is no picture");
    EXPECT_TRUE(calibration.FindAllImgCalibObject());
    EXPECT_THAT(Doubles::The().journal, ElementsAre("CalibrateDistortedCamera(9 pictures, 7x9)"));
    EXPECT_THAT(Doubles::The().logLines, ElementsAre(Pair(2, "[FindAllImgCalibObject]Failed to load image:" + strBad)));
}

TEST_F(CameraCalibration, APipeAmongThePicturesIsNotWaitedFor)
{
    Pictures(3);
    const std::string strPipe = folder.Path("pipe");
    ASSERT_EQ(::mkfifo(strPipe.c_str(), 0600), 0);
    std::filesystem::create_symlink(strPipe, folder.Path("4.png"));
    EXPECT_TRUE(calibration.FindAllImgCalibObject());
    EXPECT_THAT(Doubles::The().journal, ElementsAre("CalibrateDistortedCamera(3 pictures, 7x9)"));
    double dError = 0.0;
    Doubles::The().answers["FindCalibrationBoard"] = false;
    EXPECT_FALSE(CCameraCalibration::InspectPicPass(strPipe, dError));
}

TEST_F(CameraCalibration, AFolderNameInLocalTextIsFound)
{
    const std::string strDir = folder.Path("Bilder für links");
    ASSERT_TRUE(std::filesystem::create_directory(strDir));
    Picture("Bilder für links/ä.png");
    calibration.SetImageDir(strDir + "/");
    EXPECT_TRUE(calibration.FindAllImgCalibObject());
    EXPECT_THAT(Doubles::The().journal, ElementsAre("CalibrateDistortedCamera(1 pictures, 7x9)"));
}

TEST_F(CameraCalibration, AnEmptyFolderIsHandedOnAsItStands)
{
    Doubles::The().answers["CalibrateDistortedCamera"] = false;
    EXPECT_FALSE(calibration.FindAllImgCalibObject());
    EXPECT_THAT(Doubles::The().journal, ElementsAre("CalibrateDistortedCamera(0 pictures, 7x9)"));
    calibration.SetImageDir(folder.Path("none"));
    EXPECT_FALSE(calibration.FindAllImgCalibObject());
    EXPECT_EQ(Doubles::The().Count("CalibrateDistortedCamera"), 2);
    EXPECT_THAT(Doubles::The().logLines, IsEmpty());
}

TEST_F(CameraCalibration, TheChartsSizeIsNotReadFromTheMembers)
{
    calibration.m_nBoardWidth = 10;
    calibration.m_nBoardHeight = 10;
    EXPECT_TRUE(calibration.FindAllImgCalibObject());
    EXPECT_THAT(Doubles::The().journal, ElementsAre("CalibrateDistortedCamera(0 pictures, 7x9)"));
}

TEST_F(CameraCalibration, WhatTheModuleFindsStaysInTheMembers)
{
    calibration.m_dError = 7.0;
    EXPECT_TRUE(calibration.FindAllImgCalibObject());
    EXPECT_EQ(Doubles::The().dLensErrorBefore, -1.0);
    EXPECT_EQ(calibration.m_cameraMatrix.at<double>(0, 0), 800.0);
    EXPECT_EQ(calibration.m_distCoeffs.total(), 5U);
    EXPECT_EQ(calibration.m_dError, 0.25);
    EXPECT_TRUE(calibration.CheckResult());
}

TEST_F(CameraCalibration, ASuccessIsWrittenAndLeavesNoResult)
{
    Pictures(9);
    EXPECT_TRUE(calibration.CalibrateAndSave("/data/Output/cameraL_calibrateMap.xml"));
    EXPECT_THAT(Doubles::The().journal,
                ElementsAre("CalibrateDistortedCamera(9 pictures, 7x9)",
                            "SaveCameraParameters(Output/cameraL_calibrateMap.xml focal length 800, 5 terms, error "
                            "0.250000)"));
    EXPECT_EQ(calibration.m_dError, -1.0);
    EXPECT_TRUE(calibration.m_cameraMatrix.empty());
    EXPECT_TRUE(calibration.m_distCoeffs.empty());
    EXPECT_TRUE(calibration.CheckResult());
}

TEST_F(CameraCalibration, PicturesThatTheModuleRefusesAreNotSaved)
{
    Pictures(9);
    Doubles::The().answers["CalibrateDistortedCamera"] = false;
    EXPECT_FALSE(calibration.CalibrateAndSave("/data/Output/lens.xml"));
    EXPECT_EQ(Doubles::The().Count("SaveCameraParameters"), 0);
    EXPECT_EQ(calibration.m_dError, -1.0);
    EXPECT_THAT(Doubles::The().logLines, IsEmpty());
}

TEST_F(CameraCalibration, AFileThatCannotBeSavedLeavesTheMatricesUntilTheNextRun)
{
    Doubles::The().answers["SaveCameraParameters"] = false;
    EXPECT_FALSE(calibration.CalibrateAndSave("/data/Output/lens.xml"));
    EXPECT_FALSE(calibration.m_cameraMatrix.empty());
    EXPECT_FALSE(calibration.m_distCoeffs.empty());
    EXPECT_EQ(calibration.m_dError, 0.25);
    EXPECT_THAT(Doubles::The().logLines, IsEmpty());
    Doubles::The().answers["SaveCameraParameters"] = true;
    EXPECT_TRUE(calibration.CalibrateAndSave("/data/Output/lens.xml"));
    EXPECT_TRUE(calibration.m_cameraMatrix.empty());
}

TEST_F(CameraCalibration, AModuleThatThrowsIsAFailure)
{
    Pictures(1);
    double dError = 0.0;
    for (const char* pOperation : {"CalibrateDistortedCamera", "SaveCameraParameters", "FindCalibrationBoard"}) {
        Doubles::Reset();
        Doubles::The().throwFrom[pOperation] = "thrown by the module";
        const bool bInspects = std::string(pOperation) == "FindCalibrationBoard";
        EXPECT_FALSE(bInspects ? CCameraCalibration::InspectPicPass(folder.Path("1.png"), dError)
                               : calibration.CalibrateAndSave("/data/lens.xml"));
        const Lines& lines = Doubles::The().logLines;
        EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [](const auto& line) {
            return line.second.find("thrown by the module") != std::string::npos;
        })) << pOperation;
    }
}

TEST_F(CameraCalibration, AChartThatIsFoundAtOncePasses)
{
    const std::string strPath = Picture("7.png");
    double dError = 9.0;
    EXPECT_TRUE(CCameraCalibration::InspectPicPass(strPath, dError));
    EXPECT_EQ(dError, 0.5);
    EXPECT_THAT(Doubles::The().journal, ElementsAre("FindCalibrationBoard(7x9)"));
    const Doubles::BoardSearch& search = Doubles::The().boardSearches.front();
    EXPECT_EQ(search.picture.size(), cv::Size(8, 6));
    EXPECT_EQ(search.picture.type(), CV_8UC3);
    EXPECT_EQ(search.nFlags, 1);
    EXPECT_EQ(search.nPoints, 0U);
    EXPECT_EQ(search.dError, -1.0);
    ASSERT_NE(search.detector, nullptr);
    EXPECT_THAT(search.detector->getDefaultName(), HasSubstr("SimpleBlobDetector"));
    EXPECT_THAT(Doubles::The().logLines,
                ElementsAre(Pair(1, "[CCameraCalibration::InspectPicPass]Start"),
                            Pair(1, "[CCameraCalibration::InspectPicPass]imread succeed : " + strPath + " "),
                            Pair(1, "[CCameraCalibration::InspectPicPass]End!")));
}

TEST_F(CameraCalibration, AChartThatIsFoundOnlyTurnedPassesAfterOneLine)
{
    const std::string strPath = Picture("7.png");
    Doubles::The().failAt["FindCalibrationBoard"] = 1;
    double dError = 9.0;
    EXPECT_TRUE(CCameraCalibration::InspectPicPass(strPath, dError));
    EXPECT_EQ(dError, 0.5);
    EXPECT_THAT(Doubles::The().journal,
                ElementsAre("FindCalibrationBoard(7x9)", "GetLastError()", "FindCalibrationBoard(9x7)"));
    const auto& searches = Doubles::The().boardSearches;
    EXPECT_EQ(searches[0].pPoints, searches[1].pPoints);
    EXPECT_EQ(searches[1].nPoints, 2U) << "the list of the first try goes on to the second";
    EXPECT_EQ(searches[0].pError, searches[1].pError);
    EXPECT_EQ(searches[1].dError, 0.5);
    EXPECT_NE(searches[0].detector, searches[1].detector);
    EXPECT_EQ(searches[1].nFlags, 1);
    EXPECT_THAT(Doubles::The().logLines,
                ElementsAre(Pair(1, "[CCameraCalibration::InspectPicPass]Start"),
                            Pair(1, "[CCameraCalibration::InspectPicPass]imread succeed : " + strPath + " "),
                            Pair(2, "[CCameraCalibration::InspectPicPass]FindCalibrationBoard first time failed : no "
                                    "discs are seen"),
                            Pair(1, "[CCameraCalibration::InspectPicPass]End!")));
    EXPECT_TRUE(calibration.FindAllImgCalibObject());
    EXPECT_EQ(Doubles::The().journal.back(), "CalibrateDistortedCamera(1 pictures, 7x9)");
}

TEST_F(CameraCalibration, AnUnreadablePathIsToldAsReadAndFailsTwiceInTheModule)
{
    const std::string strPath = folder.Path("none.png");
    Doubles::The().answers["FindCalibrationBoard"] = false;
    Doubles::The().dBoardError = 77.0;
    double dError = 9.0;
    EXPECT_FALSE(CCameraCalibration::InspectPicPass(strPath, dError));
    EXPECT_EQ(dError, 77.0) << "what the module left there";
    EXPECT_THAT(Doubles::The().journal, ElementsAre("FindCalibrationBoard(7x9)", "GetLastError()",
                                                    "FindCalibrationBoard(9x7)", "GetLastError()"));
    EXPECT_TRUE(Doubles::The().boardSearches[0].picture.empty());
    EXPECT_THAT(Doubles::The().logLines,
                ElementsAre(Pair(1, "[CCameraCalibration::InspectPicPass]Start"),
                            Pair(1, "[CCameraCalibration::InspectPicPass]imread succeed : " + strPath + " "),
                            Pair(2, "[CCameraCalibration::InspectPicPass]FindCalibrationBoard first time failed : no "
                                    "discs are seen"),
                            Pair(2, "[CCameraCalibration::InspectPicPass]FindCalibrationBoard second time failed : no "
                                    "discs are seen"),
                            Pair(1, "[CCameraCalibration::InspectPicPass]End!")));
}

TEST_F(CameraCalibration, AModuleThatLeavesTheErrorAloneGivesMinusOne)
{
    Doubles::The().answers["FindCalibrationBoard"] = false;
    Doubles::The().dBoardError.reset();
    double dError = 9.0;
    EXPECT_FALSE(CCameraCalibration::InspectPicPass(folder.Path("none.png"), dError));
    EXPECT_EQ(dError, -1.0);
}

TEST_F(CameraCalibration, ALargeErrorDecidesNothing)
{
    Doubles::The().dBoardError = 1.0e9;
    double dError = 0.0;
    EXPECT_TRUE(CCameraCalibration::InspectPicPass(Picture("7.png"), dError));
    EXPECT_EQ(dError, 1.0e9);
}
