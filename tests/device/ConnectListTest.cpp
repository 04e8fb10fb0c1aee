#include "OperateDeviceClass.h"

#include "DeviceListFile.h"
#include "ModuleDoubles.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

#include <random>

namespace
{

using testing::Contains;
using testing::HasSubstr;
using testing::Pair;

class ConnectList : public testing::Test
{
protected:
    void SetUp() override { Doubles::Reset(); }

    bool Read(const QByteArray& content)
    {
        m_file.Write(content);
        return m_device.ReadConnectList();
    }

    std::size_t Size() const { return m_device.ConnectList().size(); }
    const ConnectRecord& Entry(std::size_t nEntry) const { return *m_device.ConnectList().at(nEntry); }

    void ExpectOnlyUsb() const
    {
        ASSERT_EQ(Size(), 1u);
        EXPECT_EQ(Entry(0).nType, 2);
        EXPECT_EQ(Entry(0).nPort, 3);
        EXPECT_EQ(Entry(0).szAddress[0], '\0');
    }

    DeviceListFile m_file;
    OperateDeviceClass m_device;
};

using F = DeviceListFile;

} // namespace

TEST_F(ConnectList, ANewLinkHasNoDriverNoEntriesAndIndexZero)
{
    EXPECT_EQ(m_device.Driver(), nullptr);
    EXPECT_EQ(Size(), 0u);
    EXPECT_EQ(m_device.Index(), 0);
}

TEST_F(ConnectList, TheSizeOnEntryIsLogged)
{
    m_device.ReadConnectList();
    EXPECT_EQ(Doubles::The().logLines.front(), std::make_pair(2, std::string("m_conList size = 0")));
    Doubles::Reset();
    ASSERT_TRUE(Read(F::Head(0, 2) + F::Record(1, 5, "10.0.0.1") + F::Record(1, 5, "10.0.0.2")));
    m_device.ReadConnectList();
    EXPECT_EQ(Doubles::The().logLines.front(), std::make_pair(2, std::string("m_conList size = 1")));
    EXPECT_EQ(Doubles::The().logLines.back(), std::make_pair(2, std::string("m_conList size = 3")));
}

TEST_F(ConnectList, AMissingFileLeavesTheUsbEntry)
{
    m_device.SetIndex(7);
    EXPECT_FALSE(m_device.ReadConnectList());
    ExpectOnlyUsb();
    EXPECT_EQ(m_device.Index(), 7);
}

TEST_F(ConnectList, AFolderUnderTheNameIsNoFile)
{
    ASSERT_TRUE(QDir().mkpath(F::Path()));
    EXPECT_FALSE(m_device.ReadConnectList());
    ExpectOnlyUsb();
}

TEST_F(ConnectList, APipeUnderTheNameIsNoFileAndHoldsNobodyUp)
{
    ASSERT_TRUE(QDir().mkpath(GetInstallResourcePath()));
    ASSERT_EQ(mkfifo(QFile::encodeName(F::Path()).constData(), 0600), 0);
    EXPECT_FALSE(m_device.ReadConnectList());
    ExpectOnlyUsb();
}

TEST_F(ConnectList, AFileOfNoLengthReadsAsASuccessWithTheUsbEntryAlone)
{
    m_device.SetIndex(5);
    EXPECT_TRUE(Read(""));
    ExpectOnlyUsb();
    EXPECT_EQ(m_device.Index(), 5);
}

TEST_F(ConnectList, TheBytesLieAsTheFormatSays)
{
    QByteArray content("DLDT\x02\0\0\0\x02\0\0\0", 12);
    content += QByteArray("\x01\0\0\0\x34\x12"
                          "192.168.1.20\0\0\0\0",
                          22);
    content += QByteArray("\xfe\xff\xff\xff\xff\xff"
                          "abcdefghijklmnop",
                          22);
    ASSERT_TRUE(Read(content));
    EXPECT_EQ(m_device.Index(), 2);
    ASSERT_EQ(Size(), 3u);
    EXPECT_EQ(Entry(0).nType, 2);
    EXPECT_EQ(Entry(1).nType, 1);
    EXPECT_EQ(Entry(1).nPort, 0x1234);
    EXPECT_STREQ(Entry(1).szAddress.data(), "192.168.1.20");
    EXPECT_EQ(Entry(2).nType, -2);
    EXPECT_EQ(Entry(2).nPort, 0xffff);
    EXPECT_EQ(std::string(Entry(2).szAddress.data(), 16), "abcdefghijklmnop");
    EXPECT_EQ(Entry(2).reserved, (std::array<char, 2>{}));
    EXPECT_EQ(Doubles::The().logLines.size(), 1u) << "a sound file is not complained about";
}

TEST_F(ConnectList, AWrongMagicIsRefused)
{
    for (const QByteArray& strMagic : {QByteArray("DLDU"), QByteArray("dldt"), QByteArray(4, '\0'), QByteArray("DLD"),
                                       QByteArray("XLDT"), QByteArray("DLD\0", 4)}) {
        Doubles::Reset();
        m_device.SetIndex(5);
        const bool bShort = strMagic == "DLD";
        EXPECT_EQ(Read(strMagic + (bShort ? QByteArray() : F::Head(1, 1).mid(4) + F::Record(1, 5, "10.0.0.1"))), bShort)
            << strMagic.toStdString();
        ExpectOnlyUsb();
        EXPECT_EQ(m_device.Index(), 5);
        EXPECT_EQ(Doubles::The().logLines.size(), 2u) << "one line says what was wrong";
        EXPECT_THAT(Doubles::The().logLines.back().second, HasSubstr("dvices.dt"));
    }
}

