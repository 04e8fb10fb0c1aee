#pragma once

// The window of the small plug-in: it ends in the two ways in which the wizard ends.

#include <QFile>
#include <QMainWindow>
#include <QMessageBox>
#include <QPushButton>
#include <QStandardPaths>
#include <QVBoxLayout>

class SmallWizard : public QMainWindow
{
    Q_OBJECT

public:
    explicit SmallWizard(QWidget* pParent) : QMainWindow(pParent)
    {
        setWindowModality(Qt::ApplicationModal);
        auto* const pCentre = new QWidget;
        auto* const pLayout = new QVBoxLayout(pCentre);
        auto* const pConfirm = new QPushButton("Ok");
        pConfirm->setObjectName("pushButton_confirm");
        auto* const pCancel = new QPushButton("Cancel");
        pCancel->setObjectName("pushButton_cancel");
        pLayout->addWidget(pConfirm);
        pLayout->addWidget(pCancel);
        setCentralWidget(pCentre);
        connect(pConfirm, &QPushButton::clicked, this, [this] {
            QMessageBox(QMessageBox::Information, "Tips", "Adjusting success!", QMessageBox::Ok).exec();
            End();
        });
        connect(pCancel, &QPushButton::clicked, this, [this] {
            QMessageBox box(QMessageBox::Question, "Tips", "Leave?", QMessageBox::Yes | QMessageBox::Cancel, this);
            if (box.exec() == QMessageBox::Yes) {
                End();
            }
        });
    }

signals:
    void ExitCalibDlgSignal();

protected:
    void closeEvent(QCloseEvent*) override
    {
        QFile::remove(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                      "/Quillboost/Resources/Vision/calib/Camera_Two/Progress.ini");
    }

private:
    void End()
    {
        close();
        emit ExitCalibDlgSignal();
    }
};
