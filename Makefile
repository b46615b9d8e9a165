# SPDX-License-Identifier: MIT
# The two commands of a new user, and a few for a developer. The build itself is CMake's, see CMakePresets.json.
.PHONY: help demo test coverage bench format clean

JOBS := $(shell nproc)
build = cmake --preset $(1) && cmake --build --preset $(1) -j $(JOBS)

help:
	@echo "make demo           build the library, convert a chart with it and show what happened"
	@echo "make test           run every suite: g++, clang++, digests across builds, g++ with sanitizers"
	@echo "make test-release   one of them (also: test-clang, test-portable, test-asan, test-tsan)"
	@echo "make coverage       lines and branches of Source/ that the tests reach, as text and HTML"
	@echo "make bench          compare the speed with other programs' and fill docs/benchmarks.md (ten minutes)"
	@echo "make format         lay the sources out by .clang-format"
	@echo "make clean          remove build/"

demo:
	@tools/install-packages demo
	@$(call build,demo)
	@build/demo/demo/make_chart build/demo/files
	@build/demo/demo/convert_chart build/demo/files

test: test-release test-clang test-portable test-asan test-tsan

test-%:
	@tools/install-packages test
	$(call build,$*)
	ctest --preset $* -j $(JOBS)

# The flags leave out the branches that the compiler adds for exceptions, which no source line shows.
coverage: test-coverage
	cd build/coverage && gcovr --root ../.. --filter '../../Source/' --exclude-throw-branches \
		--exclude-unreachable-branches --txt --print-summary --html-details coverage.html .
	@echo "build/coverage/coverage.html"

bench:
	@tools/install-packages bench
	$(call build,bench)
	@bench/run build/bench/bench build/bench/results

format:
	git ls-files '*.h' '*.cpp' | xargs clang-format -i

clean:
	rm -rf build