TEST_F(ConnectList, AFileThatIsCutShortAnywhereKeepsDefaultsForWhatIsMissing)
{
    const QByteArray whole =
        F::Head(0x01020304, 2) + F::Record(0x0a0b0c01, 0x1234, "abcdefghijklmnop") + F::Record(1, 0x4321, "10.0.0.2");
    for (qsizetype nBytes = 0; nBytes < whole.size(); ++nBytes) {
        Doubles::Reset();
        m_device.SetIndex(0);
        ASSERT_TRUE(Read(whole.left(nBytes))) << nBytes;
        EXPECT_THAT(Doubles::The().logLines, Contains(Pair(2, HasSubstr("dvices.dt")))) << nBytes;
        // The bytes that are there replace the lower bytes of the number.
        const auto nIndexBytes = std::clamp<qsizetype>(nBytes - 4, 0, 4);
        EXPECT_EQ(m_device.Index(), 0x01020304 & ((1LL << (8 * nIndexBytes)) - 1)) << nBytes;
        // A count of two is known from its first byte on.
        ASSERT_EQ(Size(), nBytes > 8 ? 3u : 1u) << nBytes;
        if (nBytes <= 12) {
            continue;
        }
        EXPECT_EQ(Entry(1).nType, 0x0a0b0c01 & ((1LL << (8 * std::min<qsizetype>(nBytes - 12, 4))) - 1)) << nBytes;
        EXPECT_EQ(Entry(1).nPort, nBytes <= 16 ? 3 : nBytes == 17 ? 0x34 : 0x1234) << nBytes;
        const auto nAddressBytes = static_cast<std::size_t>(std::clamp<qsizetype>(nBytes - 18, 0, 16));
        EXPECT_EQ(std::string(Entry(1).szAddress.data(), nAddressBytes),
                  std::string("abcdefghijklmnop").substr(0, nAddressBytes));
        EXPECT_EQ(Entry(2).nType, nBytes <= 34 ? 0 : 1) << nBytes;
    }
}

TEST_F(ConnectList, ACountThatTheFileCannotHoldEndsAtABound)
{
    for (const std::uint32_t nCount : {65537u, 0x7fffffffu, 0x80000000u, 0xffffffffu}) {
        Doubles::Reset();
        ASSERT_TRUE(Read(F::Head(1, nCount) + F::Record(1, 9, "10.0.0.1")));
        ASSERT_EQ(Size(), 65537u);
        EXPECT_EQ(Entry(1).nType, 1);
        EXPECT_EQ(Entry(2).nType, 0);
        EXPECT_EQ(Entry(65536).nPort, 3);
        EXPECT_THAT(Doubles::The().logLines, Contains(Pair(2, HasSubstr(std::to_string(nCount)))));
    }
    ASSERT_TRUE(Read(F::Head(1, 100)));
    EXPECT_EQ(Size(), 101u);
}

TEST_F(ConnectList, RecordsThatAreThereAreReadBeyondTheBound)
{
    const QByteArray record = F::Record(1, 9, "10.0.0.1");
    ASSERT_TRUE(Read(F::Head(1, 70000) + record.repeated(70000)));
    EXPECT_EQ(Size(), 70001u);
    EXPECT_EQ(Entry(70000).nPort, 9);
    ASSERT_TRUE(Read(F::Head(1, 0xffffffffu) + record.repeated(70000)));
    EXPECT_EQ(Size(), 70001u);
}

TEST_F(ConnectList, AFileLargerThanAnyListIsNotRead)
{
    m_file.Write(F::Head(1, 0xffffffffu));
    QFile file(F::Path());
    ASSERT_TRUE(file.resize(16 * 1024 * 1024 + 1));
    EXPECT_FALSE(m_device.ReadConnectList());
    ExpectOnlyUsb();
    EXPECT_THAT(Doubles::The().logLines.back().second, HasSubstr("larger"));
}

TEST_F(ConnectList, NoiseNeverBreaksTheReader)
{
    std::mt19937 random(20240611);
    for (int nRound = 0; nRound < 200; ++nRound) {
        QByteArray noise(static_cast<qsizetype>(random() % 400), '\0');
        for (char& c : noise) {
            c = static_cast<char>(random());
        }
        const bool bMagic = nRound % 2 == 0;
        const bool bRead = Read((bMagic ? QByteArray("DLDT") : QByteArray()) + noise);
        EXPECT_EQ(bRead, bMagic || noise.isEmpty());
        ASSERT_GE(Size(), 1u);
        EXPECT_EQ(Entry(0).nType, 2);
    }
}

TEST_F(ConnectList, EachReadingStartsAfresh)
{
    ASSERT_TRUE(Read(F::Head(1, 1) + F::Record(1, 9, "10.0.0.1")));
    ASSERT_EQ(Size(), 2u);
    ASSERT_TRUE(Read(F::Head(0, 0)));
    ExpectOnlyUsb();
}
