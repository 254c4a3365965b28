# The commands of everyday work. Each sets up what it needs on a Debian machine, builds what changed
# in build/<preset> and runs it.
JOBS ?= $(shell nproc)
export CMAKE_BUILD_PARALLEL_LEVEL ?= $(JOBS)
export CTEST_PARALLEL_LEVEL ?= $(JOBS)
export JOBS

.PHONY: help
help:
	@sed -n 's/^## //p' $(MAKEFILE_LIST)

## make run            builds and runs the example
.PHONY: run
run:
	tools/setup.sh build
	cmake --preset release -D FIREWALL_TESTS=OFF
	cmake --build --preset release --target run

## make test           builds everything and runs all tests
.PHONY: test
test: release

## make debug          the same with debug information and the standard library's assertions
## make tsan           the tests that name threads, under ThreadSanitizer
.PHONY: release debug tsan
release debug tsan:
	tools/setup.sh build test
	cmake --preset $@
	cmake --build --preset $@
	ctest --preset $@

## make asan           all tests under AddressSanitizer and UndefinedBehaviorSanitizer, by clang
## make clang          all tests of the optimised libraries, built by clang
## make fuzz           each fuzz program for a minute at most
.PHONY: asan clang fuzz
asan clang fuzz:
	tools/setup.sh build test clang
	cmake --preset $@
	cmake --build --preset $@
	ctest --preset $@

## make lives          LIVES random lives of a switch against a plain model of it, and a tenth with faults
.PHONY: lives
lives: LIVES ?= 10000
lives:
	tools/setup.sh build test
	cmake --preset release
	cmake --build --preset release --target test_plain test_faults
	FIREWALL_LIVES=$(LIVES) build/release/tests/test_plain --gtest_filter='Lives.*'
	FIREWALL_LIVES=$$(($(LIVES) / 10)) build/release/tests/test_faults --gtest_filter='LivesWithFaults.*'

## make nightly        hours of random lives (LIVES) and of fuzzing (FUZZ_SECONDS for each program)
.PHONY: nightly
nightly: LIVES ?= 20000
nightly: FUZZ_SECONDS ?= 3600
nightly:
	$(MAKE) lives LIVES=$(LIVES)
	tools/setup.sh build test clang
	cmake --preset fuzz
	cmake --build --preset fuzz
	tools/fuzz.sh $(FUZZ_SECONDS)

## make memcheck       one long scenario under valgrind
.PHONY: memcheck
memcheck:
	tools/setup.sh build test valgrind
	cmake --preset release
	cmake --build --preset release --target test_Firewall
	valgrind -q --leak-check=full --error-exitcode=1 build/release/tests/test_Firewall \
	  --gtest_filter='ScenarioTest.*'

## make mutate         plants MUTANTS small faults in the reactors and lists those that no test notices
.PHONY: mutate
mutate: MUTANTS ?= 300
mutate:
	tools/setup.sh build test mutate
	tools/mutate.py --count $(MUTANTS) --jobs $(JOBS)

## make install-test   installs into a scratch folder and builds a program against that, by both compilers
.PHONY: install-test
install-test:
	tools/setup.sh build test clang
	cmake --preset release
	cmake --build --preset release
	ctest --preset release -R '^install/'
	cmake --preset clang -B build/clang-libraries -D FIREWALL_TESTS=OFF -D FIREWALL_AGENT=OFF
	cmake --build build/clang-libraries
	tests/install/consumer_test.sh $(CURDIR)/build/clang-libraries clang++

## make lint           formatting, shell scripts and clang-tidy
.PHONY: lint
lint:
	tools/setup.sh build test lint clang
	tools/lint.sh

## make format         formats every source
.PHONY: format
format:
	tools/setup.sh test
	git ls-files -z -- '*.h' '*.cpp' ':!tests/house/must_fail_*' | xargs -0 clang-format -i

## make picture        draws the include picture of ARCHITECTURE.md again
.PHONY: picture
picture:
	tools/include_graph.py

## make bench          runs all benchmarks; the table and its picture in docs/ are written anew
## make bench-table    the same without the benchmarks of the framework, which are not in the table
## make bench-smoke    runs each benchmark for a moment, to see that it runs
## make bench-instructions  counts the instructions of the reactors' benchmarks; a rise of a tenth fails
.PHONY: bench bench-table bench-smoke bench-instructions
bench: bench_target = bench_run
bench-table: bench_target = bench_table_run
bench-smoke: bench_target = bench_smoke
bench-instructions: bench_target = bench_instructions
bench bench-table bench-smoke bench-instructions:
	tools/setup.sh build test bench valgrind
	cmake --preset release -D FIREWALL_BENCH=ON
	cmake --build --preset release --target $(bench_target)

## make bench-plots    prints the table of the kept figures, and draws it and its picture into docs/
.PHONY: bench-plots
bench-plots:
	tools/bench_report.py

## make coverage       line and branch coverage of the libraries, in build/coverage/report
.PHONY: coverage
coverage:
	tools/setup.sh build test coverage
	cmake --preset $@
	cmake --build --preset $@
	ctest --preset $@
	tools/coverage.sh

## make clean          forgets every build
.PHONY: clean
clean:
	rm -rf build
