#include "CameraWorker.h"
#include "LibraryLoader.h"
#include "ModalAnswers.h"
#include "ModuleDoubles.h"
#include "Snapshot.h"

#include <gmock/gmock.h>

namespace
{

TEST(WithoutTheCameraModule, AWorkerSaysSoOnceAndIsLegal)
{
    Doubles::Reset();
    ModalAnswers answers;

    CameraWorker worker;

    EXPECT_EQ(answers.OnlyText(), "Load Camera failed! \n");
    EXPECT_TRUE(worker.OpenCamera("Camera-Left"));
    worker.LoopSnapSlot();
    EXPECT_TRUE(worker.IsStopped());
    EXPECT_TRUE(g_listLoadedModules.empty());
}

TEST(WithoutTheCameraModule, APageIsToldOnceAndItsPicturesAreEmpty)
{
    Doubles::Reset();
    ModalAnswers answers;

    ICameraDevice* const pCamera = LoadCamera();

    EXPECT_EQ(pCamera, nullptr);
    EXPECT_EQ(answers.OnlyText(), "Load Camera failed! \n");
    QObject page;
    EXPECT_TRUE(SnapOne(pCamera, "Camera-Left", g_handEyeSnapshot, page).empty());
    EXPECT_EQ(answers.Notices().size(), 1u);
}

} // namespace
