#include "BedFile.h"

#include "TempFolder.h"

#include <gmock/gmock.h>

namespace
{

using namespace Workbench;

class BedFile : public testing::Test
{
protected:
    QString File() const { return QString::fromStdString(m_folder.Path("deep/bed.json")); }
    std::optional<BedRecord> ReadBytes(const QByteArray& bytes) const
    {
        return ReadBedFile(QString::fromStdString(m_folder.Write("other.json", bytes)));
    }
    static BedRecord Record()
    {
        BedRecord record;
        record.kind = Simulator::Machine::Kind::Manual;
        record.nSeed = 18446744073709551615ULL;
        record.nSheets = 3;
        record.engraved = {{{1.25, 2.5}, {0.1, -4.0}}};
        record.strPattern = "TwoCalib.kv";
        record.pattern = {{{1.25, 2.5}, {0.1, -4.0}}, {{7.0, 8.0}, {9.0, 10.0}}};
        record.nEngravedOfPattern = 1;
        return record;
    }

    TempFolder m_folder;
};

TEST_F(BedFile, ComesBackAsItWasWritten)
{
    ASSERT_TRUE(WriteBedFile(Record(), File()));
    const std::optional<BedRecord> read = ReadBedFile(File());
    ASSERT_TRUE(read);
    EXPECT_EQ(read->kind, Simulator::Machine::Kind::Manual);
    EXPECT_EQ(read->nSeed, 18446744073709551615ULL);
    EXPECT_EQ(read->nSheets, 3);
    ASSERT_EQ(read->engraved.size(), 1u);
    EXPECT_EQ(read->engraved[0].toMm, cv::Point2d(0.1, -4.0));
    EXPECT_EQ(read->strPattern, "TwoCalib.kv");
    ASSERT_EQ(read->pattern.size(), 2u);
    EXPECT_EQ(read->pattern[1].fromMm, cv::Point2d(7.0, 8.0));
    EXPECT_EQ(read->nEngravedOfPattern, 1u);
}

TEST_F(BedFile, APatternThatIsNotEngravedComesBackAsThat)
{
    BedRecord record = Record();
    record.nEngravedOfPattern.reset();
    ASSERT_TRUE(WriteBedFile(record, File()));
    EXPECT_FALSE(ReadBedFile(File())->nEngravedOfPattern);
}

TEST_F(BedFile, WhatIsNoRecordIsNone)
{
    EXPECT_FALSE(ReadBedFile("/nowhere/bed.json"));
    EXPECT_FALSE(ReadBedFile(QString::fromStdString(m_folder.Path())));
    EXPECT_FALSE(ReadBytes(""));
    EXPECT_FALSE(ReadBytes("[]"));
    EXPECT_FALSE(ReadBytes("{\"flow\":\"sideways\"}"));
    const QByteArray good = "{\"flow\":\"manual\",\"seed\":\"1\",\"sheets\":0,\"engraved\":[],\"pattern_lines\":[]}";
    EXPECT_TRUE(ReadBytes(good));
    EXPECT_FALSE(ReadBytes(good.left(good.size() - 1))) << "cut short";
    EXPECT_FALSE(ReadBytes(QByteArray(good).replace("\"1\"", "\"-1\"")));
    EXPECT_FALSE(ReadBytes(QByteArray(good).replace(":0", ":-5")));
    EXPECT_FALSE(ReadBytes(QByteArray(good).replace(":0", ":2000000000"))) << "would be placed for hours";
    EXPECT_FALSE(ReadBytes(QByteArray(good).replace("[],", "[[1,2,3]],")));
    EXPECT_FALSE(ReadBytes(QByteArray(good).replace("[],", "[[1,2,3,\"a\"]],")));
    EXPECT_FALSE(ReadBytes(QByteArray(good).replace("[],", "7,")));
}

TEST_F(BedFile, MoreLinesThanAnyPatternAreNotWritten)
{
    BedRecord record = Record();
    record.engraved.resize(100'001);
    EXPECT_FALSE(WriteBedFile(record, File()));
    EXPECT_FALSE(ReadBedFile(File()));
}

} // namespace
