#pragma once

// How a command of the workbench fails: one sentence for the person in front of it, and the exit code. A window shows
// the sentence in the operator's language; a terminal and the log have it in English.

#include <QString>
#include <QStringList>

#include <stdexcept>

namespace Workbench
{

enum ExitCode { Success = 0, Failed = 1, WrongUse = 2, MeasureMissed = 3 };

/// `strText` with %1, %2 and so on replaced by the arguments, which are taken as they are, whatever signs they have.
inline QString WithArguments(const QString& strText, const QStringList& listArguments)
{
    QString strWhole;
    for (qsizetype i = 0; i < strText.size(); ++i) {
        const int nArgument = i + 1 < strText.size() && strText[i] == '%' ? strText[i + 1].digitValue() : -1;
        if (nArgument >= 1 && nArgument <= listArguments.size()) {
            strWhole += listArguments[nArgument - 1];
            ++i;
        } else {
            strWhole += strText[i];
        }
    }
    return strWhole;
}

class Failure : public std::runtime_error
{
public:
    /// A sentence that only a terminal shows.
    explicit Failure(const QString& strSentence, ExitCode code = Failed) : Failure(strSentence, QStringList(), code) {}
    /// @param pKey  the sentence in English, by which its wording is found; %1 to %9 stand for the arguments
    explicit Failure(const char* pKey, const QStringList& listArguments = {}, ExitCode code = Failed)
        : Failure(QString(pKey), listArguments, code)
    {
    }

    ExitCode Code() const { return m_code; }
    const QString& Key() const { return m_strKey; }
    const QStringList& Arguments() const { return m_listArguments; }

private:
    Failure(const QString& strKey, const QStringList& listArguments, ExitCode code)
        : std::runtime_error(WithArguments(strKey, listArguments).toStdString()), m_code(code), m_strKey(strKey),
          m_listArguments(listArguments)
    {
    }

    ExitCode m_code;
    QString m_strKey;
    QStringList m_listArguments;
};

} // namespace Workbench
