#include "window/QTDWindow.h"
#include "screen/Rounding.h"

#include "chain/Backend.h"
#include "core/AutoLock.h"
#include "core/HandOver.h"
#include "core/Messenger.h"
#include "image/TextParser.h"
#include "screen/QTDScreen.h"
#include "screen/QTDSurface.h"
#include "window/QTDZoom.h"

#include <QCoreApplication>
#include <QCursor>
#include <QExposeEvent>
#include <QResizeEvent>
#include <QScrollBar>
#include <QThread>
#include <QTimer>
#include <QWidget>

#include <algorithm>
#include <chrono>
#include <cmath>

namespace {

// Frames are logged with the wall clock, read before the logging call decides anything.
long timestampNs() {
    return static_cast<long>(std::chrono::duration_cast<std::chrono::nanoseconds>(
                                 std::chrono::system_clock::now().time_since_epoch())
                                 .count());
}

// Past the GL surface's 30 ms swap pacing.
constexpr int FLUSH_RETRY_MS = 35;

unsigned long idOf(BrxImage* image) {
    return image ? static_cast<unsigned long>(image->imageID) : 0ul;
}

} // namespace

QTDWindow::QTDWindow(QWidget* parentWidget, bool opengl) : parent(parentWidget) {
    if (opengl)
        setSurfaceType(QSurface::OpenGLSurface);
    properties.set("opengl", QTD::ATTR(opengl ? 1 : 0), true);
    properties.set("parent", QTD::ATTR(static_cast<void*>(parentWidget)), true);
}

QTDWindow::~QTDWindow() {
    mouseFree();
    shut();
}

bool QTDWindow::init() {
    bool opengl = properties.getAs<int>("opengl", "0") == 1;
    shut();
    status = 0;
    {
        std::lock_guard<std::recursive_mutex> holdState(stateMutex);
        QWindow::create();
        const QTD::Backend& backend = QTD::Backend::of(opengl);
        surface = backend.newSurface();
        zoomView = new QTDZoom(this);
        properties.set("surface", QTD::ATTR(static_cast<void*>(surface)), true);
        QTD::PROPERTIES surfaceProps;
        surfaceProps.set("window", QTD::ATTR(static_cast<void*>(this)), true);
        if (!surface || !surface->init(&surfaceProps))
            status = 1;
        screen = backend.newScreen(surface);
        if (!screen || !screen->init(this, 0, 0, QTDScreen::FitActual))
            status = 1;
        drawObjects.surface(surface);
    }
    // Events take the input chain's lock before the state lock: so does everything else.
    insertInputProcessor(this, nullptr);
    insertInputProcessor(zoomView, nullptr);
    keyboard.addCommand("sd", "cmd.display.view.status");
    keyboard.addCommand("si", "cmd.display.view.info");
    if (status == 0)
        processCommand("view.changed", nullptr);
    else
        shut();
    return status == 0;
}

bool QTDWindow::shut() {
    // The chain must not keep what is about to go, nor the window twice after a new init. Its
    // lock comes before the state lock, as in every event.
    removeInputProcessor(zoomView);
    removeInputProcessor(this);
    std::lock_guard<std::recursive_mutex> holdState(stateMutex);
    std::lock_guard<std::recursive_mutex> holdRender(renderMutex);
    // Overlays placed after this measure nothing rather than a freed surface.
    drawObjects.surface(nullptr);
    // The surface goes first although the screen refers to it: the screen's destructor leaves
    // it alone.
    delete surface;
    surface = nullptr;
    delete screen;
    screen = nullptr;
    delete zoomView;
    zoomView = nullptr;
    return true;
}

bool QTDWindow::isValid() {
    return surface && screen;
}

bool QTDWindow::isValidImage() {
    BrxImage* current = image.load();
    return current && current->width != 0 && current->height != 0 && current->imageData;
}

