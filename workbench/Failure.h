#pragma once

// How a command of the workbench fails: one sentence for the person in front of it, and the exit code.

#include <QString>

#include <stdexcept>

namespace Workbench
{

enum ExitCode { Success = 0, Failed = 1, WrongUse = 2, MeasureMissed = 3 };

class Failure : public std::runtime_error
{
public:
    explicit Failure(const QString& strSentence, ExitCode code = Failed)
        : std::runtime_error(strSentence.toStdString()), m_code(code)
    {
    }

    ExitCode Code() const { return m_code; }

private:
    ExitCode m_code;
};

} // namespace Workbench
