#pragma once

// Seconds of the clock on the wall since it was made.

#include <chrono>

namespace Workbench
{

class Stopwatch
{
public:
    double Seconds() const { return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count(); }

private:
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

} // namespace Workbench
