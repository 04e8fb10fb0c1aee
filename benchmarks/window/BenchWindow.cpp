// How long the workbench's window does not answer. A timer of 2 ms ticks while the real plug-in makes live pictures of
// the simulated machine, the machine works, and the picture is zoomed and moved; the longest time between two ticks is
// how long a person waits. Prints it for each of these, in milliseconds. Needs a calibrated machine:
//
//     workbench demo --out out && bench_window out/data

#include "AreaView.h"
#include "DataFolder.h"
#include "HostSession.h"
#include "Theme.h"
#include "WorkbenchWindow.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPushButton>
#include <QScrollBar>
#include <QTimer>
#include <QWheelEvent>

#include <algorithm>
#include <cstdio>
#include <functional>

namespace
{

class Heartbeat
{
public:
    Heartbeat()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, [this] {
            m_nLongestUs = std::max(m_nLongestUs, m_clock.nsecsElapsed() / 1000);
            m_clock.restart();
            ++m_nTicks;
        });
        m_clock.start();
        m_timer.start(2);
    }
    /// Runs the event loop and calls `act` every 30 ms.
    void Measure(const char* pName, int nMs, const std::function<void(int)>& act)
    {
        QEventLoop loop;
        QTimer::singleShot(nMs, &loop, &QEventLoop::quit);
        QTimer actor;
        int nAct = 0;
        QObject::connect(&actor, &QTimer::timeout, [&] { act(nAct++); });
        actor.start(30);
        m_clock.restart();
        m_nLongestUs = 0;
        m_nTicks = 0;
        loop.exec();
        std::printf("%-34s longest gap %6.1f ms, mean %5.1f ms\n", pName, static_cast<double>(m_nLongestUs) / 1000.0,
                    static_cast<double>(nMs) / std::max(1, m_nTicks));
    }

private:
    QTimer m_timer;
    QElapsedTimer m_clock;
    qint64 m_nLongestUs = 0;
    int m_nTicks = 0;
};

void Wheel(Workbench::AreaView& view, int nTurns)
{
    const QPointF place = QRectF(view.viewport()->rect()).center();
    QWheelEvent event(place, view.viewport()->mapToGlobal(place), {}, {0, 120 * nTurns}, Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(view.viewport(), &event);
}

} // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QCoreApplication::setApplicationName("CalibrateTwoCameraWorkbench");
    if (argc < 2) {
        std::fprintf(stderr, "Usage: bench_window DATA_FOLDER\n");
        return 2;
    }
    Workbench::UseDataFolder(argv[1]);
    Workbench::ApplyTheme(application);
    Workbench::HostSession session(Simulator::Machine::Kind::Automatic, std::nullopt);
    Workbench::WorkbenchWindow window(session);
    window.resize(1600, 1000);
    window.show();
    window.Start();
    auto& view = *window.findChild<Workbench::AreaView*>("areaView");
    const auto press = [&window](const char* pName) { window.findChild<QPushButton*>(pName)->click(); };

    Heartbeat heartbeat;
    heartbeat.Measure("start, first pictures", 6000, [](int) {});
    if (!view.HasPicture()) {
        std::fprintf(stderr, "There is no picture: is the machine calibrated?\n");
        return 1;
    }
    heartbeat.Measure("live", 6000, [](int) {});
    heartbeat.Measure("live, zooming in and out", 8000, [&](int n) { Wheel(view, n % 40 < 20 ? 1 : -1); });
    heartbeat.Measure("live, moving at full size", 6000, [&](int n) {
        if (n == 0) {
            Wheel(view, 12);
        }
        view.horizontalScrollBar()->setValue(view.horizontalScrollBar()->value() + (n % 40 < 20 ? 40 : -40));
    });
    heartbeat.Measure("live, machine at work", 8000, [&](int n) {
        if (n % 60 == 10) {
            press(n % 120 == 10 ? "pushButton_placeMaterial" : "pushButton_engraveScale");
        }
    });
    return 0;
}
