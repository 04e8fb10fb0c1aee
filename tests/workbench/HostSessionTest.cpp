#include "HostSession.h"

#include "DataRoot.h"
#include "MicroLineBuilder.h"

#include <gmock/gmock.h>

#include <QFile>

namespace
{

using namespace Workbench;
using Kind = Simulator::Machine::Kind;

class Session : public testing::Test
{
protected:
    static void SendPattern(HostSession& session)
    {
        MicroLineDocument document;
        ASSERT_TRUE(FillMicroLine(document, {{300.0, 300.0}, {400.0, 300.0}}, 40.0));
        session.Device().PutMicroLine(0, &document, "TwoCalib.kv");
        ASSERT_EQ(session.Device().RunCommand("SendCalibrateFile", QVariant()), DeviceSuccess);
    }
    /// The left picture with the noise of its first frame.
    static cv::Mat Picture(HostSession& session)
    {
        cv::Mat picture;
        EXPECT_EQ(session.Device().Snap("left", picture), 0);
        return picture;
    }

    ::DataRoot m_data;
};

TEST_F(Session, TellsAnInstanceWhatAHostMust)
{
    HostSession session(Kind::Automatic, 1, CTC_MODULE_FOLDER);
    const InstanceSetup setup = session.Setup();
    EXPECT_EQ(setup.areaMm, QSize(1300, 900));
    EXPECT_EQ(setup.cameras.strLeft, "[0] Camera-Left");
    EXPECT_EQ(setup.cameras.strRight, "[1] Camera-Right");
    EXPECT_EQ(setup.pDevice, &session.Device());
    EXPECT_FALSE(setup.strResources.isEmpty());
    EXPECT_EQ(session.Cameras(), CameraOwner::SimulatedMachine);
}

TEST_F(Session, TheMachineGoesOnWhereItWasLeft)
{
    cv::Mat before;
    {
        HostSession session(Kind::Automatic, 5, CTC_MODULE_FOLDER);
        session.Device().PlaceMaterial();
        SendPattern(session);
        session.Device().StartEngraving();
        session.Device().EngraveLines({{{500.0, 500.0}, {520.0, 500.0}}});
        before = Picture(session);
    }
    HostSession session(Kind::Automatic, std::nullopt, CTC_MODULE_FOLDER);
    const SimulatedDevice::State state = session.Device().GetState();
    EXPECT_EQ(state.nSeed, 5u);
    EXPECT_EQ(state.strPattern, "TwoCalib.kv");
    EXPECT_TRUE(state.bEngraved);
    EXPECT_EQ(state.nEngraved, 8u);
    EXPECT_EQ(cv::norm(before, Picture(session), cv::NORM_INF), 0.0) << "the same material with the same lines";
}

TEST_F(Session, APatternThatWasSentCanBeEngravedAfterARestart)
{
    {
        HostSession session(Kind::Automatic, 1, CTC_MODULE_FOLDER);
        SendPattern(session);
    }
    HostSession session(Kind::Automatic, 1, CTC_MODULE_FOLDER);
    EXPECT_FALSE(session.Device().GetState().bEngraved);
    EXPECT_TRUE(session.Device().StartEngraving());
}

TEST_F(Session, AnotherMachineBeginsAnew)
{
    {
        HostSession session(Kind::Automatic, 1, CTC_MODULE_FOLDER);
        SendPattern(session);
    }
    {
        HostSession session(Kind::Automatic, 2, CTC_MODULE_FOLDER);
        EXPECT_TRUE(session.Device().GetState().strPattern.isEmpty());
        SendPattern(session);
    }
    HostSession session(Kind::Manual, std::nullopt, CTC_MODULE_FOLDER);
    EXPECT_TRUE(session.Device().GetState().strPattern.isEmpty());
    EXPECT_EQ(session.Device().GetState().nSeed, 1u);
}

TEST_F(Session, AManualRunFindsTheLensFilesOfItsMachine)
{
    HostSession session(Kind::Manual, 1, CTC_MODULE_FOLDER);
    session.PrepareRun(Opening::Calibration);
    EXPECT_TRUE(QFile::exists(m_data.CameraTwo("Output/cameraL_calibrateMap.xml")));
    EXPECT_TRUE(QFile::exists(m_data.CameraTwo("Output/cameraR_calibrateMap.xml")));
    EXPECT_EQ(session.Setup().areaMm, QSize(900, 600));
}

} // namespace
