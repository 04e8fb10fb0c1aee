// The link with a driver behind it: whole transfers, every kind of connection, every operation failing.

#include "OperateDeviceClass.h"

#include "DeviceListFile.h"
#include "LibraryLoader.h"
#include "MicroLineBuilder.h"
#include "ModalAnswers.h"
#include "ModuleDoubles.h"
#include "RecordingDriver.h"

#include <gmock/gmock.h>

#include <QLibrary>

#include <cmath>
#include <cstring>
#include <limits>

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;

using F = DeviceListFile;
using Calls = std::vector<std::string>;

class Driver : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        // Held until the process ends: the bare name meets this library by its SONAME.
        static QLibrary library(CTC_RECORDING_DRIVER);
        ASSERT_TRUE(library.load()) << library.errorString().toStdString();
        g_pfnRecordOf = reinterpret_cast<DriverRecord* (*)()>(library.resolve("DriverRecordOf"));
        ASSERT_NE(g_pfnRecordOf, nullptr);
    }

    void SetUp() override
    {
        ASSERT_NE(g_pfnRecordOf, nullptr);
        Doubles::Reset();
        Record() = DriverRecord();
    }

    void TearDown() override
    {
        FreeReceived();
        ReleaseAllModules();
        EXPECT_THAT(m_answers.Notices(), IsEmpty());
    }

    static DriverRecord& Record() { return *g_pfnRecordOf(); }

    /// What a driver does with the document that is its own.
    static void FreeReceived()
    {
        if (Record().pReceived) {
            DeleteMicroLine(*Record().pReceived);
        }
        delete Record().pReceived;
        Record().pReceived = nullptr;
    }

    int Send(const QByteArray& deviceList)
    {
        FreeReceived();
        Record().calls.clear();
        m_file.Write(deviceList);
        return m_device.SetCalibrationFile({{100, 100}, {200, 100}}, 40);
    }

    static Calls TransferBy(const std::string& strConnect)
    {
        return {"NewInterface()", "Init(0)", strConnect, "DownloadMicroLine(TwoCalib.kv)"};
    }

    static inline DriverRecord* (*g_pfnRecordOf)() = nullptr;
    DeviceListFile m_file;
    ModalAnswers m_answers;
    OperateDeviceClass m_device;
};

} // namespace

TEST_F(Driver, AFileIndexOfZeroSelectsUsbEvenWithIpRecords)
{
    Record().nDownloadResult = 42;
    EXPECT_EQ(Send(F::Head(0, 2) + F::Record(1, 9, "10.0.0.1") + F::Record(1, 9, "10.0.0.2")), 42);
    EXPECT_EQ(Record().calls, TransferBy("SetConnectUsbAuto()"));
    EXPECT_THAT(Doubles::The().logLines, ElementsAre(Pair(2, "m_conList size = 0"), Pair(1, "SetConnect_USB_Auto!"),
                                                     Pair(1, "DownloadMicroLine ret = 42 ")));
}

TEST_F(Driver, AFileIndexOfOneConnectsByTheFirstRecordsAddress)
{
    EXPECT_EQ(Send(F::Head(1, 1) + F::Record(1, 9, "192.168.1.20")), 0);
    EXPECT_EQ(Record().calls, TransferBy("SetConnectIP(192.168.1.20)"));
    EXPECT_TRUE(Doubles::The().Logged(1, "SetConnect IP!"));
    EXPECT_TRUE(Doubles::The().Logged(1, "DownloadMicroLine ret = 0 "));
}

TEST_F(Driver, OnlyTypeOneConnectsByAddress)
{
    for (const std::int32_t nType : {0, 2, 3, -1, 256, 0x01000000}) {
        Send(F::Head(1, 1) + F::Record(nType, 9, "192.168.1.20"));
        EXPECT_EQ(Record().calls, TransferBy("SetConnectUsbAuto()")) << nType;
    }
}

