#!/usr/bin/env bash
# Makes the Debian packages, installs them into an empty folder, uses them there, and removes them.
# Usage: packages_test.sh BUILD-FOLDER SOURCE-FOLDER COMPILER
set -euo pipefail
build=$1 source=$2 compiler=$3

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { printf 'FAILED: %s\n' "$*" >&2; exit 1; }

(cd "$build" && cpack -G DEB -B "$work/packages" >/dev/null)
[[ $(find "$work/packages" -maxdepth 1 -name '*.deb' | wc -l) == 3 ]] || fail "not three packages"
for package in libtwupdate1 libtwupdate-dev twupdate; do
    [[ -s $(echo "$work/packages/${package}"_*.deb) ]] || fail "no package $package"
done
depends=$(dpkg-deb -f "$work/packages"/libtwupdate-dev_*.deb Depends)
[[ $depends == *"libtwupdate1 (= "* ]] || fail "libtwupdate-dev depends on: $depends"

# An empty system: its dpkg knows of no package, so what the packages depend on is not there.
root=$work/root
mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates" "$root/var/lib/dpkg/triggers"
touch "$root/var/lib/dpkg/status"
manage() { dpkg --root="$root" --force-depends --force-not-root --force-script-chrootless \
    --log=/dev/null "$@" >"$work/dpkg" 2>&1 || { cat "$work/dpkg"; fail "dpkg $*"; }; }
manage --install "$work/packages"/*.deb

for file in bin/twupdate share/twupdate/resources/countryData.txt include/twupdate/update.h \
            include/twupdate/twupdate.h share/man/man1/twupdate.1 share/man/man1/twupdate-upgrade.1 \
            share/man/man1/twupdate-report.1 \
            share/bash-completion/completions/twupdate share/zsh/vendor-completions/_twupdate \
            share/doc/twupdate/copyright share/doc/libtwupdate1/copyright; do
    [[ -s $root/usr/$file ]] || fail "no /usr/$file"
done
grep -q '^\.B \\-\\-events FILE' "$root/usr/share/man/man1/twupdate-report.1" ||
    fail "the manual page of report does not name --events"
"$root/usr/bin/twupdate" --version | grep -q 'version 1.0265' || fail "twupdate --version"

# The completion offers what the program lists.
completed=$(PATH=$root/usr/bin:$PATH bash -c '
    . "$1"; COMP_WORDS=(twupdate upgrade-s); COMP_CWORD=1; _twupdate; echo "${COMPREPLY[@]}"
    COMP_WORDS=(twupdate upgrade-site --f); COMP_CWORD=2; _twupdate; echo "${COMPREPLY[@]}"
    COMP_WORDS=(twupdate repo); COMP_CWORD=1; _twupdate; echo "${COMPREPLY[@]}"
    COMP_WORDS=(twupdate report --e); COMP_CWORD=2; _twupdate; echo "${COMPREPLY[@]}"
    cd "$2"; COMP_WORDS=(twupdate report READ); COMP_CWORD=2; _twupdate; echo "${COMPREPLY[@]}"
    ' - "$root/usr/share/bash-completion/completions/twupdate" "$source")
[[ $completed == $'upgrade-site\n--from\nreport\n--events\nREADME.md' ]] ||
    fail "completion offers: $completed"

cmake -S "$source/tests/package/consumer" -B "$work/consumer" -G Ninja \
    -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_PREFIX_PATH="$root/usr" >/dev/null
cmake --build "$work/consumer" >/dev/null
libraries=$(dirname "$(find "$root/usr" -name 'libtwupdate.so.1')")
LD_LIBRARY_PATH=$libraries "$work/consumer/with_shared" | grep -qx 'site schema 92' ||
    fail "a program built with the packages does not run"

manage --remove libtwupdate-dev twupdate libtwupdate1
left=$(find "$root" -type f -not -path '*/var/lib/dpkg/*')
[[ -z $left ]] || fail "left behind: $left"
echo "packages: all well"
