#!/usr/bin/env bash
# ./dev in a checkout that was moved after it was built, and copied: a small project in the place of
# this one.
# usage: dev_test.sh SOURCE_FOLDER
set -euo pipefail
source_folder=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "$*" >&2; exit 1; }

mkdir "$work/first"
cp "$source_folder/dev" "$work/first"
cat >"$work/first/CMakeLists.txt" <<'TEXT'
cmake_minimum_required(VERSION 3.21)
project(small NONE)
foreach(name twupdate_cli twupdate-sample)
  add_custom_target(${name} COMMAND ${CMAKE_COMMAND} -E echo built-in=${CMAKE_SOURCE_DIR})
endforeach()
TEXT
cat >"$work/first/CMakePresets.json" <<'TEXT'
{"version": 3,
 "configurePresets": [{"name": "release", "generator": "Ninja", "binaryDir": "${sourceDir}/build/release"}],
 "buildPresets": [{"name": "release", "configurePreset": "release"}]}
TEXT

build_in() {
    (cd "$work/$1" && ./dev build) >"$work/log" 2>&1 || fail "./dev build fails in $1: $(cat "$work/log")"
    # The folder as cmake sees it: TMPDIR may lead through a link.
    grep -q "built-in=.*/$1\$" "$work/log" || fail "./dev did not build in $1: $(cat "$work/log")"
}
build_in first
mv "$work/first" "$work/moved"
build_in moved
cp -a "$work/moved" "$work/copied"
build_in copied
build_in moved
