#include "window/QTDViewer.h"

#include "chain/QTDProcessor.h"
#include "chain/QTDProcs.h"
#include "image/QTDImageHelpers.h"
#include "screen/QTDSurface.h"
#include "window/QTDWindow.h"

#include <brx/BrxImgProcessor.h>

#include <QBoxLayout>
#include <QCoreApplication>
#include <QEvent>
#include <QResizeEvent>
#include <QScrollBar>

#include <chrono>

namespace {

// What the screen draws on the CPU path: packed RGB, 8 bits a channel.
constexpr unsigned int DISPLAY_FORMAT = 35127665;

int side(uint32_t v) {
    return v > 0x7FFFFFFFu ? 0 : static_cast<int>(v);
}

} // namespace

QTDViewer::QTDViewer(QWidget* parent, bool opengl) : QWidget(parent) {
    properties.set("system.parentWidget", QTD::ATTR(static_cast<void*>(parent)), true);
    properties.set("system.opengl", QTD::ATTR(opengl ? 1 : 0), true);

    horzBar = new QScrollBar(Qt::Horizontal, this);
    vertBar = new QScrollBar(Qt::Vertical, this);
    window = new QTDWindow(this, opengl);
    container = QWidget::createWindowContainer(window, this);
    container->setFocusPolicy(Qt::StrongFocus);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    if (parent && !parent->layout()) {
        column->addWidget(container);
        column->addWidget(horzBar);
        // The vertical bar lives in the application's widget, to the right of the viewer.
        auto* row = new QHBoxLayout(parent);
        row->setContentsMargins(0, 0, 0, 0);
        row->setSpacing(0);
        row->addWidget(this);
        row->addWidget(vertBar);
        hostLayout = row;
    } else {
        // No widget of the application to share (or it has a layout of its own): the vertical
        // bar stays inside the viewer.
        auto* row = new QHBoxLayout();
        row->setContentsMargins(0, 0, 0, 0);
        row->setSpacing(0);
        row->addWidget(container);
        row->addWidget(vertBar);
        column->addLayout(row);
        column->addWidget(horzBar);
    }

    connect(horzBar, &QScrollBar::valueChanged, this, &QTDViewer::slotHorzSliderChanged);
    connect(vertBar, &QScrollBar::valueChanged, this, &QTDViewer::slotVertSliderChanged);

    window->setScrollBars(horzBar, vertBar);
    horzBar->setVisible(true);
    vertBar->setVisible(true);
    container->setVisible(true);
    setVisible(true);
    activateWindow();

    if (window->init()) {
        properties.set("surface", window->getProperty("surface", QTD::ATTR()), true);
    } else {
        // The container goes too (and takes the window along): Qt's container dereferences
        // its window when the layout moves it.
        delete container;
        container = nullptr;
        window = nullptr;
        status = NoWindow;
    }
}

QTDViewer::~QTDViewer() {
    emit closing(this);
    {
        std::lock_guard<std::recursive_mutex> hold(imageMutex);
        // The container would delete the window too, but later, after the bars it refers to.
        delete window;
        window = nullptr;
    }
    shut();
    // What the viewer put into the application's widget goes with it, so that a new viewer
    // finds the widget as this one did.
    if (vertBar && vertBar->parentWidget() != this)
        delete vertBar.data();
    delete hostLayout.data();
}

int32_t QTDViewer::init(BrxImage* format, QTDProcessor* processor) {
    status = Good;
    if (!format || format->width == 0 || format->height == 0 || !processor)
        return status = BadArguments;
    {
        std::lock_guard<std::recursive_mutex> hold(imageMutex);
        status = properties.getAs<int>("system.opengl", "0") != 0 ? initQGL(format, processor)
                                                                  : initCPU(format, processor);
    }
    if (status != Good)
        shut();
    return status;
}

int32_t QTDViewer::initCPU(BrxImage* format, QTDProcessor* processor) {
    if (!processor)
        return status = BadArguments;
    // The display stage shares a frame that needs no conversion; coloration then paints the
    // copy that "image.unpacked" makes for it, never the camera's frame.
    return status = addDisplayStages(QTD::Backend::cpu(), format, processor, {{"share.input", "1"}},
                                     true);
}

int32_t QTDViewer::initQGL(BrxImage* format, QTDProcessor* processor) {
    const bool flip = processor && processor->properties.getAs<int>("flip", "0", true) == 1;
    const bool strict = processor && processor->properties.getAs<int>("strict", "0", true) == 1;
    QTDSurface* surface = window ? window->surface : nullptr;
    if (!surface)
        return status = NoWindow;
    if (!processor)
        return status = BadArguments;
    surface->begin(nullptr);
    Settings display;
    if (flip)
        display.push_back({"image.flip.vert", "1"});
    // Frames of the strict path get no exposure coloration pass.
    status = addDisplayStages(QTD::Backend::gpu(), format, processor, display, !strict);
    surface->end();
    return status;
}

