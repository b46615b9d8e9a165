# SPDX-License-Identifier: MIT
# The two commands for new users, and some for developers. CMake does the build, see CMakePresets.json.
.PHONY: help demo test test-all coverage bench format clean

JOBS := $(shell nproc)
build = cmake --preset $(1) && cmake --build --preset $(1) -j $(JOBS)

help:
	@echo "make demo           build everything, convert a chart with the library and the command, report the result"
	@echo "make test           build with g++ and run all tests (four to eight minutes)"
	@echo "make test-all       the same with clang++ and with sanitizers, and compare digests across builds"
	@echo "make test-clang     one of these (also: test-release, test-asan, test-tsan, test-portable)"
	@echo "make coverage       line and branch coverage of the library and the command, as text and HTML"
	@echo "make bench          measure the speed against other programs and update docs/benchmarks.md (ten minutes)"
	@echo "make peers          compare the command with other converters and write docs/comparison.md (some minutes)"
	@echo "make accuracy       compare colours with Little CMS in doubles for 134 profiles and write docs/accuracy.md (some minutes)"
	@echo "make python         build, install, test and document the Python package (some minutes)"
	@echo "make corpus         convert the samples of Debian's source packages (220 MB) and judge them by other readers (ten minutes)"
	@echo "make fuzz           run each fuzz target for SECONDS=60"
	@echo "make oss-fuzz       build the fuzz targets as OSS-Fuzz does, and run them"
	@echo "make many-inputs    run four million broken inputs, always the same ones"
	@echo "make faults         make every system call and allocation of the command fail; kill it; close its streams"
	@echo "make check-cluster  convert with Slurm and GNU parallel on machines that die, as root (five minutes)"
	@echo "make memcheck       run the suites that decode files under valgrind"
	@echo "make check-report   open reports of profiles and pictures in headless Chromium and use them"
	@echo "make report-picture renew docs/report.png, which shows a report of the demo's profile"
	@echo "make lint           run clang-tidy, cppcheck, shellcheck and other static checks"
	@echo "make docs           build the references of the interface and of the internals"
	@echo "make packages       build .deb packages and an archive, check them with lintian and test them"
	@echo "make abi            update the baselines in tests/abi after an intended change of an interface"
	@echo "make format         format the sources with clang-format"
	@echo "make clean          remove build/"

demo:
	@scripts/install-packages demo
	@$(call build,demo)
	@build/demo/demo/make_chart build/demo/files
	@build/demo/demo/convert_chart build/demo/files
	@examples/demo/use_command build/demo/apps/hueweave/hueweave build/demo/files

test: test-release

test-all:
	@scripts/install-packages test
	@tests/run release clang portable asan tsan

test-%:
	@scripts/install-packages test
	@tests/run $*

# The flags exclude branches without a source line: those that the compiler adds for exceptions, and those of implicit
# destructors.
coverage_flags := --root ../.. --exclude-throw-branches --exclude-unreachable-branches \
	--exclude-branches-by-pattern '.*~\w+\(\) (override )?= default;.*|^(class|struct) \w+.*\{$$'
coverage: test-coverage
	@cd build/coverage && gcovr $(coverage_flags) --filter '../../Source/' --filter '../../(apps|colour)/' \
		--json coverage.json --html-details coverage.html .
	@cd build/coverage && for folder in Source '(apps|colour)'; do \
		gcovr $(coverage_flags) --filter "../../$$folder/" --add-tracefile coverage.json --txt --print-summary; done
	@echo "build/coverage/coverage.html"

bench:
	@scripts/install-packages bench
	$(call build,bench)
	@bench/run build/bench/bench build/bench/results

.PHONY: peers accuracy corpus
peers:
	@scripts/install-packages bench
	@$(call build,release) --target hueweave judge_pictures
	@tests/command/make-inputs build/peers
	@tests/judges/peers/compare.py build/release/apps/hueweave/hueweave build/release/tests/judge_pictures build/peers \
		-o docs/comparison.md $(PEERS)

accuracy:
	@scripts/install-packages test
	@$(call build,release) --target hueweave judge_colours
	@tests/judges/colours/run build/release/tests/judge_colours build/release/apps/hueweave/hueweave build/accuracy \
		--jobs $(JOBS) --into docs/accuracy.md

corpus:
	@scripts/install-packages bench
	@$(call build,release) --target hueweave
	@mkdir -p build/corpus
	@tests/judges/corpus/run build/release/apps/hueweave/hueweave build/corpus --jobs $(JOBS) --into docs/reliability.md

format:
	@scripts/install-packages check
	@files=$$(scripts/list-files '*.h' '*.hpp' '*.c' '*.cpp') && program=$$(scripts/program clang-format) && \
		echo "$$files" | xargs "$$program" -i

clean:
	rm -rf build

.PHONY: check-report report-picture
check-report:
	@scripts/install-packages page
	@$(call build,release) --target hueweave command_inputs
	@tests/report/check build/release/apps/hueweave/hueweave build/test-inputs/command build/report

# The picture of a report in the README.
report-picture: demo
	@scripts/install-packages page
	@tests/report/picture build/demo/files/report.html docs/report.png

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

# Accepts the current binary interface after an intended change.
abi:
	@scripts/install-packages test
	@$(call build,release) --target Hueweave hueweave_transform
	@scripts/check-abi --renew build/release/Source/libHueweave.so build/release/Source/libhueweave_core.a
	@scripts/check-abi --renew build/release/colour/api/libhueweave_transform.so

# The command and the libraries are what the package is compared with.
.PHONY: python
python:
	@scripts/install-packages python
	@$(call build,release) --target hueweave Hueweave hueweave_transform hueweave_transform_static make_chart
	@python/check

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
	@$(call build,release) --target hueweave command_faults command_allocation_faults command_inputs
	@tests/command/faults/sweep build/release $(JOBS)

# Daemons of their own on the loopback interface, in build/cluster; all of them end with the check.
.PHONY: check-cluster
CLUSTER_FILES := 2000
cluster_folder := build/cluster
check-cluster:
	@scripts/install-packages cluster
	@$(call build,release) --target hueweave command_faults
	@tests/cluster/check build/release/apps/hueweave/hueweave $(cluster_folder)/engines --files $(CLUSTER_FILES)
	@tests/cluster/kills build/release/apps/hueweave/hueweave $(cluster_folder)/kills
	@tests/cluster/storage build/release/apps/hueweave/hueweave build/release/tests/command/libcommand_faults.so \
		$(cluster_folder)/storage
	@tests/cluster/listing build/release/apps/hueweave/hueweave $(cluster_folder)/listing
	@tests/cluster/overhead build/release/apps/hueweave/hueweave $(cluster_folder)/overhead

memcheck:
	@scripts/install-packages test
	@$(call build,release) --target unit_iccfile unit_tiff hostile
	@tests/hostile/memcheck build/release
