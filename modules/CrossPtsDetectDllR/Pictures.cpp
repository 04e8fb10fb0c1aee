#include "BmpFile.h"
#include "CrossPtsDetectDllR.h"
#include "Log.h"

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <ios>
#include <iterator>
#include <map>
#include <mutex>
#include <string>

namespace
{

constexpr long g_nMaxSide = 65500;
constexpr std::size_t g_nMaxBytes = std::size_t{4} << 30;

/// The buffers that were handed out. Callers never free them; one that comes back in is used again.
class BufferStore
{
public:
    static BufferStore& Instance()
    {
        static auto* pStore = new BufferStore;
        return *pStore;
    }

    /// At least `nBytes`; `pOld` itself where it is ours and large enough. Null when memory runs out, and then `pOld`
    /// stays as it was.
    unsigned char* Get(unsigned char* pOld, std::size_t nBytes)
    {
        const std::lock_guard lock(m_mutex);
        const auto it = m_mapCapacity.find(pOld);
        if (it != m_mapCapacity.end() && it->second >= nBytes) {
            return pOld;
        }
        auto* pNew = static_cast<unsigned char*>(std::malloc(nBytes));
        if (!pNew) {
            return nullptr;
        }
        if (it != m_mapCapacity.end()) {
            std::free(pOld);
            m_mapCapacity.erase(it);
        }
        m_mapCapacity[pNew] = nBytes;
        return pNew;
    }

private:
    std::mutex m_mutex;
    std::map<unsigned char*, std::size_t> m_mapCapacity;
};

std::size_t PictureBytes(long nWidth, long nHeight, int nBits)
{
    return static_cast<std::size_t>(nWidth) * static_cast<std::size_t>(nHeight) * static_cast<std::size_t>(nBits) / 8;
}

bool IsPictureSize(long nWidth, long nHeight, int nBits)
{
    return nWidth > 0 && nHeight > 0 && nWidth <= g_nMaxSide && nHeight <= g_nMaxSide &&
           (nBits == 8 || nBits == 24 || nBits == 32) && PictureBytes(nWidth, nHeight, nBits) <= g_nMaxBytes;
}

bool RefuseRead(const char* pFile, const std::string& strReason)
{
    ILog_WriteLogF(2, "Read_Image: %s is not read: %s", pFile, strReason.c_str());
    return false;
}

bool RefuseSave(const char* pFile, const std::string& strReason)
{
    ILog_WriteLogF(2, "Save_Image: %s is not written: %s", pFile ? pFile : "(no name)", strReason.c_str());
    return false;
}

bool ReadBmp(const Bitmap::BmpReader& reader, const Bitmap::BmpInfo& info, unsigned char*& pixels, long& width,
             long& height, int& bits, const char* pFile)
{
    if (!IsPictureSize(info.nWidth, info.nHeight, info.nBits)) {
        return RefuseRead(pFile,
                          std::to_string(info.nWidth) + " x " + std::to_string(info.nHeight) + " pixels are too many");
    }
    unsigned char* pBuffer = BufferStore::Instance().Get(pixels, PictureBytes(info.nWidth, info.nHeight, info.nBits));
    if (!pBuffer) {
        return RefuseRead(pFile, "there is no memory for it");
    }
    // Set before the pixels are read: the old buffer may be gone.
    pixels = pBuffer;
    width = info.nWidth;
    height = info.nHeight;
    bits = info.nBits;
    return reader.ReadPixels(info, pBuffer) || RefuseRead(pFile, "it ended while it was read");
}

/// A JPEG that was cut short decodes all the same, with grey where the rest was. Its end mark cannot occur inside.
bool IsCutJpeg(const char* pFile)
{
    constexpr std::streamoff nTail = 4096; // some writers pad
    std::ifstream file(pFile, std::ios::binary);
    char start[2] = {};
    if (!file.read(start, 2) || start[0] != '\xff' || start[1] != '\xd8') {
        return false;
    }
    file.seekg(0, std::ios::end);
    file.seekg(-std::min<std::streamoff>(nTail, file.tellg()), std::ios::end);
    const std::string strTail{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    return strTail.find("\xff\xd9") == std::string::npos;
}

bool ReadOther(unsigned char*& pixels, long& width, long& height, int& bits, const char* pFile)
{
    if (IsCutJpeg(pFile)) {
        return RefuseRead(pFile, "it is cut short");
    }
    cv::Mat picture = cv::imread(pFile, cv::IMREAD_UNCHANGED);
    if (picture.empty()) {
        return RefuseRead(pFile, "it is missing or no picture");
    }
    if (picture.depth() == CV_16U) {
        picture.convertTo(picture, CV_8U, 1.0 / 257.0);
    }
    const int nBits = 8 * picture.channels();
    if (picture.depth() != CV_8U || !IsPictureSize(picture.cols, picture.rows, nBits)) {
        return RefuseRead(pFile, "its kind of pixels is not supported");
    }
    const std::size_t nBytes = PictureBytes(picture.cols, picture.rows, nBits);
    unsigned char* pBuffer = BufferStore::Instance().Get(pixels, nBytes);
    if (!pBuffer) {
        return RefuseRead(pFile, "there is no memory for it");
    }
    const cv::Mat packed = picture.isContinuous() ? picture : picture.clone();
    std::memcpy(pBuffer, packed.data, nBytes);
    pixels = pBuffer;
    width = picture.cols;
    height = picture.rows;
    bits = nBits;
    return true;
}

std::string Suffix(const std::string& strFile)
{
    const std::size_t nDot = strFile.find_last_of("./");
    return nDot == std::string::npos || strFile[nDot] == '/' ? std::string() : strFile.substr(nDot);
}

/// Written beside and renamed: whole or not at all.
bool SaveOther(const cv::Mat& picture, const std::string& strFile)
{
    const std::string strSuffix = Suffix(strFile);
    if (strSuffix.empty() || !cv::haveImageWriter(strFile)) {
        return RefuseSave(strFile.c_str(), "its suffix names no picture format");
    }
    const std::string strBeside = strFile + ".part" + strSuffix;
    if (!cv::imwrite(strBeside, picture) || std::rename(strBeside.c_str(), strFile.c_str()) != 0) {
        std::remove(strBeside.c_str());
        return RefuseSave(strFile.c_str(), "the folder cannot be written");
    }
    return true;
}

} // namespace

bool Read_Image(unsigned char*& pixels, long& width, long& height, int& bits, const char* file)
{
    if (!file) {
        return RefuseRead("(no name)", "there is no name");
    }
    try {
        Bitmap::BmpReader reader(file);
        Bitmap::BmpInfo info;
        std::string strReason;
        switch (reader.ReadHeader(info, strReason)) {
        case Bitmap::BmpAnswer::Ok:
            return ReadBmp(reader, info, pixels, width, height, bits, file);
        case Bitmap::BmpAnswer::NotOurs:
            return ReadOther(pixels, width, height, bits, file);
        case Bitmap::BmpAnswer::Damaged:
            break;
        }
        return RefuseRead(file, strReason);
    } catch (const std::exception& exception) {
        return RefuseRead(file, exception.what());
    }
}

bool Save_Image(unsigned char* pixels, long width, long height, int bits, const char* file)
{
    if (!file || !pixels || !IsPictureSize(width, height, bits)) {
        return RefuseSave(file, "there are no pixels, or " + std::to_string(width) + " x " + std::to_string(height) +
                                    " at " + std::to_string(bits) + " bits is no picture");
    }
    try {
        std::string strReason;
        const std::string strSuffix = Suffix(file);
        if (strSuffix == ".bmp" || strSuffix == ".BMP") {
            return Bitmap::WriteBmp(file, pixels, width, height, bits, strReason) || RefuseSave(file, strReason);
        }
        return SaveOther(cv::Mat(static_cast<int>(height), static_cast<int>(width), CV_8UC(bits / 8), pixels), file);
    } catch (const std::exception& exception) {
        return RefuseSave(file, exception.what());
    }
}

void ConvertRGBToGray(unsigned char* src, long width, long height, int bits, unsigned char* dst)
{
    if (!src || !dst || !IsPictureSize(width, height, bits) || bits == 8) {
        return;
    }
    const cv::Mat source(static_cast<int>(height), static_cast<int>(width), CV_8UC(bits / 8), src);
    cv::Mat grey(static_cast<int>(height), static_cast<int>(width), CV_8UC1, dst);
    cv::cvtColor(source, grey, bits == 24 ? cv::COLOR_BGR2GRAY : cv::COLOR_BGRA2GRAY);
}
