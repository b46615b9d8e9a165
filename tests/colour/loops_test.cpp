// SPDX-License-Identifier: MIT
// The loops over pixels: each kind of step compared with the same step in doubles, and all loops with each other.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "colour/Judge.h"
#include "colour/Profiles.h"
#include "colour/exact/kernels/Program.h"
#include "support/Matchers.h"

namespace hueweave::test {
namespace {

using colour::Step;
using Kind = Step::Kind;
using Floats = std::vector<float>;

constexpr std::int32_t kPoints[] = {5, 4, 3};
constexpr Kind kKinds[] = {Kind::Affine, Kind::Curves, Kind::Tetrahedra, Kind::Trilinear,
                           Kind::Cube,   Kind::Root,   Kind::Adjust,     Kind::Round};

double Uniform(Lcg& random, double low, double high) { return low + (high - low) * random.Next() / 0xffffff; }

/// A program with a step of each kind, and the memory that it refers to.
class ExactKernelsTest : public testing::Test {
protected:
    ExactKernelsTest() : words_(65536), curve_(33), nodes_(4 * 5 * 4 * 3), encoding_(colour::kEncodingEntries + 1) {
        Lcg random(3);
        for (std::size_t i = 0; i < 256; ++i) bytes_.push_back(static_cast<float>(i) / 255);
        for (std::size_t i = 0; i < 65536; ++i) words_[i] = static_cast<float>(i) / 65535;
        for (float& value : curve_) value = static_cast<float>(Uniform(random, 0, 1));
        for (float& value : nodes_) value = static_cast<float>(Uniform(random, 0, 1));
        for (std::size_t i = 0; i < encoding_.size(); ++i) encoding_[i] = static_cast<float>(Entry(i));
    }

    /// The value for entry `i` in a table of the target's curve, x to the power 1/2.4.
    static double Entry(std::size_t i) {
        const double x = std::ldexp(1 + static_cast<double>(i % 256) / 256, static_cast<int>(i / 256) - 24);
        return std::pow(std::min(x - std::ldexp(1, -24), 1.0), 1 / 2.4);
    }

    Step Make(Kind kind) const {
        Step step{};
        step.kind = kind;
        const float rows[3][4] = {{0.9F, 0.2F, -0.3F, 0.1F}, {-0.1F, 1.1F, 0.05F, -0.02F}, {0.3F, 0.3F, 0.3F, 0.04F}};
        std::memcpy(step.rows, rows, sizeof rows);
        step.tables[0] = step.tables[2] = curve_.data();
        for (int c = 0; c < 3; ++c) step.last[c] = kind == Kind::Curves ? 32 : static_cast<float>(kPoints[c] - 1);
        step.nodes = nodes_.data();
        step.stride[0] = kPoints[1] * kPoints[2], step.stride[1] = kPoints[2], step.stride[2] = 1;
        step.lightness = 4, step.chroma = -9, step.chromaShare = 1 / 20.0F;
        step.cosine = std::cos(0.7F), step.sine = std::sin(0.7F);
        return step;
    }
    colour::Program ProgramOf(const std::vector<Step>& steps, bool encode = false) const {
        colour::Program program{};
        for (int c = 0; c < 3; ++c) {
            program.bytes[c] = bytes_.data();
            program.words[c] = words_.data();
            program.encoding[c] = encode ? encoding_.data() : nullptr;
        }
        program.steps = steps;
        return program;
    }

    Vector Node(const std::array<int, 3>& at) const {
        const auto n = static_cast<std::size_t>((at[0] * kPoints[1] + at[1]) * kPoints[2] + at[2]) * 4;
        return {nodes_[n], nodes_[n + 1], nodes_[n + 2]};
    }
    Vector Interpolated(const Vector& x, bool tetrahedra) const;
    Vector Reference(const Step& step, const Vector& x) const;

