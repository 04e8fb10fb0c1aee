// What the link does without a driver, and its debug dump.

#include "OperateDeviceClass.h"

#include "DeviceListFile.h"
#include "LibraryLoader.h"
#include "MicroLineBuilder.h"
#include "ModalAnswers.h"
#include "ModuleDoubles.h"

#include <gmock/gmock.h>

#include <QTemporaryDir>

#include <limits>

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

using F = DeviceListFile;

class OperateDevice : public testing::Test
{
protected:
    void SetUp() override { Doubles::Reset(); }
    void TearDown() override { EXPECT_THAT(g_listLoadedModules, IsEmpty()); }

    DeviceListFile m_file;
    ModalAnswers m_answers;
    OperateDeviceClass m_device;
};

/// A working directory of its own, since the dump's fixed path is a plain file name here.
class Dump : public OperateDevice
{
protected:
    Dump() : m_strBefore(QDir::currentPath()) { QDir::setCurrent(m_folder.path()); }
    ~Dump() override { QDir::setCurrent(m_strBefore); }

    QString Path() const { return m_folder.filePath("c:\\test_CKM.txt"); }

    QString m_strBefore;
    QTemporaryDir m_folder;
};

} // namespace

TEST_F(OperateDevice, WithoutADeviceListTheDriverIsNotLoaded)
{
    EXPECT_EQ(m_device.SetCalibrationFile({{100, 100}}, 40), 0);
    EXPECT_TRUE(Doubles::The().Logged(2, "ReadConnectList faile!"));
    EXPECT_THAT(m_answers.Notices(), IsEmpty()) << "no library was looked for";
    EXPECT_THAT(m_device.ConnectList(), SizeIs(1));
}

TEST_F(OperateDevice, AWrongMagicEndsTheTransferInTheSameWay)
{
    m_file.Write("NOTADEVICELIST");
    EXPECT_EQ(m_device.SetCalibrationFile({{100, 100}}, 40), 0);
    EXPECT_TRUE(Doubles::The().Logged(2, "ReadConnectList faile!"));
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
}

TEST_F(OperateDevice, WithoutADriverTheTransferAnswersZero)
{
    m_file.Write(F::Head(1, 1) + F::Record(1, 9, "10.0.0.1"));
    EXPECT_EQ(m_device.SetCalibrationFile({{100, 100}}, 40), 0);
    EXPECT_EQ(m_answers.OnlyText(), "Load DriverRD.dll failed! \n");
    EXPECT_EQ(m_device.Driver(), nullptr);
    EXPECT_THAT(Doubles::The().logLines,
                ElementsAre(Pair(2, "m_conList size = 0"), Pair(1, ""), Pair(1, "SetConnect IP!")))
        << "no download is logged";
}

TEST_F(OperateDevice, WithoutADriverTheOtherOperationsDoNothing)
{
    MicroLineDocument document;
    m_device.SetConnectIP("10.0.0.1");
    m_device.SetConnectPort(5, 6, 7);
    EXPECT_EQ(m_device.DownloadMicroLine(&document, "TwoCalib.kv"), 0);
    EXPECT_THAT(Doubles::The().logLines, IsEmpty());
}

TEST_F(OperateDevice, WithoutADriverNoFactoryParameterIsTouched)
{
    m_device.ApplyFactoryArea(1300, 900);
    EXPECT_THAT(Doubles::The().logLines, ElementsAre(Pair(1, HasSubstr("no driver is loaded"))));
}

TEST_F(OperateDevice, AnEmptyGridGivesNoDocument)
{
    EXPECT_EQ(m_device.CreateMicroLine({}, 40), nullptr);
    EXPECT_THAT(Doubles::The().logLines, Contains(Pair(2, HasSubstr("without points"))));
}

TEST_F(OperateDevice, AGridGivesADocumentOfItsOwn)
{
    MicroLineDocument* const pDocument = m_device.CreateMicroLine({{100, 200}, {300, 200}}, 40);
    ASSERT_NE(pDocument, nullptr);
    EXPECT_EQ(pDocument->dX, 80.0);
    EXPECT_EQ(pDocument->dWidth, 240.0);
    int nNodes = 0;
    const MicroLineNode* pNode = pDocument->pLayer->pFirstNode;
    do {
        ++nNodes;
        pNode = pNode->pNext;
    } while (pNode != pDocument->pLayer->pFirstNode);
    EXPECT_EQ(nNodes, 8);
    DeleteMicroLine(*pDocument);
    delete pDocument;
}

TEST_F(Dump, OnePointStandsOnEachLine)
{
    m_device.DumpPoints({{1.5, -2}, {1234567.0, 0.1}, {30, 40}});
    QFile file(Path());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), "1.5  -2\n1.23457e+06  0.1\n30  40\n");
}

TEST_F(Dump, AnOlderDumpIsReplaced)
{
    m_device.DumpPoints({{1, 2}, {3, 4}});
    m_device.DumpPoints({});
    QFile file(Path());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), "");
}

TEST_F(Dump, APathThatCannotBeMadeProducesNoMessage)
{
    ASSERT_TRUE(QDir().mkpath(Path()));
    m_device.DumpPoints({{1, 2}});
    EXPECT_TRUE(QFileInfo(Path()).isDir());
    EXPECT_THAT(Doubles::The().logLines, IsEmpty());
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
}
