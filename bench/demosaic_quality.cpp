// Quality and speed of the demosaicing kernels beside OpenCV's.
//
//   bench_demosaic_quality [--quality] [--speed] [--deep] [--reps N] [image.png ...]
//
// Without --quality or --speed it does both; --deep adds the quality table at 16 bits; --reps
// sets the runs per speed figure (best one kept, default 15).
//
// Quality: each RGB image (the McMaster set when none is given), and built-in synthetic scenes,
// is mosaicked for the four patterns and demosaiced by each of our modes and by OpenCV's
// bilinear, edge-aware (EA) and VNG modes; the table shows colour PSNR (one MSE over the three
// channels, 4-pixel border excluded), per image averaged over the patterns. False colour: on
// grey one-pixel lines and a zone plate, the share of pixels whose R - G or B - G is off by more
// than 8 and 16 code values. Speed: MPix/s at 1280 x 800 and 4096 x 3000, 8 and 16 bit, on one
// thread and on all cores, with the ratio to OpenCV's bilinear cvtColor of the same run.

#include "demosaic/BayerEngine.h"

#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

using BrxDemosaic::BayerEngine;
using BrxDemosaic::BayerFrame;

namespace {

char const* const PATTERN_NAMES[4] = {"GR", "RG", "BG", "GB"};

// OpenCV names a pattern by the second row's second and third pixels: a camera's RG (red at
// 0,0) is its BG.
int cvCode(int pattern, int kind) {
    static int const bilinear[4] = {cv::COLOR_BayerGB2RGB, cv::COLOR_BayerBG2RGB,
                                    cv::COLOR_BayerRG2RGB, cv::COLOR_BayerGR2RGB};
    static int const ea[4] = {cv::COLOR_BayerGB2RGB_EA, cv::COLOR_BayerBG2RGB_EA,
                              cv::COLOR_BayerRG2RGB_EA, cv::COLOR_BayerGR2RGB_EA};
    static int const vng[4] = {cv::COLOR_BayerGB2RGB_VNG, cv::COLOR_BayerBG2RGB_VNG,
                               cv::COLOR_BayerRG2RGB_VNG, cv::COLOR_BayerGR2RGB_VNG};
    return kind == 0 ? bilinear[pattern] : kind == 1 ? ea[pattern] : vng[pattern];
}

// Red at (redX, redY) of each 2 x 2 cell, blue opposite, green elsewhere.
int cfaChannel(int pattern, int x, int y) {
    int const rx = 1 - (pattern & 1), ry = pattern > 1 ? 1 : 0;
    bool const redRow = ((y ^ ry) & 1) == 0;
    int const cx = redRow ? rx : 1 - rx;
    if ((x & 1) != cx)
        return 1;
    return redRow ? 0 : 2;
}

// A mosaic of an 8-bit RGB image, at 8 bits or scaled to 16.
cv::Mat mosaic(cv::Mat const& rgb, int pattern, bool deep) {
    cv::Mat out(rgb.rows, rgb.cols, deep ? CV_16UC1 : CV_8UC1);
    for (int y = 0; y < rgb.rows; ++y) {
        cv::Vec3b const* in = rgb.ptr<cv::Vec3b>(y);
        for (int x = 0; x < rgb.cols; ++x) {
            int const v = in[x][cfaChannel(pattern, x, y)];
            if (deep)
                out.at<uint16_t>(y, x) = static_cast<uint16_t>(v * 257);
            else
                out.at<uint8_t>(y, x) = static_cast<uint8_t>(v);
        }
    }
    return out;
}

double psnr(cv::Mat const& ref, cv::Mat const& test, int border = 4) {
    cv::Mat t8;
    if (test.depth() == CV_16U)
        test.convertTo(t8, CV_8U, 1.0 / 257.0);
    else
        t8 = test;
    double sum = 0;
    long count = 0;
    for (int y = border; y < ref.rows - border; ++y) {
        cv::Vec3b const* a = ref.ptr<cv::Vec3b>(y);
        cv::Vec3b const* b = t8.ptr<cv::Vec3b>(y);
        for (int x = border; x < ref.cols - border; ++x)
            for (int c = 0; c < 3; ++c) {
                double const d = double(a[x][c]) - double(b[x][c]);
                sum += d * d;
                ++count;
            }
    }
    double const mse = sum / double(count);
    return mse <= 0 ? 99.0 : 10.0 * std::log10(255.0 * 255.0 / mse);
}

bool ours(BayerEngine& engine, cv::Mat const& bayer, cv::Mat& out, int pattern, int mode) {
    bool const deep = bayer.depth() == CV_16U;
    out.create(bayer.rows, bayer.cols, deep ? CV_16UC3 : CV_8UC3);
    BayerFrame f;
    f.src = bayer.data;
    f.srcStride = static_cast<ptrdiff_t>(bayer.step);
    f.dst = out.data;
    f.dstStride = static_cast<ptrdiff_t>(out.step);
    f.width = bayer.cols;
    f.height = bayer.rows;
    f.pattern = pattern;
    f.depth = deep ? 16 : 8;
    f.bytes = deep ? 2 : 1;
    return engine.run(f, mode);
}

// OpenCV's VNG output lies two rows off (4.x); shifted back so it can be compared.
void cvDemosaic(cv::Mat const& bayer, cv::Mat& out, int pattern, int kind) {
    cv::cvtColor(bayer, out, cvCode(pattern, kind));
    if (kind == 2) {
        cv::Mat shifted = out.clone();
        out.rowRange(0, out.rows - 2).copyTo(shifted.rowRange(2, out.rows));
        out = shifted;
    }
}

struct Method {
    char const* name;
    int mode;   // ours: 0..3; OpenCV: -1
    int cvKind; // 0 bilinear, 1 EA, 2 VNG
};

Method const METHODS[] = {{"mode1 bilinear", 1, 0}, {"mode0 gradient", 0, 0}, {"mode2 RCD", 2, 0},
                          {"mode3 quality", 3, 0},  {"cv bilinear", -1, 0},   {"cv EA", -1, 1},
                          {"cv VNG", -1, 2}};
constexpr int METHOD_COUNT = sizeof(METHODS) / sizeof(METHODS[0]);

cv::Mat syntheticZonePlate(int n) {
    cv::Mat m(n, n, CV_8UC3);
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x) {
            double const dx = x - n / 2.0, dy = y - n / 2.0;
            double const v = 127.5 + 127.0 * std::cos(M_PI * (dx * dx + dy * dy) / (2.0 * n));
            m.at<cv::Vec3b>(y, x) =
                cv::Vec3b(cv::saturate_cast<uint8_t>(v), cv::saturate_cast<uint8_t>(v),
                          cv::saturate_cast<uint8_t>(v));
        }
    return m;
}

