#include "SurfaceTrace.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace Simulator
{

namespace
{

/// Sine and cosine of the angle that a radius stands for, by cubic Hermite pieces: exact to 1e-13.
class AngleTable
{
public:
    explicit AngleTable(const CameraModel& model)
        : m_dMaxRadius(model.Radius(model.MaxTheta())), m_dStep(m_dMaxRadius / g_nPieces), m_vecNodes(g_nPieces + 1)
    {
        double theta = 0.0;
        for (int i = 0; i <= g_nPieces; ++i) {
            theta = model.ThetaFromRadius(std::min(i * m_dStep, m_dMaxRadius), theta).value_or(model.MaxTheta());
            const double slope = m_dStep / model.RadiusDerivative(theta);
            m_vecNodes[static_cast<std::size_t>(i)] = {std::sin(theta), std::cos(theta), std::cos(theta) * slope,
                                                       -std::sin(theta) * slope};
        }
    }

    bool Has(double radius) const { return radius <= m_dMaxRadius; }
    void At(double radius, double& sine, double& cosine) const
    {
        const double place = radius / m_dStep;
        const auto nPiece = static_cast<std::size_t>(std::min(static_cast<int>(place), g_nPieces - 1));
        const double t = place - static_cast<double>(nPiece);
        const double u = 1.0 - t;
        const Node& a = m_vecNodes[nPiece];
        const Node& b = m_vecNodes[nPiece + 1];
        const double ofA = u * u * (1.0 + 2.0 * t), ofB = t * t * (1.0 + 2.0 * u);
        const double slopeA = t * u * u, slopeB = -t * t * u;
        sine = ofA * a.sine + ofB * b.sine + slopeA * a.sineSlope + slopeB * b.sineSlope;
        cosine = ofA * a.cosine + ofB * b.cosine + slopeA * a.cosineSlope + slopeB * b.cosineSlope;
    }

private:
    struct Node {
        double sine, cosine;
        double sineSlope, cosineSlope; ///< per piece
    };
    static constexpr int g_nPieces = 4096;

    double m_dMaxRadius;
    double m_dStep;
    std::vector<Node> m_vecNodes;
};

} // namespace

cv::Mat TraceSurface(const CameraModel& model)
{
    const AngleTable angles(model);
    const cv::Matx33d machineFromCamera = model.CameraFromMachine().t();
    const cv::Point3d centre = model.CentreMm();
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    cv::Mat surface(model.PictureSize(), CV_32FC2);
    cv::parallel_for_(cv::Range(0, surface.rows), [&](const cv::Range& rows) {
        for (int y = rows.start; y < rows.end; ++y) {
            auto* pRow = surface.ptr<cv::Point2f>(y);
            for (int x = 0; x < surface.cols; ++x) {
                pRow[x] = {nan, nan};
                const cv::Point2d plane = model.Centred({static_cast<double>(x), static_cast<double>(y)});
                const double radius = std::sqrt(plane.dot(plane));
                if (!angles.Has(radius)) {
                    continue;
                }
                double sine = 0.0, cosine = 1.0;
                angles.At(radius, sine, cosine);
                const double share = radius > 0.0 ? sine / radius : 0.0;
                const cv::Vec3d direction = machineFromCamera * cv::Vec3d(share * plane.x, share * plane.y, cosine);
                if (!(direction[2] < CameraModel::g_dLeastDescent)) {
                    const double length = -centre.z / direction[2];
                    pRow[x] =
                        cv::Point2f(cv::Point2d(centre.x + length * direction[0], centre.y + length * direction[1]));
                }
            }
        }
    });
    return surface;
}

} // namespace Simulator
