#include "Failure.h"
#include "MachineTypes.h"
#include "OperatorScript.h"

#include <gmock/gmock.h>

#include <QFile>
#include <QTemporaryDir>

#include <sys/stat.h>

namespace
{

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using namespace Workbench;
using Kind = Simulator::Machine::Kind;

/// The first of them is the one that the wizard takes unasked.
const std::vector<MachineType> g_types{
    {"Two", {1300, 900}, {8, 7}, {2, 1}}, {"Three", {600, 400}, {8, 7}, {1, 3}}, {"M", {900, 600}, {6, 3}, {3, 3}}};

class ScriptFile : public testing::Test
{
protected:
    QString Write(const QByteArray& content)
    {
        const QString strFile = m_folder.filePath("operator.json");
        QFile file(strFile);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        return strFile;
    }
    OperatorScript Read(const QByteArray& content, Kind flow = Kind::Automatic)
    {
        return ReadOperatorScript(Write(content), flow, g_types);
    }
    static std::string ProblemOf(const QString& strFile, Kind flow = Kind::Automatic, ExitCode code = WrongUse)
    {
        try {
            ReadOperatorScript(strFile, flow, g_types);
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.Code(), code) << failure.what();
            EXPECT_THAT(failure.what(), HasSubstr(strFile.toStdString()));
            return failure.what();
        }
        return "nothing";
    }
    std::string Problem(const QByteArray& content) { return ProblemOf(Write(content)); }
    std::string ManualProblem(const QByteArray& content) { return ProblemOf(Write(content), Kind::Manual); }

    QTemporaryDir m_folder;
};

/// Eighteen marks, three rows of six, 100 px apart.
std::vector<QPointF> GoodMarks()
{
    std::vector<QPointF> marks;
    for (int i = 0; i < 18; ++i) {
        marks.emplace_back(50 + 100 * (i % 6), 70 + 100 * (i / 6));
    }
    return marks;
}

QByteArray ManualScript(const std::vector<QPointF>& marks, const QByteArray& strRest = {},
                        const QByteArray& region = "[0.4, 0.1, 0.2, 0.8]")
{
    QByteArrayList list;
    for (const QPointF& mark : marks) {
        list.append("[" + QByteArray::number(mark.x()) + "," + QByteArray::number(mark.y()) + "]");
    }
    return R"({"subModel": "M", "region": )" + region + R"(, "marks": [)" + list.join(",") + "]" + strRest + "}";
}

} // namespace

TEST_F(ScriptFile, NamesTheMachineAndTheClicksOfEachCameraInTheirOrder)
{
    const OperatorScript script = Read(
        R"({"subModel": "Three", "left": [[10.5, 20], [1, 2], [1, 20]], "right": [[2591, 1943.25], [0, 0], [50, 5]]})");
    EXPECT_EQ(script.strSubModel, "Three");
    EXPECT_EQ(script.areaMm, QSize(600, 400));
    EXPECT_THAT(script.left, ElementsAre(QPointF(10.5, 20), QPointF(1, 2), QPointF(1, 20)));
    EXPECT_THAT(script.right, ElementsAre(QPointF(2591, 1943.25), QPointF(0, 0), QPointF(50, 5)));
}

TEST_F(ScriptFile, WithoutAMachineTakesTheFirst)
{
    const OperatorScript script = Read(R"({"left": [[1, 2], [9, 9]], "right": [[3, 4], [9, 9]]})");
    EXPECT_TRUE(script.strSubModel.isEmpty());
    EXPECT_EQ(script.areaMm, QSize(1300, 900));
}

TEST_F(ScriptFile, EveryDamageIsNamedWithTheFile)
{
    EXPECT_THAT(ProblemOf(m_folder.filePath("missing.json"), Kind::Automatic, Failed), HasSubstr("cannot be read"));
    EXPECT_THAT(Problem(""), HasSubstr("not a JSON object"));
    EXPECT_THAT(Problem("[1, 2]"), EndsWith("is no JSON object."));
    EXPECT_THAT(Problem("\x7f\x45LF\x01"), HasSubstr("not a JSON object"));
    EXPECT_THAT(Problem(R"({"left": [[1, 2], [9, 9]]})"), HasSubstr("no points under \"right\""));
    EXPECT_THAT(Problem(R"({"left": [], "right": [[1, 2]]})"), HasSubstr("no points under \"left\""));
    EXPECT_THAT(Problem(R"({"left": {"x": 1}, "right": [[1, 2]]})"), HasSubstr("no points under \"left\""));
    EXPECT_THAT(Problem(R"({"left": [[1]], "right": [[1, 2]]})"), HasSubstr("[x, y]"));
    EXPECT_THAT(Problem(R"({"left": [["1", 2]], "right": [[1, 2]]})"), HasSubstr("[x, y]"));
    EXPECT_THAT(Problem(QByteArray((1 << 20) + 1, ' ')), HasSubstr("at most a megabyte"));
}

