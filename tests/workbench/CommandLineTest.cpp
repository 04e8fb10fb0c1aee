#include "CommandLine.h"
#include "Failure.h"

#include <gtest/gtest.h>

using namespace Workbench;

namespace
{

CommandLine Parse(const QString& strWords)
{
    return ParseCommandLine(strWords.split(' ', Qt::SkipEmptyParts));
}

/// The sentence of a refusal; empty where the words were taken.
QString Refusal(const QString& strWords)
{
    try {
        Parse(strWords);
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.Code(), WrongUse);
        return failure.what();
    }
    return {};
}

} // namespace

TEST(CommandLine, NoWordsAskForHelp)
{
    EXPECT_EQ(Parse("").strCommand, "help");
}

TEST(CommandLine, HelpIsUnderstoodAnywhere)
{
    EXPECT_EQ(Parse("help").strCommand, "help");
    EXPECT_EQ(Parse("--help").strCommand, "help");
    EXPECT_EQ(Parse("-h").strCommand, "help");
    EXPECT_EQ(Parse("picture --left a.png --help").strCommand, "help");
}

TEST(CommandLine, VersionIsACommand)
{
    EXPECT_EQ(Parse("--version").strCommand, "version");
}

TEST(CommandLine, ADemonstrationHasDefaults)
{
    const CommandLine line = Parse("demo");
    EXPECT_EQ(line.strOut, "out");
    EXPECT_TRUE(line.strDataFolder.isEmpty());
    EXPECT_EQ(line.nSeed, 1u);
    EXPECT_EQ(line.ClickErrorPx(), 3.0);
}

TEST(CommandLine, ADemonstrationTakesAllItsOptions)
{
    const CommandLine line = Parse("demo --seed 7 --click-error 1.5 --out there --data folder");
    EXPECT_EQ(line.nSeed, 7u);
    EXPECT_EQ(line.ClickErrorPx(), 1.5);
    EXPECT_EQ(line.strOut, "there");
    EXPECT_EQ(line.strDataFolder, "folder");
}

TEST(CommandLine, TheWindowIsAskedForByAnOption)
{
    EXPECT_EQ(Parse("--gui").strCommand, "gui");
    EXPECT_EQ(Parse("--gui").strFlow, "automatic");
    const CommandLine line = Parse("--gui --flow manual --seed 7 --data folder");
    EXPECT_EQ(line.strFlow, "manual");
    EXPECT_EQ(line.nSeed, 7u);
    EXPECT_EQ(line.strDataFolder, "folder");
    EXPECT_FALSE(Refusal("--gui --flow sideways").isEmpty());
    EXPECT_FALSE(Refusal("--gui --left a.png").isEmpty());
    EXPECT_FALSE(Refusal("--gui now").isEmpty());
}

TEST(CommandLine, TheOpeningIsOneOfThreeAndTheFusionIsOfTheManualFlow)
{
    EXPECT_EQ(Parse("calibrate").strOpening, "whole");
    EXPECT_EQ(Parse("calibrate --opening coordinates").strOpening, "coordinates");
    EXPECT_EQ(Parse("calibrate --opening fusion --flow manual").strOpening, "fusion");
    EXPECT_FALSE(Refusal("calibrate --opening fusion").isEmpty());
    EXPECT_FALSE(Refusal("calibrate --opening half").isEmpty());
    EXPECT_FALSE(Refusal("demo --opening coordinates").isEmpty());
}

TEST(CommandLine, APictureTakesAllItsOptions)
{
    const CommandLine line = Parse("picture --left a.png --right b.png --out c.png --size 900x600 --data d");
    EXPECT_EQ(line.strLeft, "a.png");
    EXPECT_EQ(line.strRight, "b.png");
    EXPECT_EQ(line.strOut, "c.png");
    EXPECT_EQ(line.sizeMm, QSize(900, 600));
    EXPECT_EQ(line.strDataFolder, "d");
}

TEST(CommandLine, AValueMayStandBehindAnEqualsSign)
{
    const CommandLine line = Parse("picture --left=a=1.png --right b.png --out=c.png --size=900x600");
    EXPECT_EQ(line.strLeft, "a=1.png");
    EXPECT_EQ(line.strRight, "b.png");
    EXPECT_EQ(line.strOut, "c.png");
    EXPECT_EQ(line.sizeMm, QSize(900, 600));
    EXPECT_TRUE(Refusal("demo --out --seed 4").contains("The option --out needs a value."));
    EXPECT_EQ(Refusal("demo --colour=red"), "demo has no option '--colour'. See --help.");
}

TEST(CommandLine, APictureWithoutSizeMeansTheMachinesOwn)
{
    EXPECT_FALSE(Parse("picture --left a --right b --out c").sizeMm.isValid());
}

TEST(CommandLine, APictureNeedsBothPicturesAndAPlace)
{
    EXPECT_TRUE(Refusal("picture --right b --out c").contains("--left"));
    EXPECT_TRUE(Refusal("picture --left a --out c").contains("--right"));
    EXPECT_TRUE(Refusal("picture --left a --right b").contains("--out"));
}

TEST(CommandLine, APointMayBeNegative)
{
    const CommandLine line = Parse("to-pixel -5 2.5 --data d");
    EXPECT_EQ(line.dX, -5.0);
    EXPECT_EQ(line.dY, 2.5);
}

