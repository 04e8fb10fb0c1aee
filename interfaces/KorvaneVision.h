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

/// Reads a camera's lens file.
/// @param cameraMatrix  3 x 3 CV_64F, pixels
/// @param distortion    CV_64F, 4, 5, 8, 12 or 14 numbers in OpenCV's order
/// @param error         RMS residual of the calibration, pixels
/// False, with the outputs untouched, for a file that is missing or damaged.
MODULE_EXPORT bool LoadCameraParameters(const std::string& file, cv::Mat& cameraMatrix, cv::Mat& distortion,
                                        double& error);
/// Writes what `LoadCameraParameters` reads, whole or not at all.
MODULE_EXPORT bool SaveCameraParameters(const std::string& path, const cv::Mat& cameraMatrix, const cv::Mat& distCoeffs,
                                        const double& error);
/// Removes lens distortion: Brown 1966, as cv::initUndistortRectifyMap has it. Bilinear, black outside of `src`.
/// @param src  at most 32,766 pixels a side
/// @param cameraMatrix, distortion  as `LoadCameraParameters` gives them; an empty distortion is none
/// @param a, b  above 0; scale the focal length in x and y about the picture's centre ((w - 1) / 2, (h - 1) / 2)
/// @param dst  size and type of `src`; untouched on failure
MODULE_EXPORT bool UnDistortedImage(const cv::Mat& src, cv::Mat& cameraMatrix, cv::Mat& distortion, const double& a,
                                    const double& b, cv::Mat& dst);
/// Reads a 3 x 3 CV_64F homography. False, with the output untouched, for a file that is missing or damaged.
MODULE_EXPORT bool LoadHomography(const std::string& file, cv::Mat& homography);
/// Writes what `LoadHomography` reads, whole or not at all.
MODULE_EXPORT bool SaveHomography(const std::string& path, const cv::Mat& homography);
/// Brings both pictures upright, undoes the scales of `UnDistortedImage`, lays the right picture over the left one and
/// blends them where both show something.
/// @param left, right  8 bits, the same 1, 3 or 4 channels
/// @param a, b  0.1 to 10; enlarge x and y of the upright pictures about their centres
/// @param homography  3 x 3, from the enlarged upright right picture to the enlarged upright left one, pixels
/// @param score  RMS difference in grey levels where both show something, after matching; -1 where that is too little
/// @param dst  type of `left`; the enlarged upright left picture's frame plus an offset that depends on sizes only, so
///             that a mark in one blended picture is right in the next; empty on failure
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
