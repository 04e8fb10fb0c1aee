#pragma once

// The device list in the install resources that lie beside the test's own folder. Gone when it ends.

#include "FileStore.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QDir>
#include <QFile>

#include <cstdint>

class DeviceListFile
{
public:
    DeviceListFile() { Clear(); }
    ~DeviceListFile() { Clear(); }

    static QString Path() { return GetInstallResourcePath() + "/dvices.dt"; }

    void Write(const QByteArray& content) const
    {
        ASSERT_TRUE(QDir().mkpath(GetInstallResourcePath()));
        QFile file(Path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(content), content.size());
    }

    static QByteArray Number(std::uint32_t nValue, int nBytes)
    {
        QByteArray bytes;
        for (int i = 0; i < nBytes; ++i) {
            bytes.append(static_cast<char>(nValue >> (8 * i) & 0xffu));
        }
        return bytes;
    }

    static QByteArray Head(std::int32_t nIndex, std::uint32_t nCount)
    {
        return "DLDT" + Number(static_cast<std::uint32_t>(nIndex), 4) + Number(nCount, 4);
    }

    static QByteArray Record(std::int32_t nType, std::uint16_t nPort, QByteArray strAddress)
    {
        return Number(static_cast<std::uint32_t>(nType), 4) + Number(nPort, 2) + strAddress.leftJustified(16, '\0');
    }

private:
    static void Clear() { QDir(GetInstallResourcePath()).removeRecursively(); }
};
