#include "PatternFile.h"

#include "FullDisk.h"
#include "TempFolder.h"

#include <gmock/gmock.h>
#include <opencv2/core.hpp>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>

#include <sys/stat.h>

namespace
{

using testing::HasSubstr;
using testing::IsEmpty;
using Workbench::PatternFile;

class Pattern : public testing::Test
{
protected:
    std::string File() const { return m_folder.Path("pattern.kv"); }
    void Write(const std::string& strText) const { std::ofstream(File(), std::ios::binary) << strText; }
    /// What is wrong with a file of this text.
    std::string Problem(const std::string& strText)
    {
        Write(strText);
        PatternFile pattern;
        pattern.bedMm = {1.0, 2.0};
        const std::string strProblem = Workbench::ReadPatternFile(File(), pattern);
        EXPECT_EQ(pattern.bedMm, cv::Size2d(1.0, 2.0)) << "is left alone";
        return strProblem;
    }

    TempFolder m_folder;
};

const std::string g_begin = "KV 1\nbed 900 600\n";

} // namespace

TEST_F(Pattern, ComesBackAsItWasWritten)
{
    const PatternFile pattern{{900.0, 600.0}, {{{1.25, 2.5}, {3.0, 4.125}}, {{0.0, 0.0}, {900.0, 600.0}}}};
    EXPECT_EQ(Workbench::WritePatternFile(pattern, File()), "");
    PatternFile again;
    ASSERT_EQ(Workbench::ReadPatternFile(File(), again), "");
    EXPECT_EQ(again.bedMm, pattern.bedMm);
    ASSERT_EQ(again.lines.size(), 2u);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(again.lines[i].fromMm, pattern.lines[i].fromMm);
        EXPECT_EQ(again.lines[i].toMm, pattern.lines[i].toMm);
    }
}

TEST_F(Pattern, MayBeWrittenByHand)
{
    Write("KV 1\r\n\n#a cross\n\tbed   900 600.0\nline 10 20 30 20 \nline 2e1 10 20 30\n\nend 2\n# done\n");
    PatternFile pattern;
    ASSERT_EQ(Workbench::ReadPatternFile(File(), pattern), "");
    ASSERT_EQ(pattern.lines.size(), 2u);
    EXPECT_EQ(pattern.lines[1].fromMm, cv::Point2d(20.0, 10.0));
}

TEST_F(Pattern, ThatIsDamagedIsRefusedWithTheLineThatIsWrong)
{
    for (const auto& [strText, strProblem] : std::vector<std::pair<std::string, std::string>>{
             {"", "empty"},
             {"KV 2\nbed 900 600\n", "line 1: the file does not begin"},
             {"KV 1 1\nbed 900 600\n", "line 1: the file does not begin"},
             {"PK\x03\x04", "line 1: the file does not begin"},
             {g_begin + "line 1 2 3 4\n", "ends without"},
             {g_begin + "line 1 2 3 4\nline 1 2 3 4\nend 1\n", "line 5: the file holds 2 lines"},
             {g_begin + "line 1 2 3 4\nend 2\n", "line 4: the file holds 1 lines"},
             {g_begin + "line 1 2 3 4\nend 99999999999999999999\n", "line 4: the file holds 1 lines"},
             {g_begin + "line 1 2 3 4\nend\n", "line 4: the file holds 1 lines"},
             {g_begin + "line 1 2 3 4\nend 1 1\n", "line 4: the file holds 1 lines"},
             {g_begin + "end 0\n", "no line"},
             {g_begin + "line 1 2 3\n", "line 3: no line from"},
             {g_begin + "line 1 2 3 4 5\n", "line 3: no line from"},
             {g_begin + "line 1 2 3 4x\n", "line 3: no line from"},
             {g_begin + "line 1 2 3 nan\n", "line 3: no line from"},
             {g_begin + "line 1 2 3 inf\n", "line 3: no line from"},
             {g_begin + "line 1 2 3 1e400\n", "line 3: no line from"},
             {g_begin + "line 1,5 2 3 4\n", "line 3: no line from"},
             {g_begin + "line 1 2 900.5 4\n", "line 3: a line that leaves"},
             {g_begin + "line 900.5 2 3 4\n", "line 3: a line that leaves"},
             {g_begin + "line 1 601 3 4\n", "line 3: a line that leaves"},
             {g_begin + "line 1 -2 3 4\n", "line 3: a line that leaves"},
             {g_begin + "line 1 2 3 601\n", "line 3: a line that leaves"},
             {g_begin + "circle 1 2 3\n", "line 3: no \"bed\""},
             {g_begin + "bed 900 600\n", "line 3: no bed"},
             {"KV 1\nbed 900 0\n", "line 2: no bed"},
             {"KV 1\nbed 0 600\n", "line 2: no bed"},
             {"KV 1\nbed -900 600\n", "line 2: no bed"},
             {"KV 1\nbed 10000.001 600\n", "line 2: no bed"},
             {"KV 1\nbed 1e9 600\n", "line 2: no bed"},
             {"KV 1\nline 1 2 3 4\n", "line 2: a line before"},
             {g_begin + "line 1 2 3 4\nend 1\nline 1 2 3 4\n", "line 5: something stands behind"},
             {g_begin + std::string(100, '\0'), "line 3: no \"bed\""},
         }) {
        EXPECT_THAT(Problem(strText), HasSubstr(strProblem)) << strText;
    }
}

