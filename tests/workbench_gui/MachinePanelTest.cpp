#include "MachinePanel.h"

#include "MicroLine.h"
#include "SimulatedDevice.h"
#include "Texts.h"

#include <gmock/gmock.h>

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QSlider>
#include <QSpinBox>
#include <QTest>

namespace
{

using namespace Workbench;

/// One horizontal line, made as a sender makes it.
void SendOneLine(SimulatedDevice& device)
{
    auto* const pSegment = new MicroLineSegment;
    pSegment->dX0 = 300.0;
    pSegment->dX1 = 340.0;
    pSegment->dY0 = pSegment->dY1 = 300.0;
    pSegment->pNext = pSegment->pPrev = pSegment;
    auto* const pNode = new MicroLineNode;
    pNode->pSegment = pSegment;
    pNode->pNext = pNode->pPrev = pNode;
    auto* const pLayer = new MicroLineLayer;
    pLayer->pFirstNode = pNode;
    pLayer->pNext = pLayer->pPrev = pLayer;
    MicroLineDocument document;
    document.pLayer = pLayer;
    device.PutMicroLine(0, &document, "TwoCalib.kv");
    EXPECT_EQ(device.RunCommand("SendCalibrateFile", QVariant()), DeviceSuccess);
}

class Panel : public testing::Test
{
protected:
    void TearDown() override { SwitchLanguage("en"); }
    template <typename Widget> Widget* Find(const char* pName) const { return m_panel.findChild<Widget*>(pName); }
    QPushButton* Button(const char* pName) const { return Find<QPushButton>(pName); }
    QString StateText() const { return Find<QLabel>("label_machineState")->text(); }
    /// Presses and waits until the machine has done it.
    void Press(const char* pName)
    {
        ASSERT_TRUE(Button(pName)->isEnabled()) << pName;
        QTest::mouseClick(Button(pName), Qt::LeftButton);
        EXPECT_TRUE(m_panel.IsBusy());
        EXPECT_FALSE(Button(pName)->isEnabled()) << "not twice at once";
        ASSERT_TRUE(QTest::qWaitFor([this] { return !m_panel.IsBusy(); }, 20'000));
    }

    SimulatedDevice m_device{Simulator::Machine::Kind::Automatic, 3};
    MachinePanel m_panel{m_device, true};
};

TEST_F(Panel, ThereIsNothingToStartBeforeAPatternWasSent)
{
    EXPECT_FALSE(Button("pushButton_startEngraving")->isEnabled());
    EXPECT_FALSE(Button("pushButton_startEngraving")->toolTip().isEmpty());
    EXPECT_EQ(Find<QSpinBox>("spinBox_seed")->value(), 3);
}

TEST_F(Panel, StartsThePatternThatWasSent)
{
    SendOneLine(m_device);
    ASSERT_TRUE(QTest::qWaitFor([this] { return Button("pushButton_startEngraving")->isEnabled(); }, 20'000));
    EXPECT_EQ(StateText(), "TwoCalib.kv: 1 lines wait for the start.");
    QSignalSpy changed(&m_panel, &MachinePanel::BedChangedSignal);
    Press("pushButton_startEngraving");
    EXPECT_TRUE(m_device.GetState().bEngraved);
    EXPECT_EQ(StateText(), "TwoCalib.kv: 1 of 1 lines are engraved.");
    EXPECT_EQ(changed.count(), 1);
    Press("pushButton_placeMaterial");
    EXPECT_FALSE(m_device.GetState().bEngraved);
}

TEST_F(Panel, SwapsTheMachineForTheOneOfTheSeed)
{
    SendOneLine(m_device);
    Find<QSpinBox>("spinBox_seed")->setValue(9);
    EXPECT_EQ(m_device.GetState().nSeed, 3u) << "only when it is asked for";
    Press("pushButton_swapMachine");
    EXPECT_EQ(m_device.GetState().nSeed, 9u);
    EXPECT_FALSE(Button("pushButton_startEngraving")->isEnabled());
}

TEST_F(Panel, LightAndPlugsReachTheMachine)
{
    Find<QSlider>("slider_light")->setValue(20);
    EXPECT_NEAR(m_device.GetState().dLight, 0.2, 1.0e-9);
    m_panel.show();
    auto* const pLeft = Find<QCheckBox>("checkBox_leftCamera");
    QTest::mouseClick(pLeft, Qt::LeftButton, {}, {10, pLeft->height() / 2});
    Find<QCheckBox>("checkBox_rightCamera")->setChecked(false);
    EXPECT_FALSE(m_device.GetState().bLeftPlugged);
    EXPECT_FALSE(m_device.GetState().bRightPlugged);
}

TEST_F(Panel, EngravesCrossesToHoldTheCoordinatesAgainst)
{
    Press("pushButton_engraveScale");
    cv::Mat after;
    ASSERT_EQ(m_device.Snap("right", after), 0);
    m_device.PlaceMaterial();
    cv::Mat fresh;
    ASSERT_EQ(m_device.Snap("right", fresh), 0);
    EXPECT_GT(cv::norm(after, fresh, cv::NORM_INF), 30.0);
}

TEST_F(Panel, CamerasOfAPersonHaveNoSimulatedLightAndPlugs)
{
    const MachinePanel panel(m_device, false);
    EXPECT_FALSE(panel.findChild<QSlider*>("slider_light")->isEnabled());
    EXPECT_FALSE(panel.findChild<QCheckBox*>("checkBox_leftCamera")->isEnabled());
    EXPECT_TRUE(panel.findChild<QCheckBox*>("checkBox_leftCamera")->toolTip().contains("CameraSetting.ini"));
    EXPECT_TRUE(panel.findChild<QPushButton*>("pushButton_placeMaterial")->isEnabled());
}

TEST_F(Panel, AnAutomaticMachineHasNoChart)
{
    EXPECT_EQ(Button("pushButton_chartLeft"), nullptr);
}

/// The front of a manual machine, with the chart that its operator holds.
class ChartInHand : public testing::Test
{
protected:
    void Press(const char* pName)
    {
        auto* const pButton = m_panel.findChild<QPushButton*>(pName);
        ASSERT_TRUE(pButton->isEnabled()) << pName;
        QTest::mouseClick(pButton, Qt::LeftButton);
    }
    bool IsEnabled(const char* pName) const { return m_panel.findChild<QWidget*>(pName)->isEnabled(); }
    QString StateText() const { return m_panel.findChild<QLabel*>("label_chartState")->text(); }
    Simulator::ChartPose Held() const { return m_device.GetState().chart.value(); }

    SimulatedDevice m_device{Simulator::Machine::Kind::Manual, 3};
    MachinePanel m_panel{m_device, true};
};

TEST_F(ChartInHand, IsHeldAtOnePoseAfterTheOther)
{
    EXPECT_EQ(StateText(), "Nobody holds the calibration chart.");
    EXPECT_FALSE(IsEnabled("pushButton_chartAway"));
    QSignalSpy changed(&m_panel, &MachinePanel::BedChangedSignal);
    Press("pushButton_chartLeft");
    EXPECT_EQ(StateText(), "The chart is held under the left camera, pose 1.");
    Press("pushButton_chartLeft");
    EXPECT_EQ(Held().nPose, 1);
    Press("pushButton_chartRight");
    EXPECT_EQ(Held().side, Simulator::Side::Right);
    EXPECT_EQ(StateText(), "The chart is held under the right camera, pose 1.");
    EXPECT_EQ(changed.count(), 3);
}

TEST_F(ChartInHand, IsTiltedTurnedPushedAsideAndTakenAway)
{
    Press("pushButton_chartRight");
    Press("pushButton_chartTilt");
    EXPECT_EQ(Held().nTilt, 1);
    for (int i = 0; i < 5; ++i) {
        Press("pushButton_chartTurn");
    }
    EXPECT_EQ(Held().nTurns, 1);
    auto* const pOutOfView = m_panel.findChild<QCheckBox*>("checkBox_chartOutOfView");
    pOutOfView->click();
    EXPECT_TRUE(Held().bOutOfView);
    EXPECT_EQ(Held().nTilt, 1) << "what was done before stays";
    pOutOfView->click();
    EXPECT_FALSE(Held().bOutOfView);
    pOutOfView->click();
    Press("pushButton_chartRight");
    EXPECT_FALSE(pOutOfView->isChecked()) << "the next pose is a good one again";
    Press("pushButton_chartAway");
    EXPECT_FALSE(m_device.GetState().chart);
    EXPECT_FALSE(IsEnabled("pushButton_chartTilt"));
}

TEST_F(ChartInHand, IsTakenAwayBeforeTheLaserStarts)
{
    SendOneLine(m_device);
    ASSERT_TRUE(QTest::qWaitFor([this] { return IsEnabled("pushButton_startEngraving"); }, 20'000));
    Press("pushButton_chartLeft");
    ASSERT_TRUE(m_device.GetState().chart);
    Press("pushButton_startEngraving");
    EXPECT_FALSE(m_device.GetState().chart);
    ASSERT_TRUE(QTest::qWaitFor([this] { return !m_panel.IsBusy(); }, 20'000));
    EXPECT_FALSE(IsEnabled("pushButton_chartAway"));
}

TEST_F(ChartInHand, WhatTheOperatorScriptHoldsIsShown)
{
    m_device.HoldChart({.side = Simulator::Side::Left, .nPose = 6});
    ASSERT_TRUE(QTest::qWaitFor([this] { return StateText().contains("pose 7"); }, 20'000));
    EXPECT_TRUE(IsEnabled("pushButton_chartTurn"));
}

TEST_F(ChartInHand, NobodyHoldsOneUnderAPersonsOwnCameras)
{
    const MachinePanel panel(m_device, false);
    EXPECT_EQ(panel.findChild<QPushButton*>("pushButton_chartLeft"), nullptr);
}

TEST_F(Panel, SpeaksEveryLanguageAtOnce)
{
    const QString strEnglish = Button("pushButton_placeMaterial")->text();
    QSet<QString> seen{strEnglish};
    for (const QString& strLanguage : Languages()) {
        ASSERT_TRUE(SwitchLanguage(strLanguage));
        QCoreApplication::processEvents(); // windows are told by a posted event
        seen.insert(Button("pushButton_placeMaterial")->text());
    }
    EXPECT_EQ(seen.size(), Languages().size());
}

} // namespace
