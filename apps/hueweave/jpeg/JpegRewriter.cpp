// SPDX-License-Identifier: MIT
#include "jpeg/JpegRewriter.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <vector>

#include "jpeg/FurtherImages.h"
#include "jpeg/JpegCodec.h"
#include "picture/PixelBands.h"
#include "system/BigEndian.h"
#include "system/Refusal.h"

namespace hueweave::tool {
namespace {

constexpr std::size_t kMostInSegment = 65533 - 14;  ///< bytes of a profile; 14 are its name and the number of the part
constexpr std::size_t kMostParts = 255;
constexpr unsigned char kYCbCr = 1;  ///< in the Adobe marker

class Rewriter {
public:
    Rewriter(const JpegStructure& structure, const JpegJob& job, const FileAccess& target,
             const WriteSettings& settings, Measured& measured)
        : structure_(structure),
          job_(job),
          target_(target),
          settings_(settings),
          measured_(measured),
          profilePlace_(ProfilePlace()) {
        if (job.icc != nullptr) profile_ = ProfileSegments(*job.icc, structure.file().name());
    }

    void Write() {
        if (job_.converter != nullptr) {
            Convert();
        } else {
            Retag();
        }
        for (const Extent place : BytesAfterImage(structure_)) Copy(place);
        target_.Resize(at_);
    }

private:
    /// The number of the segment before which the profile is written: that of the old profile, or the first one after
    /// JFIF, EXIF and XMP, where readers look for it.
    std::size_t ProfilePlace() const {
        const auto& segments = structure_.segments();
        const auto isOld = [this](const JpegSegment& segment) { return structure_.IsProfile(segment); };
        const auto isEarlier = [](const JpegSegment& segment) {
            return segment.marker == jpeg_marker::kApp0 || segment.marker == jpeg_marker::kApp1;
        };
        const auto old = std::find_if(segments.begin(), segments.end(), isOld);
        const auto found = old != segments.end() ? old : std::find_if_not(segments.begin(), segments.end(), isEarlier);
        return static_cast<std::size_t>(found - segments.begin());
    }

    bool Stays(const JpegSegment& segment) const {
        return !structure_.IsProfile(segment) && !IsListOfImages(structure_, segment);
    }

    void Convert() {
        const JpegFrame& frame = structure_.frame();
        const auto samples = static_cast<unsigned>(frame.components.size());
        const Conversion conversion({frame.width, frame.height, samples, 8}, *job_.converter);
        const std::uint64_t needed = JpegCoderMemory(structure_, conversion.to.samples) + 2 * BandMemory(conversion);
        CheckMemory(needed);
        JpegDecoder decoder(structure_);
        JpegEncoder encoder(target_, decoder, conversion.to.samples, settings_.memory - needed);
        const auto& segments = structure_.segments();
        for (std::size_t n = 0; n <= segments.size(); ++n) {
            if (n == profilePlace_) {
                for (const Bytes& data : profile_) encoder.WriteSegment(jpeg_marker::kApp2, data);
            }
            if (n == segments.size() || !segments[n].IsAttached() || !Stays(segments[n])) continue;
            Bytes data = structure_.Data(segments[n]);
            if (structure_.IsAdobe(segments[n]) && conversion.to.samples != samples) data[kAdobeTransform] = kYCbCr;
            encoder.WriteSegment(segments[n].marker, data);
        }
        ConvertBands(conversion, decoder, encoder, settings_, measured_);
        decoder.Finish();
        at_ = encoder.Finish();
    }

    /// Replaces the profile; everything else is copied byte for byte.
    void Retag() {
        Copy({0, 2});
        const auto& segments = structure_.segments();
        for (std::size_t n = 0; n <= segments.size(); ++n) {
            if (n == profilePlace_) PutProfile();
            // Segments between scans are part of the coded data.
            if (n == segments.size() || segments[n].place.offset >= structure_.coded().offset) continue;
            if (Stays(segments[n])) Copy(segments[n].place);
        }
        Copy(structure_.coded());
    }