TEST(CommandLine, APointNeedsTwoNumbers)
{
    for (const char* pWords : {"to-world", "to-world 1", "to-world 1 2 3", "to-pixel 1"}) {
        EXPECT_TRUE(Refusal(pWords).contains("two numbers")) << pWords;
    }
}

TEST(CommandLine, WhatIsNoNumberIsNamed)
{
    for (const char* pWord : {"abc", "1,5", "nan", "inf", "1e400", "0x10"}) {
        EXPECT_TRUE(Refusal(QString("to-world %1 2").arg(pWord)).contains(pWord)) << pWord;
    }
    EXPECT_TRUE(Refusal("to-world 1 2e").startsWith("Y "));
}

TEST(CommandLine, ANumberBeyondAllMachinesIsRefused)
{
    EXPECT_TRUE(Refusal("to-world 1000000 2").isEmpty());
    EXPECT_FALSE(Refusal("to-world 1000001 2").isEmpty());
    EXPECT_FALSE(Refusal("to-world 1 -1e39").isEmpty());
}

TEST(CommandLine, ASizeIsTwoWholeNumbersWithinReason)
{
    for (const char* pSize : {"900", "900x", "x600", "0x600", "900x0", "-1x5", "5001x5", "1.5x2", "99999999999x1"}) {
        EXPECT_TRUE(Refusal(QString("picture --left a --right b --out c --size %1").arg(pSize)).contains(pSize))
            << pSize;
    }
}

TEST(CommandLine, ASeedIsAWholeNumber)
{
    for (const char* pSeed : {"x", "-1", "1.5", "99999999999999999999999"}) {
        EXPECT_TRUE(Refusal(QString("demo --seed %1").arg(pSeed)).contains(pSeed)) << pSeed;
    }
}

TEST(CommandLine, AClickErrorOutsideOfReasonIsRefused)
{
    EXPECT_FALSE(Refusal("demo --click-error -1").isEmpty());
    EXPECT_FALSE(Refusal("demo --click-error 101").isEmpty());
    EXPECT_TRUE(Refusal("demo --click-error 0").isEmpty());
}

TEST(CommandLine, UnknownWordsAreNamed)
{
    EXPECT_TRUE(Refusal("bogus").contains("bogus"));
    EXPECT_TRUE(Refusal("demo --left a.png").contains("--left"));
    EXPECT_TRUE(Refusal("demo stray").contains("stray"));
}

TEST(CommandLine, AnOptionWithoutValueIsNamed)
{
    EXPECT_TRUE(Refusal("demo --seed").contains("--seed"));
    EXPECT_TRUE(Refusal("demo --out=").contains("--out"));
    EXPECT_THROW(ParseCommandLine({"demo", "--out", ""}), Failure);
}

TEST(CommandLine, TheHelpNamesEveryCommandAndOption)
{
    for (const char* pWord : {"demo", "picture", "to-world", "to-pixel", "--out", "--seed", "--click-error", "--left",
                              "--right", "--size", "--data", "Exit codes"}) {
        EXPECT_TRUE(HelpText().contains(pWord)) << pWord;
    }
}

TEST(CommandLine, TheHelpFitsAWideTerminal)
{
    for (const QString& strLine : HelpText().split('\n')) {
        EXPECT_LE(strLine.size(), 130) << qPrintable(strLine);
    }
}

TEST(CommandLine, ALensTakesAllItsOptions)
{
    const CommandLine line =
        Parse("lens --images there --out lens.xml --chart 10x12 --spacing 12.5 --coverage field.png");
    EXPECT_EQ(line.strImages, "there");
    EXPECT_EQ(line.strOut, "lens.xml");
    EXPECT_EQ(line.chartDiscs, QSize(10, 12));
    EXPECT_EQ(line.dSpacingMm, 12.5);
    EXPECT_EQ(line.strCoverage, "field.png");
}

TEST(CommandLine, ALensHasTheWizardsChartAndNoSpacing)
{
    const CommandLine line = Parse("lens --images there --out lens.xml");
    EXPECT_EQ(line.chartDiscs, QSize(7, 9));
    EXPECT_EQ(line.dSpacingMm, 0.0);
    EXPECT_TRUE(line.strCoverage.isEmpty());
}

TEST(CommandLine, ALensNeedsPicturesAndAPlace)
{
    EXPECT_TRUE(Refusal("lens --images there").contains("--out"));
    EXPECT_TRUE(Refusal("lens --out lens.xml").contains("--images"));
    EXPECT_FALSE(Refusal("lens there --out lens.xml").isEmpty());
    EXPECT_FALSE(Refusal("lens --images there --out lens.xml --data d").isEmpty());
}

TEST(CommandLine, AChartIsThreeToSixtyDiscsASide)
{
    for (const char* pChart : {"2x9", "7x2", "61x9", "7x61", "7", "7x", "7x9x2", "-7x9", "sevenxnine", "100x9"}) {
        EXPECT_TRUE(Refusal(QString("lens --images i --out o --chart %1").arg(pChart)).contains(pChart)) << pChart;
    }
    EXPECT_EQ(Parse("lens --images i --out o --chart 3x60").chartDiscs, QSize(3, 60));
}

TEST(CommandLine, ASpacingIsAboveZero)
{
    for (const char* pSpacing : {"0", "-1", "1001", "nan", "wide"}) {
        EXPECT_FALSE(Refusal(QString("lens --images i --out o --spacing %1").arg(pSpacing)).isEmpty()) << pSpacing;
    }
    EXPECT_EQ(Parse("lens --images i --out o --spacing 1000").dSpacingMm, 1000.0);
}
