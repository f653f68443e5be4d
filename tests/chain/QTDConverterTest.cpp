// How the converter borrows a controller's chain up to "image.output", and how it fails; its
// pixels for each source family are checked with the chain's passes.

#include "chain/QTDConverter.h"
#include "chain/ChainFakes.h"
#include "chain/QTDProcessor.h"
#include "chain/TestImages.h"

#include <gtest/gtest.h>

using namespace QTD::Procs;
using ChainFakes::BorrowedChain;
using ChainFakes::CountingSurface;
using ChainFakes::FakeController;
using ChainFakes::FakeStage;
using TestImages::Image;

namespace {

// Runs one conversion the way the controller does: the final state, or minus the code.
int convert(QTDConverter& converter, BrxImage* source, BrxImage* target) {
    if (!converter.BeginProcessing())
        return -1;
    const uint32_t word = converter.ProcessImage(source, target, nullptr);
    const int state = converter.state;
    converter.EndProcessing();
    return word != 0 ? -int(statusCode(word)) : state;
}

} // namespace

// A chain made for a controller finds the controller's surface and brackets each pass with it;
// a conversion does too, and stops at "image.output".
TEST(Converter, StopsAtTheOutputStageAndBracketsTheSurface) {
    auto mono = TestImages::makeMono(8, 4, PixelType::Mono8);
    mono->imageID = 41;
    ChainFakes::Journal journal; // outlives the chain
    BorrowedChain setup(mono.get());
    ASSERT_EQ(setup.chainCode, 0u);
    QTDProcessor& chain = setup.chain;
    CountingSurface surface;
    setup.controller.component.properties.set("surface", QTD::ATTR(static_cast<void*>(&surface)),
                                              true);
    ASSERT_EQ(chain.AddProcessor("image.display", new FakeStage(&journal, "display")), 0);
    ASSERT_EQ(chain.ProcessImage(mono.get(), nullptr, nullptr), 0u);
    EXPECT_EQ(journal.calls.size(), 1u);
    EXPECT_EQ(std::make_pair(surface.begins, surface.ends), std::make_pair(1, 1));

    Image target = TestImages::make(8, 4, PixelType::RGB8);
    QTDConverter converter(&setup.controller, false);
    ASSERT_EQ(converter.Init(setup.chain.Format(true), target.get()), 0u);
    ASSERT_EQ(convert(converter, mono.get(), target.get()), QTDConverter::StateDone);
    EXPECT_EQ(journal.calls.size(), 1u);
    EXPECT_EQ(std::make_pair(surface.begins, surface.ends), std::make_pair(2, 2));
    EXPECT_EQ(target->imageID, 41u);
    EXPECT_EQ(converter.state, QTDConverter::StateReady);

    // A failing stage fails the pass and the request, the surface still ended.
    ASSERT_EQ(chain.InsertProcessor(const_cast<char*>("image.output"), "bad",
                                    new FakeStage(&journal, "bad", statusWord(CodeFailed))),
              0);
    EXPECT_EQ(chain.ProcessImage(mono.get(), nullptr, nullptr), statusWord(CodeFailed));
    EXPECT_EQ(surface.ends, 3);
    EXPECT_EQ(convert(converter, mono.get(), target.get()), -int(CodeFailed));
    EXPECT_EQ(journal.calls, (std::vector<std::string>{"display", "bad", "bad"}));
    EXPECT_EQ(surface.ends, 4);
}

