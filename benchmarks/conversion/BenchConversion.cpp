// `Vision::MatToQImage` against a plain copy of the same bytes into an image of its own; both allocate. A picture of a
// camera (2592 x 1944) and one of the work area (7800 x 5400).

#include "ImageConversion.h"
#include "Ratios.h"

#include <opencv2/core.hpp>

#include <cstring>

namespace
{

struct Shape {
    cv::Size size;
    int nType;
    QImage::Format format;
};

const Shape g_cameraGrey{{2592, 1944}, CV_8UC1, QImage::Format_Indexed8};
const Shape g_cameraColour{{2592, 1944}, CV_8UC3, QImage::Format_RGB888};
const Shape g_cameraFour{{2592, 1944}, CV_8UC4, QImage::Format_ARGB32};
const Shape g_areaGrey{{7800, 5400}, CV_8UC1, QImage::Format_Indexed8};
const Shape g_areaColour{{7800, 5400}, CV_8UC3, QImage::Format_RGB888};

cv::Mat Picture(const Shape& shape)
{
    cv::Mat picture(shape.size, shape.nType);
    cv::RNG random(7);
    random.fill(picture, cv::RNG::UNIFORM, 0, 256);
    return picture;
}

void Convert(benchmark::State& state, const Shape& shape)
{
    Bench::SetCores(state);
    const cv::Mat picture = Picture(shape);
    for (auto _ : state) {
        const QImage image = Vision::MatToQImage(picture);
        benchmark::DoNotOptimize(image.constBits());
    }
}

/// One memcpy: no row of these pictures is padded.
void Copy(benchmark::State& state, const Shape& shape)
{
    Bench::SetCores(state);
    const cv::Mat picture = Picture(shape);
    for (auto _ : state) {
        QImage image(picture.cols, picture.rows, shape.format);
        std::memcpy(image.bits(), picture.data, static_cast<std::size_t>(image.sizeInBytes()));
        benchmark::DoNotOptimize(image.constBits());
    }
}

void CameraGrey(benchmark::State& state)
{
    Convert(state, g_cameraGrey);
}
void CameraGreyCopy(benchmark::State& state)
{
    Copy(state, g_cameraGrey);
}
void CameraColour(benchmark::State& state)
{
    Convert(state, g_cameraColour);
}
void CameraColourCopy(benchmark::State& state)
{
    Copy(state, g_cameraColour);
}
void CameraFour(benchmark::State& state)
{
    Convert(state, g_cameraFour);
}
void CameraFourCopy(benchmark::State& state)
{
    Copy(state, g_cameraFour);
}
void AreaGrey(benchmark::State& state)
{
    Convert(state, g_areaGrey);
}
void AreaGreyCopy(benchmark::State& state)
{
    Copy(state, g_areaGrey);
}
void AreaColour(benchmark::State& state)
{
    Convert(state, g_areaColour);
}
void AreaColourCopy(benchmark::State& state)
{
    Copy(state, g_areaColour);
}

} // namespace

#define CTC_CONVERSION(name) BENCHMARK(name)->Apply(Bench::MeasureOnCores)->MinTime(0.2)->Repetitions(5)
CTC_CONVERSION(CameraGrey);
CTC_CONVERSION(CameraGreyCopy);
CTC_CONVERSION(CameraColour);
CTC_CONVERSION(CameraColourCopy);
CTC_CONVERSION(CameraFour);
CTC_CONVERSION(CameraFourCopy);
CTC_CONVERSION(AreaGrey);
CTC_CONVERSION(AreaGreyCopy);
CTC_CONVERSION(AreaColour);
CTC_CONVERSION(AreaColourCopy);

int main(int argc, char** argv)
{
    // The plain copy's time as a share of ours would read upside down, so it stands first.
    return Bench::RunAndCompare(argc, argv,
                                {{"CameraGreyCopy", "CameraGrey"},
                                 {"CameraColourCopy", "CameraColour"},
                                 {"CameraFourCopy", "CameraFour"},
                                 {"AreaGreyCopy", "AreaGrey"},
                                 {"AreaColourCopy", "AreaColour"}});
}
