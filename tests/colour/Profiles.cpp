// SPDX-License-Identifier: MIT
#include "colour/Profiles.h"

#include <lcms2_plugin.h>

#include <algorithm>
#include <bit>
#include <cmath>

#include "support/ProfileBuilder.h"

namespace hueweave::test {
namespace {

constexpr Vector kD50{0.9642, 1.0, 0.8249};
constexpr cmsTagSignature kForth[] = {cmsSigAToB0Tag, cmsSigAToB1Tag, cmsSigAToB2Tag};
constexpr cmsTagSignature kBack[] = {cmsSigBToA0Tag, cmsSigBToA1Tag, cmsSigBToA2Tag};

cmsUInt16Number Word(double fraction) { return static_cast<cmsUInt16Number>(std::lround(65535 * fraction)); }

/// The contents of a device table for one intent.
struct Model {
    double exponent;
    bool xyz, oldLab;
    double black;
    Matrix matrix, inverse = Inverse(matrix);

    static int Forth(const cmsUInt16Number* rgb, cmsUInt16Number* connection, void* cargo) {
        const Model& model = *static_cast<Model*>(cargo);
        Vector light;
        for (std::size_t c = 0; c < 3; ++c) light[c] = std::pow(rgb[c] / 65535.0, model.exponent);
        Vector v = Times(model.matrix, light);
        for (std::size_t c = 0; c < 3; ++c) v[c] = model.black * kD50[c] + (1 - model.black) * v[c];
        const auto colour = std::bit_cast<cmsCIEXYZ>(v);
        cmsCIELab lab;
        cmsXYZ2Lab(nullptr, &lab, &colour);
        if (model.xyz) {
            cmsFloat2XYZEncoded(connection, &colour);
        } else {
            (model.oldLab ? cmsFloat2LabEncodedV2 : cmsFloat2LabEncoded)(connection, &lab);
        }
        return 1;
    }
    static int Back(const cmsUInt16Number* connection, cmsUInt16Number* rgb, void* cargo) {
        const Model& model = *static_cast<Model*>(cargo);
        cmsCIEXYZ colour;
        cmsCIELab lab;
        if (model.xyz) {
            cmsXYZEncoded2Float(&colour, connection);
        } else {
            (model.oldLab ? cmsLabEncoded2FloatV2 : cmsLabEncoded2Float)(&lab, connection);
            cmsLab2XYZ(nullptr, &colour, &lab);
        }
        auto v = std::bit_cast<Vector>(colour);
        for (std::size_t c = 0; c < 3; ++c) v[c] = (v[c] - model.black * kD50[c]) / (1 - model.black);
        const Vector light = Times(model.inverse, v);
        for (std::size_t c = 0; c < 3; ++c) rgb[c] = Word(std::pow(std::clamp(light[c], 0.0, 1.0), 1 / model.exponent));
        return 1;
    }
};

/// Frees the curve.
cmsStage* CurveStage(cmsToneCurve* curve) {
    cmsToneCurve* all[] = {curve, curve, curve};
    cmsStage* stage = cmsStageAllocToneCurves(nullptr, 3, all);
    cmsFreeToneCurve(curve);
    return stage;
}

/// A power: as a table of 256 entries, the size in 8-bit tables, or as a formula.
cmsStage* PowerStage(double exponent, bool formula) {
    cmsUInt16Number table[256];
    for (int i = 0; i < 256; ++i) table[i] = Word(std::pow(i / 255.0, exponent));
    return CurveStage(formula ? cmsBuildGamma(nullptr, exponent) : cmsBuildTabulatedToneCurve16(nullptr, 256, table));
}

cmsStage* MatrixStage(const Matrix& matrix, double scale, const Vector& offset = {}) {
    double rows[9];
    for (std::size_t i = 0; i < 9; ++i) rows[i] = matrix[i / 3][i % 3] * scale;
    return cmsStageAllocMatrix(nullptr, 3, 3, rows, offset.data());
}

using Stages = std::initializer_list<cmsStage*>;

/// Writes a tag with these stages; null stands for none.
void Write(const Profile& profile, cmsTagSignature tag, Stages stages, bool bytes = false) {
    cmsPipeline* lut = cmsPipelineAlloc(nullptr, 3, 3);
    for (cmsStage* stage : stages) {
        if (stage != nullptr) cmsPipelineInsertStage(lut, cmsAT_END, stage);
    }
    cmsPipelineSetSaveAs8bitsFlag(lut, bytes);
    if (!cmsWriteTag(profile.get(), tag, lut)) throw std::runtime_error("no table");
    cmsPipelineFree(lut);
}

}  // namespace

Vector Times(const Matrix& matrix, const Vector& vector) {
    const auto m = std::bit_cast<cmsMAT3>(matrix);
    const auto v = std::bit_cast<cmsVEC3>(vector);
    cmsVEC3 product;
    _cmsMAT3eval(&product, &m, &v);
    return std::bit_cast<Vector>(product);
}

Matrix Times(const Matrix& one, const Matrix& other) {
    const auto a = std::bit_cast<cmsMAT3>(one), b = std::bit_cast<cmsMAT3>(other);
    cmsMAT3 product;
    _cmsMAT3per(&product, &a, &b);
    return std::bit_cast<Matrix>(product);
}

Matrix Inverse(const Matrix& matrix) {
    const auto m = std::bit_cast<cmsMAT3>(matrix);
    cmsMAT3 inverse;
    if (!_cmsMAT3inverse(&m, &inverse)) throw std::runtime_error("no inverse");
    return std::bit_cast<Matrix>(inverse);
}

Matrix ToXyz(const Gamut& gamut) {
    const auto xyz = [](const Vector& c) { return Vector{c[0] / c[1], 1, (1 - c[0] - c[1]) / c[1]}; };
    const Vector red = xyz(gamut.red), green = xyz(gamut.green), blue = xyz(gamut.blue);
    Matrix columns{{{red[0], green[0], blue[0]}, {red[1], green[1], blue[1]}, {red[2], green[2], blue[2]}}};
    const Vector white = xyz(gamut.white), light = Times(Inverse(columns), white);
    const Matrix bradford{{{0.8951, 0.2664, -0.1614}, {-0.7502, 1.7135, 0.0367}, {0.0389, -0.0685, 1.0296}}};
    const Vector from = Times(bradford, white), to = Times(bradford, kD50);
    Matrix adapted = bradford;
    for (std::size_t i = 0; i < 9; ++i) {
        columns[i / 3][i % 3] *= light[i % 3];
        adapted[i / 3][i % 3] *= to[i / 3] / from[i / 3];
    }
    return Times(Times(Inverse(bradford), adapted), columns);
}

cmsCIELab LabOf(const Matrix& toXyz, const Vector& light) {
    const auto xyz = std::bit_cast<cmsCIEXYZ>(Times(toXyz, light));
    cmsCIELab lab;
    cmsXYZ2Lab(nullptr, &lab, &xyz);
    return lab;
}

Bytes ParaBlock(unsigned function, const std::vector<double>& parameters) {
    ByteWriter out;
    out.Text("para").Big32(0).Big16(function).Big16(0);
    for (const double p : parameters) out.Big32(static_cast<std::uint32_t>(std::lround(p * 65536)));
    return out.Done();
}

Bytes GammaBlock(double exponent) {
    return ByteWriter().Text("curv").Big32(0).Big32(1).Big16(static_cast<unsigned>(std::lround(exponent * 256))).Done();
}

Bytes TableBlock(const std::vector<double>& values) {
    ByteWriter out;
    out.Text("curv").Big32(0).Big32(static_cast<std::uint32_t>(values.size()));
    for (const double v : values) out.Big16(Word(v));
    return out.Done();
}

Bytes SrgbFormula() { return ParaBlock(3, {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045}); }

double SrgbLight(double sample) { return sample <= 0.04045 ? sample / 12.92 : std::pow((sample + 0.055) / 1.055, 2.4); }

double SrgbSample(double light) {
    return light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
}

Bytes MatrixProfile(const Matrix& toXyz, const std::array<Bytes, 3>& curves, int version,
                    cmsProfileClassSignature kind) {
    ProfileBuilder profile;
    profile.HeaderWord(8, version == 4 ? 0x04300000 : 0x02400000).HeaderWord(12, kind).HeaderWord(20, cmsSigXYZData);
    for (std::size_t c = 0; c < 3; ++c) {
        const auto fixed = [&](const Vector& row) { return static_cast<std::uint32_t>(std::lround(row[c] * 65536)); };
        const std::string name(1, "rgb"[c]);
        profile.Xyz(name + "XYZ", fixed(toXyz[0]), fixed(toXyz[1]), fixed(toXyz[2])).Raw(name + "TRC", curves[c]);
    }
    return profile.Xyz("wtpt", 0xf6d6, 0x10000, 0xd32d).Build();
}

Profile BlankProfile(double version, cmsColorSpaceSignature colours, cmsColorSpaceSignature connection,
                     cmsProfileClassSignature kind) {
    Profile profile(cmsCreateProfilePlaceholder(nullptr));
    cmsSetProfileVersion(profile.get(), version);
    cmsSetColorSpace(profile.get(), colours);
    cmsSetPCS(profile.get(), connection);
    cmsSetDeviceClass(profile.get(), kind);
    cmsWriteTag(profile.get(), cmsSigMediaWhitePointTag, cmsD50_XYZ());
    return profile;
}

Bytes Saved(const Profile& profile) {
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile.get(), nullptr, &size);
    Bytes bytes(size);
    if (size == 0 || !cmsSaveProfileToMem(profile.get(), bytes.data(), &size)) throw std::runtime_error("no profile");
    return bytes;
}