TEST_F(Pattern, WithTooManyLinesIsRefused)
{
    std::string strText = g_begin;
    for (int i = 0; i < 100'001; ++i) {
        strText += "line 1 2 3 4\n";
    }
    EXPECT_THAT(Problem(strText), HasSubstr("line 100003: more lines"));
}

TEST_F(Pattern, AsLargeAsOneMayBeIsRead)
{
    std::string strText = "KV 1\nbed 10000 10000\n";
    for (int i = 0; i < 100'000; ++i) {
        strText += "line 1 2 10000 4\n";
    }
    strText += "end 100000\n#";
    Write(strText + std::string(16u * 1024 * 1024 - strText.size(), ' '));
    PatternFile pattern;
    ASSERT_EQ(Workbench::ReadPatternFile(File(), pattern), "");
    EXPECT_EQ(pattern.lines.size(), 100'000u);
}

TEST_F(Pattern, OfOneEndlessLineIsRefused)
{
    std::string strText = g_begin + "line";
    for (int i = 0; i < 1'000'000; ++i) {
        strText += " 1";
    }
    EXPECT_THAT(Problem(strText), HasSubstr("line 3: no line from"));
}

TEST_F(Pattern, ThatIsNoPlainFileIsRefused)
{
    PatternFile pattern;
    EXPECT_THAT(Workbench::ReadPatternFile(File(), pattern), HasSubstr("no such file"));
    EXPECT_THAT(Workbench::ReadPatternFile("", pattern), HasSubstr("no such file"));
    ASSERT_EQ(mkfifo(File().c_str(), 0600), 0);
    EXPECT_THAT(Workbench::ReadPatternFile(File(), pattern), HasSubstr("no such file")) << "does not wait for a writer";
    std::filesystem::remove(File());
    std::filesystem::create_directory(File());
    EXPECT_THAT(Workbench::ReadPatternFile(File(), pattern), HasSubstr("no such file"));
}

TEST_F(Pattern, OfMoreBytesThanAnyIsNotRead)
{
    Write(g_begin);
    std::filesystem::resize_file(File(), 16u * 1024 * 1024 + 1);
    PatternFile pattern;
    EXPECT_THAT(Workbench::ReadPatternFile(File(), pattern), HasSubstr("larger than any"));
}

TEST_F(Pattern, ThatCouldNotBeReadAgainIsNotWritten)
{
    const double dInfinity = std::numeric_limits<double>::infinity();
    EXPECT_NE(Workbench::WritePatternFile({{900.0, 600.0}, {}}, File()), "");
    EXPECT_NE(Workbench::WritePatternFile({{900.0, 600.0}, {{{1.0, 2.0}, {dInfinity, 4.0}}}}, File()), "");
    EXPECT_NE(Workbench::WritePatternFile({{900.0, 600.0}, {{{1.0, 2.0}, {3.0, 1e300}}}}, File()), "");
    EXPECT_FALSE(std::filesystem::exists(File()));
    EXPECT_THAT(
        Workbench::WritePatternFile({{900.0, 600.0}, {{{1.0, 2.0}, {3.0, 4.0}}}}, m_folder.Path("nowhere/pattern.kv")),
        HasSubstr("cannot be written"));
}

TEST_F(Pattern, ThatTheDiskRefusesLeavesTheOneOfBeforeAndNoOtherFile)
{
    Write("the one of before");
    std::string strProblem;
    {
        const FullDisk full;
        strProblem = Workbench::WritePatternFile({{900.0, 600.0}, {{{1.0, 2.0}, {3.0, 4.0}}}}, File());
    }
    EXPECT_THAT(strProblem, HasSubstr("cannot be written"));
    EXPECT_EQ(m_folder.ReadAll("pattern.kv"), "the one of before");
    const std::filesystem::directory_iterator entries(m_folder.Path(""));
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
}

TEST_F(Pattern, DoesNotTakeThePlaceOfWhatIsNoFile)
{
    const PatternFile pattern{{900.0, 600.0}, {{{1.0, 2.0}, {3.0, 4.0}}}};
    ASSERT_EQ(mkfifo(File().c_str(), 0600), 0);
    EXPECT_THAT(Workbench::WritePatternFile(pattern, File()), HasSubstr("no file"));
    EXPECT_TRUE(std::filesystem::is_fifo(File()));
    std::filesystem::remove(File());
    std::filesystem::create_directory(File());
    EXPECT_THAT(Workbench::WritePatternFile(pattern, File()), HasSubstr("no file"));
    const std::filesystem::directory_iterator entries(m_folder.Path(""));
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
}