void QTDWindow::render() {
    std::lock_guard<std::recursive_mutex> holdRender(renderMutex);
    if (!isValid() || !isExposed())
        return;
    QTD::PROPERTIES frame;
    screen->begin(&frame);
    screen->clear(false);
    // A setImage on another thread may replace the pointer meanwhile; this frame keeps the one
    // it started with.
    BrxImage* current = image.load();
    if (current) {
        long ns = timestampNs();
        log.debug("QTDWindow::render(): draw image, sys timestamp %ld ns, id %lu", ns,
                  idOf(current));
        screen->draw(current, &frame);
        ns = timestampNs();
        log.debug("QTDWindow::render(): image is drawn, sys timestamp %ld ns, id %lu", ns,
                  idOf(current));
        screen->prepare(&frame);
        // Text templates read the image of this frame.
        {
            QTD::AutoLock hold(&drawObjects.mutex);
            frameRecord = *current;
            if (QTD::TextParser* parser = drawObjects.parser())
                parser->vars.set("image", QTD::ATTR(static_cast<void*>(&frameRecord)), true);
        }
        drawObjects.render(surface, &frame);
    }
    screen->end(&frame, true);
    // A surface that paces its swaps may have left this frame unshown: the last frame of a burst
    // must still reach the screen.
    if (surface->props.getAs<int>("flush.dropped", "0", true) != 0)
        QTimer::singleShot(FLUSH_RETRY_MS, this, [this] { update(); });
}

void QTDWindow::update() {
    // One request waits at a time: the frame it brings draws the latest state anyway, and
    // requests from other threads must not pile up while this thread is busy.
    if (updatePending.exchange(true))
        return;
    long ns = timestampNs();
    // Any thread may ask for a frame, while the chain rewrites the record of the image shown:
    // the identifier was taken when the image was set.
    log.debug("QTDWindow::update(): post UpdateRequest, sys timestamp %ld ns, image id %lu", ns,
              imageID.load());
    auto* request = new QEvent(QEvent::UpdateRequest);
    QTD::postedTo(this);
    QCoreApplication::postEvent(this, request, Qt::NormalEventPriority);
}

void QTDWindow::setImage(BrxImage* newImage, bool redraw) {
    std::lock_guard<std::recursive_mutex> holdState(stateMutex);
    image.store(newImage);
    imageID = idOf(newImage);
    if (!newImage)
        return;
    log.debug("QTDWindow::setImage(): id = %lu", idOf(newImage));
    const int width = static_cast<int>(std::min<uint32_t>(newImage->width, INT32_MAX));
    const int height = static_cast<int>(std::min<uint32_t>(newImage->height, INT32_MAX));
    // The frames of a stream share one size: the geometry, which overlay calls on other threads
    // read, is rewritten only when the size changes.
    if (screen && (width != screen->imageWidth || height != screen->imageHeight))
        screen->image(width, height);
    updateScrollParameters(3);
    if (redraw)
        update();
}

void QTDWindow::resize(int width, int height) {
    std::lock_guard<std::recursive_mutex> holdState(stateMutex);
    if (!isValid())
        return;
    screen->window(width, height);
    drawObjects.surface(surface);
    drawObjects.resize(0, 0, width, height);
    // A new size that leaves centre and scale alone is no view change to the screen, yet the
    // bars' range and page follow the window's size.
    updateScrollParameters(3);
}

QEvent::Type QTDWindow::scrollRequest() {
    static const int registered = QEvent::registerEventType();
    return static_cast<QEvent::Type>(registered);
}

bool QTDWindow::event(QEvent* e) {
    QTD::handled();
    if (e->type() == scrollRequest()) {
        updateScrollParameters(pendingScroll.exchange(0));
        return true;
    }
    if (e->type() == QEvent::UpdateRequest) {
        updatePending = false;
        long ns = timestampNs();
        log.debug("QTDWindow::event(): UpdateRequest event, sys timestamp %ld ns, image id %lu", ns,
                  imageID.load());
        render();
        return true;
    }
    return QWindow::event(e);
}

void QTDWindow::exposeEvent(QExposeEvent*) {
    if (isExposed())
        render();
}

void QTDWindow::resizeEvent(QResizeEvent*) {
    if (!isValid())
        return;
    QSize size = QWindow::size();
    resize(size.width(), size.height());
    windowRect(false);
    windowRect(true);
    render();
}

QTD::TPAIR<int> QTDWindow::cursorPos(bool global) {
    QPoint p = QCursor::pos();
    if (!global && parent)
        p = parent->mapFromGlobal(p);
    QTD::TPAIR<int> result;
    result.x = p.x();
    result.y = p.y();
    return result;
}

QTD::TRECT<int> QTDWindow::windowRect(bool frame) {
    // Widgets are read on their own thread only; other threads get what it saw last.
    if (QThread::currentThread() != thread()) {
        std::lock_guard<std::recursive_mutex> holdState(stateMutex);
        return shownRect[frame ? 1 : 0];
    }
    QTD::TRECT<int> result = measureRect(frame);
    std::lock_guard<std::recursive_mutex> holdState(stateMutex);
    shownRect[frame ? 1 : 0] = result;
    return result;
}

