#pragma once

// A pattern document with memory of its own, for a host that must keep what stands on a caller's stack: make one inside
// `PutMicroLine` and hold it until the pattern is engraved. It frees itself. Ask `Reading` before it is used: of a
// broken document only what could be read is copied.

#include "Machine.h"
#include "MicroLine.h"

#include <deque>

namespace Simulator
{

class MicroLineCopy
{
public:
    /// Reads `document` along `pNext` only, as `ReadMicroLine` does. Box, reserved words and order are kept.
    explicit MicroLineCopy(const MicroLineDocument& document);
    // The links point into the copy.
    MicroLineCopy(const MicroLineCopy&) = delete;
    MicroLineCopy& operator=(const MicroLineCopy&) = delete;

    /// Whole rings in both directions, even where the original's were broken; without a layer when it had no line.
    const MicroLineDocument& Document() const { return m_document; }
    /// What was read of the original, and what was wrong with it.
    const MicroLineReading& Reading() const { return m_reading; }

private:
    void AddNode(const MicroLineNode& original, const MicroLineSegment& segment);
    void AddSegment(const MicroLineSegment& original);

    MicroLineDocument m_document;
    MicroLineLayer m_layer;
    std::deque<MicroLineNode> m_nodes;
    std::deque<MicroLineSegment> m_segments;
    MicroLineReading m_reading;
};

/// Frees the layer, nodes and segments of a document that its sender handed over for good, each of them once, and
/// leaves the document without a layer. Only where the sender made them by `new`, one by one, as the plug-in does;
/// what broken links no longer reach stays.
void FreeMicroLine(MicroLineDocument& document);

} // namespace Simulator
