// What the command "lens" does where a folder tells no lens or a file cannot be written.

#include "LensCommandFixture.h"

#include <sys/stat.h>

#include <iterator>

TEST_F(LensCommand, TheCoverageGoesWhereItIsAskedFor)
{
    ExpectSuccess(RunLens(Seven(), {"--coverage", Own("field.jpg")}));
    EXPECT_FALSE(cv::imread(m_own.Path("field.jpg")).empty());
    EXPECT_FALSE(std::filesystem::exists(m_own.Path("lens_coverage.png")));
}

TEST_F(LensCommand, AFolderWithoutPicturesIsNamed)
{
    ExpectFailure(RunLens(Own("none")), FAILED, "There is no folder " + Own("none"));
    m_own.Write("notes.txt", "no picture");
    const WorkbenchRun run = RunLens(Own(""));
    ExpectFailure(run, FAILED, "There is no picture in " + Own(""));
    EXPECT_TRUE(run.strOutput.isEmpty());
    ExpectFailure(RunLens(Own("notes.txt")), FAILED, "There is no folder " + Own("notes.txt"));
}

TEST_F(LensCommand, PicturesThatShowNoChartTellNoLens)
{
    const WorkbenchRun run = RunLens(Ten());
    ExpectFailure(run, FAILED, "the chart is found in 0 of 3 pictures");
    EXPECT_TRUE(LineOf(run, "1.png").contains("left out: not a lattice of 7 x 9")) << qPrintable(run.strOutput);
    EXPECT_FALSE(std::filesystem::exists(m_own.Path("lens_coverage.png")));
}

TEST_F(LensCommand, TwoChartsAreTooFew)
{
    std::filesystem::create_directory(m_own.Path("two"));
    for (const char* pName : {"1.png", "2.png"}) {
        std::filesystem::copy((Seven() + "/" + pName).toStdString(), m_own.Path("two"));
    }
    m_own.Write("two/damaged.png", "no picture");
    const WorkbenchRun run = RunLens(Own("two"));
    ExpectFailure(run, FAILED, "the chart is found in 2 of 2 pictures, at least 3 are needed");
    EXPECT_TRUE(LineOf(run, "1.png").contains("chart found"));
}

TEST_F(LensCommand, OnlyDamagedPicturesTellNoLens)
{
    std::filesystem::create_directory(m_own.Path("bad"));
    m_own.Write("bad/a.png", "no picture");
    m_own.Write("bad/b.jpg", "");
    ExpectFailure(RunLens(Own("bad")), FAILED, "there are no pictures");
}

TEST_F(LensCommand, APlaceThatCannotBeWrittenIsToldBeforeTheWork)
{
    const auto lens = [&](const QString& strOut) { return Run({"lens", "--images", Seven(), "--out", strOut}); };
    ExpectFailure(lens(Own("none/lens.xml")), FAILED, "there is no folder " + Own("none"));
    ExpectFailure(lens(Own("")), FAILED, "it is a folder");
    // A pipe, since a program that failed here would put its file in the place of a device of the system.
    ASSERT_EQ(::mkfifo(m_own.Path("pipe").c_str(), 0600), 0);
    const WorkbenchRun pipe = lens(Own("pipe"));
    ExpectFailure(pipe, FAILED, "it is no file");
    EXPECT_TRUE(pipe.strOutput.isEmpty());
    EXPECT_TRUE(std::filesystem::is_fifo(m_own.Path("pipe")));
}

TEST_F(LensCommand, ACoverageThatCannotBeWrittenLeavesNoLensEither)
{
    const WorkbenchRun run = RunLens(Seven(), {"--coverage", Own("none/c.png")});
    ExpectFailure(run, FAILED, "The picture cannot be written to " + Own("none/c.png"));
    EXPECT_TRUE(run.strOutput.isEmpty()) << "told before the work";
    ExpectFailure(RunLens(Seven(), {"--coverage", Own("c.strange")}), WRONG_USE, "c.strange");
    for (const char* pName : {"a.png", "./a.png", ".local/../a.png"}) {
        std::filesystem::create_directory(m_own.Path(".local"));
        ExpectFailure(Run({"lens", "--images", Seven(), "--out", Own("a.png"), "--coverage", Own(pName)}), WRONG_USE,
                      "the same file");
    }
}

TEST_F(LensCommand, WhereOneOfItsTwoFilesCannotBeWrittenBothStayAsTheyWere)
{
    std::filesystem::create_directory(m_own.Path("out"));
    // A name that fits the disk, but not with what is written beside it.
    const std::string strLong(250, 'l');
    const struct {
        std::string strOut;
        std::string strCoverage;
    } rows[] = {{"out/lens.xml", "out/" + strLong + ".png"}, {"out/" + strLong + ".xml", "out/field.png"}};
    for (const auto& row : rows) {
        m_own.Write(row.strOut, "the lens of before");
        m_own.Write(row.strCoverage, "the field of before");
        const WorkbenchRun run =
            Run({"lens", "--images", Seven(), "--out", Own(row.strOut), "--coverage", Own(row.strCoverage)});
        ExpectFailure(run, FAILED, "cannot be written to " + Own("out/" + strLong));
        EXPECT_EQ(m_own.ReadAll(row.strOut), "the lens of before");
        EXPECT_EQ(m_own.ReadAll(row.strCoverage), "the field of before");
        const std::filesystem::directory_iterator entries(m_own.Path("out"));
        EXPECT_EQ(std::distance(begin(entries), end(entries)), 2) << "nothing else is left";
        std::filesystem::remove(m_own.Path(row.strOut));
        std::filesystem::remove(m_own.Path(row.strCoverage));
    }
}

TEST_F(LensCommand, TheCoverageOfAnEarlierRunIsNoPhotograph)
{
    const QString strFolder = QString::fromStdString(CopyOfSeven());
    for (int i = 0; i < 2; ++i) {
        const WorkbenchRun run = Run({"lens", "--images", strFolder, "--out", Own("copy/lens.xml")});
        ExpectSuccess(run);
        EXPECT_TRUE(run.strOutput.contains("5 of 5 pictures used")) << qPrintable(run.strOutput);
        EXPECT_TRUE(std::filesystem::exists(m_own.Path("copy/lens_coverage.png")));
    }
    // The name alone says nothing.
    std::filesystem::rename(m_own.Path("copy/1.png"), m_own.Path("copy/lens_coverage.png"));
    const WorkbenchRun elsewhere = RunLens(strFolder);
    EXPECT_TRUE(elsewhere.strOutput.contains("5 of 5 pictures used")) << qPrintable(elsewhere.strOutput);
}
