#include "ModuleDoubles.h"

#include "CrossPtsDetectDllR.h"
#include "FisheyeCalibrationDllR.h"
#include "KorvaneVision.h"
#include "Log.h"
#include "Translator.h"
#include "UiPermissionsManager.h"

#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <mutex>
#include <numeric>

namespace Doubles
{

int State::Count(const std::string& strName) const
{
    return static_cast<int>(std::count_if(journal.begin(), journal.end(), [&](const std::string& strLine) {
        return strLine.rfind(strName + "(", 0) == 0;
    }));
}

bool State::Logged(int nLevel, const std::string& strText) const
{
    return std::find(logLines.begin(), logLines.end(), std::make_pair(nLevel, strText)) != logLines.end();
}

State& The()
{
    static State state;
    return state;
}

void Reset()
{
    The() = State();
}

} // namespace Doubles

namespace
{

std::string BaseName(const std::string& strFile)
{
    return strFile.substr(strFile.find_last_of('/') + 1);
}

/// Journals the call, throws if told to, and gives the set answer.
bool Call(const std::string& strName, const std::string& strArguments)
{
    Doubles::State& state = Doubles::The();
    state.journal.push_back(strName + "(" + strArguments + ")");
    if (state.throwFrom.count(strName) != 0) {
        throw cv::Exception(-1, state.throwFrom[strName], strName, "double", 0);
    }
    if (state.strThrowInt == strName) {
        throw 7;
    }
    if (state.failAt.count(strName) != 0 && state.Count(strName) == state.failAt[strName]) {
        return false;
    }
    return state.answers.count(strName) == 0 || state.answers[strName];
}

std::string Folder(const std::string& strFile)
{
    const std::string strFolder = strFile.substr(0, strFile.find_last_of('/'));
    return BaseName(strFolder) + "/" + BaseName(strFile);
}

std::string SizeText(const cv::Size& size)
{
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}

std::string Ids(const std::vector<CalibrationPoint>& points)
{
    return std::accumulate(points.begin(), points.end(), std::string(),
                           [](const std::string& strIds, const CalibrationPoint& point) {
                               return strIds + std::to_string(point.nId) + ",";
                           });
}

/// One camera's part of a call.
std::string Side(const unsigned char* pData, long width, long height, int bits, const FishEyeCalibrationParam& param,
                 const std::vector<CalibrationPoint>& points)
{
    return (pData ? "first byte " + std::to_string(pData[0]) : std::string("null")) + " " + std::to_string(width) +
           "x" + std::to_string(height) + " " + std::to_string(bits) + " record " +
           std::to_string(static_cast<int>(param.words[0])) + " ids " + Ids(points);
}

} // namespace

void ILog_WriteLog(int nLevel, const char* pText)
{
    // Threads log as well; a test reads the lines when they have ended.
    static std::mutex mutex;
    const std::lock_guard<std::mutex> lock(mutex);
    Doubles::The().logLines.emplace_back(nLevel, pText);
}

void ILog_WriteLogF(int nLevel, const char* pFormat, ...)
{
    std::va_list arguments, again;
    va_start(arguments, pFormat);
    va_copy(again, arguments);
    const int nLength = std::vsnprintf(nullptr, 0, pFormat, arguments);
    std::string strText(static_cast<std::size_t>(std::max(nLength, 0)), '\0');
    std::vsnprintf(strText.data(), strText.size() + 1, pFormat, again);
    va_end(again);
    va_end(arguments);
    ILog_WriteLog(nLevel, strText.c_str());
}

CTranslator* CTranslator::GetInstance()
{
    static CTranslator translator;
    return &translator;
}

QString CTranslator::GetWording(const QString& strKey)
{
    const auto& wordings = Doubles::The().wordings;
    const auto found = wordings.find(strKey);
    return found == wordings.end() ? strKey : found->second;
}

CUiPermissionsManager* CUiPermissionsManager::GetInstance()
{
    static CUiPermissionsManager manager;
    return &manager;
}

