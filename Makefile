# Two entry points for a fresh Debian machine: `make run` and `make test`.
SHELL := /bin/bash
JOBS  ?= $(shell nproc)
DEBS  := g++ cmake make python3 tmux bc clang-format libncurses-dev liblapack-dev libopenblas-dev zlib1g-dev libminizip-dev libgtest-dev libbenchmark-dev
SYSDIR := $(CURDIR)/sysdir

.PHONY: deps build build-asan run test check unit scripts scripts-asan interactive install bench clean

deps:
	@missing=""; for p in $(DEBS); do dpkg -s $$p >/dev/null 2>&1 || missing="$$missing $$p"; done; \
	if [ -n "$$missing" ]; then \
	  echo "installing:$$missing"; \
	  if [ "$$(id -u)" = 0 ]; then SUDO=""; else SUDO=sudo; fi; \
	  $$SUDO apt-get update -qq && DEBIAN_FRONTEND=noninteractive $$SUDO apt-get install -y -qq $$missing; \
	fi

build: deps
	@cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	@cmake --build build -j $(JOBS)

build-asan: deps
	@cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DORVAT_SANITIZE=ON >/dev/null
	@cmake --build build-asan -j $(JOBS) --target orvat-px plugins unit_tests

run: build
	SYSDIR_ORVAT=$(SYSDIR) ./build/orvat-px

unit: build
	./build/unit_tests --gtest_brief=1

scripts: build
	python3 tests/runscripts.py --exe build/orvat-px --sysdir $(SYSDIR)

scripts-asan: build-asan
	ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	python3 tests/runscripts.py --exe build-asan/orvat-px --sysdir $(SYSDIR) --label asan

interactive: build
	bash tests/interactive/run.sh build/orvat-px $(SYSDIR)

# The house rules that a script can check: no include runs up a floor, and the tree is formatted.
SOURCES = $(shell find src tests/unit tests/plugin bench -name '*.cpp' -o -name '*.h' -o -name '*.c')
check: deps
	@python3 tests/floors.py
	@clang-format --dry-run -Werror $(SOURCES) && echo "format: $(words $(SOURCES)) files as .clang-format has them"

test: build build-asan
	@rc=0; \
	$(MAKE) --no-print-directory check || rc=1; \
	./build/unit_tests --gtest_brief=1 || rc=1; \
	ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  ./build-asan/unit_tests --gtest_brief=1 || rc=1; \
	bash tests/interactive/run.sh build/orvat-px $(SYSDIR) || rc=1; \
	ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  python3 tests/runscripts.py --exe build-asan/orvat-px --sysdir $(SYSDIR) --label asan --quiet || rc=1; \
	python3 tests/runscripts.py --exe build/orvat-px --sysdir $(SYSDIR) --sweep-processors || rc=1; \
	bash tests/interop/run.sh build/orvat-px $(SYSDIR) || rc=1; \
	bash tests/interop/summarize.sh build/orvat-px $(SYSDIR) || rc=1; \
	bash tests/interop/tabulate.sh build/orvat-px $(SYSDIR) || rc=1; \
	bash tests/interop/csv.sh build/orvat-px $(SYSDIR) || rc=1; \
	exit $$rc

install: build
	cmake --install build --prefix /usr/local

bench: build
	bash bench/run.sh build

clean:
	rm -rf build build-asan
