#include "Gui.h"

#include "DataFolder.h"
#include "Failure.h"
#include "HostSession.h"
#include "Theme.h"
#include "WorkbenchWindow.h"

#include <QApplication>
#include <QDir>

namespace Workbench
{

void RequireScreen()
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY") &&
        qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
        throw Failure("There is no screen to show the window on: neither DISPLAY nor WAYLAND_DISPLAY is set.");
    }
}

int RunGui(const CommandLine& line)
{
    UseDataFolder(line.strDataFolder);
    if (!QDir().mkpath(DataRoot())) {
        throw Failure("The folder %1 cannot be made.", {DataRoot()});
    }
    const auto flow = line.strFlow == "manual" ? Simulator::Machine::Kind::Manual : Simulator::Machine::Kind::Automatic;
    ApplyTheme(*qApp);
    HostSession session(flow, line.bSeedGiven ? std::optional(line.nSeed) : std::nullopt);
    WorkbenchWindow window(session);
    window.show();
    window.Start();
    return QApplication::exec();
}

} // namespace Workbench
