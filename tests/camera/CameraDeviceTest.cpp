#include "CameraFixture.h"

#include <thread>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

class CameraService : public CameraFixture
{
protected:
    void SetUp() override
    {
        CameraFixture::SetUp();
        WritePicture(Path("left.png"), 10);
        WritePicture(Path("right.png"), 20);
        Name("Camera-Left=" + Path("left.png") + "\nCamera-Right=" + Path("right.png") +
             "\nCamera-Top=" + Path("nothing.png") + "\n");
    }

    const int m_nOne = 1;
};

TEST_F(CameraService, ListsTheAttachedCamerasWithTheirIndex)
{
    std::vector<std::string> names{"old"};
    EXPECT_EQ(m_device.GetCameraList(names), 0);
    EXPECT_THAT(names, ElementsAre("[0] Camera-Left", "[1] Camera-Right"));
    EXPECT_EQ(Logged("nothing.png) is not attached: it does not exist"), 1);
    EXPECT_EQ(Doubles::The().logLines.size(), 1u);
}

TEST_F(CameraService, AnIndexDoesNotMoveWhenAnotherCameraIsUnplugged)
{
    QFile::rename(Path("left.png"), Path("away.png"));
    std::vector<std::string> names;
    m_device.GetCameraList(names);
    EXPECT_THAT(names, ElementsAre("[1] Camera-Right"));
    QFile::rename(Path("away.png"), Path("left.png"));
    m_device.GetCameraList(names);
    EXPECT_THAT(names, ElementsAre("[0] Camera-Left", "[1] Camera-Right"));
}

TEST_F(CameraService, ADamagedPictureIsListedAndTheOpeningTellsWhatItIs)
{
    m_data.WriteFile(Path("left.png"), "no picture");
    std::vector<std::string> names;
    m_device.GetCameraList(names);
    EXPECT_THAT(names, ElementsAre("[0] Camera-Left", "[1] Camera-Right"));
    EXPECT_EQ(m_device.OpenCamera("[0] Camera-Left"), -1);
    EXPECT_EQ(Logged("no picture, or damaged"), 1);
}

TEST_F(CameraService, SourcesOfNoKnownSortAreNotListed)
{
    Name("Camera-Left=rtsp://host/stream\nCamera-Right=sim:middle\nCamera-Top=USB Camera\n");
    std::vector<std::string> names;
    EXPECT_EQ(m_device.GetCameraList(names), 0);
    EXPECT_THAT(names, IsEmpty());
    EXPECT_EQ(Logged("is not attached"), 3);
}

TEST_F(CameraService, WithoutSettingsTheListIsEmpty)
{
    QFile::remove(IniFile());
    std::vector<std::string> names{"old"};
    EXPECT_EQ(m_device.GetCameraList(names), 0);
    EXPECT_THAT(names, IsEmpty());
    EXPECT_EQ(m_device.OpenCamera("Camera-Left"), -1);
}

TEST_F(CameraService, NamesWithAndWithoutIndexOpenTheSameCamera)
{
    for (const char* pName : {"Camera-Left", "[0] Camera-Left", "[7] Camera-Left", "[0]Camera-Left"}) {
        ASSERT_EQ(m_device.OpenCamera(pName), 0) << pName;
        EXPECT_EQ(m_device.GetCameraName(), pName);
        EXPECT_TRUE(m_device.IsCameraOpen("Camera-Left"));
        EXPECT_TRUE(m_device.IsCameraOpen("[3] Camera-Left"));
        EXPECT_TRUE(m_device.IsCameraOpen(nullptr));
        EXPECT_FALSE(m_device.IsCameraOpen("Camera-Right"));
        EXPECT_EQ(Grey(m_device, "[1] Camera-Left"), 10);
    }
}

TEST_F(CameraService, ClosingByAnyNameOrNullCloses)
{
    for (const char* pName : {"Camera-Left", "[5] Camera-Left", static_cast<const char*>(nullptr)}) {
        m_device.OpenCamera("[0] Camera-Left");
        EXPECT_EQ(m_device.CloseCamera(pName), 0);
        EXPECT_FALSE(m_device.IsCameraOpen(nullptr));
        EXPECT_EQ(m_device.GetCameraName(), "");
        EXPECT_FALSE(m_device.IsCameraAlive());
        EXPECT_EQ(Grey(m_device), -1);
    }
    EXPECT_EQ(m_device.CloseCamera(nullptr), 0) << "closing twice is no failure";
}

