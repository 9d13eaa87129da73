#!/usr/bin/env bash
# Runs examples/model_pick on every model file under a directory (by default the
# files of Debian's assimp-testmodels) and prints one row per file that assimp
# loads: triangle corners as read, distinct positions among them (what joining
# exactly identical vertices leaves), points after welding within EqualTol,
# triangles, checks agreeing with brute force, time.
#
#   scripts/model-sweep.sh [MODEL_PICK] [MODELS_DIR] [LIST]
#
# MODEL_PICK defaults to build/release/examples/model_pick, MODELS_DIR to
# /usr/share/assimp/models. LIST, when given, is a file of paths relative to
# MODELS_DIR, one per line, to run instead of every file. SWEEP_TIMEOUT bounds
# each file (seconds, default 60) and SWEEP_MEMORY_MB its address space (default
# 4096, so that a file announcing absurd counts fails to allocate at once rather
# than swapping; 0 for no limit, as sanitizer builds need).
#
# Exit status: 0 when no file crashed and no answer disagreed with brute force;
# 1 otherwise. Files assimp cannot read, or that hold no triangles, are counted
# and listed as skipped; files that run out of time are counted apart and do not
# fail the sweep (assimp itself is slow on a few formats).
set -u
root=$(cd "$(dirname "$0")/.." && pwd)
pick=${1:-$root/build/release/examples/model_pick}
dir=${2:-/usr/share/assimp/models}
list=${3:-}
limit=${SWEEP_TIMEOUT:-60}
memory=${SWEEP_MEMORY_MB:-4096}

if [ ! -x "$pick" ]; then
    echo "model-sweep: no model_pick program at $pick (build the examples with assimp installed)" >&2
    exit 1
fi
if [ ! -d "$dir" ]; then
    echo "model-sweep: no model directory $dir (install assimp-testmodels)" >&2
    exit 1
fi

if [ -n "$list" ]; then
    mapfile -t files < <(grep -v '^\s*\(#\|$\)' "$list" | sed "s|^|$dir/|")
else
    mapfile -t files < <(find "$dir" -type f | LC_ALL=C sort)
fi

out=$(mktemp)
trap 'rm -f "$out"' EXIT
loaded=0 skipped=0 crashed=0 disagreed=0 timedout=0
sum_vertices=0 sum_joined=0 sum_welded=0 sum_triangles=0 sum_agree=0 sum_checks=0
crashes=() disagreements=() timeouts=()

printf '%-64s %9s %9s %9s %9s %7s %8s\n' file corners exact welded triangles agree ms
for f in "${files[@]}"; do
    rel=${f#"$dir"/}
    start=$(date +%s%N)
    (
        [ "$memory" -gt 0 ] && ulimit -v $((memory * 1024))
        exec timeout --kill-after=5 "$limit" "$pick" "$f"
    ) >"$out" 2>&1
    status=$?
    ms=$(( ($(date +%s%N) - start) / 1000000 ))
    case $status in
        0 | 1)
            read -r _ vertices joined welded triangles agree checks _ < <(grep '^RESULT' "$out")
            loaded=$((loaded + 1))
            sum_vertices=$((sum_vertices + vertices))
            sum_joined=$((sum_joined + joined))
            sum_welded=$((sum_welded + welded))
            sum_triangles=$((sum_triangles + triangles))
            sum_agree=$((sum_agree + agree))
            sum_checks=$((sum_checks + checks))
            flag=""
            if [ "$status" -eq 1 ]; then
                disagreed=$((disagreed + 1))
                disagreements+=("$rel")
                flag="  DISAGREE"
            fi
            printf '%-64s %9d %9d %9d %9d %3d/%-3d %8d%s\n' "${rel:0:64}" "$vertices" "$joined" "$welded" \
                "$triangles" "$agree" "$checks" "$ms" "$flag"
            ;;
        2 | 3) skipped=$((skipped + 1)) ;;
        124 | 137)
            timedout=$((timedout + 1))
            timeouts+=("$rel")
            printf '%-64s %s\n' "${rel:0:64}" "timed out after ${limit} s"
            ;;
        *)
            crashed=$((crashed + 1))
            crashes+=("$rel (status $status: $(tail -n 1 "$out"))")
            printf '%-64s %s\n' "${rel:0:64}" "CRASHED (status $status)"
            ;;
    esac
done

echo
echo "files: ${#files[@]}; loaded ${loaded}, not read by assimp or without triangles ${skipped}, timed out ${timedout}"
echo "totals over loaded files: ${sum_vertices} corners, ${sum_joined} distinct positions," \
    "${sum_welded} after welding, ${sum_triangles} triangles"
echo "checks agreeing with brute force: ${sum_agree} of ${sum_checks}; crashes: ${crashed}; files disagreeing: ${disagreed}"
for c in "${crashes[@]+"${crashes[@]}"}"; do echo "  crash: $c"; done
for d in "${disagreements[@]+"${disagreements[@]}"}"; do echo "  disagreement: $d"; done
for t in "${timeouts[@]+"${timeouts[@]}"}"; do echo "  timeout: $t"; done
[ "$crashed" -eq 0 ] && [ "$disagreed" -eq 0 ]
