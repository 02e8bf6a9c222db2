# The everyday commands; `make help` lists them. Each installs the packages that it needs and rebuilds only what changed.
# The builds themselves are CMake's: see CMakePresets.json.
.DEFAULT_GOAL := build
MAKEFLAGS += --no-print-directory --no-builtin-rules

# make run PATH: make takes PATH for a target, or for a variable when it holds "=". A target becomes FILE, and no rule below
# can match it. make itself rejects a PATH that begins with "-".
ifeq ($(origin FILE),command line)
override FILE := $(value FILE)
else ifeq ($(firstword $(MAKECMDGOALS)),run)
variables := $(filter-out JOBS=% CORPUS=% PREFIX=% DESTDIR=%,$(MAKEOVERRIDES))
$(if $(variables),$(error make takes "$(variables)" for a variable. A path with "=" needs FILE: make run FILE=PATH))
endif
ifeq ($(firstword $(MAKECMDGOALS))$(if $(word 2,$(MAKECMDGOALS)),+),run+)
export FILE := $(wordlist 2,$(words $(MAKECMDGOALS)),$(MAKECMDGOALS))
.PHONY: run path
run:
	@[ -e "$$FILE" ] || { echo "There is no file \"$$FILE\". make run takes one file; an odd name needs FILE=\"name\"."; false; }
	@$(MAKE) run
%: path
	@:
path: ;
else

JOBS := $(shell nproc)
SOURCES = find . -path ./build -prune -o \( -name '*.h' -o -name '*.c' -o -name '*.cc' \) -print0
PREFIX ?= /usr/local
export FILE PREFIX CORPUS DESTDIR

# Newer kernels scatter memory further than the thread sanitizer of GCC 12 can follow. A container may forbid this setting.
FIXED_LAYOUT := $(shell setarch -R true 2>/dev/null && echo setarch -R)

# What to try next; a CI log has no use for it.
next = @[ -n "$$CI" ] || printf 'Next: %s\n' $(1)

SAMPLE = build/release/samples/scene

run: configured-release ## show a sample, or your own file: make run PATH (or FILE=PATH)
	@cmake --build build/release --target qv_inspect samples
	@case $$FILE in -*) FILE=./$$FILE ;; esac; build/release/bin/qv_inspect "$${FILE:-$(SAMPLE).hobj}"
	@[ -n "$$FILE" ] || build/release/bin/qv_inspect $(SAMPLE).hobj --html $(SAMPLE).html --force
	$(call next,'make run path/of/your/file' 'build/release/bin/qv_inspect --help' 'make test')

build: ready-release ## build libraries, programs and tests
	$(call next,'make run' 'make test')

test: packages-test ready-release ## run all tests
	@ctest --preset release -j$(JOBS)
	$(call next,'make run path/of/your/file' 'make asan or make tsan: the tests under sanitizers')

install: configured-release ## install below PREFIX (/usr/local)
	@cmake --build build/release --target quovel_adapter_2411 qv_inspect
	@cmake --install build/release --prefix "$$PREFIX"

asan: ready-asan ## run all tests under the address and undefined sanitizers
	@ctest --preset asan -j$(JOBS)

tsan: ready-tsan ## run all tests under the thread sanitizer
	@$(FIXED_LAYOUT) ctest --preset tsan -j$(JOBS)

valgrind: packages-valgrind ready-release ## run the test programs under Valgrind (takes long)
	@tools/under-valgrind build/release

fuzz: packages-fuzz ready-fuzz ## look for inputs that break a promise (SECONDS=, TARGET=)
	@tools/fuzz $(or $(SECONDS),600) $(TARGET)

fuzz-cost: packages-fuzz ready-cost ## look for files that cost too much (SECONDS=, TARGET=)
	@tools/fuzz-cost $(or $(SECONDS),600) $(TARGET)

