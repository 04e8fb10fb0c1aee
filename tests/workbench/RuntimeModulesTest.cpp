#include "RuntimeModules.h"

#include "CameraSetup.h"
#include "DataRoot.h"
#include "SimulatedDevice.h"

#include <gmock/gmock.h>

namespace
{

using namespace Workbench;

TEST(RuntimeModules, AreMetByTheirBareNamesOnceTheHostHasLoadedItsOwnCopies)
{
    ASSERT_FALSE(QLibrary("Camera").load()) << "the test needs a loader that does not find it by itself";
    const RuntimeModules modules(CTC_MODULE_FOLDER);
    EXPECT_TRUE(QLibrary("Camera").load());
    EXPECT_TRUE(QLibrary("ErrCodeMgr").load());
    EXPECT_THAT(modules.Missing(), testing::Not(testing::Contains("Camera")));
    EXPECT_THAT(modules.Missing(), testing::Not(testing::Contains("ErrCodeMgr")));
}

TEST(RuntimeModules, ListTheSimulatedCamerasAndSnapFromThem)
{
    const ::DataRoot data;
    RuntimeModules modules(CTC_MODULE_FOLDER);
    SimulatedDevice device(Simulator::Machine::Kind::Automatic, 1);
    ASSERT_EQ(PrepareCameraSetup(device.WorkAreaMm()), CameraOwner::SimulatedMachine);

    const RuntimeModules::CameraPointer pCamera = modules.NewCamera();
    ASSERT_NE(pCamera, nullptr);
    EXPECT_FALSE(FindCameras(*pCamera).AreBothThere()) << "nobody has lent them yet";
    {
        const LentCameras lent(modules, device);
        ASSERT_TRUE(lent.Taken());
        const CameraNames names = FindCameras(*pCamera);
        EXPECT_EQ(names.strLeft, "[0] Camera-Left");
        EXPECT_EQ(names.strRight, "[1] Camera-Right");
        cv::Mat picture;
        ASSERT_EQ(pCamera->OpenCamera("[1] Camera-Right"), 0);
        EXPECT_EQ(pCamera->SnapPicture(picture, nullptr), 0);
        EXPECT_EQ(picture.size(), cv::Size(2592, 1944));
        device.SetPlugged(Simulator::Side::Right, false);
        EXPECT_NE(pCamera->SnapPicture(picture, nullptr), 0);
        EXPECT_TRUE(picture.empty());
    }
    EXPECT_FALSE(FindCameras(*pCamera).AreBothThere()) << "they were given back";
}

} // namespace
