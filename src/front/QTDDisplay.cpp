#include "front/QTDDisplay.h"

#include "chain/QTDConverter.h"
#include "chain/QTDProcessor.h"
#include "chain/QTDProcs.h"
#include "core/AutoLock.h"
#include "core/HandOver.h"
#include "core/Thread.h"
#include "image/ColorModelDescription.h"
#include "image/ImageLayout.h"
#include "image/QTDImageHelpers.h"
#include "screen/QTDScreen.h"
#include "screen/QTDSurface.h"
#include "window/QTDViewer.h"
#include "window/QTDWindow.h"

#include <brx/BrxImgProcessor.h>

#include <QMetaType>
#include <QThread>
#include <QTimer>
#include <QWidget>

#include <sched.h>

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
    // Once only: redraws that other threads keep asking for must not hold frames back.
    if (QTDWindow* window = getWindow();
        !checkDeferred && window != nullptr && window->framePending()) {
        checkDeferred = true;
        emit signalCheckIncomingBuffer();
        return;
    }
    checkDeferred = false;
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