    void PutProfile() {
        for (const Bytes& data : profile_) {
            Bytes start{0xff, static_cast<unsigned char>(jpeg_marker::kApp2)};
            PutBig16(start, static_cast<std::uint16_t>(data.size() + 2));
            Put(start);
            Put(data);
        }
    }

    void Put(const Bytes& bytes) {
        target_.Write(at_, bytes);
        at_ += bytes.size();
    }
    void Copy(Extent place) {
        CopyRange(structure_.file(), place, target_, at_);
        at_ += place.size;
    }

    void CheckMemory(std::uint64_t needed) const {
        if (needed <= settings_.memory) return;
        const bool progressive = structure_.frame().IsProgressive();
        const char* const why = progressive ? "is progressive and does not fit in the memory allowed as a whole"
                                : structure_.scans() > 1
                                    ? "has several scans and does not fit in the memory allowed as a whole"
                                    : "has rows that do not fit in the memory allowed";
        throw Refusal(Exit::Input, structure_.file().name(), why, "raise --max-memory");
    }

    const JpegStructure& structure_;
    const JpegJob& job_;
    const FileAccess& target_;
    const WriteSettings& settings_;
    Measured& measured_;
    std::size_t profilePlace_;
    std::vector<Bytes> profile_;
    std::uint64_t at_ = 0;
};

}  // namespace

std::vector<Bytes> ProfileSegments(const Bytes& profile, const std::string& name) {
    const std::size_t count = (profile.size() + kMostInSegment - 1) / kMostInSegment;
    if (count > kMostParts) {
        throw Refusal(Exit::Profile, name, "cannot embed the profile of the output, which is too large for a JPEG file",
                      "leave it out with --no-tag");
    }
    std::vector<Bytes> segments;
    for (std::size_t part = 0; part < count; ++part) {
        const std::size_t begin = part * kMostInSegment, size = std::min(kMostInSegment, profile.size() - begin);
        Bytes& data = segments.emplace_back(kProfileStart.begin(), kProfileStart.end());
        data.push_back(static_cast<unsigned char>(part + 1));
        data.push_back(static_cast<unsigned char>(count));
        data.insert(data.end(), profile.begin() + static_cast<std::ptrdiff_t>(begin),
                    profile.begin() + static_cast<std::ptrdiff_t>(begin + size));
    }
    return segments;
}

void CheckConvertible(const JpegStructure& structure) {
    const std::string& name = structure.file().name();
    const JpegFrame& frame = structure.frame();
    const std::size_t samples = frame.components.size();
    if (samples != 1 && samples != 3 && samples != 4) {
        throw Refusal(Exit::Input, name, fmt::format("has {} samples per pixel", samples), "give an RGB file");
    }
    if (!frame.IsUsual()) {
        const bool lossless = frame.marker == 0xc3 || frame.marker == 0xcb;
        throw Refusal(Exit::Input, name,
                      lossless ? "is a lossless JPEG, which the decoder does not support"
                               : "is a hierarchical JPEG, which the decoder does not support",
                      lossless ? "write it as TIFF or PNG, which lose nothing either" : "rewrite it as baseline JPEG");
    }
    if (frame.precision != 8) {
        throw Refusal(Exit::Input, name,
                      fmt::format("has {} bits per sample; the JPEG decoder supports 8", frame.precision),
                      "write it as TIFF or PNG of 16 bits");
    }
    // Programs disagree whether 0 is all ink or none without it.
    if (samples == 4 && !structure.HasAdobe()) {
        const std::string pixels = "CMYK pixels without the Adobe marker, which says how they are encoded";
        throw Refusal(Exit::Input, name, "holds " + pixels, "write it as a CMYK TIFF, with the program that made it")
            .OfKind({"CMYK", pixels, true});
    }
}

void RewriteJpeg(const JpegStructure& structure, const JpegJob& job, const FileAccess& target,
                 const WriteSettings& settings, Measured& measured) {
    Rewriter(structure, job, target, settings, measured).Write();
}

}  // namespace hueweave::tool
