#pragma once

// Why an operation of this module failed: one log line, and the words for `GetLastError`.

#include <string>

namespace Korvane
{

/// Always false, so that a failing operation can return it.
bool Fail(const char* pOperation, const std::string& strReason);

} // namespace Korvane
