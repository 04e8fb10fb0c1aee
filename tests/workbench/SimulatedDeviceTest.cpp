#include "SimulatedDevice.h"

#include "MicroLineBuilder.h"
#include "PatternFile.h"
#include "TempFolder.h"
#include "Truth.h"

#include <gmock/gmock.h>

#include <QSignalSpy>
#include <QVariant>

#include <thread>
#include <utility>
#include <vector>

namespace
{

using Simulator::Side;
using Workbench::SimulatedDevice;

const QList<QPointF> g_listTwo{{300.0, 300.0}, {400.0, 300.0}};

class DeviceService : public testing::Test
{
protected:
    /// As the pattern page does it: the document itself on the stack.
    static void Stage(IDeviceHost& host, const QList<QPointF>& listPtMm)
    {
        MicroLineDocument document;
        ASSERT_TRUE(FillMicroLine(document, listPtMm, 40.0));
        host.PutMicroLine(0, &document, "TwoCalib.kv");
    }
    static int Send(IDeviceHost& host) { return host.RunCommand("SendCalibrateFile", QVariant()); }

    /// A small pattern for a bed of this size.
    int Import(const cv::Size2d& bedMm)
    {
        const std::string strFile = m_folder.Path("pattern.kv");
        EXPECT_EQ(Workbench::WritePatternFile(
                      {bedMm, {{{280.0, 300.0}, {320.0, 300.0}}, {{300.0, 280.0}, {300.0, 320.0}}}}, strFile),
                  "");
        return m_device.RunCommand("DeviceDocumentImport", QString::fromStdString(strFile));
    }

    cv::Mat Picture(const char* szSide)
    {
        cv::Mat picture;
        EXPECT_EQ(m_device.Snap(szSide, picture), 0);
        return picture;
    }
    /// Grey level at a point of the bed, mean of 5 x 5 pixels.
    double LevelAt(const cv::Point2d& mm)
    {
        cv::Point2d pixel;
        m_device.WithMachine([&](Simulator::Machine& machine) {
            pixel = Simulator::Truth(machine).PixelFromMachine(Side::Left, mm).value();
        });
        const cv::Rect window(cvRound(pixel.x) - 2, cvRound(pixel.y) - 2, 5, 5);
        const cv::Scalar mean = cv::mean(Picture("left")(window));
        return (mean[0] + mean[1] + mean[2]) / 3.0;
    }

