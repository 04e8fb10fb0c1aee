// The two record files, each written and read here: a camera's record as XML of cv::FileStorage, the pair's record as
// INI text. Files are written whole or not at all; a file that is not exactly ours is refused and named in the log.

#include "DualModel.h"
#include "FisheyeModel.h"

#include "FisheyeCalibrationDllR.h"
#include "Log.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <exception>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Fisheye
{

namespace
{

constexpr off_t kLargestFile = 1 << 20; // ours have about a kilobyte

constexpr const char* kCameraFormat = "fisheye camera record 1";
constexpr const char* kPairSection = "[DUAL_CAMERA]";

/// The whole file, or the reason why not.
std::optional<std::string> ReadWholeFile(const char* pPath, std::string& reason)
{
    // A pipe without a writer must not hold the caller: hence non-blocking, and regular files only.
    const int fd = ::open(pPath, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        reason = std::string("it cannot be opened: ") + std::strerror(errno);
        return std::nullopt;
    }
    std::string text;
    struct stat status {
    };
    if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
        reason = "it is no regular file";
    } else if (status.st_size == 0) {
        reason = "it is empty";
    } else if (status.st_size > kLargestFile) {
        reason = "it is far too large for a record";
    } else {
        text.resize(static_cast<std::size_t>(status.st_size));
        std::size_t nRead = 0;
        while (nRead < text.size()) {
            const ssize_t nGot = ::read(fd, text.data() + nRead, text.size() - nRead);
            if (nGot <= 0) {
                break;
            }
            nRead += static_cast<std::size_t>(nGot);
        }
        if (nRead < text.size()) {
            reason = "it cannot be read to its end";
        } else if (text.find('\0') != std::string::npos) {
            reason = "it is no text";
        }
    }
    ::close(fd);
    return reason.empty() ? std::optional(text) : std::nullopt;
}

/// Writes beside the file and renames, so that a reader meets the old file or the new one.
bool WriteWholeFile(const std::string& path, const std::string& text, std::string& reason)
{
    const std::string beside = path + ".part";
    const int fd = ::open(beside.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0666);
    bool bGood = fd >= 0;
    std::size_t nWritten = 0;
    while (bGood && nWritten < text.size()) {
        const ssize_t nPut = ::write(fd, text.data() + nWritten, text.size() - nWritten);
        bGood = nPut > 0;
        nWritten += bGood ? static_cast<std::size_t>(nPut) : 0;
    }
    bGood = bGood && ::fsync(fd) == 0;
    int nError = errno;
    if (fd >= 0 && ::close(fd) != 0 && bGood) {
        bGood = false;
        nError = errno;
    }
    if (bGood && ::rename(beside.c_str(), path.c_str()) != 0) {
        bGood = false;
        nError = errno;
    }
    if (!bGood) {
        reason = std::string("it cannot be written: ") + std::strerror(nError);
        if (fd >= 0) {
            ::unlink(beside.c_str());
        }
    }
    return bGood;
}

// ---------------------------------------------------------------------------------------------------------------------
// A camera's record

std::string CameraText(const FishEyeCalibrationParam& record, const FisheyeModel& model)
{
    cv::FileStorage storage("camera.xml",
                            cv::FileStorage::WRITE | cv::FileStorage::MEMORY | cv::FileStorage::FORMAT_XML);
    storage << "format" << kCameraFormat;
    storage << "picture_width" << model.nWidth << "picture_height" << model.nHeight;
    storage << "fx_px" << model.fx << "fy_px" << model.fy << "cx_px" << model.cx << "cy_px" << model.cy;
    const auto writeList = [&storage](const char* pKey, const auto& values, int nCount) {
        storage << pKey << "[";
        for (int i = 0; i < nCount; ++i) {
            storage << static_cast<double>(values[static_cast<unsigned>(i)]);
        }
        storage << "]";
    };
    writeList("distortion", model.k, 4);
    writeList("camera_from_machine_rotation_rad", model.rotation.val, 3);
    writeList("camera_from_machine_translation_mm", model.translationMm.val, 3);
    storage << "residual_px" << model.residualPx << "max_theta_rad" << model.maxThetaRad;
    storage << "check" << record.words.back();
    return storage.releaseAndGetString();
}

/// Looks at the text before the parser of OpenCV does: that one follows nested tags as deep as they go.
const char* WhatIsNoCameraFile(const std::string& text)
{
    constexpr std::string_view kStart = "<?xml";
    constexpr std::string_view kEnd = "</opencv_storage>";
    constexpr std::ptrdiff_t kMostTags = 100;
    if (text.compare(0, kStart.size(), kStart) != 0) {
        return "it is no XML";
    }
    if (text.find(kEnd) == std::string::npos) {
        return "it is cut short";
    }
    if (std::count(text.begin(), text.end(), '<') > kMostTags) {
        return "it holds more than a record";
    }
    return nullptr;
}

/// Numbers of a parsed file by key; remembers the first key that is missing or of another type.
class NumberReader
{
public:
    explicit NumberReader(const cv::FileStorage& storage) : m_storage(storage) {}

    double Number(const char* pKey) { return ToNumber(m_storage[pKey], pKey); }

    double Number(const char* pKey, int nIndex, int nCount)
    {
        const cv::FileNode node = m_storage[pKey];
        if (!node.isSeq() || node.size() != static_cast<std::size_t>(nCount)) {
            Complain(pKey);
            return 0.0;
        }
        return ToNumber(node[nIndex], pKey);
    }

    int Whole(const char* pKey)
    {
        const double value = Number(pKey);
        if (!(value >= 1.0 && value <= 65536.0) || std::floor(value) != value) {
            Complain(pKey);
            return 0;
        }
        return static_cast<int>(value);
    }

    const std::string& Complaint() const { return m_complaint; }

private:
    double ToNumber(const cv::FileNode& node, const char* pKey)
    {
        if (node.isInt() || node.isReal()) {
            return node.real();
        }
        Complain(pKey);
        return 0.0;
    }

    void Complain(const char* pKey)
    {
        if (m_complaint.empty()) {
            m_complaint = std::string("\"") + pKey + "\" is missing or is not what it should be";
        }
    }

    const cv::FileStorage& m_storage;
    std::string m_complaint;
};

std::optional<FishEyeCalibrationParam> ParseCamera(const std::string& text, std::string& reason)
{
    if (const char* pText = WhatIsNoCameraFile(text)) {
        reason = pText;
        return std::nullopt;
    }
    const cv::FileStorage storage(text, cv::FileStorage::READ | cv::FileStorage::MEMORY | cv::FileStorage::FORMAT_XML);
    if (!storage.isOpened() || !storage["format"].isString() || storage["format"].string() != kCameraFormat) {
        reason = "it is no camera record of this version";
        return std::nullopt;
    }
    NumberReader reader(storage);
    FisheyeModel model;
    model.nWidth = reader.Whole("picture_width");
    model.nHeight = reader.Whole("picture_height");
    model.fx = reader.Number("fx_px");
    model.fy = reader.Number("fy_px");
    model.cx = reader.Number("cx_px");
    model.cy = reader.Number("cy_px");
    for (int i = 0; i < 4; ++i) {
        model.k[static_cast<std::size_t>(i)] = reader.Number("distortion", i, 4);
    }
    for (int i = 0; i < 3; ++i) {
        model.rotation[i] = reader.Number("camera_from_machine_rotation_rad", i, 3);
        model.translationMm[i] = reader.Number("camera_from_machine_translation_mm", i, 3);
    }
    model.residualPx = reader.Number("residual_px");
    model.maxThetaRad = reader.Number("max_theta_rad");
    const double check = reader.Number("check");
    if (!reader.Complaint().empty()) {
        reason = reader.Complaint();
        return std::nullopt;
    }
    const FishEyeCalibrationParam record = PackRecord(model);
    const char* pReason = "";
    if (!UnpackRecord(record, &pReason)) {
        reason = pReason;
        return std::nullopt;
    }
    if (check != record.words.back()) {
        reason = "its numbers do not fit its check word";
        return std::nullopt;
    }
    return record;
}

// ---------------------------------------------------------------------------------------------------------------------
// The pair's record. It is read for every point that is converted, so it stays small and its reader simple.

/// Shortest text that reads back as the same number, whatever the locale.
template <typename T> std::string NumberText(T value)
{
    std::array<char, 64> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    return {buffer.data(), result.ptr};
}

std::string PairText(const DualFishEyeCalibrationParam& record, const DualModel& model)
{
    std::string text = std::string(kPairSection) + "\n";
    text += "VERSION=1\n";
    text += "PX_PER_MM=" + NumberText(model.pxPerMm) + "\n";
    text += "ORIGIN_X_MM=" + NumberText(model.originXmm) + "\n";
    text += "ORIGIN_Y_MM=" + NumberText(model.originYmm) + "\n";
    text += "WIDTH_PX=" + NumberText(model.nWidth) + "\n";
    text += "HEIGHT_PX=" + NumberText(model.nHeight) + "\n";
    text += "CHECK=" + NumberText(record.words.back()) + "\n";
    return text;
}

std::string_view Trimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r";
    const std::size_t nFirst = text.find_first_not_of(kBlanks);
    return nFirst == std::string_view::npos ? std::string_view()
                                            : text.substr(nFirst, text.find_last_not_of(kBlanks) - nFirst + 1);
}