QString CUiPermissionsManager::GetThemeName()
{
    return Doubles::The().strTheme;
}

bool Read_Image(unsigned char*& pixels, long& width, long& height, int& bits, const char* file)
{
    if (!Call("Read_Image", BaseName(file))) {
        return false;
    }
    const cv::Mat picture = cv::imread(file, cv::IMREAD_UNCHANGED);
    if (picture.empty()) {
        return false;
    }
    // Kept to the end of the process, as the contract lets the module do.
    static std::vector<cv::Mat> kept;
    kept.push_back(picture);
    pixels = picture.data;
    width = picture.cols;
    height = picture.rows;
    bits = Doubles::The().nReadBits != 0 ? Doubles::The().nReadBits : 8 * picture.channels();
    return true;
}

bool Save_Image(unsigned char* pixels, long width, long height, int bits, const char* file)
{
    if (!Call("Save_Image", BaseName(file) + " " + std::to_string(width) + "x" + std::to_string(height) + " " +
                                std::to_string(bits))) {
        return false;
    }
    const cv::Mat picture(static_cast<int>(height), static_cast<int>(width), CV_8UC(bits / 8), pixels);
    const cv::Mat& instead = Doubles::The().savedInstead;
    return cv::imwrite(file, instead.empty() ? picture : instead);
}

// Writes all that the real one writes, so that a buffer which is too small shows itself under the sanitizers.
void ConvertRGBToGray(unsigned char*, long width, long height, int bits, unsigned char* dst)
{
    Call("ConvertRGBToGray", std::to_string(bits));
    std::memset(dst, 99, static_cast<std::size_t>(width * height));
}

void LeftPtsRearrange(std::vector<CalibrationPoint>& points, int row, int col)
{
    Call("LeftPtsRearrange", Ids(points) + " " + std::to_string(row) + "x" + std::to_string(col));
    if (Doubles::The().rearrange) {
        Doubles::The().rearrange(points);
    }
}

void RightPtsRearrange(std::vector<CalibrationPoint>& points, int row, int col)
{
    Call("RightPtsRearrange", Ids(points) + " " + std::to_string(row) + "x" + std::to_string(col));
    if (Doubles::The().rearrange) {
        Doubles::The().rearrange(points);
    }
}

bool AddCalibrationPt_Coordinate(float x, float y, std::vector<CalibrationPoint>& points)
{
    if (!Call("AddCalibrationPt_Coordinate", "")) {
        return false;
    }
    CalibrationPoint point;
    point.nId = static_cast<int>(points.size()) + 1;
    point.fImageX = x;
    point.fImageY = y;
    points.push_back(point);
    return true;
}

bool DeleteCalibrationPt_ID(int id, std::vector<CalibrationPoint>& points)
{
    const bool bOk = Call("DeleteCalibrationPt_ID", std::to_string(id));
    const auto found =
        std::find_if(points.begin(), points.end(), [=](const CalibrationPoint& point) { return point.nId == id; });
    if (found != points.end()) {
        points.erase(found);
    }
    return bOk;
}

bool SingleCamCalibration(unsigned char* gray, long width, long height, int bits, std::vector<CalibrationPoint>& points,
                          long outWidth, long outHeight, FishEyeCalibrationParam& param, double& error)
{
    Doubles::State& state = Doubles::The();
    state.calibrated = points;
    state.calibratedGrey.assign(gray, gray ? gray + width * height : gray);
    error = state.dResidual;
    param.words[0] = 29.0;
    return Call("SingleCamCalibration", std::to_string(width) + "x" + std::to_string(height) + " " +
                                            std::to_string(bits) + " to " + std::to_string(outWidth) + "x" +
                                            std::to_string(outHeight));
}

bool SaveCalibrationParam(const char* path, FishEyeCalibrationParam param)
{
    return Call("SaveCalibrationParam", Folder(path) + " record " + std::to_string(static_cast<int>(param.words[0])));
}

bool SaveDualCamerasCalibrationParam(const char* path, DualFishEyeCalibrationParam param)
{
    return Call("SaveDualCamerasCalibrationParam", Folder(path) + " record " + std::to_string(param.words[0]));
}

