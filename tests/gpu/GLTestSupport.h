#pragma once

#include "gpu/QGLSurface.h"
#include "support/GraphicsDriver.h"

#include <QGuiApplication>
#include <QWindow>

#include <gtest/gtest.h>

#include <memory>

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

    std::unique_ptr<QWindow> window;
    QGLSurface surface;
};

} // namespace GLTest
