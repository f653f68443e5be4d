#include "front/QTDDisplay.h"

#include "chain/QTDConverter.h"
#include "chain/QTDProcessor.h"
#include "chain/QTDProcs.h"
#include "core/AutoLock.h"
#include "core/HandOver.h"
#include "core/ParamsHelper.h"
#include "core/Thread.h"
#include "image/ColorModelDescription.h"
#include "image/ImageLayout.h"
#include "image/QTDImageHelpers.h"
#include "image/TextParser.h"
#include "screen/DrawObjects.h"
#include "screen/QTDScreen.h"
#include "screen/QTDSurface.h"
#include "window/QTDViewer.h"
#include "window/QTDWindow.h"

#include <brx/BrxImgProcessor.h>

#include <QAction>
#include <QCursor>
#include <QMenu>
#include <QMetaType>
#include <QThread>
#include <QTimer>
#include <QWidget>

#include <sched.h>

#include <cmath>
#include <cstring>

using QTD::ATTR;
using namespace QTD::Procs;

Q_DECLARE_METATYPE(BrxImage*)
Q_DECLARE_METATYPE(QTD::PROPERTIES*)

QTDDisplay::Map QTDDisplay::imageProcParams;

namespace {

// The image record travels behind the pixels, at the very end of the buffer.
constexpr int RECORD_SIZE = int(sizeof(BrxImage));

// Above this many pixels a GPU chain may be thinned, if the surface asks for it.
constexpr long STRICT_PIXELS = 12000000L;

// How long a menu command from another thread waits for the display's thread.
constexpr int MenuWaitMs = 2000;

const char* const COMMANDS_VIEW[] = {
    "cmd.display.view.zoom.in",    "cmd.display.view.zoom.out",  "cmd.display.view.fit",
    "cmd.display.view.scale",      "cmd.display.view.translate", "cmd.display.view.at",
    "cmd.display.view.status",     "cmd.display.view.info",      "cmd.display.view.image",
    "cmd.display.view.nofication", "cmd.display.view.moveblock",
};

const char* const COMMANDS_OVERLAY[] = {
    "cmd.display.overlay.params",   "cmd.display.overlay.text.add",
    "cmd.display.overlay.rect.add", "cmd.display.overlay.add",
    "cmd.display.overlay.del",      "cmd.display.overlay.text.del",
    "cmd.display.overlay.rect.del", "cmd.display.overlay.profline.add",
};

template <size_t N> bool listed(const char* const (&table)[N], const ATTR& command) {
    for (const char* entry : table) {
        if (command.same(entry, true)) {
            return true;
        }
    }
    return false;
}

// "%.1f" with trailing zeros after the point removed, one digit kept.
ATTR rateText(double rate) {
    ATTR text = ATTR::format("%.1f", rate < 1e-7 ? 0.0 : rate);
    const size_t point = text.find('.');
    if (point != std::string::npos) {
        while (text.size() > point + 2 && text.back() == '0') {
            text.pop_back();
        }
    }
    return text;
}

void registerTypes() {
    static const bool done = [] {
        qRegisterMetaType<BrxImage*>("BrxImage*");
        qRegisterMetaType<QTD::PROPERTIES*>("QTD::PROPERTIES*");
        qRegisterMetaType<const char*>("const char*");
        return true;
    }();
    (void)done;
}

} // namespace

QTDDisplay::QTDDisplay(QWidget* parent, bool opengl) : QObject(nullptr) {
    registerTypes();
    properties.set("class", "QTDDisplay", true);
    properties.set("system.opengl", ATTR(opengl ? 1 : 0), true);
    properties.set("system.parentWidget", ATTR(static_cast<void*>(parent)), true);
    properties.set("system.objectID", ATTR(static_cast<void*>(this)), true);
    properties.set("system.silent", "1", true);
    properties.set("system.timer", "1000", true);
    properties.set("display.init.view.fit", "1", true);
    properties.set("display.init.view.at.x", ATTR::format("%f", 0.0), true);
    properties.set("display.init.view.at.y", ATTR::format("%f", 0.0), true);
    properties.set("display.view.fit", "3", true);
    properties.set("display.view.bgcolor", ATTR::format("%u", 0xC0C0C0u), true);
    properties.set("display.overlay.text.font", "default", true);
    properties.set("display.overlay.text.clr", ATTR::format("%u", 0u), true);
    properties.set("display.overlay.status.font", "medium", true);
    properties.set("display.overlay.status.clr", ATTR::format("%u", 0x3C78u), true);
    properties.set("processing.image.downscale", "0", true);
    properties.set("processor", "0", true);
    properties.set("display.view.status", "0", true);
    messenger.props()->set("from", ATTR(static_cast<void*>(this)), true);

    // The connection types move the work onto this object's thread.
    connect(this, &QTDDisplay::signalRebuildImage, this, &QTDDisplay::slotRebuildImage,
            Qt::QueuedConnection);
    connect(this, &QTDDisplay::signalObjectMessage, this, &QTDDisplay::slotObjectMessage,
            Qt::QueuedConnection);
    connect(this, &QTDDisplay::signalImageReceived, this, &QTDDisplay::slotCheckIncomingBuffer,
            Qt::QueuedConnection);
    connect(this, &QTDDisplay::signalImageProcessed, this, &QTDDisplay::slotImageProcessed,
            Qt::DirectConnection);
    connect(this, &QTDDisplay::signalCheckIncomingBuffer, this,
            &QTDDisplay::slotCheckIncomingBuffer, Qt::QueuedConnection);
    connect(this, &QTDDisplay::signalConvertImage, this, &QTDDisplay::slotConvertImage,
            Qt::QueuedConnection);
}

QTDDisplay::~QTDDisplay() {
    Release();
    delete viewer;
    viewer = nullptr;
    messenger.shut();
}

QTDDisplay* QTDDisplay::CastQTDDisplay(BrxDisplayProcessor* processor) {
    BrxComponent* component = processor != nullptr ? processor->GetComponent() : nullptr;
    if (component == nullptr) {
        return nullptr;
    }
    char name[1024] = {0};
    unsigned int size = sizeof(name);
    if (component->GetParamString("class", name, &size) != 0) {
        return nullptr;
    }
    if (!ATTR(name).same("QTDDisplay", true)) {
        return nullptr;
    }
    return dynamic_cast<QTDDisplay*>(processor);
}

QTDScreen* QTDDisplay::getScreen() {
    QTDWindow* window = getWindow();
    return window != nullptr ? window->screen : nullptr;
}

bool QTDDisplay::event(QEvent* e) {
    QTD::handled();
    return QObject::event(e);
}

QTDWindow* QTDDisplay::getWindow() {
    return viewer != nullptr ? viewer->window : nullptr;
}

BrxImgProcessingChain* QTDDisplay::GetProcessingChain() {
    std::lock_guard<std::recursive_mutex> lock(componentLock());
    return chain;
}

void QTDDisplay::slotViewerDestroyed(QTDViewer* closing) {
    // The viewer is on its way out: forget it before anything could call it, and let the stages
    // go while its surface still stands.
    if (closing == viewer) {
        viewer = nullptr;
        Release();
        properties.set("surface", "0", true);
    }
}

