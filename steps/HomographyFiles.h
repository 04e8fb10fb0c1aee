#pragma once

// Writers of the two homographies between marks in a picture and the surface, each from nine pairs: the coordinate page
// of the automatic flow brings them along for a manual run; its own flow has no use for them.

#include <QList>
#include <QPointF>
#include <QString>

/// Both write one 3 x 3 CV_64F matrix under the key "HomMat2D", which takes the picture's pixels to millimetres or
/// back.
/// @param worldMm, imagePx  pairs; those after the ninth are not looked at
/// @param strFile  XML
/// False, and nothing is written, for fewer than nine of either or for points that fit no homography.
bool WritePix2Mm(const QList<QPointF>& worldMm, const QList<QPointF>& imagePx, const QString& strFile);
bool WriteMm2Pix(const QList<QPointF>& worldMm, const QList<QPointF>& imagePx, const QString& strFile);
