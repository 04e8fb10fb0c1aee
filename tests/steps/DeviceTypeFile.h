#pragma once

// The list of machines in the install resources that lie beside the test's own folder. Gone when it ends.

#include "FileStore.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>

class DeviceTypeFile
{
public:
    DeviceTypeFile() { Clear(); }
    ~DeviceTypeFile() { Clear(); }
    DeviceTypeFile(const DeviceTypeFile&) = delete;
    DeviceTypeFile& operator=(const DeviceTypeFile&) = delete;

    static QString Path() { return GetInstallResourcePath() + "/Vision/calib/DeviceType.json"; }
    static void MakeFolder() { ASSERT_TRUE(QDir().mkpath(QFileInfo(Path()).path())); }

    void Write(const QByteArray& content) const
    {
        MakeFolder();
        QFile file(Path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(content), content.size());
    }

private:
    static void Clear() { QDir(GetInstallResourcePath()).removeRecursively(); }
};