bool QTDDisplay::showing() {
    return currentImage != nullptr && chain != nullptr && getWindow() != nullptr && lastError == 0;
}

// ---------------------------------------------------------------------------------------------
// Set-up

uint32_t QTDDisplay::Init(BrxImage* format) {
    if (format == nullptr || format->width == 0 || format->height == 0) {
        lastError = CodeBadArgument;
        return status(CodeBadArgument);
    }
    QTD::PROPERTIES bag;
    bag.set("inputImageFormat", ATTR(static_cast<void*>(format)), true);
    sendObjectMessage("@init.display", &bag);
    // The set-up above has still taken the old image off the view. A type outside the table
    // leaves an empty display, which the caller hears of even when set-ups fail silently.
    if (QTD::colorModelByType(format->pixelType) == nullptr) {
        lastError = CodeNotSupported;
        return status(CodeNotSupported);
    }
    const int code = lastError;
    return code == 0 ? 0u : status(unsigned(code) & 0xFFFFu);
}

void QTDDisplay::sendObjectMessage(const char* name, QTD::PROPERTIES* bag) {
    messageDone = 0;
    QTD::postedTo(this);
    emit signalObjectMessage(name, bag);
    // On the controller's own thread the pump runs the slot; elsewhere that thread does.
    while (messageDone == 0) {
        QTD::Thread::Wait(1, 1);
    }
}

void QTDDisplay::slotObjectMessage(const char* msgName, QTD::PROPERTIES* bag) {
    QTD::PROPERTIES message(bag);
    lastError = 0;
    if (ATTR(msgName).same("@init.display")) {
        auto* format = static_cast<BrxImage*>(message.getAs<void*>("inputImageFormat", "", true));
        lastError = initDisplay(format);
    }
    messageDone = 1;
}

void QTDDisplay::deleteTimer() {
    if (timer == nullptr) {
        return;
    }
    if (QThread::currentThread() == timer->thread()) {
        delete timer;
    } else {
        timer->deleteLater();
    }
    timer = nullptr;
}

int QTDDisplay::initDisplay(BrxImage* format) {
    std::lock_guard<std::recursive_mutex> setup(setupLock);
    std::lock_guard<std::recursive_mutex> convert(convertLock);
    std::lock_guard<std::recursive_mutex> component(componentLock());
    const int opengl = properties.getAs<int>("system.opengl", "0", true);
    Release();
    lastError = 0;

    deleteTimer();
    timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &QTDDisplay::slotTimer);
    timer->start(properties.getAs<int>("system.timer", "1000", true));

    // A viewer never changes backend in place: a new backend means a new viewer.
    if (viewer != nullptr) {
        const bool viewerGL = viewer->properties.getAs<int>("system.opengl", "0", true) != 0;
        if (viewerGL != (opengl == 1)) {
            delete viewer;
            viewer = nullptr;
        } else {
            viewer->setImage(nullptr, false);
        }
    }
    if (viewer == nullptr) {
        auto* parent =
            static_cast<QWidget*>(properties.getAs<void*>("system.parentWidget", "", true));
        viewer = new QTDViewer(parent, opengl == 1);
        viewer->messenger(&messenger);
        viewer->display(this);
        // The application's widget may take the viewer with it before the controller goes.
        connect(viewer, &QTDViewer::closing, this, &QTDDisplay::slotViewerDestroyed,
                Qt::DirectConnection);
    }

    QTDScreen* screen = nullptr;
    if (viewer == nullptr) {
        lastError = CodeFailed;
        Release();
    } else {
        properties.set("surface", ATTR(viewer->properties.getAs<void*>("surface", "", true)), true);
        screen = getScreen();
        if (screen == nullptr) {
            lastError = CodeFailed;
            Release();
        }
    }
    if (screen != nullptr) {
        screen->fit(properties.getAs<int>("display.init.view.fit", "1", true), true);
        screen->at(properties.getAs<double>("display.init.view.at.x", "0", true),
                   properties.getAs<double>("display.init.view.at.y", "0", true));
        initProcessor(format);
        if (chain == nullptr || currentImage == nullptr) {
            // A failed set-up leaves an empty display unless it is asked to speak up.
            if (properties.getAs<int>("system.silent", "1", true) != 0) {
                lastError = 0;
            } else {
                lastError = CodeFailed;
                Release();
            }
        }
    }

    {
        QTD::AutoLock hold(&fpsLock);
        fpsWindow = 4;
        lastFps = 0.0;
        fpsHistory.assign(3, 0.0);
    }
    receivedCounter.reset(false, 0);
    receivedCounter.run(true);
    processedCounter.reset(false, 0);
    processedCounter.run(true);
    return lastError;
}

bool QTDDisplay::initProcessor(BrxImage* format) {
    std::lock_guard<std::recursive_mutex> component(componentLock());
    QTDWindow* window = getWindow();
    QTDSurface* surface = window != nullptr ? window->surface : nullptr;

    // The record only: its data points into the buffer.
    if (currentImage != nullptr) {
        currentImage->imageData = nullptr;
        QTDImageHelpers::imageDelete(currentImage);
        currentImage = nullptr;
    }
    delete chain;
    chain = nullptr;
    properties.set("processor", "0", true);
    acceptFrames(nullptr);
    incoming.shut();

    if (viewer != nullptr) {
        properties.set("surface", ATTR(viewer->properties.getAs<void*>("surface", "", true)), true);
    }
    const bool opengl = properties.getAs<int>("system.opengl", "0", true) != 0;
    chain = new QTDProcessor(this, opengl);
    chain->properties.set("image.downscale",
                          properties.get("processing.image.downscale", "0", true), true);

    if (format == nullptr) {
        return false;
    }
    const int height = format->orientation == 1 ? -int(format->height) : int(format->height);
    currentImage =
        QTDImageHelpers::imageCreateFormat(nullptr, int(format->width), height, format->pixelType);
    if (currentImage == nullptr) {
        return false;
    }
    if (currentImage->width == 0 || currentImage->height == 0) {
        QTDImageHelpers::imageDelete(currentImage);
        currentImage = nullptr;
        return false;
    }
    if (surface != nullptr) {
        const long pixels = long(currentImage->width) * long(currentImage->height);
        const bool strict =
            pixels > STRICT_PIXELS && surface->props.getAs<int>("gl.strict", "0", true) != 0;
        properties.set("strict", strict ? "1" : "0", true);
    }
    const long bufferSize = long(currentImage->imageSize) + RECORD_SIZE;
    if (bufferSize > 0x7FFFFFFFL || !incoming.init(int(bufferSize))) {
        QTDImageHelpers::imageDelete(currentImage);
        currentImage = nullptr;
        return false;
    }
    acceptFrames(currentImage);
    if (chain->Init(format, nullptr) == 0 && viewer != nullptr &&
        viewer->init(format, chain) == 0) {
        properties.set("processor", ATTR(static_cast<void*>(chain)), true);
        return true;
    }
    lastError = CodeNoResources;
    acceptFrames(nullptr);
    QTDImageHelpers::imageDelete(currentImage);
    currentImage = nullptr;
    return false;
}

void QTDDisplay::acceptFrames(const BrxImage* format) {
    std::lock_guard<std::recursive_mutex> hold(incoming.writeGuard);
    accepted = format != nullptr
                   ? Accepted{format->width, format->height, format->pixelType, format->imageSize}
                   : Accepted{};
}

