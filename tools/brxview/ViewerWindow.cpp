#include "ViewerWindow.h"

#include "MeasurePanel.h"

#include <brx/BrxComponent.h>
#include <brx/BrxDisplay.h>
#include <brx/BrxDisplayProcessor.h>
#include <brx/BrxImgProcessingChain.h>
#include <brx/BrxImgProcessor.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QCursor>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QImageReader>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QStatusBar>
#include <QStyle>
#include <QTimer>
#include <QVBoxLayout>

#include <cstdio>

ViewerWindow::ViewerWindow(const Settings& chosen) : settings(chosen) {
    setWindowTitle("brxview - BrxDisplayQt demo viewer");
    auto* central = new QWidget(this);
    auto* row = new QHBoxLayout(central);
    row->setContentsMargins(0, 0, 0, 0);
    // The display places its viewer in this widget; it must have no layout of its own.
    host = new QWidget(central);
    host->setMinimumSize(320, 240);
    row->addWidget(host, 1);
    // The controls scroll when the window is short. The panel is as wide as they want with
    // the vertical bar beside them, so that the bar covers nothing; should they still not fit,
    // they scroll sideways too rather than being cut.
    auto* scroller = new QScrollArea(central);
    QWidget* controls = buildControls();
    scroller->setWidget(controls);
    scroller->setWidgetResizable(true);
    scroller->setFrameShape(QFrame::NoFrame);
    scroller->setFixedWidth(
        controls->sizeHint().width() +
        style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, scroller->verticalScrollBar()));
    row->addWidget(scroller);
    setCentralWidget(central);

    display = BrxDisplayCPU::CreateComponent(host);
    counters = new FrameFigures(this);
    counters->attach(display);
    qApp->installEventFilter(counters);
    // The boxes send the commands, so that they and the display stay in step.
    connect(
        counters, &FrameFigures::lineToggled, this,
        [this](bool status) { (status ? statusBox : infoBox)->toggle(); }, Qt::QueuedConnection);

    auto* timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &ViewerWindow::refreshFigures);
    timer->start(500);
    if (settings.region[2] > 0 && settings.region[3] > 0) {
        measure->setRegion(
            QRect(settings.region[0], settings.region[1], settings.region[2], settings.region[3]));
    }
    // The numbers follow the mouse and the live frame five times a second.
    readoutLabel = new QLabel(this);
    statusBar()->addWidget(readoutLabel, 1);
    auto* measureTimer = new QTimer(this);
    connect(measureTimer, &QTimer::timeout, this, &ViewerWindow::refreshMeasures);
    measureTimer->start(200);
}

ViewerWindow::~ViewerWindow() {
    source.stop();
    qApp->removeEventFilter(counters);
    counters->detach();
    BrxDisplayCPU::DeleteComponent(display);
}

