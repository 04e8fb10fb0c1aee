#include "CameraFixture.h"

#include "FileStore.h"

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

class CameraSettings : public CameraFixture
{
protected:
    std::vector<std::string> Names() const
    {
        std::vector<std::string> names;
        for (const auto& camera : Camera::ReadCameraSettings(IniFile())) {
            names.push_back(camera.strName);
        }
        return names;
    }
};

TEST_F(CameraSettings, StandWhereTheFileStoreOfThePlugInHasItsDataRoot)
{
    for (const char* pTheme : {"Quillboost", "Quillmark", "anything"}) {
        Doubles::The().strTheme = pTheme;
        EXPECT_EQ(Camera::SettingsFile(), GetCalibrationRootPath() + "/Data/CameraSetting.ini");
    }
    EXPECT_EQ(Camera::SettingsFile(), IniFile());
}

TEST_F(CameraSettings, AreReadWithoutMakingAFolder)
{
    Camera::ReadCameraSettings(Camera::SettingsFile());
    EXPECT_FALSE(QDir(m_data.Root()).exists());
}

TEST_F(CameraSettings, ListLeftAndRightFirstAndTheOthersByName)
{
    Name("Camera-Top=a\nCamera-Right=b\nCamera-Movable=c\nCamera-Left=d\n");
    EXPECT_THAT(Names(), ElementsAre("Camera-Left", "Camera-Right", "Camera-Movable", "Camera-Top"));
}

TEST_F(CameraSettings, EmptySourcesAndOtherKeysAreNoCameras)
{
    Name("Camera-Left=\nCamera-Right=\"  \"\nWIDTH=5\nCamera=x\nLens-Camera-Left=y\nCamera-Top= sim:left \n");
    EXPECT_THAT(Names(), ElementsAre("Camera-Top"));
    EXPECT_EQ(Camera::ReadCameraSettings(IniFile())[0].strSource, "sim:left");
}

TEST_F(CameraSettings, AnotherSectionIsNotLookedAt)
{
    m_data.WriteFile(IniFile(),
                     "Camera-Top=a\n[CANVAS_SIZE]\nWIDTH=1300\nCamera-Left=x\n[CameraSetting]\nCamera-Right=b\n");
    EXPECT_THAT(Names(), ElementsAre("Camera-Right"));
}

TEST_F(CameraSettings, ASourceWithACommaStandsInQuotes)
{
    Name("Camera-Left=/a,b\nCamera-Right=\"/a, b; c\"\n");
    EXPECT_THAT(Names(), ElementsAre("Camera-Right"));
    EXPECT_EQ(Camera::ReadCameraSettings(IniFile())[0].strSource, "/a, b; c");
    EXPECT_GE(Logged("Camera-Left of"), 1);
}

TEST_F(CameraSettings, TheLastingNamesOfDevicesNeedNoQuotes)
{
    for (const char* pDevice : {"/dev/v4l/by-id/usb-Maker_Camera_A1B2-video-index0",
                                "/dev/v4l/by-path/pci-0000:00:14.0-usb-0:2:1.0-video-index0"}) {
        Name(QString("Camera-Left=%1\n").arg(pDevice));
        ASSERT_THAT(Names(), ElementsAre("Camera-Left"));
        EXPECT_EQ(Camera::ReadCameraSettings(IniFile())[0].strSource, pDevice);
    }
}

TEST_F(CameraSettings, AMissingFileGivesNoCameraAndOneLogLine)
{
    EXPECT_THAT(Names(), IsEmpty());
    EXPECT_EQ(Doubles::The().logLines.size(), 1u);
    EXPECT_EQ(Logged("CameraSetting.ini is missing"), 1);
}