    TempFolder m_folder;
    SimulatedDevice m_device{Simulator::Machine::Kind::Automatic, 1};
};

TEST_F(DeviceService, APatternThatWasStagedAndSentIsEngravedWhenTheMachineIsStarted)
{
    const double dBlank = LevelAt({300.0, 300.0});
    Stage(m_device, g_listTwo);
    EXPECT_EQ(Send(m_device), 1011);
    EXPECT_EQ(m_device.GetState().strPattern, "TwoCalib.kv");
    EXPECT_EQ(m_device.GetState().nLines, 8u);
    EXPECT_FALSE(m_device.GetState().bEngraved);
    EXPECT_NEAR(LevelAt({300.0, 300.0}), dBlank, 3.0);

    EXPECT_TRUE(m_device.StartEngraving());
    EXPECT_TRUE(m_device.GetState().bEngraved);
    EXPECT_EQ(m_device.GetState().nEngraved, 8u);
    EXPECT_LT(LevelAt({300.0, 300.0}), 0.9 * dBlank);

    m_device.PlaceMaterial();
    EXPECT_FALSE(m_device.GetState().bEngraved);
    EXPECT_GT(LevelAt({300.0, 300.0}), 0.9 * dBlank);
}

TEST_F(DeviceService, WhatIsStagedIsSentOnce)
{
    EXPECT_EQ(Send(m_device), 1016);
    Stage(m_device, g_listTwo);
    EXPECT_EQ(Send(m_device), 1011);
    EXPECT_EQ(Send(m_device), 1016);
    // What was sent before stays in the machine.
    EXPECT_EQ(m_device.GetState().strPattern, "TwoCalib.kv");
}

TEST_F(DeviceService, TheLaterOfTwoStagedPatternsIsSent)
{
    Stage(m_device, g_listTwo);
    Stage(m_device, {{300.0, 300.0}});
    EXPECT_EQ(Send(m_device), 1011);
    EXPECT_EQ(m_device.GetState().nLines, 6u);
}

TEST_F(DeviceService, ADocumentWithoutALineIsRefused)
{
    MicroLineDocument empty;
    m_device.PutMicroLine(0, &empty, "TwoCalib.kv");
    EXPECT_EQ(Send(m_device), 1016);
    m_device.PutMicroLine(0, nullptr, "TwoCalib.kv");
    EXPECT_EQ(Send(m_device), 1016);
    EXPECT_FALSE(m_device.StartEngraving());
}

TEST_F(DeviceService, ABrokenDocumentIsRefusedAndNotEngravedInPart)
{
    MicroLineDocument document;
    ASSERT_TRUE(FillMicroLine(document, g_listTwo, 40.0));
    document.pLayer->pFirstNode->pSegment->dX0 = std::nan("");
    m_device.PutMicroLine(0, &document, "TwoCalib.kv");
    EXPECT_EQ(Send(m_device), 1016);
    EXPECT_EQ(document.pLayer, nullptr) << "the receiver has taken the layer over";
}

TEST_F(DeviceService, CommandsThatItDoesNotKnowAreRefused)
{
    EXPECT_EQ(m_device.RunCommand("OpenTheDoor", QVariant()), 1016);
    EXPECT_EQ(m_device.RunCommand(nullptr, QVariant()), 1016);
    EXPECT_EQ(Import({900.0, 600.0}), 1011);
    m_device.SwapMachine(1);
    const QVariant pattern(QString::fromStdString(m_folder.Path("pattern.kv")));
    EXPECT_EQ(m_device.RunCommand("devicedocumentimport", pattern), 1016);
    EXPECT_TRUE(m_device.GetState().strPattern.isEmpty()) << "nothing is taken";
}

// ---- Patterns as files ----

TEST_F(DeviceService, APatternFileIsImportedAndEngravedWhenTheMachineIsStarted)
{
    const double dBlank = LevelAt({300.0, 300.0});
    EXPECT_EQ(Import({1300.0, 900.0}), 1011);
    EXPECT_EQ(m_device.GetState().strPattern, "pattern.kv");
    EXPECT_EQ(m_device.GetState().nLines, 2u);
    EXPECT_NEAR(LevelAt({300.0, 300.0}), dBlank, 3.0);
    EXPECT_TRUE(m_device.StartEngraving());
    EXPECT_EQ(m_device.GetState().nEngraved, 2u);
    EXPECT_LT(LevelAt({300.0, 300.0}), 0.9 * dBlank);
}

TEST_F(DeviceService, APatternForASmallerBedIsTakenAndOneForALargerRefused)
{
    const double dBlank = LevelAt({300.0, 300.0});
    EXPECT_EQ(Import({900.0, 600.0}), 1011);
    EXPECT_EQ(Import({1300.5, 900.0}), 1016);
    EXPECT_EQ(Import({1300.0, 900.5}), 1016);
    EXPECT_TRUE(m_device.StartEngraving());
    EXPECT_LT(LevelAt({300.0, 300.0}), 0.9 * dBlank) << "from the same origin";
}

TEST_F(DeviceService, ANewPatternIsNotEngravedYetWhateverTheOneBeforeItWas)
{
    EXPECT_EQ(Import({900.0, 600.0}), 1011);
    EXPECT_TRUE(m_device.StartEngraving());
    EXPECT_EQ(m_device.GetState().nEngraved, 2u);
    EXPECT_EQ(Import({1300.0, 900.0}), 1011);
    EXPECT_FALSE(m_device.GetState().bEngraved);
    EXPECT_EQ(m_device.GetState().nEngraved, 0u);
}

TEST_F(DeviceService, AnImportedPatternIsKeptAndSoIsWhetherItWasEngraved)
{
    const QString strFile = QString::fromStdString(m_folder.Path("bed.json"));
    m_device.KeepIn(strFile, true);
    const auto kept = [&] {
        SimulatedDevice later(Simulator::Machine::Kind::Automatic, 1);
        later.KeepIn(strFile, true);
        return later.GetState();
    };
    EXPECT_EQ(Import({900.0, 600.0}), 1011);
    EXPECT_EQ(kept().strPattern, "pattern.kv");
    EXPECT_EQ(kept().nLines, 2u);
    EXPECT_FALSE(kept().bEngraved);
    EXPECT_TRUE(m_device.StartEngraving());
    EXPECT_TRUE(kept().bEngraved);
    EXPECT_EQ(Import({1300.0, 900.0}), 1011);
    EXPECT_FALSE(kept().bEngraved);
}

TEST_F(DeviceService, WhileItEngravesItIsBusyAndTakesNothing)
{
    Stage(m_device, g_listTwo);
    ASSERT_EQ(Send(m_device), 1011);
    std::vector<int> answers;
    bool bAsked = false;
    QObject::connect(
        &m_device, &SimulatedDevice::StateChangedSignal, &m_device,
        [&] {
            // Once: a command that is taken tells a change too.
            if (m_device.GetState().bBusy && !std::exchange(bAsked, true)) {
                answers = {m_device.GetChannel()->GetBusy(), Import({900.0, 600.0}), Send(m_device)};
            }
        },
        Qt::DirectConnection);
    EXPECT_TRUE(m_device.StartEngraving());
    EXPECT_THAT(answers, testing::ElementsAre(1, 1001, 1001));
    EXPECT_EQ(m_device.GetChannel()->GetBusy(), 0);
    EXPECT_EQ(m_device.GetState().strPattern, "TwoCalib.kv");
    EXPECT_EQ(Import({900.0, 600.0}), 1011);
}

TEST_F(DeviceService, AMachineThatIsSwappedBeforeTheEngravingBeginsStaysBlank)
{
    EXPECT_EQ(Import({900.0, 600.0}), 1011);
    bool bSwapped = false;
    QObject::connect(
        &m_device, &SimulatedDevice::StateChangedSignal, &m_device,
        [&] {
            if (!std::exchange(bSwapped, true)) {
                m_device.SwapMachine(7);
            }
        },
        Qt::DirectConnection);
    EXPECT_FALSE(m_device.StartEngraving());
    EXPECT_FALSE(m_device.GetState().bBusy);
    EXPECT_FALSE(m_device.GetState().bEngraved);
    SimulatedDevice blank(Simulator::Machine::Kind::Automatic, 7);
    cv::Mat expected;
    ASSERT_EQ(blank.Snap("left", expected), 0);
    EXPECT_EQ(cv::norm(expected, Picture("left"), cv::NORM_INF), 0.0);
}

TEST_F(DeviceService, APatternFileThatCannotBeReadIsRefusedAndThePatternBeforeItStays)
{
    EXPECT_EQ(Import({900.0, 600.0}), 1011);
    m_folder.Write("damaged.kv", "KV 1\nbed 900 600\nline 1 2 3\n");
    for (const QVariant& argument : {QVariant(QString::fromStdString(m_folder.Path("damaged.kv"))),
                                     QVariant(QString("/nowhere.kv")), QVariant(QString()), QVariant(), QVariant(7)}) {
        EXPECT_EQ(m_device.RunCommand("DeviceDocumentImport", argument), 1016) << qPrintable(argument.toString());
    }
    EXPECT_EQ(m_device.GetState().strPattern, "pattern.kv");
}

TEST_F(DeviceService, AsksForTheMaterialToBeHeldAgainstTheWorkArea)
{
    EXPECT_EQ(m_device.GetDeviceKind(), 2);
    ASSERT_NE(m_device.GetChannel(), nullptr);
    EXPECT_EQ(m_device.GetChannel()->GetBusy(), 0);
}

TEST_F(DeviceService, AnotherMachineHasFreshMaterialAndNoPattern)
{
    Stage(m_device, g_listTwo);
    EXPECT_EQ(Send(m_device), 1011);
    const cv::Mat before = Picture("left");
    m_device.SwapMachine(7);
    EXPECT_EQ(m_device.GetState().nSeed, 7u);
    EXPECT_TRUE(m_device.GetState().strPattern.isEmpty());
    EXPECT_FALSE(m_device.StartEngraving());
    EXPECT_GT(cv::norm(before, Picture("left"), cv::NORM_L1) / static_cast<double>(before.total()), 1.0);
}

TEST_F(DeviceService, WithoutLightThePicturesAreDark)
{
    const double dLit = cv::mean(Picture("right"))[1];
    m_device.SetLight(0.1);
    EXPECT_NEAR(cv::mean(Picture("right"))[1], 0.1 * dLit, 2.0);
    m_device.SetLight(1.0);
    EXPECT_NEAR(cv::mean(Picture("right"))[1], dLit, 0.1);
    m_device.SetLight(std::nan(""));
    EXPECT_EQ(m_device.GetState().dLight, 1.0);
}

TEST_F(DeviceService, ACameraThatIsUnpluggedGivesNoPictureAndTheOtherDoes)
{
    cv::Mat picture;
    m_device.SetPlugged(Side::Left, false);
    EXPECT_NE(m_device.Snap("left", picture), 0);
    EXPECT_TRUE(picture.empty());
    EXPECT_EQ(m_device.Snap("right", picture), 0);
    m_device.SetPlugged(Side::Left, true);
    EXPECT_EQ(m_device.Snap("left", picture), 0);
    EXPECT_NE(m_device.Snap("middle", picture), 0);
    EXPECT_NE(m_device.Snap(nullptr, picture), 0);
}

TEST_F(DeviceService, AChartIsInThePicturesFromWhenItIsHeldUntilItIsTakenAway)
{
    SimulatedDevice device(Simulator::Machine::Kind::Manual, 1);
    const auto picture = [&device] {
        cv::Mat mat;
        EXPECT_EQ(device.Snap("left", mat), 0);
        return mat;
    };
    const auto differ = [](const cv::Mat& a, const cv::Mat& b) {
        return cv::norm(a, b, cv::NORM_L1) / static_cast<double>(a.total() * 3);
    };
    const cv::Mat bare = picture();
    EXPECT_FALSE(device.GetState().chart);
    device.HoldChart({.side = Side::Left, .nPose = 0});
    ASSERT_TRUE(device.GetState().chart);
    EXPECT_EQ(device.GetState().chart->nPose, 0);
    const cv::Mat first = picture();
    EXPECT_GT(differ(bare, first), 3.0);
    device.HoldChart({.side = Side::Left, .nPose = 1});
    EXPECT_GT(differ(first, picture()), 3.0);
    device.TakeChartAway();
    EXPECT_FALSE(device.GetState().chart);
    EXPECT_LT(differ(bare, picture()), 2.0) << "noise only";

    device.HoldChart({.side = Side::Left, .nPose = 1});
    device.SwapMachine(2);
    EXPECT_FALSE(device.GetState().chart) << "nobody holds one under the other machine's cameras";
}

TEST_F(DeviceService, EveryChangeIsTold)
{
    const QSignalSpy spy(&m_device, &SimulatedDevice::StateChangedSignal);
    m_device.SetLight(0.5);
    m_device.SetPlugged(Side::Right, false);
    m_device.HoldChart({});
    m_device.TakeChartAway();
    EXPECT_EQ(spy.count(), 4);
    Stage(m_device, g_listTwo);
    EXPECT_EQ(Send(m_device), 1011);
    EXPECT_EQ(spy.count(), 5);
}

TEST_F(DeviceService, ThreadsMaySnapEngraveAndLookAtOnce)
{
    Stage(m_device, g_listTwo);
    ASSERT_EQ(Send(m_device), 1011);
    std::thread camera([this] {
        for (int i = 0; i < 2; ++i) {
            cv::Mat picture;
            EXPECT_EQ(m_device.Snap("left", picture), 0);
        }
    });
    std::thread operatorThread([this] {
        for (int i = 0; i < 3; ++i) {
            m_device.PlaceMaterial();
            EXPECT_TRUE(m_device.StartEngraving());
            m_device.SetLight(0.5 + 0.1 * i);
        }
    });
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(m_device.GetState().nSeed, 1u);
    }
    camera.join();
    operatorThread.join();
    EXPECT_TRUE(m_device.GetState().bEngraved);
}

} // namespace