Bytes TableProfile(const TableDevice& device) {
    const auto kind = device.screen ? cmsSigDisplayClass : device.target ? cmsSigOutputClass : cmsSigInputClass;
    const auto connection = device.xyz ? cmsSigXYZData : cmsSigLabData;
    const Profile profile = BlankProfile(device.version, cmsSigRgbData, connection, kind);
    const cmsCIEXYZ paper{0.87, 0.90, 0.70};
    if (!device.plain) cmsWriteTag(profile.get(), cmsSigMediaWhitePointTag, &paper);
    const bool formula = device.version >= 4;
    for (std::size_t intent = 0; intent < (device.plain ? 1 : 3); ++intent) {
        Model model{1.8 + 0.2 * static_cast<double>(intent), device.xyz, !formula, device.plain ? 0 : 0.01,
                    device.plain ? kSwappedSrgb : ToXyz(kGamutAdobe)};
        if (device.noGrid) {
            constexpr double kXyz = 32768.0 / 65535.0;  // 1.0 in the XYZ encoding
            Vector offset;
            for (std::size_t c = 0; c < 3; ++c) offset[c] = model.black * kD50[c] * kXyz;
            Write(profile, kForth[intent],
                  {PowerStage(model.exponent, true), MatrixStage(model.matrix, (1 - model.black) * kXyz, offset),
                   PowerStage(1, true)});
            continue;
        }
        const auto grid = [&](cmsSAMPLER16 sampler) {
            cmsStage* stage = cmsStageAllocCLut16bit(nullptr, device.points, 3, 3, nullptr);
            cmsStageSampleCLut16bit(stage, sampler, &model, 0);
            return stage;
        };
        const auto curves = [&] { return device.matrix ? PowerStage(1.02, true) : nullptr; };
        const auto mixing = [&] {  // mixes the channels slightly
            const Matrix some{{{0.97, 0.02, 0}, {0, 0.98, 0.01}, {0.02, 0, 0.97}}};
            return device.matrix ? MatrixStage(some, 1, {0.004, 0.003, 0.002}) : nullptr;
        };
        Write(profile, kForth[intent],
              {PowerStage(1, formula), grid(Model::Forth), curves(), mixing(),
               // A curve before Lab would tint neutral colours.
               PowerStage(device.xyz ? 1.05 : 1, formula)},
              device.bytes);
        if (!device.target) continue;
        Write(profile, kBack[intent],
              {PowerStage(1, formula), mixing(), curves(), grid(Model::Back), PowerStage(1, formula)}, device.bytes);
    }
    return Saved(profile);
}

Bytes FloatProfile(bool rough) {
    const Profile profile = BlankProfile(4.3, cmsSigRgbData, cmsSigXYZData, cmsSigInputClass);
    std::vector<float> light;
    for (int i = 0; i < 1024; ++i) {
        light.push_back(static_cast<float>(rough ? 0.5 + 0.5 * std::sin(i * 300 / 1023.0) : std::pow(i / 1023.0, 1.8)));
    }
    Write(
        profile, cmsSigDToB0Tag,
        {CurveStage(cmsBuildTabulatedToneCurveFloat(nullptr, 1024, light.data())), MatrixStage(ToXyz(kGamutAdobe), 1)});
    return Saved(profile);
}

Bytes LcmsSrgb() { return Saved(Profile(cmsCreate_sRGBProfile())); }

Bytes ArgyllProfile(const std::string& name) { return ReadFile(std::string(HUEWEAVE_COMMAND_INPUTS) + "/" + name); }

}  // namespace hueweave::test
