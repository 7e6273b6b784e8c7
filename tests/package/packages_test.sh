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
            include/twupdate/twupdate.h share/bash-completion/completions/twupdate \
            share/bash-completion/completions/twupdate-sample \
            share/zsh/vendor-completions/_twupdate share/doc/twupdate/docs/start.md \
            share/doc/libtwupdate-dev/examples/python_host/python_host.py \
            share/doc/twupdate/copyright share/doc/twupdate/changelog.gz \
            share/doc/libtwupdate1/copyright share/doc/libtwupdate1/changelog.gz; do
    [[ -s $root/usr/$file ]] || fail "no /usr/$file"
done
"$source/docs/check-links" "$root/usr/share/doc/twupdate" || fail "dead links in the installed manual"
[[ -e $root/usr/share/doc/twupdate/docs/operating/before.md ]] || fail "no manual"
ladders=$root/usr/include/twupdate/ladders.def
current=$(sed -n 's/^#define TWU_CURRENT_VERSION //p' "$ladders")
"$root/usr/bin/twupdate" --version | grep -q "version $current" || fail "twupdate --version"

# Every command has its page, with what the manual says of it.
commands=$("$root/usr/bin/twupdate" --help | sed -nE '/^Subcommands:/,$s/^  ([a-z-]+) .*/\1/p')
[[ $(wc -w <<<"$commands") -ge 12 ]] || fail "the program lists: $commands"
page() { gzip -dc "$root/usr/share/man/man1/$1.1.gz"; }
for command in $commands; do
    page "twupdate-$command" >"$work/page" || fail "no page of twupdate $command"
    grep -qF ".TH \"TWUPDATE" "$work/page" || fail "twupdate-$command.1 is no manual page"
    grep -qF "twupdate ${command//-/\\-}" "$work/page" || fail "twupdate-$command.1 has no synopsis"
done
page twupdate-rehearse | grep -qF '\fB\-\-workdir\fR \fIDIR\fR' || fail "rehearse.1: no --workdir"
page twupdate-report | grep -qF '\fB\-\-events\fR \fIFILE\fR' || fail "report.1: no --events"
page twupdate-create-core | grep -q '^Creates the central database' || fail "create-core.1: no text"
page twupdate-status | grep -qF '.SH EXIT STATUS' || fail "status.1: no exit status"
page twupdate | grep -qF 'MYSQL_PWD' || fail "twupdate.1: no environment"
page twupdate-sample | grep -qF '\-\-install\-root' || fail "twupdate-sample.1: no --install-root"

# The completion offers what the programs list.
mkdir -p "$work/here/folder"
touch "$work/here/file"
completion=$root/usr/share/bash-completion/completions/twupdate
offers() {  # what completion offers for the last of the words
    (cd "$work/here" && PATH=$root/usr/bin:$PATH bash -c '
        . "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _twupdate; echo "${COMPREPLY[*]}"
        ' - "$completion" "$@")
}
expect() {  # OFFERED WORD...
    local got
    got=$(offers "${@:2}")
    [[ $got == "$1" ]] || fail "completion of '${*:2}' offers: $got"
}
expect upgrade-site twupdate upgrade-s
expect --from twupdate upgrade-site --f
expect --socket twupdate upgrade --so  # the program's options stand behind a command, too
expect "file folder" twupdate --log f
expect "file folder" twupdate --log = f
expect folder twupdate upgrade --backup f
expect folder twupdate restore f
expect --events twupdate report --ev
expect "file folder" twupdate report f
expect "" twupdate --port ""
expect "upgrade upgrade-site" twupdate --no-lock up
expect "" twupdate upgrade-site ""
expect --install-root twupdate-sample --inst
if command -v zsh >/dev/null; then
    zsh -n "$root/usr/share/zsh/vendor-completions/_twupdate" || fail "the completion for zsh"
fi

cmake -S "$source/tests/package/consumer" -B "$work/consumer" -G Ninja \
    -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_PREFIX_PATH="$root/usr" >/dev/null
cmake --build "$work/consumer" >/dev/null
libraries=$(dirname "$(find "$root/usr" -name 'libtwupdate.so.1')")
LD_LIBRARY_PATH=$libraries "$work/consumer/with_shared" |
    grep -qx "site schema $(grep -c ^TWU_SITE_SCHEMA_STEP "$ladders")" ||
    fail "a program built with the packages does not run"

manage --remove libtwupdate-dev twupdate libtwupdate1
left=$(find "$root" -type f -not -path '*/var/lib/dpkg/*')
[[ -z $left ]] || fail "left behind: $left"
echo "packages: all well"
