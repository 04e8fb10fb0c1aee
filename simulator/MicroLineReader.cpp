#include "Machine.h"
#include "MicroLineWalk.h"

namespace Simulator
{

MicroLineReading ReadMicroLine(const MicroLineDocument& document, std::vector<EngravedLine>& lines)
{
    MicroLineReading reading;
    MicroLineProblems problems;
    WalkMicroLine(
        document.pLayer, problems, [](const MicroLineNode&) {},
        [&](const MicroLineSegment& segment, bool bFinite) {
            if (bFinite) {
                lines.push_back({{segment.dX0, segment.dY0}, {segment.dX1, segment.dY1}});
                ++reading.nSegments;
            }
        });
    reading.bComplete = problems.IsEmpty();
    reading.strProblem = problems.Text();
    return reading;
}

} // namespace Simulator
