// SPDX-License-Identifier: MIT
#include <tiff.h>

#include "tiff/TiffPage.h"

namespace hueweave::tool {

void TiffPage::Carry() {
    other = kind;
    stays = true;
}

PageForm FormWritten(const TiffPage& page, unsigned channels) {
    PageForm written = static_cast<const PageForm&>(page);
    written.photometric = channels == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB;
    written.samples = channels + page.samples - page.ColourSamples();
    written.bits = page.palette.bits != 0 ? page.palette.bits : page.bits <= 8 ? 8 : 16;
    if (page.chroma) {
        written.width = page.chroma.width, written.height = page.chroma.height;
        written.segmentWidth = page.chroma.segmentWidth, written.segmentHeight = page.chroma.segmentHeight;
    }
    const bool isNew = written.samples != page.samples || written.bits != page.bits;
    if (isNew || page.model != colour::ColourModel::Rgb) written.planar = false;
    if (page.Lossy()) {
        written.compression = COMPRESSION_ADOBE_DEFLATE;
        written.predictor = PREDICTOR_HORIZONTAL;
    }
    return written;
}

}  // namespace hueweave::tool
