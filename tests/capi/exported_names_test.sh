#!/bin/sh
# Checks what the shared library exports: the public operations and the C functions, all of them
# and nothing else.
# usage: exported_names_test.sh LIBRARY NM
set -eu

library=$1
nm=$2
exported=$("$nm" -D --defined-only -C "$library" | sed 's/^[0-9a-f]* . //; s/@@*TWUPDATE_1//' | sort -u)
status=0

# The classes that a host derives from, catches or uses; their members and type information.
source=$(dirname "$0")/../..
classes=$(grep -ho '^class TWUPDATE_EXPORT [A-Za-z]*' "$source"/src/component/twupdate/*.h |
    sed 's/.* //' | grep -vx Update)
[ "$(printf '%s\n' "$classes" | wc -l)" -ge 20 ] || { echo "cannot read the headers"; exit 1; }
any_class=$(printf '%s\n' "$classes" | paste -sd '|')
# Of Update, which also declares the steps, only the public operations.
operations='~Update|Configure|ShutDown|UpdateImportMasterData|UpdateServer|UpdateSite'
operations="$operations|CreateCartFieldSequence|CreateCoreDb"
public="^(TWUPDATE_1\$|twu_[a-z_]+\$"
public="$public|((vtable|typeinfo|typeinfo name) for )?twupdate::($any_class)(::.*)?\$"
public="$public|twupdate::Update::($operations)(\\[abi:cxx11\\])?\\("
public="$public|twupdate::kCurrentVersion\$"
public="$public|twupdate::(LadderName|LadderSteps|PendingSteps|EffectOfRepeat|FindLeftovers|FindUnfinishedCreation)\\()"

surplus=$(printf '%s\n' "$exported" | grep -Ev "$public" || true)
if [ -n "$surplus" ]; then
    printf 'exported, but not public:\n%s\n' "$surplus"
    status=1
fi

# The functions of the header, which say TWU_API, and what C++ callers need.
header=$source/capi/twupdate/twupdate.h
functions=$(grep -o '^TWU_API.*' "$header" | grep -Eo 'twu_[a-z_]+\(' | tr -d '(' | sort -u)
[ "$(printf '%s\n' "$functions" | wc -l)" -ge 20 ] || { echo "cannot read $header"; exit 1; }
for name in $functions; do
    printf '%s\n' "$exported" | grep -qx "$name" || { echo "not exported: $name"; status=1; }
done
for name in '~Update' Configure ShutDown UpdateImportMasterData UpdateServer UpdateSite \
            CreateCartFieldSequence CreateCoreDb; do
    printf '%s\n' "$exported" | grep -Eq "^twupdate::Update::$name(\\[abi:cxx11\\])?\\(" ||
        { echo "not exported: twupdate::Update::$name"; status=1; }
done
for class in $classes; do
    [ "$class" != Value ] || continue  # everything of it that has no body in its header follows
    for name in "typeinfo for twupdate::$class" "vtable for twupdate::$class" \
                "twupdate::$class::~$class()"; do
        printf '%s\n' "$exported" | grep -qxF "$name" || { echo "not exported: $name"; status=1; }
    done
done
printf '%s\n' "$exported" | grep -qx "twupdate::kCurrentVersion" ||
    { echo "not exported: twupdate::kCurrentVersion"; status=1; }
for name in IsNumeric ToInt32 ToDouble ToText ToBool; do
    printf '%s\n' "$exported" | grep -Eq "^twupdate::Value::$name(\\[abi:cxx11\\])?\\(\\) const\$" ||
        { echo "not exported: twupdate::Value::$name"; status=1; }
done
exit $status
