#!/bin/bash -eu
# SPDX-License-Identifier: MIT
# Builds every fuzz target into $OUT, with its seeds, its dictionary and the shared libraries that it needs, using the
# compilers and flags of the environment: $CC, $CXX, $CFLAGS, $CXXFLAGS, $LIB_FUZZING_ENGINE, $SRC, $WORK.

# The system's libraries are built with libstdc++ only.
export CXXFLAGS="${CXXFLAGS//-stdlib=libc++/} -Wno-error"
source=$SRC/hueweave
build=$WORK/hueweave
# With DT_RPATH, programs find their bundled libraries in lib/, and so do these libraries; with DT_RUNPATH only programs
# would.
cmake -S "$source" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_C_FLAGS_DEBUG= -DCMAKE_CXX_FLAGS_DEBUG= \
    -DCMAKE_BUILD_RPATH="\$ORIGIN/lib" -DCMAKE_EXE_LINKER_FLAGS=-Wl,--disable-new-dtags \
    -DHUEWEAVE_FUZZ=ON -DHUEWEAVE_FUZZ_ENGINE="$LIB_FUZZING_ENGINE"
cmake --build "$build" --target fuzz
"$build/tests/fuzz/fuzz_seeds" "$build/seeds"

# All shared libraries except those of the compiler and the C library, which the target system provides.
brought() {
    ldd "$1" | awk '$2 == "=>" && $3 !~ /\/(libc|libm|libdl|librt|libpthread|libresolv|libgcc_s|libstdc\+\+)\.so/ { print $3 }'
}

mkdir -p "$OUT/lib"
for folder in "$build"/seeds/*; do
    target=$(basename "$folder")
    program=$build/tests/fuzz/fuzz_$target
    cp "$program" "$OUT/$target"
    brought "$program" | xargs -r cp -L -t "$OUT/lib"
    read -r most dictionary < <("$source/tests/fuzz/run" --settings "$target")
    printf '[libfuzzer]\nmax_len = %s\n' "$most" >"$OUT/$target.options"
    [ -z "$dictionary" ] || cp "$source/tests/fuzz/dictionaries/$dictionary.dict" "$OUT/$target.dict"
    seeds=("$folder"/*)
    [ ! -d "$source/tests/fuzz/findings/$target" ] || seeds+=("$source/tests/fuzz/findings/$target"/*)
    rm -f "$OUT/${target}_seed_corpus.zip"
    python3 -m zipfile -c "$OUT/${target}_seed_corpus.zip" "${seeds[@]}"
done
