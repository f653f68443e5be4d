#pragma once

// The camera pixel formats that the tools can make, read and show, by their GenICam names.

#include <brx/BrxImage.h>

#include <cstdint>
#include <string>
#include <vector>

class CameraFormat {
public:
    enum class Layout { Mono, Bayer, Rgb, Bgr, Uyvy };
    // None: one value per byte or 16-bit word. Lsb: USB3 Vision "p", a little-endian bit
    // stream. Gev: GigE Vision "Packed", two pixels in three bytes.
    enum class Packing { None, Lsb, Gev };

    std::string name;
    uint32_t pixelType = 0;
    Layout layout = Layout::Mono;
    int depth = 8;
    Packing packing = Packing::None;
    // Channel (0 R, 1 G, 2 B) of the four sites of a Bayer cell: top left, top right, bottom
    // left, bottom right.
    int cfa[4] = {0, 0, 0, 0};

    // Case-insensitive; null for a name the tools don't know.
    static const CameraFormat* find(const std::string& name);
    static const std::vector<CameraFormat>& all();
    // The names, one line, for error messages.
    static std::string names();
    // The names in lines of at most `width` characters, each starting with `indent`, for --help.
    static std::string listing(const std::string& indent, size_t width = 80);

    int bitsPerPixel() const { return static_cast<int>((pixelType >> 16) & 0xFF); }
    int channels() const { return layout == Layout::Rgb || layout == Layout::Bgr ? 3 : 1; }
    bool isColour() const { return layout != Layout::Mono; }
    // Bytes of one row as a camera sends it, without padding; a last byte begun counts whole.
    uint32_t rowBytes(uint32_t width) const;
    // Bytes of a whole frame as a camera sends it: tight rows, or one bit stream for "p".
    uint64_t frameBytes(uint32_t width, uint32_t height) const;
    // The row pitch of the library's own images: padded to four bytes.
    uint32_t paddedStride(uint32_t width) const;
    // Fills `image` so that it describes `data`.
    void describe(BrxImage& image, uint32_t width, uint32_t height, uint32_t stride,
                  void* data) const;
};
