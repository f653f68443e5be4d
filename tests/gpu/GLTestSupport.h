#pragma once

#include "gpu/QGLSurface.h"
#include "support/GraphicsDriver.h"

#include <QGuiApplication>
#include <QWindow>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <functional>
#include <memory>
#include <vector>

namespace GLTest {

// The box around the pixels lit, and how many they are.
struct Box {
    int left = INT_MAX, top = INT_MAX, right = -1, bottom = -1;
    int lit = 0;
    void add(int x, int y) {
        left = std::min(left, x);
        top = std::min(top, y);
        right = std::max(right, x);
        bottom = std::max(bottom, y);
        ++lit;
    }
};

constexpr int Box::*Edges[] = {&Box::left, &Box::top, &Box::right, &Box::bottom};

// The box of the pixels (x, y) of a w x h area whose `value` is above zero.
inline Box inkBox(int w, int h, std::function<int(int, int)> const& value) {
    Box box;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            if (value(x, y) > 0)
                box.add(x, y);
    return box;
}

// A shown window with a surface on it, its context current for the test's body.
class OnContext : public ::testing::Test {
protected:
    void SetUp() override {
        window = std::make_unique<QWindow>();
        window->setSurfaceType(QSurface::OpenGLSurface);
        window->resize(320, 240);
        window->show();
        QGuiApplication::processEvents();
        QTD::PROPERTIES props;
        props.set("window", QTD::ATTR(static_cast<void*>(window.get())), true);
        ASSERT_TRUE(surface.init(&props)) << surface.props.text(false);
        // From its first context on: a driver unloaded between tests would leave its blocks
        // looking lost.
        BrxTest::keepGraphicsDriversLoaded();
        ASSERT_TRUE(surface.begin(nullptr));
    }

    void TearDown() override {
        surface.end();
        surface.shut();
    }

    // Drains the error flag so that a test sees only its own.
    void clearErrors() {
        while (surface.glGetError() != GL_NO_ERROR) {
        }
    }

    // The whole window cleared to black.
    void clearBlack() {
        surface.setViewport(0, 0);
        surface.glClearColor(0, 0, 0, 1);
        surface.glClear(GL_COLOR_BUFFER_BIT);
    }

    // The back buffer's RGBA pixels, bottom row first.
    std::vector<unsigned char> readBack(int w = 320, int h = 240) {
        std::vector<unsigned char> rgba(size_t(w) * h * 4);
        surface.glPixelStorei(GL_PACK_ALIGNMENT, 1);
        surface.glReadPixels(0, 0, w, h, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
        return rgba;
    }

    std::unique_ptr<QWindow> window;
    QGLSurface surface;
};

} // namespace GLTest