TEST_F(Driver, AnAddressOfSixteenCharactersEndsBehindItsField)
{
    Send(F::Head(1, 1) + F::Record(1, 9, "abcdefghijklmnop"));
    EXPECT_EQ(Record().calls, TransferBy("SetConnectIP(abcdefghijklmnop)"));
}

TEST_F(Driver, AnAddressEndsAtItsFirstZero)
{
    Send(F::Head(1, 1) + F::Record(1, 9, QByteArray("10.0\0rest", 9)));
    EXPECT_EQ(Record().calls, TransferBy("SetConnectIP(10.0)"));
    Send(F::Head(1, 1) + F::Record(1, 9, ""));
    EXPECT_EQ(Record().calls, TransferBy("SetConnectIP()"));
}

TEST_F(Driver, AnIndexOutsideOfTheListIsReplacedByUsb)
{
    for (const std::int32_t nIndex :
         {-1, 2, 1000, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()}) {
        Doubles::Reset();
        Record().nDownloadResult = 5;
        EXPECT_EQ(Send(F::Head(nIndex, 1) + F::Record(1, 9, "10.0.0.1")), 5) << "the transfer goes on";
        EXPECT_TRUE(Doubles::The().Logged(
            0, "OperateDeviceClass::SetCalibrationFile, m_nIndex = " + std::to_string(nIndex) + ", listCount = 2"));
        EXPECT_EQ(Record().calls, TransferBy("SetConnectUsbAuto()"));
        EXPECT_EQ(m_device.Index(), 0);
    }
}

TEST_F(Driver, AnEmptyDeviceListSendsByUsb)
{
    m_device.SetIndex(3);
    Send("");
    EXPECT_EQ(Record().calls, TransferBy("SetConnectUsbAuto()"));
}

TEST_F(Driver, TheDriverReceivesTheWholeDocument)
{
    Send(F::Head(0, 0));
    const MicroLineDocument* const pReceived = Record().pReceived;
    ASSERT_NE(pReceived, nullptr);
    EXPECT_EQ(pReceived->dX, 80.0);
    EXPECT_EQ(pReceived->dY, 80.0);
    EXPECT_EQ(pReceived->dWidth, 140.0);
    EXPECT_EQ(pReceived->dHeight, 40.0);
    int nNodes = 0;
    const MicroLineNode* pNode = pReceived->pLayer->pFirstNode;
    do {
        ++nNodes;
        EXPECT_NE(pNode->pSegment, nullptr);
        pNode = pNode->pNext;
    } while (pNode && pNode != pReceived->pLayer->pFirstNode);
    EXPECT_EQ(nNodes, 8);
}

TEST_F(Driver, AFailingDownloadsResultReachesTheCaller)
{
    for (const int nResult : {-1, 1, 1016, std::numeric_limits<int>::min()}) {
        Record().nDownloadResult = nResult;
        EXPECT_EQ(Send(F::Head(0, 0)), nResult);
        EXPECT_TRUE(Doubles::The().Logged(1, "DownloadMicroLine ret = " + std::to_string(nResult) + " "));
    }
}

TEST_F(Driver, AnEmptyGridIsNotSent)
{
    m_file.Write(F::Head(0, 0));
    Record().nDownloadResult = 42;
    EXPECT_EQ(m_device.SetCalibrationFile({}, 40), 0);
    EXPECT_THAT(Record().calls, ElementsAre("NewInterface()", "Init(0)", "SetConnectUsbAuto()"));
    EXPECT_THAT(Doubles::The().logLines, Contains(Pair(2, HasSubstr("without points"))));
}

TEST_F(Driver, EachTransferLoadsTheDriverAgainAndGivesNoneBack)
{
    Send(F::Head(0, 0));
    const IDriverRD* const pFirst = m_device.Driver();
    EXPECT_NE(pFirst, nullptr);
    Send(F::Head(0, 0));
    EXPECT_EQ(g_listLoadedModules.size(), 2u);
    EXPECT_THAT(Record().calls, Not(Contains("ReleaseInterface()")));
}

