#include "KorvaneVision.h"
#include "VisionError.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <vector>

namespace
{

/// Everything that a table follows from, number by number.
using TableKey = std::vector<double>;

struct Table {
    TableKey key;
    cv::Mat coordinates; ///< CV_16SC2
    cv::Mat fractions;   ///< CV_16UC1
};

/// The tables of the last few lenses. Keyed by content, so that a changed lens never meets an old table, and bounded:
/// two cameras and one change of each.
class TableCache
{
public:
    static TableCache& Instance()
    {
        static auto* pCache = new TableCache;
        return *pCache;
    }

    template <typename Make> std::shared_ptr<const Table> Get(const TableKey& key, Make make)
    {
        const std::lock_guard lock(m_mutex);
        for (const auto& pTable : m_listTables) {
            if (pTable->key == key) {
                return pTable;
            }
        }
        auto pTable = std::make_shared<Table>();
        pTable->key = key;
        make(*pTable);
        m_listTables.push_front(pTable);
        if (m_listTables.size() > 4) {
            m_listTables.pop_back();
        }
        return pTable;
    }

private:
    std::mutex m_mutex;
    std::deque<std::shared_ptr<const Table>> m_listTables;
};

bool IsCamera(const cv::Mat& camera)
{
    return camera.rows == 3 && camera.cols == 3 && camera.channels() == 1 && cv::checkRange(camera);
}

} // namespace

bool Korvane::CameraCalibration::UnDistortedImage(const cv::Mat& src, cv::Mat& cameraMatrix, cv::Mat& distortion,
                                                  const double& a, const double& b, cv::Mat& dst)
{
    constexpr const char* pOperation = "UnDistortedImage";
    try {
        if (src.empty() || src.cols > 32766 || src.rows > 32766) {
            return Fail(pOperation, "there is no picture, or it is too large");
        }
        if (!IsCamera(cameraMatrix) || !cv::checkRange(distortion) || !std::isfinite(a) || !std::isfinite(b) ||
            a <= 0.0 || b <= 0.0) {
            return Fail(pOperation, "the camera matrix, the distortion or the scales are not those of a camera");
        }
        cv::Mat camera;
        cv::Mat lens;
        cameraMatrix.convertTo(camera, CV_64F);
        distortion.convertTo(lens, CV_64F);
        lens = lens.empty() ? cv::Mat::zeros(1, 5, CV_64F) : lens.reshape(1, 1);
        // The scales act about the picture's centre, so the principal point moves with them.
        const cv::Point2d centre(0.5 * (src.cols - 1), 0.5 * (src.rows - 1));
        cv::Mat scaled = camera.clone();
        scaled.at<double>(0, 0) *= a;
        scaled.at<double>(0, 1) *= a;
        scaled.at<double>(0, 2) = centre.x + a * (camera.at<double>(0, 2) - centre.x);
        scaled.at<double>(1, 1) *= b;
        scaled.at<double>(1, 2) = centre.y + b * (camera.at<double>(1, 2) - centre.y);

        TableKey key{static_cast<double>(src.cols), static_cast<double>(src.rows), a, b};
        key.insert(key.end(), camera.begin<double>(), camera.end<double>());
        key.insert(key.end(), lens.begin<double>(), lens.end<double>());
        const auto pTable = TableCache::Instance().Get(key, [&](Table& table) {
            cv::initUndistortRectifyMap(camera, lens, cv::noArray(), scaled, src.size(), CV_16SC2, table.coordinates,
                                        table.fractions);
        });
        cv::Mat rectified;
        cv::remap(src, rectified, pTable->coordinates, pTable->fractions, cv::INTER_LINEAR, cv::BORDER_CONSTANT);
        dst = rectified;
        return true;
    } catch (const std::exception& exception) {
        return Fail(pOperation, exception.what());
    }
}
