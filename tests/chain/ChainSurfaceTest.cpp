// A chain made for a controller finds the controller's surface and brackets each pass with it.

#include "chain/ChainFakes.h"
#include "chain/QTDProcessor.h"
#include "chain/TestImages.h"

#include <gtest/gtest.h>

using namespace QTD::Procs;
using ChainFakes::CountingSurface;
using ChainFakes::FakeController;

namespace {

class FailingStage : public BrxImgProcessor {
public:
    uint32_t ProcessImage(BrxImage*, BrxImage*, void*) override { return statusWord(CodeFailed); }
    void Release() override {}
    BrxComponent* GetComponent() override { return nullptr; }
    BrxImage* Output() override { return nullptr; }
};

} // namespace

TEST(ChainSurface, EachPassIsBracketedBySurfaceBeginAndEnd) {
    FakeController controller;
    CountingSurface surface;
    QTDProcessor chain(&controller, false);
    EXPECT_EQ(chain.Parent(), &controller.component);
    EXPECT_EQ(chain.properties.getAs<void*>("display"), static_cast<void*>(&controller));
    EXPECT_EQ(chain.getSurface(), nullptr);
    controller.component.properties.set("surface", QTD::ATTR(static_cast<void*>(&surface)), true);
    EXPECT_EQ(chain.getSurface(), &surface);

    auto input = TestImages::makeMono(8, 4, PixelType::Mono8);
    ASSERT_EQ(chain.Init(input.get(), nullptr), 0u);
    // The stages report to the chain, not to the controller.
    auto* stage = dynamic_cast<QTD::ImageProcessorData*>(chain.GetProcessor("image.output"));
    EXPECT_EQ(stage->Parent(), chain.GetComponent());
    ASSERT_EQ(chain.ProcessImage(input.get(), nullptr, nullptr), 0u);
    EXPECT_EQ(surface.begins, 1);
    EXPECT_EQ(surface.ends, 1);

    // A failing stage still ends the surface.
    chain.AddProcessor("bad", new FailingStage);
    EXPECT_EQ(chain.ProcessImage(input.get(), nullptr, nullptr), statusWord(CodeFailed));
    EXPECT_EQ(surface.begins, 2);
    EXPECT_EQ(surface.ends, 2);
}