void QTDDisplay::Release() {
    std::lock_guard<std::recursive_mutex> setup(setupLock);
    std::lock_guard<std::recursive_mutex> convert(convertLock);
    std::lock_guard<std::recursive_mutex> component(componentLock());
    // The window must not keep drawing an image of the chain about to go.
    if (viewer != nullptr && chain != nullptr) {
        viewer->setImage(nullptr, false);
    }
    // GPU stages delete their textures and programs with the surface's context current.
    auto* surface = static_cast<QTDSurface*>(properties.getAs<void*>("surface", "", true));
    const bool gpu = chain != nullptr && chain->properties.getAs<int>("opengl", "0", true) != 0;
    if (gpu && surface != nullptr) {
        surface->begin(nullptr);
    }
    delete chain;
    chain = nullptr;
    delete converter;
    converter = nullptr;
    if (gpu && surface != nullptr) {
        surface->end();
    }
    acceptFrames(nullptr);
    if (currentImage != nullptr) {
        currentImage->imageData = nullptr;
        QTDImageHelpers::imageDelete(currentImage);
        currentImage = nullptr;
    }
    deleteTimer();
    incoming.shut();
    properties.set("processor", "0", true);
}

// ---------------------------------------------------------------------------------------------
// Images

bool QTDDisplay::needInitialize(BrxImage* image) {
    // The geometry the hand-over accepts, not the record a pass is rewriting.
    std::lock_guard<std::recursive_mutex> hold(incoming.writeGuard);
    if (accepted.width == 0 || image == nullptr) {
        return false;
    }
    if (image->width != 0 && image->height != 0 && image->width == accepted.width &&
        image->height == accepted.height) {
        return false;
    }
    return image->imageSize <= accepted.imageSize;
}

uint32_t QTDDisplay::ProcessImage(BrxImage* image) {
    if (image == nullptr) {
        std::lock_guard<std::recursive_mutex> component(componentLock());
        if (showing()) {
            viewer->setImage(nullptr, false);
        }
        lastError = 0;
        return 0;
    }
    if (needInitialize(image)) {
        lastError = CodeNotReady;
        return status(CodeNotReady);
    }
    if (image->width == 0 || image->height == 0 || image->imageData == nullptr) {
        lastError = CodeBadArgument;
        return status(CodeBadArgument);
    }
    if (const int code = handOver(image); code != 0) {
        lastError = code;
        return status(unsigned(code));
    }
    lastError = 0;
    receivedCounter.count(true);
    if (!checkPending.exchange(true)) {
        QTD::postedTo(this);
        emit signalImageReceived();
        // An idle controller's thread gets its chance at once; while it is busy with a pass a
        // yield would only give the caller's time slice away.
        if (!passing) {
            sched_yield();
        }
    }
    const int code = lastError;
    return code == 0 ? 0u : status(unsigned(code) & 0xFFFFu);
}

int QTDDisplay::handOver(BrxImage* image) {
    // Only other cameras and a set-up hold this lock; a pass works on a buffer of its own.
    std::lock_guard<std::recursive_mutex> hold(incoming.writeGuard);
    if (accepted.width == 0) {
        return 0; // not set up: the slot answers
    }
    // The chain reads the bytes as the set-up's type, whatever the record says.
    const uint32_t type = accepted.pixelType;
    if (!QTD::holdsGeometry(*image, type)) {
        return CodeBadArgument;
    }
    // needInitialize lets other geometry through when its imageSize exceeds the set-up's.
    if (image->width != accepted.width || image->height != accepted.height) {
        return CodeNotReady;
    }
    const long room = long(incoming.size) - RECORD_SIZE;
    char* back = incoming.back();
    if (room <= 0 || back == nullptr) {
        return CodeNotReady;
    }
    const auto* pixels = static_cast<const char*>(image->imageData);
    // Only what the geometry needs is copied: bytes past it (a camera's trailer or chunk data)
    // are no part of the image.
    BrxImage record = *image;
    const uint64_t needed = QTD::frameBytes(type, image->width, image->height, image->stride);
    const uint64_t row = QTD::rowBytes(type, image->width);
    if (needed <= uint64_t(room)) {
        std::memcpy(back, pixels, size_t(needed));
        record.imageSize = uint32_t(needed);
    } else if (!QTD::isBitStream(type) && !QTD::isTightRows(type) &&
               row * image->height <= uint64_t(room)) {
        // Rows further apart than the buffer's room allows are copied tight.
        for (uint32_t y = 0; y < image->height; ++y) {
            std::memcpy(back + y * row, pixels + uint64_t(y) * image->stride, size_t(row));
        }
        record.stride = uint32_t(row);
        record.imageSize = uint32_t(row * image->height);
    } else {
        return CodeNotReady;
    }
    std::memcpy(back + room, &record, RECORD_SIZE);
    incoming.publish();
    return 0;
}

void QTDDisplay::slotCheckIncomingBuffer() {
    // A camera's check can be queued ahead of the paint of the last frame: the paint goes
    // first, or frames would be processed and never shown. The check stays pending meanwhile.
    if (QTDWindow* window = getWindow(); window != nullptr && window->framePending()) {
        emit signalCheckIncomingBuffer();
        return;
    }
    // Cleared before the take: a frame published after it queues the next check.
    checkPending = false;
    passing = true;
    struct Passed {
        std::atomic<bool>& flag;
        ~Passed() { flag = false; }
    } passed{passing};
    std::unique_lock<std::recursive_mutex> component(componentLock());
    char* buffer = incoming.take();
    if (currentImage == nullptr || chain == nullptr || getWindow() == nullptr || lastError != 0) {
        lastError = CodeNotReady;
        return;
    }
    if (buffer == nullptr || incoming.size <= RECORD_SIZE) {
        return;
    }
    BrxImage record;
    std::memcpy(&record, buffer + incoming.size - RECORD_SIZE, RECORD_SIZE);
    currentImage->imageData = buffer;
    currentImage->imageSize = record.imageSize;
    currentImage->stride = record.stride;
    currentImage->imageID = record.imageID;

    lastError = int32_t(chain->ProcessImage(currentImage, nullptr, nullptr) & 0xFFFFu);
    if (notificationFlags & 1) {
        imageProcParams["result"] = ATTR::format("%u", unsigned(int32_t(lastError)));
        messenger.sendCommandParams("notification.image", &imageProcParams);
    }
    if (lastError == 0) {
        viewer->slotDisplayImage(chain->Output(), true);
    }
    BrxImage* output = lastError == 0 ? chain->Output() : nullptr;
    component.unlock();
    if (output != nullptr) {
        emit signalImageProcessed(output, false);
    }
}

void QTDDisplay::noteRate(double rate) {
    QTD::AutoLock hold(&fpsLock);
    if (fpsWindow > 1) {
        fpsHistory.push_back(rate);
        while (fpsHistory.size() >= size_t(fpsWindow)) {
            fpsHistory.erase(fpsHistory.begin());
        }
    }
    lastFps = rate;
}

