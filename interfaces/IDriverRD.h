#pragma once

// The direct driver: the object of the module "DriverRD.dll", loaded at run time. Released through the module's own
// export only: a virtual destructor would shift the slots.

#include "FactoryParam.h"
#include "MicroLine.h"

#include <QString>

#include <cstdint>

class IDriverRD
{
public:
    virtual void Init(int nZero) = 0;
    virtual void SetConnectIP(QString strAddress) = 0;
    virtual void SetConnectPort(unsigned short nPort, std::intptr_t nFirst, std::intptr_t nSecond) = 0;
    virtual void SetConnectUsbAuto() = 0;
    /// 0 is success.
    virtual int ReadFactoryParam(FactoryParam* pParam) = 0;
    /// 0 is success.
    virtual int SaveFactoryParam(FactoryParam* pParam) = 0;
    virtual int DownloadMicroLine(MicroLineDocument* pDocument, const char* pName) = 0;

protected:
    ~IDriverRD() = default;
};
