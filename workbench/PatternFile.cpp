#include "PatternFile.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>
#include <system_error>

namespace Workbench
{

namespace
{

constexpr std::uintmax_t g_nMaxBytes = 16u * 1024 * 1024;
constexpr std::size_t g_nMaxLines = 100'000;
constexpr double g_dMaxMm = 10'000.0;
constexpr const char* g_pHeader = "KV 1";

using Words = std::vector<std::string_view>;

/// One more than the longest line has.
constexpr std::size_t g_nMaxWords = 6;

Words WordsOf(std::string_view strLine)
{
    Words words;
    for (std::size_t nPlace = 0; nPlace < strLine.size() && words.size() < g_nMaxWords;) {
        const std::size_t nBegin = strLine.find_first_not_of(" \t\r", nPlace);
        if (nBegin == std::string_view::npos) {
            break;
        }
        nPlace = std::min(strLine.find_first_of(" \t\r", nBegin), strLine.size());
        words.push_back(strLine.substr(nBegin, nPlace - nBegin));
    }
    return words;
}

/// Independent of any locale, and of the whole word.
template <typename Number> bool ToNumber(std::string_view strWord, Number& number)
{
    const auto [pEnd, error] = std::from_chars(strWord.data(), strWord.data() + strWord.size(), number);
    return error == std::errc() && pEnd == strWord.data() + strWord.size();
}

/// The numbers behind a keyword; false where there are more, fewer, or one that no machine has.
template <std::size_t nCount> bool ToMm(const Words& words, std::array<double, nCount>& numbers)
{
    if (words.size() != nCount + 1) {
        return false;
    }
    for (std::size_t i = 0; i < nCount; ++i) {
        if (!ToNumber(words[i + 1], numbers[i]) || !(std::abs(numbers[i]) <= g_dMaxMm)) {
            return false;
        }
    }
    return true;
}

class Parser
{
public:
    /// @return what is wrong with the line; empty where nothing is
    std::string Take(std::string_view strLine)
    {
        const Words words = WordsOf(strLine);
        if (!m_bHeader) {
            m_bHeader = words.size() == 2 && words[0] == "KV" && words[1] == "1";
            return m_bHeader ? "" : "the file does not begin with \"KV 1\"";
        }
        if (words.empty() || words[0].front() == '#') {
            return {};
        }
        if (m_bEnd) {
            return "something stands behind the end";
        }
        if (words[0] == "bed") {
            return TakeBed(words);
        }
        if (words[0] == "line") {
            return TakeLine(words);
        }
        return words[0] == "end" ? TakeEnd(words) : "no \"bed\", \"line\" or \"end\"";
    }

    /// The same for what is missing at the end of the file.
    std::string Finish() const
    {
        if (!m_bHeader) {
            return "the file is empty";
        }
        return m_bEnd ? "" : "the file ends without \"end\"";
    }

    PatternFile m_pattern;

private:
    std::string TakeBed(const Words& words)
    {
        std::array<double, 2> size{};
        if (m_bBed || !ToMm(words, size) || size[0] <= 0.0 || size[1] <= 0.0) {
            return "no bed, or a second one";
        }
        m_bBed = true;
        m_pattern.bedMm = {size[0], size[1]};
        return {};
    }

    std::string TakeLine(const Words& words)
    {
        std::array<double, 4> ends{};
        if (!m_bBed) {
            return "a line before the bed";
        }
        if (!ToMm(words, ends)) {
            return "no line from one point to another";
        }
        const cv::Size2d& bedMm = m_pattern.bedMm;
        if (std::min({ends[0], ends[1], ends[2], ends[3]}) < 0.0 || std::max(ends[0], ends[2]) > bedMm.width ||
            std::max(ends[1], ends[3]) > bedMm.height) {
            return "a line that leaves the bed";
        }
        if (m_pattern.lines.size() == g_nMaxLines) {
            return "more lines than any pattern has";
        }
        m_pattern.lines.push_back({{ends[0], ends[1]}, {ends[2], ends[3]}});
        return {};
    }

    std::string TakeEnd(const Words& words)
    {
        std::size_t nLines = 0;
        if (words.size() != 2 || !ToNumber(words[1], nLines) || nLines != m_pattern.lines.size()) {
            return "the file holds " + std::to_string(m_pattern.lines.size()) + " lines, not what its end says";
        }
        if (nLines == 0) {
            return "the pattern has no line";
        }
        m_bEnd = true;
        return {};
    }

    bool m_bHeader = false;
    bool m_bBed = false;
    bool m_bEnd = false;
};

/// As every locale reads it.
std::string ToText(double dMm)
{
    char szNumber[64];
    const auto [pEnd, error] = std::to_chars(szNumber, szNumber + sizeof szNumber, dMm, std::chars_format::fixed, 3);
    std::string strText(1, ' ');
    strText.append(szNumber, error == std::errc() ? pEnd : szNumber);
    return strText;
}

std::string TextOf(const PatternFile& pattern)
{
    std::string strText =
        std::string(g_pHeader) + "\nbed" + ToText(pattern.bedMm.width) + ToText(pattern.bedMm.height) + "\n";
    for (const Simulator::EngravedLine& line : pattern.lines) {
        strText +=
            "line" + ToText(line.fromMm.x) + ToText(line.fromMm.y) + ToText(line.toMm.x) + ToText(line.toMm.y) + "\n";
    }
    return strText + "end " + std::to_string(pattern.lines.size()) + "\n";
}

std::string Parse(std::istream& text, PatternFile& pattern)
{
    Parser parser;
    std::string strLine;
    for (int nLine = 1; std::getline(text, strLine); ++nLine) {
        const std::string strProblem = parser.Take(strLine);
        if (!strProblem.empty()) {
            return "line " + std::to_string(nLine) + ": " + strProblem;
        }
    }
    std::string strProblem = parser.Finish();
    if (strProblem.empty()) {
        pattern = std::move(parser.m_pattern);
    }
    return strProblem;
}

} // namespace

std::string ReadPatternFile(const std::string& strFile, PatternFile& pattern)
{
    std::error_code error;
    // A pipe would hold the reader for good.
    if (!std::filesystem::is_regular_file(strFile, error)) {
        return "there is no such file";
    }
    if (std::filesystem::file_size(strFile, error) > g_nMaxBytes || error) {
        return "the file is larger than any pattern";
    }
    std::ifstream file(strFile, std::ios::binary);
    return file ? Parse(file, pattern) : "the file cannot be opened";
}

std::string WritePatternFile(const PatternFile& pattern, const std::string& strFile)
{
    const std::string strText = TextOf(pattern);
    PatternFile again;
    std::istringstream text(strText);
    std::string strProblem = Parse(text, again);
    if (!strProblem.empty()) {
        return strProblem;
    }
    std::error_code error;
    // The rename that ends the writing would put a file in the place of a device.
    if (std::filesystem::exists(strFile, error) && !std::filesystem::is_regular_file(strFile, error)) {
        return "it is no file that can be written";
    }
    const std::string strBeside = strFile + ".part";
    std::ofstream file(strBeside, std::ios::binary);
    file << strText;
    file.close();
    if (file) {
        std::filesystem::rename(strBeside, strFile, error);
    }
    if (!file || error) {
        std::error_code ignored;
        std::filesystem::remove(strBeside, ignored);
        return "the file cannot be written";
    }
    return {};
}

} // namespace Workbench
