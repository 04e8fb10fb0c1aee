#include "FisheyeScene.h"

#include "FisheyeCalibrationDllR.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace
{

using FisheyeScene::Camera;
using Points = std::vector<CalibrationPoint>;

constexpr int kFirst = 1;
constexpr int kLast = 56;

/// The crosses of some columns of the pattern, seen by one of the two cameras.
struct ArrowScene {
    bool bLeft;
    std::uint64_t nSeed;
    Camera camera;
    Points exact;

    ArrowScene(bool bLeftCamera, std::uint64_t nSceneSeed)
        : bLeft(bLeftCamera), nSeed(nSceneSeed),
          camera(bLeft ? FisheyeScene::LeftCamera(nSeed) : FisheyeScene::RightCamera(nSeed)),
          exact(FisheyeScene::ExactPoints(camera, bLeft ? 0 : 3))
    {
    }

    /// Six columns: one more than this camera marks.
    cv::Mat Picture(FisheyeScene::SceneOptions options = {}) const
    {
        options.nSeed = nSeed;
        return FisheyeScene::Render(camera, FisheyeScene::ExactPoints(camera, bLeft ? 0 : 2, 6), options);
    }
    Points Clicks() const { return FisheyeScene::Clicked(exact, 3.0, nSeed); }
};

/// The log's reason; empty for a calibration that was good.
std::string Refusal(const cv::Mat& gray, Points points)
{
    FishEyeCalibrationParam param;
    double errorPx = 0.0;
    testing::internal::CaptureStderr();
    const bool bGood = SingleCamCalibration(gray.data, gray.cols, gray.rows, 8, points, 0, 0, param, errorPx);
    const std::string strLog = testing::internal::GetCapturedStderr();
    return bGood ? "" : strLog.empty() ? "(no log)" : strLog;
}

FisheyeScene::SceneOptions Arrows(std::vector<int> ids = {kFirst, kLast})
{
    FisheyeScene::SceneOptions options;
    options.arrowIds = std::move(ids);
    return options;
}

/// As marks come out that were made in the picture of a camera which is not the one it is taken for: the grid is gone
/// over from its far end.
Points TurnedRound(const Points& points)
{
    Points turned = points;
    for (std::size_t i = 0; i < turned.size(); ++i) {
        const CalibrationPoint& other = points[points.size() - 1 - i];
        turned[i].fImageX = other.fImageX;
        turned[i].fImageY = other.fImageY;
    }
    return turned;
}

/// The same ids and places on the surface, marked one column further on in the picture.
Points MarkedBeside(const ArrowScene& scene, int nCols)
{
    Points points = scene.exact;
    const Points other = FisheyeScene::ExactPoints(scene.camera, (scene.bLeft ? 0 : 3) + nCols);
    for (std::size_t i = 0; i < points.size(); ++i) {
        points[i].fImageX = other[i].fImageX;
        points[i].fImageY = other[i].fImageY;
    }
    return FisheyeScene::Clicked(points, 3.0, scene.nSeed);
}

} // namespace

TEST(ArrowHeads, TheRightMarksOfBothCamerasAreTaken)
{
    for (const bool bLeft : {true, false}) {
        for (const std::uint64_t nSeed : {1, 2}) {
            const ArrowScene scene(bLeft, nSeed);
            EXPECT_EQ(Refusal(scene.Picture(Arrows()), scene.Clicks()), "") << bLeft << " seed " << nSeed;
        }
    }
}

TEST(ArrowHeads, APictureOfTheOtherCameraIsRefused)
{
    for (const bool bLeft : {true, false}) {
        const ArrowScene scene(bLeft, 4);
        EXPECT_NE(Refusal(scene.Picture(Arrows()), TurnedRound(scene.Clicks())).find("the other way round"),
                  std::string::npos)
            << bLeft;
    }
}

TEST(ArrowHeads, MarksThatBeginAColumnTooLateOrEndOneTooEarlyAreRefused)
{
    for (const bool bLeft : {true, false}) {
        const ArrowScene scene(bLeft, 5);
        EXPECT_NE(Refusal(scene.Picture(Arrows()), MarkedBeside(scene, bLeft ? 1 : -1)).find("other columns"),
                  std::string::npos)
            << bLeft;
    }
}

TEST(ArrowHeads, LinesLighterThanTheMaterialTellAsMuch)
{
    const ArrowScene scene(true, 6);
    FisheyeScene::SceneOptions options = Arrows();
    options.bBright = true;
    const cv::Mat picture = scene.Picture(options);
    EXPECT_EQ(Refusal(picture, scene.Clicks()), "");
    EXPECT_NE(Refusal(picture, TurnedRound(scene.Clicks())).find("the other way round"), std::string::npos);
}

TEST(ArrowHeads, SmallerCrossesHaveSmallerArrowHeads)
{
    const ArrowScene scene(false, 7);
    FisheyeScene::SceneOptions options = Arrows();
    options.armMm = 12.0;
    const cv::Mat picture = scene.Picture(options);
    EXPECT_EQ(Refusal(picture, scene.Clicks()), "");
    EXPECT_NE(Refusal(picture, TurnedRound(scene.Clicks())).find("the other way round"), std::string::npos);
}

TEST(ArrowHeads, APatternWithoutThemIsTakenAsItWasMarked)
{
    for (const bool bLeft : {true, false}) {
        const ArrowScene scene(bLeft, 8);
        const cv::Mat picture = scene.Picture();
        EXPECT_EQ(Refusal(picture, scene.Clicks()), "");
        EXPECT_EQ(Refusal(picture, TurnedRound(scene.Clicks())), "") << "nothing tells";
    }
}

TEST(ArrowHeads, GrainIsTakenForNone)
{
    for (const std::uint64_t nSeed : {11, 12}) {
        const ArrowScene scene(nSeed % 2 == 0, nSeed);
        FisheyeScene::SceneOptions options;
        options.textureSigma = 8.0;
        options.noiseSigma = 3.5;
        EXPECT_EQ(Refusal(scene.Picture(options), scene.Clicks()), "") << nSeed;
        options.arrowIds = {kFirst, kLast};
        EXPECT_EQ(Refusal(scene.Picture(options), scene.Clicks()), "") << nSeed;
    }
}

TEST(ArrowHeads, IdsThatCountNoGridOnlyTellTheDirection)
{
    const ArrowScene scene(true, 9);
    Points points = scene.Clicks();
    Points turned = TurnedRound(points);
    for (std::size_t i = 0; i < points.size(); ++i) {
        points[i].nId = turned[i].nId = static_cast<int>((i * 8) % points.size()) + 100;
    }
    const cv::Mat picture = scene.Picture(Arrows({10, 20}));
    EXPECT_EQ(Refusal(picture, points), "");
    EXPECT_NE(Refusal(picture, turned).find("the other way round"), std::string::npos);
}

TEST(ArrowHeads, IdsOfAGridThatIsFarTooLargeAreBorne)
{
    const ArrowScene scene(true, 9);
    Points points = scene.Clicks();
    for (CalibrationPoint& point : points) {
        const int nRow = (point.nId - 1) / 8;
        point.nId = std::min(nRow, 1) * 2'000'000'000 + (point.nId - 1) % 8 + 1 + 10 * nRow;
    }
    EXPECT_EQ(Refusal(scene.Picture(Arrows({kFirst})), points), "");
}

TEST(ArrowHeads, OneInTheMiddleOfTheMarksIsRefused)
{
    const ArrowScene scene(true, 10);
    EXPECT_NE(Refusal(scene.Picture(Arrows({kFirst, 20})), scene.Clicks()).find("neither the first nor the last"),
              std::string::npos);
}
