#pragma once

// Asks the computer whether a folder takes files, for who has to tell a full disk from a bad picture: what the wizard
// cannot write it passes over. Tries it, since neither rights nor mounts tell; leaves nothing behind.

#include <QString>

#include <functional>

namespace Workbench
{

/// Room for a camera's picture.
constexpr qint64 g_nPictureBytes = 16LL << 20;

/// @param nBytes  of one file
/// @return empty where the folder takes it; else why not, in the system's words: "No space left on device"
QString ReasonNotWritable(const QString& strFolder, qint64 nBytes = g_nPictureBytes);

/// Throws `Failure`, which names the folder and the reason.
void RequireRoom(const QString& strFolder, qint64 nBytes = g_nPictureBytes);

/// Remembers a disk that was full for a moment: what failed then has often made room again when it is asked why.
class RoomWatch
{
public:
    /// @param freeBytes  of the folder's disk, negative where nobody knows; asks the system without one
    explicit RoomWatch(const QString& strFolder, std::function<qint64()> freeBytes = {});

    /// Takes no time; to be called several times a second.
    void Look();
    /// Why a file of this size finds no place, or found none, in a sentence that names the folder. Empty where it does.
    QString Problem(qint64 nBytes = g_nPictureBytes) const;

private:
    const QString m_strFolder;
    const std::function<qint64()> m_freeBytes;
    bool m_bWasFull = false;
};

} // namespace Workbench
