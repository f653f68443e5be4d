#pragma once

// The numbers of a frame, for people who set a camera up: the raw and shown values of a pixel,
// statistics and a histogram of a region, the samples along a line. Raw means the frame as the
// camera sent it, at its own depth; packed frames are unpacked into a buffer of this object's
// own first, once per frame asked about. Nothing here changes the frame.

#include "core/ATTR.h"

#include <brx/BrxImage.h>

#include <cstdint>
#include <map>
#include <string>
#include <thread>
#include <vector>

class QTDScreen;

namespace QTD {

class ImageReadout {
public:
    using Map = std::map<std::string, std::string>;

    ImageReadout() = default;
    ~ImageReadout();
    ImageReadout(ImageReadout const&) = delete;
    ImageReadout& operator=(ImageReadout const&) = delete;

    // The frame handed over and the picture shown of it (8-bit RGB in main memory), either of
    // which may be null. The frame's pixels are read as `pixelType`, the set-up's type. A packed
    // frame is unpacked again only for another `generation` (a count of frames processed).
    void frame(BrxImage* raw, BrxImage* shown, uint32_t pixelType, uint64_t generation);

    // Image pixel (x, y): "raw" (";"-separated samples), "raw.channel" for a mosaic's site,
    // "shown" (R;G;B) when there is a picture. False outside the frame.
    bool pixel(int x, int y, Map& out);
    // Per channel over the rectangle, clipped to the frame: "<channel>.min", ".max", ".mean",
    // ".stddev", ".saturated", ".histogram" with `bins` bins over the format's range; "channels"
    // names them. False for an empty rectangle, no frame or bins outside 1..65536.
    bool statistics(int x, int y, int w, int h, int bins, Map& out);
    // The samples of the image pixels a line from (x0, y0) to (x1, y1) crosses, one per step of
    // its longer axis: "count" and "values" (per pixel, channels joined by ",").
    bool profile(double x0, double y0, double x1, double y1, Map& out);

    // Saves, by `what`: "raw", the frame's bytes as they came and a text file beside them
    // (`file` + ".txt") with type and geometry; "shown" or "full", `image` (the picture shown,
    // or the processed image) as PNG at its own depth, 16-bit samples unscaled for deeper ones.
    // The pixels are copied here and written on a thread of this object's own; false, with
    // `why`, when there is nothing to save or the file cannot be written.
    bool save(const std::string& file, ATTR const& what, BrxImage* image, std::string& why);

    // A point of coordinate system `cs` ("img", "win", "scr" or "base") in image coordinates,
    // where pixel (i, j) covers [i, i + 1) x [j, j + 1). False for an unknown system or no view.
    bool toImage(QTDScreen* screen, ATTR const& cs, double& x, double& y) const;

private:
    // The frame with one sample per pixel and channel, or null.
    BrxImage* plain();
    int channels() const;
    // Sample `c` of pixel (x, y) of the plain frame.
    uint32_t sample(BrxImage* image, int x, int y, int c) const;
    // The names of the channels; for a mosaic the site names.
    std::vector<std::string> channelNames() const;
    // For a mosaic: the site of (x, y), 0 R, 1 Gr, 2 Gb, 3 B; -1 for other formats.
    int site(int x, int y) const;

    BrxImage* raw = nullptr;
    BrxImage* shown = nullptr;
    uint32_t type = 0;
    BrxImage unpacked{};
    bool unpackedFresh = false;
    uint64_t unpackedGeneration = 0;
    // The last save still writing.
    std::thread writer;
};

} // namespace QTD
