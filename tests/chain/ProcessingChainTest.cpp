// The chain as a list of named stages and as a loop over them, with stand-in stages.

#include "chain/ChainFakes.h"
#include "chain/QTDProcessor.h"
#include "chain/TestImages.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace QTD::Procs;

using ChainFakes::FakeStage;
using ChainFakes::Journal;

TEST(ImageProcessorData, EnableIsAClampedCount) {
    QTD::ImageProcessorData data; // the count goes 1, 0, 0, 1, 2, 1, 0
    const bool on[6] = {false, false, true, true, false, false};
    const bool enabled[6] = {false, false, true, true, true, false};
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(data.Enable(on[i]), enabled[i]) << i;
    data.Release();
    EXPECT_TRUE(data.IsEnabled());
}

TEST(ProcessingChain, NamesInsertionAndDeletion) {
    Journal journal;
    FakeStage refused(&journal, "refused"); // never taken in
    {
        QTDProcessor chain(nullptr, false);
        EXPECT_EQ(chain.AddProcessor("a", new FakeStage(&journal, "a")), 0);
        EXPECT_EQ(chain.AddProcessor("c", new FakeStage(&journal, "c")), 0);
        char before[] = "c", absent[] = "zz";
        EXPECT_EQ(chain.InsertProcessor(before, "b", new FakeStage(&journal, "b")), 0);
        // Appending does not look for duplicates; inserting does.
        EXPECT_EQ(chain.AddProcessor("a", new FakeStage(&journal, "a2")), 0);
        EXPECT_EQ(chain.InsertProcessor(before, "a", &refused), CodeExists);
        EXPECT_EQ(chain.InsertProcessor(absent, "d", &refused), CodeNotFound);
        EXPECT_EQ(chain.AddProcessor("d", nullptr), CodeBadArgument);
        EXPECT_EQ(chain.GetProcessor(chain.Size()), nullptr);

        EXPECT_EQ(chain.DeleteProcessor("x"), CodeNotFound);
        EXPECT_EQ(chain.DeleteProcessor("b"), 0);
        EXPECT_EQ(std::make_pair(journal.released, journal.destroyed), std::make_pair(1, 1));
        std::string names;
        for (int i = 0; i < chain.Size(); ++i)
            names += std::string(chain.stages.keyAt(i)) + " ";
        EXPECT_EQ(names, "a c a ");
        chain.Release();
        chain.Release(); // idempotent
        EXPECT_EQ(journal.destroyed, 4);
        chain.AddProcessor("e", new FakeStage(&journal, "e"));
    }
    // The destructor releases too.
    EXPECT_EQ(std::make_pair(journal.released, journal.destroyed), std::make_pair(5, 5));
}

TEST(ProcessingChain, APassHandsEachOutputOn) {
    Journal journal;
    QTDProcessor chain(nullptr, false);
    auto input = TestImages::make(4, 2, PixelType::Mono8),
         middle = TestImages::make(4, 2, PixelType::Mono8);
    auto target = TestImages::make(4, 2, PixelType::RGB8);
    EXPECT_EQ(chain.ProcessImage(input.get(), nullptr, nullptr), statusWord(CodeFailed)); // empty
    auto* a = new FakeStage(&journal, "a", 0, middle.get());
    auto* b = new FakeStage(&journal, "b"); // no output, no formats: skipped over
    auto* c = new FakeStage(&journal, "c", 0, target.get());
    a->outFormat = middle.get();
    c->inFormat = target.get();
    chain.AddProcessor("a", a);
    chain.AddProcessor("b", b);
    chain.AddProcessor("c", c);
    EXPECT_EQ(chain.Output(), target.get());
    EXPECT_EQ(chain.Format(false), middle.get()); // last stage with an output format
    EXPECT_EQ(chain.Format(true), target.get());  // first stage with an input format
    EXPECT_EQ(chain.ProcessImage(nullptr, nullptr, nullptr), statusWord(CodeBadArgument));

    // A stop request ends the pass quietly.
    chain.stopRequested = true;
    EXPECT_EQ(chain.ProcessImage(input.get(), nullptr, nullptr), 0u);
    EXPECT_TRUE(journal.calls.empty());
    chain.stopRequested = false;

    EXPECT_EQ(chain.ProcessImage(input.get(), target.get(), nullptr), 0u);
    EXPECT_EQ(journal.calls, (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(b->seenInput, middle.get());
    EXPECT_EQ(c->seenInput, middle.get());
    EXPECT_EQ(c->seenOutput, target.get());
}

TEST(ProcessingChain, InitRefusesBadInputsAndFormatsWithoutStages) {
    QTDProcessor cpu(nullptr, false), gl(nullptr, true);
    EXPECT_EQ(cpu.Init(nullptr, nullptr), statusWord(CodeBadArgument));
    // No CPU stage corrects a TrueSense mosaic; the composition fails and leaves nothing.
    auto trueSense = TestImages::make(16, 8, PixelType::TrueSense_BGGR_WBBW_0_8);
    EXPECT_EQ(cpu.Init(trueSense.get(), nullptr), statusWord(CodeFailed));
    EXPECT_EQ(cpu.Size(), 0);
    // Nor does an OpenGL chain find stages without a GPU set.
    auto input = TestImages::makeMono(8, 4, PixelType::Mono8);
    EXPECT_EQ(gl.Init(input.get(), nullptr), statusWord(CodeFailed));
    EXPECT_EQ(gl.Size(), 0);
    input->width = 0;
    EXPECT_EQ(cpu.Init(input.get(), nullptr), statusWord(CodeFailed));
}
