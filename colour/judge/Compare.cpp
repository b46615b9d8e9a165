// SPDX-License-Identifier: MIT
#include "colour/judge/Compare.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>

namespace hueweave::colour {
namespace {

constexpr std::size_t kWorst = 5;
constexpr std::size_t kRun = 256;     ///< colours between two calls of a poll
constexpr double kOutside = 0.001;    ///< of the sample range: colours beyond this are outside the space
constexpr double kUndefined = 100.0;  ///< the difference from a colour that is not defined

/// Device colours as samples of a converter, and its results, 0 to 1.
template <typename Sample>
void ConvertRun(const RgbConverter& converter, const DeviceColour* colours, std::size_t count, float* source,
                double* reached) {
    constexpr double kTop = static_cast<Sample>(-1);
    Sample samples[3 * kRun] = {};
    for (std::size_t i = 0; i < 3 * count; ++i) {
        samples[i] = static_cast<Sample>(colours[i / 3][i % 3] >> (16 - 8 * sizeof(Sample)));
        source[i] = static_cast<float>(samples[i] / kTop);
    }
    const std::size_t bytes = 3 * count * sizeof(Sample);
    unsigned char data[sizeof samples];
    std::memcpy(data, samples, bytes);
    converter.Convert(data, count);
    std::memcpy(samples, data, bytes);
    for (std::size_t i = 0; i < 3 * count; ++i) reached[i] = samples[i] / kTop;
}

double Quantile(const std::vector<double>& sorted, double share) {
    return sorted[std::min(sorted.size() - 1, static_cast<std::size_t>(share * static_cast<double>(sorted.size())))];
}

class Comparer {
public:
    Comparer(const RgbConverter& converter, const Truth& truth, const EachColour& each)
        : converter_(converter), truth_(truth), each_(each) {}

    void Add(const DeviceColour* colours, std::size_t count) {
        float source[3 * kRun], wanted[3 * kRun];
        double reached[3 * kRun], within[3 * kRun];
        if (converter_.bits() == 8) {
            ConvertRun<std::uint8_t>(converter_, colours, count, source, reached);
        } else {
            ConvertRun<std::uint16_t>(converter_, colours, count, source, reached);
        }
        truth_.Convert(source, wanted, count);
        for (std::size_t i = 0; i < 3 * count; ++i) within[i] = wanted[i] > 0 ? std::min(1.0F, wanted[i]) : 0.0F;
        cmsCIELab wantedLab[kRun], reachedLab[kRun];
        truth_.TargetLab(within, wantedLab, count);
        truth_.TargetLab(reached, reachedLab, count);
        for (std::size_t n = 0; n < count; ++n) {
            const double difference = cmsCIE2000DeltaE(&wantedLab[n], &reachedLab[n], 1, 1, 1);
            const double known = std::isfinite(difference) ? difference : kUndefined;
            all_.push_back({colours[n],
                            {wantedLab[n].L, wantedLab[n].a, wantedLab[n].b},
                            known,
                            {reachedLab[n].L, reachedLab[n].a, reachedLab[n].b}});
            if (each_) each_(all_.back());
            const auto isOutside = [](float sample) { return !(sample >= -kOutside && sample <= 1 + kOutside); };
            clipped_ += std::any_of(wanted + 3 * n, wanted + 3 * n + 3, isOutside);
        }
    }

    Comparison Result() {
        Comparison result;
        result.colours = all_.size();
        result.clipped = clipped_;
        std::vector<double> sorted;
        for (const auto& one : all_) {
            sorted.push_back(one.difference);
            result.mean += one.difference / static_cast<double>(all_.size());
        }
        std::sort(sorted.begin(), sorted.end());
        result.median = Quantile(sorted, 0.5);
        result.p95 = Quantile(sorted, 0.95);
        result.p99 = Quantile(sorted, 0.99);
        result.p999 = Quantile(sorted, 0.999);
        result.maximum = sorted.back();
        const std::size_t worst = std::min(kWorst, all_.size());
        std::partial_sort(all_.begin(), all_.begin() + static_cast<std::ptrdiff_t>(worst), all_.end(),
                          [](const auto& x, const auto& y) { return x.difference > y.difference; });
        all_.resize(worst);
        result.worst = std::move(all_);
        return result;
    }

private:
    const RgbConverter& converter_;
    const Truth& truth_;
    const EachColour& each_;
    std::vector<Comparison::Worst> all_;
    std::size_t clipped_ = 0;
};

}  // namespace

std::vector<DeviceColour> GridColours(unsigned points) {
    std::vector<DeviceColour> colours;
    const auto at = [&](unsigned n) { return static_cast<std::uint16_t>((n * 255 / (points - 1)) * 257); };
    for (unsigned i = 0; i < points; ++i) {
        for (unsigned j = 0; j < points; ++j) {
            for (unsigned k = 0; k < points; ++k) colours.push_back({at(i), at(j), at(k)});
        }
    }
    return colours;
}

std::vector<DeviceColour> CheckColours() {
    std::vector<DeviceColour> colours = GridColours(9);
    const auto add = [&](unsigned r, unsigned g, unsigned b) {
        const auto sample = [](unsigned value) { return static_cast<std::uint16_t>(value); };
        colours.push_back({sample(r), sample(g), sample(b)});
    };
    for (unsigned n = 0; n < 256; ++n) add(n * 257, n * 257, n * 257);
    for (unsigned n = 1; n < 64; ++n) add(n * 8, n * 8, n * 8);
    std::minstd_rand random(2026);  // the standard defines its numbers
    const auto below = [&](unsigned limit) { return static_cast<unsigned>(random() / 16 % limit); };
    for (int n = 0; n < 1500; ++n) {
        const unsigned limit = n < 500 ? 6554 : 65536;
        const unsigned r = below(limit), g = below(limit);
        add(r, g, below(limit));
    }
    return colours;
}

Comparison Compare(const RgbConverter& converter, const Truth& truth, const std::vector<DeviceColour>& colours,
                   const Poll& poll, const EachColour& each) {
    Comparer comparer(converter, truth, each);
    for (std::size_t done = 0; done < colours.size(); done += kRun) {
        poll();
        comparer.Add(&colours[done], std::min(kRun, colours.size() - done));
    }
    return comparer.Result();
}

}  // namespace hueweave::colour
