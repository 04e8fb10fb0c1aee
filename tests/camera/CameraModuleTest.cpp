// The built library, loaded by name as the plug-in loads it.

#include "DataRoot.h"
#include "ICameraDevice.h"
#include "LibraryLoader.h"
#include "ModalAnswers.h"
#include "SimulatedCameras.h"

#include <gmock/gmock.h>

#include <QLibrary>
#include <QProcess>

namespace
{

class OneGrey final : public ISimulatedCameras
{
public:
    int Snap(const char* szSide, cv::Mat& picture) override
    {
        picture = cv::Mat(6, 8, CV_8UC1, cv::Scalar(std::string(szSide) == "left" ? 60 : 90));
        return 0;
    }
};

class CameraModule : public testing::Test
{
protected:
    void SetUp() override
    {
        m_data.WriteFile(m_data.Root() + "/Data/CameraSetting.ini",
                         "[CameraSetting]\nCamera-Left=sim:left\nCamera-Right=sim:right\n");
    }
    void TearDown() override
    {
        SetCameras(nullptr);
        ReleaseAllModules();
    }
    /// As a host does it.
    static bool SetCameras(ISimulatedCameras* pCameras)
    {
        QLibrary library(CTC_CAMERA_LIBRARY);
        const auto pfnSet = reinterpret_cast<SetSimulatedCamerasFunction>(library.resolve("SetSimulatedCameras"));
        if (pfnSet) {
            pfnSet(pCameras);
        }
        return pfnSet != nullptr;
    }

    DataRoot m_data;
    ModalAnswers m_answers;
};

TEST_F(CameraModule, IsMetByItsBareNameOnceItWasLoadedByItsFullPath)
{
    ASSERT_NE(LoadModule(CTC_CAMERA_LIBRARY, true, nullptr), nullptr);
    OneGrey cameras;
    ASSERT_TRUE(SetCameras(&cameras));

    auto* const pDevice = static_cast<ICameraDevice*>(LoadModule("Camera", true, nullptr));

    ASSERT_NE(pDevice, nullptr);
    EXPECT_THAT(m_answers.Notices(), testing::IsEmpty());
    std::vector<std::string> names;
    pDevice->GetCameraList(names);
    EXPECT_THAT(names, testing::ElementsAre("[0] Camera-Left", "[1] Camera-Right"));
    EXPECT_EQ(pDevice->OpenCamera("[1] Camera-Right"), 0);
    cv::Mat picture;
    EXPECT_EQ(pDevice->SnapPicture(picture, nullptr), 0) << "it is the library that knows the host's cameras";
    ASSERT_FALSE(picture.empty());
    EXPECT_EQ(picture.ptr()[0], 90);
}

TEST_F(CameraModule, TwoLoadsGiveTwoInstancesThatHoldDifferentCameras)
{
    OneGrey cameras;
    SetCameras(&cameras);
    auto* const pFirst = static_cast<ICameraDevice*>(LoadModule(CTC_CAMERA_LIBRARY, true, nullptr));
    auto* const pSecond = static_cast<ICameraDevice*>(LoadModule(CTC_CAMERA_LIBRARY, true, nullptr));
    ASSERT_NE(pFirst, nullptr);
    ASSERT_NE(pFirst, pSecond);
    EXPECT_EQ(pFirst->OpenCamera("Camera-Left"), 0);
    EXPECT_EQ(pSecond->OpenCamera("Camera-Right"), 0);
    cv::Mat picture;
    EXPECT_EQ(pFirst->SnapPicture(picture, nullptr), 0);
    EXPECT_EQ(picture.ptr()[0], 60);
}

TEST_F(CameraModule, KeepsTheSimulatedCamerasOverAReleaseOfItsLastInstance)
{
    OneGrey cameras;
    SetCameras(&cameras);
    ReleaseModule(LoadModule(CTC_CAMERA_LIBRARY, true, nullptr));
    auto* const pDevice = static_cast<ICameraDevice*>(LoadModule(CTC_CAMERA_LIBRARY, true, nullptr));
    ASSERT_NE(pDevice, nullptr);
    EXPECT_EQ(pDevice->OpenCamera("Camera-Left"), 0);
}

TEST_F(CameraModule, ExportsItsThreeFunctionsAndNothingElse)
{
    QProcess nm;
    nm.start("nm", {"-D", "--defined-only", "--format=just-symbols", CTC_CAMERA_LIBRARY});
    ASSERT_TRUE(nm.waitForFinished());
    EXPECT_EQ(nm.readAllStandardOutput(), "NewInterface\nReleaseInterface\nSetSimulatedCameras\n");
}

TEST_F(CameraModule, ReleasesANullInstance)
{
    QLibrary library(CTC_CAMERA_LIBRARY);
    const auto pfnRelease = reinterpret_cast<void (*)(void*)>(library.resolve("ReleaseInterface"));
    ASSERT_NE(pfnRelease, nullptr);
    pfnRelease(nullptr);
}

} // namespace
