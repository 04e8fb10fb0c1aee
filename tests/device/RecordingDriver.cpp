#include "RecordingDriver.h"

#include "IDriverRD.h"
#include "ModuleExport.h"

namespace
{

DriverRecord g_record;

void Note(const std::string& strCall)
{
    g_record.calls.push_back(strCall);
}

class RecordingDriver final : public IDriverRD
{
public:
    void Init(int nZero) override { Note("Init(" + std::to_string(nZero) + ")"); }
    void SetConnectIP(QString strAddress) override { Note("SetConnectIP(" + strAddress.toStdString() + ")"); }
    void SetConnectPort(unsigned short nPort, std::intptr_t nFirst, std::intptr_t nSecond) override
    {
        Note("SetConnectPort(" + std::to_string(nPort) + ", " + std::to_string(nFirst) + ", " +
             std::to_string(nSecond) + ")");
    }
    void SetConnectUsbAuto() override { Note("SetConnectUsbAuto()"); }
    int ReadFactoryParam(FactoryParam* pParam) override
    {
        Note("ReadFactoryParam()");
        // What a failing driver leaves behind must reach nobody.
        *pParam = g_record.machine;
        g_record.readTime = std::chrono::steady_clock::now();
        return g_record.nReadResult;
    }
    int SaveFactoryParam(FactoryParam* pParam) override
    {
        Note("SaveFactoryParam()");
        g_record.saveTime = std::chrono::steady_clock::now();
        if (g_record.nSaveResult == 0) {
            g_record.machine = *pParam;
        }
        return g_record.nSaveResult;
    }
    int DownloadMicroLine(MicroLineDocument* pDocument, const char* pName) override
    {
        Note("DownloadMicroLine(" + std::string(pName) + ")");
        g_record.pReceived = pDocument;
        return g_record.nDownloadResult;
    }
};

RecordingDriver g_driver;

} // namespace

extern "C" {

MODULE_EXPORT DriverRecord* DriverRecordOf()
{
    return &g_record;
}

MODULE_EXPORT void* NewInterface()
{
    Note("NewInterface()");
    // The table of operations begins at the interface, not at the class behind it.
    return g_record.bGiveInstance ? static_cast<IDriverRD*>(&g_driver) : nullptr;
}

MODULE_EXPORT void ReleaseInterface(void*)
{
    Note("ReleaseInterface()");
}
}
