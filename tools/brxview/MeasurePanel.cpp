#include "MeasurePanel.h"

#include <brx/BrxDisplayProcessor.h>

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QSpinBox>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <sstream>

namespace {

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::stringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);) {
        parts.push_back(part);
    }
    return parts;
}

QColor colourOf(const std::string& channel) {
    if (channel == "R" || channel == "V") {
        return QColor(220, 40, 40);
    }
    if (channel == "G" || channel == "Gr" || channel == "Gb" || channel == "U") {
        return channel == "Gb" ? QColor(20, 140, 60) : QColor(40, 190, 40);
    }
    if (channel == "B") {
        return QColor(50, 80, 230);
    }
    return QColor(60, 60, 60);
}

} // namespace

// Curves over a white field, each scaled to the highest value of all.
class MeasurePanel::Plot : public QWidget {
public:
    Plot(QWidget* parent, const char* title) : QWidget(parent), title(title) {
        setMinimumSize(220, 110);
    }
    void set(std::vector<std::pair<QColor, std::vector<double>>> lines) {
        curves = std::move(lines);
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        p.fillRect(rect(), Qt::white);
        p.setPen(QColor(150, 150, 150));
        p.drawRect(rect().adjusted(0, 0, -1, -1));
        p.drawText(4, 12, title);
        double top = 0;
        for (const auto& c : curves) {
            for (double v : c.second) {
                top = std::max(top, v);
            }
        }
        if (top <= 0) {
            return;
        }
        const QRectF area = QRectF(rect()).adjusted(2, 16, -2, -2);
        for (const auto& c : curves) {
            if (c.second.size() < 2) {
                continue;
            }
            QPolygonF line;
            for (size_t i = 0; i < c.second.size(); ++i) {
                line << QPointF(area.left() +
                                    area.width() * double(i) / double(c.second.size() - 1),
                                area.bottom() - area.height() * c.second[i] / top);
            }
            p.setPen(QPen(c.first, 1.2));
            p.drawPolyline(line);
        }
    }

private:
    QString title;
    std::vector<std::pair<QColor, std::vector<double>>> curves;
};

MeasurePanel::MeasurePanel(QWidget* parent) : QWidget(parent) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    histogram = new Plot(this, "Histogram (raw samples)");
    logScale = new QCheckBox("Logarithmic", this);
    figures = new QLabel(this);
    figures->setWordWrap(true);
    profile = new Plot(this, "Profile line (raw samples)");
    // The region: what the window shows, or a rectangle of image pixels given here.
    regionBox = new QComboBox(this);
    regionBox->addItems({"Part shown", "Rectangle (x, y, width, height)"});
    auto* regionRow = new QHBoxLayout();
    const int starts[4] = {0, 0, 64, 64};
    for (int i = 0; i < 4; ++i) {
        corner[i] = new QSpinBox(this);
        corner[i]->setRange(i < 2 ? 0 : 1, 16384);
        corner[i]->setValue(starts[i]);
        corner[i]->setEnabled(false);
        regionRow->addWidget(corner[i]);
        connect(corner[i], qOverload<int>(&QSpinBox::valueChanged), this,
                [this] { emit regionChanged(region()); });
    }
    connect(regionBox, qOverload<int>(&QComboBox::currentIndexChanged), this, [this](int at) {
        for (QSpinBox* box : corner) {
            box->setEnabled(at == 1);
        }
        emit regionChanged(region());
    });
    column->addWidget(histogram);
    column->addWidget(regionBox);
    column->addLayout(regionRow);
    column->addWidget(logScale);
    column->addWidget(figures);
    column->addWidget(profile);
}

void MeasurePanel::refresh(BrxDisplayProcessor* display, const QSize& visible,
                           const std::string& lineId) {
    if (display == nullptr) {
        return;
    }
    // The part of the frame in the window, or the rectangle given: either is cut to the frame.
    const QRect chosen = region();
    const QRect area = chosen.isEmpty() ? QRect(QPoint(0, 0), visible) : chosen;
    std::map<std::string, std::string> stats{{"bins", "128"},
                                             {"rect.x", std::to_string(area.x())},
                                             {"rect.y", std::to_string(area.y())},
                                             {"rect.w", std::to_string(area.width())},
                                             {"rect.h", std::to_string(area.height())},
                                             {"cs", chosen.isEmpty() ? "win" : "img"}};
    channels.clear();
    if (display->RunCommandParams("cmd.image.statistics", &stats) == 1) {
        for (const std::string& name : split(stats["channels"], ';')) {
            Channel c;
            c.name = name;
            for (const std::string& count : split(stats[name + ".histogram"], ';')) {
                const double n = std::stod(count);
                c.bins.push_back(logScale->isChecked() ? std::log10(1.0 + n) : n);
            }
            c.figures = QString("%1: min %2, max %3, mean %4, saturated %5")
                            .arg(QString::fromStdString(name))
                            .arg(QString::fromStdString(stats[name + ".min"]))
                            .arg(QString::fromStdString(stats[name + ".max"]))
                            .arg(QString::fromStdString(stats[name + ".mean"]))
                            .arg(QString::fromStdString(stats[name + ".saturated"]));
            channels.push_back(std::move(c));
        }
    }
    std::vector<std::pair<QColor, std::vector<double>>> bars;
    for (const Channel& c : channels) {
        bars.emplace_back(colourOf(c.name), c.bins);
    }
    histogram->set(bars);
    figures->setText(summary());

    samples.clear();
    std::map<std::string, std::string> line{{"objectID", lineId}};
    if (!lineId.empty() && display->RunCommandParams("cmd.image.profile", &line) == 1) {
        for (const std::string& pixel : split(line["values"], ';')) {
            const std::vector<std::string> values = split(pixel, ',');
            samples.resize(std::max(samples.size(), values.size()));
            for (size_t c = 0; c < values.size(); ++c) {
                samples[c].push_back(std::stod(values[c]));
            }
        }
    }
    std::vector<std::pair<QColor, std::vector<double>>> curves;
    const char* names[] = {"R", "G", "B"};
    for (size_t c = 0; c < samples.size(); ++c) {
        curves.emplace_back(samples.size() == 3 ? colourOf(names[c]) : colourOf("Y"), samples[c]);
    }
    profile->set(curves);
}

QRect MeasurePanel::region() const {
    if (regionBox->currentIndex() != 1) {
        return QRect();
    }
    return QRect(corner[0]->value(), corner[1]->value(), corner[2]->value(), corner[3]->value());
}

void MeasurePanel::setRegion(const QRect& imageRect) {
    const int values[4] = {imageRect.x(), imageRect.y(), imageRect.width(), imageRect.height()};
    for (int i = 0; i < 4; ++i) {
        corner[i]->setValue(values[i]);
    }
    regionBox->setCurrentIndex(imageRect.isEmpty() ? 0 : 1);
}

QString MeasurePanel::summary() const {
    QStringList lines;
    for (const Channel& c : channels) {
        lines << c.figures;
    }
    return lines.join("\n");
}