QWidget* ViewerWindow::buildControls() {
    auto* panel = new QWidget(this);

    auto* column = new QVBoxLayout(panel);

    auto* camera = new QGroupBox("Source", panel);
    auto* form = new QFormLayout(camera);
    formatBox = new QComboBox(camera);
    for (const CameraFormat& f : CameraFormat::all()) {
        formatBox->addItem(QString::fromStdString(f.name));
    }
    formatBox->setCurrentText(QString::fromStdString(settings.format));
    widthBox = new QSpinBox(camera);
    widthBox->setRange(16, 8192);
    widthBox->setSingleStep(8);
    widthBox->setValue(settings.width);
    heightBox = new QSpinBox(camera);
    heightBox->setRange(16, 8192);
    heightBox->setSingleStep(8);
    heightBox->setValue(settings.height);
    fpsBox = new QDoubleSpinBox(camera);
    fpsBox->setRange(0.5, 1000);
    fpsBox->setValue(settings.fps);
    sourceLabel = new QLabel(camera);
    sourceLabel->setWordWrap(true);
    auto* fileButton = new QPushButton("Open file...", camera);
    auto* apply = new QPushButton("Restart camera", camera);
    form->addRow("Format", formatBox);
    form->addRow("Width", widthBox);
    form->addRow("Height", heightBox);
    form->addRow("Rate (fps)", fpsBox);
    form->addRow(sourceLabel);
    form->addRow(fileButton, apply);
    connect(apply, &QPushButton::clicked, this, &ViewerWindow::restart);
    connect(fileButton, &QPushButton::clicked, this, &ViewerWindow::chooseFile);
    column->addWidget(camera);

    auto* view = new QGroupBox("View", panel);
    auto* grid = new QGridLayout(view);
    struct Button {
        const char* text;
        const char* command;
        std::map<std::string, std::string> params;
    };
    const Button buttons[] = {
        {"Fit", "cmd.display.view.fit", {{"mode", "1"}}},
        {"Fill", "cmd.display.view.fit", {{"mode", "2"}}},
        {"1:1", "cmd.display.view.fit", {{"mode", "3"}}},
        {"Zoom in", "cmd.display.view.zoom.in", {}},
        {"Zoom out", "cmd.display.view.zoom.out", {}},
        {"Centre", "cmd.display.view.at", {{"pos.x", "0.5"}, {"pos.y", "0.5"}}},
    };
    int at = 0;
    for (const Button& b : buttons) {
        auto* button = new QPushButton(b.text, view);
        const std::string name = b.command;
        const auto params = b.params;
        connect(button, &QPushButton::clicked, this,
                [this, name, params] { command(name.c_str(), params); });
        grid->addWidget(button, at / 3, at % 3);
        ++at;
    }
    column->addWidget(view);

    auto* numbers = new QGroupBox("Measure", panel);
    auto* numbersColumn = new QVBoxLayout(numbers);
    measure = new MeasurePanel(numbers);
    connect(measure, &MeasurePanel::regionChanged, this, &ViewerWindow::drawRegion);
    numbersColumn->addWidget(measure);
    auto* saveRow = new QHBoxLayout();
    const struct {
        const char *label, *what, *filter;
    } saves[] = {{"Save raw", "raw", "Raw frame (*.raw)"},
                 {"Save view", "shown", "PNG (*.png)"},
                 {"Save full depth", "full", "PNG (*.png)"}};
    for (const auto& save : saves) {
        auto* button = new QPushButton(save.label, numbers);
        connect(button, &QPushButton::clicked, this, [this, save] {
            const QString file =
                QFileDialog::getSaveFileName(this, save.label, QString(), save.filter);
            if (!file.isEmpty()) {
                saveFrame(save.what, file);
            }
        });
        saveRow->addWidget(button);
    }
    numbersColumn->addLayout(saveRow);
    column->addWidget(numbers);

    auto* show = new QGroupBox("Show", panel);
    auto* showColumn = new QVBoxLayout(show);
    statusBox = new QCheckBox("Status line", show);
    infoBox = new QCheckBox("Info line", show);
    colorationBox = new QCheckBox("Exposure coloration", show);
    overlayBox = new QCheckBox("Overlay: text, rectangle, profile line", show);
    showColumn->addWidget(statusBox);
    showColumn->addWidget(infoBox);
    showColumn->addWidget(colorationBox);
    showColumn->addWidget(overlayBox);
    connect(statusBox, &QCheckBox::toggled, this, &ViewerWindow::toggleStatus);
    connect(infoBox, &QCheckBox::toggled, this, &ViewerWindow::toggleInfo);
    connect(colorationBox, &QCheckBox::toggled, this, &ViewerWindow::toggleColoration);
    connect(overlayBox, &QCheckBox::toggled, this, &ViewerWindow::toggleOverlay);
    column->addWidget(show);

    auto* correction = new QGroupBox("Colour correction", panel);
    auto* correctionForm = new QFormLayout(correction);
    const char* names[] = {"Gain red", "Gain green", "Gain blue"};
    for (int i = 0; i < 3; ++i) {
        gain[i] = new QDoubleSpinBox(correction);
        gain[i]->setRange(0.0, 8.0);
        gain[i]->setSingleStep(0.1);
        gain[i]->setValue(1.0);
        correctionForm->addRow(names[i], gain[i]);
        connect(gain[i], qOverload<double>(&QDoubleSpinBox::valueChanged), this,
                &ViewerWindow::applyCorrection);
    }
    offsetBox = new QDoubleSpinBox(correction);
    offsetBox->setRange(-1.0, 1.0);
    offsetBox->setSingleStep(0.05);
    gammaBox = new QDoubleSpinBox(correction);
    gammaBox->setRange(0.1, 4.0);
    gammaBox->setSingleStep(0.1);
    gammaBox->setValue(1.0);
    correctionForm->addRow("Offset", offsetBox);
    correctionForm->addRow("Gamma", gammaBox);
    connect(offsetBox, qOverload<double>(&QDoubleSpinBox::valueChanged), this,
            &ViewerWindow::applyCorrection);
    connect(gammaBox, qOverload<double>(&QDoubleSpinBox::valueChanged), this,
            &ViewerWindow::applyCorrection);
    column->addWidget(correction);

    auto* backend = new QGroupBox("Backend", panel);
    auto* backendColumn = new QVBoxLayout(backend);
    auto* cpu = new QRadioButton("CPU (OpenCV)", backend);
    cpu->setChecked(!settings.opengl);
    auto* gl = new QRadioButton("OpenGL (shader passes)", backend);
    gl->setChecked(settings.opengl);
    gl->setToolTip("Frames go up to the graphics card once and run through shader passes.");
    connect(gl, &QRadioButton::toggled, this, [this](bool on) {
        settings.opengl = on;
        restart();
    });
    backendColumn->addWidget(cpu);
    backendColumn->addWidget(gl);
    column->addWidget(backend);

    figuresLabel = new QLabel(panel);
    figuresLabel->setWordWrap(true);
    messageLabel = new QLabel(panel);
    messageLabel->setWordWrap(true);
    messageLabel->setStyleSheet("color: #a00000");
    column->addWidget(figuresLabel);
    column->addWidget(messageLabel);
    column->addStretch(1);
    return panel;
}

