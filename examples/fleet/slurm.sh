#!/usr/bin/env bash
# An array with a task for each installation, two at a time:
#
#   sbatch --array="1-$(wc -l < LIST)%2" slurm.sh LIST FOLDER [OPTION...]
#
# LIST has the name of an installation on each line; FOLDER gets the events of the runs.
#SBATCH --job-name=twupdate
#SBATCH --requeue
#SBATCH --open-mode=append
#SBATCH --output=twupdate-%A-%a.log
set -uo pipefail
list=$1 folder=$2
shift 2
name=$(sed -n "${SLURM_ARRAY_TASK_ID}p" "$list")
mkdir -p "$folder"

# Slurm tells this script of a timeout or of scancel; it has to tell the run.
twupdate "--defaults-group-suffix=-$name" --grace 20 --events "$folder/$name.jsonl" "$@" upgrade &
run=$!
trap 'kill -TERM "$run"' TERM
wait "$run"
status=$?
if kill -0 "$run" 2>/dev/null; then # the signal ended the wait, not the run
    wait "$run"
    status=$?
fi

# Locked, stopped, try again, and ended by SIGKILL or SIGTERM: the same command goes on.
case $status in
    4 | 5 | 7 | 137 | 143)
        if ((${SLURM_RESTART_COUNT:-0} < 5)); then
            scontrol requeue "$SLURM_JOB_ID"
            sleep 60 # Slurm ends the script
        fi
        ;;
esac
exit "$status"
