#include "CommandLine.h"
#include "Commands.h"
#include "Demo.h"
#include "Failure.h"

#include <QCoreApplication>

#include <cstdio>
#include <exception>

// Weak: another log library need not offer it.
__attribute__((weak)) void ILog_SetStandardErrorLevel(int nLevel);

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    // The configuration folder's name for this host; an organisation would add a folder level.
    QCoreApplication::setApplicationName("CalibrateTwoCameraWorkbench");
    QCoreApplication::setApplicationVersion("0.1");
    // A failure is one sentence of the command's own; the log file has the rest.
    if (ILog_SetStandardErrorLevel) {
        ILog_SetStandardErrorLevel(4);
    }
    try {
        const Workbench::CommandLine line = Workbench::ParseCommandLine(QCoreApplication::arguments().mid(1));
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
    } catch (const Workbench::Failure& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return failure.Code();
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "This did not work: %s\n", exception.what());
        return Workbench::Failed;
    }
}