int ViewerWindow::command(const char* name, std::map<std::string, std::string> params) {
    return display->RunCommandParams(name, &params);
}

void ViewerWindow::fail(const QString& text) {
    errorText = text;
    messageLabel->setText(text);
    std::fprintf(stderr, "brxview: %s\n", text.toLocal8Bit().constData());
}

bool ViewerWindow::start() {
    source.stop();
    errorText.clear();
    messageLabel->clear();
    const CameraFormat* format = CameraFormat::find(settings.format);
    if (format == nullptr) {
        fail(QString("unknown pixel format %1; one of: %2")
                 .arg(QString::fromStdString(settings.format),
                      QString::fromStdString(CameraFormat::names())));
        return false;
    }
    fixedFrame.reset();
    if (!settings.file.empty()) {
        auto frame = std::make_shared<RawFrame>();
        std::string error;
        bool ok = false;
        if (!settings.rawSize.empty()) {
            unsigned w = 0, h = 0;
            char extra = 0;
            if (std::sscanf(settings.rawSize.c_str(), "%ux%u%c", &w, &h, &extra) != 2) {
                fail(QString("bad size %1, expected WIDTHxHEIGHT")
                         .arg(QString::fromStdString(settings.rawSize)));
                return false;
            }
            ok = frame->load(settings.file, *format, w, h, &error);
        } else {
            QImageReader reader(QString::fromStdString(settings.file));
            const QImage picture = reader.read();
            if (picture.isNull()) {
                error = "cannot read " + settings.file + ": " + reader.errorString().toStdString();
            } else {
                ok = frame->pack(picture, *format, &error);
            }
        }
        if (!ok) {
            fail(QString::fromStdString(error));
            return false;
        }
        fixedFrame = frame;
        sourceLabel->setText(QString("File %1").arg(QString::fromStdString(settings.file)));
    } else {
        // Packed rows of four pixels keep every format's rows whole.
        settings.width = std::max(16, settings.width / 8 * 8);
        settings.height = std::max(16, settings.height / 2 * 2);
        sourceLabel->setText("Synthetic camera");
    }
    const uint32_t width = fixedFrame ? fixedFrame->width() : uint32_t(settings.width);
    const uint32_t height = fixedFrame ? fixedFrame->height() : uint32_t(settings.height);
    formatBox->setCurrentText(QString::fromStdString(format->name));
    widthBox->setValue(int(width));
    heightBox->setValue(int(height));
    fpsBox->setValue(settings.fps);
    BrxImage layout{};
    format->describe(layout, width, height, format->paddedStride(width), nullptr);
    hideOverlay();
    // The controller builds a new window and chain for a backend other than its last one.
    display->GetComponent()->SetParamInt("system.opengl", settings.opengl ? 1 : 0);
    const uint32_t word = display->Init(&layout);
    if (word != 0) {
        fail(QString("the display refused %1 %2x%3: status 0x%4")
                 .arg(QString::fromStdString(format->name))
                 .arg(width)
                 .arg(height)
                 .arg(word, 8, 16, QChar('0')));
        return false;
    }
    counters->reset();
    drawRegion(measure->region());
    // A re-initialisation rebuilds the chain, whose stages start from their defaults; the
    // status line and the overlay objects belong to the window and stay.
    if (statusBox->isChecked() != settings.status) {
        statusBox->setChecked(settings.status);
    } else {
        toggleStatus(settings.status);
    }
    if (colorationBox->isChecked() != settings.coloration) {
        colorationBox->setChecked(settings.coloration);
    } else if (settings.coloration) {
        toggleColoration(true);
    }
    // The boxes carry the correction into the new chain.
    {
        const QSignalBlocker blocks[] = {QSignalBlocker(gain[0]), QSignalBlocker(gain[1]),
                                         QSignalBlocker(gain[2]), QSignalBlocker(offsetBox),
                                         QSignalBlocker(gammaBox)};
        for (int i = 0; i < 3; ++i) {
            gain[i]->setValue(settings.gains[i]);
        }
        offsetBox->setValue(settings.offset);
        gammaBox->setValue(settings.gamma);
    }
    applyCorrection();
    if (infoBox->isChecked() != settings.info) {
        infoBox->setChecked(settings.info);
    }
    if (fixedFrame) {
        source.startFixed(display, fixedFrame, settings.fps, settings.frames);
    } else {
        source.startSynthetic(display, *format, settings.width, settings.height, settings.fps,
                              settings.frames);
    }
    // The overlay commands need an image in the display.
    QTimer::singleShot(200, this, [this] {
        if (overlayBox->isChecked() != settings.overlay) {
            overlayBox->setChecked(settings.overlay);
        } else if (settings.overlay) {
            showOverlay();
        }
    });
    return true;
}