TEST_F(Driver, ADriverWithoutAnInstanceIsNoDriver)
{
    Record().bGiveInstance = false;
    EXPECT_EQ(Send(F::Head(1, 1) + F::Record(1, 9, "10.0.0.1")), 0);
    EXPECT_THAT(Record().calls, ElementsAre("NewInterface()"));
    EXPECT_EQ(m_device.Driver(), nullptr);
}

TEST_F(Driver, ADriverThatIsGoneAtTheNextTransferIsForgotten)
{
    Send(F::Head(0, 0));
    ASSERT_NE(m_device.Driver(), nullptr);
    Record().bGiveInstance = false;
    EXPECT_EQ(Send(F::Head(0, 0)), 0);
    EXPECT_EQ(m_device.Driver(), nullptr);
}

TEST_F(Driver, AnUnreadableDeviceListReachesNoDriver)
{
    EXPECT_EQ(Send("XXXX"), 0);
    EXPECT_THAT(Record().calls, IsEmpty());
    EXPECT_TRUE(Doubles::The().Logged(2, "ReadConnectList faile!"));
}

TEST_F(Driver, TheConnectionsCanBeSetOneByOne)
{
    m_device.LoadDriver();
    m_device.SetConnectIP("10.0.0.7");
    m_device.SetConnectPort(65535, -1, 8);
    EXPECT_THAT(Record().calls,
                ElementsAre("NewInterface()", "Init(0)", "SetConnectIP(10.0.0.7)", "SetConnectPort(65535, -1, 8)"));
}

TEST_F(Driver, TheFactoryAreaChangesTwoLengthsAndNothingElse)
{
    m_device.LoadDriver();
    Record().machine.axes[0].dValue24 = 1.25;
    Record().machine.axes[2].dLengthMm = 77.0;
    Record().machine.group2.nWord32 = 12;
    FactoryParam expected = Record().machine;
    expected.axes[0].dLengthMm = 1300.5;
    expected.axes[1].dLengthMm = 900.25;
    Record().calls.clear();
    m_device.ApplyFactoryArea(1300.5, 900.25);
    EXPECT_THAT(Record().calls, ElementsAre("ReadFactoryParam()", "SaveFactoryParam()"));
    EXPECT_EQ(std::memcmp(&Record().machine, &expected, sizeof expected), 0);
    EXPECT_THAT(Doubles::The().logLines, IsEmpty());
}

TEST_F(Driver, TheMachineRestsHalfASecondBetweenReadingAndWriting)
{
    m_device.LoadDriver();
    m_device.ApplyFactoryArea(1300, 900);
    // At least: a busy computer can only make it longer.
    EXPECT_GE(Record().saveTime - Record().readTime, std::chrono::milliseconds(500));
}

TEST_F(Driver, AFactoryRecordThatCannotBeReadIsNotWritten)
{
    m_device.LoadDriver();
    Record().nReadResult = -7;
    Record().calls.clear();
    m_device.ApplyFactoryArea(1300, 900);
    EXPECT_THAT(Record().calls, ElementsAre("ReadFactoryParam()"));
    EXPECT_THAT(Doubles::The().logLines, ElementsAre(Pair(1, "ReadFactoryParam ret = -7 ")));
}

TEST_F(Driver, AFactoryRecordThatCannotBeWrittenIsLogged)
{
    m_device.LoadDriver();
    Record().nSaveResult = 3;
    m_device.ApplyFactoryArea(1300, 900);
    EXPECT_THAT(Doubles::The().logLines, ElementsAre(Pair(1, "SaveFactoryParam ret = 3 ")));
}

TEST_F(Driver, ALengthThatIsNoneNeverReachesTheMachine)
{
    m_device.LoadDriver();
    Record().calls.clear();
    m_device.ApplyFactoryArea(std::nan(""), 900);
    m_device.ApplyFactoryArea(1300, std::numeric_limits<double>::infinity());
    EXPECT_THAT(Record().calls, IsEmpty());
    EXPECT_EQ(Doubles::The().logLines.size(), 2u);
}
