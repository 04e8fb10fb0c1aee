#include "KorvaneVision.h"
#include "VisionError.h"

#include <opencv2/core/persistence.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace
{

constexpr std::uintmax_t g_nMaxFileBytes = 1024UL * 1024;

/// The whole text of a storage file; throws what to tell about one that cannot be one of ours.
std::string ReadText(const std::string& strFile)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(strFile, error)) {
        throw std::runtime_error("it does not exist");
    }
    if (std::filesystem::file_size(strFile, error) > g_nMaxFileBytes) {
        throw std::runtime_error("it is larger than " + std::to_string(g_nMaxFileBytes) + " bytes");
    }
    std::ostringstream text;
    text << std::ifstream(strFile, std::ios::binary).rdbuf();
    std::string strText = text.str();
    // The storage reader stops the process on some binary input, so only what can be one of ours goes to it.
    if (strText.rfind("<?xml", 0) != 0 || strText.find("<opencv_storage>") == std::string::npos ||
        strText.find("</opencv_storage>") == std::string::npos || strText.find('\0') != std::string::npos ||
        strText.find("<!") != std::string::npos) {
        throw std::runtime_error("it is no XML storage file");
    }
    // The storage reader follows nested tags as deep as they go.
    constexpr std::ptrdiff_t nMostTags = 200;
    if (std::count(strText.begin(), strText.end(), '<') > nMostTags) {
        throw std::runtime_error("it holds more than a matrix or two");
    }
    return strText;
}

cv::Mat ReadMatrix(const cv::FileStorage& storage, const char* pKey)
{
    cv::Mat matrix;
    const cv::FileNode node = storage[pKey];
    if (!node.isMap()) {
        throw std::runtime_error(std::string("there is no matrix ") + pKey);
    }
    // Asked before the storage reader allocates what the file claims.
    const double dRows = node["rows"].isInt() ? node["rows"].real() : 0.0;
    const double dCols = node["cols"].isInt() ? node["cols"].real() : 0.0;
    if (!(dRows >= 1.0 && dCols >= 1.0 && dRows * dCols <= 64.0)) {
        throw std::runtime_error(std::string(pKey) + " is not of the expected size");
    }
    node >> matrix;
    if (matrix.empty() || matrix.channels() != 1 || matrix.total() > 64) {
        throw std::runtime_error(std::string(pKey) + " is not of the expected size");
    }
    matrix.convertTo(matrix, CV_64F);
    if (!cv::checkRange(matrix)) {
        throw std::runtime_error(std::string(pKey) + " holds numbers that are not finite");
    }
    return matrix;
}

cv::Mat ReadSquare(const cv::FileStorage& storage, const char* pKey)
{
    cv::Mat matrix = ReadMatrix(storage, pKey);
    if (matrix.rows != 3 || matrix.cols != 3) {
        throw std::runtime_error(std::string(pKey) + " is not 3 x 3");
    }
    return matrix;
}

/// Runs `body` on the storage of a file; whatever goes wrong becomes one log line that names the file.
template <typename Body> bool ReadStorage(const char* pOperation, const std::string& strFile, Body body)
{
    try {
        const cv::FileStorage storage(ReadText(strFile),
                                      cv::FileStorage::READ | cv::FileStorage::MEMORY | cv::FileStorage::FORMAT_XML);
        if (!storage.isOpened()) {
            throw std::runtime_error("it is no XML storage file");
        }
        body(storage);
        return true;
    } catch (const std::exception& exception) {
        return Korvane::Fail(pOperation, strFile + " is not read: " + exception.what());
    }
}

