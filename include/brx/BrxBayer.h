#pragma once

// BrxBayer, the demosaicing component of libBrxDemosaicing.so.3: it turns a Bayer mosaic into
// an RGB or BGR image of the same depth on the main processor.
//
// Use, in this order:
//
//     BrxBayer* bayer = BrxBayer::CreateComponent();
//     bayer->GetComponent()->SetParamInt("BayerAlgType", 2);   // optional
//     bayer->Init(input, output);          // once per format and size
//     bayer->ProcessImage(input, output);  // per frame
//     bayer->Release();
//     BrxBayer::DeleteComponent(bayer);
//
// Parameters (in the bag of GetComponent(); read by Init, so a change takes effect at the next
// Init):
//
//   "BayerAlgType"  the algorithm, default 0. Any other value falls back to 0.
//       0  gradient-corrected linear interpolation with the fixed 5 x 5 kernels of
//          Malvar, He and Cutler, exactly those of the GPU path's shader, so that both show
//          the same picture. Like the shader, on the red and blue sites of the GR and GB
//          patterns green comes from its edge-directed estimate where one side of the site
//          is much steadier than the other. About 34.5 dB on the McMaster set.
//       1  bilinear: the mean of the two or four nearest samples. The fastest; about 32.3 dB.
//       2  RCD (ratio-corrected demosaicing): green from directional estimates corrected by
//          low-pass ratios and blended by a vertical/horizontal discrimination, red and blue
//          from colour differences along the diagonals, then the cardinal directions. The
//          best picture; about 36.1 dB.
//   "BayerThreads"  worker threads, counting the caller; default 0, one per core.
//
// Images: the input is one of the unpacked Bayer types, BayerGR8 ... BayerBG8 (0x0308010D to
// 0x03080110) and the 10, 12, 14 and 16-bit ones in 16-bit words; the output is RGB or BGR of
// the same depth (RGB8/BGR8 for 8 bits, RGB10/BGR10 for 10, and so on), of the same width and
// height. Any width and height from 2 up; rows may have any `stride` that holds them (even for
// 16-bit words), and `imageSize` must cover the rows. The borders are filled as if the image
// went on in mirror image. When the two images' `orientation` fields differ, the output is
// written upside down, so that each shows the picture the right way up.
//
// Results are 16-bit status codes, 0 for success, with the meanings of the library's stages:
// 3 a pixel type that is not handled, 7 a bad image or argument (null image or data, a size
// below 2 x 2, images of different sizes, a stride or imageSize too small, a 16-bit image on
// an odd address or stride, an output over the input's pixels), 8 ProcessImage without a
// successful Init, 9 out of memory. Init looks at the formats only; ProcessImage needs pixels.
//
// The pixel kernels are chosen at run time for the processor (SSE2, AVX2 with FMA, AVX-512) and
// split each frame in bands over the threads. One instance takes one call at a time; separate
// instances may run in parallel.

#include <brx/BrxComponent.h>
#include <brx/BrxImage.h>

#define BRX_BAYER_EXPORT __attribute__((visibility("default")))

class BRX_BAYER_EXPORT BrxBayer {
public:
    enum Status : unsigned short {
        STATUS_OK = 0,
        STATUS_FAILED = 1,
        STATUS_NOT_SUPPORTED = 3,
        STATUS_BAD_IMAGE = 7,
        STATUS_NOT_READY = 8,
        STATUS_NO_MEMORY = 9,
    };

    // A new instance, or null.
    static BrxBayer* CreateComponent();
    // Destroys an instance of CreateComponent; null is ignored.
    static void DeleteComponent(BrxBayer* bayer);

    // The order of these operations is part of the binary interface.
    // The parameter interface; never null.
    virtual BrxComponent* GetComponent() = 0;
    // Demosaics `input` into `output`'s pixels.
    virtual unsigned short ProcessImage(BrxImage* input, BrxImage* output) = 0;
    // Checks the two formats, reads the parameters and prepares threads and memory.
    virtual unsigned short Init(BrxImage* input, BrxImage* output) = 0;
    // Frees what Init made; Init may follow again.
    virtual unsigned short Release() = 0;

protected:
    BrxBayer() {}
    // Instances are destroyed by DeleteComponent only.
    ~BrxBayer() {}
};
