// The module operations of the manual road at run time against OpenCV's own operations, on two pictures of 2592 x 1944
// and the scales of a 900 x 600 mm machine. The homography and the lens files are read once an instance and therefore
// not measured.

#include "KorvaneVision.h"
#include "ObviousBlending.h"
#include "Ratios.h"

#include <opencv2/imgproc.hpp>

namespace
{

const cv::Size g_picture(2592, 1944);

cv::Mat Texture(int nSeed)
{
    cv::Mat coarse(g_picture / 24, CV_8UC3), picture;
    cv::RNG random(static_cast<std::uint64_t>(nSeed));
    random.fill(coarse, cv::RNG::UNIFORM, 60, 200);
    cv::resize(coarse, picture, g_picture, 0, 0, cv::INTER_CUBIC);
    return picture;
}

Bench::ManualPair MakePair()
{
    Bench::ManualPair pair;
    pair.left = Texture(1);
    pair.right = Texture(2);
    pair.camera = (cv::Mat_<double>(3, 3) << 1900.0, 0.0, 1301.0, 0.0, 1905.0, 966.0, 0.0, 0.0, 1.0);
    pair.distortion = (cv::Mat_<double>(1, 5) << -0.21, 0.06, 0.0004, -0.0003, 0.0);
    pair.dRectifyX = 1.0;
    pair.dRectifyY = 0.800000011920929;
    pair.dBlendX = 1.2499999813735487;
    pair.dBlendY = 1.0;
    pair.fullLeftFromFullRight =
        (cv::Mat_<double>(3, 3) << 1.01, 0.012, 1850.0, -0.011, 0.995, 14.0, 1.2e-6, -0.8e-6, 1.0);
    return pair;
}

Bench::ManualPair& ThePair()
{
    static Bench::ManualPair pair = MakePair();
    return pair;
}

bool Blend(cv::Mat& dst)
{
    Bench::ManualPair& pair = ThePair();
    const Korvane::CameraCalibration::ImageDirFlags flags(cv::ROTATE_90_CLOCKWISE, false, false);
    double dScore = -1.0;
    return Korvane::CameraCalibration::DoBlendingImageForDualCam(pair.left, flags, pair.right, flags, pair.dBlendX,
                                                                 pair.dBlendY, pair.fullLeftFromFullRight, dScore, dst);
}

void Rectify(benchmark::State& state)
{
    Bench::SetCores(state);
    Bench::ManualPair& pair = ThePair();
    for (auto _ : state) {
        cv::Mat rectified;
        if (!Korvane::CameraCalibration::UnDistortedImage(pair.left, pair.camera, pair.distortion, pair.dRectifyX,
                                                          pair.dRectifyY, rectified)) {
            state.SkipWithError("refused");
        }
    }
}

void RectifyObvious(benchmark::State& state)
{
    Bench::SetCores(state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(Bench::RectifyObviously(ThePair().left, ThePair()).data);
    }
}

void Blending(benchmark::State& state)
{
    Bench::SetCores(state);
    for (auto _ : state) {
        cv::Mat blended;
        if (!Blend(blended)) {
            state.SkipWithError("refused");
        }
    }
}

void BlendingObvious(benchmark::State& state)
{
    Bench::SetCores(state);
    cv::Mat ours;
    Blend(ours);
    // Where the left picture lies does not matter to the time, as long as the frame holds both.
    const cv::Matx33d outFromFullLeft(1.0, 0.0, 243.0, 0.0, 1.0, 156.0, 0.0, 0.0, 1.0);
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            Bench::BlendObviously(ThePair().left, ThePair().right, ThePair(), ours.size(), outFromFullLeft).data);
    }
}

void Expansion(benchmark::State& state)
{
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            Korvane::UtilityFunctions::CalculateExpansionHomography(ThePair().fullLeftFromFullRight, 6.0).data);
    }
}

} // namespace

BENCHMARK(Rectify)->Apply(Bench::MeasureOnCores)->MinTime(0.5)->Repetitions(5);
BENCHMARK(RectifyObvious)->Apply(Bench::MeasureOnCores)->MinTime(0.5)->Repetitions(5);
BENCHMARK(Blending)->Apply(Bench::MeasureOnCores)->MinTime(0.5)->Repetitions(5);
BENCHMARK(BlendingObvious)->Apply(Bench::MeasureOnCores)->MinTime(0.5)->Repetitions(5);
BENCHMARK(Expansion)->Unit(benchmark::kMicrosecond);

int main(int argc, char** argv)
{
    return Bench::RunAndCompare(argc, argv, {{"Rectify", "RectifyObvious"}, {"Blending", "BlendingObvious"}});
}
