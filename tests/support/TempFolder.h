#pragma once

// A folder of a test's own, with files by short names; gone with the object.

#include <QByteArray>
#include <QTemporaryDir>

#include <string>

class TempFolder
{
public:
    std::string Path(const std::string& strName = {}) const;
    /// Writes the file anew.
    /// @return its path
    std::string Write(const std::string& strName, const QByteArray& bytes) const;
    QByteArray ReadAll(const std::string& strName) const;

private:
    QTemporaryDir m_folder;
};
