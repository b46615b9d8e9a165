// SPDX-License-Identifier: MIT
// Writes the seeds of every target into a folder, in one subfolder per target. Fails if there are fewer than expected.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "Files.h"
#include "Seeds.h"

namespace hueweave::fuzz {
namespace {

using test::ByteWriter;
namespace fs = std::filesystem;

constexpr unsigned long kFewest = 1000;  ///< seeds in all

struct Garden {
    fs::path root;
    unsigned long count = 0;

    void Plant(const std::string& target, const std::string& name, const Bytes& input) {
        fs::create_directories(root / target);
        const fs::path path = root / target / name;
        if (fs::exists(path)) throw std::runtime_error("two seeds are called " + path.string());
        test::WriteFile(path.string(), input);
        ++count;
    }
    void PlantTexts(const std::string& target, std::initializer_list<std::string_view> texts) {
        int number = 0;
        for (const auto text : texts) Plant(target, Name("text", number++), {text.begin(), text.end()});
    }
};

/// Steering bytes of a target, the same on every machine, and a file behind them.
Bytes Drawn(std::size_t size, unsigned seed, const Bytes& file = {}) {
    ByteWriter out;
    test::Lcg random(seed * 2654435761U + 99);
    while (out.Size() < size) out.U8(random.Next() >> 16);
    return out.Append(file).Done();
}

void PlantProfiles(Garden& garden) {
    unsigned number = 0;
    SowProfiles([&](const std::string& name, const Bytes& file) {
        garden.Plant("icc_file", name, file);
        // Building tables is slow: every third profile for the targets that do it.
        if (++number % 3 == 0) garden.Plant("engine", name, Drawn(40, number, file));
        if (number % 9 == 0) garden.Plant("api_sequence", name, Drawn(256, number, file));
        for (unsigned tag = 0; file.size() > 144 && file.size() < 4096 && tag < 14; tag += 5) {
            garden.Plant("icc_tag", Name(name, tag), Steered({tag}, Bytes(file.begin() + 144, file.end())));
        }
    });
    for (unsigned n = 0; n < 12; ++n) {
        garden.Plant("engine", Name("sound", n), Drawn(40, 1000 + n, SoundProfile(n)));
        garden.Plant("engine", Name("curved", n), Drawn(40, 2000 + n, CurvedProfile(n)));
        garden.Plant("api_sequence", Name("sound", n), Drawn(256, 3000 + n, SoundProfile(n)));
    }
}

void PlantTiffs(Garden& garden) {
    unsigned number = 0;
    SowTiffs([&](const std::string& name, const Bytes& file) {
        ++number;
        garden.Plant("tiff_file", name, Drawn(66, number, file));
        garden.Plant("tiff_pixels", name, Drawn(160, number, file));
        garden.Plant("convert_file", name, Steered({number / 4 % 2, number % 4, 0, 0}, file));
    });
}

#ifdef HUEWEAVE_FUZZ_COMMAND
/// A profile as the source, as the target, and after another one as both, for every intent.
void PlantTransforms(Garden& garden, const std::string& name, const Bytes& other, const Bytes& file, unsigned number) {
    const auto size = static_cast<unsigned>(other.size());
    for (unsigned form = 0; form < 3; ++form) {
        // Intent, compensation, offsets, samples, split; then form, space, size of the first profile, version.
        const Bytes steering = Steered({(number + form) % 4, number / 4 % 2, number * 5, number % 4, 100, form,
                                        number % 7, size % 256, size / 256, 1},
                                       form == 2 ? other : Bytes());
        garden.Plant("transform", Name(name, form), ByteWriter().Append(steering).Append(file).Done());
    }
}

/// A picture behind 48 bytes of text, which is markup in most of the seeds.
void PlantReport(Garden& garden, const std::string& name, const Bytes& file, unsigned number) {
    std::istringstream texts(
        "<script>alert(1)</script>\n\"><img src=x onerror=y>\na & b\n<!--\n]]>\n{{json}}\n' onload='x\n</title>\n"
        "\xff\xfe\n\xe2\x80\xae\n");
    std::string text;
    for (unsigned n = 0; n <= number % 11; ++n) std::getline(texts, text);
    garden.Plant("report", name, ByteWriter().Text(text).Fill(48 - text.size()).Append(file).Done());
}

/// Files for the command; also those that the library accepts, most of which it refuses.
void PlantFilesOfTheCommand(Garden& garden) {
    unsigned number = 0;
    const auto tiff = [&](const std::string& name, const Bytes& file) {
        const unsigned tags = ++number % 4, place = number / 4 % 4;
        // Kinds that only the exact precision converts, with a profile for RGB and with one for grey.
        const bool isKind = name.starts_with("kind-");
        garden.Plant("convert_tiff", name, Steered({tags, place, 0, isKind ? 2U : 0U}, file));
        if (isKind) garden.Plant("convert_tiff", name + "-grey", Steered({tags, place, 0, 3}, file));
        garden.Plant("convert_tiff", name + "-format", Steered({tags, place, 0, 4 + number % 2}, file));
        garden.Plant("tiff_structure", name, Drawn(16, number, file));
        if (isKind || number % 5 == 0) PlantReport(garden, name, file, number);
    };
    SowCommandTiffs(tiff);
    SowOldJpegs(tiff);
    SowTiffs([&](const std::string& name, const Bytes& file) {
        if (++number % 5 == 0) tiff("library-" + name, file);
    });
    const auto pictures = [&](const std::string& target) -> Sow {
        return [&garden, &number, target](const std::string& name, const Bytes& file) {
            garden.Plant(target, name, file);
            // Without the byte that steers the conversion.
            if (!name.ends_with("-format")) PlantReport(garden, name, Bytes(file.begin() + 1, file.end()), ++number);
        };
    };
    SowPngs(pictures("convert_png"));
    SowJpegs(pictures("convert_jpeg"));
    Bytes before;
    SowCommandProfiles([&](const std::string& name, const Bytes& file) {
        garden.Plant("convert_profile", name, Drawn(4, ++number, file));
        PlantTransforms(garden, name, before, file, number);
        before = file;
    });
    SowDeflated([&](const std::string& name, const Bytes& file) { garden.Plant("deflate", name, file); });
}

void PlantTextsOfTheCommand(Garden& garden) {
    using namespace std::string_literals;
    // A name, followed by the contents of the record.
    const std::string line = R"({"output":"a.tif","fingerprint":"f","size":17,"modified":1})", named = "\4aaaaa\1";
    const std::string many = named + line + "\n\n" + line + "\n", deep = named + std::string(3000, '[') + "\n";
    garden.PlantTexts(
        "record",
        {"", named, many, many.substr(0, 40), deep, named + R"({"output":"b","size":1e400,"modified":0.5})",
         named + R"({"output_hex":"ff00","output":"x","fingerprint":"f","size":-1,"modified":99999999999999999999})",
         "\5\xff\xfe\xc2\x9b\x1b\xe2\1" + line});
    garden.PlantTexts(
        "arguments",
        {"", "--help", "--version", "convert\n-o\nout\nin.tif", "convert\n--in-place\nin.tif\n-j\n4",
         "convert\n--profile=p.icc\n--to\nadobe-rgb\n--intent\nrelative\n-o\nout\na\nb\n--json",
         "convert\n--curve\n@/curve.csv\n--lightness\n5.5\n--hue=-30\n-o\nout\na\n--no-tag",
         "convert\n--files-from\n-\n-0\n-o\nout\n--resume\n--shard\n1/4\n--max-memory\n1G",
         "convert\n--source=embedded\n--force\n--dry-run\n-q\n-o\nout\n--\n-a", "inspect\na\n--json",
         "bake\np.icc\n-o\nq.icc\n--force", "verify\np.icc\n--points\n9\n--limit\n2.5\n--bits\n8",
         "verify\np.icc\n--image\na.tif\n--intent=absolute", "spaces\n--json", "convert\n--help",
         "convert\n--precision=library\n--accept-error\n3.5\n-o\nout\na\n-v", "convert\n--to\nb.icc\n--bpc\n-o\nout\na",
         "convert\n--icc-version=2\n--to=rec2020\n-o\nout\na", "verify\np.icc\n--to=q.icc\n--precision\nexact"});
    garden.Plant("arguments", "check",
                 ByteWriter().Text("check\nr.cie\ns.val\n--profile\np\n--guideline=fadgi-4\n--limit\n2,6.5").Done());
    // The size of the reference, 0 for all of the text, in front of it and of a scan.
    const std::string table =
        "CTI3\nCOLOR_REP \"XYZ_RGB\" # measured\nNUMBER_OF_SETS 2\nBEGIN_DATA_FORMAT\n"
        "SAMPLE_ID RGB_R RGB_G RGB_B XYZ_X XYZ_Y XYZ_Z\nEND_DATA_FORMAT\nBEGIN_DATA\n"
        "A01 10 20 30 9.6 10 8.2\n\"A2\" 0 0 0 +0.1 1e-1 .1\nEND_DATA\n";
    const std::string scan =
        "VALS\nBEGIN_DATA_FORMAT\nSAMPLE_LOC RGB_R RGB_G RGB_B\nEND_DATA_FORMAT\nBEGIN_DATA\n"
        "A1 255 0 0\nA02 0 0 255\nEND_DATA\n";
    const std::string none(2, '\0'), size{static_cast<char>(table.size()), '\0'};
    garden.PlantTexts("check_chart", {"", none + table, none + table.substr(0, table.size() - 12), size + table + scan,
                                      size + table + table, none + "\xEF\xBB\xBF" + table + "\x1a" + table,
                                      none + "NUMBER_OF_FIELDS 9\n" + table});
    const auto head = "\3\7"s, profile = "8BIM\4\17\0\0\0\0\0\5abcde\0"s, thumbnail = "8BIM\4\14\2xy\0\0\0\0\4WXYZ"s;
    garden.PlantTexts("photoshop", {head, head + profile, head + thumbnail, head + profile + thumbnail + profile,
                                    head + thumbnail + profile + "not a resource", head + profile.substr(0, 16),
                                    head + profile.substr(0, 17), head + "8BIM\4\17\0\0\xff\xff\xff\xff"s,
                                    head + "8BIM\4\17\xff", head + profile + "8BIM\4\17\0\0\0\0\0\0"s});
}
#endif

}  // namespace
}  // namespace hueweave::fuzz

