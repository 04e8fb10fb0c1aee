#pragma once

// Stands in for every linked module in tests of the plug-in's own decisions. Each call is written into one journal;
// what the calls answer is set beforehand. `Reset` before each test.

#include "CalibrationPoint.h"
#include "FishEyeParams.h"

#include <opencv2/core.hpp>
#include <opencv2/features2d.hpp>

#include <QString>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Doubles
{

/// What one CreateHomography was given.
struct Fit {
    std::vector<cv::Point2f> source, target;
    double dError = 0.0, dThreshold = 0.0, dConfidence = 0.0;
    int nIterations = 0;
};

/// What one FindCalibrationBoard was given; addresses tell whether two were given the same.
struct BoardSearch {
    cv::Mat picture;
    cv::Size board;
    std::size_t nPoints;
    const void* pPoints;
    double dError;
    const void* pError;
    int nFlags;
    cv::Ptr<cv::Feature2D> detector;
};

/// What one CalibrationMatchPointsForDualCam was given. Pixels are shared.
struct Matching {
    cv::Mat left, right;
    cv::Rect leftRoi, rightRoi;
    double dA = 0.0, dB = 0.0, dRatio = 0.0;
    std::size_t nPoints = 0; ///< in the two lists, as they came in
};

/// What one DoBlendingImageForDualCam was given. Pixels are shared.
struct Blend {
    cv::Mat left, right, homography;
    bool bSameFlags; ///< one object for both pictures
};

struct State {
    std::vector<std::string> journal;                  ///< module calls in order, as "Name(arguments that matter)"
    std::vector<std::pair<int, std::string>> logLines; ///< level and text
    QString strTheme = "Quillboost";
    std::map<QString, QString> wordings;          ///< keys without one are their own wording
    std::map<std::string, bool> answers;          ///< by operation; true where none is set
    std::map<std::string, int> failAt;            ///< operation to the ordinal, from 1, of the one call that fails
    std::map<std::string, std::string> throwFrom; ///< operation to the message of a cv::Exception
    std::string strThrowInt;                      ///< the operation that throws what is no std::exception

    int nReadBits = 0; ///< overrides the depth that Read_Image reports, where not 0
    bool bBlendEmpty = false;
    cv::Mat homography;                                   ///< what LoadHomography gives
    std::vector<Matching> matchings;                      ///< of each CalibrationMatchPointsForDualCam
    std::vector<cv::Point2f> matchedFirst, matchedSecond; ///< what it gives
    cv::Mat matchesPicture;                               ///< what CreateMatchesImage gives
    std::vector<Fit> fits;               ///< of each CreateHomography, which gives the identity times its ordinal
    bool bFitAnswersContrary = false;    ///< it answers the contrary of what it gives
    float fPairX = 0.0f, fPairY = 0.0f;  ///< added by the pair's conversions
    bool bMirrorPair = false;            ///< the pair's x runs backward
    bool bStitchBufferZero = false;      ///< the whole buffer came in zeroed
    unsigned char nStitchGrey = 77;      ///< what the stitching fills its buffer with
    cv::Mat savedInstead;                ///< what Save_Image writes instead of what it is given, if anything
    double dScaleA = 0.0, dScaleB = 0.0; ///< of the last UnDistortedImage or blending
    double dLoadError = 0.0;             ///< as it came in
    std::vector<double> undistortWith;   ///< camera(0, 0) and distortion(0, 0) of each UnDistortedImage, in turn
    bool bCorrectedNull = false;         ///< SingleCamCorrected got no buffer
    double dBlendScore = 0.0;            ///< as it came in
    std::vector<Blend> blends;           ///< of each DoBlendingImageForDualCam, which gives the left picture
    double dExpansionScale = 0.0;

    std::vector<BoardSearch> boardSearches;
    std::optional<double> dBoardError = 0.5; ///< what FindCalibrationBoard makes of its error; untouched where empty
    std::string strLastError = "no discs are seen"; ///< what GetLastError says
    std::vector<cv::Mat> chartPictures;             ///< what the last CalibrateDistortedCamera was given
    double dLensErrorBefore = 0.0;                  ///< the same, its error as it came in

    std::function<void(std::vector<CalibrationPoint>&)> rearrange; ///< what both rearranging operations do, if anything
    std::vector<CalibrationPoint> calibrated;                      ///< what the last SingleCamCalibration was given
    std::vector<unsigned char> calibratedGrey;                     ///< the same, its picture
    double dResidual = 0.5;                                        ///< what SingleCamCalibration says of itself
    std::vector<CalibrationPoint> stitchedLeft, stitchedRight;     ///< what the last FishEyeImageStitching was given
    long nStitchWidth = 12, nStitchHeight = 8;                     ///< what ComputeStitchedImageSize gives
    int nStitchBits = 24;

    int Count(const std::string& strName) const;
    bool Logged(int nLevel, const std::string& strText) const;
};

State& The();
void Reset();

} // namespace Doubles
