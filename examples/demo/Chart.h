// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <string_view>

#include "Device.h"

namespace demo {

constexpr int kWidth = 960;
constexpr int kHeight = 640;

/// A patch of the chart: its name, the sRGB colour of the scene (8 bits), and its position in the image.
struct Patch {
    std::string_view name;
    std::array<int, 3> sRGB;
};
constexpr int kColumns = 8;
constexpr int kRows = 3;
constexpr std::array<Patch, kColumns* kRows> kPatches = {{
    {"dark skin", {115, 82, 68}},     {"light skin", {194, 150, 130}},   {"pale skin", {234, 203, 184}},
    {"deep skin", {74, 49, 39}},      {"foliage", {87, 108, 67}},        {"blue sky", {98, 122, 157}},
    {"blue flower", {133, 128, 177}}, {"bluish green", {103, 189, 170}}, {"red", {200, 32, 40}},
    {"orange", {222, 118, 32}},       {"yellow", {236, 200, 16}},        {"green", {32, 148, 62}},
    {"cyan", {8, 133, 161}},          {"blue", {40, 52, 160}},           {"purple", {94, 58, 106}},
    {"magenta", {190, 60, 140}},      {"white", {250, 250, 250}},        {"neutral 8", {200, 200, 200}},
    {"neutral 6.5", {160, 160, 160}}, {"neutral 5", {122, 122, 121}},    {"neutral 3.5", {85, 85, 85}},
    {"neutral 2", {52, 52, 52}},      {"near black", {20, 20, 20}},      {"black", {4, 4, 4}},
}};

/// The centre of a patch in the image.
struct Point {
    int x, y;
};
Point CentreOf(int patch);

/// The scene's colour at a pixel in linear sRGB: a landscape, ramps, and the patches.
Triple SceneAt(int x, int y);

}  // namespace demo