QTD::TRECT<int> QTDWindow::measureRect(bool frame) {
    QTD::TRECT<int> result;
    if (!parent)
        return result;
    if (frame) {
        QRect g = parent->frameGeometry();
        result.x = g.x();
        result.y = g.y();
        result.width = g.width();
        result.height = g.height();
        return result;
    }
    QWidget* widget = parent->childAt(parent->width() / 2, parent->height() / 2);
    if (!widget)
        widget = parent;
    result.width = widget->width() - widget->x();
    result.height = widget->height() - widget->y();
    return result;
}

void QTDWindow::window2global(QTD::TPAIR<int>& point) {
    if (!parent)
        return;
    QPoint p = parent->mapToGlobal(QPoint(point.x, point.y));
    point.x = p.x();
    point.y = p.y();
}

void QTDWindow::global2window(QTD::TPAIR<int>& point) {
    if (!parent)
        return;
    QPoint p = parent->mapFromGlobal(QPoint(point.x, point.y));
    point.x = p.x();
    point.y = p.y();
}

bool QTDWindow::processCommand(QTD::ATTR command, QTD::PROPERTIES* props) {
    if (command.same("view.changed")) {
        refreshOverlays();
        {
            std::lock_guard<std::recursive_mutex> holdState(stateMutex);
            if (messengerRef && (notificationFlags & 1)) {
                QTD::Messenger::Map map{{"code", "view.changed"}};
                messengerRef->postCommandParams("notification.view", &map);
            }
        }
        updateScrollParameters(3);
        return true;
    }
    if (command.same("cmd.notification.flags.set")) {
        if (props) {
            int flags = props->getAs<int>("flags", "-1");
            if (flags != -1)
                notificationFlags = flags;
        }
        return false;
    }
    if (command.same("cmd.display.view.status") || command.same("cmd.display.view.info")) {
        if (messengerRef)
            messengerRef->postCommandParams(command.c_str(), nullptr);
        return false;
    }
    if (command.same("cmd.display.view.moveblock")) {
        moveBlock = props && props->getAs<int>("state", "0") != 0;
        return false;
    }
    return false;
}

QTD::ATTR QTDWindow::getProperty(QTD::ATTR key, QTD::ATTR fallback) {
    return properties.get(key, fallback);
}

void QTDWindow::setProperty(QTD::ATTR key, QTD::ATTR value, bool replace) {
    properties.set(key, value, replace);
}

namespace {

using QTD::roundHalfAway;

bool isWin(QTD::ATTR const& cs) {
    return cs.same("win", true);
}

} // namespace

QTD::ATTR QTDWindow::setOverlayText(char* text, int x, int y, QTD::PROPERTIES& props) {
    std::lock_guard<std::recursive_mutex> holdRender(renderMutex);
    if (!text || !*text)
        return QTD::ATTR();
    QTD::PROPERTIES bag(props);
    bag.set("x.cs", QTD::ATTR(x), true);
    bag.set("y.cs", QTD::ATTR(y), true);
    QTD::ATTR id = bag.get("objectID");
    // A negative y asks for placement by the rule in x, whatever the coordinate system.
    if (y < 0) {
        drawObjects.placeText(id, x, text, &bag);
        return id;
    }
    QTD::ATTR cs = bag.get("cs", "win");
    if (!isWin(cs) && screen) {
        double fx = bag.getAs<double>("x.cs");
        double fy = bag.getAs<double>("y.cs");
        screen->translate(&fx, &fy, cs, "win", true, false);
        x = roundHalfAway(fx);
        y = roundHalfAway(fy);
        bag.set("x", QTD::ATTR(x), true);
        bag.set("y", QTD::ATTR(y), true);
    }
    drawObjects.setText(id, x, y, text, &bag);
    return id;
}

bool QTDWindow::translateRect(QTD::ATTR const& cs, double& x, double& y, double& w, double& h,
                              bool adjust) {
    if (!screen)
        return false;
    screen->translate(&x, &y, cs, "win", true, false);
    screen->translate(&w, &h, cs, "win", false, true);
    // The far edge stays where it was: the position's rounding goes into the size.
    w += x - roundHalfAway(x);
    h += y - roundHalfAway(y);
    if (adjust) {
        QTD::TPAIR<double> pos{x, y};
        QTD::TPAIR<double> size{w, h};
        screen->adjustOverlay(&pos, &size);
        x = pos.x;
        y = pos.y;
        w = size.x;
        h = size.y;
    }
    return true;
}

