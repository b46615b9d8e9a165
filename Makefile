# SPDX-License-Identifier: MIT
# The two commands of a new user, and a few for a developer. The build itself is CMake's, see CMakePresets.json.
.PHONY: help demo test test-all coverage bench format clean

JOBS := $(shell nproc)
build = cmake --preset $(1) && cmake --build --preset $(1) -j $(JOBS)

help:
	@echo "make demo           build all, convert a chart with the library and with the command, show what happened"
	@echo "make test           build with g++ and run every suite (five minutes)"
	@echo "make test-all       the same with clang++ and with sanitizers, and digests across builds"
	@echo "make test-clang     one of them (also: test-release, test-asan, test-tsan, test-portable)"
	@echo "make coverage       lines and branches of the library and the command that the tests reach, as text and HTML"
	@echo "make bench          compare the speed with other programs' and fill docs/benchmarks.md (ten minutes)"
	@echo "make peers          run other converters beside the command and write docs/comparison.md (some minutes)"
	@echo "make fuzz           search with each fuzz target for SECONDS=60 for inputs that break a rule"
	@echo "make oss-fuzz       build the fuzz targets as OSS-Fuzz does, and try them"
	@echo "make many-inputs    nearly seven million broken inputs, the same every time"
	@echo "make faults         every call of the system and allocation of the command fails; kills; lost streams"
	@echo "make memcheck       the suites that decode files, under valgrind"
	@echo "make lint           what clang-tidy, cppcheck, shellcheck and a check of the links have to say"
	@echo "make docs           the reference of the interface, and that of the inside"
	@echo "make packages       .deb packages and an archive, judged by lintian and tried"
	@echo "make abi            renew tests/abi/libHueweave.abi after a change of the interface that was meant"
	@echo "make format         lay the sources out by .clang-format"
	@echo "make clean          remove build/"

demo:
	@scripts/install-packages demo
	@$(call build,demo)
	@build/demo/demo/make_chart build/demo/files
	@build/demo/demo/convert_chart build/demo/files
	@demo/use_command build/demo/apps/hueweave/hueweave build/demo/files

test: test-release

test-all:
	@scripts/install-packages test
	@tests/run release clang portable asan tsan

test-%:
	@scripts/install-packages test
	@tests/run $*

# The flags leave out the branches that the compiler adds for exceptions and in destructors that nobody wrote, which no
# source line shows.
coverage_flags := --root ../.. --exclude-throw-branches --exclude-unreachable-branches \
	--exclude-branches-by-pattern '.*~\w+\(\) (override )?= default;.*|^(class|struct) \w+.*\{$$'
coverage: test-coverage
	@cd build/coverage && gcovr $(coverage_flags) --filter '../../Source/' --filter '../../apps/' --json coverage.json \
		--html-details coverage.html .
	@cd build/coverage && for folder in Source apps; do \
		gcovr $(coverage_flags) --filter "../../$$folder/" --add-tracefile coverage.json --txt --print-summary; done
	@echo "build/coverage/coverage.html"

bench:
	@scripts/install-packages bench
	$(call build,bench)
	@bench/run build/bench/bench build/bench/results

.PHONY: peers
peers:
	@scripts/install-packages bench
	@$(call build,release) --target hueweave
	@tests/command/make-inputs build/peers
	@tests/judges/peers/compare.py build/release/apps/hueweave/hueweave build/peers -o docs/comparison.md $(PEERS)

format:
	@scripts/install-packages check
	@files=$$(scripts/list-files '*.h' '*.c' '*.cpp') && program=$$(scripts/program clang-format) && \
		echo "$$files" | xargs "$$program" -i

clean:
	rm -rf build

.PHONY: lint docs packages abi
lint:
	@scripts/install-packages check
	@scripts/lint

docs:
	@scripts/install-packages check
	@mkdir -p build/docs
	@doxygen docs/Doxyfile
	@doxygen docs/Doxyfile.internals
	@echo "build/docs/api/index.html"
	@echo "build/docs/internals/index.html"

packages:
	@scripts/install-packages check
	@scripts/check-packages

# The binary interface as it is from now on, after a change that was meant.
abi:
	@scripts/install-packages test
	@$(call build,release) --target Hueweave
	@scripts/check-abi --renew build/release/Source/libHueweave.so build/release/Source/libhueweave_core.a

.PHONY: fuzz many-inputs faults memcheck oss-fuzz
SECONDS := 60
fuzz:
	@scripts/install-packages test
	@$(call build,fuzz)
	@tests/fuzz/run $(SECONDS) build/fuzz 2

oss-fuzz:
	@scripts/install-packages test
	@tests/fuzz/oss-fuzz/check build/oss-fuzz

many-inputs:
	@scripts/install-packages test
	@$(call build,release) --target fuzz
	@tests/fuzz/many build/release 2

faults:
	@scripts/install-packages test
	@$(call build,release) --target hueweave tool_sweep_faults tool_allocation_faults tool_inputs
	@tests/command/faults/sweep build/release $(JOBS)

memcheck:
	@scripts/install-packages test
	@$(call build,release) --target unit_iccfile unit_tiff hostile
	@tests/hostile/memcheck build/release
