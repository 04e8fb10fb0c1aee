#include "WordingScan.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QHash>
#include <QXmlStreamReader>

#include <algorithm>

namespace
{

/// Where what goes wrong ends in a window; elsewhere in the workbench a failure is a line in a terminal.
bool IsFailureWorded(const QString& strFile)
{
    static const QStringList files{"CameraSetup.cpp",    "DataFolder.cpp",   "FolderLock.cpp", "FolderRoom.cpp",
                                   "HostSession.cpp",    "PictureMaker.cpp", "PluginHost.cpp", "RunFiles.cpp",
                                   "RuntimeModules.cpp", "WizardRun.cpp"};
    const QString strRoom = "workbench/";
    // What Gui.cpp throws comes before there is a window.
    return (strFile.startsWith(strRoom + "gui/") && !strFile.endsWith("/Gui.cpp")) ||
           (strFile.startsWith(strRoom) && files.contains(strFile.mid(strRoom.size())));
}

/// Calls that look texts up, and which of their arguments are keys.
const QHash<QString, QList<int>>& KeyArguments()
{
    static const QHash<QString, QList<int>> arguments{
        {"GetWording", {0}},      {"Wording", {0}},   {"ShowNotice", {0, 1}}, {"ShowNoticeText", {1}},
        {"ThreadDialogRun", {4}}, {"CountDown", {3}}, {"Failure", {0}},       {"ShowWarning", {1, 2}}};
    return arguments;
}

bool IsWordSign(QChar sign)
{
    return sign.isLetterOrNumber() || sign == '_';
}

class Reader
{
public:
    explicit Reader(const QString& strSource) : m_strSource(strSource) {}

    std::vector<SourceToken> Read()
    {
        while (m_nPlace < m_strSource.size()) {
            if (!SkipBlank() && !ReadLiteral()) {
                ReadWordOrSign();
            }
        }
        return m_tokens;
    }

private:
    QChar At(qsizetype nPlace) const { return nPlace < m_strSource.size() ? m_strSource[nPlace] : QChar(); }
    QStringView Rest() const { return QStringView(m_strSource).mid(m_nPlace); }

    void SkipPast(const QString& strEnd)
    {
        const qsizetype nEnd = m_strSource.indexOf(strEnd, m_nPlace);
        m_nPlace = nEnd < 0 ? m_strSource.size() : nEnd + strEnd.size();
    }

    bool SkipBlank()
    {
        if (Rest().startsWith(u"//")) {
            SkipPast("\n");
        } else if (Rest().startsWith(u"/*")) {
            SkipPast("*/");
        } else if (At(m_nPlace).isSpace()) {
            ++m_nPlace;
        } else {
            return false;
        }
        return true;
    }

    bool ReadLiteral()
    {
        qsizetype nQuote = m_nPlace;
        for (const QStringView prefix : {u"u8", u"u", u"U", u"L"}) {
            if (Rest().startsWith(prefix) && (At(m_nPlace + prefix.size()) == '"')) {
                nQuote += prefix.size();
                break;
            }
        }
        if (At(nQuote) == '\'') {
            ReadQuoted(nQuote, '\'');
            return true;
        }
        if (At(nQuote) != '"') {
            return false;
        }
        const QString strText = ReadQuoted(nQuote, '"');
        if (!m_tokens.empty() && m_tokens.back().bLiteral) {
            m_tokens.back().strText += strText;
        } else {
            m_tokens.push_back({strText, true});
        }
        return true;
    }

    QString ReadQuoted(qsizetype nQuote, QChar end)
    {
        QString strText;
        m_nPlace = nQuote + 1;
        while (m_nPlace < m_strSource.size() && At(m_nPlace) != end) {
            strText += At(m_nPlace) == '\\' ? ReadEscape() : QString(At(m_nPlace++));
        }
        ++m_nPlace;
        return strText;
    }

    QString ReadEscape()
    {
        const QChar sign = At(m_nPlace + 1);
        if (sign == 'u') {
            const uint nCode = QStringView(m_strSource).mid(m_nPlace + 2, 4).toUInt(nullptr, 16);
            m_nPlace += 6;
            return QString(QChar(nCode));
        }
        m_nPlace += 2;
        return sign == 'n' ? "\n" : sign == 't' ? "\t" : QString(sign);
    }

    void ReadWordOrSign()
    {
        const qsizetype nStart = m_nPlace++;
        if (IsWordSign(At(nStart))) {
            while (IsWordSign(At(m_nPlace))) {
                ++m_nPlace;
            }
        }
        m_tokens.push_back({m_strSource.mid(nStart, m_nPlace - nStart), false});
    }