fuzz-coverage: packages-fuzz ready-coverage ## measure which lines the inputs of the fuzz targets reach (TARGET=)
	@tools/fuzz-coverage $(TARGET)

mutants: packages-build packages-test ## make small faults that a test must notice
	@tools/mutants

bench: ready-bench ## measure against other libraries (LARGE=1 JSON=file WRITE=1)
	@build/bench/bin/qv_bench $(if $(JSON),--json "$(JSON)") $(if $(LARGE),--large) \
	  $(if $(WRITE),--document docs/performance.md) --commit "$$(git describe --always --dirty)" $(BENCH_OPTIONS)

corpus: ## compare with a folder of real files (CORPUS=folder)
	@[ -d "$$CORPUS" ] || { echo "Name a folder of real files: make corpus CORPUS=folder"; false; }
	@$(MAKE) configured-release configured-asan
	@for build in release asan; do cmake --build build/$$build --target qv_corpus || exit; done
	@build/release/tests/corpus/qv_corpus "$$CORPUS"
	@build/asan/tests/corpus/qv_corpus "$$CORPUS"

windows: ready-windows ## cross-build for 64-bit Windows
	$(call next,'make test-windows')

test-windows: ready-windows ## run all tests of the Windows build under Wine
	@ctest --preset windows -j$(JOBS)
	@awk '/ Testing: / { test = $$3 } /: Skipped$$/ { getline; print "Skipped " test ": " $$0 } /^Skipped / { print }' \
	  build/windows/Testing/Temporary/LastTest.log

package: packages-package ready-release ## make a Debian package and a zip, and a zip of the Windows build if any
	@[ ! -e build/windows/build.ninja ] || cmake --build build/windows
	@tools/make-packages
	@tools/check-packages build/packages

wheel: packages-wheel ready-release ## make a Python wheel with the library in it
	@tools/make-wheel build/release/lib/libquovel_adapter_2411.so build/wheel

docs: packages-docs ## make the pages of the tasks, the host header and the command line
	@tools/make-docs

pictures: packages-pictures ready-release ## make the pictures of the documents again
	@tools/make-pictures build/release/bin/qv_inspect build/release/samples docs/pictures

lint: check configured-lint configured-fuzz ## check format, header, code and includes
	@tools/check-code build/lint
	@tools/check-includes build/lint
	@tools/check-includes build/fuzz tests/fuzz

check: packages-build packages-lint ## the quick part of lint: format and header
	@$(SOURCES) | xargs -0 clang-format-14 --dry-run -Werror --ferror-limit=1 || { echo "make format fixes it"; false; }
	@tools/check-header gcc clang-14

format: packages-lint ## format all sources
	@$(SOURCES) | xargs -0 clang-format-14 -i

clean: ## remove everything that was built
	@rm -rf build

help: ## list the commands
	@awk -F ':.*## ' '/^[a-z-]+:.*##/ { printf "make %-15s%s\n", $$1, $$2 }' Makefile

# packages-PURPOSE: the packages of a purpose are installed.
packages-%:
	@tools/install-packages $*

# configured-PRESET: configured once, and again when the presets change.
configured-%: packages-build
	@if [ ! build/$*/build.ninja -nt CMakePresets.json ]; then \
	  echo "Configuring build/$*"; \
	  cmake --preset $* --no-warn-unused-cli >/dev/null && touch build/$*/build.ninja; \
	fi

configured-windows: packages-windows windows-deps
configured-fuzz configured-cost configured-coverage: packages-fuzz
configured-bench configured-lint: packages-bench

# The codec libraries of the Windows build, from the sources of Debian's packages.
windows-deps: packages-windows
	@tools/windows-deps build/windows-deps

# ready-PRESET: built.
ready-%: configured-%
	@cmake --build build/$*

.PHONY: run build test install asan tsan valgrind fuzz fuzz-cost fuzz-coverage mutants bench corpus windows test-windows windows-deps package wheel docs pictures lint check format clean help
endif
