#pragma once

// What a host passes as the wizard's parent: a widget with the slot that is told when the wizard ends.

#include <QWidget>

class HostWindow : public QWidget
{
    Q_OBJECT

public:
    int nClosed = 0;

public slots:
    void CloseWizardSlot() { ++nClosed; }
};
