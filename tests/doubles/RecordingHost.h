#pragma once

// A host's device service that writes down each call and answers what a test sets beforehand. A document is read while
// it is handed over, along the links that a host may use, and freed.

#include "IDeviceHost.h"

#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace Doubles
{

class RecordingHost final : public IDeviceHost
{
public:
    struct Line {
        double dX0, dY0, dX1, dY1; ///< millimetres
        bool operator==(const Line&) const = default;
    };

    int GetDeviceKind() override;
    IDeviceChannel* GetChannel() override;
    int RunCommand(const char* pCommand, QVariant argument) override;
    void PutMicroLine(int nZero, MicroLineDocument* pDocument, QString strName) override;

    int nKind = 0;
    int nBusy = 0;
    int nAnswer = 1011; ///< to every command
    bool bHasChannel = true;
    std::function<void()> onCommand;

    std::vector<std::string> calls;
    std::vector<Line> lines; ///< of the last document
    std::thread::id thread;  ///< of the last command

private:
    class Channel final : public IDeviceChannel
    {
    public:
        explicit Channel(RecordingHost& host) : m_host(host) {}
        int GetBusy() override;

    private:
        RecordingHost& m_host;
    };

    Channel m_channel{*this};
};

} // namespace Doubles
