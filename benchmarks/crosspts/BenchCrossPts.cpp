// The picture files of the run-time road against OpenCV's own reader and writer: a camera picture of 2592 x 1944 and a
// stitched picture of 7800 x 5400, both BGR bitmaps. Files lie in the temporary folder (TMPDIR), in the page cache.

#include "CrossPtsDetectDllR.h"

#include <benchmark/benchmark.h>

#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <unistd.h>

#include <filesystem>
#include <string>

namespace
{

const cv::Size g_sizes[] = {{2592, 1944}, {7800, 5400}};

/// One bitmap file of noise, removed at the end of the run.
class PictureFile
{
public:
    explicit PictureFile(const benchmark::State& state)
        : m_picture(g_sizes[state.range(0)], CV_8UC3),
          m_strFile((std::filesystem::temp_directory_path() / ("bench_crosspts_" + std::to_string(getpid()) + ".bmp"))
                        .string())
    {
        cv::RNG random(1);
        random.fill(m_picture, cv::RNG::UNIFORM, 0, 256);
        cv::imwrite(m_strFile, m_picture);
    }

    ~PictureFile()
    {
        std::error_code error;
        std::filesystem::remove(m_strFile, error);
    }

    PictureFile(const PictureFile&) = delete;
    PictureFile& operator=(const PictureFile&) = delete;

    cv::Mat m_picture;
    std::string m_strFile;
};

void SetCounters(benchmark::State& state, const cv::Mat& picture)
{
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(picture.total() * picture.elemSize()));
}

void ReadOurs(benchmark::State& state)
{
    const PictureFile file(state);
    // One buffer for the process, as a long run has it: it comes back in and grows where it must.
    static unsigned char* s_pPixels = nullptr;
    long nWidth = 0;
    long nHeight = 0;
    int nBits = 0;
    for (auto _ : state) {
        if (!Read_Image(s_pPixels, nWidth, nHeight, nBits, file.m_strFile.c_str())) {
            state.SkipWithError("refused");
        }
    }
    SetCounters(state, file.m_picture);
}

void ReadOpenCv(benchmark::State& state)
{
    const PictureFile file(state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(cv::imread(file.m_strFile, cv::IMREAD_UNCHANGED).data);
    }
    SetCounters(state, file.m_picture);
}

void SaveOurs(benchmark::State& state)
{
    const PictureFile file(state);
    for (auto _ : state) {
        if (!Save_Image(file.m_picture.data, file.m_picture.cols, file.m_picture.rows, 24, file.m_strFile.c_str())) {
            state.SkipWithError("refused");
        }
    }
    SetCounters(state, file.m_picture);
}

void SaveOpenCv(benchmark::State& state)
{
    const PictureFile file(state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(cv::imwrite(file.m_strFile, file.m_picture));
    }
    SetCounters(state, file.m_picture);
}

void GreyOurs(benchmark::State& state)
{
    cv::Mat picture(g_sizes[state.range(0)], CV_8UC3, cv::Scalar(10, 120, 230));
    cv::Mat grey(picture.size(), CV_8UC1);
    for (auto _ : state) {
        ConvertRGBToGray(picture.data, picture.cols, picture.rows, 24, grey.data);
        benchmark::DoNotOptimize(grey.data);
    }
    SetCounters(state, picture);
}

void GreyObvious(benchmark::State& state)
{
    const cv::Mat picture(g_sizes[state.range(0)], CV_8UC3, cv::Scalar(10, 120, 230));
    cv::Mat grey(picture.size(), CV_8UC1);
    for (auto _ : state) {
        for (int y = 0; y < picture.rows; ++y) {
            const auto* pSource = picture.ptr<cv::Vec3b>(y);
            auto* pTarget = grey.ptr<unsigned char>(y);
            for (int x = 0; x < picture.cols; ++x) {
                pTarget[x] = cv::saturate_cast<unsigned char>(0.114 * pSource[x][0] + 0.587 * pSource[x][1] +
                                                              0.299 * pSource[x][2]);
            }
        }
        benchmark::DoNotOptimize(grey.data);
    }
    SetCounters(state, picture);
}

} // namespace

// Argument: 0 for the camera picture, 1 for the stitched one.
BENCHMARK(ReadOurs)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(ReadOpenCv)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(SaveOurs)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(SaveOpenCv)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(GreyOurs)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(GreyObvious)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

BENCHMARK_MAIN();