QTD::ATTR QTDWindow::setOverlayRect(int x, int y, int w, int h, QTD::PROPERTIES& props) {
    std::lock_guard<std::recursive_mutex> holdRender(renderMutex);
    QTD::PROPERTIES bag(props);
    QTD::ATTR cs = bag.get("cs", "win");
    bag.set("x.cs", QTD::ATTR(x), true);
    bag.set("y.cs", QTD::ATTR(y), true);
    bag.set("w.cs", QTD::ATTR(w), true);
    bag.set("h.cs", QTD::ATTR(h), true);
    bag.set("cs", cs, true);
    QTD::TRECT<int> rect{x, y, w, h};
    if (!isWin(cs)) {
        double fx = x;
        double fy = y;
        double fw = w;
        double fh = h;
        if (translateRect(cs, fx, fy, fw, fh, bag.getAs<int>("adjust", "0") != 0))
            rect = {roundHalfAway(fx), roundHalfAway(fy), roundHalfAway(fw), roundHalfAway(fh)};
    }
    QTD::ATTR id = bag.get("objectID");
    drawObjects.setRect(id, &rect, &bag);
    if (props.getAs<int>("update", "0") != 0)
        update();
    return id;
}

QTD::ATTR QTDWindow::setOverlayProfileLine(int x0, int y0, int x1, int y1, QTD::PROPERTIES& props) {
    std::lock_guard<std::recursive_mutex> holdRender(renderMutex);
    QTD::PROPERTIES bag(props);
    QTD::ATTR cs = bag.get("cs", "win");
    bag.set("x0.cs", QTD::ATTR(x0), true);
    bag.set("y0.cs", QTD::ATTR(y0), true);
    bag.set("x1.cs", QTD::ATTR(x1), true);
    bag.set("y1.cs", QTD::ATTR(y1), true);
    bag.set("cs", cs, true);
    // "adjust" has no meaning for lines.
    if (!isWin(cs) && screen) {
        double p[4] = {double(x0), double(y0), double(x1), double(y1)};
        screen->translate(&p[0], &p[1], cs, "win", true, false);
        screen->translate(&p[2], &p[3], cs, "win", true, false);
        x0 = roundHalfAway(p[0]);
        y0 = roundHalfAway(p[1]);
        x1 = roundHalfAway(p[2]);
        y1 = roundHalfAway(p[3]);
    }
    QTD::ATTR id = bag.get("objectID");
    drawObjects.setLine(id, x0, y0, x1, y1, &bag);
    if (props.getAs<int>("update", "0") != 0)
        update();
    return id;
}

// Line indices here count from the last line in id order, while the active line counts from the
// first: callers depend on both directions.
void QTDWindow::deleteLine(int index) {
    std::lock_guard<std::recursive_mutex> holdRender(renderMutex);
    int found = 0;
    for (int i = drawObjects.count() - 1; i >= 0; --i) {
        QTD::PROPERTIES* object = drawObjects.at(i);
        if (!object || !object->get("type").same("line"))
            continue;
        if (found++ == index) {
            drawObjects.del(drawObjects.idAt(i));
            return;
        }
    }
}

void QTDWindow::activeLine(int index) {
    std::lock_guard<std::recursive_mutex> holdRender(renderMutex);
    drawObjects.setActiveLine(index);
}

void QTDWindow::clearLines() {
    std::lock_guard<std::recursive_mutex> holdRender(renderMutex);
    for (int i = drawObjects.count() - 1; i >= 0; --i) {
        QTD::PROPERTIES* object = drawObjects.at(i);
        if (object && object->get("type").same("line"))
            drawObjects.del(drawObjects.idAt(i));
    }
}

