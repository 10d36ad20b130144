# Two commands for a newcomer: `make demo` and `make test`.
.PHONY: deps build demo test asan asan-test tsan-test coverage bench fuzz clean

PRESET ?= default
CLI := build/default/tools/velmar/velmar
DEMO_DIR := build/demo

deps:
	@bash scripts/deps.sh

build: deps
	@cmake --preset $(PRESET) >/dev/null
	@cmake --build --preset $(PRESET)

demo: build
	@mkdir -p $(DEMO_DIR)
	@bash scripts/demo.sh $(CLI) $(DEMO_DIR)
	@echo "== velmar --tools addins/python tools list; tools run; dump LongAccel: the example Python plug-ins"
	@$(CLI) --tools addins/python tools list
	@$(CLI) --tools addins/python tools run "Fastest laps" "List fastest laps" --file $(DEMO_DIR)/sample.txt
	@$(CLI) --tools addins/python dump $(DEMO_DIR)/sample.txt LongAccel --from 60 --to 60.05
	@echo "== velmar --tools addins/python events (first lap): the plug-in's \"Braking points\" beside the recorded events"
	@$(CLI) --tools addins/python events $(DEMO_DIR)/sample.txt | head -10

test: build
	@ctest --preset $(PRESET)

asan-test: deps
	@cmake --preset asan >/dev/null
	@cmake --build --preset asan
	@ctest --preset asan

tsan-test: deps
	@cmake --preset tsan >/dev/null
	@cmake --build --preset tsan
	@ctest --preset tsan

# Line and branch totals of src/ over the whole suite.
coverage: deps
	@bash scripts/coverage.sh

bench: build
	@for b in build/default/bench/*_bench; do echo "== $$b"; $$b; done

fuzz: deps
	@cmake --preset fuzz >/dev/null
	@cmake --build --preset fuzz

clean:
	@rm -rf build
