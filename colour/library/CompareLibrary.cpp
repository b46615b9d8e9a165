// SPDX-License-Identifier: MIT
#include "colour/library/CompareLibrary.h"

#include "colour/library/LibraryConverter.h"

namespace hueweave::colour {

Comparison CompareLibrary(const Bytes& engineProfile, const Bytes& original, const Rendering& rendering, unsigned bits,
                          const std::vector<DeviceColour>& colours, const Poll& poll, const EachColour& each) {
    const LibraryConverter converter(engineProfile, Rendering{rendering.intent, rendering.space, 0, 0, 0, {}}, bits);
    const Bytes output = converter.OutputProfile();
    LcmsWork work;
    TransformOptions options;
    options.intent = static_cast<RenderingIntent>(rendering.intent);
    options.blackPoint = BlackPoint::Kept;
    const Truth truth(work, OpenRgb(work, original), OpenRgb(work, output), options);
    return Compare(converter, truth, colours, poll, each);
}

}  // namespace hueweave::colour
