#pragma once

// The host's device service, through which a pattern reaches the machine. Implemented by the host, never deleted by the
// plug-in: a virtual destructor would shift the slots.

#include "MicroLine.h"

#include <QString>
#include <QVariant>

class IDeviceChannel
{
public:
    /// Non-zero while no transfer may start.
    virtual int GetBusy() = 0;

protected:
    ~IDeviceChannel() = default;
};

class IDeviceHost
{
public:
    virtual int GetDeviceKind() = 0;
    virtual IDeviceChannel* GetChannel() = 0;
    /// "SendCalibrateFile" with an empty argument, "DeviceDocumentImport" with a file's full path; 1011 is success,
    /// 1016 a document that the machine does not take.
    virtual int RunCommand(const char* pCommand, QVariant argument) = 0;
    /// Stages a document under a name. The document may stand on the caller's stack: copy what must outlive the call.
    virtual void PutMicroLine(int nZero, MicroLineDocument* pDocument, QString strName) = 0;

protected:
    ~IDeviceHost() = default;
};
