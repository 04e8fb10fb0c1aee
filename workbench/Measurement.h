#pragma once

// Errors in millimetres, measured on the picture itself: a grid of dots of known place is located in the work area
// picture, the pixels go through the plug-in, and the answers are held against the truth. For a simulated machine.

#include "AccuracyReport.h"
#include "Machine.h"
#include "PluginHost.h"

#include <opencv2/core.hpp>

#include <vector>

namespace Workbench
{

inline constexpr double g_dPxPerMm = 6.0;

/// The dots that are engraved to be measured by, over the whole work area.
std::vector<Simulator::EngravedDot> DotGrid(const cv::Size2d& areaMm);

/// The plug-in's picture of `report.workAreaMm` from two camera pictures; fills the report's picture and time. Throws
/// `Failure` when the plug-in could not make it.
/// @return CV_8UC3 BGR, 6 px per mm
cv::Mat MakeWorkAreaPicture(PluginHost& host, const cv::Mat& left, const cv::Mat& right, AccuracyReport& report);

/// Share of the work area that is not black.
double Coverage(const cv::Mat& workArea, const cv::Size& areaMm);

/// Every dot is located in the picture, sent through the plug-in, and held against where it was engraved.
/// @param crosses  of the calibration, an upright rectangle, machine millimetres
void MeasureDots(PluginHost& host, const cv::Mat& workArea, const std::vector<Simulator::EngravedDot>& dots,
                 const std::vector<cv::Point2d>& crosses, AccuracyReport& report);

/// Each camera's picture alone in the machine frame; how far apart the two show the same dot. The seam is the band in
/// which both have crosses, from the right camera's first column to the left one's last; the pictures blend inside it.
/// Throws `Failure` when a record of the calibration cannot be used.
void MeasureSeam(const cv::Mat& left, const cv::Mat& right, const std::vector<Simulator::EngravedDot>& dots,
                 const Simulator::CrossGrid& grid, AccuracyReport& report);

/// The same for the manual flow; the seam is wherever both pictures show a dot.
/// @param machine  tells where its operator sees things in the fused picture
void MeasureManualSeam(const cv::Mat& left, const cv::Mat& right, const std::vector<Simulator::EngravedDot>& dots,
                       const Simulator::Machine& machine, AccuracyReport& report);

} // namespace Workbench