    QString m_strSource;
    qsizetype m_nPlace = 0;
    std::vector<SourceToken> m_tokens;
};

bool Is(const std::vector<SourceToken>& tokens, std::size_t nPlace, const char* pText)
{
    return nPlace < tokens.size() && !tokens[nPlace].bLiteral && tokens[nPlace].strText == QLatin1String(pText);
}

/// `NAME = "text"` and `NAME[] = "text"`.
QHash<QString, QString> ConstantsOf(const std::vector<SourceToken>& tokens)
{
    QHash<QString, QString> constants;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        std::size_t nNext = i + 1;
        if (Is(tokens, nNext, "[") && Is(tokens, nNext + 1, "]")) {
            nNext += 2;
        }
        if (!tokens[i].bLiteral && Is(tokens, nNext, "=") && nNext + 1 < tokens.size() && tokens[nNext + 1].bLiteral) {
            constants.insert(tokens[i].strText, tokens[nNext + 1].strText);
        }
    }
    return constants;
}

using Argument = std::vector<SourceToken>;

/// The arguments of a call whose bracket opens at `nOpen`.
std::vector<Argument> ArgumentsAt(const std::vector<SourceToken>& tokens, std::size_t nOpen)
{
    std::vector<Argument> arguments(1);
    int nDepth = 0;
    for (std::size_t i = nOpen; i < tokens.size(); ++i) {
        const bool bOpens = Is(tokens, i, "(") || Is(tokens, i, "[") || Is(tokens, i, "{");
        const bool bCloses = Is(tokens, i, ")") || Is(tokens, i, "]") || Is(tokens, i, "}");
        nDepth += bOpens ? 1 : bCloses ? -1 : 0;
        if (nDepth == 0) {
            break;
        }
        if (nDepth == 1 && Is(tokens, i, ",")) {
            arguments.emplace_back();
        } else if (i != nOpen) {
            arguments.back().push_back(tokens[i]);
        }
    }
    return arguments;
}

bool IsDeclaration(const std::vector<Argument>& arguments)
{
    for (const Argument& argument : arguments) {
        for (std::size_t i = 0; i < argument.size(); ++i) {
            if (Is(argument, i, "const")) {
                return true;
            }
        }
    }
    return false;
}

void AddKeys(const QString& strFile, const Argument& argument, const QHash<QString, QString>& constants,
             WordingUses& uses)
{
    bool bFound = false;
    bool bFilled = false;
    QString strExpression;
    for (const SourceToken& token : argument) {
        // Placeholders are filled after wording, or no table has the text.
        bFilled = bFilled || token.strText == "arg";
        strExpression += token.strText;
        const auto constant = constants.constFind(token.strText);
        if (token.bLiteral) {
            uses.keys.insert(token.strText);
            bFound = true;
        } else if (constant != constants.constEnd()) {
            uses.keys.insert(constant.value());
            bFound = true;
        }
    }
    if ((!bFound || bFilled) && !argument.empty()) {
        uses.indirect.push_back({strFile, strExpression});
    }
}

} // namespace

std::vector<SourceToken> SourceTokens(const QString& strSource)
{
    return Reader(strSource).Read();
}

void ScanSource(const QString& strFile, const QString& strSource, WordingUses& uses)
{
    const std::vector<SourceToken> tokens = SourceTokens(strSource);
    const QHash<QString, QString> constants = ConstantsOf(tokens);
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        if (tokens[i].bLiteral) {
            uses.literals.insert(tokens[i].strText);
            continue;
        }
        const auto call = KeyArguments().constFind(tokens[i].strText);
        if (call == KeyArguments().constEnd() || !Is(tokens, i + 1, "(") ||
            (call.key() == "Failure" && !IsFailureWorded(strFile))) {
            continue;
        }
        const std::vector<Argument> arguments = ArgumentsAt(tokens, i + 1);
        if (IsDeclaration(arguments)) {
            continue;
        }
        for (const int nKey : call.value()) {
            if (nKey < static_cast<int>(arguments.size())) {
                AddKeys(strFile, arguments[static_cast<std::size_t>(nKey)], constants, uses);
            }
        }
    }
}

void ScanForm(const QByteArray& form, WordingUses& uses)
{
    QXmlStreamReader reader(form);
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement || reader.name() != QLatin1String("string")) {
            continue;
        }
        const bool bFixed = reader.attributes().value("notr") == QLatin1String("true");
        const QString strText = reader.readElementText();
        if (!bFixed && !strText.isEmpty()) {
            uses.keys.insert(strText);
        }
    }
}

WordingUses ScanFolders(const QString& strRoot, const QStringList& listFolders)
{
    QStringList listFiles;
    for (const QString& strFolder : listFolders) {
        QDirIterator it(strRoot + "/" + strFolder, {"*.cpp", "*.h", "*.ui"}, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            listFiles.append(it.next());
        }
    }
    listFiles.sort();
    WordingUses uses;
    for (const QString& strFile : listFiles) {
        QFile file(strFile);
        if (!file.open(QIODevice::ReadOnly)) {
            continue;
        }
        if (strFile.endsWith(".ui")) {
            ScanForm(file.readAll(), uses);
        } else {
            ScanSource(QDir(strRoot).relativeFilePath(strFile), QString::fromUtf8(file.readAll()), uses);
        }
    }
    return uses;
}
