#include "ChartFinder.h"
#include "KorvaneVision.h"
#include "LensViews.h"
#include "Log.h"
#include "VisionError.h"

#include <opencv2/calib3d.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

namespace
{

constexpr std::size_t g_nFewestViews = 3;
/// A view that is worse than the middle one by this factor, and by more than this many pixels, spoils the fit.
constexpr double g_dSpoiltFactor = 2.5;
constexpr double g_dSpoiltPx = 0.05;
/// A fit with more than this is refused, in pixels for a picture of 1000 x 1000 and in proportion for others.
constexpr double g_dLargestRmsPx = 0.8;
/// The views must tell the focal length this well (standard deviation, share): flat views alone do not.
constexpr double g_dLargestFocalDoubt = 0.02;
/// The third radial term is fitted where it makes the residual smaller by this share: unneeded, it only bends the
/// picture beyond the charts.
constexpr double g_dThirdTermGain = 0.03;

struct ChartView {
    std::size_t nPicture = 0;
    Korvane::FoundChart chart;
    std::vector<cv::Point2f> centres;
};

struct LensFit {
    cv::Mat camera, lens;
    std::vector<cv::Mat> turns, places;
    std::vector<double> viewRmsPx;
    double dRmsPx = 0.0;
    double dFocalDoubt = 0.0; ///< standard deviation of the focal lengths, share
};

std::vector<cv::Point3f> BoardPoints(const cv::Size& board)
{
    std::vector<cv::Point3f> points;
    for (int r = 0; r < board.height; ++r) {
        for (int c = 0; c < board.width; ++c) {
            points.emplace_back(static_cast<float>(c), static_cast<float>(r), 0.0f);
        }
    }
    return points;
}

LensFit FitOnce(const std::vector<ChartView>& views, const cv::Size& board, const cv::Size& picture, int nFlags)
{
    LensFit fit;
    const std::vector<std::vector<cv::Point3f>> boards(views.size(), BoardPoints(board));
    std::vector<std::vector<cv::Point2f>> centres;
    centres.reserve(views.size());
    for (const ChartView& view : views) {
        centres.push_back(view.centres);
    }
    cv::Mat deviations, deviationsOfViews, rmsOfViews;
    fit.dRmsPx = cv::calibrateCamera(boards, centres, picture, fit.camera, fit.lens, fit.turns, fit.places, deviations,
                                     deviationsOfViews, rmsOfViews, nFlags,
                                     {cv::TermCriteria::COUNT | cv::TermCriteria::EPS, 60, 1.0e-9});
    fit.viewRmsPx.assign(rmsOfViews.begin<double>(), rmsOfViews.end<double>());
    fit.dFocalDoubt = std::max(deviations.at<double>(0) / fit.camera.at<double>(0, 0),
                               deviations.at<double>(1) / fit.camera.at<double>(1, 1));
    return fit;
}

LensFit FitLens(const std::vector<ChartView>& views, const cv::Size& board, const cv::Size& picture)
{
    LensFit two = FitOnce(views, board, picture, cv::CALIB_FIX_K3);
    LensFit three = FitOnce(views, board, picture, 0);
    return three.dRmsPx < (1.0 - g_dThirdTermGain) * two.dRmsPx ? three : two;
}

/// The centres once more, now that the lens is known: what a disc's picture is off follows from it exactly.
void CorrectCentres(const LensFit& fit, const cv::Size& board, std::vector<ChartView>& views)
{
    for (std::size_t v = 0; v < views.size(); ++v) {
        ChartView& view = views[v];
        for (std::size_t i = 0; i < view.centres.size(); ++i) {
            const auto project = [&](const cv::Point2d& p) {
                std::vector<cv::Point2d> pixel;
                cv::projectPoints(std::vector<cv::Point3d>{{p.x, p.y, 0.0}}, fit.turns[v], fit.places[v], fit.camera,
                                  fit.lens, pixel);
                return pixel.front();
            };
            const std::div_t place = std::div(static_cast<int>(i), board.width);
            const cv::Point2d disc(place.rem, place.quot);
            const cv::Point2d bias = Korvane::DiscBias(project, disc, view.chart.radii[i]);
            view.centres[i] = cv::Point2f(view.chart.discs[i].centre - bias);
        }
    }
}

/// Throws out what spoils the fit, the worst view first.
/// @return false when nothing was thrown out
bool DropWorstView(const LensFit& fit, std::vector<ChartView>& views)
{
    if (views.size() <= g_nFewestViews) {
        return false;
    }
    std::vector<double> sorted = fit.viewRmsPx;
    std::sort(sorted.begin(), sorted.end());
    const double limit = std::max(g_dSpoiltFactor * sorted[sorted.size() / 2], sorted[sorted.size() / 2] + g_dSpoiltPx);
    const auto worst = std::max_element(fit.viewRmsPx.begin(), fit.viewRmsPx.end());
    if (*worst <= limit) {
        return false;
    }
    const auto nWorst = worst - fit.viewRmsPx.begin();
    ILog_WriteLogF(1, "CalibrateDistortedCamera: picture %zu is left out, %.2f px rms off the fit",
                   views[static_cast<std::size_t>(nWorst)].nPicture + 1, *worst);
    views.erase(views.begin() + nWorst);
    return true;
}

std::vector<ChartView> FindViews(const std::vector<cv::Mat>& pictures, const cv::Size& board, const cv::Size& size)
{
    std::vector<ChartView> views;
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        std::string strReason = "its size is not that of the first";
        if (pictures[i].size() == size) {
            Korvane::ChartSearch search = Korvane::FindChart(pictures[i], board);
            if (search.chart) {
                ChartView view;
                view.nPicture = i;
                view.centres.assign(search.chart->centres.begin(), search.chart->centres.end());
                view.chart = std::move(*search.chart);
                views.push_back(std::move(view));
                continue;
            }
            strReason = search.strReason;
        }
        ILog_WriteLogF(1, "CalibrateDistortedCamera: picture %zu is passed over: %s", i + 1, strReason.c_str());
    }
    return views;
}