bool LoadCalibrationParam(const char* file, FishEyeCalibrationParam& param)
{
    const bool bOk = Call("LoadCalibrationParam", BaseName(file));
    if (bOk) {
        param.words[0] = BaseName(file)[0] == 'L' ? 1.0 : 2.0;
    }
    return bOk;
}

bool SingleCamCorrected(unsigned char*, long srcWidth, long srcHeight, int bits, FishEyeCalibrationParam param,
                        unsigned char* dst, long dstWidth, long dstHeight, unsigned char* mask)
{
    Doubles::The().bCorrectedNull = dst == nullptr;
    if (dst) {
        std::memset(dst, 88, static_cast<std::size_t>(dstWidth * dstHeight) * static_cast<std::size_t>(bits) / 8);
    }
    return Call("SingleCamCorrected",
                std::to_string(srcWidth) + "x" + std::to_string(srcHeight) + " " + std::to_string(bits) + " record " +
                    std::to_string(static_cast<int>(param.words[0])) + " to " + std::to_string(dstWidth) + "x" +
                    std::to_string(dstHeight) + (mask ? " mask" : ""));
}

bool ComputeStitchedImageSize(unsigned char* leftData, long leftWidth, long leftHeight, int leftBits,
                              FishEyeCalibrationParam leftParam, std::vector<CalibrationPoint> leftPoints,
                              unsigned char* rightData, long rightWidth, long rightHeight, int rightBits,
                              FishEyeCalibrationParam rightParam, std::vector<CalibrationPoint> rightPoints,
                              long& outWidth, long& outHeight, int& outBits)
{
    const std::string strBefore =
        std::to_string(outWidth) + "x" + std::to_string(outHeight) + " " + std::to_string(outBits);
    const bool bOk =
        Call("ComputeStitchedImageSize",
             Side(leftData, leftWidth, leftHeight, leftBits, leftParam, leftPoints) + "; " +
                 Side(rightData, rightWidth, rightHeight, rightBits, rightParam, rightPoints) + "; from " + strBefore);
    if (bOk) {
        outWidth = Doubles::The().nStitchWidth;
        outHeight = Doubles::The().nStitchHeight;
        outBits = Doubles::The().nStitchBits;
    }
    return bOk;
}

bool FishEyeImageStitching(unsigned char* leftData, long leftWidth, long leftHeight, int leftBits,
                           FishEyeCalibrationParam leftParam, std::vector<CalibrationPoint> leftPoints,
                           unsigned char* rightData, long rightWidth, long rightHeight, int rightBits,
                           FishEyeCalibrationParam rightParam, std::vector<CalibrationPoint> rightPoints,
                           unsigned char* out, long outWidth, long outHeight, int outBits,
                           DualFishEyeCalibrationParam& dualParam)
{
    Doubles::State& state = Doubles::The();
    const bool bOk =
        Call("FishEyeImageStitching", Side(leftData, leftWidth, leftHeight, leftBits, leftParam, leftPoints) + "; " +
                                          Side(rightData, rightWidth, rightHeight, rightBits, rightParam, rightPoints) +
                                          "; to " + (out ? "" : "null ") + std::to_string(outWidth) + "x" +
                                          std::to_string(outHeight) + " " + std::to_string(outBits));
    const std::size_t nBytes = static_cast<std::size_t>(outWidth * outHeight * outBits / 8);
    if (out && nBytes > 0) {
        state.bStitchBufferZero = std::all_of(out, out + nBytes, [](unsigned char n) { return n == 0; });
        std::memset(out, state.nStitchGrey, nBytes);
    }
    state.stitchedLeft = leftPoints;
    state.stitchedRight = rightPoints;
    dualParam.words[0] = 7;
    return bOk;
}

bool LoadDualCamerasCalibrationParam(const char* file, DualFishEyeCalibrationParam&)
{
    return Call("LoadDualCamerasCalibrationParam", BaseName(file));
}