// Grey one-pixel lines on a dark ground, one scene per kind: along a column, along a row, along
// the diagonal, a pair two pixels apart, and all of them crossing in one scene.
enum class Lines { column, row, diagonal, pair, crossing };

cv::Mat syntheticLines(int n, Lines kind) {
    cv::Mat m(n, n, CV_8UC3, cv::Scalar::all(51));
    bool const all = kind == Lines::crossing;
    for (int i = 0; i < n; ++i) {
        std::vector<cv::Point> on;
        if (all || kind == Lines::column)
            on.push_back(cv::Point(n / 3, i));
        if (all || kind == Lines::row)
            on.push_back(cv::Point(i, n / 2));
        if (all || kind == Lines::diagonal)
            on.push_back(cv::Point(i, i));
        if (all || kind == Lines::pair) {
            on.push_back(cv::Point(2 * n / 3, i));
            on.push_back(cv::Point(2 * n / 3 + 2, i));
        }
        for (cv::Point p : on)
            m.at<cv::Vec3b>(p) = cv::Vec3b(217, 217, 217);
    }
    return m;
}

// Share of pixels (4-pixel border left out) whose R - G or B - G is off by more than `threshold`.
double falseColour(cv::Mat const& ref, cv::Mat const& test, int threshold) {
    long bad = 0, n = 0;
    for (int y = 4; y < ref.rows - 4; ++y)
        for (int x = 4; x < ref.cols - 4; ++x, ++n) {
            cv::Vec3b const a = ref.at<cv::Vec3b>(y, x), b = test.at<cv::Vec3b>(y, x);
            int const g = int(b[1]) - a[1];
            bad += std::abs(int(b[0]) - a[0] - g) > threshold ||
                   std::abs(int(b[2]) - a[2] - g) > threshold;
        }
    return double(bad) / double(n);
}