TEST_F(CameraService, ClosingAnotherCameraLeavesTheOpenOne)
{
    m_device.OpenCamera("Camera-Left");
    EXPECT_EQ(m_device.CloseCamera("Camera-Right"), -1);
    EXPECT_EQ(Grey(m_device), 10);
}

TEST_F(CameraService, OpeningAnotherCameraGivesTheFirstBack)
{
    m_device.OpenCamera("Camera-Left");
    EXPECT_EQ(m_device.OpenCamera("Camera-Right"), 0);
    EXPECT_EQ(Grey(m_device), 20);
    EXPECT_EQ(Grey(m_device, "Camera-Left"), -1);
    EXPECT_EQ(Logged("SnapPicture of Camera-Left, but Camera-Right is open"), 1);
}

TEST_F(CameraService, AfterAFailedOpeningNoOtherCamerasPictureComes)
{
    m_device.OpenCamera("Camera-Left");
    EXPECT_EQ(m_device.OpenCamera("Camera-Top"), -1);
    EXPECT_EQ(Grey(m_device), -1);
    m_device.OpenCamera("Camera-Left");
    EXPECT_EQ(m_device.OpenCamera("Camera-Back"), -1);
    EXPECT_EQ(Grey(m_device), -1);
}

TEST_F(CameraService, AFailedOpeningSaysWhyInOneLine)
{
    EXPECT_EQ(m_device.OpenCamera("Camera-Top"), -1);
    EXPECT_EQ(Logged("nothing.png) cannot be opened: it does not exist"), 1);
    EXPECT_EQ(m_device.OpenCamera("Camera-Back"), -1);
    EXPECT_EQ(Logged("Camera-Back is not named in "), 1);
    EXPECT_EQ(m_device.OpenCamera("None"), -1);
    EXPECT_EQ(m_device.OpenCamera(""), -1);
    EXPECT_EQ(m_device.OpenCamera(nullptr), -1);
    EXPECT_EQ(Doubles::The().logLines.size(), 5u);
}

TEST_F(CameraService, SnappingInALoopWithoutACameraIsToldOnce)
{
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(Grey(m_device), -1);
    }
    EXPECT_EQ(Logged("SnapPicture of (the open camera), but none is open"), 1);
    m_device.OpenCamera("Camera-Left");
    m_device.CloseCamera(nullptr);
    EXPECT_EQ(Grey(m_device), -1);
    EXPECT_EQ(Logged("but none is open"), 2);
}

TEST_F(CameraService, NullOpensTheOpenCamera)
{
    m_device.OpenCamera("Camera-Left");
    EXPECT_EQ(m_device.OpenCamera(nullptr), 0);
    EXPECT_EQ(m_device.GetCameraName(), "Camera-Left");
}

