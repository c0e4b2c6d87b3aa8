# The everyday commands; everything that they do stands in tools/ and in CMakePresets.json.

.PHONY: run test build bench bench-full format packages

run: build
	@tools/run.sh

test: build
	@tools/test.sh

build: packages
	@tools/build.sh release

bench: build
	@build/bin/search_table
	@build/bin/veridane_bench

bench-full: build
	@build/bin/search_table --full
	@build/bin/veridane_bench

format:
	@tools/format.sh

packages:
	@tools/install_packages.sh