    Floats bytes_, words_, curve_, nodes_, encoding_;
};

/// Eight corners, weighted by volume if trilinear. In a tetrahedron, a corner weighs what the least of the fractions on
/// the axes towards it exceeds the greatest of the others by.
Vector ExactKernelsTest::Interpolated(const Vector& x, bool tetrahedra) const {
    std::array<int, 3> cell{};
    Vector part, result{};
    for (std::size_t c = 0; c < 3; ++c) {
        const double place = std::clamp(x[c], 0.0, 1.0) * (kPoints[c] - 1);
        cell[c] = std::min(static_cast<int>(place), kPoints[c] - 2);
        part[c] = place - cell[c];
    }
    for (unsigned corner = 0; corner < 8; ++corner) {
        std::array<int, 3> at = cell;
        double volume = 1, least = 1, greatest = 0;
        for (std::size_t c = 0; c < 3; ++c) {
            const bool isUp = (corner >> c & 1U) != 0;
            at[c] += isUp ? 1 : 0;
            volume *= isUp ? part[c] : 1 - part[c];
            (isUp ? least : greatest) = isUp ? std::min(least, part[c]) : std::max(greatest, part[c]);
        }
        const double weight = tetrahedra ? std::max(least - greatest, 0.0) : volume;
        for (std::size_t c = 0; c < 3; ++c) result[c] += weight * Node(at)[c];
    }
    return result;
}

/// The affine step that scales each channel.
Step Scaled(float factor, float offset) {
    Step step{};
    step.kind = Kind::Affine;
    for (int r = 0; r < 3; ++r) step.rows[r][r] = factor, step.rows[r][3] = offset;
    return step;
}

/// Converts 16-bit RGB in place.
Words ConvertedBy(const colour::Loops& loops, const colour::Program& program, Words colours) {
    auto* const data = reinterpret_cast<unsigned char*>(colours.data());
    loops.words(program, data, data, colours.size() / 3, 3);
    return colours;
}

Vector ExactKernelsTest::Reference(const Step& step, const Vector& x) const {
    constexpr double kBent = 216.0 / 24389, kSlope = 24389.0 / 27 / 116, kZero = 16.0 / 116;
    Vector y = x;
    switch (step.kind) {
        case Kind::Affine:
            for (std::size_t r = 0; r < 3; ++r) {
                y[r] = step.rows[r][0] * x[0] + step.rows[r][1] * x[1] + step.rows[r][2] * x[2] + step.rows[r][3];
            }
            return y;
        case Kind::Curves:
            for (const std::size_t c : {std::size_t{0}, std::size_t{2}}) {
                const double place = std::clamp(x[c], 0.0, 1.0) * 32;
                const auto i = std::min<std::size_t>(static_cast<std::size_t>(place), 31);
                const double part = place - static_cast<double>(i);
                y[c] = (1 - part) * curve_[i] + part * curve_[i + 1];
            }
            return y;
        case Kind::Tetrahedra:
        case Kind::Trilinear:
            return Interpolated(x, step.kind == Kind::Tetrahedra);
        case Kind::Cube:
            for (double& v : y) v = v > std::cbrt(kBent) - kZero ? std::pow(v + kZero, 3) : v / kSlope;
            return y;
        case Kind::Root:
            for (double& v : y) v = v > kBent ? std::cbrt(v) - kZero : v * kSlope;
            return y;
        case Kind::Adjust: {
            const double a = 500 * (x[0] - x[1]), b = 200 * (x[1] - x[2]), chroma = std::hypot(a, b);
            const double offset = step.chroma * std::min(chroma * step.chromaShare, 1.0);
            const double factor = chroma == 0 ? 0 : std::clamp(chroma + offset, 0.0, 100.0) / chroma;
            const double lightness = std::clamp(116 * x[1] + step.lightness, 0.0, 100.0) / 116;
            const double a2 = factor * (a * step.cosine - b * step.sine);
            const double b2 = factor * (a * step.sine + b * step.cosine);
            return {lightness + a2 / 500, lightness, lightness - b2 / 200};
        }
        case Kind::Round:
            for (double& v : y) v = std::floor(std::clamp(v, 0.0, 1.0) * 65535 + 0.5) / 65535;
            return y;
    }
    return y;
}

TEST_F(ExactKernelsTest, StepsFollowTheirFormulas) {
    const Words colours = SampleColours();
    // Includes values slightly outside 0 to 1. A curve of random entries has slopes of up to 32, which turns float
    // rounding into errors of up to 0.15 of a sample.
    const Step widen = Scaled(1.1F, -0.05F);
    for (const Kind kind : kKinds) {
        for (const bool wide : {false, true}) {
            const Step step = Make(kind);
            const std::vector<Step> steps = wide ? std::vector{widen, step} : std::vector{step};
            const colour::Program program = ProgramOf(steps);
            for (const colour::Loops* loops : colour::AllLoops()) {
                const Words reached = ConvertedBy(*loops, program, colours);
                for (std::size_t i = 0; i < colours.size(); i += 3) {
                    Vector x{colours[i] / 65535.0, colours[i + 1] / 65535.0, colours[i + 2] / 65535.0};
                    if (wide) x = Reference(widen, x);
                    const Vector wanted = Reference(step, x);
                    for (std::size_t c = 0; c < 3; ++c) {
                        const double sample = 65535 * std::clamp(wanted[c], 0.0, 1.0);
                        ASSERT_NEAR(reached[i + c], sample, 0.7)
                            << loops->name << ", step " << static_cast<int>(kind) << (wide ? ", wide" : "")
                            << ", colour " << i / 3 << " " << c;
                    }
                }
            }
        }
    }
}

/// Half of the pixels are black or white; in the others, one of the samples is random.
template <typename Sample>
std::vector<Sample> PixelsWithEnds(std::size_t pixels, unsigned samples) {
    Lcg random(23);
    std::vector<Sample> result;
    for (std::size_t i = 0; i < pixels; ++i) {
        const auto end = static_cast<Sample>(random.Below(2) == 0 ? 0 : -1);
        const std::uint32_t other = random.Below(6);
        for (unsigned c = 0; c < samples; ++c) result.push_back(c != other ? end : static_cast<Sample>(random.Next()));
    }
    return result;
}

template <typename Sample>
void ExpectEnds(colour::Program program, colour::Ends colour::Program::*ends, colour::Loop loop) {
    constexpr std::int32_t kTop = static_cast<Sample>(-1);
    const auto bytesOf = [](std::vector<Sample>& pixels) { return reinterpret_cast<unsigned char*>(pixels.data()); };
    for (unsigned samples = 3; samples <= 5; ++samples) {
        for (const std::size_t pixels : {1U, 5U, 6U, 7U, 16U, 17U, 63U, 300U}) {
            std::vector<Sample> source = PixelsWithEnds<Sample>(pixels, samples), wanted = source, reached = source;
            program.*ends = {false, {1, 2, 3}, {101, 102, 103}};
            loop(program, bytesOf(wanted), bytesOf(wanted), pixels, samples);
            for (std::size_t i = 0; i < source.size(); i += samples) {
                if (source[i] != source[i + 1] || source[i] != source[i + 2]) continue;
                EXPECT_EQ(wanted[i], std::lround(kTop * (source[i] == 0 ? 0.02 : 0.92)));
                if (source[i] == 0) wanted[i] = 1, wanted[i + 1] = 2, wanted[i + 2] = 3;
                if (source[i] == kTop) wanted[i] = 101, wanted[i + 1] = 102, wanted[i + 2] = 103;
            }
            (program.*ends).used = true;
            loop(program, bytesOf(source), bytesOf(reached), pixels, samples);
            EXPECT_EQ(reached, wanted) << pixels << " pixels, " << samples << " samples";
        }
    }
}

/// Only if there are such samples, since others are exact.
TEST_F(ExactKernelsTest, BlackAndWhiteHaveTheGivenSamples) {
    const std::vector<Step> steps{Scaled(0.9F, 0.02F)};
    for (const colour::Loops* loops : colour::AllLoops()) {
        SCOPED_TRACE(loops->name);
        ExpectEnds<std::uint8_t>(ProgramOf(steps), &colour::Program::byteEnds, loops->bytes);
        ExpectEnds<std::uint16_t>(ProgramOf(steps), &colour::Program::wordEnds, loops->words);
    }
}

TEST_F(ExactKernelsTest, RunsOfAnyLengthMatchAndWriteOnlyTheirColours) {
    constexpr std::size_t kMost = 530;
    Lcg random(29);
    Bytes source(4 * 5 * kMost);
    for (unsigned char& byte : source) byte = static_cast<unsigned char>(random.Next());
    for (const Kind kind : kKinds) {
        const std::vector<Step> steps{Make(kind)};
        const colour::Program program = ProgramOf(steps, true);
        for (const colour::Loops* loops : colour::AllLoops()) {
            const colour::Loop all[] = {loops->bytes, loops->words, loops->floats};
            for (unsigned n = 0; n < 9; ++n) {
                const unsigned type = n / 3, samples = 3 + n % 3;
                const std::size_t colours = std::size_t{3} << type, pixel = std::size_t{samples} << type;
                Bytes whole = source, wanted = source;
                all[type](program, source.data(), whole.data(), kMost, samples);
                for (std::size_t pixels = 0; pixels < kMost; ++pixels) {
                    Bytes reached = source;
                    all[type](program, (pixels % 2 == 0 ? source : reached).data(), reached.data(), pixels, samples);
                    if (reached != wanted) {  // far quicker than the matcher
                        ASSERT_THAT(reached, EqualTo(wanted))
                            << loops->name << " " << type << " " << samples << " " << pixels;
                    }
                    std::copy_n(&whole[pixels * pixel], colours, &wanted[pixels * pixel]);
                }
            }
        }
    }
}

TEST_F(ExactKernelsTest, RoundedValuesAreMultiplesOfASixteenBitSample) {
    // Values up to 1/64, multiplied by fifty after the rounding.
    for (std::size_t i = 0; i < 65536; ++i) words_[i] = static_cast<float>(i) / 65535 / 64;
    const std::vector<Step> steps{Make(Kind::Round), Scaled(50, 0)};
    const Words colours = SampleColours();
    for (const colour::Loops* loops : colour::AllLoops()) {
        const Words reached = ConvertedBy(*loops, ProgramOf(steps), colours);
        for (std::size_t i = 0; i < colours.size(); ++i) {
            const double place = colours[i] / 64.0;
            if (std::abs(place - std::floor(place) - 0.5) < 0.001) continue;  // a tie in float
            ASSERT_EQ(reached[i], 50 * std::lround(place)) << loops->name << " " << colours[i];
        }
    }
}

TEST_F(ExactKernelsTest, CurvesOfTheTargetAreExactNearBlackToo) {
    Words colours(3 * 65536 / 2);
    for (std::size_t i = 0; i < colours.size(); ++i) colours[i] = static_cast<std::uint16_t>(i * 2 / 3);
    for (const colour::Loops* loops : colour::AllLoops()) {
        const Words reached = ConvertedBy(*loops, ProgramOf({}, true), colours);
        for (std::size_t i = 0; i < colours.size(); ++i) {
            ASSERT_NEAR(reached[i], 65535 * std::pow(colours[i] / 65535.0, 1 / 2.4), 0.75) << loops->name << " " << i;
        }
        Bytes ends{0, 255, 255};
        loops->bytes(ProgramOf({}, true), ends.data(), ends.data(), 1, 3);
        EXPECT_THAT(ends, testing::ElementsAre(0, 255, 255));
    }
}

TEST_F(ExactKernelsTest, AllGiveTheSameBytesForAnyNumbers) {
    ASSERT_EQ(colour::AllLoops().front(), &colour::kBaselineLoops);
    constexpr float kInfinity = std::numeric_limits<float>::infinity(), kNan = std::numeric_limits<float>::quiet_NaN();
    const float odd[] = {kInfinity, -kInfinity, kNan, -kNan, 1e30F, -1e30F, 1e-40F, -0.0F, 1, -1, 2, 65536, 0.5F};
    Lcg random(11);
    const auto disturb = [&](Floats& values, std::uint32_t every) {
        for (float& value : values) {
            if (random.Below(every) == 0) value = odd[random.Below(std::size(odd))];
        }
    };
    for (const bool disturbed : {false, true}) {
        if (disturbed) {
            for (Floats* values : {&bytes_, &words_, &curve_, &nodes_, &encoding_}) disturb(*values, 6);
        }
        for (unsigned n = 0; n < 120; ++n) {
            std::vector<Step> steps;
            if (n < 8) steps.push_back(Make(kKinds[n]));
            for (unsigned i = 0; n >= 8 && i < n % 5; ++i) steps.push_back(Make(kKinds[random.Below(8)]));
            const colour::Program program = ProgramOf(steps, random.Below(2) == 0);
            const unsigned samples = 3 + random.Below(3), pixels = random.Below(150);
            Bytes source(4 * samples * pixels + 1);
            for (unsigned char& byte : source) byte = static_cast<unsigned char>(random.Next());
            const std::uint32_t type = random.Below(3);
            const auto by = [&](const colour::Loops& loops, bool inPlace) {
                Bytes dest = source;
                const colour::Loop loop = type == 0 ? loops.bytes : type == 1 ? loops.words : loops.floats;
                loop(program, inPlace ? dest.data() + 1 : source.data() + 1, dest.data() + 1, pixels, samples);
                return dest;
            };
            const Bytes wanted = by(colour::kBaselineLoops, false);
            for (const colour::Loops* loops : colour::AllLoops()) {
                SCOPED_TRACE(testing::Message() << loops->name << ", program " << n << (disturbed ? ", odd" : ""));
                EXPECT_THAT(by(*loops, true), EqualsBytes(wanted));
                EXPECT_THAT(by(*loops, false), EqualsBytes(wanted));
            }
        }
    }
}

}  // namespace
}  // namespace hueweave::test