int main(int count, char** arguments) {
    using namespace hueweave::fuzz;
    if (count != 2) throw std::invalid_argument("usage: fuzz_seeds FOLDER");
    fs::remove_all(arguments[1]);
    Garden garden{arguments[1]};
    PlantProfiles(garden);
    PlantTiffs(garden);
    garden.PlantTexts("config", {"", "S\nkey = value\nSend\n", "S\nkey = value\n", "//S\nkey=1\nSend\n",
                                 "S\nn=-2147483649\nm=99999999999999999999\nk=0x10\nj= +5 \nSend\n",
                                 "end\nx=1\nendend\nend\ny=2\nendend\n", "S\na=1\nSend\nS\nb=2\nSend\n"});
    garden.Plant("config", "of-128-bytes", ByteWriter().Text("S\nk=" + std::string(128, 'x') + "\nSend\n").Done());
    for (unsigned n = 0; n < 80; ++n) garden.Plant("convert_diff", Name("any", n), Drawn(20 * (n % 10), n));
#ifdef HUEWEAVE_FUZZ_COMMAND
    PlantFilesOfTheCommand(garden);
    PlantTextsOfTheCommand(garden);
#endif
    std::printf("%lu seeds\n", garden.count);
    return garden.count < kFewest ? EXIT_FAILURE : EXIT_SUCCESS;
}
