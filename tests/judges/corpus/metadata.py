# SPDX-License-Identifier: MIT
"""What exiftool reads besides the image data and the profile."""
import collections
import json
import re
import subprocess
import tempfile

# Facts about the file, the colours and places in the file. Everything else must stay.
LEFT_OUT = re.compile(
    r"SourceFile|(ExifTool|System|File|Composite|ICC[-_]\w*|JFIF-ICC):|\w*:(Copy\d+:)?("
    r"(Strip|Tile|Thumbnail|PreviewImage|JpgFromRaw|OtherImage|MPImage|FreeByte)\w*(Offsets?|ByteCounts|Start|Length)|"
    r"ICC_Profile\w*|ProfileCMMType|ProfileName|ICCProfileName|SRGBRendering|Gamma|BackgroundColor|"
    r"(White|Red|Green|Blue|Primary)\w*(Point|Chromaticit)\w*|WhitePoint[XY]|(Red|Green|Blue)[XY]|"
    r"Palette|Transparency|SignificantBits|SuggestedPalette|ColorMap)")
# A strip of JPEG data counts as a preview or another image.
LAYOUT = re.compile(r"\w*:(Copy\d+:)?(PhotometricInterpretation|Bits?(PerSample|Depth)|SamplesPerPixel|"
                    r"Compression|Predictor|PlanarConfiguration|YCbCr\w*|ReferenceBlackWhite|JPEG\w*|InkSet|"
                    r"InkNames|NumberofInks|DotRange|FillOrder|SampleFormat|M(ax|in)SampleValue|T[46]Options|"
                    r"GrayResponse\w*|TransferFunction|"
                    r"Color(Transform|Components)|(Preview|Other)Image)")
MPF = re.compile(r"MP[FI]\w*:")


def of(paths):
    """For each path, what exiftool prints, by group, copy and name."""
    if not paths:
        return {}
    with tempfile.NamedTemporaryFile("w", suffix=".args") as names:
        names.write("\n".join(map(str, paths)))
        names.flush()
        done = subprocess.run(["exiftool", "-j", "-n", "-a", "-u", "-G1:4", "-@", names.name], capture_output=True,
                              check=False)
    rows = json.loads(done.stdout.decode(errors="replace"))
    return {row["SourceFile"]: row for row in rows}


def differences(source, output, layout_changes):
    """Fields that differ. `layout_changes`: whether those that describe the layout of samples may."""
    def kept(row):
        """Values by group and name; copies of a field count, but not their order."""
        values = collections.defaultdict(list)
        for name, value in row.items():
            if not LEFT_OUT.match(name) and not MPF.match(name) and not (layout_changes and LAYOUT.match(name)):
                values[re.sub(r":Copy\d+:", ":", name)].append(str(value))
        return {name: sorted(copies) for name, copies in values.items()}
    one, other = kept(source), kept(output)
    return sorted(f"{name}: {one.get(name)} -> {other.get(name)}" for name in {*one, *other}
                  if one.get(name) != other.get(name))
