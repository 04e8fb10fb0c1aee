#pragma once

// What a simulated machine is in the middle of, as a file: a machine of metal keeps its bed when the host's process
// ends, and so an interrupted calibration can go on. Read and written by `SimulatedDevice` alone.

#include "Machine.h"

#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

namespace Workbench
{

struct BedRecord {
    Simulator::Machine::Kind kind = Simulator::Machine::Kind::Automatic;
    std::uint64_t nSeed = 1;
    int nSheets = 0;                               ///< fresh materials that were placed so far
    std::vector<Simulator::EngravedLine> engraved; ///< into the material that lies there
    QString strPattern;                            ///< name of the pattern that was sent; empty without one
    std::vector<Simulator::EngravedLine> pattern;  ///< its lines
    std::optional<std::size_t> nEngravedOfPattern; ///< lines of it that lie on the bed; empty before the engraving
};

/// JSON, whole or not at all; false, with a log line, when it cannot be written or holds more lines than any pattern.
bool WriteBedFile(const BedRecord& record, const QString& strFile);
/// Empty where there is no file, and with a log line where it is no such record.
std::optional<BedRecord> ReadBedFile(const QString& strFile);

} // namespace Workbench