std::vector<std::size_t>& FittedPictures()
{
    thread_local std::vector<std::size_t> fitted;
    return fitted;
}

/// Empty when the fit is a lens, else what is wrong with it.
std::string WhyNoLens(const LensFit& fit, const cv::Size& picture)
{
    const double focal = std::max(fit.camera.at<double>(0, 0), fit.camera.at<double>(1, 1));
    const double shortest = std::min(fit.camera.at<double>(0, 0), fit.camera.at<double>(1, 1));
    const double width = std::max(picture.width, picture.height);
    if (!cv::checkRange(fit.camera) || !cv::checkRange(fit.lens) || !(shortest > 0.1 * width) ||
        !(focal < 50.0 * width)) {
        return "the pictures fit no lens of a likely focal length: the chart must be tilted more";
    }
    const double limit = g_dLargestRmsPx * std::sqrt(static_cast<double>(picture.area())) / 1000.0;
    if (!(fit.dRmsPx <= limit)) {
        return "the charts are " + std::to_string(fit.dRmsPx) + " px rms off the fitted lens, at most " +
               std::to_string(limit) + " is accepted";
    }
    if (!(fit.dFocalDoubt <= g_dLargestFocalDoubt)) {
        return "the pictures do not tell the focal length: the chart must be tilted more";
    }
    return {};
}

} // namespace

bool Korvane::CameraCalibration::CalibrateDistortedCamera(const std::vector<cv::Mat>& images, const cv::Size& boardSize,
                                                          cv::Mat& cameraMatrix, cv::Mat& distCoeffs, double& error)
{
    constexpr const char* pOperation = "CalibrateDistortedCamera";
    error = -1.0;
    FittedPictures().clear();
    try {
        const auto first = std::find_if(images.begin(), images.end(), [](const cv::Mat& m) { return !m.empty(); });
        if (first == images.end()) {
            return Fail(pOperation, "there are no pictures");
        }
        std::vector<ChartView> views = FindViews(images, boardSize, first->size());
        if (views.size() < g_nFewestViews) {
            return Fail(pOperation, "the chart is found in " + std::to_string(views.size()) + " of " +
                                        std::to_string(images.size()) + " pictures, at least 3 are needed");
        }
        LensFit fit = FitLens(views, boardSize, first->size());
        while (DropWorstView(fit, views)) {
            fit = FitLens(views, boardSize, first->size());
        }
        CorrectCentres(fit, boardSize, views);
        fit = FitLens(views, boardSize, first->size());
        const std::string strProblem = WhyNoLens(fit, first->size());
        if (!strProblem.empty()) {
            return Fail(pOperation, strProblem);
        }
        cameraMatrix = fit.camera;
        distCoeffs = fit.lens;
        error = fit.dRmsPx;
        for (const ChartView& view : views) {
            FittedPictures().push_back(view.nPicture);
        }
        return true;
    } catch (const std::exception& exception) {
        return Fail(pOperation, exception.what());
    }
}

std::vector<std::size_t> Korvane::CameraCalibration::GetFittedPictures()
{
    return FittedPictures();
}