/// Keys and values of the pair's section; keys are few, so anything more is refused.
std::optional<std::map<std::string_view, std::string_view>> PairValues(std::string_view text, std::string& reason)
{
    constexpr std::size_t kMostKeys = 32;
    std::map<std::string_view, std::string_view> values;
    bool bInSection = false;
    while (!text.empty()) {
        const std::size_t nEnd = std::min(text.find('\n'), text.size());
        const std::string_view line = Trimmed(text.substr(0, nEnd));
        text.remove_prefix(std::min(nEnd + 1, text.size()));
        if (line.empty()) {
            continue;
        }
        if (line.front() == '[') {
            bInSection = line == kPairSection;
            continue;
        }
        const std::size_t nEquals = line.find('=');
        if (nEquals == std::string_view::npos || values.size() >= kMostKeys) {
            reason = "it is no text of keys and values";
            return std::nullopt;
        }
        if (bInSection) {
            values.emplace(Trimmed(line.substr(0, nEquals)), Trimmed(line.substr(nEquals + 1)));
        }
    }
    return values;
}

std::optional<DualFishEyeCalibrationParam> ParsePair(const std::string& text, std::string& reason)
{
    const auto values = PairValues(text, reason);
    if (!values) {
        return std::nullopt;
    }
    const auto read = [&values, &reason](const char* pKey, auto& value) {
        const auto found = values->find(pKey);
        const std::string_view word = found == values->end() ? std::string_view() : found->second;
        const auto result = std::from_chars(word.data(), word.data() + word.size(), value);
        if ((word.empty() || result.ec != std::errc() || result.ptr != word.data() + word.size()) && reason.empty()) {
            reason = std::string("\"") + pKey + "\" is missing or is not what it should be";
        }
    };
    int nVersion = 0;
    DualModel model;
    std::uint32_t nCheck = 0;
    read("VERSION", nVersion);
    read("PX_PER_MM", model.pxPerMm);
    read("ORIGIN_X_MM", model.originXmm);
    read("ORIGIN_Y_MM", model.originYmm);
    read("WIDTH_PX", model.nWidth);
    read("HEIGHT_PX", model.nHeight);
    read("CHECK", nCheck);
    if (!reason.empty()) {
        return std::nullopt;
    }
    const DualFishEyeCalibrationParam record = PackDualRecord(model);
    const char* pReason = "";
    if (nVersion != 1) {
        reason = "it is of another version";
    } else if (!UnpackDualRecord(record, &pReason)) {
        reason = pReason;
    } else if (nCheck != record.words.back()) {
        reason = "its numbers do not fit its check word";
    }
    return reason.empty() ? std::optional(record) : std::nullopt;
}

} // namespace

} // namespace Fisheye

