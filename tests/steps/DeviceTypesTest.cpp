#include "DeviceTypes.h"

#include "ModuleDoubles.h"
#include "TempFolder.h"

#include <gmock/gmock.h>

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>

#include <sys/stat.h>

namespace
{

class DeviceTypes : public testing::Test
{
protected:
    void SetUp() override { Doubles::Reset(); }

    QString Path() const { return QString::fromStdString(m_folder.Path("DeviceType.json")); }
    bool Read() { return ReadDeviceTypes(Path(), m_mapSubModel, m_mapModel); }
    bool ReadText(const QByteArray& content)
    {
        m_folder.Write("DeviceType.json", content);
        return Read();
    }
    void ExpectOneLine(const std::string& strBegin)
    {
        ASSERT_EQ(Doubles::The().logLines.size(), 1u);
        EXPECT_EQ(Doubles::The().logLines[0].first, 0);
        EXPECT_THAT(Doubles::The().logLines[0].second, testing::StartsWith(strBegin));
        Doubles::Reset();
    }

    TempFolder m_folder;
    QMap<QString, QStringList> m_mapSubModel;
    QMap<QString, QStringList> m_mapModel;
};

TEST_F(DeviceTypes, TenNumbersStandAsTextsWithTwoDecimalsInTheirOrder)
{
    ASSERT_TRUE(ReadText(R"({"M": {"A": {"ColForSingleCamera": 10, "RowForSingleCamera": 9, "ColumnSpacing": 8,
        "LineSpacing": 7, "StartPointY": 6.129, "StartPointX": -5.5, "Col": 4, "Row": 3, "Y": 2, "X": 12.6}}})"));
    EXPECT_EQ(m_mapSubModel["A"],
              QStringList({"12.60", "2.00", "3.00", "4.00", "-5.50", "6.13", "7.00", "8.00", "9.00", "10.00"}));
    EXPECT_EQ(DeviceNumber(m_mapSubModel["A"], DEVICE_X), 12);
    EXPECT_EQ(DeviceNumber(m_mapSubModel["A"], DEVICE_START_X), -5);
    EXPECT_EQ(DeviceNumber(m_mapSubModel["A"], DEVICE_COL_SINGLE), 10);
    EXPECT_EQ(DeviceNumber({}, DEVICE_X), 0);
}

TEST_F(DeviceTypes, AMissingKeyCountsAsZero)
{
    ASSERT_TRUE(ReadText(R"({"M": {"A": {"Row": 3}, "B": 7}})"));
    EXPECT_EQ(m_mapSubModel["A"].size(), 10);
    EXPECT_EQ(m_mapSubModel["A"][DEVICE_ROW], "3.00");
    EXPECT_EQ(m_mapSubModel["A"][DEVICE_X], "0.00");
    EXPECT_EQ(m_mapSubModel["B"], QStringList(QList<QString>(10, "0.00")));
}

TEST_F(DeviceTypes, OfOneNameUnderTwoModelsTheOneReadLastCounts)
{
    ASSERT_TRUE(ReadText(R"({"Z": {"A": {"X": 2}}, "B": {"A": {"X": 1}, "0": {}}})"));
    EXPECT_EQ(m_mapSubModel["A"][DEVICE_X], "2.00");
    EXPECT_EQ(m_mapModel.keys(), QStringList({"B", "Z"}));
    EXPECT_EQ(m_mapModel["B"], QStringList({"0", "A"}));
    EXPECT_EQ(m_mapModel["Z"], QStringList{"A"});
}

TEST_F(DeviceTypes, AMissingFileIsMadeEmptyAndIsNoJson)
{
    EXPECT_FALSE(Read());
    EXPECT_TRUE(QFileInfo(Path()).isFile());
    EXPECT_EQ(QFileInfo(Path()).size(), 0);
    ExpectOneLine("Failed to read DeviceType.json:");
}

TEST_F(DeviceTypes, WhatIsNoJsonIsRefused)
{
    for (const char* pContent : {"", "{", "{\"M\": }", "null", "\xff\xfe", "{} {}"}) {
        EXPECT_FALSE(ReadText(pContent)) << pContent;
        ExpectOneLine("Failed to read DeviceType.json:");
    }
    EXPECT_TRUE(m_mapModel.isEmpty());
}

TEST_F(DeviceTypes, JsonOfAnotherShapeHasNoModels)
{
    EXPECT_TRUE(ReadText("[1, 2]"));
    EXPECT_TRUE(m_mapModel.isEmpty());
    EXPECT_TRUE(ReadText(R"({"M": [1], "N": "x"})"));
    EXPECT_EQ(m_mapModel.keys(), QStringList({"M", "N"}));
    EXPECT_TRUE(m_mapSubModel.isEmpty());
}

TEST_F(DeviceTypes, AFolderThatIsMissingCannotHoldTheFile)
{
    EXPECT_FALSE(ReadDeviceTypes(Path() + "/none/DeviceType.json", m_mapSubModel, m_mapModel));
    ExpectOneLine("Failed to open the json file:");
}

TEST_F(DeviceTypes, AFileThatCannotBeWrittenCountsAsNotOpenable)
{
    // Nobody may open a running program for writing, whatever his rights.
    EXPECT_FALSE(ReadDeviceTypes("/proc/self/exe", m_mapSubModel, m_mapModel));
    ExpectOneLine(std::string("Failed to open the json file:") + std::strerror(ETXTBSY));
}

TEST_F(DeviceTypes, APipeOrAFolderUnderTheNameIsNotOpened)
{
    ASSERT_EQ(mkfifo(Path().toLocal8Bit().constData(), 0600), 0);
    EXPECT_FALSE(Read());
    ExpectOneLine("Failed to open the json file:");
    EXPECT_FALSE(ReadDeviceTypes(QString::fromStdString(m_folder.Path()), m_mapSubModel, m_mapModel));
    ExpectOneLine("Failed to open the json file:");
}

TEST_F(DeviceTypes, AFileOf16MibAndMoreIsNotLoaded)
{
    QFile file(QString::fromStdString(m_folder.Write("DeviceType.json", "{}")));
    ASSERT_TRUE(file.resize(16LL * 1024 * 1024 + 1));
    EXPECT_FALSE(Read());
    ExpectOneLine("Failed to open the json file:");
}

} // namespace
