#include "ChartFinder.h"

#include "DiscLattice.h"
#include "Grey.h"
#include "KorvaneVision.h"
#include "VisionError.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <numbers>

namespace Korvane
{

namespace
{

constexpr int g_nFewestDiscsASide = 3;
constexpr int g_nMostDiscsASide = 60;
/// Longer sides of the reduced pictures in which discs are sought, coarse first: most charts are found in the first.
constexpr std::array<int, 2> g_aReducedPx{660, 1320};
/// The first serves most pictures; the others dim prints, discs that are close to each other, and large ones.
constexpr std::array<DiscThreshold, 4> g_aThresholds{{{0.12, 0.12}, {0.12, 0.05}, {0.05, 0.06}, {0.35, 0.20}}};
/// A lattice is refused whose RMS is more than this: a part for the noise and a part for paper that is not quite flat.
constexpr double g_dLargestRmsPx = 0.35;
constexpr double g_dLargestRmsPitches = 0.008;
/// A disc whose radius is larger than the usual one by this factor is a mark.
constexpr double g_dMarkRadiusRatio = 1.25;
/// No single disc may be off by more than this many of those.
constexpr double g_dLargestOutlier = 5.0;

/// How far a search got: of the reasons of several tries the one of the best is told.
enum class Stage { NoDiscs, TooFew, NoLattice, TooLarge, Unclear, NotFlat, Found };

struct Attempt {
    Stage eStage = Stage::NoDiscs;
    std::string strReason = "no discs are seen in the picture";
    FoundChart chart;
};

Attempt Refused(Stage eStage, const std::string& strReason)
{
    Attempt attempt;
    attempt.eStage = eStage;
    attempt.strReason = strReason;
    return attempt;
}

std::string Words(const cv::Size& board)
{
    return std::to_string(board.width) + " x " + std::to_string(board.height);
}

std::string Words(double d)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.2f", d);
    return text.data();
}

cv::Point2d LatticePoint(std::size_t i, const cv::Size& board)
{
    const std::div_t place = std::div(static_cast<int>(i), board.width);
    return {static_cast<double>(place.rem), static_cast<double>(place.quot)};
}

double PitchPx(const std::vector<Disc>& discs, const cv::Size& board)
{
    const auto nCols = static_cast<std::size_t>(board.width);
    double sum = 0.0;
    int nSteps = 0;
    for (std::size_t i = 0; i < discs.size(); ++i) {
        if (i % nCols + 1 < nCols) {
            const cv::Point2d d = discs[i + 1].centre - discs[i].centre;
            sum += std::hypot(d.x, d.y);
            ++nSteps;
        }
    }
    return sum / nSteps;
}

/// Radii of the printed discs in pitches, from their areas and the model's area of a cell around each. One radius for
/// all but the marks: the middle one is more exact than each.
std::vector<double> DiscRadii(const std::vector<Disc>& discs, const LatticeModel& model, const cv::Size& board)
{
    std::vector<double> radii;
    for (std::size_t i = 0; i < discs.size(); ++i) {
        const cv::Point2d p = LatticePoint(i, board);
        const auto difference = [&](const cv::Point2d& half) {
            return model.PixelFromLattice(p + half) - model.PixelFromLattice(p - half);
        };
        const double cellPx = 4.0 * std::abs(difference({0.25, 0.0}).cross(difference({0.0, 0.25})));
        radii.push_back(std::sqrt(discs[i].AreaPx() / (std::numbers::pi * cellPx)));
    }
    std::vector<double> sorted = radii;
    std::sort(sorted.begin(), sorted.end());
    const double usual = sorted[sorted.size() / 2];
    for (double& radius : radii) {
        if (radius < g_dMarkRadiusRatio * usual) {
            radius = usual;
        }
    }
    return radii;
}

/// Mean of the nine pixels around a place; empty at the picture's border and beyond.
std::optional<double> LevelAt(const cv::Mat& grey, const cv::Point2d& place)
{
    if (!cv::Rect2d(1.0, 1.0, grey.cols - 3.0, grey.rows - 3.0).contains(place)) {
        return std::nullopt;
    }
    return cv::mean(grey(cv::Rect(cvRound(place.x) - 1, cvRound(place.y) - 1, 3, 3)))[0];
}

/// Whether a disc that the picture's border cuts stands beside one of the chart: ink, with paper on both sides, as
/// around the disc inside. The edge of the paper has no paper on the sides.
/// @param inside   place of the disc inside, in the lattice
/// @param outward  unit step to the place that is asked for
/// @param radius   of the discs, in pitches
/// @return empty where too little of the place is in view
std::optional<bool> IsCutDisc(const cv::Mat& grey, const LatticeModel& model, const cv::Point2d& inside,
                              const cv::Point2d& outward, double radius)
{
    const cv::Point2d aside(-0.5 * outward.y, 0.5 * outward.x);
    const auto level = [&](const cv::Point2d& place) { return LevelAt(grey, model.PixelFromLattice(place)); };
    const auto ink = level(inside);
    const auto paperLeft = level(inside - aside);
    const auto paperRight = level(inside + aside);
    // As much of the disc as is in view, down to its rim that is nearest to the chart.
    for (const double share : {0.0, 0.35, 0.7}) {
        const cv::Point2d place = inside + (1.0 - share * radius) * outward;
        const auto middle = level(place);
        const auto left = level(place - aside);
        const auto right = level(place + aside);
        if (middle && (left || right) && ink && (paperLeft || paperRight)) {
            const double halfway = 0.5 * (*ink + (paperLeft ? *paperLeft : *paperRight));
            return *middle < halfway && left.value_or(255.0) > halfway && right.value_or(255.0) > halfway;
        }
    }
    return std::nullopt;
}

/// Whether the lattice has more rows or columns than the chart: most of one, or all that is in view of one that the
/// picture's border cuts. Asked of the full picture, where discs show that the threshold of this try did not.
bool GoesOn(const cv::Mat& grey, const std::vector<Disc>& discs, const LatticeModel& model, const cv::Size& board,
            double radius)
{
    const auto more = [&](const cv::Point& first, const cv::Point& along, const cv::Point& outward, int nLength) {
        int nSeen = 0;
        int nInView = 0;
        for (int k = 0; k < nLength; ++k) {
            const cv::Point inside = first + k * along;
            const Disc& beside = discs[static_cast<std::size_t>(inside.y) * static_cast<std::size_t>(board.width) +
                                       static_cast<std::size_t>(inside.x)];
            const cv::Point2d step =
                model.PixelFromLattice(cv::Point2d(inside + outward)) - model.PixelFromLattice(cv::Point2d(inside));
            std::optional<bool> seen = RefineDisc(grey, {beside.centre + step, beside.axes}).has_value();
            if (!*seen) {
                const double reach = beside.MeanRadiusPx();
                const cv::Rect2d clear(reach, reach, grey.cols - 2.0 * reach, grey.rows - 2.0 * reach);
                if (!clear.contains(beside.centre + step)) {
                    seen = IsCutDisc(grey, model, inside, outward, radius);
                }
            }
            nSeen += seen.value_or(false) ? 1 : 0;
            nInView += seen ? 1 : 0;
        }
        return 5 * nSeen > 2 * nLength || (nSeen >= 2 && 3 * nSeen > 2 * nInView);
    };
    return more({0, 0}, {1, 0}, {0, -1}, board.width) || more({0, board.height - 1}, {1, 0}, {0, 1}, board.width) ||
           more({0, 0}, {0, 1}, {-1, 0}, board.height) || more({board.width - 1, 0}, {0, 1}, {1, 0}, board.height);
}

/// Takes the bias off the centres and judges how flat the lattice is.
Attempt Measure(FoundChart chart, const cv::Size& board, const cv::Mat& grey)
{
    const cv::Size picture = grey.size();
    chart.centres.clear();
    for (const Disc& disc : chart.discs) {
        chart.centres.push_back(disc.centre);
    }
    std::optional<LatticeModel> model = LatticeModel::Fit(chart.centres, board, picture);
    if (!model) {
        return Refused(Stage::NotFlat, "the discs lie on no lattice that a camera could see");
    }
    chart.radii = DiscRadii(chart.discs, *model, board);
    const auto [smallest, largestRadius] = std::minmax_element(chart.radii.begin(), chart.radii.end());
    if (!(*smallest > 0.05) || !(*largestRadius < 0.7)) {
        return Refused(Stage::NotFlat, "the discs are too large or too small for their distances");
    }
    for (std::size_t i = 0; i < chart.discs.size(); ++i) {
        const auto project = [&](const cv::Point2d& p) { return model->PixelFromLattice(p); };
        chart.centres[i] = chart.discs[i].centre - DiscBias(project, LatticePoint(i, board), chart.radii[i]);
    }
    model = LatticeModel::Fit(chart.centres, board, picture);
    if (!model) {
        return Refused(Stage::NotFlat, "the discs lie on no lattice that a camera could see");
    }
    double sum = 0.0;
    double largest = 0.0;
    for (std::size_t i = 0; i < chart.centres.size(); ++i) {
        const cv::Point2d d = model->PixelFromLattice(LatticePoint(i, board)) - chart.centres[i];
        sum += d.dot(d);
        largest = std::max(largest, d.dot(d));
    }
    chart.dRmsPx = std::sqrt(sum / static_cast<double>(chart.centres.size()));
    const double limit = g_dLargestRmsPx + g_dLargestRmsPitches * PitchPx(chart.discs, board);
    if (!(chart.dRmsPx <= limit) || !(std::sqrt(largest) <= g_dLargestOutlier * limit)) {
        return Refused(Stage::NotFlat, "not a lattice: the discs are " + Words(chart.dRmsPx) +
                                           " px rms off a flat one, at most " + Words(limit) + " is accepted");
    }
    if (GoesOn(grey, chart.discs, *model, board, *smallest)) {
        return Refused(Stage::TooLarge, "not a lattice of " + Words(board) + ": the one that is seen is larger");
    }
    Attempt attempt;
    attempt.eStage = Stage::Found;
    attempt.chart = std::move(chart);
    return attempt;
}

Disc Scaled(const Disc& disc, double scale)
{
    // Pixel centres are whole numbers in both pictures.
    const cv::Point2d half(0.5, 0.5);
    return {(disc.centre + half) * scale - half, disc.axes * scale};
}

/// Adds those that are not there yet.
void Merge(const std::vector<Disc>& more, std::vector<Disc>& discs)
{
    const std::size_t nBefore = discs.size();
    for (const Disc& disc : more) {
        const bool bKnown =
            std::any_of(discs.begin(), discs.begin() + static_cast<std::ptrdiff_t>(nBefore), [&](const Disc& known) {
                const cv::Point2d d = known.centre - disc.centre;
                return std::hypot(d.x, d.y) < 0.5 * known.MeanRadiusPx();
            });
        if (!bKnown) {
            discs.push_back(disc);
        }
    }
}

/// @param candidates  discs of the reduced picture
Attempt Try(const cv::Mat& grey, const cv::Mat& reduced, const std::vector<Disc>& candidates, const cv::Size& board)
{
    if (candidates.empty()) {
        return {};
    }
    if (candidates.size() < static_cast<std::size_t>(board.area())) {
        return Refused(Stage::TooFew, "too few discs: " + std::to_string(candidates.size()) +
                                          " are seen, the chart has " + std::to_string(board.area()));
    }
    const LatticeSearch search = FindLattice(candidates, board);
    if (search.bTooLarge) {
        return Refused(Stage::TooLarge, "not a lattice of " + Words(board) + ": the one that is seen is larger");
    }
    if (search.order.empty()) {
        return Refused(Stage::NoLattice, "not a lattice: of " + std::to_string(candidates.size()) + " spots at most " +
                                             std::to_string(search.nLargest) + " stand in rows and columns, none of " +
                                             Words(board));
    }
    FoundChart chart;
    const double scale = static_cast<double>(grey.cols) / reduced.cols;
    for (const std::size_t nDisc : search.order) {
        const auto refined = RefineDisc(grey, Scaled(candidates[nDisc], scale));
        if (!refined) {
            return Refused(Stage::Unclear, "a spot of the lattice is no disc with a clear outline");
        }
        chart.discs.push_back(*refined);
    }
    return Measure(std::move(chart), board, grey);
}

cv::Mat Reduced(const cv::Mat& grey, int nSidePx)
{
    const int nDivisor = cvRound(std::max(grey.cols, grey.rows) / static_cast<double>(nSidePx));
    if (nDivisor <= 1) {
        return grey;
    }
    // Cut to whole cells, so that a reduced pixel is the mean of whole pixels and the scale is exact.
    const cv::Size size(grey.cols / nDivisor, grey.rows / nDivisor);
    cv::Mat reduced;
    cv::resize(grey(cv::Rect(0, 0, size.width * nDivisor, size.height * nDivisor)), reduced, size, 0.0, 0.0,
               cv::INTER_AREA);
    return reduced;
}

} // namespace

