#include "ObviousRoad.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

namespace Bench
{

ObviousRoad::ObviousRoad(const std::string& strFolder, const Camera& left, const Camera& right,
                         const cv::Size& stitched)
    : m_strFolder(strFolder), m_left(left), m_right(right), m_stitched(stitched)
{
}

void ObviousRoad::Calib(const cv::Mat& left, const cv::Mat& right)
{
    const auto throughFile = [this](const cv::Mat& picture, const char* pName, Camera& camera) {
        const std::string strFile = m_strFolder + pName;
        cv::imwrite(strFile, picture);
        camera.picture = cv::imread(strFile, cv::IMREAD_UNCHANGED);
        cv::Mat grey;
        cv::cvtColor(camera.picture, grey, cv::COLOR_BGR2GRAY);
    };
    throughFile(left, "/obvious_left.bmp", m_left);
    throughFile(right, "/obvious_right.bmp", m_right);
    for (const Camera* pCamera : {&m_left, &m_right}) {
        RectifyObviously(*pCamera, left.size() * 2);
    }
}

cv::Mat ObviousRoad::Fuse()
{
    const std::string strFile = m_strFolder + "/obvious_stitched.bmp";
    cv::imwrite(strFile, Stitch());
    return cv::imread(strFile, cv::IMREAD_COLOR);
}

cv::Mat ObviousRoad::Stitch() const
{
    return StitchObviously(m_left, m_right, m_stitched);
}

} // namespace Bench
