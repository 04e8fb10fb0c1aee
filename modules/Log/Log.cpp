#include "Log.h"

#include "LogControl.h"

#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <mutex>
#include <string>
#include <system_error>
#include <vector>

namespace
{

constexpr long g_nMaxFileBytes = 1024L * 1024;
constexpr int g_nOldFiles = 4;
constexpr std::size_t g_nMaxTextBytes = 16UL * 1024;

std::string DefaultFile()
{
    const char* pState = std::getenv("XDG_STATE_HOME");
    if (pState && *pState) {
        return std::string(pState) + "/calibrate-two-camera.log";
    }
    const char* pHome = std::getenv("HOME");
    return pHome && *pHome ? std::string(pHome) + "/.local/state/calibrate-two-camera.log" : std::string();
}

/// The one sink. Any thread writes through `Write`; the mutex keeps lines whole and rotation single.
class LogSink
{
public:
    /// Never destroyed: static objects of other libraries may log while the process ends.
    static LogSink& Instance()
    {
        static auto* pSink = new LogSink;
        return *pSink;
    }

    void SetStandardErrorLevel(int nLevel)
    {
        const std::lock_guard lock(m_mutex);
        m_nStandardErrorLevel = nLevel;
    }

    void SetFile(const std::string& strFile)
    {
        const std::lock_guard lock(m_mutex);
        CloseFile();
        m_strFile = strFile;
        m_bFileRefused = false;
    }

    void Write(int nLevel, const char* pText)
    {
        const std::string strLine = Line(nLevel, pText);
        const std::lock_guard lock(m_mutex);
        if (nLevel >= m_nStandardErrorLevel) {
            std::fputs(strLine.c_str(), stderr);
        }
        WriteToFile(strLine);
        if (m_pfnListener) {
            m_pfnListener(nLevel, strLine.substr(0, strLine.size() - 1).c_str(), m_pListenerContext);
        }
    }

    void SetListener(LogListener pfnListener, void* pContext)
    {
        const std::lock_guard lock(m_mutex);
        m_pfnListener = pfnListener;
        m_pListenerContext = pContext;
    }

private:
    static std::string Line(int nLevel, const char* pText)
    {
        const auto now = std::chrono::system_clock::now();
        const std::time_t nSeconds = std::chrono::system_clock::to_time_t(now);
        const auto nMs = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
        std::tm parts{};
        localtime_r(&nSeconds, &parts);
        char szTime[32];
        std::strftime(szTime, sizeof szTime, "%Y-%m-%dT%H:%M:%S", &parts);
        char szHead[80];
        std::snprintf(szHead, sizeof szHead, "%s.%03d [%d] (%ld) ", szTime, static_cast<int>(nMs), nLevel,
                      static_cast<long>(gettid()));
        std::string strLine = szHead;
        const std::size_t nLength = strnlen(pText, g_nMaxTextBytes);
        // One entry is one line, whatever it quotes.
        for (std::size_t i = 0; i < nLength; ++i) {
            if (pText[i] == '\n') {
                strLine += "\\n";
            } else if (pText[i] == '\r') {
                strLine += "\\r";
            } else if (pText[i] == 0x7f || (pText[i] >= 0 && pText[i] < 0x20 && pText[i] != '\t')) {
                // Names of files come from anywhere: none of them may steer the terminal.
                char szCode[8];
                std::snprintf(szCode, sizeof szCode, "\\x%02x", static_cast<unsigned>(pText[i]));
                strLine += szCode;
            } else {
                strLine += pText[i];
            }
        }
        return strLine += '\n';
    }

    void WriteToFile(const std::string& strLine)
    {
        if (m_strFile.empty() || m_bFileRefused || (!m_pFile && !OpenFile())) {
            return;
        }
        if (std::ftell(m_pFile) + static_cast<long>(strLine.size()) > g_nMaxFileBytes) {
            Rotate();
            if (!OpenFile()) {
                return;
            }
            if (std::ftell(m_pFile) != 0) {
                // The folder lets nobody rename. Better no more lines than a disk that fills up.
                CloseFile();
                m_bFileRefused = true;
                std::fprintf(stderr, "The log file %s is full and cannot be put aside\n", m_strFile.c_str());
                return;
            }
        }
        std::fwrite(strLine.data(), 1, strLine.size(), m_pFile);
        std::fflush(m_pFile);
    }

    bool OpenFile()
    {
        std::error_code error;
        std::filesystem::create_directories(std::filesystem::path(m_strFile).parent_path(), error);
        m_pFile = std::fopen(m_strFile.c_str(), "ae");
        if (!m_pFile) {
            m_bFileRefused = true;
            std::fprintf(stderr, "The log file %s cannot be written: %s\n", m_strFile.c_str(), std::strerror(errno));
            return false;
        }
        std::fseek(m_pFile, 0, SEEK_END);
        return true;
    }

    void CloseFile()
    {
        if (m_pFile) {
            std::fclose(m_pFile);
            m_pFile = nullptr;
        }
    }

    void Rotate()
    {
        CloseFile();
        for (int nOld = g_nOldFiles; nOld > 0; --nOld) {
            const std::string strFrom = nOld == 1 ? m_strFile : m_strFile + "." + std::to_string(nOld - 1);
            std::rename(strFrom.c_str(), (m_strFile + "." + std::to_string(nOld)).c_str());
        }
    }

    std::mutex m_mutex;
    int m_nStandardErrorLevel = 2;
    std::string m_strFile = DefaultFile();
    bool m_bFileRefused = false;
    std::FILE* m_pFile = nullptr;
    LogListener m_pfnListener = nullptr;
    void* m_pListenerContext = nullptr;
};

} // namespace

void ILog_WriteLog(int nLevel, const char* pText)
{
    LogSink::Instance().Write(nLevel, pText ? pText : "");
}

void ILog_WriteLogF(int nLevel, const char* pFormat, ...)
{
    if (!pFormat) {
        return;
    }
    std::vector<char> text(1024);
    for (int nTry = 0; nTry < 2; ++nTry) {
        std::va_list arguments;
        va_start(arguments, pFormat);
        const int nLength = std::vsnprintf(text.data(), text.size(), pFormat, arguments);
        va_end(arguments);
        if (nLength < 0) {
            // What cannot be formatted is still worth a line: the format itself.
            ILog_WriteLog(nLevel, pFormat);
            return;
        }
        if (static_cast<std::size_t>(nLength) < text.size()) {
            break;
        }
        text.resize(std::min(static_cast<std::size_t>(nLength) + 1, g_nMaxTextBytes));
    }
    ILog_WriteLog(nLevel, text.data());
}

void ILog_SetStandardErrorLevel(int nLevel)
{
    LogSink::Instance().SetStandardErrorLevel(nLevel);
}

void ILog_SetFile(const std::string& strFile)
{
    LogSink::Instance().SetFile(strFile);
}

void ILog_SetListener(LogListener pfnListener, void* pContext)
{
    LogSink::Instance().SetListener(pfnListener, pContext);
}
