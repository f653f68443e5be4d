// The render window's mouse and keyboard: the events Qt delivers, walked through the chain of
// input processors, and the window's own handling of them.

#include "window/QTDWindow.h"

#include "core/HandOver.h"
#include "core/Messenger.h"
#include "screen/QTDScreen.h"
#include "screen/Rounding.h"
#include "window/QTDZoom.h"

#include <QCursor>
#include <QFocusEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>

#include <cmath>

// Mouse and keyboard handling. Every handler runs on the GUI thread under `stateMutex`; the
// walk of the chain around it holds `inputMutex`.

std::map<std::string, std::string> QTDWindow::buttonNotification(char const* code, int x, int y,
                                                                 bool left) {
    std::map<std::string, std::string> map;
    map["code"] = code;
    map["left"] = left ? "1" : "0";
    map["win.x"] = QTD::ATTR::format("%d", x);
    map["win.y"] = QTD::ATTR::format("%d", y);
    double ix = x, iy = y;
    bool inside = screen && screen->translate(&ix, &iy, "win", "img", true, false);
    if (!left) {
        QTD::TPAIR<int> global;
        global.x = x;
        global.y = y;
        window2global(global);
        map["gbl.x"] = QTD::ATTR::format("%d", global.x);
        map["gbl.y"] = QTD::ATTR::format("%d", global.y);
    }
    if (!inside) {
        map["img.x"] = "-";
        map["img.y"] = "-";
    } else if (left) {
        map["img.x"] = QTD::ATTR::format("%f", ix);
        map["img.y"] = QTD::ATTR::format("%f", iy);
    } else {
        map["img.x"] = QTD::ATTR::format("%d", QTD::roundHalfAway(ix));
        map["img.y"] = QTD::ATTR::format("%d", QTD::roundHalfAway(iy));
    }
    return map;
}

void QTDWindow::applyBand() {
    if (screen)
        screen->fit(0, false);
    QTD::TRECT<int> rect;
    zoomView->endTrack(&rect);
    if (zoomView->resultMode == 0 || !screen)
        return;
    QTD::TPAIR<int> corner;
    corner.x = rect.x;
    corner.y = rect.y;
    global2window(corner);
    rect.x = corner.x;
    rect.y = corner.y;
    screen->zoomRect(rect, zoomView->resultMode == 1);
}

bool QTDWindow::mouseDown(int x, int y, bool left, int) {
    std::lock_guard<std::recursive_mutex> holdState(stateMutex);
    if (!isValid() || !isValidImage())
        return false;
    // The display controller reads these when it centres the view on the clicked point.
    properties.set("mouse.win.x", QTD::ATTR::format("%d", x), true);
    properties.set("mouse.win.y", QTD::ATTR::format("%d", y), true);
    if (!left) {
        // Nothing more until the move or the release tells a band from a click.
        rightDown = true;
        QTD::TPAIR<int> press;
        press.x = x;
        press.y = y;
        window2global(press);
        pressX = press.x;
        pressY = press.y;
        return false;
    }
    if (messengerRef && (notificationFlags & 4)) {
        std::map<std::string, std::string> map = buttonNotification("mouse.down", x, y, true);
        // The application may take the click for itself.
        if (messengerRef->sendCommandParams("notification.mouse", &map) != 0)
            return false;
    }
    setMouseGrabEnabled(true);
    mouseGrabbed = true;
    pressX = x;
    pressY = y;
    inputMode = 1;
    // A press alone leaves fit mode, before any movement.
    screen->fit(0, false);
    screen->lock(x, y);
    return true;
}