double QTDDisplay::shownRate() {
    QTD::AutoLock hold(&fpsLock);
    if (fpsWindow == 1 || fpsHistory.empty()) {
        return lastFps;
    }
    double sum = 0.0;
    for (double rate : fpsHistory) {
        sum += rate;
    }
    return sum / double(fpsHistory.size());
}

void QTDDisplay::slotImageProcessed(BrxImage* image, bool rebuilt) {
    (void)image;
    processedCounter.count(true);
    noteRate(processedCounter.current());
    // A rebuild never pulls the next image.
    if (!rebuilt && !checkPending.exchange(true)) {
        emit signalCheckIncomingBuffer();
    }
}

void QTDDisplay::slotRebuildImage() {
    BrxImage* output = nullptr;
    {
        std::lock_guard<std::recursive_mutex> component(componentLock());
        receivedCounter.count(true);
        if (currentImage != nullptr && currentImage->imageData != nullptr && chain != nullptr) {
            lastError = int32_t(chain->ProcessImage(currentImage, nullptr, nullptr) & 0xFFFFu);
            output = chain->Output();
        }
    }
    if (lastError == 0 && output != nullptr) {
        emit signalImageProcessed(output, true);
    }
}

void QTDDisplay::slotTimer() {
    processedCounter.count(false);
    noteRate(processedCounter.current());
    receivedCounter.count(false);
    updateStatus();
}

void QTDDisplay::updateStatus() {
    if (properties.getAs<int>("display.view.status", "0", true) == 0) {
        return;
    }
    QTDScreen* screen = getScreen();
    // A command thread asks for the line while the controller's thread rewrites the record.
    BrxImage image{};
    bool hasImage = false;
    {
        std::lock_guard<std::recursive_mutex> component(componentLock());
        if (currentImage != nullptr) {
            image = *currentImage;
            hasImage = true;
        }
    }
    statusBag.set(
        "size", hasImage ? ATTR::format("%ldx%ld", long(image.width), long(image.height)) : ATTR(),
        true);
    statusBag.set("last", ATTR::format("%06ld", long(image.imageID)), true);
    statusBag.set("in/p",
                  ATTR::format("%ld/%ld", long(receivedCounter.frames.load()),
                               long(processedCounter.frames.load())),
                  true);
    statusBag.set("fps", rateText(shownRate()), true);
    statusBag.set("proc", chain != nullptr ? chain->properties.get("time", "", true) : ATTR("-"),
                  true);
    statusBag.set("zoom", ATTR::format("%ld%%", long(screen != nullptr ? screen->zoom() : 0)),
                  true);
    const QTD::TPAIR<double> centre = screen != nullptr ? screen->center() : QTD::TPAIR<double>{};
    statusBag.set("at",
                  screen != nullptr ? ATTR::format("%s%s%s", ATTR::format("%.2f", centre.x).c_str(),
                                                   ";", ATTR::format("%.2f", centre.y).c_str())
                                    : ATTR("-"),
                  true);

    Map params{{"objectID", "@status"},
               {"text.clr", properties.get("display.overlay.status.clr", "", true)},
               {"text.font", properties.get("display.overlay.status.font", "", true)}};
    const ATTR text = statusBag.text(false, " ");
    SetOverlayText(text.c_str(), 1, -1, &params);
}

// ---------------------------------------------------------------------------------------------
// Conversion

uint32_t QTDDisplay::CreateConverter(BrxImage* target) {
    std::lock_guard<std::recursive_mutex> convert(convertLock);
    lastError = CodeNoResources;
    DeleteConverter();
    if (chain == nullptr || chain->Format(true) == nullptr) {
        lastError = CodeNotReady;
        return status(CodeNotReady);
    }
    const bool opengl = properties.getAs<int>("system.opengl", "0", true) != 0;
    converter = new QTDConverter(this, opengl);
    lastError = int32_t(converter->Init(chain->Format(true), target) & 0xFFFFu);
    if (lastError != 0) {
        const unsigned code = unsigned(int32_t(lastError));
        delete converter;
        converter = nullptr;
        return status(code);
    }
    return 0;
}

void QTDDisplay::DeleteConverter() {
    std::lock_guard<std::recursive_mutex> convert(convertLock);
    delete converter;
    converter = nullptr;
}

uint32_t QTDDisplay::ConvertImage(BrxImage* source, BrxImage* target) {
    std::lock_guard<std::recursive_mutex> convert(convertLock);
    if (converter == nullptr) {
        CreateConverter(target);
    }
    if (converter == nullptr) {
        lastError = CodeNotReady;
        return status(CodeNotReady);
    }
    auto fits = [](BrxImage* image, BrxImage* format) {
        return image != nullptr && format != nullptr && image->width != 0 && image->height != 0 &&
               image->width == format->width && image->height == format->height;
    };
    if (!fits(source, converter->Format(true)) || !fits(target, converter->Format(false))) {
        lastError = CodeBadArgument;
        return status(CodeBadArgument);
    }
    // Nothing is read or written beyond what the caller declared: the source as the chain reads
    // it, the set-up's type, and the target as its own.
    BrxImage* input = chain != nullptr ? chain->Format(true) : nullptr;
    if (input == nullptr || source->imageData == nullptr || target->imageData == nullptr ||
        !QTD::holdsGeometry(*source, input->pixelType) ||
        !QTD::holdsGeometry(*target, target->pixelType)) {
        lastError = CodeBadArgument;
        return status(CodeBadArgument);
    }
    // The converter writes the type of the first target it was built for.
    if (target->pixelType != converter->Format(false)->pixelType) {
        lastError = CodeFailed;
        return status(CodeFailed);
    }
    if (!converter->BeginProcessing()) {
        lastError = CodeFailed;
        return status(CodeFailed);
    }
    QTD::postedTo(this);
    emit signalConvertImage(source, target);
    // Waiting on the controller's own thread pumps its events, and a set-up among them would
    // take the converter away.
    QTDConverter* const requested = converter;
    while (converter == requested && requested->state < QTDConverter::StateDone) {
        QTD::Thread::Wait(1, 1);
    }
    if (converter != requested) {
        lastError = CodeFailed;
        return status(CodeFailed);
    }
    lastError = converter->state == QTDConverter::StateDone ? 0 : CodeFailed;
    converter->EndProcessing();
    return lastError == 0 ? 0u : status(CodeFailed);
}

void QTDDisplay::slotConvertImage(BrxImage* source, BrxImage* target) {
    if (converter == nullptr) {
        lastError = CodeNotReady;
        return;
    }
    lastError = int32_t(converter->ProcessImage(source, target, nullptr) & 0xFFFFu);
    // A request refused outright must still end, or its caller would wait for ever.
    if (lastError != 0 && converter->state < QTDConverter::StateDone) {
        converter->state = QTDConverter::StateChainFailed;
    }
}

// ---------------------------------------------------------------------------------------------
// Commands

