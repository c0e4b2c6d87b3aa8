#!/bin/sh
# Tries the job array of docs/many_machines.md: starts Slurm with one node on the loopback interface, shares a list of
# pictures out to an array of `vrd detect --shard`, kills one of its tasks, runs the array again, and compares the merged
# results with those of a plain run. Installs Slurm when it is missing. For root, because the daemons are; needs a
# release build of vrd. Everything is written below one temporary folder, and no daemon is left.
#
#   tools/try_slurm.sh
set -eu
cd "$(dirname "$0")/.."
vrd=$PWD/build/bin/vrd
sample=$PWD/data/samples/astronaut.png
[ "$(id -u)" -eq 0 ] || { echo "This needs root." >&2; exit 1; }
[ -x "$vrd" ] || { echo "There is no $vrd: make build" >&2; exit 1; }
for program in slurmctld slurmd sbatch munged; do
    command -v $program >/dev/null || {
        apt-get -o DPkg::Lock::Timeout=500 -qq update
        DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=500 -qq install -y --no-install-recommends \
            slurmctld slurmd slurm-client munge >/dev/null
        break
    }
done

folder=$(mktemp -d)
stop() {
    for daemon in slurmd slurmctld munged; do
        pid=$(cat "$folder/run/$daemon.pid" 2>/dev/null || true)
        [ -z "$pid" ] || kill "$pid" 2>/dev/null || true
        while [ -n "$pid" ] && kill -0 "$pid" 2>/dev/null; do sleep 0.1; done
    done
    rm -rf "$folder"
}
trap stop EXIT
trap 'exit 1' INT TERM

# Shows the logs of the daemons behind a reason, and ends.
give_up() {
    echo "$1" >&2
    cat "$folder"/*.log >&2
    exit 1
}

start_slurm() {
    mkdir "$folder/state" "$folder/spool" "$folder/run"
    chmod 755 "$folder" "$folder/run"
    cat >"$folder/slurm.conf" <<END
ClusterName=trial
SlurmctldHost=localhost(127.0.0.1)
SlurmUser=root
SlurmdUser=root
AuthType=auth/munge
AuthInfo=socket=$folder/run/munge.sock
CredType=cred/munge
SlurmctldPort=16817
SlurmdPort=16818
CommunicationParameters=NoInAddrAny,NoCtldInAddrAny
StateSaveLocation=$folder/state
SlurmdSpoolDir=$folder/spool
SlurmctldPidFile=$folder/run/slurmctld.pid
SlurmdPidFile=$folder/run/slurmd.pid
SlurmctldLogFile=$folder/slurmctld.log
SlurmdLogFile=$folder/slurmd.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
SchedulerType=sched/backfill
ReturnToService=2
MpiDefault=none
SwitchType=switch/none
SlurmdParameters=config_overrides
NodeName=localhost NodeAddr=127.0.0.1 NodeHostname=localhost CPUs=2 Sockets=1 CoresPerSocket=2 ThreadsPerCore=1 RealMemory=4000 State=UNKNOWN
PartitionName=main Nodes=localhost Default=YES MaxTime=INFINITE State=UP
END
    head -c 1024 /dev/urandom >"$folder/munge.key"
    chmod 600 "$folder/munge.key"
    munged --force --key-file="$folder/munge.key" --socket="$folder/run/munge.sock" \
        --pid-file="$folder/run/munged.pid" --log-file="$folder/munged.log" --seed-file="$folder/munged.seed"
    export SLURM_CONF="$folder/slurm.conf"
    slurmctld || give_up "slurmctld did not start:"
    slurmd -N localhost || give_up "slurmd did not start:"
    for _ in $(seq 100); do
        sinfo -h -o %T 2>/dev/null | grep -q idle && return
        sleep 0.2
    done
    give_up "The node did not come up:"
}

# 24 pictures: every third one is signed, and one is no picture at all.
make_pictures() {
    mkdir "$folder/photos"
    "$vrd" --quiet sign "$sample" -s Veri-2026x -o "$folder/signed.jpg" >/dev/null
    for number in $(seq 10 33); do
        case $((number % 3)) in
            0) cp "$folder/signed.jpg" "$folder/photos/signed $number.jpg" ;;
            *) cp "$sample" "$folder/photos/plain $number.png" ;;
        esac
    done
    echo "no picture" >"$folder/photos/broken.jpg"
    find "$folder/photos" -name '*.*' >"$folder/list.txt"
}

# FILE: prints name and sign, or error, of each file in it.
signs_in() {
    sed -n 's/^{"file":\("[^"]*"\),.*"\(sign\|error\)":\("[^"]*"\|null\).*/\1 \3/p' "$1" | sort -u
}

cat >"$folder/job.sh" <<'END'
#!/bin/sh
#SBATCH --array=1-4
#SBATCH --cpus-per-task=1
#SBATCH --mem=500
#SBATCH --output=task-%a.txt
#SBATCH --open-mode=append
#SBATCH --requeue
"$VRD" detect --files-from list.txt --shard "$SLURM_ARRAY_TASK_ID/$SLURM_ARRAY_TASK_COUNT" \
    --results "part-$SLURM_ARRAY_TASK_ID.jsonl" --resume --threads "$SLURM_CPUS_PER_TASK"
status=$?
[ $status -eq 1 ] && exit 0   # nothing was found, which is no failure
exit $status
END

# Prints the number of the job.
submit() {
    (cd "$folder" && VRD=$vrd sbatch --parsable job.sh)
}

wait_for() {
    while [ -n "$(squeue -h -j "$1" 2>/dev/null)" ]; do sleep 0.5; done
}

make_pictures
echo "A plain run:"
"$vrd" detect --quiet --files-from "$folder/list.txt" --results "$folder/plain.jsonl" >/dev/null 2>&1 || true
signs_in "$folder/plain.jsonl" >"$folder/plain.txt"
wc -l <"$folder/plain.txt"

start_slurm
echo "The array, whose first task is killed after its first result:"
job=$(submit)
until [ -s "$folder/part-1.jsonl" ]; do sleep 0.1; done
scancel --full --signal=KILL "${job}_1"
wait_for "$job"
(cd "$folder" && wc -l part-*.jsonl)

cat "$folder"/part-*.jsonl >"$folder/all.jsonl"
signs_in "$folder/all.jsonl" >"$folder/all.txt"
if cmp -s "$folder/plain.txt" "$folder/all.txt"; then
    echo "The killed task had finished: nothing was tried." >&2
    exit 1
fi
echo "The array again:"
wait_for "$(submit)"
cat "$folder"/task-*.txt | grep 'in the results already' || { echo "Nothing was resumed." >&2; exit 1; }
cat "$folder"/part-*.jsonl >"$folder/all.jsonl"
signs_in "$folder/all.jsonl" >"$folder/all.txt"
diff "$folder/plain.txt" "$folder/all.txt"
echo "The merged results are those of the plain run: $(wc -l <"$folder/all.txt") files," \
    "$(grep -c Veri-2026x "$folder/all.txt") with a sign."
