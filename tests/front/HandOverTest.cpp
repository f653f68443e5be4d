// A camera thread hands frames over while the display's pass is busy with an earlier one: the
// call returns at once, and the newest frame reaches the next pass whole.

#include "FrontTestSupport.h"

#include "chain/QTDProcessor.h"

#include <brx/BrxImgProcessor.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <future>
#include <thread>
#include <vector>

using namespace FrontTest;

namespace {

// A stage that notes the frames it sees and holds the first pass until it is let go.
class LatchStage : public BrxImgProcessor {
public:
    uint32_t ProcessImage(BrxImage* input, BrxImage*, void*) override {
        const auto* bytes = static_cast<const uint8_t*>(input->imageData);
        seen.push_back(input->imageID);
        whole.push_back(std::all_of(bytes, bytes + input->imageSize,
                                    [&](uint8_t b) { return b == uint8_t(input->imageID); }));
        entered = true;
        while (!released) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return 0;
    }
    void Release() override {}
    BrxComponent* GetComponent() override { return nullptr; }
    BrxImage* Output() override { return nullptr; }
    BrxImage* Format(bool) override { return nullptr; }

    std::vector<uint32_t> seen;
    std::vector<bool> whole;
    std::atomic<bool> entered{false}, released{false};
};

Image flat(uint32_t id) {
    Image image = make(64, 48, PT::Mono8);
    std::memset(image->imageData, int(id), image->imageSize);
    image->imageID = id;
    return image;
}

} // namespace

TEST(HandOver, CallsReturnDuringAPassAndTheNewestFrameArrivesWhole) {
    Live live(PT::Mono8, 64, 48);
    auto* latch = new LatchStage; // the chain owns it
    ASSERT_EQ(
        live.display->chain->InsertProcessor(const_cast<char*>("image.unpacked"), "latch", latch),
        0);
    Image first = flat(1), second = flat(2), newest = flat(3);
    ASSERT_EQ(BrxDisplay_DisplayVideo(live.handle, first.get()), 0u);

    std::atomic<bool> returnedDuringPass{false};
    std::thread camera([&] {
        while (!latch->entered) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        // Two frames while the pass holds the first: the second is replaced by the newest.
        auto calls = std::async(std::launch::async, [&] {
            return BrxDisplay_DisplayVideo(live.handle, second.get()) == 0 &&
                   BrxDisplay_DisplayVideo(live.handle, newest.get()) == 0;
        });
        const bool returned = calls.wait_for(std::chrono::seconds(2)) == std::future_status::ready;
        returnedDuringPass = returned && !latch->released && calls.get();
        latch->released = true;
    });
    // The pass runs on this thread, which the latch holds until the camera lets it go.
    EXPECT_TRUE(pumpUntil([&] { return latch->seen.size() >= 2; }));
    camera.join();
    EXPECT_TRUE(returnedDuringPass);
    EXPECT_EQ(latch->seen, (std::vector<uint32_t>{1, 3}));
    EXPECT_EQ(latch->whole, (std::vector<bool>{true, true}));
}
