#pragma once

// A driver module that writes down what it is told and answers what a test sets beforehand. Its record is reached
// through the export `DriverRecordOf`.

#include "FactoryParam.h"
#include "MicroLine.h"

#include <chrono>
#include <string>
#include <vector>

struct DriverRecord {
    std::vector<std::string> calls; ///< operations in order, as "Name(arguments)"
    bool bGiveInstance = true;
    int nReadResult = 0;
    int nSaveResult = 0;
    int nDownloadResult = 0;
    FactoryParam machine;                           ///< what ReadFactoryParam gives and SaveFactoryParam takes
    std::chrono::steady_clock::time_point readTime; ///< end of the last ReadFactoryParam
    std::chrono::steady_clock::time_point saveTime; ///< start of the last SaveFactoryParam
    MicroLineDocument* pReceived = nullptr;         ///< the test's own from then on
};
