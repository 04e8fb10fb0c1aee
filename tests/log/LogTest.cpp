#include "Log.h"
#include "LogControl.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace
{

std::string TextOf(const std::filesystem::path& file)
{
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

std::vector<std::string> LinesOf(const std::filesystem::path& file)
{
    std::vector<std::string> lines;
    std::ifstream stream(file);
    for (std::string strLine; std::getline(stream, strLine);) {
        lines.push_back(strLine);
    }
    return lines;
}

class LogTest : public testing::Test
{
protected:
    void SetUp() override
    {
        m_folder = std::filesystem::temp_directory_path() / ("ctc_log_test_" + std::to_string(getpid()));
        std::filesystem::remove_all(m_folder);
        m_file = m_folder / "deep" / "a.log";
        ILog_SetStandardErrorLevel(4);
        ILog_SetFile(m_file.string());
    }

    void TearDown() override
    {
        ILog_SetFile("");
        std::filesystem::remove_all(m_folder);
    }

    std::filesystem::path m_folder, m_file;
};

} // namespace

TEST_F(LogTest, ALineHasItsLevelAndItsText)
{
    ILog_WriteLog(1, "plain 100 %");
    ILog_WriteLogF(3, "%s: %d", "method", 42);
    const auto lines = LinesOf(m_file);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_NE(lines[0].find("[1] "), std::string::npos);
    EXPECT_TRUE(lines[0].ends_with(" plain 100 %"));
    EXPECT_NE(lines[1].find("[3] "), std::string::npos);
    EXPECT_TRUE(lines[1].ends_with(" method: 42"));
}

TEST_F(LogTest, AnEntryIsOneLineWhateverItQuotes)
{
    ILog_WriteLog(1, "two\nlines\r");
    const auto lines = LinesOf(m_file);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(lines[0].ends_with("two\\nlines\\r"));
}

TEST_F(LogTest, NoTextSteersTheTerminal)
{
    ILog_WriteLog(1, "a\x1b[2Jb\x7f\tc \xc3\xa4");
    const auto lines = LinesOf(m_file);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(lines[0].ends_with("a\\x1b[2Jb\\x7f\tc \xc3\xa4")) << lines[0];
}

TEST_F(LogTest, AFullFileThatCannotBePutAsideGrowsNoFurther)
{
    // Folders that bear the names of the older files, not empty, so that nothing can be renamed onto them.
    for (int i = 1; i <= 4; ++i) {
        std::filesystem::create_directories(m_file.string() + "." + std::to_string(i) + "/x");
    }
    const std::string strText(10000, 'y');
    testing::internal::CaptureStderr();
    for (int i = 0; i < 300; ++i) {
        ILog_WriteLog(1, strText.c_str());
    }
    EXPECT_NE(testing::internal::GetCapturedStderr().find("cannot be put aside"), std::string::npos);
    EXPECT_LE(std::filesystem::file_size(m_file), 1024U * 1024U);
}

TEST_F(LogTest, NothingIsBorne)
{
    ILog_WriteLog(1, nullptr);
    ILog_WriteLogF(1, "%s", "");
    EXPECT_EQ(LinesOf(m_file).size(), 2U);
}

TEST_F(LogTest, LongTextIsCutNotLost)
{
    const std::string strLong(200000, 'x');
    ILog_WriteLogF(1, "%s", strLong.c_str());
    const auto lines = LinesOf(m_file);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_GT(lines[0].size(), 16000U);
    EXPECT_LT(lines[0].size(), 17000U);
}

TEST_F(LogTest, TheFileStaysBoundedAndFourOlderOnesAreKept)
{
    const std::string strText(10000, 'y');
    for (int i = 0; i < 900; ++i) {
        ILog_WriteLog(1, strText.c_str());
    }
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_file.parent_path())) {
        names.insert(entry.path().filename().string());
        EXPECT_LE(entry.file_size(), 1024U * 1024U) << entry.path();
    }
    EXPECT_EQ(names, (std::set<std::string>{"a.log", "a.log.1", "a.log.2", "a.log.3", "a.log.4"}));
}

TEST_F(LogTest, ThreadsKeepTheirLinesWhole)
{
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < 500; ++i) {
                ILog_WriteLogF(0, "thread%d-%s", t, std::string(50, static_cast<char>('a' + t)).c_str());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const auto lines = LinesOf(m_file);
    ASSERT_EQ(lines.size(), 2000U);
    for (const std::string& strLine : lines) {
        const std::size_t nAt = strLine.find("thread");
        ASSERT_NE(nAt, std::string::npos);
        const char c = static_cast<char>('a' + strLine[nAt + 6] - '0');
        EXPECT_EQ(strLine.substr(nAt + 8), std::string(50, c));
    }
}

TEST_F(LogTest, StandardErrorGetsItsLevelAndAbove)
{
    ILog_SetStandardErrorLevel(2);
    testing::internal::CaptureStderr();
    ILog_WriteLog(1, "quiet");
    ILog_WriteLog(2, "loud");
    const std::string strText = testing::internal::GetCapturedStderr();
    EXPECT_EQ(strText.find("quiet"), std::string::npos);
    EXPECT_NE(strText.find("loud"), std::string::npos);
    EXPECT_NE(TextOf(m_file).find("quiet"), std::string::npos);
}

TEST_F(LogTest, AFileThatCannotBeWrittenIsToldOnce)
{
    std::filesystem::create_directories(m_folder);
    std::ofstream(m_folder / "blocks") << "x";
    testing::internal::CaptureStderr();
    ILog_SetFile((m_folder / "blocks" / "a.log").string());
    ILog_WriteLog(1, "first");
    ILog_WriteLog(1, "second");
    const std::string strText = testing::internal::GetCapturedStderr();
    const std::size_t nFirst = strText.find("cannot be written");
    ASSERT_NE(nFirst, std::string::npos);
    EXPECT_EQ(strText.find("cannot be written", nFirst + 1), std::string::npos);
}

TEST_F(LogTest, AListenerGetsEveryLineUntilItIsTakenAway)
{
    std::vector<std::pair<int, std::string>> heard;
    ILog_SetListener(
        [](int nLevel, const char* pLine, void* pContext) {
            static_cast<std::vector<std::pair<int, std::string>>*>(pContext)->emplace_back(nLevel, pLine);
        },
        &heard);
    ILog_WriteLog(0, "pressed");
    std::thread([] { ILog_WriteLogF(3, "failed %d", 7); }).join();
    ILog_SetListener(nullptr, nullptr);
    ILog_WriteLog(3, "nobody hears this");
    ASSERT_EQ(heard.size(), 2u);
    EXPECT_EQ(heard[0].first, 0);
    EXPECT_EQ(heard[1].first, 3);
    EXPECT_EQ(heard[1].second, LinesOf(m_file)[1]) << "as it stands in the file";
    EXPECT_NE(heard[1].second.find("failed 7"), std::string::npos);
}
