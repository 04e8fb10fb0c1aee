#include "CameraFixture.h"

#include <stdexcept>
#include <thread>

namespace
{

class SimulatedCamera : public CameraFixture
{
protected:
    void SetUp() override
    {
        CameraFixture::SetUp();
        Name("Camera-Left=sim:left\nCamera-Right=sim:right\n");
    }
};

TEST_F(SimulatedCamera, WithoutASimulatedMachineIsNotOpenedAndSaysSoOnce)
{
    EXPECT_EQ(m_device.OpenCamera("Camera-Left"), -1);
    EXPECT_FALSE(m_device.IsCameraAlive());
    ASSERT_EQ(Doubles::The().logLines.size(), 1u);
    EXPECT_EQ(Doubles::The().logLines[0].second,
              "Camera-Left (sim:left) cannot be opened: the host has set no simulated cameras");
}

TEST_F(SimulatedCamera, IsListedWhileThereIsASimulatedMachine)
{
    std::vector<std::string> names;
    m_device.GetCameraList(names);
    EXPECT_THAT(names, testing::IsEmpty());
    FakeCameras cameras;
    SetSimulatedCameras(&cameras);
    m_device.GetCameraList(names);
    EXPECT_THAT(names, testing::ElementsAre("[0] Camera-Left", "[1] Camera-Right"));
    EXPECT_EQ(cameras.nSnaps, 0);
}

TEST_F(SimulatedCamera, TakesItsPicturesFromTheHostsObject)
{
    FakeCameras cameras;
    SetSimulatedCameras(&cameras);
    ASSERT_EQ(m_device.OpenCamera("[0] Camera-Left"), 0);
    EXPECT_EQ(Grey(m_device), 51);
    EXPECT_EQ(cameras.strLastSide, "left");
    ASSERT_EQ(m_device.OpenCamera("[1] Camera-Right"), 0);
    EXPECT_EQ(Grey(m_device), 202);
    EXPECT_EQ(cameras.strLastSide, "right");
    EXPECT_EQ(cameras.nSnaps, 2) << "opening takes no picture";
}

TEST_F(SimulatedCamera, APictureIsNotPaintedOverByTheNextFrame)
{
    FakeCameras cameras;
    SetSimulatedCameras(&cameras);
    m_device.OpenCamera("Camera-Left");
    cv::Mat first;
    cv::Mat second;
    ASSERT_EQ(m_device.SnapPicture(first, nullptr), 0);
    ASSERT_EQ(m_device.SnapPicture(second, nullptr), 0);
    EXPECT_EQ(first.ptr()[0], 51);
    EXPECT_EQ(second.ptr()[0], 52);
}

TEST_F(SimulatedCamera, FailsWhileTheMachineIsTakenAwayAndWorksWithTheNextOne)
{
    FakeCameras cameras;
    SetSimulatedCameras(&cameras);
    m_device.OpenCamera("Camera-Left");
    EXPECT_TRUE(m_device.IsCameraAlive());
    SetSimulatedCameras(nullptr);
    EXPECT_FALSE(m_device.IsCameraAlive());
    EXPECT_EQ(Grey(m_device), -1);
    FakeCameras next;
    SetSimulatedCameras(&next);
    EXPECT_TRUE(m_device.IsCameraAlive());
    EXPECT_EQ(Grey(m_device), 51);
    EXPECT_EQ(cameras.nSnaps, 0);
}

TEST_F(SimulatedCamera, AFailingSnapLeavesThePictureEmptyAndIsToldWithItsAnswer)
{
    FakeCameras cameras;
    cameras.nAnswer = -7;
    SetSimulatedCameras(&cameras);
    m_device.OpenCamera("Camera-Left");
    EXPECT_EQ(Grey(m_device), -1);
    EXPECT_FALSE(m_device.IsCameraAlive());
    EXPECT_EQ(Logged("the simulated camera answers -7"), 1);
    cameras.nAnswer = 0;
    EXPECT_EQ(Grey(m_device), 52);
    EXPECT_TRUE(m_device.IsCameraAlive());
}

TEST_F(SimulatedCamera, AThrowingObjectIsAFailingOne)
{
    FakeCameras cameras;
    cameras.onSnap = [] { throw std::runtime_error("no light"); };
    SetSimulatedCameras(&cameras);
    m_device.OpenCamera("Camera-Left");
    EXPECT_EQ(Grey(m_device), -1);
    EXPECT_EQ(Logged("no light"), 1);
    cameras.onSnap = [] { throw 7; };
    EXPECT_EQ(Grey(m_device), -1);
    cameras.onSnap = nullptr;
    cameras.nInside = 0;
    EXPECT_GT(Grey(m_device), 0);
}

TEST_F(SimulatedCamera, PixelsOfOtherKindsAreConverted)
{
    FakeCameras cameras;
    SetSimulatedCameras(&cameras);
    m_device.OpenCamera("Camera-Left");
    cameras.nType = CV_8UC1;
    EXPECT_EQ(Grey(m_device), 51);
    cameras.nType = CV_8UC4;
    EXPECT_EQ(Grey(m_device), 52);
    cameras.nType = CV_32SC3;
    EXPECT_EQ(Grey(m_device), 53);
    cameras.nType = CV_8UC(5);
    EXPECT_EQ(Grey(m_device), -1);
}

TEST_F(SimulatedCamera, OtherSidesAreRefused)
{
    FakeCameras cameras;
    SetSimulatedCameras(&cameras);
    Name("Camera-Left=sim:middle\nCamera-Right=sim:\nCamera-Top=\"sim:left \"\n");
    EXPECT_EQ(m_device.OpenCamera("Camera-Left"), -1);
    EXPECT_EQ(m_device.OpenCamera("Camera-Right"), -1);
    EXPECT_EQ(Logged("only sim:left and sim:right are known"), 2);
    EXPECT_EQ(m_device.OpenCamera("Camera-Top"), 0);
}

TEST_F(SimulatedCamera, PropertiesAreLoggedOnly)
{
    FakeCameras cameras;
    SetSimulatedCameras(&cameras);
    m_device.OpenCamera("Camera-Left");
    const int nValue = 12;
    EXPECT_EQ(m_device.SetProperty("autoExposure", &nValue), 0);
    EXPECT_EQ(m_device.SetExposureValue("exposure", &nValue), 0);
    EXPECT_EQ(Logged("has no control for autoExposure = 12"), 1);
    EXPECT_EQ(Logged("has no control for exposure = 12"), 1);
    EXPECT_TRUE(m_device.ApplyCameraParameters("Camera-Left", 500));
}

TEST_F(SimulatedCamera, TakingTheMachineAwayWaitsForARunningSnap)
{
    std::atomic<bool> bStop = false;
    Camera::CameraDevice right;
    std::vector<std::thread> threads;
    for (ICameraDevice* const pDevice : {static_cast<ICameraDevice*>(&m_device), static_cast<ICameraDevice*>(&right)}) {
        threads.emplace_back([pDevice, &right, &bStop] {
            const char* const pName = pDevice == &right ? "Camera-Right" : "Camera-Left";
            while (!bStop) {
                cv::Mat picture;
                if (!pDevice->IsCameraOpen(pName)) {
                    pDevice->OpenCamera(pName);
                }
                const int nAnswer = pDevice->SnapPicture(picture, nullptr);
                EXPECT_EQ(nAnswer == 0, !picture.empty());
                pDevice->IsCameraAlive();
            }
        });
    }
    for (int i = 0; i < 50; ++i) {
        const auto pCameras = std::make_unique<FakeCameras>();
        SetSimulatedCameras(pCameras.get());
        while (pCameras->nSnaps < 3) {
            std::this_thread::yield();
        }
        SetSimulatedCameras(nullptr);
        EXPECT_EQ(pCameras->nInside, 0) << "nobody is inside any more";
        EXPECT_FALSE(pCameras->bTwoAtOnce);
    }
    bStop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace
