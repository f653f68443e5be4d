#include "FrameFigures.h"

#include <brx/BrxComponent.h>
#include <brx/BrxDisplayProcessor.h>
#include <brx/BrxImgProcessingChain.h>

#include <QEvent>
#include <QWindow>

#include <cstdio>
#include <cstdlib>

namespace {

int64_t nowMicros() {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

} // namespace

FrameFigures::FrameFigures(QObject* parent) : QObject(parent) {}

bool FrameFigures::attach(BrxDisplayProcessor* target) {
    detach();
    display = target;
    char address[32];
    std::snprintf(address, sizeof(address), "%p",
                  static_cast<void*>(static_cast<BrxDisplayCommand*>(this)));
    std::map<std::string, std::string> add{{"proc", address}};
    const int added = display->RunCommandParams("cmd.system.notification.add", &add);
    std::map<std::string, std::string> flags{{"name", "image.notification.flags.set"},
                                             {"value", "1"}};
    display->RunCommandParams("cmd.parameter.set", &flags);
    return added == 1;
}

void FrameFigures::detach() {
    if (display == nullptr) {
        return;
    }
    char address[32];
    std::snprintf(address, sizeof(address), "%p",
                  static_cast<void*>(static_cast<BrxDisplayCommand*>(this)));
    std::map<std::string, std::string> del{{"proc", address}};
    display->RunCommandParams("cmd.system.notification.del", &del);
    display = nullptr;
}

void FrameFigures::reset() {
    processedCount = 0;
    failedCount = 0;
    shownCount = 0;
    timedCount = 0;
    chainMicros = 0;
    firstMicros = 0;
    lastMicros = 0;
}

int FrameFigures::RunCommandParams(const char* command,
                                   std::map<std::string, std::string>* params) {
    if (command == nullptr) {
        return 0;
    }
    // On the messenger's thread: the receiving end is queued.
    if (std::string(command) == "cmd.display.view.status" ||
        std::string(command) == "cmd.display.view.info") {
        emit lineToggled(std::string(command) == "cmd.display.view.status");
        return 0;
    }
    if (std::string(command) != "notification.image") {
        return 0;
    }
    const auto result = params != nullptr ? params->find("result") : decltype(params->end()){};
    if (params != nullptr && result != params->end() && result->second != "0") {
        ++failedCount;
        return 0;
    }
    const int64_t now = nowMicros();
    int64_t expected = 0;
    firstMicros.compare_exchange_strong(expected, now);
    lastMicros = now;
    ++processedCount;
    // The chain writes its pass time as "%.2f ms"; this runs on the controller's thread right
    // after the pass.
    BrxImgProcessingChain* chain = display != nullptr ? display->GetProcessingChain() : nullptr;
    BrxComponent* component = chain != nullptr ? chain->GetComponent() : nullptr;
    if (component != nullptr) {
        char text[64] = {0};
        unsigned int size = sizeof(text);
        if (component->GetParamString("time", text, &size) == 0) {
            chainMicros += static_cast<uint64_t>(std::strtod(text, nullptr) * 1000.0);
            ++timedCount;
        }
    }
    return 0;
}

double FrameFigures::processingMs() const {
    const uint64_t n = timedCount.load();
    return n == 0 ? 0.0 : chainMicros.load() / 1000.0 / static_cast<double>(n);
}

double FrameFigures::fps() const {
    const uint64_t n = processedCount.load();
    const int64_t span = lastMicros.load() - firstMicros.load();
    return n < 2 || span <= 0 ? 0.0 : (n - 1) * 1e6 / static_cast<double>(span);
}

bool FrameFigures::eventFilter(QObject* watched, QEvent* event) {
    // The display draws its window on an update request; each one puts a frame on screen.
    if (event->type() == QEvent::UpdateRequest && qobject_cast<QWindow*>(watched) != nullptr &&
        !watched->isWidgetType()) {
        QWindow* window = static_cast<QWindow*>(watched);
        if (window->parent() != nullptr) {
            ++shownCount;
        }
    }
    return QObject::eventFilter(watched, event);
}