bool QTDWindow::mouseMove(int x, int y, int) {
    std::lock_guard<std::recursive_mutex> holdState(stateMutex);
    if (!isValid())
        return false;
    if (inputMode != 4 && messengerRef && (notificationFlags & 2)) {
        std::map<std::string, std::string> map;
        map["code"] = "mouse.move";
        map["win.x"] = QTD::ATTR::format("%d", x);
        map["win.y"] = QTD::ATTR::format("%d", y);
        // Written outside the image too: a move reports where it is, not whether it hit.
        double ix = x, iy = y;
        screen->translate(&ix, &iy, "win", "img", true, false);
        map["img.x"] = QTD::ATTR::format("%f", ix);
        map["img.y"] = QTD::ATTR::format("%f", iy);
        messengerRef->postCommandParams("notification.mouse", &map);
    }
    if (inputMode == 1) {
        if (!moveBlock) {
            screen->moveLocked(x, y);
            update();
            setCursor(QCursor(Qt::ClosedHandCursor));
        }
        return true;
    }
    if (inputMode == 0 && !rightDown) {
        if (cursor().shape() != Qt::ArrowCursor)
            setCursor(QCursor(Qt::ArrowCursor));
        return false;
    }
    if (!zoomView)
        return false;
    QTD::TPAIR<int> here;
    here.x = x;
    here.y = y;
    window2global(here);
    if (rightDown && std::hypot(here.x - pressX, here.y - pressY) > 4.0) {
        QTD::TPAIR<int> press;
        press.x = pressX;
        press.y = pressY;
        bool control = (QGuiApplication::keyboardModifiers() & Qt::ControlModifier) != 0;
        zoomView->beginTrack(this, &press, control ? 1 : 0);
        inputMode = 2;
        rightDown = false;
        return true;
    }
    zoomView->trackPosition(nullptr);
    return true;
}

bool QTDWindow::mouseUp(int x, int y, bool left, int) {
    std::lock_guard<std::recursive_mutex> holdState(stateMutex);
    if (!isValid())
        return false;
    if (left) {
        if (messengerRef && (notificationFlags & 4)) {
            if (inputMode == 4) {
                setMouseGrabEnabled(false);
                inputMode = 0;
            }
            std::map<std::string, std::string> map = buttonNotification("mouse.up", x, y, true);
            if (messengerRef->sendCommandParams("notification.mouse", &map) != 0)
                return false;
        }
        bool handled = false;
        if (inputMode == 1) {
            inputMode = 0;
            if (mouseGrabbed)
                setMouseGrabEnabled(false);
            pressX = pressY = 0;
            mouseGrabbed = false;
            screen->unlock(x, y, false);
            handled = true;
        }
        setCursor(QCursor(Qt::ArrowCursor));
        return handled;
    }
    if (!zoomView) {
        setCursor(QCursor(Qt::ArrowCursor));
        return false;
    }
    pressX = pressY = 0;
    inputMode = 0;
    rightDown = false;
    bool click = !zoomView->isTracking();
    if (!click) {
        applyBand();
    } else if (messengerRef && (notificationFlags & 4)) {
        // A plain right click is told at the release, as a press.
        std::map<std::string, std::string> map = buttonNotification("mouse.down", x, y, false);
        messengerRef->postCommandParams("notification.mouse", &map);
    }
    update();
    setCursor(QCursor(Qt::ArrowCursor));
    return click;
}

bool QTDWindow::mouseFree() {
    std::lock_guard<std::recursive_mutex> holdState(stateMutex);
    // Mouse moves, not buttons, decide whether a loss of the mouse is told.
    if (messengerRef && (notificationFlags & 2)) {
        if (inputMode == 4) {
            setMouseGrabEnabled(false);
            inputMode = 0;
        }
        std::map<std::string, std::string> map;
        map["code"] = "mouse.free";
        map["win.x"] = QTD::ATTR::format("%d", pressX);
        map["win.y"] = QTD::ATTR::format("%d", pressY);
        if (messengerRef->sendCommandParams("notification.mouse", &map) != 0)
            return false;
    }
    if (inputMode == 1) {
        if (mouseGrabbed)
            setMouseGrabEnabled(false);
        pressX = pressY = 0;
        mouseGrabbed = false;
        rightDown = false;
        // A pan that lost the mouse goes back to where it began.
        if (screen)
            screen->unlock(0, 0, true);
    } else if (zoomView && (rightDown || inputMode == 2)) {
        pressX = pressY = 0;
        rightDown = false;
        // A lost band still applies its rectangle.
        if (zoomView->isTracking()) {
            applyBand();
            update();
        }
    }
    inputMode = 0;
    setCursor(QCursor(Qt::ArrowCursor));
    return true;
}