cv::Mat syntheticSlantedEdges(int n) {
    cv::Mat m(n, n, CV_8UC3);
    double const slope = std::tan(5.0 * M_PI / 180.0);
    cv::Vec3b const colours[4] = {cv::Vec3b(230, 40, 30), cv::Vec3b(20, 200, 60),
                                  cv::Vec3b(40, 60, 220), cv::Vec3b(240, 240, 240)};
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x) {
            double const u = x + slope * y;
            double const v = y - slope * x;
            int const band = static_cast<int>(std::floor(u / 48.0)) & 3;
            int const other = static_cast<int>(std::floor(v / 64.0)) & 1;
            cv::Vec3b c = colours[band];
            if (other)
                c = cv::Vec3b(255 - c[0], 255 - c[1], 255 - c[2]);
            m.at<cv::Vec3b>(y, x) = c;
        }
    cv::GaussianBlur(m, m, cv::Size(3, 3), 0.6);
    return m;
}

cv::Mat syntheticColourSweep(int n) {
    cv::Mat hsv(n, n, CV_8UC3);
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x)
            hsv.at<cv::Vec3b>(y, x) = cv::Vec3b(static_cast<uint8_t>(180 * x / n),
                                                static_cast<uint8_t>(255 * y / (n - 1)),
                                                static_cast<uint8_t>(128 + 127 * ((x / 8) & 1)));
    cv::Mat rgb;
    cv::cvtColor(hsv, rgb, cv::COLOR_HSV2RGB);
    return rgb;
}

struct Image {
    std::string name;
    cv::Mat rgb;
};

void quality(std::vector<Image> const& images, bool deep) {
    BayerEngine engine(0);
    std::printf("\nColour PSNR in dB, %s, average of the four patterns (border 4 excluded)\n",
                deep ? "16-bit" : "8-bit");
    std::printf("%-14s", "image");
    for (Method const& m : METHODS)
        if (!(deep && m.cvKind == 2 && m.mode < 0))
            std::printf(" %15s", m.name);
    std::printf("\n");
    double total[METHOD_COUNT] = {};
    double perPattern[METHOD_COUNT][4] = {};
    for (Image const& img : images) {
        double row[METHOD_COUNT] = {};
        for (int p = 0; p < 4; ++p) {
            cv::Mat const bayer = mosaic(img.rgb, p, deep);
            for (int k = 0; k < METHOD_COUNT; ++k) {
                Method const& m = METHODS[k];
                if (deep && m.mode < 0 && m.cvKind == 2)
                    continue; // VNG takes 8-bit data only
                cv::Mat out;
                if (m.mode >= 0)
                    ours(engine, bayer, out, p, m.mode);
                else
                    cvDemosaic(bayer, out, p, m.cvKind);
                double const q = psnr(img.rgb, out);
                row[k] += q / 4;
                perPattern[k][p] += q / double(images.size());
            }
        }
        std::printf("%-15s", img.name.c_str());
        for (int k = 0; k < METHOD_COUNT; ++k) {
            if (deep && METHODS[k].mode < 0 && METHODS[k].cvKind == 2)
                continue;
            std::printf(" %15.2f", row[k]);
            total[k] += row[k] / double(images.size());
        }
        std::printf("\n");
    }
    std::printf("%-14s", "average");
    for (int k = 0; k < METHOD_COUNT; ++k)
        if (!(deep && METHODS[k].mode < 0 && METHODS[k].cvKind == 2))
            std::printf(" %15.2f", total[k]);
    std::printf("\n");
    for (int p = 0; p < 4; ++p) {
        std::printf("  pattern %-5s", PATTERN_NAMES[p]);
        for (int k = 0; k < METHOD_COUNT; ++k)
            if (!(deep && METHODS[k].mode < 0 && METHODS[k].cvKind == 2))
                std::printf(" %15.2f", perPattern[k][p]);
        std::printf("\n");
    }
}