int QTDDisplay::RunCommandParams(const char* command, Map* params) {
    const ATTR name(command);
    Map none;
    Map* given = params != nullptr ? params : &none;
    if ((name.same("cmd.parameter.set") || name.same("cmd.parameter.get")) && params != nullptr) {
        return processParameter(command, params);
    }
    if (name.samel("cmd.display.view")) {
        return RunCommandDisplayView(name.c_str(), given);
    }
    if (name.samel("cmd.display.overlay")) {
        return RunCommandDisplayOverlay(name.c_str(), params);
    }
    if (name.same("cmd.system.notification.add") && params != nullptr) {
        QTD::ParamsHelper helper(params);
        auto* receiver = static_cast<BrxDisplayCommand*>(helper.getAs<void*>("proc"));
        return AppendNotificationProc(receiver) & 0xFF;
    }
    if (name.same("cmd.system.notification.del") && params != nullptr) {
        QTD::ParamsHelper helper(params);
        auto* receiver = static_cast<BrxDisplayCommand*>(helper.getAs<void*>("proc"));
        return DeleteNotificationProc(receiver) & 0xFF;
    }
    if (name.same("cmd.image.rebuild")) {
        QTD::postedTo(this);
        emit signalRebuildImage();
        return currentImage != nullptr ? 1 : 0;
    }
    if (name.samel("cmd.system.menu")) {
        return RunCommandSystemMenu(name.c_str(), given);
    }
    if (name.samel("cmd.image.")) {
        return params != nullptr ? RunCommandImage(name.c_str(), params) : 0;
    }
    if (name.samel("@")) {
        QTD::PROPERTIES bag;
        bag = *given;
        sendObjectMessage(name.c_str(), &bag);
        return 0;
    }
    return 0;
}

int QTDDisplay::RunCommandImage(const char* command, Map* params) {
    const ATTR name(command);
    QTD::ParamsHelper helper(params);
    // A pass rewrites the frame's record and the picture: the numbers come between passes.
    std::lock_guard<std::recursive_mutex> component(componentLock());
    if (currentImage == nullptr || currentImage->imageData == nullptr) {
        return 0;
    }
    const bool gpu = properties.getAs<int>("system.opengl", "0", true) != 0;
    QTDWindow* window = getWindow();
    // The picture of a GPU chain lies on the graphics card: its stage reads it back when asked.
    auto readBack = [&](BrxImgProcessor* stage) {
        if (gpu && stage != nullptr && window != nullptr && window->surface != nullptr) {
            window->surface->begin(nullptr);
            stage->GetComponent()->RunCommand("readGPU");
            window->surface->end();
        }
        return stage != nullptr ? stage->Output() : nullptr;
    };
    BrxImage* shown = nullptr;
    if (chain != nullptr && name.same("cmd.image.pixel", true)) {
        shown = gpu ? readBack(chain->GetProcessor("image.display")) : chain->Output();
    }
    readout.frame(currentImage, shown, currentImage->pixelType);
    QTDScreen* screen = getScreen();
    const ATTR cs = helper.get("cs", "img");
    Map answer;
    bool done = false;
    if (name.same("cmd.image.pixel", true)) {
        double x = helper.getAs<double>("pos.x", "0"), y = helper.getAs<double>("pos.y", "0");
        if (readout.toImage(screen, cs, x, y)) {
            const int px = int(std::floor(x)), py = int(std::floor(y));
            answer["x"] = std::to_string(px);
            answer["y"] = std::to_string(py);
            answer["inside"] = readout.pixel(px, py, answer) ? "1" : "0";
            done = true;
        }
    } else if (name.same("cmd.image.statistics", true)) {
        const int width = int(currentImage->width), height = int(currentImage->height);
        double x0 = helper.getAs<double>("rect.x", "0"), y0 = helper.getAs<double>("rect.y", "0");
        double x1 = x0 + helper.getAs<double>("rect.w", ATTR(width)),
               y1 = y0 + helper.getAs<double>("rect.h", ATTR(height));
        if (readout.toImage(screen, cs, x0, y0) && readout.toImage(screen, cs, x1, y1)) {
            const int left = int(std::floor(x0)), top = int(std::floor(y0));
            done =
                readout.statistics(left, top, int(std::ceil(x1)) - left, int(std::ceil(y1)) - top,
                                   helper.getAs<int>("bins", "256"), answer);
        }
    } else if (name.same("cmd.image.profile", true)) {
        QTD::PROPERTIES line;
        const ATTR id = helper.get("objectID");
        if (!id.empty()) {
            QTD::PROPERTIES* object =
                window != nullptr ? window->drawObjects.find(id, true) : nullptr;
            if (object == nullptr || !object->get("type").same("line")) {
                return 0;
            }
            line = *object;
        } else {
            line = *params;
        }
        // A drawn line keeps the coordinates it was given beside the window's ones.
        const bool given = !id.empty() && line.find("x0.cs");
        auto coordinate = [&](const char* key) {
            return line.getAs<double>(given ? ATTR::format("%s.cs", key) : ATTR(key), "0");
        };
        double x0 = coordinate("x0"), y0 = coordinate("y0");
        double x1 = coordinate("x1"), y1 = coordinate("y1");
        const ATTR lineCs = line.get("cs", id.empty() ? "img" : "win");
        done = readout.toImage(screen, lineCs, x0, y0) && readout.toImage(screen, lineCs, x1, y1) &&
               readout.profile(x0, y0, x1, y1, answer);
    }
    if (name.same("cmd.image.save", true)) {
        const ATTR what = helper.get("what", "shown");
        BrxImgProcessor* stage =
            chain != nullptr && !what.same("raw")
                ? chain->GetProcessor(what.same("full") ? "image.output" : "image.display")
                : nullptr;
        std::string why;
        done = readout.save(helper.get("file").c_str(), what, readBack(stage), why);
        if (!done) {
            log.warn("cmd.image.save: %s", why.c_str());
        }
    }
    if (!done) {
        return 0;
    }
    for (auto& entry : answer) {
        (*params)[entry.first] = entry.second;
    }
    return 1;
}

int QTDDisplay::processParameter(const char* command, Map* params) {
    std::lock_guard<std::recursive_mutex> component(componentLock());
    QTD::ParamsHelper helper(params);
    const ATTR name = helper.get("name");
    const ATTR value = helper.get("value");
    QTDScreen* screen = getScreen();
    if (ATTR(command).same("cmd.parameter.set")) {
        if (name.same("display.view.bgcolor") && screen != nullptr) {
            screen->props.set("color", value, true);
            if (showing()) {
                getWindow()->update();
            }
        } else if (name.same("image.notification.flags.set")) {
            notificationFlags |= value.as<int>();
        } else if (name.same("image.notification.flags.clear")) {
            notificationFlags &= ~value.as<int>();
        } else if (params != nullptr) {
            properties.set(name, value, true);
        }
        return 0;
    }
    if (name.same("display.view.fit")) {
        if (screen != nullptr) {
            properties.set("display.view.fit", ATTR(screen->fit()), true);
        }
    } else if (name.same("display.view.scale")) {
        if (screen != nullptr) {
            properties.set("display.view.scale", ATTR::format("%f", screen->scale()), true);
        }
    } else if (params != nullptr) {
        helper.set("value", properties.get(name, "", true), true);
    }
    return 0;
}

