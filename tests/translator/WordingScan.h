#pragma once

// Finds in the sources which texts go through the translator. It reads C++ as words and literals only: it follows no
// variable beyond a constant of the same file, and tells where it could not.

#include <QSet>
#include <QString>
#include <QStringList>

#include <vector>

/// One word, literal or sign of a source file; comments are gone, literals side by side are one.
struct SourceToken {
    QString strText; ///< a literal's own text, its escapes resolved
    bool bLiteral = false;
};

/// A place where what is looked up is no literal.
struct IndirectWording {
    QString strFile;
    QString strExpression; ///< the argument, its words and signs without blanks

    bool operator==(const IndirectWording&) const = default;
};

struct WordingUses {
    QSet<QString> keys;     ///< looked up as literals, or shown by a form
    QSet<QString> literals; ///< every literal there is
    std::vector<IndirectWording> indirect;
};

std::vector<SourceToken> SourceTokens(const QString& strSource);

/// Adds what one source file looks up.
void ScanSource(const QString& strFile, const QString& strSource, WordingUses& uses);
/// Adds the texts of a form.
void ScanForm(const QByteArray& form, WordingUses& uses);

/// All sources and forms below the folders of `strRoot`; file names come out relative to it.
WordingUses ScanFolders(const QString& strRoot, const QStringList& listFolders);
