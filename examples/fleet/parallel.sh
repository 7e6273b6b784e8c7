#!/usr/bin/env bash
# Upgrades the installations of a list, some at a time. Called again with the same folder, it runs
# those that failed or were not begun.
#
#   parallel.sh LIST FOLDER [OPTION...]
#
# LIST has the name of an installation on each line: eu1 for the groups [client-eu1] and
# [twupdate-eu1]. FOLDER gets the log of the jobs and the events of the runs. The options are passed
# to twupdate. AT_ONCE is the number of installations at a time.
set -euo pipefail
list=$1 folder=$2
shift 2
mkdir -p "$folder"
exec parallel --jobs "${AT_ONCE:-4}" --joblog "$folder/joblog" --resume-failed \
    --halt soon,fail=3 --termseq TERM,150000,KILL,25 --tag --line-buffer \
    twupdate "--defaults-group-suffix=-{}" --grace 120 --events "$folder/{}.jsonl" "$@" upgrade \
    :::: "$list"
