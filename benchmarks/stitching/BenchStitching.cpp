// Stitching and rectification of real-sized pictures against OpenCV's own operations, on one core and on all.

#include "FisheyeCalibrationDllR.h"
#include "ObviousStitching.h"
#include "Ratios.h"

namespace
{

const cv::Size g_picture(2592, 1944);
const cv::Size g_stitched(7800, 5400);
const cv::Size g_rectified(5184, 3888);

Bench::Camera MakeCamera(double dXmm, double dTurnRad, int nSeed)
{
    Bench::Camera camera;
    camera.picture.create(g_picture, CV_8UC3);
    cv::RNG random(static_cast<std::uint64_t>(nSeed));
    random.fill(camera.picture, cv::RNG::UNIFORM, 60, 200);
    Fisheye::FisheyeModel& model = camera.model;
    model.nWidth = g_picture.width;
    model.nHeight = g_picture.height;
    model.fx = model.fy = 1350.0;
    model.cx = 1295.5;
    model.cy = 971.5;
    model.k = {-0.02, 0.003, 0.0, 0.0};
    model.rotation = cv::Vec3d(0.0, 0.0, dTurnRad);
    const cv::Vec3d centre(dXmm, 450.0, -700.0);
    model.translationMm = -(model.RotationMatrix() * centre);
    model.maxThetaRad = model.LargestMonotonicTheta(1.5);
    return camera;
}

struct Pair {
    Bench::Camera left = MakeCamera(370.0, CV_PI, 1);
    Bench::Camera right = MakeCamera(930.0, 0.0, 2);
};

Pair& ThePair()
{
    static Pair pair;
    return pair;
}

void StitchingOurs(benchmark::State& state)
{
    Bench::SetCores(state);
    Pair& pair = ThePair();
    const FishEyeCalibrationParam left = Fisheye::PackRecord(pair.left.model);
    const FishEyeCalibrationParam right = Fisheye::PackRecord(pair.right.model);
    cv::Mat out(g_stitched, CV_8UC3, cv::Scalar::all(0));
    DualFishEyeCalibrationParam dual;
    for (auto _ : state) {
        if (!FishEyeImageStitching(pair.left.picture.data, g_picture.width, g_picture.height, 24, left, {},
                                   pair.right.picture.data, g_picture.width, g_picture.height, 24, right, {}, out.data,
                                   g_stitched.width, g_stitched.height, 24, dual)) {
            state.SkipWithError("refused");
        }
    }
}

void StitchingObvious(benchmark::State& state)
{
    Bench::SetCores(state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(Bench::StitchObviously(ThePair().left, ThePair().right, g_stitched));
    }
}

void StitchingTuned(benchmark::State& state)
{
    Bench::SetCores(state);
    Bench::TunedStitching tuned(ThePair().left, ThePair().right, g_stitched);
    tuned.Stitch(ThePair().left.picture, ThePair().right.picture);
    for (auto _ : state) {
        benchmark::DoNotOptimize(tuned.Stitch(ThePair().left.picture, ThePair().right.picture).data);
    }
}

void RectifyOurs(benchmark::State& state)
{
    Bench::SetCores(state);
    Pair& pair = ThePair();
    const FishEyeCalibrationParam param = Fisheye::PackRecord(pair.left.model);
    cv::Mat out(g_rectified, CV_8UC3, cv::Scalar::all(0));
    for (auto _ : state) {
        if (!SingleCamCorrected(pair.left.picture.data, g_picture.width, g_picture.height, 24, param, out.data,
                                g_rectified.width, g_rectified.height, nullptr)) {
            state.SkipWithError("refused");
        }
    }
}

void RectifyObvious(benchmark::State& state)
{
    Bench::SetCores(state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(Bench::RectifyObviously(ThePair().left, g_rectified));
    }
}

} // namespace

BENCHMARK(StitchingOurs)->Apply(Bench::MeasureOnCores);
BENCHMARK(StitchingTuned)->Apply(Bench::MeasureOnCores);
BENCHMARK(StitchingObvious)->Apply(Bench::MeasureOnCores)->Iterations(3);
BENCHMARK(RectifyOurs)->Apply(Bench::MeasureOnCores);
BENCHMARK(RectifyObvious)->Apply(Bench::MeasureOnCores)->Iterations(3);

int main(int argc, char** argv)
{
    return Bench::RunAndCompare(argc, argv,
                                {{"StitchingOurs", "StitchingTuned"},
                                 {"StitchingOurs", "StitchingObvious"},
                                 {"RectifyOurs", "RectifyObvious"}});
}
