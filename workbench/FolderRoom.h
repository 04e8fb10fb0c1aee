#pragma once

// Asks the computer whether a folder takes files, for who has to tell a full disk from a bad picture: what the wizard
// cannot write it passes over. Tries it, since neither rights nor mounts tell; leaves nothing behind.

#include <QString>

namespace Workbench
{

/// Room for a camera's picture.
constexpr qint64 g_nPictureBytes = 16LL << 20;

/// @param nBytes  of one file
/// @return empty where the folder takes it; else why not, in the system's words: "No space left on device"
QString ReasonNotWritable(const QString& strFolder, qint64 nBytes = g_nPictureBytes);

/// Throws `Failure`, which names the folder and the reason.
void RequireRoom(const QString& strFolder, qint64 nBytes = g_nPictureBytes);

} // namespace Workbench
