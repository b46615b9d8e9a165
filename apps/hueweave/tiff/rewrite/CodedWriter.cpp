// SPDX-License-Identifier: MIT
#include "tiff/rewrite/CodedWriter.h"

#include <memory>

#include "system/WorkUnits.h"
#include "tiff/codec/TiffCodec.h"
#include "tiff/codec/TiffDecoder.h"
#include "tiff/rewrite/PixelBlock.h"

namespace hueweave::tool {
namespace {

class SegmentSource : public PlaneSource {
public:
    SegmentSource(TiffDecoder& decoder, const TiffPage& page, std::uint64_t segment)
        : decoder_(decoder), page_(page), segment_(segment) {}
    void Take(unsigned plane, Bytes& data) override { decoder_.ReadSegment(plane * page_.InPlane() + segment_, data); }

private:
    TiffDecoder& decoder_;
    const TiffPage& page_;
    const std::uint64_t segment_;  ///< index within a plane
};

class SegmentSink : public PlaneSink {
public:
    explicit SegmentSink(TiffEncoder& encoder) : encoder_(encoder) {}
    void Give(unsigned, Bytes& data) override { encoded_.push_back(encoder_.Encode(data.data(), data.size())); }
    const std::vector<Bytes>& encoded() const { return encoded_; }  ///< by plane

private:
    TiffEncoder& encoder_;
    std::vector<Bytes> encoded_;
};

/// The decoder, encoder and buffers of one thread, reused for all its strips and tiles.
struct Coder {
    Coder(const PageContext& context, const PageSource& source)
        : decoder(source), encoder(context.target, context.page.written, source.bigEndian()), planes(context.page) {}
    TiffDecoder decoder;
    TiffEncoder encoder;
    PlaneSet planes;
};

class CodedWriter {
public:
    explicit CodedWriter(const PageContext& context)
        : context_(context), page_(context.page), places_(page_.segments), units_(page_.InPlane()) {
        places_.resize(page_.written.Segments());
    }

    std::vector<Extent> Write(unsigned threads) {
        const PageSource source(context_.structure, page_);
        units_.Run(threads, [&]() -> WorkUnits::Work {
            return [this, coder = std::make_shared<Coder>(context_, source)](std::uint64_t segment) {
                WriteSegment(segment, *coder);
            };
        });
        return places_;
    }

private:
    void WriteSegment(std::uint64_t segment, Coder& coder) {
        SegmentSource source(coder.decoder, page_, segment);
        SegmentSink sink(coder.encoder);
        ConvertBlock(context_, {segment, 0, page_.RowsOf(segment)}, coder.planes, source, sink, [&](const auto& what) {
            units_.InOrder(WorkUnits::Measuring, segment, [&] {
                what();
                PassOn(segment, coder.decoder.raw());
            });
        });
        const std::vector<Bytes>& encoded = sink.encoded();
        units_.InOrder(WorkUnits::Placing, segment, [&] {
            for (std::size_t plane = 0; plane < encoded.size(); ++plane) {
                places_[plane * page_.InPlane() + segment] = {context_.layout.Place(encoded[plane].size()),
                                                              encoded[plane].size()};
            }
        });
        for (std::size_t plane = 0; plane < encoded.size(); ++plane) {
            context_.target.Write(places_[plane * page_.InPlane() + segment].offset, encoded[plane]);
        }
    }

    /// Passes on what was read. Of separate planes, only the last is still there, and it is out of order.
    void PassOn(std::uint64_t segment, const Bytes& raw) const {
        const auto& taken = context_.settings.taken;
        if (taken && !page_.planar && page_.fillOrder == 1) taken(page_.segments[segment].offset, raw);
    }

    const PageContext& context_;
    const TiffPage& page_;
    std::vector<Extent> places_;
    WorkUnits units_;
};

}  // namespace

std::vector<Extent> WriteCoded(const PageContext& context, unsigned threads) {
    return CodedWriter(context).Write(threads);
}

}  // namespace hueweave::tool
