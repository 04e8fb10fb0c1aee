#include "KorvaneVision.h"
#include "Upright.h"
#include "VisionError.h"

#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <exception>
#include <utility>
#include <vector>

namespace
{

// The frame of the blended picture, chosen from sizes only, so that marks placed in it stay right for the next picture:
// the full turned left picture lies at `origin`, with room for a full right picture beside it and a share of its height
// above and below for a right camera that is mounted a little higher or lower.
constexpr double g_dMarginShare = 0.06;
// Half the width of the feather, in pixels of the full pictures.
constexpr double g_dFeatherPx = 30.0;
constexpr double g_dBorderFadePx = 24.0;

/// Full picture (scales undone about the centre) from the turned picture's pixels.
cv::Matx33d FullFromTurned(const cv::Size& size, double dScaleX, double dScaleY)
{
    const double cx = 0.5 * (size.width - 1);
    const double cy = 0.5 * (size.height - 1);
    return {dScaleX, 0.0, cx * (1.0 - dScaleX), 0.0, dScaleY, cy * (1.0 - dScaleY), 0.0, 0.0, 1.0};
}

struct Frame {
    cv::Size size;
    cv::Matx33d outFromFullLeft;
};

Frame FrameOf(const cv::Size& left, const cv::Size& right, double dScaleX, double dScaleY)
{
    const int nFullWidth = cvCeil(left.width * dScaleX);
    const int nFullHeight = cvCeil(left.height * dScaleY);
    const int nMargin = cvCeil(g_dMarginShare * nFullHeight);
    const double dOriginX = std::ceil(0.5 * (left.width - 1) * (dScaleX - 1.0));
    const double dOriginY = std::ceil(0.5 * (left.height - 1) * (dScaleY - 1.0)) + nMargin;
    return {cv::Size(nFullWidth + cvCeil(right.width * dScaleX), nFullHeight + 2 * nMargin),
            cv::Matx33d(1.0, 0.0, dOriginX, 0.0, 1.0, dOriginY, 0.0, 0.0, 1.0)};
}

cv::Point2d Map(const cv::Matx33d& m, double x, double y)
{
    const double w = m(2, 0) * x + m(2, 1) * y + m(2, 2);
    return {(m(0, 0) * x + m(0, 1) * y + m(0, 2)) / w, (m(1, 0) * x + m(1, 1) * y + m(1, 2)) / w};
}

/// A homography that shows a picture the right way round and does not tear it at the horizon.
bool ShowsPicture(const cv::Matx33d& outFromPicture, const cv::Size& picture)
{
    if (!(cv::determinant(outFromPicture) != 0.0)) {
        return false;
    }
    double dSign = 0.0;
    for (const cv::Point2d& corner : {cv::Point2d(0, 0), cv::Point2d(picture.width, 0), cv::Point2d(0, picture.height),
                                      cv::Point2d(picture.width, picture.height)}) {
        const double w = outFromPicture(2, 0) * corner.x + outFromPicture(2, 1) * corner.y + outFromPicture(2, 2);
        if (!std::isfinite(w) || std::abs(w) < 1.0e-9 || (dSign != 0.0 && (w > 0.0) != (dSign > 0.0))) {
            return false;
        }
        dSign = w;
    }
    return true;
}

/// Where one side shows an output pixel: how far from the picture's centre, and how near its border.
struct View {
    bool bInside = false;
    double dFromCentre = 0.0;
    double dFade = 0.0;
};

class Side
{
public:
    Side(const cv::Size& size, const cv::Matx33d& outFromTurned, double dScale)
        : m_size(size), m_outFromTurned(outFromTurned), m_turnedFromOut(outFromTurned.inv()), m_dScale(dScale)
    {
        const cv::Point2d middle = Map(m_outFromTurned, 0.5 * (size.width - 1), 0.5 * (size.height - 1));
        const cv::Matx33d& m = m_turnedFromOut;
        m_dSign = m(2, 0) * middle.x + m(2, 1) * middle.y + m(2, 2) > 0.0 ? 1.0 : -1.0;
    }