/// Written beside and renamed: whole or not at all, and never in the place of a device.
template <typename Body> bool WriteStorage(const char* pOperation, const std::string& strFile, Body body)
{
    const std::string strBeside = strFile + ".part";
    std::error_code error;
    if (std::filesystem::exists(strFile, error) && !std::filesystem::is_regular_file(strFile, error)) {
        return Korvane::Fail(pOperation, strFile + " is not written: it is no file");
    }
    try {
        cv::FileStorage storage(".xml", cv::FileStorage::WRITE | cv::FileStorage::MEMORY | cv::FileStorage::FORMAT_XML);
        body(storage);
        std::ofstream file(strBeside, std::ios::binary | std::ios::trunc);
        file << storage.releaseAndGetString();
        file.close();
        if (!file || std::rename(strBeside.c_str(), strFile.c_str()) != 0) {
            throw std::runtime_error("the folder cannot be written");
        }
        return true;
    } catch (const std::exception& exception) {
        std::remove(strBeside.c_str());
        return Korvane::Fail(pOperation, strFile + " is not written: " + exception.what());
    }
}

bool IsSquare(const cv::Mat& matrix)
{
    return matrix.rows == 3 && matrix.cols == 3 && matrix.channels() == 1 && cv::checkRange(matrix);
}

/// Why no camera has these; empty where one may. What is written and what is read is held to the same.
std::string WhyNoCamera(const cv::Matx33d& camera, std::size_t nCoefficients)
{
    if (!(camera(0, 0) > 0.0) || !(camera(1, 1) > 0.0)) {
        return "CameraMatrix has no positive focal length";
    }
    // As many as the lens models of OpenCV have.
    for (const std::size_t nCount : {4U, 5U, 8U, 12U, 14U}) {
        if (nCoefficients == nCount) {
            return {};
        }
    }
    return "Distortion has " + std::to_string(nCoefficients) + " coefficients";
}

cv::Mat AsDouble(const cv::Mat& matrix)
{
    cv::Mat converted;
    matrix.convertTo(converted, CV_64F);
    return converted;
}

} // namespace

namespace Korvane::CameraCalibration
{

bool SaveCameraParameters(const std::string& path, const cv::Mat& cameraMatrix, const cv::Mat& distCoeffs,
                          const double& error)
{
    if (!IsSquare(cameraMatrix) || distCoeffs.channels() != 1 || !cv::checkRange(distCoeffs)) {
        return Fail("SaveCameraParameters", path + " is not written: the matrices are not those of a camera");
    }
    const cv::Mat camera = AsDouble(cameraMatrix);
    // A lens without distortion has an empty row, which the storage cannot hold.
    const cv::Mat lens = distCoeffs.empty() ? cv::Mat::zeros(1, 5, CV_64F) : AsDouble(distCoeffs);
    const std::string strProblem = WhyNoCamera(camera, lens.total());
    if (!strProblem.empty()) {
        return Fail("SaveCameraParameters", path + " is not written: " + strProblem);
    }
    return WriteStorage("SaveCameraParameters", path, [&](cv::FileStorage& storage) {
        storage << "CameraMatrix" << camera << "Distortion" << lens << "Error" << error;
    });
}

bool LoadCameraParameters(const std::string& file, cv::Mat& cameraMatrix, cv::Mat& distortion, double& error)
{
    return ReadStorage("LoadCameraParameters", file, [&](const cv::FileStorage& storage) {
        const cv::Mat camera = ReadSquare(storage, "CameraMatrix");
        const cv::Mat lens = ReadMatrix(storage, "Distortion");
        const std::string strProblem = WhyNoCamera(camera, lens.total());
        if (!strProblem.empty()) {
            throw std::runtime_error(strProblem);
        }
        double dError = 0.0;
        storage["Error"] >> dError;
        cameraMatrix = camera;
        distortion = lens;
        error = dError;
    });
}

bool SaveHomography(const std::string& path, const cv::Mat& homography)
{
    if (!IsSquare(homography)) {
        return Fail("SaveHomography", path + " is not written: the matrix is no 3 x 3 homography");
    }
    return WriteStorage("SaveHomography", path,
                        [&](cv::FileStorage& storage) { storage << "HomMat2D" << AsDouble(homography); });
}

bool LoadHomography(const std::string& file, cv::Mat& homography)
{
    return ReadStorage("LoadHomography", file,
                       [&](const cv::FileStorage& storage) { homography = ReadSquare(storage, "HomMat2D"); });
}

} // namespace Korvane::CameraCalibration
