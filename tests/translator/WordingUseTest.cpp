#include "KeysAtRunTime.h"
#include "WordingScan.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace
{

const QStringList& Rooms()
{
    static const QStringList rooms{"plugin",   "steps",   "widgets",   "capture",  "device",
                                   "pipeline", "modules", "simulator", "workbench"};
    return rooms;
}

const WordingUses& Uses()
{
    static const WordingUses uses = ScanFolders(SOURCE_FOLDER, Rooms());
    return uses;
}

QStringList TableKeys(const QString& strLanguage)
{
    QFile file(QString(WORDING_FOLDER "/%1.json").arg(strLanguage));
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object().keys() : QStringList();
}

/// Everything that the program can look up.
QSet<QString> AllKeys()
{
    QSet<QString> keys = Uses().keys;
    for (const RunTimeKeys& place : KeysAtRunTime()) {
        for (const QString& strKey : place.listKeys) {
            keys.insert(strKey);
        }
    }
    for (const QString& strText : TextsWithoutWording()) {
        keys.remove(strText);
    }
    return keys;
}

} // namespace

TEST(WordingScan, LiteralsSideBySideAreOneKey)
{
    WordingUses uses;
    ScanSource("a.cpp", "f(Wording(\"one \" // a comment\n  \"two\\n\\\"three\\\"\"));", uses);
    EXPECT_EQ(uses.keys, QSet<QString>{"one two\n\"three\""});
    EXPECT_TRUE(uses.indirect.empty());
}

TEST(WordingScan, ANoticeHasTwoKeys)
{
    WordingUses uses;
    ScanSource("a.cpp", "ShowNotice(bad ? \"Bad\" : \"Good\", \"Title\"); ShowNoticeText(text, \"Other\");", uses);
    EXPECT_EQ(uses.keys, (QSet<QString>{"Bad", "Good", "Title", "Other"}));
}

TEST(WordingScan, AConstantOfTheFileIsFollowed)
{
    WordingUses uses;
    ScanSource("a.cpp", "constexpr char16_t A[] = u\"a\\u00a0b\"; x = Wording(A);", uses);
    EXPECT_EQ(uses.keys, QSet<QString>{QString::fromUtf8("a\u00a0b")});
}

TEST(WordingScan, AnythingElseIsToldAsAPlace)
{
    WordingUses uses;
    ScanSource("a.cpp", "QString Wording(const QString& key); x = Wording(row.pText);", uses);
    EXPECT_TRUE(uses.keys.isEmpty());
    EXPECT_EQ(uses.indirect, (std::vector<IndirectWording>{{"a.cpp", "row.pText"}}));
}

TEST(WordingScan, AFailureThatAWindowShowsIsAKey)
{
    WordingUses uses;
    const QString strSource = "throw Failure(\"No %1.\", {strName});";
    ScanSource("workbench/gui/Window.cpp", strSource, uses);
    EXPECT_EQ(uses.keys, QSet<QString>{"No %1."});
    WordingUses none;
    ScanSource("workbench/CommandLine.cpp", strSource, none);
    EXPECT_TRUE(none.keys.isEmpty());
}

TEST(WordingScan, AKeyThatIsFilledTooEarlyIsToldAsAPlace)
{
    WordingUses uses;
    ScanSource("workbench/gui/Window.cpp", "throw Failure(QString(\"No %1.\").arg(strName));", uses);
    EXPECT_EQ(uses.indirect.size(), 1u);
}

TEST(WordingScan, CommentsLookNothingUp)
{
    WordingUses uses;
    ScanSource("a.cpp", "// Wording(\"a\")\n/* Wording(\"b\") */ char c = '\"'; x = Wording(\"c\");", uses);
    EXPECT_EQ(uses.keys, QSet<QString>{"c"});
}

TEST(WordingScan, AFormShowsItsTexts)
{
    WordingUses uses;
    ScanForm("<ui><string>Shown</string><string notr=\"true\">Fixed</string><string></string></ui>", uses);
    EXPECT_EQ(uses.keys, QSet<QString>{"Shown"});
}

TEST(WordingUse, EveryTextThatIsLookedUpHasItsWordings)
{
    ASSERT_GT(Uses().keys.size(), 50);
    for (const char* pLanguage : {"zh", "de", "es"}) {
        const QStringList listKeys = TableKeys(pLanguage);
        for (const QString& strKey : AllKeys()) {
            EXPECT_TRUE(listKeys.contains(strKey)) << pLanguage << " lacks: " << qPrintable(strKey);
        }
    }
}

TEST(WordingUse, EveryWordingIsLookedUpSomewhere)
{
    const QSet<QString> keys = AllKeys();
    for (const char* pLanguage : {"zh", "de", "es"}) {
        for (const QString& strKey : TableKeys(pLanguage)) {
            EXPECT_TRUE(keys.contains(strKey)) << pLanguage << " has what nothing uses: " << qPrintable(strKey);
        }
    }
}

TEST(WordingUse, EveryPlaceWhoseKeyIsNoLiteralIsListed)
{
    for (const IndirectWording& place : Uses().indirect) {
        const bool bListed =
            std::any_of(KeysAtRunTime().begin(), KeysAtRunTime().end(), [&place](const RunTimeKeys& listed) {
                return listed.strFile == place.strFile && listed.strExpression == place.strExpression;
            });
        EXPECT_TRUE(bListed) << qPrintable(place.strFile) << " looks up " << qPrintable(place.strExpression);
    }
}

TEST(WordingUse, TheListOfThesePlacesIsTrue)
{
    for (const RunTimeKeys& listed : KeysAtRunTime()) {
        const bool bThere =
            std::any_of(Uses().indirect.begin(), Uses().indirect.end(), [&listed](const IndirectWording& place) {
                return listed.strFile == place.strFile && listed.strExpression == place.strExpression;
            });
        EXPECT_TRUE(bThere) << qPrintable(listed.strFile) << " " << qPrintable(listed.strExpression);
        for (const QString& strKey : listed.listKeys) {
            EXPECT_TRUE(Uses().literals.contains(strKey)) << qPrintable(strKey);
        }
    }
}