TEST_F(ScriptFile, APlaceThatNoPictureHasIsRefused)
{
    for (const QByteArray strPlace : {"[-0.5, 2]", "[2, -1e-9]", "[1, 65536]", "[1e300, 2]"}) {
        EXPECT_THAT(Problem(R"({"left": [[9, 9], )" + strPlace + R"(], "right": [[1, 2], [9, 9]]})"),
                    AllOf(HasSubstr("outside of every picture"), HasSubstr("\"left\"")))
            << strPlace.constData();
    }
    for (const QByteArray strPlace : {"[NaN, 2]", "[nan, 2]", "[1, Infinity]"}) {
        EXPECT_THAT(Problem(R"({"left": [[9, 9], )" + strPlace + R"(], "right": [[1, 2], [9, 9]]})"),
                    HasSubstr("not a JSON object"))
            << strPlace.constData();
    }
    EXPECT_THAT(Problem(R"({"left": [[9, 9], [null, 2]], "right": [[1, 2], [9, 9]]})"), HasSubstr("[x, y]"));
}

TEST_F(ScriptFile, AnUnknownMachineIsRefusedAndTheKnownOnesAreTold)
{
    EXPECT_THAT(Problem(R"({"subModel": "Four", "left": [[1, 2]], "right": [[1, 2]]})"),
                AllOf(HasSubstr("\"Four\""), HasSubstr(R"("Two", "Three", "M")")));
    EXPECT_THAT(Problem(R"({"subModel": "two", "left": [[1, 2]], "right": [[1, 2]]})"), HasSubstr("the machines are"));
    EXPECT_THAT(Problem(R"({"subModel": 2, "left": [[1, 2]], "right": [[1, 2]]})"), HasSubstr("no text"));
    EXPECT_THAT(Problem(R"({"subModel": null, "left": [[1, 2]], "right": [[1, 2]]})"), HasSubstr("no text"));
    EXPECT_THAT(ManualProblem(R"({"subModel": "N", "region": [0.4, 0, 0.2, 1], "marks": [[1, 2]]})"),
                HasSubstr("the machines are"));
}

TEST_F(ScriptFile, AKeyThatMeansNothingIsRefused)
{
    EXPECT_THAT(Problem(R"({"submodel": "Two", "left": [[1, 2], [9, 9]], "right": [[3, 4], [9, 9]]})"),
                HasSubstr("\"submodel\", which means nothing"));
    EXPECT_THAT(Problem(R"({"left": [[1, 2], [9, 9]], "right": [[3, 4], [9, 9]], "marks": []})"),
                HasSubstr("\"marks\", which is for the manual flow, and this is the automatic one"));
    EXPECT_THAT(ManualProblem(ManualScript(GoodMarks(), R"(, "left": [])")),
                HasSubstr("\"left\", which is for the automatic flow, and this is the manual one"));
    EXPECT_THAT(ManualProblem(ManualScript(GoodMarks(), R"(, "page": "FusionWdg")")),
                HasSubstr("\"page\", which means nothing"));
}

TEST_F(ScriptFile, AnotherNumberOfClicksThanTheMachinesCrossesIsRefused)
{
    EXPECT_THAT(Problem(R"({"left": [[1, 2], [9, 9]], "right": [[1, 2]]})"),
                AllOf(HasSubstr("1 points under \"right\""), HasSubstr("each camera of Two sees 2 crosses")));
    EXPECT_THAT(Problem(R"({"subModel": "Three", "left": [[1, 2], [9, 9]], "right": [[1, 2]]})"),
                HasSubstr("each camera of Three sees 3 crosses"));
}

TEST_F(ScriptFile, ACrossThatIsClickedTwiceIsRefused)
{
    EXPECT_THAT(Problem(R"({"left": [[1, 2], [9, 9]], "right": [[30, 40], [32, 41]]})"),
                HasSubstr("clicks one cross twice: points 1 and 2 of \"right\""));
}