unsigned int QTDDisplay::RunCommand(const char* command) {
    // "text.add" ends in an overlay call, which takes the set-up lock: take it first, so that
    // the order of the two stays that of the set-up.
    std::lock_guard<std::recursive_mutex> setup(setupLock);
    std::lock_guard<std::recursive_mutex> component(componentLock());
    const ATTR name(command);
    // The overlay call needs the display's own state as it is: a failure stored here would both
    // refuse the text and keep the status line off until the next image.
    if (name.same("text.add")) {
        Map params{{"text.font", properties.get("text.font", "default", true)},
                   {"text.clr", properties.get("text.clr", "", true)},
                   {"objectID", properties.get("objectID", "", true)},
                   {"cs", properties.get("cs", "", true)}};
        const ATTR id = SetOverlayText(properties.get("text.text", "", true).c_str(),
                                       properties.getAs<int>("text.pos.x", "0", true),
                                       properties.getAs<int>("text.pos.y", "0", true), &params);
        if (!id.empty()) {
            properties.set("objectID", id, true);
            return 0;
        }
        return status(CodeFailed);
    }
    if (name.same("processing.proc.add") && chain != nullptr) {
        auto* stage = static_cast<BrxImgProcessor*>(properties.getAs<void*>("processor", "", true));
        chain->AddProcessor("customProcessor", stage);
    } else if (name.same("processing.proc.del") && chain != nullptr) {
        chain->DeleteProcessor("customProcessor");
    }
    // Anything but "text.add" is answered as unhandled, the chain commands too, and the word
    // stays in lastError.
    const unsigned int word = status(CodeUnknownCommand);
    lastError = int32_t(word);
    return word;
}

int QTDDisplay::RunCommandDisplayView(const char* command, Map* params) {
    std::lock_guard<std::recursive_mutex> setup(setupLock);
    const ATTR name(command);
    if (!listed(COMMANDS_VIEW, name)) {
        return 0;
    }
    Map none;
    QTD::ParamsHelper helper(params != nullptr ? params : &none);
    QTDScreen* screen = getScreen();
    QTDWindow* window = getWindow();

    if (name.same("cmd.display.view.zoom.in", true)) {
        return SetZoom(true, helper.getAs<double>("zoom.coef", "-1."), true) ? 1 : 0;
    }
    if (name.same("cmd.display.view.zoom.out", true)) {
        return SetZoom(false, helper.getAs<double>("zoom.coef", "-1."), true) ? 1 : 0;
    }
    if (name.same("cmd.display.view.fit", true)) {
        const int mode = helper.getAs<int>("mode", "1");
        if (!SetFitMode(mode, true)) {
            return 0;
        }
        properties.set("display.view.fit", ATTR(mode), true);
        return 1;
    }
    if (name.same("cmd.display.view.scale", true)) {
        return SetScale(helper.getAs<double>("scale", ATTR::format("%f", 0.0)), true) ? 1 : 0;
    }
    if (name.same("cmd.display.view.translate", true)) {
        if (screen == nullptr) {
            return 0;
        }
        double x = helper.getAs<double>("pos.x", "0");
        double y = helper.getAs<double>("pos.y", "0");
        const bool inside =
            screen->translate(&x, &y, helper.get("cs.src"), helper.get("cs.dst"), true, false);
        helper.set("pos.x", ATTR::format("%f", x), true);
        helper.set("pos.y", ATTR::format("%f", y), true);
        helper.set("result", inside ? "1" : "0", true);
        return 1;
    }
    if (name.same("cmd.display.view.at", true)) {
        if (screen == nullptr) {
            return 0;
        }
        double x = helper.getAs<double>("pos.x", "0");
        double y = helper.getAs<double>("pos.y", "0");
        const ATTR cs = helper.get("cs", "base");
        if (!cs.same("base", true)) {
            screen->translate(&x, &y, cs, "base", true, false);
        }
        return screen->at(x, y) ? 1 : 0;
    }
    if (name.same("cmd.display.view.status", true)) {
        const bool on = properties.getAs<int>("display.view.status", "0", true) == 0;
        properties.set("display.view.status", on ? "1" : "0", true);
        if (on) {
            updateStatus();
        } else {
            DelOverlayObject("@status");
        }
        return 1;
    }
    if (name.same("cmd.display.view.info", true)) {
        const bool on = properties.getAs<int>("display.view.info", "0", true) == 0;
        properties.set("display.view.info", on ? "1" : "0", true);
        if (on) {
            drawInfo();
        } else {
            DelOverlayObject("@info");
        }
        return 1;
    }
    if (name.same("cmd.display.view.image", true)) {
        if (screen == nullptr || window == nullptr) {
            return 0;
        }
        const QTD::TRECT<int> area = window->windowRect(false);
        double x = area.x, y = area.y, w = area.width, h = area.height;
        const bool corner = screen->translate(&x, &y, "win", "img", true, false);
        const bool extent = screen->translate(&w, &h, "win", "img", false, false);
        helper.set("pos.x", ATTR::format("%f", x), true);
        helper.set("pos.y", ATTR::format("%f", y), true);
        helper.set("dim.w", ATTR::format("%f", w), true);
        helper.set("dim.h", ATTR::format("%f", h), true);
        helper.set("inside", ATTR::format("%d", corner && extent ? 1 : 0), true);
        return 1;
    }
    if (name.same("cmd.display.view.nofication", true)) {
        if (window != nullptr) {
            QTD::PROPERTIES bag;
            bag.set("flags", helper.get("flags"), true);
            window->processCommand("cmd.notification.flags.set", &bag);
        }
        return 1;
    }
    if (name.same("cmd.display.view.moveblock", true)) {
        if (window != nullptr) {
            QTD::PROPERTIES bag;
            bag.set("state", helper.get("state"), true);
            window->processCommand("cmd.display.view.moveblock", &bag);
        }
        return 1;
    }
    return 0;
}

void QTDDisplay::drawInfo() {
    const bool gpu = properties.getAs<int>("system.opengl", "0", true) == 1;
    QTD::PROPERTIES info;
    info.set("ID", properties.get("system.objectID", "", true), true);
    info.set("type", gpu ? "GPU" : "CPU", true);
    QTDWindow* window = getWindow();
    if (gpu && window != nullptr && window->surface != nullptr) {
        info.set("vendor", window->surface->props.get("gl.vendor", "", true), true);
        info.set("opengl", window->surface->props.get("gl.version", "", true), true);
    }
    Map params{{"objectID", "@info"},
               {"adjust", gpu ? "1" : "0"},
               {"text.clr", properties.get("display.overlay.status.clr", "", true)},
               {"text.font", properties.get("display.overlay.status.font", "", true)}};
    const ATTR text = info.text(false, " ");
    SetOverlayText(text.c_str(), 2, -1, &params);
}

int QTDDisplay::RunCommandDisplayOverlay(const char* command, Map* params) {
    if (params == nullptr || !listed(COMMANDS_OVERLAY, ATTR(command))) {
        return 0;
    }
    return runOverlayCommand(ATTR(command), *params);
}

