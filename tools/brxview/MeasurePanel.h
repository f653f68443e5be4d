#pragma once

// The numbers beside the picture: the histogram of the frame per channel, with its minimum,
// maximum, mean and saturated count, and the plot of the samples along a profile line. Both come
// from the display's own commands on the raw frame, asked anew at each refresh.

#include <QWidget>

#include <map>
#include <string>
#include <vector>

class BrxDisplayProcessor;
class QCheckBox;
class QComboBox;
class QLabel;
class QSpinBox;

class MeasurePanel : public QWidget {
    Q_OBJECT
public:
    explicit MeasurePanel(QWidget* parent);

    // Asks the display for the statistics of what its window shows, a `visible` area of window
    // coordinates, and the samples of the line `lineId` (none when empty), and redraws.
    void refresh(BrxDisplayProcessor* display, const QSize& visible, const std::string& lineId);

    // The figures shown under the histogram, one line a channel.
    QString summary() const;
    // The rectangle of image pixels the histogram covers; empty for the part shown.
    QRect region() const;
    void setRegion(const QRect& imageRect);

signals:
    // The user chose another region: the viewer draws it over the picture.
    void regionChanged(const QRect& imageRect);

private:
    class Plot;
    struct Channel {
        std::string name;
        std::vector<double> bins;
        QString figures;
    };

    QCheckBox* logScale = nullptr;
    QComboBox* regionBox = nullptr;
    QSpinBox* corner[4] = {nullptr, nullptr, nullptr, nullptr}; // x, y, width, height
    QLabel* figures = nullptr;
    Plot* histogram = nullptr;
    Plot* profile = nullptr;
    std::vector<Channel> channels;
    std::vector<std::vector<double>> samples; // per channel, along the line
};