void artefacts() {
    BayerEngine engine(0);
    std::printf("\nFalse colour on grey scenes: %% of pixels with R - G or B - G off by more than "
                "8 / 16 code values, average of the four patterns\n%-15s",
                "scene");
    for (Method const& m : METHODS)
        std::printf(" %15s", m.name);
    std::printf("\n");
    for (Image const& img : {Image{"column line", syntheticLines(128, Lines::column)},
                             Image{"row line", syntheticLines(128, Lines::row)},
                             Image{"diagonal line", syntheticLines(128, Lines::diagonal)},
                             Image{"line pair", syntheticLines(128, Lines::pair)},
                             Image{"crossing lines", syntheticLines(128, Lines::crossing)},
                             Image{"zone plate", syntheticZonePlate(256)}}) {
        std::printf("%-15s", img.name.c_str());
        for (Method const& m : METHODS) {
            double share[2] = {0, 0};
            for (int p = 0; p < 4; ++p) {
                cv::Mat const bayer = mosaic(img.rgb, p, false);
                cv::Mat out;
                if (m.mode >= 0)
                    ours(engine, bayer, out, p, m.mode);
                else
                    cvDemosaic(bayer, out, p, m.cvKind);
                share[0] += falseColour(img.rgb, out, 8) / 4;
                share[1] += falseColour(img.rgb, out, 16) / 4;
            }
            char cell[32];
            std::snprintf(cell, sizeof cell, "%.1f / %.1f", 100 * share[0], 100 * share[1]);
            std::printf(" %15s", cell);
        }
        std::printf("\n");
    }
}

// Seconds of one call, best of `reps` runs. The methods of one table row take turns run by
// run, so that load from other processes falls on all of them alike; the best run is the one
// least disturbed.
std::vector<double> timeRound(std::vector<std::function<void()>> const& calls, int reps) {
    std::vector<double> best(calls.size(), 1e30);
    for (auto const& call : calls)
        call(); // warm up: page faults, thread start, caches
    for (int r = 0; r < reps; ++r)
        for (size_t i = 0; i < calls.size(); ++i) {
            auto const t0 = std::chrono::steady_clock::now();
            calls[i]();
            double const s =
                std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
            best[i] = std::min(best[i], s);
        }
    return best;
}

void speed(cv::Mat const& texture, int reps) {
    int const cores = BrxDemosaic::BayerThreadPool::coreCount();
    struct Size {
        int w, h;
    };
    Size const sizes[2] = {{1280, 800}, {4096, 3000}};
    std::printf("\nSpeed in MPix/s (best of %d), pattern RG but where told; ratio to OpenCV's "
                "bilinear cvtColor of the same size, depth and threads in brackets.\n",
                reps);
    std::printf("%-16s %-8s", "method", "depth");
    for (Size const& z : sizes)
        for (int threads : {1, cores}) {
            char head[40];
            std::snprintf(head, sizeof head, "%.0f MP %d thread%s", z.w * z.h / 1e6, threads,
                          threads > 1 ? "s" : "");
            std::printf(" %18s", head);
        }
    std::printf("\n");
    // The rows: every method on the RG pattern, and the gradient method once more on GR, where it
    // adds the shader's edge-directed green.
    struct Row {
        std::string name;
        Method method;
        int pattern;
    };
    std::vector<Row> rows;
    for (Method const& m : METHODS)
        rows.push_back({m.name, m, 1});
    rows.insert(rows.begin() + 2, Row{"mode0 (GR)", METHODS[1], 0});
    size_t cvRow = 0;
    while (rows[cvRow].method.mode >= 0)
        ++cvRow;
    for (int deep = 0; deep < 2; ++deep) {
        std::vector<size_t> used;
        for (size_t k = 0; k < rows.size(); ++k)
            if (!(deep && rows[k].method.mode < 0 && rows[k].method.cvKind == 2))
                used.push_back(k);
        // rate[size * 2 + threads index][row]
        std::vector<std::vector<double>> rate(4, std::vector<double>(rows.size(), 0));
        for (int z = 0; z < 2; ++z) {
            int const w = sizes[z].w, h = sizes[z].h;
            cv::Mat big(h, w, CV_8UC3);
            for (int y = 0; y < h; y += texture.rows)
                for (int x = 0; x < w; x += texture.cols) {
                    cv::Rect r(x, y, std::min(texture.cols, w - x), std::min(texture.rows, h - y));
                    texture(cv::Rect(0, 0, r.width, r.height)).copyTo(big(r));
                }
            cv::Mat const mosaics[2] = {mosaic(big, 0, deep != 0), mosaic(big, 1, deep != 0)};
            for (int t = 0; t < 2; ++t) {
                int const threads = t == 0 ? 1 : cores;
                BayerEngine engine(threads);
                std::vector<cv::Mat> outs(rows.size());
                std::vector<std::function<void()>> calls;
                for (size_t k : used) {
                    Row const& r = rows[k];
                    cv::Mat* out = &outs[k];
                    cv::Mat const* in = &mosaics[r.pattern];
                    if (r.method.mode >= 0)
                        calls.push_back(
                            [&, out, in, r] { ours(engine, *in, *out, r.pattern, r.method.mode); });
                    else
                        calls.push_back([out, in, r, threads] {
                            cv::setNumThreads(threads);
                            cv::cvtColor(*in, *out, cvCode(r.pattern, r.method.cvKind));
                        });
                }
                std::vector<double> const wall = timeRound(calls, reps);
                for (size_t i = 0; i < used.size(); ++i)
                    rate[z * 2 + t][used[i]] = double(w) * h / 1e6 / wall[i];
            }
        }
        for (size_t k : used) {
            std::printf("%-16s %-8s", rows[k].name.c_str(), deep ? "16-bit" : "8-bit");
            for (int c = 0; c < 4; ++c) {
                char cell[32];
                std::snprintf(cell, sizeof cell, "%.0f (%.2gx)", rate[c][k],
                              rate[c][k] / rate[c][cvRow]);
                std::printf(" %18s", cell);
            }
            std::printf("\n");
        }
    }
    cv::setNumThreads(-1);
}

} // namespace

