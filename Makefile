# The two commands of the contract: `make run` and `make test`.
# Both install what they need first (scripts/setup-deps.sh is quiet when all is there).

SHELL := /bin/bash

BUILD      ?= build
BENCHBUILD ?= build-bench
FUZZBUILD  ?= build-fuzz
PKGBUILD   ?= build-package
JOBS       ?= $(shell nproc)
FUZZ_RUNS  ?= 10000000
FUZZ_SMOKE_SECONDS ?= 10

.PHONY: all deps build run test bench fuzz fuzz-smoke package clean

all: build

deps:
	@bash scripts/setup-deps.sh

$(BUILD)/build.ninja: | deps
	@cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBRINDALE_BENCH=OFF >/dev/null

build: deps $(BUILD)/build.ninja
	@cmake --build $(BUILD) -j $(JOBS)

run: build
	@if [ -z "$$DISPLAY" ] && [ -z "$$WAYLAND_DISPLAY" ]; then \
	  echo "No display found: starting the program under Xvfb (:99)"; \
	  xvfb-run -a -s "-screen 0 1280x900x24" $(BUILD)/app/brindale; \
	else \
	  $(BUILD)/app/brindale; \
	fi

test: build
	@cd $(BUILD) && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j $(JOBS) --timeout 600
	@$(MAKE) --no-print-directory fuzz-smoke

$(BENCHBUILD)/build.ninja: | deps
	@cmake -S . -B $(BENCHBUILD) -G Ninja -DCMAKE_BUILD_TYPE=Release -DBRINDALE_TESTS=OFF -DBRINDALE_BENCH=ON >/dev/null

bench: deps $(BENCHBUILD)/build.ninja
	@cmake --build $(BENCHBUILD) -j $(JOBS)
	@for b in $$(find $(BENCHBUILD)/bench -maxdepth 2 2>/dev/null -type f -name 'bench_*' -perm -u+x | sort); do \
	  echo "== $$b"; $$b || exit 1; \
	done

$(FUZZBUILD)/build.ninja: | deps
	@CC=clang CXX=clang++ cmake -S . -B $(FUZZBUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DBRINDALE_GUI=OFF -DBRINDALE_TESTS=OFF -DBRINDALE_BENCH=OFF -DBRINDALE_FUZZ=ON >/dev/null

fuzz-build: deps $(FUZZBUILD)/build.ninja
	@cmake --build $(FUZZBUILD) -j $(JOBS)

# Long fuzzing: every target for FUZZ_RUNS executions.
fuzz: fuzz-build
	@for f in $$(find $(FUZZBUILD)/fuzz -maxdepth 2 2>/dev/null -type f -name 'fuzz_*' -perm -u+x | sort); do \
	  echo "== $$f ($(FUZZ_RUNS) runs)"; \
	  $$f -runs=$(FUZZ_RUNS) -print_final_stats=1 2>&1 | grep -E 'stat::number_of_executed_units|ERROR|SUMMARY|Done' ; \
	  test $${PIPESTATUS[0]} -eq 0 || exit 1; \
	done

# Short fuzzing, part of `make test`.
fuzz-smoke: fuzz-build
	@for f in $$(find $(FUZZBUILD)/fuzz -maxdepth 2 2>/dev/null -type f -name 'fuzz_*' -perm -u+x | sort); do \
	  echo "== fuzz smoke $$(basename $$f) ($(FUZZ_SMOKE_SECONDS) s)"; \
	  $$f -max_total_time=$(FUZZ_SMOKE_SECONDS) -print_final_stats=1 > $(FUZZBUILD)/$$(basename $$f).log 2>&1 \
	    || { tail -40 $(FUZZBUILD)/$$(basename $$f).log; exit 1; }; \
	  grep -E 'stat::number_of_executed_units' $(FUZZBUILD)/$$(basename $$f).log; \
	done

# The Debian package: a Release build without tests or benchmarks, packed by CPack (the program,
# its shipped files, desktop entry and icons; no test tools). The .deb lands in $(PKGBUILD).
$(PKGBUILD)/build.ninja: | deps
	@cmake -S . -B $(PKGBUILD) -G Ninja -DCMAKE_BUILD_TYPE=Release -DBRINDALE_TESTS=OFF -DBRINDALE_BENCH=OFF >/dev/null

package: deps $(PKGBUILD)/build.ninja
	@cmake --build $(PKGBUILD) -j $(JOBS)
	@cd $(PKGBUILD) && cpack -G DEB
	@ls $(PKGBUILD)/*.deb

clean:
	rm -rf $(BUILD) $(BENCHBUILD) $(FUZZBUILD) $(PKGBUILD)
