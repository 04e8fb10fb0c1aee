#include "StatusText.h"

#include "Translator.h"

#include <algorithm>
#include <iterator>

namespace
{

struct StatusRow {
    int nStatus;
    const char* pMeaning;
    const char* pAdvice;
};

constexpr StatusRow ROWS[] = {
    // What a task gives that threw or was not begun.
    {-1, "The task was not completed because of an unexpected error.",
     "Try again. If it happens again, give the log file to the service."},
    {1001, "No machine is connected, or the machine is busy.",
     "Check that the machine is switched on and connected and that no other job is running, then try again."},
    // Why is the host's knowledge; it is told apart from all other failures of a document.
    {1016, "The pattern document was not accepted.", "Look for a message on the machine, then try again."},
};

constexpr StatusRow UNKNOWN = {
    0, "The machine reported a status that is not known here.",
    "Look for a message on the machine, then try again. If it happens again, give the status below to the service."};

const StatusRow& RowOf(int nStatus)
{
    const auto* const pFound = std::find_if(std::begin(ROWS), std::end(ROWS),
                                            [nStatus](const StatusRow& row) { return row.nStatus == nStatus; });
    return pFound == std::end(ROWS) ? UNKNOWN : *pFound;
}

} // namespace

const char* StatusMeaning(int nStatus)
{
    return RowOf(nStatus).pMeaning;
}

QString StatusText(int nStatus)
{
    const StatusRow& row = RowOf(nStatus);
    CTranslator& translator = *CTranslator::GetInstance();
    return translator.GetWording(row.pMeaning) + "\n\n" + translator.GetWording(row.pAdvice) + "\n\n" +
           translator.GetWording("Status: %1").arg(nStatus);
}
