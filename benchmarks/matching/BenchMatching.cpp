// Matching points and homography of two pictures of 2592 x 1944 against the obvious way: features of the whole
// pictures, each compared with each, ratio test, RANSAC. On a bed with a pattern across the seam, a third of it hidden,
// the right camera darker by 30 %. The label says how far the homography is off at the seam, from the truth; the last
// line says the same of ten machines.

#include "KorvaneVision.h"
#include "Ratios.h"
#include "SeamScene.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/features2d.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <vector>

namespace
{

using namespace Korvane::CameraCalibration;

struct Bed {
    Simulator::Machine machine{Simulator::Machine::Kind::Manual, 1};
    Simulator::SeamScene scene = Simulator::MakeSeamScene(machine, 1, {true, 0.3, 40.0, 0.7});
};

const Bed& TheBed()
{
    static const Bed s_bed;
    return s_bed;
}

void Tell(benchmark::State& state, std::size_t nMatches, const cv::Mat& homography)
{
    std::array<char, 80> text{};
    std::snprintf(text.data(), text.size(), "%zu matches, %.3f px off at the seam", nMatches,
                  homography.empty() ? -1.0 : Simulator::SeamErrorPx(TheBed().machine, homography));
    state.SetLabel(text.data());
}

void MatchIn(benchmark::State& state, const cv::Rect& leftRoi, const cv::Rect& rightRoi)
{
    Bench::SetCores(state);
    const Simulator::SeamScene& scene = TheBed().scene;
    const ImageDirFlags flags(cv::ROTATE_90_CLOCKWISE, false, false);
    std::vector<cv::Point2f> first, second;
    cv::Mat homography;
    for (auto _ : state) {
        double error = -1.0;
        if (!CalibrationMatchPointsForDualCam(scene.left, flags, leftRoi, scene.right, flags, rightRoi, 0.8, 0.8, 0.7,
                                              first, second) ||
            !CreateHomography(first, second, homography, error, 3.0, 2000, 0.995)) {
            state.SkipWithError(GetLastError().c_str());
        }
    }
    Tell(state, first.size(), homography);
}

void Matching(benchmark::State& state)
{
    MatchIn(state, TheBed().scene.leftRoi, TheBed().scene.rightRoi);
}

void MatchingWholePictures(benchmark::State& state)
{
    MatchIn(state, cv::Rect(0, 0, 1944, 2592), cv::Rect(0, 0, 1944, 2592));
}

void MatchingObvious(benchmark::State& state)
{
    Bench::SetCores(state);
    const auto pDetector = cv::SIFT::create();
    std::vector<cv::Point2f> first, second;
    cv::Mat homography;
    for (auto _ : state) {
        std::array<std::vector<cv::KeyPoint>, 2> keys;
        std::array<cv::Mat, 2> descriptors;
        for (const std::size_t i : {0U, 1U}) {
            cv::Mat turned, grey;
            cv::rotate(i == 0 ? TheBed().scene.left : TheBed().scene.right, turned, cv::ROTATE_90_CLOCKWISE);
            cv::cvtColor(turned, grey, cv::COLOR_BGR2GRAY);
            pDetector->detectAndCompute(grey, cv::noArray(), keys[i], descriptors[i]);
        }
        std::vector<std::vector<cv::DMatch>> found;
        cv::BFMatcher(cv::NORM_L2).knnMatch(descriptors[0], descriptors[1], found, 2);
        first.clear();
        second.clear();
        for (const auto& best : found) {
            if (best.size() == 2 && best[0].distance < 0.7f * best[1].distance) {
                second.push_back(keys[0][static_cast<std::size_t>(best[0].queryIdx)].pt);
                first.push_back(keys[1][static_cast<std::size_t>(best[0].trainIdx)].pt);
            }
        }
        homography = cv::findHomography(first, second, cv::RANSAC, 3.0, cv::noArray(), 2000, 0.995);
    }
    Tell(state, first.size(), homography);
}

void TellOfTenMachines()
{
    double worst = 0.0;
    int nRefused = 0;
    for (std::uint64_t nSeed = 1; nSeed <= 10; ++nSeed) {
        Simulator::Machine machine(Simulator::Machine::Kind::Manual, nSeed);
        const Simulator::SeamScene scene = Simulator::MakeSeamScene(machine, nSeed, {true, 0.3, 40.0, 0.7});
        const ImageDirFlags flags(cv::ROTATE_90_CLOCKWISE, false, false);
        std::vector<cv::Point2f> first, second;
        cv::Mat homography;
        double error = -1.0;
        if (!CalibrationMatchPointsForDualCam(scene.left, flags, scene.leftRoi, scene.right, flags, scene.rightRoi, 0.8,
                                              0.8, 0.7, first, second) ||
            !CreateHomography(first, second, homography, error, 3.0, 2000, 0.995)) {
            ++nRefused;
            continue;
        }
        worst = std::max(worst, Simulator::SeamErrorPx(machine, homography));
    }
    std::printf("ten machines: %d refused, worst %.3f px off at the seam\n", nRefused, worst);
}

} // namespace

BENCHMARK(Matching)->Apply(Bench::MeasureOnCores)->Repetitions(5);
BENCHMARK(MatchingWholePictures)->Apply(Bench::MeasureOnCores)->Repetitions(3);
BENCHMARK(MatchingObvious)->Apply(Bench::MeasureOnCores)->Iterations(1)->Repetitions(2);

int main(int argc, char** argv)
{
    const int nResult = Bench::RunAndCompare(
        argc, argv, {{"Matching", "MatchingObvious"}, {"MatchingWholePictures", "MatchingObvious"}});
    TellOfTenMachines();
    return nResult;
}
