#pragma once

// One camera frame in memory: its bytes and the BrxImage record that describes them. Made by
// packing a picture into a camera format, or read from a raw file as a camera wrote it.

#include "CameraFormat.h"

#include <QImage>

#include <cstdint>
#include <string>
#include <vector>

class RawFrame {
public:
    // Packs `picture` (any QImage format) into `format`: plain rows padded to four bytes, as
    // the library's own images are, packed rows tight. Mono takes the luma, Bayer samples its
    // mosaic, YUV is BT.601 with studio range (what the library's YUV stage expects).
    bool pack(const QImage& picture, const CameraFormat& format, std::string* error);
    // Reads a raw file of `width` x `height` pixels. The rows may be tight or padded to four
    // bytes; the file's size tells which. Extra bytes past the frame are an error too.
    bool load(const std::string& path, const CameraFormat& format, uint32_t width, uint32_t height,
              std::string* error);
    // Writes the bytes as they are: rows at `stride`.
    bool save(const std::string& path, std::string* error) const;

    // A sample of `depth` bits for an 8-bit level, spread over the whole range.
    static uint32_t expand(uint32_t level, int depth) {
        return (level * ((1u << depth) - 1) + 127) / 255;
    }

    const CameraFormat* format() const { return cameraFormat; }
    BrxImage* image() { return &record; }
    const std::vector<uint8_t>& bytes() const { return data; }
    uint32_t width() const { return record.width; }
    uint32_t height() const { return record.height; }

private:
    void packRow(const uint8_t* rgb, uint32_t y, uint8_t* out, uint32_t* lsbValues) const;

    const CameraFormat* cameraFormat = nullptr;
    // The samples of the format's depth for the 256 levels of a picture.
    uint32_t levels[256] = {};
    std::vector<uint8_t> data;
    BrxImage record{};
};
