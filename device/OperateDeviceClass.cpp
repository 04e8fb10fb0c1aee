#include "OperateDeviceClass.h"

#include "FileStore.h"
#include "IDriverRD.h"
#include "LibraryLoader.h"
#include "Log.h"
#include "MicroLineBuilder.h"

#include <QFile>
#include <QFileInfo>
#include <QTextStream>
#include <QThread>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace
{

constexpr qint64 g_nMaxListBytes = 16LL * 1024 * 1024;
/// A count may promise more records than the file holds; no more than this many are made up for it.
constexpr std::uint32_t g_nMaxListRecords = 65536;
constexpr unsigned long g_nFactoryWaitMs = 500;

static_assert(std::endian::native == std::endian::little, "the device list is read as it lies in memory");

/// Reads as many bytes as the file still has and leaves the rest of `value` as it stands.
template <typename Value> bool ReadInto(QFile& file, Value& value)
{
    return file.read(reinterpret_cast<char*>(&value), sizeof value) == qint64(sizeof value);
}

bool ReadRecord(QFile& file, ConnectRecord& record)
{
    // Without the record's last two bytes, which end an address that fills its field.
    const bool bType = ReadInto(file, record.nType);
    const bool bPort = ReadInto(file, record.nPort);
    return ReadInto(file, record.szAddress) && bType && bPort;
}

QString AddressOf(const ConnectRecord& record)
{
    const auto end = std::find(record.szAddress.begin(), record.szAddress.end(), '\0');
    return QString::fromUtf8(record.szAddress.data(), end - record.szAddress.begin());
}

} // namespace

int OperateDeviceClass::SetCalibrationFile(QList<QPointF> listPtMm, double dCrossSizeMm)
{
    if (!ReadConnectList()) {
        ILog_WriteLog(2, "ReadConnectList faile!");
        return 0;
    }
    LoadDriver();
    if (m_nIndex < 0 || static_cast<std::size_t>(m_nIndex) >= m_conList.size()) {
        ILog_WriteLogF(0, "%s, m_nIndex = %d, listCount = %d", "OperateDeviceClass::SetCalibrationFile", m_nIndex,
                       static_cast<int>(m_conList.size()));
        m_nIndex = 0;
    }
    Connect(*m_conList[static_cast<std::size_t>(m_nIndex)]);

    std::unique_ptr<MicroLineDocument> pDocument(CreateMicroLine(listPtMm, dCrossSizeMm));
    if (!pDocument) {
        return 0;
    }
    if (!m_pDriver) {
        DeleteMicroLine(*pDocument);
        return 0;
    }
    // The driver may work on after the call: the document itself is its own as well.
    return DownloadMicroLine(pDocument.release(), "TwoCalib.kv");
}

bool OperateDeviceClass::ReadConnectList()
{
    ILog_WriteLogF(2, "m_conList size = %d", static_cast<int>(m_conList.size()));
    while (!m_conList.empty()) {
        m_conList.pop_back();
    }
    m_conList.push_back(std::make_unique<ConnectRecord>());
    m_conList.back()->nType = 2;

    // The name is spelled so on purpose.
    const QString strFile = GetInstallResourcePath() + "/dvices.dt";
    const QByteArray strFileText = strFile.toUtf8();
    const char* const pFile = strFileText.constData();
    QFile file(strFile);
    // A pipe or a device under this name could keep the caller waiting: they are no file.
    if (!QFileInfo(strFile).isFile() || !file.open(QIODevice::ReadOnly)) {
        ILog_WriteLogF(2, "There is no device list that can be read at %s", pFile);
        return false;
    }
    if (file.size() > g_nMaxListBytes) {
        ILog_WriteLogF(2, "The device list %s is larger than %lld bytes and is not read", pFile,
                       static_cast<long long>(g_nMaxListBytes));
        return false;
    }
    // Prepared with what is expected and compared whatever was read: an empty or shorter file passes. This is meant.
    char szMagic[5] = "DLDT";
    file.read(szMagic, 4);
    if (std::strcmp(szMagic, "DLDT") != 0) {
        ILog_WriteLogF(2, "The device list %s does not begin with DLDT", pFile);
        return false;
    }
    std::uint32_t nCount = 0;
    bool bWhole = ReadInto(file, m_nIndex);
    bWhole = ReadInto(file, nCount) && bWhole;
    for (std::uint32_t i = 0; i < nCount; ++i) {
        auto pRecord = std::make_unique<ConnectRecord>();
        bWhole = bWhole && ReadRecord(file, *pRecord);
        if (!bWhole && i >= g_nMaxListRecords) {
            break;
        }
        m_conList.push_back(std::move(pRecord));
    }
    if (!bWhole) {
        ILog_WriteLogF(2, "The device list %s ends before its %u records do; what is missing keeps its default", pFile,
                       nCount);
    }
    return true;
}