int main(int argc, char** argv) {
    bool wantQuality = false, wantSpeed = false, deepQuality = false;
    int reps = 15;
    std::vector<std::string> files;
    for (int i = 1; i < argc; ++i) {
        std::string const a = argv[i];
        if (a == "--quality")
            wantQuality = true;
        else if (a == "--speed")
            wantSpeed = true;
        else if (a == "--deep")
            deepQuality = true;
        else if (a == "--reps" && i + 1 < argc)
            reps = std::max(1, std::atoi(argv[++i]));
        else
            files.push_back(a);
    }
    if (!wantQuality && !wantSpeed)
        wantQuality = wantSpeed = true;

    std::vector<Image> images;
    bool const mcMaster = files.empty();
    if (mcMaster) {
        for (int i = 1; i <= 18; ++i)
            files.push_back(std::string(BRX_TEST_DATA) + "/mcmaster/McMaster" + std::to_string(i) +
                            ".png");
    }
    for (std::string const& f : files) {
        cv::Mat bgr = cv::imread(f, cv::IMREAD_COLOR);
        if (bgr.empty()) {
            // Without the McMaster set the synthetic scenes still make a table.
            if (mcMaster) {
                std::fprintf(stderr,
                             "McMaster set not found in %s/mcmaster; synthetic scenes only\n",
                             BRX_TEST_DATA);
                images.clear();
                break;
            }
            std::fprintf(stderr, "cannot read %s\n", f.c_str());
            continue;
        }
        cv::Mat rgb;
        cv::cvtColor(bgr, rgb, cv::COLOR_BGR2RGB);
        std::string name = f.substr(f.find_last_of('/') + 1);
        name = name.substr(0, name.find_last_of('.'));
        images.push_back({name, rgb});
    }
    std::vector<Image> synthetic = {{"zone plate", syntheticZonePlate(512)},
                                    {"slanted edges", syntheticSlantedEdges(512)},
                                    {"colour sweep", syntheticColourSweep(512)}};
    std::printf("kernels: %s\n", BayerEngine(1).isaName());
    if (wantQuality) {
        if (!images.empty())
            quality(images, false);
        quality(synthetic, false);
        artefacts();
        if (deepQuality && !images.empty())
            quality(images, true);
    }
    if (wantSpeed)
        speed(images.empty() ? synthetic[1].rgb : images[0].rgb, reps);
    return 0;
}
