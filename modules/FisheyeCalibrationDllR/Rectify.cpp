#include "FisheyeCalibrationDllR.h"
#include "FisheyeModel.h"
#include "GridWarp.h"
#include "Log.h"

#include <algorithm>
#include <cmath>
#include <exception>

namespace
{

// A rectilinear picture grows without bound toward 90 degrees.
constexpr double kWidestHalfAngleRad = 1.05;

/// Where a pixel of the rectilinear picture lies in the raw one: the pinhole camera looks along the lens's own axis,
/// its principal point is the picture's centre, and its focal length shows the raw picture's width.
class RectilinearProjection
{
public:
    RectilinearProjection(const Fisheye::FisheyeModel& model, long nWidth, long nHeight)
        : m_model(model), m_cx(0.5 * static_cast<double>(nWidth - 1)), m_cy(0.5 * static_cast<double>(nHeight - 1)),
          m_limit(std::min(model.maxThetaRad, 1.3))
    {
        const double dHalfRadius = std::min(0.5 * model.nWidth / model.fx, model.Radius(m_limit));
        const double dHalfAngle = std::min(model.ThetaFromRadius(dHalfRadius).value_or(m_limit), kWidestHalfAngleRad);
        m_focalPx = 0.5 * static_cast<double>(nWidth) / std::tan(std::max(dHalfAngle, 0.01));
    }

    Fisheye::SourcePlace operator()(double x, double y) const
    {
        const double u = (x - m_cx) / m_focalPx;
        const double v = (y - m_cy) / m_focalPx;
        const double dLateral = std::sqrt(u * u + v * v);
        Fisheye::SourcePlace place;
        place.thetaRad = std::atan(dLateral);
        if (!(place.thetaRad <= m_limit)) {
            return place;
        }
        const double dScale = dLateral > 1.0e-12 ? m_model.Radius(place.thetaRad) / dLateral : 1.0;
        place.x = m_model.fx * dScale * u + m_model.cx;
        place.y = m_model.fy * dScale * v + m_model.cy;
        place.bValid = true;
        return place;
    }

private:
    Fisheye::FisheyeModel m_model;
    double m_cx, m_cy, m_limit;
    double m_focalPx = 1.0;
};

bool Refuse(const char* pReason)
{
    ILog_WriteLogF(2, "SingleCamCorrected: %s", pReason);
    return false;
}

bool IsSize(long nWidth, long nHeight)
{
    return nWidth > 0 && nHeight > 0 && nWidth <= Fisheye::kMaxSide && nHeight <= Fisheye::kMaxSide;
}

} // namespace

bool SingleCamCorrected(unsigned char* src, long srcWidth, long srcHeight, int bits, FishEyeCalibrationParam param,
                        unsigned char* dst, long dstWidth, long dstHeight, unsigned char* mask)
{
    try {
        if (!src || !dst || !IsSize(srcWidth, srcHeight) || !IsSize(dstWidth, dstHeight) ||
            (bits != 8 && bits != 24 && bits != 32)) {
            return Refuse("there are no pixels, or the sizes or the depth are not those of a picture");
        }
        const char* pReason = "";
        const auto model = Fisheye::UnpackRecord(param, &pReason);
        if (!model) {
            return Refuse(pReason);
        }
        if (model->nWidth != srcWidth || model->nHeight != srcHeight) {
            return Refuse("the record is for pictures of another size");
        }
        const Fisheye::WarpLayer layer{{src, static_cast<int>(srcWidth), static_cast<int>(srcHeight), bits / 8},
                                       RectilinearProjection(*model, dstWidth, dstHeight),
                                       {}};
        Fisheye::PaintWarp({dst, static_cast<int>(dstWidth), static_cast<int>(dstHeight), mask}, layer, nullptr);
        return true;
    } catch (const std::exception& exception) {
        return Refuse(exception.what());
    }
}
