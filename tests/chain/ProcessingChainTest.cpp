// The chain as a list of named stages and as a loop over them, with stand-in stages.

#include "chain/QTDProcessor.h"
#include "chain/TestImages.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace QTD::Procs;

namespace {

struct Journal {
    std::vector<std::string> calls;
    int released = 0;
    int destroyed = 0;
};

// A stage that records what happens to it and answers with a fixed result.
class FakeStage : public BrxImgProcessor {
public:
    FakeStage(Journal* journal, std::string id, uint32_t result = 0, BrxImage* produced = nullptr)
        : journal(journal), id(std::move(id)), result(result), produced(produced) {}
    ~FakeStage() override { ++journal->destroyed; }

    uint32_t ProcessImage(BrxImage* input, BrxImage* output, void* context) override {
        journal->calls.push_back(id);
        seenInput = input;
        seenOutput = output;
        seenContext = context;
        return result;
    }
    void Release() override { ++journal->released; }
    BrxComponent* GetComponent() override { return nullptr; }
    BrxImage* Output() override { return produced; }
    BrxImage* Format(bool input) override { return input ? inFormat : outFormat; }

    Journal* journal;
    std::string id;
    uint32_t result;
    BrxImage* produced;
    BrxImage* inFormat = nullptr;
    BrxImage* outFormat = nullptr;
    BrxImage* seenInput = nullptr;
    BrxImage* seenOutput = nullptr;
    void* seenContext = nullptr;
};

std::vector<std::string> namesOf(QTDProcessor& chain) {
    std::vector<std::string> names;
    for (int i = 0; i < chain.Size(); ++i) {
        names.push_back(chain.stages.keyAt(i));
    }
    return names;
}

} // namespace

TEST(ImageProcessorData, EnableIsAClampedCount) {
    QTD::ImageProcessorData data;
    // Disabled twice and enabled once: the count went 1, 0, 0, 1.
    EXPECT_FALSE(data.Enable(false));
    EXPECT_FALSE(data.Enable(false));
    EXPECT_TRUE(data.Enable(true));
    EXPECT_TRUE(data.Enable(true)); // count 2: two disables are needed now
    EXPECT_TRUE(data.Enable(false));
    EXPECT_FALSE(data.Enable(false));
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
        char before[] = "c";
        EXPECT_EQ(chain.InsertProcessor(before, "b", new FakeStage(&journal, "b")), 0);
        // Appending does not look for duplicates; inserting does.
        EXPECT_EQ(chain.AddProcessor("a", new FakeStage(&journal, "a2")), 0);
        EXPECT_EQ(namesOf(chain), (std::vector<std::string>{"a", "b", "c", "a"}));
        EXPECT_EQ(chain.InsertProcessor(before, "a", &refused), CodeExists);
        char absent[] = "zz";
        EXPECT_EQ(chain.InsertProcessor(absent, "d", &refused), CodeNotFound);
        EXPECT_EQ(chain.AddProcessor("d", nullptr), CodeBadArgument);
        // The first row of a name wins.
        EXPECT_EQ(static_cast<FakeStage*>(chain.GetProcessor("a"))->id, "a");
        EXPECT_EQ(static_cast<FakeStage*>(chain.GetProcessor(3))->id, "a2");
        EXPECT_EQ(chain.GetProcessor(chain.Size()), nullptr);

        EXPECT_EQ(chain.DeleteProcessor("x"), CodeNotFound);
        EXPECT_EQ(chain.DeleteProcessor("b"), 0);
        EXPECT_EQ(journal.released, 1);
        EXPECT_EQ(journal.destroyed, 1);
        EXPECT_EQ(namesOf(chain), (std::vector<std::string>{"a", "c", "a"}));
        chain.Release();
        chain.Release(); // idempotent
        EXPECT_EQ(journal.destroyed, 4);
        chain.AddProcessor("e", new FakeStage(&journal, "e"));
    }
    EXPECT_EQ(journal.released, 5); // the destructor releases too
    EXPECT_EQ(journal.destroyed, 5);
}

TEST(ProcessingChain, APassHandsEachOutputOnAndStopsAtAFailure) {
    Journal journal;
    QTDProcessor chain(nullptr, false);
    auto input = TestImages::make(4, 2, PixelType::Mono8);
    auto middle = TestImages::make(4, 2, PixelType::Mono8);
    auto target = TestImages::make(4, 2, PixelType::RGB8);
    EXPECT_EQ(chain.ProcessImage(input.get(), nullptr, nullptr), statusWord(CodeFailed)); // empty
    EXPECT_EQ(chain.Format(false), nullptr);
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

    int context = 0;
    EXPECT_EQ(chain.ProcessImage(input.get(), target.get(), &context), 0u);
    EXPECT_EQ(journal.calls, (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(a->seenInput, input.get());
    EXPECT_EQ(b->seenInput, middle.get());
    EXPECT_EQ(c->seenInput, middle.get());
    EXPECT_EQ(c->seenOutput, target.get());
    EXPECT_EQ(c->seenContext, &context);

    // A failing stage ends the pass with code 1, whatever its own code.
    journal.calls.clear();
    b->result = statusWord(CodeNotReady);
    EXPECT_EQ(chain.ProcessImage(input.get(), nullptr, nullptr), statusWord(CodeFailed));
    EXPECT_EQ(journal.calls, (std::vector<std::string>{"a", "b"}));
}

TEST(ProcessingChain, InitRefusesNullInputAndAnOpenGLChainWithoutGPUStages) {
    QTDProcessor cpu(nullptr, false);
    EXPECT_EQ(cpu.Init(nullptr, nullptr), statusWord(CodeBadArgument));
    QTDProcessor gl(nullptr, true);
    auto input = TestImages::makeMono(8, 4, PixelType::Mono8);
    EXPECT_EQ(gl.Init(input.get(), nullptr), statusWord(CodeFailed));
    EXPECT_EQ(gl.Size(), 0);
}
