#pragma once

#include <brx/BrxImage.h>

// Widens bit-packed 10- and 12-bit mono and Bayer images (USB3 Vision "p", GigE Vision
// "Packed") to one 16-bit word per pixel, or to one byte per pixel when the target's packing is
// 0x100. The target's pixel block is kept between calls while its size fits and is (re)allocated
// otherwise. Every operation returns 1 on success, 0 on failure or when there is nothing to do.
class BrxImageUnpack {
public:
    static int Unpack(BrxImage const* source, BrxImage* target);
    static int UnpackU3V(BrxImage const* source, BrxImage* target, char const* format);
    static int UnpackGEV(BrxImage const* source, BrxImage* target, char const* format);

    static int Unpack_10p(BrxImage const* source, BrxImage* target);
    static int Unpack_12p(BrxImage const* source, BrxImage* target);
};

int Unpack_10g(BrxImage const* source, BrxImage* target);
int Unpack_12g(BrxImage const* source, BrxImage* target);