cv::Point2d DiscBias(const std::function<cv::Point2d(const cv::Point2d&)>& pixelFromChart, const cv::Point2d& centre,
                     double radius)
{
    constexpr int nPoints = 16;
    const cv::Point2d middle = pixelFromChart(centre);
    std::vector<cv::Point2d> outline;
    for (int k = 0; k < nPoints; ++k) {
        const double angle = 2.0 * std::numbers::pi * k / nPoints;
        outline.push_back(pixelFromChart(centre + radius * cv::Point2d(std::cos(angle), std::sin(angle))));
    }
    const cv::Point2d a = outline[0] - middle;
    const cv::Point2d b = outline[nPoints / 4] - middle;
    const Disc start{middle, cv::Matx22d(a.x, b.x, a.y, b.y)};
    const auto fitted = FitEllipse(outline, start, nullptr);
    return fitted ? fitted->centre - middle : cv::Point2d();
}

ChartSearch FindChart(const cv::Mat& picture, const cv::Size& board)
{
    ChartSearch result;
    if (picture.empty() || picture.depth() != CV_8U || picture.channels() == 2 || picture.channels() > 4) {
        result.strReason = "there is no picture with 8 bits and 1, 3 or 4 channels";
        return result;
    }
    if (std::min(board.width, board.height) < g_nFewestDiscsASide ||
        std::max(board.width, board.height) > g_nMostDiscsASide) {
        result.strReason = "a chart of " + Words(board) + " discs is not one that can be found";
        return result;
    }
    if (std::min(picture.cols, picture.rows) < 32 || std::max(picture.cols, picture.rows) > 32766) {
        result.strReason = "the picture is too small or too large";
        return result;
    }
    const cv::Mat grey = Grey(picture);
    Attempt best;
    cv::Mat reduced;
    for (const int nSidePx : g_aReducedPx) {
        const cv::Mat next = Reduced(grey, nSidePx);
        if (!reduced.empty() && next.size() == reduced.size()) {
            break;
        }
        reduced = next;
        const int nDivisor = grey.cols / reduced.cols;
        const cv::Mat whole = grey(cv::Rect(0, 0, reduced.cols * nDivisor, reduced.rows * nDivisor));
        const double maxAreaPx = static_cast<double>(reduced.total()) / board.area();
        // Where light falls off across the chart, one threshold serves one part of it: last, all that was found counts.
        std::vector<Disc> all;
        for (std::size_t i = 0; i <= g_aThresholds.size(); ++i) {
            std::vector<Disc> candidates;
            if (i < g_aThresholds.size()) {
                candidates = FindDiscs(reduced, g_aThresholds[i], maxAreaPx);
                Merge(candidates, all);
            }
            Attempt attempt = Try(whole, reduced, i < g_aThresholds.size() ? candidates : all, board);
            if (attempt.eStage == Stage::Found) {
                result.chart = std::move(attempt.chart);
                return result;
            }
            if (attempt.eStage == Stage::TooLarge) {
                result.strReason = attempt.strReason;
                return result;
            }
            if (attempt.eStage >= best.eStage) {
                best = std::move(attempt);
            }
        }
    }
    result.strReason = best.strReason;
    return result;
}

} // namespace Korvane

bool Korvane::CameraCalibration::FindCalibrationBoard(const cv::Mat& image, cv::Size boardSize,
                                                      std::vector<cv::Point2f>& points, double& error, int flags,
                                                      const cv::Ptr<cv::Feature2D>& /*detector*/)
{
    constexpr const char* pOperation = "FindCalibrationBoard";
    constexpr int nAsymmetricGrid = 2; // as in cv::findCirclesGrid
    points.clear();
    error = -1.0;
    try {
        if ((flags & nAsymmetricGrid) != 0) {
            return Fail(pOperation, "only charts with discs in straight rows and columns are known");
        }
        const ChartSearch search = FindChart(image, boardSize);
        if (!search.chart) {
            return Fail(pOperation, search.strReason);
        }
        points.assign(search.chart->centres.begin(), search.chart->centres.end());
        error = search.chart->dRmsPx;
        return true;
    } catch (const std::exception& exception) {
        points.clear();
        return Fail(pOperation, exception.what());
    }
}
