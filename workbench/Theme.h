#pragma once

// The look of the workbench and, through the application's style sheet, of the wizard's pages, which bring none of
// their own. Called once, before the first window.

class QApplication;

namespace Workbench
{

/// Gives the application its style, palette and the style sheet "Res/Theme/workbench.qss" of the install resources. The
/// search path "theme:" then leads to the pictures beside that file.
/// @return false, with one log line, where the style sheet cannot be read; style and palette are set all the same
bool ApplyTheme(QApplication& application);

} // namespace Workbench
