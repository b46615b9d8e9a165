# SPDX-License-Identifier: MIT
# The two commands of a new user, and a few for a developer. The build itself is CMake's, see CMakePresets.json.
.PHONY: help demo test test-release test-asan test-clang format clean

JOBS := $(shell nproc)
build = cmake --preset $(1) && cmake --build --preset $(1) -j $(JOBS)

help:
	@echo "make demo           build the library, convert a chart with it and show what happened"
	@echo "make test           run every suite: g++, g++ with sanitizers, clang++"
	@echo "make test-release   one of them (also: test-asan, test-clang)"
	@echo "make format         lay the sources out by .clang-format"
	@echo "make clean          remove build/"

demo:
	@tools/install-packages demo
	@$(call build,demo)
	@build/demo/demo/make_chart build/demo/files
	@build/demo/demo/convert_chart build/demo/files

test: test-release test-clang test-asan

test-%:
	@tools/install-packages test
	$(call build,$*)
	ctest --preset $* -j $(JOBS)

format:
	git ls-files '*.h' '*.cpp' | xargs clang-format -i

clean:
	rm -rf build
