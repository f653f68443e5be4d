// brxconvert: converts camera frames and pictures between camera pixel formats, PNG and TIFF.
//   brxconvert --format BayerRG12p --size 4096x3000 in.raw out.png   (through the library)
//   brxconvert --format BayerRG12p --size 4096x3000 in.raw --to Mono8 out.raw
//   brxconvert in.png --to Mono12p out.raw                           (packs a picture)
#include "LibraryConverter.h"

#include "common/CameraFormat.h"
#include "common/RawFrame.h"

#include <QApplication>
#include <QFileInfo>
#include <QImageReader>
#include <QImageWriter>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

const char* const USAGE =
    "usage: brxconvert [--format NAME --size WxH] [--demosaic MODE] IN [--to NAME] OUT\n"
    "  IN   a raw camera frame (with --format and --size) or a picture file (PNG, TIFF, ...)\n"
    "  OUT  a picture file (by its extension: .png .tif .tiff .bmp), or a raw frame in the\n"
    "       camera format given by --to\n"
    "  Raw frames are converted through the library (unpack, demosaic, colour) to RGB8\n"
    "  first; pictures are packed into the camera format by the tool itself.\n"
    "  --demosaic  how Bayer frames are demosaiced: gradient (0, the default), bilinear (1),\n"
    "              rcd (2, residual-curvature) or quality (3, residual interpolation: the\n"
    "              best picture, for conversions rather than live display)\n";

int fail(const std::string& text) {
    std::fprintf(stderr, "brxconvert: %s\n", text.c_str());
    return 1;
}

bool isPicture(const std::string& path) {
    const QString suffix = QFileInfo(QString::fromStdString(path)).suffix().toLower();
    return suffix == "png" || suffix == "tif" || suffix == "tiff" || suffix == "bmp" ||
           suffix == "jpg" || suffix == "jpeg" || suffix == "ppm" || suffix == "pgm";
}

bool parseSize(const std::string& text, uint32_t& w, uint32_t& h) {
    unsigned a = 0, b = 0;
    char extra = 0;
    if (std::sscanf(text.c_str(), "%ux%u%c", &a, &b, &extra) != 2 || a == 0 || b == 0 ||
        a > 65536 || b > 65536) {
        return false;
    }
    w = a;
    h = b;
    return true;
}

} // namespace

int main(int argc, char** argv) {
    std::string formatName, sizeText, toName, demosaicName;
    std::string paths[2];
    int pathCount = 0;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--help" || a == "-h") {
            std::fputs(USAGE, stdout);
            std::printf("camera pixel formats (--format, --to):\n%s",
                        CameraFormat::listing("  ").c_str());
            return 0;
        }
        if (a == "--format" || a == "--size" || a == "--to" || a == "--demosaic") {
            if (i + 1 >= argc) {
                return fail(a + " needs a value");
            }
            (a == "--format" ? formatName
             : a == "--size" ? sizeText
             : a == "--to"   ? toName
                             : demosaicName) = argv[++i];
        } else if (a.size() > 1 && a[0] == '-') {
            return fail("unknown option " + a + " (see --help)");
        } else if (pathCount < 2) {
            paths[pathCount++] = a;
        } else {
            return fail("too many files: " + a);
        }
    }
    if (pathCount != 2) {
        return fail("needs an input and an output file (see --help)");
    }
    const std::string& in = paths[0];
    const std::string& out = paths[1];
    const CameraFormat* from = nullptr;
    const CameraFormat* to = nullptr;
    if (!formatName.empty() && !(from = CameraFormat::find(formatName))) {
        return fail("unknown pixel format " + formatName + "; one of: " + CameraFormat::names());
    }
    if (!toName.empty() && !(to = CameraFormat::find(toName))) {
        return fail("unknown pixel format " + toName + "; one of: " + CameraFormat::names());
    }
    if (from != nullptr && sizeText.empty()) {
        return fail("a raw input needs --size WIDTHxHEIGHT");
    }
    if (from == nullptr && !sizeText.empty()) {
        return fail("--size needs --format NAME for the raw input");
    }
    if (to == nullptr && !isPicture(out)) {
        return fail("output " + out + " is no picture file; give --to NAME for a raw output");
    }
    if (to != nullptr && isPicture(out)) {
        return fail("--to makes a raw frame; " + out + " is named as a picture");
    }
    long demosaic = -1;
    if (!demosaicName.empty()) {
        demosaic = LibraryConverter::demosaicMode(demosaicName);
        if (demosaic < 0) {
            return fail("unknown demosaicing mode " + demosaicName +
                        "; one of: " + LibraryConverter::demosaicNames());
        }
        if (from == nullptr) {
            return fail("--demosaic applies to raw Bayer input (--format NAME)");
        }
    }
    uint32_t width = 0, height = 0;
    if (from != nullptr && !parseSize(sizeText, width, height)) {
        return fail("bad size " + sizeText + ", expected WIDTHxHEIGHT");
    }

    std::string error;
    QImage picture;
    if (from != nullptr) {
        RawFrame frame;
        if (!frame.load(in, *from, width, height, &error)) {
            return fail(error);
        }
        // The library needs a Qt application, though nothing is shown.
        if (std::getenv("QT_QPA_PLATFORM") == nullptr) {
            setenv("QT_QPA_PLATFORM", "offscreen", 1);
        }
        QApplication app(argc, argv);
        LibraryConverter converter;
        converter.setDemosaic(demosaic);
        if (!converter.toRgb(frame, picture, &error)) {
            return fail(error);
        }
        if (!from->isColour()) {
            picture = picture.convertToFormat(QImage::Format_Grayscale8);
        }
    } else {
        QImageReader reader(QString::fromStdString(in));
        picture = reader.read();
        if (picture.isNull()) {
            return fail("cannot read " + in + ": " + reader.errorString().toStdString());
        }
    }

    if (to != nullptr) {
        RawFrame packed;
        if (!packed.pack(picture, *to, &error) || !packed.save(out, &error)) {
            return fail(error);
        }
        std::printf("%s: %s %ux%u, %zu bytes, stride %u\n", out.c_str(), to->name.c_str(),
                    packed.width(), packed.height(), packed.bytes().size(), packed.image()->stride);
        return 0;
    }
    QImageWriter writer(QString::fromStdString(out));
    if (!writer.write(picture)) {
        return fail("cannot write " + out + ": " + writer.errorString().toStdString());
    }
    return 0;
}
