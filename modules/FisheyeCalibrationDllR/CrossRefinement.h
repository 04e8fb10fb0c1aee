#pragma once

// Finds the centre of an engraved cross in the raw picture. The crosses are two straight lines along the machine's
// axes, so a camera model that is only nearly right already tells how their arms run and bend in the picture: all work
// is done in machine millimetres around the cross, and only the grey values are taken from the picture.

#include "FisheyeModel.h"

#include <opencv2/core.hpp>

#include <optional>

namespace Fisheye
{

struct CrossSearch {
    double armMm = 18.0;    ///< how far from its centre an arm is looked at; real arms may be longer or shorter
    double radiusPx = 14.0; ///< how far from the expected pixel the centre may lie
    bool bBright = false;   ///< lines lighter than the material
    double slope = 0.02;    ///< one sigma of how far the model may turn an arm, millimetres per millimetre
};

/// A cross that was found.
struct CrossCentre {
    cv::Point2d pixel;      ///< raw picture
    double sigmaPx = 0.0;   ///< expected error from grey value noise and material alone
    double contrast = 0.0;  ///< mean depth of the lines, grey levels
    double lineShare = 0.0; ///< share of the looked-at arms on which a line is seen
};

/// Looks for a cross near a pixel: the place within the radius where all four arms stand out most.
/// @param gray  CV_8UC1, the raw picture
/// @return raw pixel to about one pixel; empty where fewer than three arms stand out
std::optional<cv::Point2d> FindCross(const cv::Mat& gray, const FisheyeProjector& projector,
                                     const cv::Point2d& expectedPixel, const CrossSearch& search);

/// Measures the centre to a fraction of a pixel: the lines' positions along both arms, block after block, joined by two
/// robust lines that meet in the centre.
/// @param gray  CV_8UC1, the raw picture
/// @param nearPixel  within about two pixels of the centre
/// @return empty where the arms do not look like two lines
std::optional<CrossCentre> MeasureCross(const cv::Mat& gray, const FisheyeProjector& projector,
                                        const cv::Point2d& nearPixel, const CrossSearch& search);

/// Measures a cross whose arms may be shorter than `search` says.
/// @param bSearch  look for it around `expected` first; else it lies there to about two pixels
std::optional<CrossCentre> LocateCross(const cv::Mat& gray, const FisheyeProjector& projector,
                                       const cv::Point2d& expected, const CrossSearch& search, bool bSearch);

} // namespace Fisheye
