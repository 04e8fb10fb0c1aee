#include "DataRoot.h"
#include "HandEyePicSetWdg.h"
#include "ModalAnswers.h"
#include "ModuleDoubles.h"
#include "RecordingHost.h"
#include "StepWidgets.h"

#include <QRadioButton>
#include <QSpinBox>

namespace
{

TEST(WithoutTheErrorCodeModule, TheOperatorIsToldOnceAndThePageWorks)
{
    Doubles::Reset();
    const DataRoot data;
    ModalAnswers answers;
    Doubles::RecordingHost host;
    HandEyePicSetWdg page(nullptr, &host);
    EXPECT_EQ(answers.OnlyText(), "Load ErrCodeMgr failed! \n");

    page.show();
    Child<QRadioButton>(page, "radioButton_meterialSize").click();
    Child<QSpinBox>(page, "spinBox_width").setValue(200);
    Child<QSpinBox>(page, "spinBox_height").setValue(100);
    Press(page, "upload");
    EXPECT_EQ(host.lines.size(), 18u * 2 + 4);
    EXPECT_TRUE(Button(page, "confirm").isEnabled());
    EXPECT_EQ(answers.Notices().size(), 1u);
}

} // namespace