TEST_F(CameraSettings, AnEmptyABinaryOrAFolderInItsPlaceGivesNoCamera)
{
    m_data.WriteFile(IniFile(), "");
    EXPECT_THAT(Names(), IsEmpty());

    QByteArray noise;
    unsigned nState = 7;
    for (int i = 0; i < 20'000; ++i) {
        nState = nState * 1664525u + 1013904223u;
        noise.append(static_cast<char>(nState >> 24));
    }
    m_data.WriteFile(IniFile(), noise);
    EXPECT_THAT(Names(), IsEmpty());
    m_data.WriteFile(IniFile(), "[CameraSetting]\n" + noise + "\nCamera-Left=a\n");
    Names();

    QFile::remove(IniFile());
    QDir().mkpath(IniFile());
    Doubles::The().logLines.clear();
    EXPECT_THAT(Names(), IsEmpty());
    EXPECT_EQ(Logged("no plain file"), 1);
}

TEST_F(CameraSettings, ALineThatIsNoSettingIsToldAndTheOthersCount)
{
    Name("Camera-Left=a\nno setting\nCamera-Right=b\n");
    EXPECT_THAT(Names(), ElementsAre("Camera-Left", "Camera-Right"));
    EXPECT_EQ(Logged("has lines that are no settings"), 1);
}

TEST_F(CameraSettings, AHugeFileIsNotRead)
{
    Name("Camera-Left=a\n");
    ASSERT_TRUE(QFile::resize(IniFile(), 17LL * 1024 * 1024));
    EXPECT_THAT(Names(), IsEmpty());
    EXPECT_EQ(Logged("larger than"), 1);
}

TEST_F(CameraSettings, ThousandsOfCamerasAreCutToSixtyFour)
{
    QString strLines;
    for (int i = 0; i < 5000; ++i) {
        strLines += QString("Camera-%1=sim:left\n").arg(i, 4, 10, QChar('0'));
    }
    Name(strLines + "Camera-Right=b\n");
    const auto names = Names();
    ASSERT_EQ(names.size(), 64u);
    EXPECT_EQ(names[0], "Camera-Right");
    EXPECT_EQ(names[63], "Camera-0062");
    EXPECT_EQ(Logged("5001 cameras"), 1);
}

TEST_F(CameraSettings, ANameThatDoesNotFitIntoTheCallersBufferIsLeftOut)
{
    Name("Camera-" + QString(240, 'x') + "=a\nCamera-" + QString(233, 'y') + "=b\n");
    ASSERT_EQ(Names().size(), 1u);
    EXPECT_EQ(Names()[0].size(), 240u);
    EXPECT_GE(Logged("the name is too long"), 1);
}

TEST_F(CameraSettings, NonAsciiNamesAndSourcesAreKept)
{
    Name(QString::fromUtf8("Camera-Rück=\"/Bilder/床 ü.png\"\n"));
    ASSERT_THAT(Names(), ElementsAre("Camera-Rück"));
    EXPECT_EQ(Camera::ReadCameraSettings(IniFile())[0].strSource, QString::fromUtf8("/Bilder/床 ü.png"));
}

TEST(CameraNames, LoseAnIndexOfDigitsInBracketsOnly)
{
    EXPECT_EQ(Camera::PureName("[0] Camera-Left"), "Camera-Left");
    EXPECT_EQ(Camera::PureName("[12]Camera-Left"), "Camera-Left");
    EXPECT_EQ(Camera::PureName("Camera-Left"), "Camera-Left");
    EXPECT_EQ(Camera::PureName("[] Camera-Left"), "[] Camera-Left");
    EXPECT_EQ(Camera::PureName("[x] Camera-Left"), "[x] Camera-Left");
    EXPECT_EQ(Camera::PureName("[1"), "[1");
    EXPECT_EQ(Camera::PureName("[1]"), "");
    EXPECT_EQ(Camera::PureName("["), "[");
    EXPECT_EQ(Camera::PureName(""), "");
    EXPECT_EQ(Camera::PureName(nullptr), "");
    EXPECT_EQ(Camera::PureName(std::string(100'000, 'a').c_str()).size(), 4096u);
}

} // namespace
