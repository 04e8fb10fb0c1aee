#pragma once

// A configuration folder of its own for each test, so that no test sees the user's files or another test's.

#include <QString>
#include <QTemporaryDir>

class DataRoot
{
public:
    DataRoot();
    ~DataRoot();

    /// The folder that stands in for the user's configuration folder.
    QString Folder() const { return m_folder.path(); }
    /// The data root of the default theme.
    QString Root() const { return Folder() + "/Quillboost/Resources"; }
    /// A file below Camera_Two; its folder is made.
    QString CameraTwo(const QString& strFile) const;
    void WriteFile(const QString& strFile, const QByteArray& content) const;

private:
    QTemporaryDir m_folder;
    QByteArray m_strBefore;
    bool m_bHadBefore = false;
};
