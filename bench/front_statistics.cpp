// Statistics and histogram of a 12-megapixel Mono12 frame as "cmd.image.statistics" works them
// out, beside OpenCV's calcHist and meanStdDev on the same data: compare the lines of one run.

#include "front/ImageReadout.h"
#include "image/ColorModelDescription.h"
#include "image/QTDImageHelpers.h"

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <cstdint>

namespace {

constexpr int Width = 4096, Height = 3000;

QTDImageHelpers::ImagePtr frame() {
    QTDImageHelpers::ImagePtr image(
        QTDImageHelpers::imageCreateImage(nullptr, Width, Height, QTD::PixelType::Mono12));
    auto* samples = static_cast<uint16_t*>(image->imageData);
    for (uint32_t i = 0; i < image->imageSize / 2; ++i)
        samples[i] = uint16_t((i * 2654435761u) >> 20);
    return image;
}

void readout(benchmark::State& state) {
    auto image = frame();
    QTD::ImageReadout numbers;
    numbers.frame(image.get(), nullptr, image->pixelType, 1);
    for (auto _ : state) {
        QTD::ImageReadout::Map out;
        numbers.statistics(0, 0, Width, Height, 256, out);
        benchmark::DoNotOptimize(out);
    }
}

void opencv(benchmark::State& state) {
    auto image = frame();
    cv::Mat samples(Height, Width, CV_16UC1, image->imageData, image->stride);
    const int bins = 256;
    const float range[] = {0.0f, 4096.0f};
    const float* ranges[] = {range};
    for (auto _ : state) {
        cv::Mat histogram;
        cv::calcHist(&samples, 1, nullptr, cv::Mat(), histogram, 1, &bins, ranges);
        cv::Scalar mean, stddev;
        cv::meanStdDev(samples, mean, stddev);
        double lowest, highest;
        cv::minMaxLoc(samples, &lowest, &highest);
        benchmark::DoNotOptimize(histogram.data);
    }
}

} // namespace

BENCHMARK(opencv)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(readout)->Unit(benchmark::kMillisecond)->UseRealTime();
