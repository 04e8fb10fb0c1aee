#pragma once

// Keeps two runs of the workbench out of each other's files. Held for as long as the object lives; the system drops the
// lock of a process that ends in any way, and no lock file stays behind.

#include <QString>

#include <chrono>

namespace Workbench
{

class FolderLock
{
public:
    /// Waits for another run that holds the folder, and says so on standard error. A folder that cannot be opened or
    /// locked is not locked: whatever is wrong with it shows when it is used. Throws `Failure` after `most`.
    explicit FolderLock(const QString& strFolder, std::chrono::milliseconds most = std::chrono::minutes(5));
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

private:
    int m_nFolder = -1;
};

} // namespace Workbench