int QTDDisplay::runOverlayCommand(const ATTR& name, Map& params) {
    QTD::ParamsHelper helper(&params);
    // A key the caller left out takes the bag's overlay style, then the built-in value.
    auto styled = [this, &params](const char* key, const char* bagKey, const char* fallback) {
        if (params.find(key) == params.end()) {
            params[key] = properties.get(bagKey, fallback, true);
        }
    };
    auto idBack = [&helper](const ATTR& id) {
        helper.set("objectID", id, true);
        return id.empty() ? 0 : 1;
    };
    if (name.same("cmd.display.overlay.params", true)) {
        SetOverlayProperties(static_cast<Map*>(helper.getAs<void*>("props")));
        SetOverlayVariables(static_cast<Map*>(helper.getAs<void*>("vars")));
        properties.set(
            "display.overlay.text.font",
            helper.get("text.font", properties.get("display.overlay.text.font", "", true)), true);
        properties.set("display.overlay.text.clr",
                       helper.get("text.clr", properties.get("display.overlay.text.clr", "", true)),
                       true);
        return 1;
    }
    if (name.same("cmd.display.overlay.text.add", true)) {
        styled("text.font", "display.overlay.text.font", "default");
        styled("text.clr", "display.overlay.text.clr", "0");
        const ATTR text = helper.get("text.text");
        const int x = helper.getAs<int>("text.pos.x", "0");
        const int y = helper.getAs<int>("text.pos.y", "0");
        return idBack(SetOverlayText(text.c_str(), x, y, &params));
    }
    if (name.same("cmd.display.overlay.rect.add", true)) {
        styled("line.width", "display.overlay.line.width", "1");
        styled("line.clr", "display.overlay.line.clr", "0");
        const int x = helper.getAs<int>("rect.x", "0");
        const int y = helper.getAs<int>("rect.y", "0");
        const int w = helper.getAs<int>("rect.w", "0");
        const int h = helper.getAs<int>("rect.h", "0");
        return idBack(SetOverlayRect(x, y, w, h, &params));
    }
    if (name.same("cmd.display.overlay.profline.add", true)) {
        styled("line.width", "display.overlay.line.width", "1");
        styled("line.clr", "display.overlay.line.clr", "0");
        const int x0 = helper.getAs<int>("x0", "0");
        const int y0 = helper.getAs<int>("y0", "0");
        const int x1 = helper.getAs<int>("x1", "0");
        const int y1 = helper.getAs<int>("y1", "0");
        return idBack(SetOverlayProfileLine(x0, y0, x1, y1, &params));
    }
    if (name.same("cmd.display.overlay.add", true)) {
        // The names lack their "cmd." prefix and match nothing: text and rectangles are never
        // drawn by this command, and callers have come to rely on its answer.
        const ATTR type = helper.get("type");
        if (type.same("text")) {
            return RunCommandParams("display.overlay.text.add", &params);
        }
        if (type.same("rect")) {
            return RunCommandParams("display.overlay.rect.add", &params);
        }
        return 1;
    }
    // The three deletions.
    return DelOverlayObject(helper.get("objectID").c_str()) ? 1 : 0;
}

int QTDDisplay::RunCommandSystemMenu(const char* command, Map* params) {
    // Menus are widgets: made, shown and deleted on the thread that owns them. The caller waits
    // holding none of the controller's locks, which that thread may need meanwhile, and gives up
    // with 0 if that thread does not come to it.
    if (QThread::currentThread() != thread()) {
        int result = 0;
        if (!QTD::Thread::CallOn(
                this, [&] { result = RunCommandSystemMenu(command, params); }, MenuWaitMs)) {
            log.error("QTDDisplay::RunCommandSystemMenu(): %s: the display's thread did not "
                      "answer within %d ms",
                      command, MenuWaitMs);
        }
        return result;
    }
    std::lock_guard<std::recursive_mutex> setup(setupLock);
    const ATTR name(command);
    Map none;
    QTD::ParamsHelper helper(params != nullptr ? params : &none);
    if (name.same("cmd.system.menu.create")) {
        if (getScreen() == nullptr) {
            return 0;
        }
        auto* menu = new QMenu(viewer);
        QAction* zoomIn = menu->addAction(tr("Zoom In\t[plus]"), this, &QTDDisplay::slotMenuZoomIn);
        zoomIn->setEnabled(CanZoom(true, -1.0, true));
        QAction* zoomOut =
            menu->addAction(tr("Zoom Out\t[minus]"), this, &QTDDisplay::slotMenuZoomOut);
        zoomOut->setEnabled(CanZoom(false, -1.0, true));
        QMenu* fit = menu->addMenu("Set fit mode...");
        fit->addAction(tr("Fit to Window\t[0]"), this, &QTDDisplay::slotMenuFitWindow);
        fit->addAction(tr("Fill Window\t[2]"), this, &QTDDisplay::slotMenuFillWindow);
        QMenu* zoom = menu->addMenu("Set zoom...");
        zoom->addAction(tr("25%"), this, &QTDDisplay::slotMenuZoom25);
        zoom->addAction(tr("50%"), this, &QTDDisplay::slotMenuZoom50);
        zoom->addAction(tr("100%\t[1]"), this, &QTDDisplay::slotMenuZoom100);
        zoom->addAction(tr("200%"), this, &QTDDisplay::slotMenuZoom200);
        QMenu* center = menu->addMenu("Center at...");
        center->addAction(tr("Image Center\t[C]"), this, &QTDDisplay::slotMenuCenterImage);
        center->addAction(tr("Here\t[double click]"), this, &QTDDisplay::slotMenuCenterHere);
        helper.set("qmenu", ATTR(static_cast<void*>(menu)), true);
        helper.set("qmenuWidget", ATTR(static_cast<void*>(static_cast<QWidget*>(viewer))), true);
        return 1;
    }
    if (name.same("cmd.system.menu.exec")) {
        auto* menu = static_cast<QMenu*>(helper.getAs<void*>("qmenu"));
        if (menu != nullptr) {
            menu->exec(QCursor::pos());
        }
        return 1;
    }
    if (name.same("cmd.system.menu.delete")) {
        delete static_cast<QMenu*>(helper.getAs<void*>("qmenu"));
        return 1;
    }
    return 0;
}

// ---------------------------------------------------------------------------------------------
// View operations

// The view operations share their frame: the set-up lock, a screen to act on, and a redraw
// when asked for and the operation took.
template <class Op> bool QTDDisplay::viewOperation(bool redraw, Op op) {
    std::lock_guard<std::recursive_mutex> setup(setupLock);
    QTDScreen* screen = getScreen();
    if (screen == nullptr || !op(screen)) {
        return false;
    }
    if (redraw) {
        viewer->redraw(true);
    }
    return true;
}

// A coefficient near zero means the stored "display.view.zoom.coef".
double QTDDisplay::zoomCoef(double coef) {
    ATTR stored;
    if (coef < 1e-5 && properties.find("display.view.zoom.coef", &stored, true)) {
        coef = stored.as<double>();
    }
    return coef;
}

bool QTDDisplay::SetFitMode(int mode, bool redraw) {
    return viewOperation(redraw, [&](QTDScreen* screen) { return screen->fit(mode, true); });
}

bool QTDDisplay::CenterAt(double x, double y, bool redraw) {
    return viewOperation(redraw, [&](QTDScreen* screen) { return screen->at(x, y); });
}

bool QTDDisplay::SetZoom(bool zoomIn, double coef, bool redraw) {
    return viewOperation(
        redraw, [&](QTDScreen* screen) { return screen->zoom(zoomIn, zoomCoef(coef), false); });
}

bool QTDDisplay::CanZoom(bool zoomIn, double coef, bool query) {
    (void)query;
    return viewOperation(
        false, [&](QTDScreen* screen) { return screen->zoom(zoomIn, zoomCoef(coef), true); });
}