    /// Brings the picture into its place in a frame. What it does not show stays as it is.
    void Warp(const cv::Mat& turned, cv::Mat& frame) const
    {
        std::vector<cv::Point2f> corners;
        for (const cv::Point2d& corner : {cv::Point2d(0, 0), cv::Point2d(m_size.width, 0),
                                          cv::Point2d(0, m_size.height), cv::Point2d(m_size.width, m_size.height)}) {
            const cv::Point2d p = Map(m_outFromTurned, corner.x, corner.y);
            // A picture may reach far beyond the frame.
            corners.emplace_back(static_cast<float>(std::clamp(p.x, -10.0, frame.cols + 10.0)),
                                 static_cast<float>(std::clamp(p.y, -10.0, frame.rows + 10.0)));
        }
        const cv::Rect box = cv::boundingRect(corners);
        const cv::Rect shown =
            cv::Rect(box.x - 2, box.y - 2, box.width + 4, box.height + 4) & cv::Rect(0, 0, frame.cols, frame.rows);
        if (shown.empty()) {
            return;
        }
        const cv::Matx33d outFromShown(1.0, 0.0, shown.x, 0.0, 1.0, shown.y, 0.0, 0.0, 1.0);
        cv::Mat part = frame(shown);
        cv::warpPerspective(turned, part, m_turnedFromOut * outFromShown, shown.size(),
                            cv::INTER_LINEAR | cv::WARP_INVERSE_MAP, cv::BORDER_REPLICATE);
    }

    /// The pixels of a row that show the picture: a picture is convex, so they are one span.
    cv::Range Inside(int y, int nCols) const
    {
        // Every border is a half line of the row: value + slope * x >= 0, all with the sign that w has in the picture.
        const cv::Matx33d& m = m_turnedFromOut;
        const auto line = [&](int nRow) {
            return cv::Vec2d(m_dSign * (m(nRow, 1) * y + m(nRow, 2)), m_dSign * m(nRow, 0));
        };
        const cv::Vec2d px = line(0);
        const cv::Vec2d py = line(1);
        const cv::Vec2d pw = line(2);
        double dFrom = -1.0;
        double dTo = nCols;
        for (const cv::Vec2d& border : {px, py, (m_size.width - 1.0) * pw - px, (m_size.height - 1.0) * pw - py}) {
            if (border[1] > 0.0) {
                dFrom = std::max(dFrom, -border[0] / border[1]);
            } else if (border[1] < 0.0) {
                dTo = std::min(dTo, -border[0] / border[1]);
            }
        }
        // The pixel at either end is settled by the very test that the blending uses.
        int nFrom = static_cast<int>(std::clamp(std::floor(dFrom) - 1.0, 0.0, double(nCols)));
        int nTo = static_cast<int>(std::clamp(std::ceil(dTo) + 2.0, 0.0, double(nCols)));
        while (nFrom < nTo && !At(nFrom, y).bInside) {
            ++nFrom;
        }
        while (nTo > nFrom && !At(nTo - 1, y).bInside) {
            --nTo;
        }
        return {nFrom, nTo};
    }

