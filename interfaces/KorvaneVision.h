#pragma once

// Chart detection, lens calibration, rectification, homographies and blending for the manual flow. Linked by the
// library name KorvaneVision. File names are local 8-bit text. Nothing throws; false is failure.

#include "ModuleExport.h"

#include <opencv2/core.hpp>
#include <opencv2/features2d.hpp>

#include <string>
#include <vector>

namespace Korvane::CameraCalibration
{

/// How a raw picture is brought upright before it is compared with its neighbour.
struct MODULE_EXPORT ImageDirFlags {
    /// @param rotateCode a cv::RotateFlags value (0 is 90 degrees clockwise), any other value for no turn
    ImageDirFlags(int rotateCode, bool mirrorX, bool mirrorY);

    int nRotateCode;
    bool bMirrorX;
    bool bMirrorY;
};

/// Reads a 3 x 3 CV_64F camera matrix, its distortion row and the calibration error.
MODULE_EXPORT bool LoadCameraParameters(const std::string& file, cv::Mat& cameraMatrix, cv::Mat& distortion,
                                        double& error);
/// Writes what `LoadCameraParameters` reads, whole or not at all.
MODULE_EXPORT bool SaveCameraParameters(const std::string& path, const cv::Mat& cameraMatrix, const cv::Mat& distCoeffs,
                                        const double& error);
/// Removes lens distortion. `a` and `b` scale the focal length in x and y about the picture's centre; the size stays.
MODULE_EXPORT bool UnDistortedImage(const cv::Mat& src, cv::Mat& cameraMatrix, cv::Mat& distortion, const double& a,
                                    const double& b, cv::Mat& dst);
/// Reads a 3 x 3 CV_64F homography.
MODULE_EXPORT bool LoadHomography(const std::string& file, cv::Mat& homography);
/// Writes what `LoadHomography` reads, whole or not at all.
MODULE_EXPORT bool SaveHomography(const std::string& path, const cv::Mat& homography);
/// Brings both pictures upright, the right one over the left one, and blends them. `dst` is empty on failure.
MODULE_EXPORT bool DoBlendingImageForDualCam(const cv::Mat& left, const ImageDirFlags& leftFlags, const cv::Mat& right,
                                             const ImageDirFlags& rightFlags, const double& a, const double& b,
                                             const cv::Mat& homography, double& score, cv::Mat& dst);
/// Finds the chart of discs; `error` is the grid's RMS distance in pixels from the fitted lattice.
MODULE_EXPORT bool FindCalibrationBoard(const cv::Mat& image, cv::Size boardSize, std::vector<cv::Point2f>& points,
                                        double& error, int flags, const cv::Ptr<cv::Feature2D>& detector);
/// Why the last call of this thread failed, in words.
MODULE_EXPORT std::string GetLastError();
/// Fits camera matrix and distortion to pictures of the chart.
MODULE_EXPORT bool CalibrateDistortedCamera(const std::vector<cv::Mat>& images, const cv::Size& boardSize,
                                            cv::Mat& cameraMatrix, cv::Mat& distCoeffs, double& error);
/// Matching points inside two regions; `first` holds points of the right, `second` of the left upright picture.
MODULE_EXPORT bool CalibrationMatchPointsForDualCam(const cv::Mat& left, const ImageDirFlags& leftFlags,
                                                    const cv::Rect& leftRoi, const cv::Mat& right,
                                                    const ImageDirFlags& rightFlags, const cv::Rect& rightRoi,
                                                    const double& a, const double& b, const double& ratio,
                                                    std::vector<cv::Point2f>& first, std::vector<cv::Point2f>& second);
/// The two upright pictures side by side with the matches drawn in.
MODULE_EXPORT bool CreateMatchesImage(const cv::Mat& left, const ImageDirFlags& leftFlags, const cv::Mat& right,
                                      const ImageDirFlags& rightFlags, const std::vector<cv::Point2f>& first,
                                      const std::vector<cv::Point2f>& second, cv::Mat& out);
/// Homography from `source` to `target`; empty when it fails.
MODULE_EXPORT bool CreateHomography(const std::vector<cv::Point2f>& source, const std::vector<cv::Point2f>& target,
                                    cv::Mat& homography, double& error, const double& threshold, const int& iterations,
                                    const double& confidence);

} // namespace Korvane::CameraCalibration

namespace Korvane::UtilityFunctions
{

/// The 3 x 3 CV_64F matrix that maps into the target picture enlarged by `scale`: diag(s, s, 1) times `homography`.
/// Empty for a matrix that is no 3 x 3 homography.
MODULE_EXPORT cv::Mat CalculateExpansionHomography(const cv::Mat& homography, double scale);

} // namespace Korvane::UtilityFunctions
