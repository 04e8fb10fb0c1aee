#pragma once

// Patterns for a machine as files, name ending ".kv": plain text that a person can read and write, see
// docs/resources.md. The simulated machine reads them; what draws the fusion patterns writes them.

#include "Machine.h"

#include <string>
#include <vector>

namespace Workbench
{

struct PatternFile {
    cv::Size2d bedMm; ///< the bed that it is meant for; no line leaves it
    std::vector<Simulator::EngravedLine> lines;
};

/// @return what is wrong with the file, with the number of the line, and `pattern` is left alone; empty where nothing
/// is
std::string ReadPatternFile(const std::string& strFile, PatternFile& pattern);
/// Whole or not at all. Coordinates are rounded to a thousandth of a millimetre.
/// @return what is wrong; a pattern that could not be read again is not written
std::string WritePatternFile(const PatternFile& pattern, const std::string& strFile);

} // namespace Workbench