TEST(Converter, SetUpFailuresAndANewGeometry) {
    auto mono = TestImages::makeMono(8, 4, PixelType::Mono8);
    Image target = TestImages::make(8, 4, PixelType::RGB8);

    // Without a controller, or with a controller that has no chain.
    QTDConverter orphan(nullptr, false);
    EXPECT_EQ(orphan.Init(mono.get(), target.get()), statusWord(CodeNotReady));
    FakeController bare;
    QTDConverter noChain(&bare, false);
    EXPECT_EQ(noChain.Init(nullptr, target.get()), statusWord(CodeBadArgument));
    EXPECT_EQ(noChain.Init(mono.get(), target.get()), statusWord(CodeNotReady));
    EXPECT_FALSE(noChain.BeginProcessing());
    EXPECT_EQ(noChain.ProcessImage(mono.get(), target.get(), nullptr), statusWord(CodeBadArgument));

    BorrowedChain setup(mono.get());
    ASSERT_EQ(setup.chainCode, 0u);
    QTDConverter converter(&setup.controller, false);
    // The input must have the size that enters "image.output".
    auto other = TestImages::makeMono(9, 4, PixelType::Mono8);
    EXPECT_EQ(converter.Init(other.get(), target.get()), statusWord(CodeNotReady));
    EXPECT_EQ(converter.Init(mono.get(), nullptr), statusWord(CodeNoResources));

    ASSERT_EQ(converter.Init(mono.get(), target.get()), 0u);
    // Sources and targets of another size are refused before anything runs.
    Image wide = TestImages::make(9, 4, PixelType::RGB8);
    EXPECT_EQ(converter.ProcessImage(mono.get(), wide.get(), nullptr), statusWord(CodeBadArgument));
    EXPECT_EQ(converter.ProcessImage(other.get(), target.get(), nullptr),
              statusWord(CodeBadArgument));
    EXPECT_EQ(converter.ProcessImage(nullptr, target.get(), nullptr), statusWord(CodeBadArgument));
    EXPECT_EQ(converter.state, QTDConverter::StateReady);

    // Targets of the right size but another layout fail in the last stage: state 16.
    Image grey = TestImages::make(8, 4, PixelType::Mono8);
    EXPECT_EQ(convert(converter, mono.get(), grey.get()), QTDConverter::StateLastStageFailed);

    // Once the chain is composed for the new geometry, the converter is set up again for it.
    ASSERT_EQ(setup.chain.Init(other.get(), nullptr), 0u);
    ASSERT_EQ(converter.Init(other.get(), wide.get()), 0u);
    EXPECT_EQ(convert(converter, other.get(), wide.get()), QTDConverter::StateDone);
    EXPECT_EQ(convert(converter, mono.get(), target.get()), -int(CodeBadArgument));

    converter.Release();
    EXPECT_FALSE(converter.BeginProcessing());
}

TEST(Converter, OnAnOpenGLChainTheOutputStageIsAskedToReadBack) {
    // A stand-in output stage on a chain marked for OpenGL; its component counts the requests.
    struct ReadBackStage : FakeStage, QTD::ComponentImpl {
        using FakeStage::FakeStage;
        BrxComponent* GetComponent() override { return static_cast<QTD::ComponentImpl*>(this); }
        unsigned int RunCommand(const char* command) override {
            readBacks += QTD::ATTR(command).same("readGPU");
            return 0;
        }
        int readBacks = 0;
    };
    auto mono = TestImages::makeMono(8, 4, PixelType::Mono8);
    ChainFakes::Journal journal;           // outlives the chain
    BorrowedChain setup(mono.get(), true); // no GPU stages here: composed empty
    auto* stage = new ReadBackStage(&journal, "image.output");
    stage->inFormat = stage->outFormat = mono.get();
    ASSERT_EQ(setup.chain.AddProcessor("image.output", stage), 0);

    Image target = TestImages::make(8, 4, PixelType::Mono8);
    QTDConverter converter(&setup.controller, true);
    ASSERT_EQ(converter.Init(mono.get(), target.get()), 0u);
    ASSERT_EQ(convert(converter, mono.get(), target.get()), QTDConverter::StateDone);
    EXPECT_EQ(stage->readBacks, 1);
    EXPECT_EQ(std::memcmp(target->imageData, mono->imageData, mono->imageSize), 0);

    // A stage that keeps its result readable needs no request.
    stage->properties.set("readGPU", "1", true);
    ASSERT_EQ(converter.ProcessImage(mono.get(), target.get(), nullptr), 0u);
    EXPECT_EQ(stage->readBacks, 1);
}