    View At(double x, double y) const
    {
        const cv::Point2d p = Map(m_turnedFromOut, x, y);
        const double dBorder = std::min({p.x, p.y, m_size.width - 1.0 - p.x, m_size.height - 1.0 - p.y});
        View view;
        view.bInside = dBorder >= 0.0;
        // Measured in x only: the pictures lie beside each other, and the seam is to run straight down.
        view.dFromCentre = m_dScale * std::abs(p.x - 0.5 * (m_size.width - 1));
        view.dFade = std::clamp(dBorder / g_dBorderFadePx, 0.0, 1.0);
        return view;
    }

private:
    cv::Size m_size;
    cv::Matx33d m_outFromTurned, m_turnedFromOut;
    double m_dScale;
    double m_dSign = 1.0; ///< of w in the picture
};

/// Share of the left picture, 0 to 1, with the seam where both are equally far from their centres.
double ShareOfLeft(const View& left, const View& right)
{
    if (!left.bInside || !right.bInside) {
        return left.bInside ? 1.0 : 0.0;
    }
    double t = std::clamp(0.5 + (right.dFromCentre - left.dFromCentre) / (4.0 * g_dFeatherPx), 0.0, 1.0);
    t = t * t * (3.0 - 2.0 * t);
    const double dLeft = left.dFade * (t + (1.0 - t) * (1.0 - right.dFade));
    const double dRight = right.dFade * ((1.0 - t) + t * (1.0 - left.dFade));
    return dLeft + dRight > 0.0 ? dLeft / (dLeft + dRight) : t;
}

struct Match {
    std::array<double, 4> gainLeft{1.0, 1.0, 1.0, 1.0};
    std::array<double, 4> gainRight{1.0, 1.0, 1.0, 1.0};
    double dScore = -1.0;
    int nRight = 0;
};

/// Half the way from each to the other in the overlap, from samples that both expose well.
Match MatchOverlap(const cv::Mat& left, const cv::Mat& right, const Side& leftSide, const Side& rightSide)
{
    const int nChannels = left.channels();
    const int nStep = 12;
    Match match;
    std::array<double, 4> sumLeft{};
    std::array<double, 4> sumRight{};
    std::vector<std::pair<const unsigned char*, const unsigned char*>> samples;
    for (int y = 0; y < left.rows; y += nStep) {
        for (int x = 0; x < left.cols; x += nStep) {
            const bool bRight = rightSide.At(x, y).bInside;
            match.nRight += bRight ? 1 : 0;
            if (!bRight || !leftSide.At(x, y).bInside) {
                continue;
            }
            const unsigned char* a = left.ptr(y, x);
            const unsigned char* b = right.ptr(y, x);
            const auto isExposed = [nChannels](const unsigned char* p) {
                return std::all_of(p, p + nChannels, [](unsigned char n) { return n > 4 && n < 251; });
            };
            if (!isExposed(a) || !isExposed(b)) {
                continue;
            }
            samples.emplace_back(a, b);
            for (int c = 0; c < nChannels; ++c) {
                sumLeft[static_cast<std::size_t>(c)] += a[c];
                sumRight[static_cast<std::size_t>(c)] += b[c];
            }
        }
    }
    if (samples.size() < 50) {
        return match;
    }
    for (std::size_t c = 0; c < static_cast<std::size_t>(nChannels); ++c) {
        const double dRatio = std::clamp(sumRight[c] / sumLeft[c], 0.25, 4.0);
        match.gainLeft[c] = std::sqrt(dRatio);
        match.gainRight[c] = 1.0 / std::sqrt(dRatio);
    }
    // RMS grey-level difference after the match; its samples are the ones above.
    double dSquares = 0.0;
    for (const auto& [a, b] : samples) {
        for (int c = 0; c < nChannels; ++c) {
            const auto i = static_cast<std::size_t>(c);
            const double d = a[c] * match.gainLeft[i] - b[c] * match.gainRight[i];
            dSquares += d * d;
        }
    }
    match.dScore = std::sqrt(dSquares / (static_cast<double>(samples.size()) * nChannels));
    return match;
}

using GainTable = std::array<std::array<float, 256>, 4>;
using ByteTable = std::array<std::array<unsigned char, 256>, 4>;

GainTable GainsOf(const std::array<double, 4>& gain)
{
    GainTable table{};
    for (std::size_t c = 0; c < 4; ++c) {
        for (std::size_t n = 0; n < 256; ++n) {
            table[c][n] = static_cast<float>(static_cast<double>(n) * gain[c]);
        }
    }
    return table;
}

ByteTable BytesOf(const GainTable& gains)
{
    ByteTable table{};
    for (std::size_t c = 0; c < 4; ++c) {
        for (std::size_t n = 0; n < 256; ++n) {
            table[c][n] = cv::saturate_cast<unsigned char>(gains[c][n]);
        }
    }
    return table;
}

/// Blends rows of N channels. A row falls into spans that show neither picture, one, or both; most pixels show one.
template <int N> class RowBlender
{
public:
    RowBlender(const Side& leftSide, const Side& rightSide, const Match& match)
        : m_leftSide(leftSide), m_rightSide(rightSide), m_leftGains(GainsOf(match.gainLeft)),
          m_rightGains(GainsOf(match.gainRight)), m_leftBytes(BytesOf(m_leftGains)), m_rightBytes(BytesOf(m_rightGains))
    {
    }

    void Blend(int y, int nCols, const unsigned char* pLeft, const unsigned char* pRight, unsigned char* pOut) const
    {
        const cv::Range left = m_leftSide.Inside(y, nCols);
        const cv::Range right = m_rightSide.Inside(y, nCols);
        std::array<int, 6> ends{0, left.start, left.end, right.start, right.end, nCols};
        std::sort(ends.begin(), ends.end());
        for (std::size_t i = 0; i + 1 < ends.size(); ++i) {
            const cv::Range span(ends[i], ends[i + 1]);
            const bool bLeft = span.start >= left.start && span.end <= left.end;
            const bool bRight = span.start >= right.start && span.end <= right.end;
            if (span.empty()) {
                continue;
            }
            if (bLeft && bRight) {
                BlendSpan(y, span, pLeft, pRight, pOut);
            } else if (bLeft || bRight) {
                ShowSpan(span, bLeft ? pLeft : pRight, bLeft ? m_leftBytes : m_rightBytes, pOut);
            } else {
                std::fill(pOut + std::ptrdiff_t{N} * span.start, pOut + std::ptrdiff_t{N} * span.end,
                          static_cast<unsigned char>(0));
            }
        }
    }

private:
    static void ShowSpan(const cv::Range& span, const unsigned char* pSource, const ByteTable& bytes,
                         unsigned char* pOut)
    {
        for (int x = N * span.start; x < N * span.end; x += N) {
            for (int c = 0; c < N; ++c) {
                pOut[x + c] = bytes[static_cast<std::size_t>(c)][pSource[x + c]];
            }
        }
    }

    void BlendSpan(int y, const cv::Range& span, const unsigned char* pLeft, const unsigned char* pRight,
                   unsigned char* pOut) const
    {
        for (int x = span.start; x < span.end; ++x) {
            const auto fShare = static_cast<float>(ShareOfLeft(m_leftSide.At(x, y), m_rightSide.At(x, y)));
            for (int i = N * x, c = 0; c < N; ++i, ++c) {
                const auto nChannel = static_cast<std::size_t>(c);
                pOut[i] = cv::saturate_cast<unsigned char>(fShare * m_leftGains[nChannel][pLeft[i]] +
                                                           (1.0f - fShare) * m_rightGains[nChannel][pRight[i]]);
            }
        }
    }

    const Side& m_leftSide;
    const Side& m_rightSide;
    GainTable m_leftGains, m_rightGains;
    ByteTable m_leftBytes, m_rightBytes;
};

template <int N>
void BlendRows(const cv::Mat& left, const cv::Mat& right, const Side& leftSide, const Side& rightSide,
               const Match& match, cv::Mat& out)
{
    const RowBlender<N> blender(leftSide, rightSide, match);
    cv::parallel_for_(cv::Range(0, out.rows), [&](const cv::Range& range) {
        for (int y = range.start; y < range.end; ++y) {
            blender.Blend(y, out.cols, left.ptr(y), right.ptr(y), out.ptr(y));
        }
    });
}

} // namespace

