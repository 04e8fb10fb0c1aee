#pragma once

// Builds the pattern document of a grid: one cross for each point and an arrow head at the first and the last one. The
// only place where a document is built, for the direct driver and for the host's device service alike. The layer and
// all below it are made by `new`, one by one; once the document is handed over they belong to the receiver. A document
// that nobody took over is given to `DeleteMicroLine`.

#include "MicroLine.h"

#include <QList>
#include <QPointF>

/// Fills `document`, whatever stood in it before, with 2 n + 4 lines for n points.
/// @param listPtMm  centres of the crosses, machine millimetres
/// @param dCrossSizeMm  full length of an arm pair
/// @return false, with an empty document and a log line, for a grid without points and for numbers that are not finite
bool FillMicroLine(MicroLineDocument& document, const QList<QPointF>& listPtMm, double dCrossSizeMm);

/// Frees what `FillMicroLine` made below `document` and leaves an empty one. Not for a document that a driver or a host
/// took over.
void DeleteMicroLine(MicroLineDocument& document);
