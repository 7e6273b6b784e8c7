#!/usr/bin/env bash
# Installs the build into an empty folder, moves it, and builds and runs programs against it, with
# find_package and with pkg-config.
# Usage: installed_tree_test.sh BUILD-FOLDER SOURCE-FOLDER COMPILER
set -euo pipefail
build=$1 source=$2 compiler=$3

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { printf 'FAILED: %s\n' "$*" >&2; exit 1; }

cmake --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/usr"  # nothing in the tree may know where it was put
library=$(find "$work/usr" -name 'libtwupdate.so')
libraries=$(dirname "$library")

# --- the headers stand alone ---------------------------------------------------------------------
while read -r header; do
    printf '#include <%s>\n' "$header" |
        "$compiler" -std=c++20 -fsyntax-only -Wall -Wextra -Werror -x c++ -I "$work/usr/include" - ||
        fail "$header does not compile alone"
done < <(cd "$work/usr/include" && find . -name '*.h')

# --- find_package --------------------------------------------------------------------------------
ladders=$work/usr/include/twupdate/ladders.def
rungs() { grep -c "^TWU_$1_STEP" "$ladders"; }
wanted="site schema $(rungs SITE_SCHEMA)
site content $(rungs SITE_CONTENT)
server $(rungs SERVER)
server data $(rungs SERVER_DATA)
UpdateServer without a host -1
Update is not configured; call Configure first"
check() {
    local program=$1 got
    got=$(LD_LIBRARY_PATH=$libraries "$program")
    [[ $got == "$wanted" ]] || fail "$program prints: $got"
}

cmake -S "$source/tests/package/consumer" -B "$work/consumer" -G Ninja \
    -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_PREFIX_PATH="$work/usr" >/dev/null
cmake --build "$work/consumer" >/dev/null
check "$work/consumer/with_shared"
check "$work/consumer/with_static"

# The examples are what a reader copies: they must build outside of the tree.
for example in embed cpp_host c_host; do
    cp -r "$source/examples/$example" "$work/$example"
    cmake -S "$work/$example" -B "$work/$example/build" -G Ninja \
        -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_PREFIX_PATH="$work/usr" >/dev/null
    cmake --build "$work/$example/build" >/dev/null
    status=0
    LD_LIBRARY_PATH=$libraries "$work/$example/build/$example" >/dev/null 2>"$work/usage" || status=$?
    [[ $status == 2 ]] || fail "$example without arguments ends with $status"
    grep -q usage "$work/usage" || fail "$example without arguments does not say how it is used"
done

# 1.0265 is version 1.0.265.
version=$(sed -nE 's/^#define TWU_CURRENT_VERSION ([0-9])\.([0-9])0*([0-9]+)$/\1.\2.\3/p' "$ladders")

# --- pkg-config ----------------------------------------------------------------------------------
export PKG_CONFIG_PATH=$libraries/pkgconfig
[[ $(pkg-config --modversion twupdate) == "$version" ]] || fail "pkg-config names another version"
# shellcheck disable=SC2046  # several options
"$compiler" -std=c++20 $(pkg-config --cflags twupdate) "$source/tests/package/consumer/consumer.cpp" \
    -o "$work/with_pkg_config" $(pkg-config --libs twupdate)
check "$work/with_pkg_config"
# shellcheck disable=SC2046  # several options
"$compiler" -std=c++20 $(pkg-config --cflags twupdate-host) "$source/examples/embed/main.cpp" \
    -o "$work/embed_with_pkg_config" $(pkg-config --libs twupdate-host)
# The program of the manual, as it stands.
# shellcheck disable=SC2016  # the backquotes are Markdown
sed -n '/^```cpp$/,/^```$/p' "$source/docs/embedding.md" | grep -v '^```' >"$work/manual.cpp"
# shellcheck disable=SC2046  # several options
"$compiler" -std=c++20 -Wall -Wextra -Werror $(pkg-config --cflags twupdate-host) "$work/manual.cpp" \
    -o "$work/manual" $(pkg-config --libs twupdate-host)
status=0
LD_LIBRARY_PATH=$libraries "$work/embed_with_pkg_config" /nowhere/socket "$work" 7 2>"$work/refused" ||
    status=$?
[[ $status == 1 ]] || fail "embed without a server ends with $status"
grep -q '/nowhere/socket' "$work/refused" || fail "embed says: $(cat "$work/refused")"

# --- data ----------------------------------------------------------------------------------------
for table in country currency englishword component componenttype; do
    file=$work/usr/share/twupdate/resources/${table}Data.txt
    [[ -s $file ]] || fail "no $file"
done
echo "installed tree: all well"
