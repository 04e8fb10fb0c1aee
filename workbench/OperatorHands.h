#pragma once

// What a person's eyes and hands do with the open wizard, one thing each: find its window, press a button or a key,
// draw a rectangle, bring a place of a picture under the mouse. The operator script is made of these. What may open a
// box is posted and not sent, since the box has an event loop of its own into which the operator must look. GUI thread
// only.

#include <QPoint>
#include <QPointF>

#include <optional>

class QAbstractButton;
class QGraphicsView;
class QMainWindow;
class QWidget;

namespace Workbench
{

/// Null while no wizard is shown.
QMainWindow* FindWizard();
bool ShowsPicture(const QGraphicsView& view);

void PostClick(QAbstractButton* pButton);
void PostKey(QWidget* pWidget, int nKey);
void PostDoubleClick(QWidget* pViewport, QPoint place);
/// Drags from one corner to the other with the left button, then clicks with the right one. Widget pixels.
void PostRectangle(QWidget* pWidget, QPoint from, QPoint to);

/// Moves and zooms the picture one step towards seeing this place, clear of what floats over it.
/// @param target  scene pixels, which are the picture's
/// @param dScale  least zoom
/// @return where the place is in the viewport, once it can be clicked
std::optional<QPoint> Reach(QGraphicsView& view, QPointF target, double dScale);

} // namespace Workbench
