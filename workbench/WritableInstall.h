#pragma once

// The wizard opens the list of machines, "Resources/Vision/calib/DeviceType.json", for writing as well as for reading,
// and takes one that is write-protected for none. Where the workbench is installed read-only it therefore runs from a
// copy in the user's data folder: the application and `Resources` copied, `lib` a link to what is installed.

#include <QString>

namespace Workbench
{

/// Whether the list of machines below `strInstall` (the folder above "bin") can be opened as the wizard does it.
bool IsInstallWritable(const QString& strInstall);

/// Brings the copy up to date, each file in one step, so that what runs from it is not disturbed. The list of machines
/// is left alone once it is there: it is the user's.
/// @param strApplication  name of the application below "bin"
/// @return false, with one log line, where anything cannot be written
bool CopyInstall(const QString& strInstall, const QString& strApplication, const QString& strCopy);

/// To be called before anything else by a command that opens the wizard: goes on in this process where the install can
/// be written, else starts the same command line anew from the copy and does not return. Where the copy cannot be made
/// or started it returns as well, and the wizard says that there is no device type.
void RunFromWritableInstall(char** argv);

} // namespace Workbench
