#pragma once

// The list of languages under its own label. Each entry names itself in its language; choosing one switches all open
// windows, the wizard's too.

#include <QWidget>

class QComboBox;
class QLabel;

namespace Workbench
{

class LanguageBox : public QWidget
{
    Q_OBJECT

public:
    explicit LanguageBox(QWidget* pParent = nullptr);

protected:
    void changeEvent(QEvent* pEvent) override;

private:
    void Retranslate();

    QLabel* m_pLabel;
    QComboBox* m_pList;
};

} // namespace Workbench