void ViewerWindow::restart() {
    settings.format = formatBox->currentText().toStdString();
    settings.width = widthBox->value();
    settings.height = heightBox->value();
    settings.fps = fpsBox->value();
    settings.frames = 0;
    start();
}

void ViewerWindow::chooseFile() {
    const QString path = QFileDialog::getOpenFileName(
        this, "Open an image", QString(), "Images (*.png *.tif *.tiff *.bmp *.jpg);;Raw (*)");
    if (path.isEmpty()) {
        return;
    }
    settings.file = path.toStdString();
    settings.rawSize.clear();
    if (!QImageReader(path).canRead()) {
        // A raw frame: the size boxes give its size.
        settings.rawSize =
            std::to_string(widthBox->value()) + "x" + std::to_string(heightBox->value());
    }
    settings.format = formatBox->currentText().toStdString();
    settings.fps = fpsBox->value();
    settings.frames = 0;
    start();
}

void ViewerWindow::applyCorrection() {
    for (int i = 0; i < 3; ++i) {
        settings.gains[i] = gain[i]->value();
    }
    settings.offset = offsetBox->value();
    settings.gamma = gammaBox->value();
    BrxImgProcessingChain* chain = display->GetProcessingChain();
    BrxImgProcessor* stage =
        chain != nullptr ? chain->GetProcessor("image.colorcorrection") : nullptr;
    BrxComponent* c = stage != nullptr ? stage->GetComponent() : nullptr;
    if (c == nullptr) {
        return;
    }
    c->SetParamFloat("gain.r", gain[0]->value());
    c->SetParamFloat("gain.g", gain[1]->value());
    c->SetParamFloat("gain.b", gain[2]->value());
    for (const char* key : {"offs.r", "offs.g", "offs.b"}) {
        c->SetParamFloat(key, offsetBox->value());
    }
    c->SetParamFloat("gamma", gammaBox->value());
    c->RunCommand("params.apply");
    command("cmd.image.rebuild");
}

