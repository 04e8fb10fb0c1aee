#include "CameraSetup.h"

#include "DataFolder.h"
#include "DataRoot.h"
#include "Failure.h"

#include <gmock/gmock.h>

#include <QDir>
#include <QSettings>

namespace
{

using namespace Workbench;

class CameraSetup : public testing::Test
{
protected:
    QString File() const { return m_data.Root() + "/Data/CameraSetting.ini"; }
    QString Value(const char* pKey) const { return QSettings(File(), QSettings::IniFormat).value(pKey).toString(); }

    ::DataRoot m_data;
};

TEST_F(CameraSetup, NamesTheSimulatedCamerasAndTheMachinesWorkAreaWhereNothingIsNamed)
{
    EXPECT_EQ(PrepareCameraSetup({1300.0, 900.0}), CameraOwner::SimulatedMachine);
    EXPECT_EQ(Value("CameraSetting/Camera-Left"), "sim:left");
    EXPECT_EQ(Value("CameraSetting/Camera-Right"), "sim:right");
    EXPECT_EQ(StoredWorkAreaMm(), QSize(1300, 900));
}

TEST_F(CameraSetup, AnotherSimulatedMachineBringsItsOwnWorkArea)
{
    EXPECT_EQ(PrepareCameraSetup({1300.0, 900.0}), CameraOwner::SimulatedMachine);
    EXPECT_EQ(PrepareCameraSetup({900.0, 600.0}), CameraOwner::SimulatedMachine);
    EXPECT_EQ(StoredWorkAreaMm(), QSize(900, 600));
}

TEST_F(CameraSetup, CamerasOfAPersonStayWithTheirWorkArea)
{
    const QByteArray content = "[CANVAS_SIZE]\nWIDTH=500\nHEIGHT=400\n[CameraSetting]\nCamera-Right=/dev/video3\n";
    m_data.WriteFile(File(), content);
    EXPECT_EQ(PrepareCameraSetup({1300.0, 900.0}), CameraOwner::Person);
    QFile file(File());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), content);
}

TEST_F(CameraSetup, OtherKeysOfTheFileStay)
{
    m_data.WriteFile(File(), "[CameraSetting]\nCamera-Top=/dev/video7\n[Other]\nKey=5\n");
    EXPECT_EQ(PrepareCameraSetup({1300.0, 900.0}), CameraOwner::SimulatedMachine);
    EXPECT_EQ(Value("Other/Key"), "5");
    EXPECT_EQ(Value("CameraSetting/Camera-Top"), "/dev/video7");
}

TEST_F(CameraSetup, AFolderUnderTheNameIsToldInOneSentence)
{
    QDir().mkpath(File());
    EXPECT_THROW(PrepareCameraSetup({1300.0, 900.0}), Failure);
}

} // namespace