void OperateDeviceClass::LoadDriver()
{
    m_pDriver = static_cast<IDriverRD*>(LoadModule("DriverRD.dll", true, nullptr));
    if (m_pDriver) {
        m_pDriver->Init(0);
    }
}

void OperateDeviceClass::Connect(const ConnectRecord& record)
{
    if (record.nType == 1) {
        ILog_WriteLog(1, "SetConnect IP!");
        SetConnectIP(AddressOf(record));
        return;
    }
    ILog_WriteLog(1, "SetConnect_USB_Auto!");
    if (m_pDriver) {
        m_pDriver->SetConnectUsbAuto();
    }
}

void OperateDeviceClass::SetConnectIP(QString strAddress)
{
    if (m_pDriver) {
        m_pDriver->SetConnectIP(strAddress);
    }
}

void OperateDeviceClass::SetConnectPort(unsigned short nPort, std::intptr_t nFirst, std::intptr_t nSecond)
{
    if (m_pDriver) {
        m_pDriver->SetConnectPort(nPort, nFirst, nSecond);
    }
}

int OperateDeviceClass::DownloadMicroLine(MicroLineDocument* pDocument, const char* pName)
{
    if (!m_pDriver) {
        return 0;
    }
    const int nResult = m_pDriver->DownloadMicroLine(pDocument, pName);
    ILog_WriteLogF(1, "DownloadMicroLine ret = %d ", nResult);
    return nResult;
}

MicroLineDocument* OperateDeviceClass::CreateMicroLine(QList<QPointF> listPtMm, double dCrossSizeMm)
{
    auto pDocument = std::make_unique<MicroLineDocument>();
    return FillMicroLine(*pDocument, listPtMm, dCrossSizeMm) ? pDocument.release() : nullptr;
}

void OperateDeviceClass::ApplyFactoryArea(double dXMm, double dYMm)
{
    if (!m_pDriver) {
        ILog_WriteLogF(1, "%s: no driver is loaded", "OperateDeviceClass::ApplyFactoryArea");
        return;
    }
    if (!std::isfinite(dXMm) || !std::isfinite(dYMm)) {
        ILog_WriteLogF(1, "%s: an axis length is not finite", "OperateDeviceClass::ApplyFactoryArea");
        return;
    }
    FactoryParam param;
    int nResult = m_pDriver->ReadFactoryParam(&param);
    if (nResult != 0) {
        ILog_WriteLogF(1, "ReadFactoryParam ret = %d ", nResult);
        return;
    }
    QThread::msleep(g_nFactoryWaitMs);
    param.axes[0].dLengthMm = dXMm;
    param.axes[1].dLengthMm = dYMm;
    nResult = m_pDriver->SaveFactoryParam(&param);
    if (nResult != 0) {
        ILog_WriteLogF(1, "SaveFactoryParam ret = %d ", nResult);
    }
}

void OperateDeviceClass::DumpPoints(QList<QPointF> listPt)
{
    // The path is fixed on every platform.
    QFile file("c:\\test_CKM.txt");
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text)) {
        return;
    }
    QTextStream stream(&file);
    for (const QPointF& point : listPt) {
        stream << point.x() << "  " << point.y() << '\n';
    }
}
