#pragma once

// Where the pictures of one camera come from. A source is shared by all who hold its camera: one lock lets one of them
// in at a time, so that everybody gets whole frames. It closes itself when its ground is gone (file removed, device
// unplugged, simulated machine taken away) and opens itself again, on the next snap, when that is back. Kinds of
// sources derive from it; get one from SourceRegistry.h.

#include <opencv2/core.hpp>

#include <array>
#include <atomic>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace Camera
{

/// In the order in which they are applied: a device takes an exposure only while it does not choose its own.
enum class Property { AutoExposure, Exposure, Gain, Brightness };

/// What a key of the interface means; the key "exposureMode" is another word for "autoExposure".
std::optional<Property> PropertyOf(const char* pKey);
const char* NameOf(Property property);

/// Changes when another file, folder or device stands at the source's place.
using Stamp = std::array<long long, 5>;

class CameraSource
{
public:
    /// @param strLabel  the camera's name and its source, for the log
    explicit CameraSource(std::string strLabel) : m_strLabel(std::move(strLabel)) {}
    virtual ~CameraSource() = default;
    CameraSource(const CameraSource&) = delete;
    CameraSource& operator=(const CameraSource&) = delete;

    /// One more holder; the first one opens the source. False with a log line when it cannot be opened, and then the
    /// caller is no holder.
    bool Acquire();
    /// One holder less; the last one closes the source. Waits for a running snap.
    void Release();

    /// @param picture  8-bit, one or three channels, memory of its own; empty on failure. The first of several failures
    ///                 is logged, and so is the first success after them.
    bool Snap(cv::Mat& picture);
    /// False without a holder, while the source is not there, and after a failure until something changed. Does not
    /// wait for a snap.
    bool IsAlive() const;
    /// False when the device refuses; a source without controls logs the wish and is true.
    bool SetProperty(Property property, int nValue);
    /// Gives a live camera this long to settle; false with a log line when it does not deliver.
    bool Settle(int nBudgetMs);

protected:
    /// What stands at the source's place; nothing, with the reason, when it is not there. Called from any thread at any
    /// time, without the lock.
    virtual std::optional<Stamp> Look(std::string& strWhy) const = 0;
    virtual bool OpenSource(std::string& strWhy) = 0;
    virtual void CloseSource() = 0;
    /// @param frame  empty when it comes in; afterwards nobody else holds its memory
    virtual bool ReadFrame(cv::Mat& frame, std::string& strWhy) = 0;
    virtual bool ApplyProperty(Property property, int nValue);
    virtual bool SettleSource(int nBudgetMs, std::string& strWhy);

    const std::string& Label() const { return m_strLabel; }

private:
    bool EnsureOpen(std::string& strWhy);
    void CloseIfOpen();
    bool ReadPicture(cv::Mat& picture, std::string& strWhy);
    void NoteFailure(const std::string& strWhy);
    void NoteSuccess();

    const std::string m_strLabel;
    std::mutex m_mutex; ///< one holder in the source at a time
    std::atomic<int> m_nHolders = 0;
    bool m_bOpen = false;
    bool m_bFailing = false;
    Stamp m_openStamp{};
    mutable std::mutex m_failureMutex;
    std::optional<Stamp> m_failureStamp; ///< what stood there when the last snap failed
};

/// The stamp of a file or folder; nothing where there is none.
std::optional<Stamp> LookAtFile(const std::string& strFile);

/// Turns any picture into 8-bit grey or BGR: 16 bits are scaled, floats taken as 0 to 1, an alpha channel is dropped.
/// @return false with the reason for a picture that is empty, too large, or has more than four channels
bool ToDeliverable(cv::Mat& picture, std::string& strWhy);

} // namespace Camera