bool QTDWindow::mouseDblClick(int x, int y, bool left, int) {
    std::lock_guard<std::recursive_mutex> holdState(stateMutex);
    if (!left || !screen)
        return false;
    screen->at(x, y, "win");
    return true;
}

bool QTDWindow::mouseWheel(int delta) {
    std::lock_guard<std::recursive_mutex> holdState(stateMutex);
    if (!screen)
        return false;
    // One step per event, whatever its size; the centre of the view stays.
    screen->zoom(delta > 0, 0, false);
    update();
    return true;
}

bool QTDWindow::keyDown(int key) {
    std::lock_guard<std::recursive_mutex> holdState(stateMutex);
    if (!screen)
        return false;
    double scale = screen->scale();
    int fitMode = screen->fit();
    int newFit = -1;
    switch (key) {
    case Qt::Key_0:
        newFit = QTDScreen::FitWindow;
        break;
    case Qt::Key_1:
        newFit = QTDScreen::FitActual;
        break;
    case Qt::Key_2:
        newFit = QTDScreen::FillWindow;
        break;
    case Qt::Key_Plus:
    case Qt::Key_Minus:
        screen->zoom(key == Qt::Key_Plus, 0, false);
        if (std::fabs(screen->scale() - scale) >= 0.0000001)
            update();
        return true;
    default: {
        // Other processors may want the key too.
        QTD::ATTR command = keyboard.putKey(key);
        if (!command.empty())
            processCommand(command, nullptr);
        return false;
    }
    }
    screen->fit(newFit, false);
    if (screen->fit() != fitMode)
        update();
    return true;
}

template <typename Call> void QTDWindow::dispatch(Call call) {
    bool handled = false;
    {
        std::lock_guard<std::mutex> holdInputs(inputMutex);
        for (QTDInput* input : inputs)
            if (call(input)) {
                handled = true;
                break;
            }
    }
    if (handled)
        update();
}

void QTDWindow::focusOutEvent(QFocusEvent*) {
    std::lock_guard<std::mutex> holdInputs(inputMutex);
    for (QTDInput* input : inputs)
        input->mouseFree();
}

void QTDWindow::keyPressEvent(QKeyEvent* e) {
    int key = e->key();
    dispatch([key](QTDInput* input) { return input->keyDown(key); });
}

void QTDWindow::dispatchButton(QMouseEvent* e, bool (QTDInput::*handler)(int, int, bool, int)) {
    QPoint p = e->localPos().toPoint();
    bool left = e->button() == Qt::LeftButton;
    dispatch([&](QTDInput* input) { return (input->*handler)(p.x(), p.y(), left, 0); });
}

void QTDWindow::mousePressEvent(QMouseEvent* e) {
    dispatchButton(e, &QTDInput::mouseDown);
}

void QTDWindow::mouseReleaseEvent(QMouseEvent* e) {
    dispatchButton(e, &QTDInput::mouseUp);
}

void QTDWindow::mouseDoubleClickEvent(QMouseEvent* e) {
    dispatchButton(e, &QTDInput::mouseDblClick);
}

void QTDWindow::mouseMoveEvent(QMouseEvent* e) {
    QPoint p = e->localPos().toPoint();
    int left = e->button() == Qt::LeftButton ? 1 : 0;
    dispatch([&](QTDInput* input) { return input->mouseMove(p.x(), p.y(), left); });
}

void QTDWindow::wheelEvent(QWheelEvent* e) {
    QPoint angle = e->angleDelta();
    int delta = angle.y() != 0 ? angle.y() : angle.x();
    dispatch([delta](QTDInput* input) { return input->mouseWheel(delta); });
}