bool SaveCalibrationParam(const char* path, FishEyeCalibrationParam param)
{
    const char* const pName = path ? path : "(no name)";
    try {
        const char* pReason = "";
        const auto model = Fisheye::UnpackRecord(param, &pReason);
        std::string reason = path ? pReason : "there is no file name";
        if (path && model && Fisheye::WriteWholeFile(path, Fisheye::CameraText(param, *model), reason)) {
            return true;
        }
        ILog_WriteLogF(3, "SaveCalibrationParam: %s is not written: %s", pName, reason.c_str());
    } catch (const std::exception& exception) {
        ILog_WriteLogF(3, "SaveCalibrationParam: %s is not written: %s", pName, exception.what());
    }
    return false;
}

bool LoadCalibrationParam(const char* file, FishEyeCalibrationParam& param)
{
    const char* const pName = file ? file : "(no name)";
    std::string reason;
    try {
        const auto text = file ? Fisheye::ReadWholeFile(file, reason) : std::nullopt;
        const auto record = text ? Fisheye::ParseCamera(*text, reason) : std::nullopt;
        if (record) {
            param = *record;
            return true;
        }
        ILog_WriteLogF(3, "LoadCalibrationParam: %s is not used: %s", pName,
                       file ? reason.c_str() : "there is no file name");
    } catch (const cv::Exception& exception) {
        ILog_WriteLogF(3, "LoadCalibrationParam: %s is not used: it is malformed XML (%s)", pName,
                       exception.err.c_str());
    } catch (const std::exception& exception) {
        ILog_WriteLogF(3, "LoadCalibrationParam: %s is not used: %s", pName, exception.what());
    }
    return false;
}

bool SaveDualCamerasCalibrationParam(const char* path, DualFishEyeCalibrationParam dualParam)
{
    const char* const pName = path ? path : "(no name)";
    try {
        const char* pReason = "";
        const auto model = Fisheye::UnpackDualRecord(dualParam, &pReason);
        std::string reason = path ? pReason : "there is no file name";
        if (path && model && Fisheye::WriteWholeFile(path, Fisheye::PairText(dualParam, *model), reason)) {
            return true;
        }
        ILog_WriteLogF(3, "SaveDualCamerasCalibrationParam: %s is not written: %s", pName, reason.c_str());
    } catch (const std::exception& exception) {
        ILog_WriteLogF(3, "SaveDualCamerasCalibrationParam: %s is not written: %s", pName, exception.what());
    }
    return false;
}

bool LoadDualCamerasCalibrationParam(const char* file, DualFishEyeCalibrationParam& param)
{
    const char* const pName = file ? file : "(no name)";
    std::string reason;
    try {
        const auto text = file ? Fisheye::ReadWholeFile(file, reason) : std::nullopt;
        const auto record = text ? Fisheye::ParsePair(*text, reason) : std::nullopt;
        if (record) {
            param = *record;
            return true;
        }
        ILog_WriteLogF(3, "LoadDualCamerasCalibrationParam: %s is not used: %s", pName,
                       file ? reason.c_str() : "there is no file name");
    } catch (const std::exception& exception) {
        ILog_WriteLogF(3, "LoadDualCamerasCalibrationParam: %s is not used: %s", pName, exception.what());
    }
    return false;
}
