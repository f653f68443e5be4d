#pragma once

// The demo viewer's main window: the display in the centre, the controls on the right. It
// uses the library as an application would, through the public headers alone: the controller
// from BrxDisplayCPU::CreateComponent, images through ProcessImage from the camera thread,
// everything else as text commands.

#include "CameraSource.h"
#include "FrameFigures.h"

#include <QMainWindow>

#include <map>
#include <memory>
#include <string>

class BrxDisplayProcessor;
class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QLabel;
class QSpinBox;
class QRadioButton;

class MeasurePanel;

class ViewerWindow : public QMainWindow {
    Q_OBJECT
public:
    struct Settings {
        std::string format = "RGB8";
        int width = 1024;
        int height = 768;
        double fps = 30.0;
        std::string file;    // empty: the synthetic camera
        std::string rawSize; // "WxH" for a raw file
        bool status = true;
        bool overlay = true;
        bool info = false;
        bool coloration = false;
        bool opengl = false; // the display's backend: OpenGL, or the CPU
        double gains[3] = {1.0, 1.0, 1.0};
        double offset = 0.0;
        double gamma = 1.0;
        uint64_t frames = 0; // 0: run until closed
        // A point of the display area whose pixel the readout shows instead of the mouse's.
        int cursorX = -1, cursorY = -1;
        // Image pixels the histogram covers instead of the part shown, when not empty.
        int region[4] = {0, 0, 0, 0};
    };

    explicit ViewerWindow(const Settings& settings);
    ~ViewerWindow() override;

    // Sets the display up for the chosen source and starts the camera thread. False, with a
    // message on stderr and in the window, when the source can't be used.
    bool start();

    const CameraSource& camera() const { return source; }
    const FrameFigures& figures() const { return *counters; }
    // Size of the frames offered.
    QSize frameSize() const;
    // The display area, in the window's own coordinates.
    QRect viewRect() const;
    QString figuresText() const;
    // Text of the last failure, empty if none.
    const QString& lastError() const { return errorText; }
    // The pixel readout and the histogram's figures as they stand.
    QString readoutText() const;
    QString measureText() const;
    // Saves the frame ("raw"), the view ("shown") or the full-depth image ("full"); false, with
    // a message, when the display could not.
    bool saveFrame(const char* what, const QString& file);

private slots:
    void restart();
    void chooseFile();
    void applyCorrection();
    void toggleStatus(bool on);
    void toggleInfo(bool on);
    void toggleColoration(bool on);
    void toggleOverlay(bool on);
    void refreshFigures();
    void refreshMeasures();
    void drawRegion(const QRect& imageRect);

private:
    QWidget* buildControls();
    int command(const char* name, std::map<std::string, std::string> params = {});
    void showOverlay();
    void hideOverlay();
    void fail(const QString& text);

    Settings settings;
    QWidget* host = nullptr;
    BrxDisplayProcessor* display = nullptr;
    CameraSource source;
    FrameFigures* counters = nullptr;
    std::shared_ptr<RawFrame> fixedFrame;
    QString errorText;
    bool statusOn = false;
    bool infoOn = false;
    std::string overlayIds[3];

    QComboBox* formatBox = nullptr;
    QSpinBox* widthBox = nullptr;
    QSpinBox* heightBox = nullptr;
    QDoubleSpinBox* fpsBox = nullptr;
    QLabel* sourceLabel = nullptr;
    QCheckBox* statusBox = nullptr;
    QCheckBox* infoBox = nullptr;
    QCheckBox* overlayBox = nullptr;
    QCheckBox* colorationBox = nullptr;
    QDoubleSpinBox* gain[3] = {nullptr, nullptr, nullptr};
    QDoubleSpinBox* offsetBox = nullptr;
    QDoubleSpinBox* gammaBox = nullptr;
    QLabel* figuresLabel = nullptr;
    QLabel* messageLabel = nullptr;
    QLabel* readoutLabel = nullptr;
    MeasurePanel* measure = nullptr;
};