int32_t QTDViewer::addDisplayStages(const QTD::Backend& backend, BrxImage* format,
                                    QTDProcessor* processor, Settings display, bool coloration) {
    // The display stage takes what the chain's last stage gives. Before the first frame a
    // stage has no output yet, only the format it will produce.
    BrxImage* source = format;
    int count = processor->Size();
    if (BrxImgProcessor* last = count > 0 ? processor->GetProcessor(count - 1) : nullptr) {
        if (last->Output())
            source = last->Output();
        else if (last->Format(false))
            source = last->Format(false);
    }
    if (!source || side(source->width) == 0 || side(source->height) == 0)
        return NoWindow;

    // A new set-up replaces the images of the last one; the chain that used them is gone.
    shut();
    int w = side(source->width);
    int h = side(source->height);
    // Rows lie as the chain leaves them: a GPU chain leaves them bottom-up, and the coloration
    // pass reads the raw picture by that.
    const int rows = source->orientation == 1 ? -h : h;
    processedImage = QTDImageHelpers::imageCreateFormat(nullptr, w, rows, source->pixelType);
    displayImage = QTDImageHelpers::imageCreateFormat(nullptr, w, rows, DISPLAY_FORMAT);
    if (!processedImage || !displayImage)
        return NoImages;

    const char* mono = QTD::Procs::isIn(QTD::Procs::MONO_INDEXEXT, source->pixelType) ? "1" : "0";
    if (backend.isGpu())
        display.push_back({"image.color.mono", mono});
    if (!addStage(backend, QTD::StageKind::Image, "image.display", processor, display,
                  processedImage, displayImage))
        return NoImages;
    if (!coloration)
        return Good;
    Settings colorationSettings;
    if (backend.isGpu())
        colorationSettings.push_back({"image.color.mono", mono});
    BrxImgProcessor* stage = addStage(backend, QTD::StageKind::Coloration, "image.coloration",
                                      processor, colorationSettings, displayImage, nullptr);
    if (!stage)
        return NoColoration;
    // Coloration waits for its command to switch on.
    stage->Enable(false);
    return Good;
}

BrxImgProcessor* QTDViewer::addStage(const QTD::Backend& backend, QTD::StageKind kind,
                                     const char* name, QTDProcessor* processor,
                                     const Settings& settings, BrxImage* input, BrxImage* output) {
    BrxImgProcessor* stage = backend.newStage(kind, processor->display, processor->GetComponent());
    if (!stage)
        return nullptr;
    for (const auto& setting : settings)
        stage->GetComponent()->SetParamAsString(setting.first, const_cast<char*>(setting.second));
    if (stage->Init(input, output) != 0 || processor->AddProcessor(name, stage) != 0) {
        stage->Release();
        delete stage;
        return nullptr;
    }
    return stage;
}

void QTDViewer::shut() {
    QTDImageHelpers::imageDelete(processedImage);
    processedImage = nullptr;
    QTDImageHelpers::imageDelete(displayImage);
    displayImage = nullptr;
}

void QTDViewer::setImage(BrxImage* newImage, bool redrawNow) {
    std::lock_guard<std::recursive_mutex> hold(imageMutex);
    image = newImage;
    if (window) {
        window->setImage(newImage, false);
        if (redrawNow)
            window->update();
    }
    if (!redrawNow) {
        long ns = static_cast<long>(std::chrono::duration_cast<std::chrono::nanoseconds>(
                                        std::chrono::system_clock::now().time_since_epoch())
                                        .count());
        log.debug("QTDViewer::setImage: post UpdateRequest, sys timestamp %ld ns, image id %lu", ns,
                  newImage ? static_cast<unsigned long>(newImage->imageID) : 0ul);
        QCoreApplication::postEvent(this, new QEvent(QEvent::UpdateRequest));
    }
}

void QTDViewer::slotDisplayImage(BrxImage* newImage, bool redrawNow) {
    setImage(newImage, redrawNow);
}

void QTDViewer::redraw(bool) {
    // A frame that is being prepared right now needs no second request.
    std::unique_lock<std::recursive_mutex> hold(imageMutex, std::try_to_lock);
    if (hold.owns_lock() && window)
        window->update();
}

void QTDViewer::messenger(QTD::Messenger* m) {
    if (window)
        window->messenger(m);
}

void QTDViewer::resizeEvent(QResizeEvent* event) {
    // The container follows the viewer's size. The layout has placed it already, with the
    // horizontal bar below it when that is shown: stretching the container over the whole
    // event size would cover the bar.
    if (window && !layout())
        container->resize(event->size());
}

// The bars move inside the window's own calls (a new image, a view change) while it holds its
// state lock: the receiver lock guards only the look-up, so that it never nests outside that.
QTDWindow* QTDViewer::sliderTarget() {
    std::lock_guard<std::recursive_mutex> hold(processorGuard);
    return window;
}

void QTDViewer::slotHorzSliderChanged(int value) {
    if (QTDWindow* target = sliderTarget())
        target->setScroll(value, -1);
}

void QTDViewer::slotVertSliderChanged(int value) {
    if (QTDWindow* target = sliderTarget())
        target->setScroll(-1, value);
}
