#include "CommandLine.h"
#include "Commands.h"
#include "Demo.h"
#include "Failure.h"
#include "Gui.h"
#include "WritableInstall.h"

#include <QApplication>
#include <QCoreApplication>

#include <cstdio>
#include <exception>
#include <memory>

// Weak: another log library need not offer it.
__attribute__((weak)) void ILog_SetStandardErrorLevel(int nLevel);

namespace
{

QStringList Words(int argc, char** argv)
{
    QStringList listWords;
    for (int i = 1; i < argc; ++i) {
        listWords.append(QString::fromLocal8Bit(argv[i]));
    }
    return listWords;
}

int Run(int argc, char** argv)
{
    const Workbench::CommandLine line = Workbench::ParseCommandLine(Words(argc, argv));
    std::unique_ptr<QCoreApplication> pApplication;
    if (line.strCommand == "gui") {
        Workbench::RequireScreen();
        Workbench::RunFromWritableInstall(argv);
        Workbench::RunFromWritableInstall(argv);
        pApplication = std::make_unique<QApplication>(argc, argv);
        return Workbench::RunGui(line);
    }
    pApplication = std::make_unique<QCoreApplication>(argc, argv);
    if (line.strCommand == "help") {
        std::printf("%s", qPrintable(Workbench::HelpText()));
        return Workbench::Success;
    }
    if (line.strCommand == "version") {
        std::printf("workbench %s\n", qPrintable(QCoreApplication::applicationVersion()));
        return Workbench::Success;
    }
    if (line.strCommand == "picture") {
        return Workbench::RunPicture(line);
    }
    return line.strCommand == "demo" ? Workbench::RunDemo(line) : Workbench::RunPoint(line);
}

} // namespace

int main(int argc, char** argv)
{
    // The configuration folder's name for this host; an organisation would add a folder level.
    QCoreApplication::setApplicationName("CalibrateTwoCameraWorkbench");
    QCoreApplication::setApplicationVersion("0.1");
    // A failure is one sentence of the command's own; the log file has the rest.
    if (ILog_SetStandardErrorLevel) {
        ILog_SetStandardErrorLevel(4);
    }
    try {
        return Run(argc, argv);
    } catch (const Workbench::Failure& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return failure.Code();
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "This did not work: %s\n", exception.what());
        return Workbench::Failed;
    }
}
