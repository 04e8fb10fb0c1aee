#include "KorvaneVision.h"
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

cv::Mat Upright(const cv::Mat& picture, const Korvane::CameraCalibration::ImageDirFlags& flags)
{
    cv::Mat turned = picture;
    if (flags.nRotateCode >= cv::ROTATE_90_CLOCKWISE && flags.nRotateCode <= cv::ROTATE_90_COUNTERCLOCKWISE) {
        cv::rotate(picture, turned, flags.nRotateCode);
    }
    cv::Mat mirrored = turned;
    if (flags.bMirrorX || flags.bMirrorY) {
        cv::flip(turned, mirrored, flags.bMirrorX && flags.bMirrorY ? -1 : flags.bMirrorX ? 1 : 0);
    }
    return mirrored;
}

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
        : m_size(size), m_turnedFromOut(outFromTurned.inv()), m_dScale(dScale)
    {
    }

    const cv::Matx33d& TurnedFromOut() const { return m_turnedFromOut; }

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
    cv::Matx33d m_turnedFromOut;
    double m_dScale;
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
            const unsigned char* a = left.ptr(y) + x * nChannels;
            const unsigned char* b = right.ptr(y) + x * nChannels;
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

void BlendRows(const cv::Mat& left, const cv::Mat& right, const Side& leftSide, const Side& rightSide,
               const Match& match, cv::Mat& out)
{
    const int nChannels = left.channels();
    const auto scaled = [](int nValue, double dGain) { return static_cast<float>(nValue * dGain); };
    // One table a side and channel: the gain of every byte.
    std::array<std::array<std::array<float, 256>, 4>, 2> tables{};
    for (std::size_t c = 0; c < 4; ++c) {
        for (int n = 0; n < 256; ++n) {
            tables[0][c][static_cast<std::size_t>(n)] = scaled(n, match.gainLeft[c]);
            tables[1][c][static_cast<std::size_t>(n)] = scaled(n, match.gainRight[c]);
        }
    }
    cv::parallel_for_(cv::Range(0, out.rows), [&](const cv::Range& range) {
        for (int y = range.start; y < range.end; ++y) {
            const unsigned char* a = left.ptr(y);
            const unsigned char* b = right.ptr(y);
            unsigned char* o = out.ptr(y);
            for (int x = 0; x < out.cols; ++x, a += nChannels, b += nChannels, o += nChannels) {
                const View leftView = leftSide.At(x, y);
                const View rightView = rightSide.At(x, y);
                if (!leftView.bInside && !rightView.bInside) {
                    std::fill_n(o, nChannels, static_cast<unsigned char>(0));
                    continue;
                }
                const auto fShare = static_cast<float>(ShareOfLeft(leftView, rightView));
                for (int c = 0; c < nChannels; ++c) {
                    const auto i = static_cast<std::size_t>(c);
                    o[c] = cv::saturate_cast<unsigned char>(fShare * tables[0][i][a[c]] +
                                                            (1.0f - fShare) * tables[1][i][b[c]]);
                }
            }
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
        if (left.empty() || right.empty() || left.depth() != CV_8U || left.type() != right.type() ||
            left.channels() == 2 || left.channels() > 4) {
            return refuse("two 8-bit pictures with the same 1, 3 or 4 channels are expected");
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

        cv::Mat warpedLeft;
        cv::Mat warpedRight;
        constexpr int nFlags = cv::INTER_LINEAR | cv::WARP_INVERSE_MAP;
        cv::warpPerspective(turnedLeft, warpedLeft, leftSide.TurnedFromOut(), frame.size, nFlags, cv::BORDER_REPLICATE);
        cv::warpPerspective(turnedRight, warpedRight, rightSide.TurnedFromOut(), frame.size, nFlags,
                            cv::BORDER_REPLICATE);
        const Match match = MatchOverlap(warpedLeft, warpedRight, leftSide, rightSide);
        if (match.nRight == 0) {
            return refuse("the homography puts the right picture outside of the blended one");
        }
        cv::Mat blended(frame.size, left.type());
        BlendRows(warpedLeft, warpedRight, leftSide, rightSide, match, blended);
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