TEST_F(ScriptFile, OfTheManualFlowNamesTheRegionAndTheMarksInTheirOrder)
{
    const OperatorScript script = Read(ManualScript(GoodMarks(), {}, "[0.4, 0.2, 0.6, 0.8]"), Kind::Manual);
    EXPECT_EQ(script.strSubModel, "M");
    EXPECT_EQ(script.region, QRectF(0.4, 0.2, 0.6, 0.8));
    EXPECT_EQ(script.marks, GoodMarks());
    EXPECT_FALSE(script.findMarks);
}

TEST_F(ScriptFile, DamageToTheRegionIsNamed)
{
    EXPECT_THAT(ManualProblem(R"({"subModel": "M", "marks": [[1, 2]]})"), HasSubstr("\"region\""));
    for (const char* pRegion : {"[0.1, 0.1, 0.5]", "[0.1, 0.1, 0.5, 1.5]", "[-0.1, 0.1, 0.9, 0.5]",
                                "[0.1, 0.1, \"0.5\", 0.5]", "[0.4, 0, 0.2, 1, 1]", "7", "null"}) {
        EXPECT_THAT(ManualProblem(ManualScript(GoodMarks(), {}, pRegion)), HasSubstr("each from 0 to 1")) << pRegion;
    }
    for (const char* pRegion :
         {"[0.4, 0.1, 0, 0.8]", "[0.4, 0.1, 0.2, 0]", "[0.4, 0.1, 0.7, 0.8]", "[0.4, 0.5, 0.2, 0.6]"}) {
        EXPECT_THAT(ManualProblem(ManualScript(GoodMarks(), {}, pRegion)), HasSubstr("beyond the two pictures"))
            << pRegion;
    }
    for (const char* pRegion : {"[0.1, 0.1, 0.3, 0.8]", "[0.1, 0.1, 0.4, 0.8]", "[0.5, 0.1, 0.3, 0.8]"}) {
        EXPECT_THAT(ManualProblem(ManualScript(GoodMarks(), {}, pRegion)), HasSubstr("does not cross the seam"))
            << pRegion;
    }
}

TEST_F(ScriptFile, AMarkTooFewOrTooManyIsRefused)
{
    std::vector<QPointF> marks = GoodMarks();
    marks.push_back({1000, 1000});
    EXPECT_THAT(ManualProblem(ManualScript(marks)), HasSubstr("has 19 marks; there are 18 crosses"));
    marks.resize(17);
    EXPECT_THAT(ManualProblem(ManualScript(marks)), HasSubstr("has 17 marks; there are 18 crosses"));
    EXPECT_THAT(ManualProblem(ManualScript({})), HasSubstr("no points under \"marks\""));
}

TEST_F(ScriptFile, MarksInAnotherOrderAreRefused)
{
    std::vector<QPointF> marks = GoodMarks();
    std::swap(marks[3], marks[4]);
    EXPECT_THAT(
        ManualProblem(ManualScript(marks)),
        AllOf(HasSubstr("not row after row"), HasSubstr("mark 5 at [350, 70] does not lie to the right of mark 4")));
    marks = GoodMarks();
    std::reverse(marks.begin(), marks.end());
    EXPECT_THAT(ManualProblem(ManualScript(marks)),
                HasSubstr("mark 2 at [450, 270] does not lie to the right of mark 1"));
    marks = GoodMarks();
    for (int i = 0; i < 6; ++i) {
        std::swap(marks[i], marks[12 + i]);
    }
    EXPECT_THAT(ManualProblem(ManualScript(marks)), HasSubstr("mark 7 at [50, 170] does not lie below mark 1"));
    // The marks of the left camera's half and of the right one's, each for itself.
    std::vector<QPointF> halves;
    for (const int nFirst : {0, 3}) {
        for (int i = 0; i < 9; ++i) {
            halves.push_back(GoodMarks()[nFirst + 6 * (i / 3) + i % 3]);
        }
    }
    EXPECT_THAT(ManualProblem(ManualScript(halves)),
                HasSubstr("mark 4 at [50, 170] does not lie to the right of mark 3"));
    marks = GoodMarks();
    marks[8] = marks[9];
    EXPECT_THAT(ManualProblem(ManualScript(marks)), HasSubstr("mark 10")) << "one cross is marked twice";
}