namespace Korvane::CameraCalibration
{

ImageDirFlags::ImageDirFlags(int rotateCode, bool mirrorX, bool mirrorY)
    : nRotateCode(rotateCode), bMirrorX(mirrorX), bMirrorY(mirrorY)
{
}

bool DoBlendingImageForDualCam(const cv::Mat& left, const ImageDirFlags& leftFlags, const cv::Mat& right,
                               const ImageDirFlags& rightFlags, const double& a, const double& b,
                               const cv::Mat& homography, double& score, cv::Mat& dst)
{
    constexpr const char* pOperation = "DoBlendingImageForDualCam";
    const auto refuse = [&](const std::string& strReason) {
        dst.release();
        return Fail(pOperation, strReason);
    };
    try {
        const std::string strProblem = WhyNoPair(left, right);
        if (!strProblem.empty()) {
            return refuse(strProblem);
        }
        if (homography.rows != 3 || homography.cols != 3 || homography.channels() != 1 || !cv::checkRange(homography) ||
            !(a >= 0.1 && a <= 10.0) || !(b >= 0.1 && b <= 10.0)) {
            return refuse("the homography or the scales are not those of a pair");
        }
        cv::Mat fullLeftFromFullRight;
        homography.convertTo(fullLeftFromFullRight, CV_64F);
        const cv::Mat turnedLeft = Upright(left, leftFlags);
        const cv::Mat turnedRight = Upright(right, rightFlags);
        const Frame frame = FrameOf(turnedLeft.size(), turnedRight.size(), a, b);
        const cv::Matx33d outFromLeft = frame.outFromFullLeft * FullFromTurned(turnedLeft.size(), a, b);
        const cv::Matx33d outFromRight =
            frame.outFromFullLeft * cv::Matx33d(fullLeftFromFullRight) * FullFromTurned(turnedRight.size(), a, b);
        if (!ShowsPicture(outFromRight, turnedRight.size())) {
            return refuse("the homography does not show the right picture");
        }
        const Side leftSide(turnedLeft.size(), outFromLeft, a);
        const Side rightSide(turnedRight.size(), outFromRight, a);

        cv::Mat warpedLeft(frame.size, left.type());
        cv::Mat warpedRight(frame.size, left.type());
        leftSide.Warp(turnedLeft, warpedLeft);
        rightSide.Warp(turnedRight, warpedRight);
        const Match match = MatchOverlap(warpedLeft, warpedRight, leftSide, rightSide);
        if (match.nRight == 0) {
            return refuse("the homography puts the right picture outside of the blended one");
        }
        cv::Mat blended(frame.size, left.type());
        const auto blend = left.channels() == 1 ? &BlendRows<1> : left.channels() == 3 ? &BlendRows<3> : &BlendRows<4>;
        blend(warpedLeft, warpedRight, leftSide, rightSide, match, blended);
        score = match.dScore;
        dst = blended;
        return true;
    } catch (const std::exception& exception) {
        return refuse(exception.what());
    }
}

} // namespace Korvane::CameraCalibration

cv::Mat Korvane::UtilityFunctions::CalculateExpansionHomography(const cv::Mat& homography, double scale)
{
    if (homography.rows != 3 || homography.cols != 3 || homography.channels() != 1 || !std::isfinite(scale)) {
        Fail("CalculateExpansionHomography", "the matrix is no 3 x 3 homography");
        return {};
    }
    cv::Mat matrix;
    homography.convertTo(matrix, CV_64F);
    return cv::Mat(cv::Matx33d::diag(cv::Vec3d(scale, scale, 1.0))) * matrix;
}
