// What the automatic road asks the fisheye module for besides pictures: the records, which are read anew for each
// picture and each point, and the conversions of one point. Against OpenCV's own operations, on one core each. Files
// lie in the temporary folder (TMPDIR), in the page cache.

#include "DualModel.h"
#include "FisheyeCalibrationDllR.h"
#include "FisheyeModel.h"
#include "Ratios.h"

#include <opencv2/core/persistence.hpp>

#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

FishEyeCalibrationParam CameraRecord()
{
    Fisheye::FisheyeModel model;
    model.nWidth = 2592;
    model.nHeight = 1944;
    model.fx = model.fy = 1350.0;
    model.cx = 1295.5;
    model.cy = 971.5;
    model.k = {-0.02, 0.003, 0.0, 0.0};
    model.translationMm = {-930.0, -450.0, 700.0};
    model.maxThetaRad = model.LargestMonotonicTheta(1.5);
    return Fisheye::PackRecord(model);
}

DualFishEyeCalibrationParam PairRecord()
{
    Fisheye::DualModel model;
    model.nWidth = 7800;
    model.nHeight = 5400;
    return Fisheye::PackDualRecord(model);
}

/// The records as the module writes them, and the same numbers as matrices.
class Files
{
public:
    Files()
    {
        std::string strFolder = (std::filesystem::temp_directory_path() / "bench_records_XXXXXX").string();
        if (!mkdtemp(strFolder.data())) {
            throw std::runtime_error(strFolder + " cannot be made");
        }
        m_folder = strFolder;
        const FishEyeCalibrationParam camera = CameraRecord();
        const DualFishEyeCalibrationParam pair = PairRecord();
        if (!SaveCalibrationParam(Camera().c_str(), camera) || !SaveDualCamerasCalibrationParam(Pair().c_str(), pair)) {
            throw std::runtime_error("the records cannot be written to " + strFolder);
        }
        WriteMatrix(CameraMatrix(), {camera.words.begin(), camera.words.end()});
        WriteMatrix(PairMatrix(), {pair.words.begin(), pair.words.end()});
    }
    ~Files()
    {
        std::error_code error;
        std::filesystem::remove_all(m_folder, error);
    }
    Files(const Files&) = delete;
    Files& operator=(const Files&) = delete;

    std::string Camera() const { return (m_folder / "camera.xml").string(); }
    std::string Pair() const { return (m_folder / "pair.ini").string(); }
    std::string CameraMatrix() const { return (m_folder / "camera_matrix.xml").string(); }
    std::string PairMatrix() const { return (m_folder / "pair_matrix.xml").string(); }

private:
    static void WriteMatrix(const std::string& strFile, const std::vector<double>& numbers)
    {
        cv::FileStorage storage(strFile, cv::FileStorage::WRITE);
        storage << "Record" << cv::Mat(numbers);
    }

    std::filesystem::path m_folder;
};

void ReadMatrix(benchmark::State& state, const std::string& strFile, int nNumbers)
{
    for (auto _ : state) {
        cv::Mat matrix;
        cv::FileStorage(strFile, cv::FileStorage::READ)["Record"] >> matrix;
        if (matrix.rows != nNumbers) {
            state.SkipWithError("not read");
        }
    }
}

void CameraRecordOurs(benchmark::State& state)
{
    const Files files;
    FishEyeCalibrationParam param;
    for (auto _ : state) {
        if (!LoadCalibrationParam(files.Camera().c_str(), param)) {
            state.SkipWithError("refused");
        }
    }
}

void CameraRecordObvious(benchmark::State& state)
{
    const Files files;
    ReadMatrix(state, files.CameraMatrix(), 29);
}

void PairRecordOurs(benchmark::State& state)
{
    const Files files;
    DualFishEyeCalibrationParam param;
    for (auto _ : state) {
        if (!LoadDualCamerasCalibrationParam(files.Pair().c_str(), param)) {
            state.SkipWithError("refused");
        }
    }
}

void PairRecordObvious(benchmark::State& state)
{
    const Files files;
    ReadMatrix(state, files.PairMatrix(), 7);
}

void ToWorldOurs(benchmark::State& state)
{
    const DualFishEyeCalibrationParam param = PairRecord();
    float worldX = 0.0f;
    float worldY = 0.0f;
    float worldZ = 0.0f;
    for (auto _ : state) {
        benchmark::DoNotOptimize(DualCam_CorrectedImageToWorldPoint(3900.0f, 2703.0f, param, worldX, worldY, worldZ));
    }
}

void ToPixelOurs(benchmark::State& state)
{
    const DualFishEyeCalibrationParam param = PairRecord();
    float x = 0.0f;
    float y = 0.0f;
    for (auto _ : state) {
        benchmark::DoNotOptimize(DualCam_WorldToSecondCorrectedImagePoint(650.0f, 450.5f, 0.0f, param, x, y));
    }
}

void PointObvious(benchmark::State& state)
{
    const cv::Matx33d mmFromPixel(1.0 / 6.0, 0.0, 0.0, 0.0, 1.0 / 6.0, 0.0, 0.0, 0.0, 1.0);
    const std::vector<cv::Point2d> pixel{{3900.0, 2703.0}};
    std::vector<cv::Point2d> mm;
    for (auto _ : state) {
        cv::perspectiveTransform(pixel, mm, mmFromPixel);
        benchmark::DoNotOptimize(mm.data());
    }
}

} // namespace

BENCHMARK(CameraRecordOurs)->Unit(benchmark::kMicrosecond)->Repetitions(5);
BENCHMARK(CameraRecordObvious)->Unit(benchmark::kMicrosecond)->Repetitions(5);
BENCHMARK(PairRecordOurs)->Unit(benchmark::kMicrosecond)->Repetitions(5);
BENCHMARK(PairRecordObvious)->Unit(benchmark::kMicrosecond)->Repetitions(5);
BENCHMARK(ToWorldOurs)->Unit(benchmark::kMicrosecond)->Repetitions(5);
BENCHMARK(ToPixelOurs)->Unit(benchmark::kMicrosecond)->Repetitions(5);
BENCHMARK(PointObvious)->Unit(benchmark::kMicrosecond)->Repetitions(5);

int main(int argc, char** argv)
{
    try {
        return Bench::RunAndCompare(argc, argv,
                                    {{"CameraRecordOurs", "CameraRecordObvious"},
                                     {"PairRecordOurs", "PairRecordObvious"},
                                     {"ToWorldOurs", "PointObvious"},
                                     {"ToPixelOurs", "PointObvious"}});
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "%s\n", exception.what());
        return 1;
    }
}