TEST_F(ScriptFile, MarksOfATurnedPatternAreInOrderAllTheSame)
{
    std::vector<QPointF> marks = GoodMarks();
    for (QPointF& mark : marks) {
        mark = QPointF(mark.x() - 0.2 * mark.y() + 100.0, mark.y() + 0.2 * mark.x());
    }
    EXPECT_NO_THROW(Read(ManualScript(marks), Kind::Manual));
}

TEST_F(ScriptFile, AMachineWithoutEighteenCrossesIsNoneOfTheManualFlow)
{
    EXPECT_THAT(ManualProblem(ManualScript(GoodMarks()).replace(R"("M")", R"("Two")")),
                HasSubstr("has 56 crosses; the manual flow has 18"));
    // The wizard's first one.
    EXPECT_THAT(ManualProblem(ManualScript(GoodMarks()).replace(R"("subModel": "M", )", "")), HasSubstr("\"Two\""));
}

TEST_F(ScriptFile, APipeIsNotWaitedFor)
{
    const QString strPipe = m_folder.filePath("pipe");
    ASSERT_EQ(mkfifo(strPipe.toLocal8Bit().constData(), 0600), 0);
    EXPECT_THAT(ProblemOf(strPipe), HasSubstr("pipe"));
}

TEST_F(ScriptFile, AMachineLargerThanTheWorkAreaIsRefused)
{
    const OperatorScript script = Read(R"({"left": [[1, 2], [9, 9]], "right": [[3, 4], [9, 9]]})");
    EXPECT_NO_THROW(RequireScriptFits(script, {1300, 900}, {}));
    for (const QSize areaMm : {QSize(1299, 900), QSize(1300, 899)}) {
        try {
            RequireScriptFits(script, areaMm, {});
            ADD_FAILURE() << areaMm.width();
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.Code(), WrongUse);
            EXPECT_THAT(failure.what(), AllOf(HasSubstr("a machine of 1300 x 900 mm"), HasSubstr("operator.json")));
        }
    }
}

TEST_F(ScriptFile, APointOutsideOfAPictureThatIsKnownIsRefused)
{
    const OperatorScript clicks = Read(R"({"left": [[1, 2], [100, 50]], "right": [[3, 4], [9, 60]]})");
    EXPECT_NO_THROW(RequireScriptFits(clicks, {1300, 900}, {.leftPx = {100, 50}, .rightPx = {100, 60}}));
    EXPECT_NO_THROW(RequireScriptFits(clicks, {1300, 900}, {.rightPx = {100, 60}}));
    EXPECT_THROW(RequireScriptFits(clicks, {1300, 900}, {.leftPx = {99, 50}}), Failure);
    EXPECT_THROW(RequireScriptFits(clicks, {1300, 900}, {.rightPx = {100, 59}}), Failure);
    const OperatorScript marks = Read(ManualScript(GoodMarks()), Kind::Manual);
    EXPECT_NO_THROW(RequireScriptFits(marks, {900, 600}, {.fusedPx = {550, 270}}));
    EXPECT_THROW(RequireScriptFits(marks, {900, 600}, {.fusedPx = {549, 270}}), Failure);
}

TEST_F(ScriptFile, TheListOfMachinesIsReadInTheWizardsOrderAndADamagedOneIsNamed)
{
    const std::vector<MachineType> types = ReadMachineTypes(Write(
        R"({"B": {"b": {"X": 10.9, "Y": 20, "Row": 3, "Col": 6, "RowForSingleCamera": 3, "ColForSingleCamera": 4}},
                  "A": {"z": {}, "a": {"X": -5, "Y": 1e300, "Row": "3"}}})"));
    ASSERT_EQ(types.size(), 3u);
    EXPECT_EQ(types[0].strName, "a");
    EXPECT_EQ(types[0].areaMm, QSize(0, 1000000));
    EXPECT_EQ(types[1].strName, "z");
    EXPECT_EQ(types[2].strName, "b");
    EXPECT_EQ(types[2].areaMm, QSize(10, 20));
    EXPECT_EQ(types[2].grid, QSize(6, 3));
    EXPECT_EQ(types[2].gridForSingle, QSize(4, 3));
    for (const char* pContent : {"", "[]", "{", R"({"A": 7})"}) {
        EXPECT_THROW(ReadMachineTypes(Write(pContent)), Failure) << pContent;
    }
    EXPECT_THROW(ReadMachineTypes(m_folder.filePath("missing.json")), Failure);
}
