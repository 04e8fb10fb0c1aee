#include "CrossRefinement.h"
#include "FisheyeScene.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{

struct CrossScene {
    FisheyeScene::Camera camera = FisheyeScene::RightCamera(2);
    std::vector<CalibrationPoint> exact = FisheyeScene::ExactPoints(camera, 3);
    Fisheye::FisheyeProjector projector{camera.model};
    cv::Mat gray;

    explicit CrossScene(const FisheyeScene::SceneOptions& options) : gray(FisheyeScene::Render(camera, exact, options))
    {
    }

    cv::Point2d Exact(std::size_t i) const { return {exact[i].fImageX, exact[i].fImageY}; }
};

struct Outcome {
    int nFound = 0;
    double rmsPx = 0.0;
    double maxPx = 0.0;
};

/// Search and measurement of every cross, expected some pixels off in a different direction each.
Outcome LocateAll(const CrossScene& scene, const Fisheye::CrossSearch& search, double offPx)
{
    Outcome outcome;
    for (std::size_t i = 0; i < scene.exact.size(); ++i) {
        const double turn = 2.4 * static_cast<double>(i);
        const cv::Point2d expected = scene.Exact(i) + offPx * cv::Point2d(std::cos(turn), std::sin(turn));
        const auto found = Fisheye::FindCross(scene.gray, scene.projector, expected, search);
        const auto centre = found ? Fisheye::MeasureCross(scene.gray, scene.projector, *found, search) : std::nullopt;
        if (centre) {
            const double errorPx = cv::norm(centre->pixel - scene.Exact(i));
            ++outcome.nFound;
            outcome.rmsPx += errorPx * errorPx;
            outcome.maxPx = std::max(outcome.maxPx, errorPx);
        }
    }
    outcome.rmsPx = std::sqrt(outcome.rmsPx / std::max(1, outcome.nFound));
    return outcome;
}

} // namespace

TEST(CrossRefinement, CrossesOnQuietMaterialAreMeasuredToAFewHundredthsOfAPixel)
{
    FisheyeScene::SceneOptions options;
    options.textureSigma = 1.0;
    options.noiseSigma = 1.0;
    const Outcome outcome = LocateAll(CrossScene(options), {}, 8.0);
    EXPECT_EQ(outcome.nFound, 35);
    EXPECT_LT(outcome.rmsPx, 0.03);
    EXPECT_LT(outcome.maxPx, 0.08);
}

TEST(CrossRefinement, CrossesOnGrainyMaterialAreMostlyFoundAndMeasuredToAFifthOfAPixel)
{
    const Outcome outcome = LocateAll(CrossScene({}), {}, 8.0);
    EXPECT_GE(outcome.nFound, 27);
    EXPECT_LT(outcome.rmsPx, 0.2);
}

TEST(CrossRefinement, ShortCrossesAreFoundWithAShortArm)
{
    FisheyeScene::SceneOptions options;
    options.textureSigma = 2.0;
    options.armMm = 8.0;
    Fisheye::CrossSearch search;
    search.armMm = 7.0;
    const Outcome outcome = LocateAll(CrossScene(options), search, 5.0);
    EXPECT_GE(outcome.nFound, 33);
    EXPECT_LT(outcome.rmsPx, 0.15);
}

TEST(CrossRefinement, LightLinesAreFoundWhenTheyAreLookedFor)
{
    FisheyeScene::SceneOptions options;
    options.textureSigma = 2.0;
    options.bBright = true;
    const CrossScene scene(options);
    Fisheye::CrossSearch search;
    EXPECT_LE(LocateAll(scene, search, 5.0).nFound, 2);
    search.bBright = true;
    const Outcome outcome = LocateAll(scene, search, 5.0);
    EXPECT_EQ(outcome.nFound, 35);
    EXPECT_LT(outcome.rmsPx, 0.06);
}

TEST(CrossRefinement, MaterialWithoutACrossShowsNone)
{
    FisheyeScene::SceneOptions options;
    for (const CalibrationPoint& point : FisheyeScene::ExactPoints(FisheyeScene::RightCamera(2), 3)) {
        options.missingIds.push_back(point.nId);
    }
    const CrossScene scene(options);
    int nFound = 0;
    for (std::size_t i = 0; i < scene.exact.size(); ++i) {
        const auto found = Fisheye::FindCross(scene.gray, scene.projector, scene.Exact(i), {});
        const auto centre = found ? Fisheye::MeasureCross(scene.gray, scene.projector, *found, {}) : std::nullopt;
        nFound += centre && centre->lineShare > 0.6 ? 1 : 0;
    }
    EXPECT_LE(nFound, 1);
}

TEST(CrossRefinement, AnExpectedPixelAtOrBeyondTheEdgeIsNoCrossAndNoCrash)
{
    const CrossScene scene({});
    for (const cv::Point2d& pixel :
         {cv::Point2d(0.0, 0.0), cv::Point2d(2591.0, 1943.0), cv::Point2d(-50.0, 900.0), cv::Point2d(1.0e5, 1.0e5)}) {
        EXPECT_FALSE(Fisheye::FindCross(scene.gray, scene.projector, pixel, {}).has_value());
        EXPECT_FALSE(Fisheye::MeasureCross(scene.gray, scene.projector, pixel, {}).has_value());
    }
}

TEST(CrossRefinement, APictureOfOnePixelShowsNoCross)
{
    const CrossScene scene({});
    const cv::Mat tiny(1, 1, CV_8UC1, cv::Scalar(100));
    EXPECT_FALSE(Fisheye::FindCross(tiny, scene.projector, scene.Exact(17), {}).has_value());
    EXPECT_FALSE(Fisheye::MeasureCross(tiny, scene.projector, scene.Exact(17), {}).has_value());
}