bool QTDDisplay::SetScale(double scale, bool redraw) {
    std::lock_guard<std::recursive_mutex> setup(setupLock);
    QTDScreen* screen = getScreen();
    if (screen == nullptr) {
        return false;
    }
    screen->scale(scale, false);
    const bool matched = std::fabs(screen->props.getAs<double>("scale", "0", true) - scale) < 1e-7;
    if (redraw) {
        viewer->redraw(true);
    }
    return matched;
}

// ---------------------------------------------------------------------------------------------
// Overlays

bool QTDDisplay::SetOverlayProperties(Map* props) {
    std::lock_guard<std::recursive_mutex> setup(setupLock);
    if (!showing() || props == nullptr) {
        return false;
    }
    getWindow()->drawObjects.defaults = *props;
    return true;
}

bool QTDDisplay::SetOverlayVariables(Map* vars) {
    std::lock_guard<std::recursive_mutex> setup(setupLock);
    if (!showing() || vars == nullptr) {
        return false;
    }
    QTD::TextParser* parser = getWindow()->drawObjects.parser();
    if (parser == nullptr) {
        return false;
    }
    parser->vars = *vars;
    return true;
}

// The three overlay setters share their frame: the set-up lock, the caller's parameters as a
// bag, and a redraw when the window took the object.
template <class Set> QTD::ATTR QTDDisplay::addOverlay(Map* params, Set set) {
    std::lock_guard<std::recursive_mutex> setup(setupLock);
    if (!showing()) {
        return ATTR();
    }
    QTD::PROPERTIES bag;
    if (params != nullptr) {
        bag = *params;
    }
    const ATTR id = set(getWindow(), bag);
    if (!id.empty()) {
        viewer->redraw(true);
    }
    return id;
}

QTD::ATTR QTDDisplay::SetOverlayText(const char* text, int x, int y, Map* params) {
    ATTR line(text);
    return addOverlay(params, [&](QTDWindow* window, QTD::PROPERTIES& bag) {
        return window->setOverlayText(const_cast<char*>(line.c_str()), x, y, bag);
    });
}

QTD::ATTR QTDDisplay::SetOverlayRect(int x, int y, int w, int h, Map* params) {
    return addOverlay(params, [&](QTDWindow* window, QTD::PROPERTIES& bag) {
        return window->setOverlayRect(x, y, w, h, bag);
    });
}

QTD::ATTR QTDDisplay::SetOverlayProfileLine(int x0, int y0, int x1, int y1, Map* params) {
    return addOverlay(params, [&](QTDWindow* window, QTD::PROPERTIES& bag) {
        return window->setOverlayProfileLine(x0, y0, x1, y1, bag);
    });
}

bool QTDDisplay::DelOverlayObject(const char* id) {
    std::lock_guard<std::recursive_mutex> setup(setupLock);
    if (!showing()) {
        return false;
    }
    // Under the window's render lock like the window's own overlay calls: a refresh of the
    // overlays walks the list by index and must not see it shrink.
    QTDWindow* window = getWindow();
    std::lock_guard<std::recursive_mutex> render(window->renderMutex);
    QTD::DrawObjects& objects = window->drawObjects;
    const bool exists = objects.isExist(ATTR(id), ATTR());
    if (exists && objects.del(ATTR(id))) {
        viewer->redraw(true);
    }
    return exists;
}

int QTDDisplay::getProfileLines(int** lines) {
    QTDWindow* window = getWindow();
    if (window == nullptr) {
        return 0;
    }
    // A view change on the window's thread replaces the line objects while they are read here.
    std::lock_guard<std::recursive_mutex> render(window->renderMutex);
    QTD::DrawObjects& objects = window->drawObjects;
    static const char* const Keys[4] = {"x0", "y0", "x1", "y1"};
    int count = 0;
    // From the last line to the first, as the window counts for deletion; each in the
    // coordinates it was given.
    for (int i = objects.count() - 1; i >= 0; --i) {
        QTD::PROPERTIES* object = objects.at(i);
        if (object == nullptr || !object->get("type").same("line")) {
            continue;
        }
        if (lines != nullptr && *lines != nullptr) {
            for (int k = 0; k < 4; ++k) {
                ATTR value = object->get(Keys[k]);
                object->find(ATTR(Keys[k]) + ".cs", &value);
                (*lines)[count * 4 + k] = value.as<int>();
            }
        }
        ++count;
    }
    return count;
}

void QTDDisplay::deleteProfileLine(int index) {
    if (QTDWindow* window = getWindow()) {
        window->deleteLine(index);
    }
}

void QTDDisplay::setActiveProfileLine(int index) {
    if (QTDWindow* window = getWindow()) {
        window->activeLine(index);
    }
}

void QTDDisplay::clearProfileLines() {
    if (QTDWindow* window = getWindow()) {
        window->clearLines();
    }
}

// ---------------------------------------------------------------------------------------------
// Notifications

// The messenger guards its own list. Holding `setupLock` around it would nest the messenger's
// delivery lock inside `setupLock`, while a receiver that steers the view from a delivery takes
// them the other way round.
int QTDDisplay::AppendNotificationProc(BrxDisplayCommand* receiver) {
    messenger.addCommandProcessor(receiver);
    return 1;
}

int QTDDisplay::DeleteNotificationProc(BrxDisplayCommand* receiver) {
    messenger.delCommandProcessor(receiver);
    return 1;
}

// ---------------------------------------------------------------------------------------------
// Context menu

void QTDDisplay::slotMenuZoomIn() {
    SetZoom(true, -1.0, true);
}

void QTDDisplay::slotMenuZoomOut() {
    SetZoom(false, -1.0, true);
}

void QTDDisplay::slotMenuFitWindow() {
    SetFitMode(QTDScreen::FitWindow, true);
}

void QTDDisplay::slotMenuFillWindow() {
    SetFitMode(QTDScreen::FillWindow, true);
}

void QTDDisplay::scaleFromMenu(double scale) {
    std::lock_guard<std::recursive_mutex> setup(setupLock);
    if (QTDScreen* screen = getScreen()) {
        screen->scale(scale, false);
        viewer->redraw(true);
    }
}

// Scale is image pixels per screen pixel: 25% shows four image pixels in one.
void QTDDisplay::slotMenuZoom25() {
    scaleFromMenu(4.0);
}

void QTDDisplay::slotMenuZoom50() {
    scaleFromMenu(2.0);
}

void QTDDisplay::slotMenuZoom100() {
    scaleFromMenu(1.0);
}

void QTDDisplay::slotMenuZoom200() {
    scaleFromMenu(0.5);
}

void QTDDisplay::slotMenuCenterImage() {
    CenterAt(0.5, 0.5, true);
}

void QTDDisplay::slotMenuCenterHere() {
    std::lock_guard<std::recursive_mutex> setup(setupLock);
    if (!showing()) {
        return;
    }
    QTDWindow* window = getWindow();
    QTDScreen* screen = window->screen;
    if (screen == nullptr) {
        return;
    }
    double x = window->properties.getAs<double>("mouse.win.x", "0", true);
    double y = window->properties.getAs<double>("mouse.win.y", "0", true);
    screen->translate(&x, &y, "win", "base", true, false);
    screen->at(x, y);
}
