// The linked operations are binary contracts too: a user's own library is used without a rebuild, so their names,
// argument types and results are held here, word for word, apart from the headers that callers and modules share.

#include "CalibrateExports.h"
#include "CrossPtsDetectDllR.h"
#include "FisheyeCalibrationDllR.h"
#include "KorvaneVision.h"
#include "ThreadDialog.h"
#include "Translator.h"
#include "UiPermissionsManager.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace
{

using Bytes = unsigned char*;
using Points = std::vector<CalibrationPoint>;
using Camera = FishEyeCalibrationParam;
using Pair = DualFishEyeCalibrationParam;
using Pixels = std::vector<cv::Point2f>;
using Text = std::string;
using cv::Mat;

#define EXPECT_SIGNATURE(operation, ...) EXPECT_TRUE((std::is_same_v<decltype(&operation), __VA_ARGS__>)) << #operation

} // namespace

TEST(Signatures, OfTheExports)
{
    EXPECT_SIGNATURE(NewInterface, Vision::ICalibrate * (*)());
    EXPECT_SIGNATURE(ReleaseInterface, void (*)(Vision::ICalibrate*));
}

TEST(Signatures, OfCrossPtsDetectDllR)
{
    EXPECT_SIGNATURE(Read_Image, bool (*)(Bytes&, long&, long&, int&, const char*));
    EXPECT_SIGNATURE(Save_Image, bool (*)(Bytes, long, long, int, const char*));
    EXPECT_SIGNATURE(ConvertRGBToGray, void (*)(Bytes, long, long, int, Bytes));
    EXPECT_SIGNATURE(LeftPtsRearrange, void (*)(Points&, int, int));
    EXPECT_SIGNATURE(RightPtsRearrange, void (*)(Points&, int, int));
    EXPECT_SIGNATURE(AddCalibrationPt_Coordinate, bool (*)(float, float, Points&));
    EXPECT_SIGNATURE(DeleteCalibrationPt_ID, bool (*)(int, Points&));
}

TEST(Signatures, OfFisheyeCalibrationDllR)
{
    EXPECT_SIGNATURE(SingleCamCalibration, bool (*)(Bytes, long, long, int, Points&, long, long, Camera&, double&));
    EXPECT_SIGNATURE(SaveCalibrationParam, bool (*)(const char*, Camera));
    EXPECT_SIGNATURE(LoadCalibrationParam, bool (*)(const char*, Camera&));
    EXPECT_SIGNATURE(SingleCamCorrected, bool (*)(Bytes, long, long, int, Camera, Bytes, long, long, Bytes));
    EXPECT_SIGNATURE(ComputeStitchedImageSize, bool (*)(Bytes, long, long, int, Camera, Points, Bytes, long, long, int,
                                                        Camera, Points, long&, long&, int&));
    EXPECT_SIGNATURE(FishEyeImageStitching, bool (*)(Bytes, long, long, int, Camera, Points, Bytes, long, long, int,
                                                     Camera, Points, Bytes, long, long, int, Pair&));
    EXPECT_SIGNATURE(SaveDualCamerasCalibrationParam, bool (*)(const char*, Pair));
    EXPECT_SIGNATURE(LoadDualCamerasCalibrationParam, bool (*)(const char*, Pair&));
    EXPECT_SIGNATURE(DualCam_CorrectedImageToWorldPoint, bool (*)(float, float, Pair, float&, float&, float&));
    EXPECT_SIGNATURE(DualCam_WorldToSecondCorrectedImagePoint, bool (*)(float, float, float, Pair, float&, float&));
}

TEST(Signatures, OfKorvaneVision)
{
    using namespace Korvane::CameraCalibration;
    using Flags = ImageDirFlags;
    EXPECT_TRUE((std::is_constructible_v<Flags, int, bool, bool>));
    EXPECT_SIGNATURE(LoadCameraParameters, bool (*)(const Text&, Mat&, Mat&, double&));
    EXPECT_SIGNATURE(SaveCameraParameters, bool (*)(const Text&, const Mat&, const Mat&, const double&));
    EXPECT_SIGNATURE(UnDistortedImage, bool (*)(const Mat&, Mat&, Mat&, const double&, const double&, Mat&));
    EXPECT_SIGNATURE(LoadHomography, bool (*)(const Text&, Mat&));
    EXPECT_SIGNATURE(SaveHomography, bool (*)(const Text&, const Mat&));
    EXPECT_SIGNATURE(DoBlendingImageForDualCam, bool (*)(const Mat&, const Flags&, const Mat&, const Flags&,
                                                         const double&, const double&, const Mat&, double&, Mat&));
    EXPECT_SIGNATURE(FindCalibrationBoard,
                     bool (*)(const Mat&, cv::Size, Pixels&, double&, int, const cv::Ptr<cv::Feature2D>&));
    EXPECT_SIGNATURE(GetLastError, Text(*)());
    EXPECT_SIGNATURE(CalibrateDistortedCamera, bool (*)(const std::vector<Mat>&, const cv::Size&, Mat&, Mat&, double&));
    EXPECT_SIGNATURE(CalibrationMatchPointsForDualCam,
                     bool (*)(const Mat&, const Flags&, const cv::Rect&, const Mat&, const Flags&, const cv::Rect&,
                              const double&, const double&, const double&, Pixels&, Pixels&));
    EXPECT_SIGNATURE(CreateMatchesImage,
                     bool (*)(const Mat&, const Flags&, const Mat&, const Flags&, const Pixels&, const Pixels&, Mat&));
    EXPECT_SIGNATURE(CreateHomography,
                     bool (*)(const Pixels&, const Pixels&, Mat&, double&, const double&, const int&, const double&));
    EXPECT_SIGNATURE(Korvane::UtilityFunctions::CalculateExpansionHomography, Mat(*)(const Mat&, double));
}

TEST(Signatures, OfTheHostsServices)
{
    EXPECT_SIGNATURE(ThreadDialogRun, int (*)(IThreadDialogOwner*, int, void*, int, const QString&));
    EXPECT_SIGNATURE(CTranslator::GetInstance, CTranslator * (*)());
    EXPECT_SIGNATURE(CTranslator::GetWording, QString(CTranslator::*)(const QString&));
    EXPECT_SIGNATURE(CUiPermissionsManager::GetInstance, CUiPermissionsManager * (*)());
    EXPECT_SIGNATURE(CUiPermissionsManager::GetThemeName, QString(CUiPermissionsManager::*)());
}