void QTDWindow::refreshOverlays() {
    if (!screen)
        return;
    std::lock_guard<std::recursive_mutex> holdRender(renderMutex);
    int last = drawObjects.count() - 1;
    for (int i = last; i >= 0; --i) {
        QTD::PROPERTIES* object = drawObjects.at(i);
        if (!object)
            continue;
        QTD::ATTR cs = object->get("cs", "win");
        if (!isWin(cs)) {
            if (!object->get("type").same("line")) {
                double x = object->getAs<double>("x.cs");
                double y = object->getAs<double>("y.cs");
                double w = object->getAs<double>("w.cs");
                double h = object->getAs<double>("h.cs");
                if (std::fabs(w) < 0.0000001) {
                    screen->translate(&x, &y, cs, "win", true, false);
                    object->set("x", QTD::ATTR(roundHalfAway(x)), true);
                    object->set("y", QTD::ATTR(roundHalfAway(y)), true);
                } else {
                    // Unlike setOverlayRect no clip: it holds only until the view changes.
                    translateRect(cs, x, y, w, h, false);
                    object->set("x", QTD::ATTR(roundHalfAway(x)), true);
                    object->set("y", QTD::ATTR(roundHalfAway(y)), true);
                    object->set("w", QTD::ATTR(roundHalfAway(w)), true);
                    object->set("h", QTD::ATTR(roundHalfAway(h)), true);
                }
            } else {
                double p[4] = {object->getAs<double>("x0.cs"), object->getAs<double>("y0.cs"),
                               object->getAs<double>("x1.cs"), object->getAs<double>("y1.cs")};
                screen->translate(&p[0], &p[1], cs, "win", true, false);
                screen->translate(&p[2], &p[3], cs, "win", true, false);
                QTD::ATTR id = object->get("objectID");
                drawObjects.setLine(id, roundHalfAway(p[0]), roundHalfAway(p[1]),
                                    roundHalfAway(p[2]), roundHalfAway(p[3]), object);
                // The line was replaced; the lookup again takes the last object of the
                // list, not this one, as it always has. Lines carry no placement, so this
                // shows nowhere.
                object = drawObjects.at(last);
                if (!object)
                    continue;
            }
        }
        if (object->getAs<int>("placement", "0") != 0)
            drawObjects.updatePlacement(object, true);
    }
}

void QTDWindow::setScroll(int x, int y) {
    if (!horzBar || !vertBar)
        return;
    int which = 0;
    // A bar's setValue may come back here through the viewer's slider slot with the same value;
    // the screen then finds nothing to change.
    if (x >= 0) {
        horzBar->setValue(x);
        which = 2;
    }
    if (y >= 0) {
        vertBar->setValue(y);
        which |= 1;
    }
    if (screen)
        screen->scroll(x, y);
    updateScrollParameters(which);
    update();
}

void QTDWindow::updateScrollParameters(int which) {
    // The bars are widgets: a view changed on another thread moves them on their own thread, in
    // one queued call however many changes come before it runs.
    if (QThread::currentThread() != thread()) {
        if (pendingScroll.fetch_or(which) == 0) {
            auto* request = new QEvent(scrollRequest());
            QTD::postedTo(this);
            QCoreApplication::postEvent(this, request);
        }
        return;
    }
    QTDScreen* view = screen;
    if (!view)
        return;
    bool hasImage = image.load() != nullptr;
    const QTDScreen::ScrollState state = view->scrollState();
    const QTD::TPAIR<int> page = state.page;
    auto apply = [hasImage](QScrollBar* bar, int range, int position, int step) {
        if (!bar)
            return;
        // A bar vanishes when the whole image fits on its axis; the window grows by it, which
        // brings a resize and a new calculation.
        if (range < 1 || !hasImage) {
            bar->setMaximum(0);
            bar->setEnabled(false);
            bar->setVisible(false);
            bar->update();
            return;
        }
        bar->setPageStep(step);
        bar->setMinimum(0);
        bar->setMaximum(range);
        bar->setEnabled(true);
        bar->setVisible(true);
        bar->setValue(std::clamp(position, 0, range));
        bar->update();
    };
    if (which & 2)
        apply(horzBar, state.rangeX, state.x, page.x);
    if (which & 1)
        apply(vertBar, state.rangeY, state.y, page.y);
}

void QTDWindow::messenger(QTD::Messenger* m) {
    std::lock_guard<std::recursive_mutex> holdState(stateMutex);
    messengerRef = m;
}

void QTDWindow::setScrollBars(QScrollBar* horz, QScrollBar* vert) {
    horzBar = horz;
    vertBar = vert;
}

void QTDWindow::insertInputProcessor(QTDInput* input, QTDInput* before) {
    if (!input)
        return;
    std::lock_guard<std::mutex> holdInputs(inputMutex);
    if (!before) {
        inputs.insert(inputs.begin(), input);
        return;
    }
    auto at = std::find(inputs.begin(), inputs.end(), before);
    if (at != inputs.end())
        inputs.insert(at, input);
}

void QTDWindow::removeInputProcessor(QTDInput* input) {
    std::lock_guard<std::mutex> holdInputs(inputMutex);
    auto at = std::find(inputs.begin(), inputs.end(), input);
    if (at != inputs.end())
        inputs.erase(at);
}
