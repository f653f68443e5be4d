// The viewer's window itself, on an X server: its controls in a small window, and the keys typed
// in the picture.
#include "ViewerWindow.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QGuiApplication>
#include <QScrollArea>
#include <QScrollBar>
#include <QWindow>
#include <QtTest/QTest>

namespace {

// A 900 x 600 viewer on the synthetic camera.
class SmallViewer : public ::testing::Test {
protected:
    void SetUp() override {
        viewer.resize(900, 600);
        viewer.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&viewer));
        ASSERT_TRUE(viewer.start());
        QTest::qWait(300);
    }

    QCheckBox* box(const char* text) {
        for (QCheckBox* b : viewer.findChildren<QCheckBox*>())
            if (b->text() == text)
                return b;
        return nullptr;
    }

    ViewerWindow viewer{ViewerWindow::Settings{}};
};

TEST_F(SmallViewer, ControlsScrollUpAndDownButAreNeverCutAtTheSides) {
    QScrollArea* scroller = viewer.findChild<QScrollArea*>();
    ASSERT_NE(scroller, nullptr);
    EXPECT_TRUE(scroller->verticalScrollBar()->isVisible()) << "600 pixels are too short";
    EXPECT_FALSE(scroller->horizontalScrollBar()->isVisible());
    QWidget* port = scroller->viewport();
    int checked = 0;
    for (QWidget* w : scroller->widget()->findChildren<QWidget*>()) {
        if (!w->isVisible())
            continue;
        const int left = w->mapTo(port, QPoint(0, 0)).x();
        EXPECT_GE(left, 0) << w->metaObject()->className();
        EXPECT_LE(left + w->width(), port->width()) << w->metaObject()->className();
        ++checked;
    }
    EXPECT_GT(checked, 20);
}

TEST_F(SmallViewer, StatusAndInfoKeysTypedInThePictureFlipTheirSwitches) {
    QWindow* picture = nullptr;
    for (QWindow* w : QGuiApplication::allWindows())
        if (w->parent() != nullptr)
            picture = w;
    ASSERT_NE(picture, nullptr);
    QCheckBox* status = box("Status line");
    QCheckBox* info = box("Info line");
    ASSERT_TRUE(status && info);
    const bool wasStatus = status->isChecked(), wasInfo = info->isChecked();
    QTest::keyClick(picture, Qt::Key_S);
    QTest::keyClick(picture, Qt::Key_D);
    EXPECT_TRUE(QTest::qWaitFor([&] { return status->isChecked() != wasStatus; }));
    QTest::keyClick(picture, Qt::Key_S);
    QTest::keyClick(picture, Qt::Key_I);
    EXPECT_TRUE(QTest::qWaitFor([&] { return info->isChecked() != wasInfo; }));
    EXPECT_NE(status->isChecked(), wasStatus) << "each key flips its own switch";
}

} // namespace