bool DualCam_CorrectedImageToWorldPoint(float x, float y, DualFishEyeCalibrationParam, float& worldX, float& worldY,
                                        float& worldZ)
{
    const bool bOk = Call("DualCam_CorrectedImageToWorldPoint", "");
    worldX = x / 6.0f - Doubles::The().fPairX;
    worldY = y / 6.0f - Doubles::The().fPairY;
    worldZ = 5.0f;
    return bOk;
}

bool DualCam_WorldToSecondCorrectedImagePoint(float worldX, float worldY, float worldZ, DualFishEyeCalibrationParam,
                                              float& x, float& y)
{
    const bool bOk = Call("DualCam_WorldToSecondCorrectedImagePoint", "z " + std::to_string(static_cast<int>(worldZ)));
    x = 6.0f * ((Doubles::The().bMirrorPair ? -worldX : worldX) + Doubles::The().fPairX);
    y = 6.0f * (worldY + Doubles::The().fPairY);
    return bOk;
}

namespace Korvane::CameraCalibration
{

ImageDirFlags::ImageDirFlags(int rotateCode, bool mirrorX, bool mirrorY)
    : nRotateCode(rotateCode), bMirrorX(mirrorX), bMirrorY(mirrorY)
{
    Call("ImageDirFlags", std::to_string(rotateCode) + "," + (mirrorX ? "1" : "0") + "," + (mirrorY ? "1" : "0"));
}

bool LoadCameraParameters(const std::string& file, cv::Mat& cameraMatrix, cv::Mat& distortion, double& error)
{
    Doubles::The().dLoadError = error;
    const bool bOk = Call("LoadCameraParameters", Folder(file));
    if (bOk) {
        const double dSide = BaseName(file)[6] == 'L' ? 1.0 : 2.0;
        cameraMatrix = cv::Mat(1, 1, CV_64F, cv::Scalar(10.0 * dSide));
        distortion = cv::Mat(1, 1, CV_64F, cv::Scalar(dSide));
    }
    return bOk;
}

bool UnDistortedImage(const cv::Mat& src, cv::Mat& cameraMatrix, cv::Mat& distortion, const double& a, const double& b,
                      cv::Mat& dst)
{
    Doubles::The().undistortWith.push_back(cameraMatrix.at<double>(0, 0));
    Doubles::The().undistortWith.push_back(distortion.at<double>(0, 0));
    Doubles::The().dScaleA = a;
    Doubles::The().dScaleB = b;
    const bool bOk = Call("UnDistortedImage", "");
    if (bOk) {
        dst = src.clone();
    }
    return bOk;
}

bool LoadHomography(const std::string& file, cv::Mat& homography)
{
    const bool bOk = Call("LoadHomography", Folder(file));
    if (bOk) {
        homography = Doubles::The().homography.clone();
    }
    return bOk;
}

/// Writes the first number of the matrix.
bool SaveHomography(const std::string& path, const cv::Mat& homography)
{
    const std::string strMatrix =
        homography.empty() ? "empty" : std::to_string(static_cast<int>(homography.at<double>(0, 0)));
    const bool bOk = Call("SaveHomography", Folder(path) + " " + strMatrix);
    if (bOk) {
        std::ofstream(path) << strMatrix;
    }
    return bOk;
}

bool CreateHomography(const std::vector<cv::Point2f>& source, const std::vector<cv::Point2f>& target,
                      cv::Mat& homography, double& error, const double& threshold, const int& iterations,
                      const double& confidence)
{
    std::vector<Doubles::Fit>& fits = Doubles::The().fits;
    fits.push_back({source, target, error, threshold, confidence, iterations});
    const bool bOk = Call("CreateHomography", "");
    homography = bOk ? cv::Mat(static_cast<double>(fits.size()) * cv::Mat::eye(3, 3, CV_64F)) : cv::Mat();
    return bOk != Doubles::The().bFitAnswersContrary;
}

bool CalibrationMatchPointsForDualCam(const cv::Mat& left, const ImageDirFlags&, const cv::Rect& leftRoi,
                                      const cv::Mat& right, const ImageDirFlags&, const cv::Rect& rightRoi,
                                      const double& a, const double& b, const double& ratio,
                                      std::vector<cv::Point2f>& first, std::vector<cv::Point2f>& second)
{
    Doubles::State& state = Doubles::The();
    state.matchings.push_back({left, right, leftRoi, rightRoi, a, b, ratio, first.size() + second.size()});
    first = state.matchedFirst;
    second = state.matchedSecond;
    return Call("CalibrationMatchPointsForDualCam", "");
}

bool CreateMatchesImage(const cv::Mat&, const ImageDirFlags&, const cv::Mat&, const ImageDirFlags&,
                        const std::vector<cv::Point2f>& first, const std::vector<cv::Point2f>& second, cv::Mat& out)
{
    const bool bOk = Call("CreateMatchesImage", std::to_string(first.size()) + "," + std::to_string(second.size()) +
                                                    (out.empty() ? "" : " not empty"));
    out = Doubles::The().matchesPicture.clone();
    return bOk;
}

bool DoBlendingImageForDualCam(const cv::Mat& left, const ImageDirFlags& leftFlags, const cv::Mat& right,
                               const ImageDirFlags& rightFlags, const double& a, const double& b,
                               const cv::Mat& homography, double& score, cv::Mat& dst)
{
    Doubles::The().blends.push_back({left, right, homography, &leftFlags == &rightFlags});
    Doubles::The().dScaleA = a;
    Doubles::The().dScaleB = b;
    Doubles::The().dBlendScore = score;
    const bool bOk = Call("DoBlendingImageForDualCam", "");
    dst = Doubles::The().bBlendEmpty ? cv::Mat() : left.clone();
    return bOk;
}

bool FindCalibrationBoard(const cv::Mat& image, cv::Size boardSize, std::vector<cv::Point2f>& points, double& error,
                          int flags, const cv::Ptr<cv::Feature2D>& detector)
{
    Doubles::State& state = Doubles::The();
    state.boardSearches.push_back({image, boardSize, points.size(), &points, error, &error, flags, detector});
    const bool bOk = Call("FindCalibrationBoard", SizeText(boardSize));
    if (state.dBoardError) {
        error = *state.dBoardError;
    }
    points.resize(2, cv::Point2f(3.0f, 4.0f));
    return bOk;
}

std::string GetLastError()
{
    Call("GetLastError", "");
    return Doubles::The().strLastError;
}

bool CalibrateDistortedCamera(const std::vector<cv::Mat>& images, const cv::Size& boardSize, cv::Mat& cameraMatrix,
                              cv::Mat& distCoeffs, double& error)
{
    Doubles::State& state = Doubles::The();
    state.chartPictures = images;
    state.dLensErrorBefore = error;
    const bool bOk =
        Call("CalibrateDistortedCamera", std::to_string(images.size()) + " pictures, " + SizeText(boardSize));
    if (bOk) {
        cameraMatrix = (cv::Mat_<double>(3, 3) << 800.0, 0.0, 320.0, 0.0, 801.0, 240.0, 0.0, 0.0, 1.0);
        distCoeffs = (cv::Mat_<double>(1, 5) << -0.1, 0.01, 0.0, 0.0, 0.0);
        error = 0.25;
    }
    return bOk;
}

bool SaveCameraParameters(const std::string& path, const cv::Mat& cameraMatrix, const cv::Mat& distCoeffs,
                          const double& error)
{
    return Call("SaveCameraParameters",
                Folder(path) + " focal length " + std::to_string(static_cast<int>(cameraMatrix.at<double>(0, 0))) +
                    ", " + std::to_string(distCoeffs.total()) + " terms, error " + std::to_string(error));
}

} // namespace Korvane::CameraCalibration

cv::Mat Korvane::UtilityFunctions::CalculateExpansionHomography(const cv::Mat& homography, double scale)
{
    Doubles::The().dExpansionScale = scale;
    Call("CalculateExpansionHomography", "");
    return homography;
}