void ViewerWindow::toggleStatus(bool on) {
    settings.status = on;
    // The command toggles; keep the display in step with the box.
    if (on != statusOn) {
        command("cmd.display.view.status");
        statusOn = on;
    }
}

void ViewerWindow::toggleInfo(bool on) {
    settings.info = on;
    if (on != infoOn) {
        command("cmd.display.view.info");
        infoOn = on;
    }
}

void ViewerWindow::toggleColoration(bool on) {
    settings.coloration = on;
    BrxImgProcessingChain* chain = display->GetProcessingChain();
    BrxImgProcessor* stage = chain != nullptr ? chain->GetProcessor("image.coloration") : nullptr;
    if (stage != nullptr && stage->IsEnabled() != on) {
        stage->Enable(on);
        command("cmd.image.rebuild");
    }
}

void ViewerWindow::toggleOverlay(bool on) {
    settings.overlay = on;
    if (on) {
        showOverlay();
    } else {
        hideOverlay();
    }
}

void ViewerWindow::showOverlay() {
    hideOverlay();
    const int w = fixedFrame ? int(fixedFrame->width()) : settings.width;
    const int h = fixedFrame ? int(fixedFrame->height()) : settings.height;
    // A text placed by rule (3: bottom right), a rectangle round the zone plate and a profile
    // line across the colour bars, both in image coordinates: they follow zoom and scroll.
    std::map<std::string, std::string> text{{"text.text", "BrxDisplayQt demo"},
                                            {"text.pos.x", "3"},
                                            {"text.pos.y", "-1"},
                                            {"text.clr", std::to_string(0xFF0000)}};
    std::map<std::string, std::string> rect{{"rect.x", std::to_string(w / 16)},
                                            {"rect.y", std::to_string(h / 3 + h / 24)},
                                            {"rect.w", std::to_string(w / 2 - w / 8)},
                                            {"rect.h", std::to_string(h / 3 - h / 12)},
                                            {"cs", "img"},
                                            {"line.width", "3"},
                                            {"line.clr", std::to_string(0x00FF00)}};
    std::map<std::string, std::string> line{{"x0", "0"},
                                            {"y0", std::to_string(h / 6)},
                                            {"x1", std::to_string(w - 1)},
                                            {"y1", std::to_string(h / 6)},
                                            {"cs", "img"},
                                            {"line.width", "2"},
                                            {"line.clr", std::to_string(0xFF00FF)}};
    // The maps themselves, not copies: the display answers each object's id in them.
    const int done = display->RunCommandParams("cmd.display.overlay.text.add", &text) +
                     display->RunCommandParams("cmd.display.overlay.rect.add", &rect) +
                     display->RunCommandParams("cmd.display.overlay.profline.add", &line);
    overlayIds[0] = text["objectID"];
    overlayIds[1] = rect["objectID"];
    overlayIds[2] = line["objectID"];
    if (done < 3) {
        messageLabel->setText("Overlay: this build of the library does not draw overlay "
                              "objects yet (the commands returned not done).");
    }
}

