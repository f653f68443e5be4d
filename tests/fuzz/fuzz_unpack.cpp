// Unpacking of arbitrary bytes under arbitrary dimensions, output forms and target rows.
// Header: packing selector, width (2 bytes), height (2 bytes), flags, stride padding, size cut.

#include "image/BrxImageUnpack.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 8)
        return 0;
    static const uint32_t types[] = {0x010A2203, 0x010C2307, 0x010C1204, 0x010C1308,
                                     0x030C2321, 0x010C3205, 0x010C0000, 0x01080101};
    const uint32_t type = types[data[0] & 7];
    const uint32_t width = uint32_t(data[1] | data[2] << 8) & 0x3FF;
    const uint32_t height = uint32_t(data[3] | data[4] << 8) & 0x3FF;
    const uint8_t flags = data[5];
    const uint32_t padding = data[6];
    const uint32_t cut = data[7];
    data += 8, size -= 8;

    // The pixels in a block of their own, exactly as long as the bytes given.
    std::vector<uint8_t> pixels(data, data + size);
    BrxImage source{};
    source.size = 96;
    source.pixelType = type;
    source.packing = type & 0xFF00;
    source.bitsPerPixel = (type >> 16) & 0xFF;
    source.width = width;
    source.height = height;
    source.imageData = pixels.empty() || (flags & 0x40) ? nullptr : pixels.data();
    source.imageSize = uint32_t(size > cut ? size - cut : 0); // never more than the block

    BrxImage target{};
    target.size = 96;
    target.width = width;
    target.height = height;
    target.packing = (flags & 1) ? 0x100 : 0x200;
    const uint32_t rowBytes = (flags & 1) ? width : width * 2;
    target.stride = (flags & 2) ? rowBytes + padding : (rowBytes + padding) / 3;
    target.imageSize = target.stride * height;
    std::vector<uint8_t> own;
    if (flags & 4) { // a caller's block of exactly its declared size
        own.resize(target.imageSize);
        target.imageData = own.empty() ? nullptr : own.data();
    }
    for (int pass = 0; pass < 2; ++pass)
        BrxImageUnpack::Unpack(&source, &target);
    if (target.allocatedData)
        std::free(target.allocatedData);
    return 0;
}