TEST_F(CameraService, LongAndNonAsciiNamesAreRefusedOrFound)
{
    const std::string strLong(100'000, 'C');
    EXPECT_EQ(m_device.OpenCamera(strLong.c_str()), -1);
    EXPECT_LT(Doubles::The().logLines.back().second.size(), 1000u);
    EXPECT_FALSE(m_device.IsCameraOpen(strLong.c_str()));
    EXPECT_EQ(m_device.CloseCamera(strLong.c_str()), 0);
    EXPECT_EQ(m_device.OpenCamera("Camera-\xff\xc3"), -1) << "no UTF-8";

    Name(QString::fromUtf8("Camera-Rück=\"") + Path("left.png") + "\"\n");
    EXPECT_EQ(m_device.OpenCamera("[0] Camera-Rück"), 0);
    EXPECT_EQ(Grey(m_device, "Camera-Rück"), 10);
}

TEST_F(CameraService, AVeryLongSourceIsOneThatDoesNotExist)
{
    Name("Camera-Left=/" + QString(100'000, 'x') + "\n");
    EXPECT_EQ(m_device.OpenCamera("Camera-Left"), -1);
    EXPECT_EQ(Logged("cannot be opened"), 1);
    EXPECT_LT(Doubles::The().logLines.back().second.size(), 2000u);
}

TEST_F(CameraService, WhatIsNeitherFileNorFolderNorCameraIsRefused)
{
    Name("Camera-Left=/dev/no-such-camera\nCamera-Right=/dev/null\nCamera-Top=rtsp://host/stream\n");
    EXPECT_EQ(m_device.OpenCamera("Camera-Left"), -1);
    EXPECT_EQ(Logged("/dev/no-such-camera) cannot be opened: it does not exist"), 1);
    EXPECT_EQ(m_device.OpenCamera("Camera-Right"), -1);
    EXPECT_EQ(Logged("/dev/null) cannot be opened: it is no camera"), 1);
    EXPECT_EQ(m_device.OpenCamera("Camera-Top"), -1);
}

TEST_F(CameraService, AnEditOfTheSettingsCountsAtTheNextOpening)
{
    m_device.OpenCamera("Camera-Left");
    Name("Camera-Left=" + Path("right.png") + "\n");
    EXPECT_EQ(Grey(m_device), 10);
    EXPECT_EQ(m_device.OpenCamera("Camera-Left"), 0);
    EXPECT_EQ(Grey(m_device), 20);
}

TEST_F(CameraService, TwoInstancesHoldDifferentCameras)
{
    Camera::CameraDevice second;
    ASSERT_EQ(m_device.OpenCamera("Camera-Left"), 0);
    ASSERT_EQ(second.OpenCamera("Camera-Right"), 0);
    EXPECT_EQ(Grey(m_device), 10);
    EXPECT_EQ(Grey(second), 20);
    m_device.CloseCamera(nullptr);
    EXPECT_EQ(Grey(second), 20);
}

TEST_F(CameraService, TwoHoldersOfOneCameraShareIt)
{
    for (int i = 1; i <= 4; ++i) {
        WritePicture(Path("series/%1.png").arg(i), 10 * i);
    }
    Name("Camera-Left=" + Path("series") + "\n");
    {
        Camera::CameraDevice second;
        ASSERT_EQ(m_device.OpenCamera("Camera-Left"), 0);
        ASSERT_EQ(second.OpenCamera("[0] Camera-Left"), 0);
        EXPECT_EQ(Grey(m_device), 10);
        EXPECT_EQ(Grey(second), 20);
        EXPECT_EQ(Grey(m_device), 30);
    }
    EXPECT_EQ(Grey(m_device), 40) << "the end of one holder leaves the other its camera";
}

TEST_F(CameraService, PropertiesNeedAnOpenCameraAKnownKeyAndAValue)
{
    EXPECT_EQ(m_device.SetProperty("autoExposure", &m_nOne), -1);
    m_device.OpenCamera("Camera-Left");
    EXPECT_EQ(m_device.SetProperty("autoExposure", &m_nOne), 0);
    EXPECT_EQ(m_device.SetIntProperty("gain", &m_nOne), 0);
    EXPECT_EQ(m_device.SetExposureMode("exposureMode", &m_nOne), 0);
    EXPECT_EQ(m_device.SetExposureValue("exposure", &m_nOne), 0);
    EXPECT_EQ(Logged("has no control for"), 4);
    EXPECT_EQ(m_device.SetProperty("shutter", &m_nOne), -1);
    EXPECT_EQ(m_device.SetProperty(nullptr, &m_nOne), -1);
    EXPECT_EQ(m_device.SetExposureValue("exposure", nullptr), -1);
    EXPECT_EQ(m_device.SetExposureMode(nullptr, nullptr), -1);
    EXPECT_EQ(Logged("is unknown or came without a value"), 4);
}

TEST_F(CameraService, ParametersAreAppliedToTheOpenCameraOnly)
{
    EXPECT_FALSE(m_device.ApplyCameraParameters("Camera-Left", 500));
    m_device.OpenCamera("[0] Camera-Left");
    EXPECT_TRUE(m_device.ApplyCameraParameters("Camera-Left", 500));
    EXPECT_TRUE(m_device.ApplyCameraParameters(nullptr, 0));
    EXPECT_FALSE(m_device.ApplyCameraParameters("Camera-Right", 500));
    EXPECT_FALSE(m_device.ApplyCameraParameters("Camera-Left", -1));
    EXPECT_FALSE(m_device.ApplyCameraParameters("Camera-Left", 10'001));
}

TEST_F(CameraService, ReservedOperationsAnswerZero)
{
    EXPECT_EQ(m_device.Reserved7(), 0);
    EXPECT_EQ(m_device.Reserved10(), 0);
    EXPECT_EQ(m_device.Reserved16(), 0);
}

TEST_F(CameraService, TheLoopsReconnectionBringsAVanishedCameraBack)
{
    m_device.OpenCamera("Camera-Left");
    QFile::remove(Path("left.png"));
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(Grey(m_device), -1);
        m_device.CloseCamera(nullptr);
        EXPECT_EQ(m_device.OpenCamera("Camera-Left"), -1);
        EXPECT_FALSE(m_device.ApplyCameraParameters("Camera-Left", 500));
    }
    WritePicture(Path("left.png"), 12);
    EXPECT_EQ(m_device.OpenCamera("Camera-Left"), 0);
    EXPECT_EQ(Grey(m_device), 12);
}

TEST_F(CameraService, OpeningAnOpenCameraThatIsGoneFailsAndClosesIt)
{
    m_device.OpenCamera("Camera-Left");
    QFile::remove(Path("left.png"));
    EXPECT_EQ(m_device.OpenCamera("Camera-Left"), -1);
    EXPECT_FALSE(m_device.IsCameraOpen(nullptr));
}

TEST_F(CameraService, ManyThreadsMayUseOneInstanceAndOneCamera)
{
    for (int i = 0; i < 3; ++i) {
        WritePicture(Path("series/%1.png").arg(i), 100 + i);
    }
    Name("Camera-Left=" + Path("series") + "\nCamera-Right=" + Path("right.png") + "\n");
    Camera::CameraDevice own[2];
    std::vector<std::thread> threads;
    for (int n = 0; n < 4; ++n) {
        threads.emplace_back([&, n] {
            ICameraDevice& device = n < 2 ? static_cast<ICameraDevice&>(m_device) : own[n - 2];
            for (int i = 0; i < 40; ++i) {
                const char* const pName = (i + n) % 5 == 0 ? "Camera-Right" : "[0] Camera-Left";
                device.OpenCamera(pName);
                cv::Mat picture;
                if (device.SnapPicture(picture, nullptr) == 0) {
                    double dLow = 0.0;
                    double dHigh = 0.0;
                    cv::minMaxLoc(picture.reshape(1), &dLow, &dHigh);
                    EXPECT_EQ(dLow, dHigh) << "a mixed picture";
                    EXPECT_TRUE(dLow == 20.0 || (dLow >= 100.0 && dLow <= 102.0));
                } else {
                    EXPECT_TRUE(picture.empty());
                    EXPECT_LT(n, 2) << "only who shares an instance may find it closed";
                }
                device.IsCameraAlive();
                device.GetCameraName();
                device.SetProperty("autoExposure", &m_nOne);
                device.ApplyCameraParameters(nullptr, 0);
                if (i % 3 == 0) {
                    device.CloseCamera(nullptr);
                }
                std::vector<std::string> names;
                device.GetCameraList(names);
                EXPECT_EQ(names.size(), 2u);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST_F(CameraService, ASeparatelyCompiledCallerFindsTheSixteenSlotsInTheirOrder)
{
    // Walked by slot number, as the table of a library is; the destructor takes the first two.
    ICameraDevice* const pDevice = &m_device;
    void** const pTable = *reinterpret_cast<void***>(pDevice);
    EXPECT_EQ(reinterpret_cast<int (*)(ICameraDevice*, const char*)>(pTable[3])(pDevice, "Camera-Left"), 0);
    EXPECT_TRUE(reinterpret_cast<bool (*)(ICameraDevice*)>(pTable[14])(pDevice));
    EXPECT_TRUE(reinterpret_cast<bool (*)(ICameraDevice*, const char*, int)>(pTable[15])(pDevice, nullptr, 500));
    EXPECT_EQ(reinterpret_cast<int (*)(ICameraDevice*)>(pTable[16])(pDevice), 0);
}

} // namespace