void ViewerWindow::hideOverlay() {
    for (std::string& id : overlayIds) {
        if (!id.empty()) {
            command("cmd.display.overlay.del", {{"objectID", id}});
            id.clear();
        }
    }
}

QSize ViewerWindow::frameSize() const {
    return fixedFrame ? QSize(int(fixedFrame->width()), int(fixedFrame->height()))
                      : QSize(settings.width, settings.height);
}

QRect ViewerWindow::viewRect() const {
    return QRect(host->mapTo(this, QPoint(0, 0)), host->size());
}

QString ViewerWindow::figuresText() const {
    return QString("offered %1, processed %2, shown %3, fps %4, processing %5 ms/frame")
        .arg(source.offered())
        .arg(counters->processed())
        .arg(counters->shown())
        .arg(counters->fps(), 0, 'f', 1)
        .arg(counters->processingMs(), 0, 'f', 2);
}

void ViewerWindow::drawRegion(const QRect& area) {
    // The histogram's rectangle, drawn over the picture in image coordinates.
    command("cmd.display.overlay.del", {{"objectID", "@region"}});
    if (!area.isEmpty()) {
        command("cmd.display.overlay.rect.add", {{"objectID", "@region"},
                                                 {"rect.x", std::to_string(area.x())},
                                                 {"rect.y", std::to_string(area.y())},
                                                 {"rect.w", std::to_string(area.width())},
                                                 {"rect.h", std::to_string(area.height())},
                                                 {"cs", "img"},
                                                 {"line.width", "2"},
                                                 {"line.clr", std::to_string(0xFFFF00)}});
    }
}

QString ViewerWindow::readoutText() const {
    return readoutLabel != nullptr ? readoutLabel->text() : QString();
}

QString ViewerWindow::measureText() const {
    return measure != nullptr ? measure->summary() : QString();
}

bool ViewerWindow::saveFrame(const char* what, const QString& file) {
    std::map<std::string, std::string> params{{"file", file.toStdString()}, {"what", what}};
    if (display->RunCommandParams("cmd.image.save", &params) != 1) {
        fail(QString("could not save %1 to %2").arg(what, file));
        return false;
    }
    return true;
}

void ViewerWindow::refreshMeasures() {
    // The pixel under the mouse, or under the point given, in the display's window.
    const QPoint at = settings.cursorX >= 0 ? QPoint(settings.cursorX, settings.cursorY)
                                            : host->mapFromGlobal(QCursor::pos());
    std::map<std::string, std::string> pixel{{"pos.x", std::to_string(at.x() + 0.5)},
                                             {"pos.y", std::to_string(at.y() + 0.5)},
                                             {"cs", "win"}};
    QString text;
    if (host->rect().contains(at) && display->RunCommandParams("cmd.image.pixel", &pixel) == 1 &&
        pixel["inside"] == "1") {
        text = QString("x %1, y %2: raw %3")
                   .arg(QString::fromStdString(pixel["x"]), QString::fromStdString(pixel["y"]),
                        QString::fromStdString(pixel["raw"]));
        if (!pixel["raw.channel"].empty()) {
            text += QString(" (%1)").arg(QString::fromStdString(pixel["raw.channel"]));
        }
        if (!pixel["shown"].empty()) {
            text += QString(", shown %1").arg(QString::fromStdString(pixel["shown"]));
        }
    }
    readoutLabel->setText(text);
    if (measure->isVisible()) {
        measure->refresh(display, host->size(), overlayIds[2]);
    }
}

void ViewerWindow::refreshFigures() {
    figuresLabel->setText(figuresText().replace(", ", "\n"));
}
