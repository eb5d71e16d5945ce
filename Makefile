# The project's commands. Each installs what it needs first.
.PHONY: all deps build test run bench fuzz clean

FUZZ_SECONDS ?= 10

all: test

deps:
	scripts/deps.sh

build: deps
	scripts/build.sh native win64 win32

test: deps
	scripts/test.sh

run: deps
	scripts/run.sh $(ARGS)

bench: deps
	scripts/bench.sh

fuzz: deps
	FUZZ_SECONDS=$(FUZZ_SECONDS) scripts/fuzz.sh

clean:
	rm -rf build
