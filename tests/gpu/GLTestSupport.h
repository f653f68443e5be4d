#pragma once

#include "gpu/QGLSurface.h"
#include "support/GraphicsDriver.h"

#include <QGuiApplication>
#include <QWindow>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace GLTest {

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
