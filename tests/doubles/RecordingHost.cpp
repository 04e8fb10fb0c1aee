#include "RecordingHost.h"

#include "MicroLineBuilder.h"

namespace Doubles
{

int RecordingHost::GetDeviceKind()
{
    calls.emplace_back("GetDeviceKind()");
    return nKind;
}

IDeviceChannel* RecordingHost::GetChannel()
{
    calls.emplace_back("GetChannel()");
    return bHasChannel ? &m_channel : nullptr;
}

int RecordingHost::Channel::GetBusy()
{
    m_host.calls.emplace_back("GetBusy()");
    return m_host.nBusy;
}

int RecordingHost::RunCommand(const char* pCommand, QVariant argument)
{
    calls.push_back("RunCommand(" + std::string(pCommand) + ", " +
                    (argument.isValid() ? argument.toString().toStdString() : "empty") + ")");
    thread = std::this_thread::get_id();
    if (onCommand) {
        onCommand();
    }
    return nAnswer;
}

void RecordingHost::PutMicroLine(int nZero, MicroLineDocument* pDocument, QString strName)
{
    calls.push_back("PutMicroLine(" + std::to_string(nZero) + ", document, " + strName.toStdString() + ")");
    lines.clear();
    const MicroLineNode* const pFirst = pDocument->pLayer->pFirstNode;
    const MicroLineNode* pNode = pFirst;
    do {
        const MicroLineSegment& segment = *pNode->pSegment;
        lines.push_back({segment.dX0, segment.dY0, segment.dX1, segment.dY1});
        pNode = pNode->pNext;
    } while (pNode != pFirst);
    DeleteMicroLine(*pDocument);
}

} // namespace Doubles
