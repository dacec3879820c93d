#!/usr/bin/env bash
# Planted faults: applies each patch in turn to a scratch copy of this checkout,
# builds incrementally and runs the test suite; a patch the suite fails on is
# caught, one it passes is MISSED.
#
#   tests/mutants/run.sh                      every tests/mutants/*.patch
#   tests/mutants/run.sh 12-delivery*.patch   a subset (names or paths)
#
# Prints one line per patch and a closing count. Exit status 0 unless the
# script itself breaks. The scratch copy (a detached git worktree with the
# checkout's uncommitted changes, under ${TMPDIR:-/tmp}) and its build directory
# are reused across patches and removed on exit.
# Environment: MUTANTS_JOBS (default 2), MUTANTS_TEST_TIMEOUT seconds per test
# (default 60; a test that runs longer counts as failed), MUTANTS_SUITE_TIMEOUT
# seconds for a whole suite run (default 300), MUTANTS_LOG_DIR to keep each
# patch's build and test output.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(git -C "$here" rev-parse --show-toplevel)
jobs=${MUTANTS_JOBS:-2}
timeout=${MUTANTS_TEST_TIMEOUT:-60}
suite_timeout=${MUTANTS_SUITE_TIMEOUT:-300}

patches=()
if [ $# -eq 0 ]; then
  patches=("$here"/*.patch)
else
  for arg in "$@"; do
    if [ -f "$arg" ]; then patches+=("$(cd "$(dirname "$arg")" && pwd)/$(basename "$arg")")
    elif [ -f "$here/$arg" ]; then patches+=("$here/$arg")
    elif [ -f "$here/$arg.patch" ]; then patches+=("$here/$arg.patch")
    else echo "run.sh: no patch '$arg'" >&2; exit 2
    fi
  done
fi

scratch=$(mktemp -d "${TMPDIR:-/tmp}/tessaro-mutants.XXXXXX")
work="$scratch/src"
cleanup() {
  git -C "$root" worktree remove --force "$work" >/dev/null 2>&1 || true
  rm -rf "$scratch"
  git -C "$root" worktree prune >/dev/null 2>&1 || true
}
# Long steps run in a process group of their own, so that an interrupt stops
# the build or the suite at once, before the scratch copy is removed.
child=
run_child() {
  setsid "$@" &
  child=$!
  local status=0
  wait "$child" || status=$?
  child=
  return "$status"
}
on_signal() {
  if [ -n "$child" ]; then kill -TERM -- "-$child" 2>/dev/null || true; wait "$child" 2>/dev/null || true; fi
  exit 130
}
trap cleanup EXIT
trap on_signal INT TERM

git -C "$root" worktree add --quiet --detach "$work" HEAD
# The scratch copy starts from the checkout as it is, uncommitted work included.
git -C "$root" diff --binary HEAD | git -C "$work" apply --allow-empty --whitespace=nowarn
git -C "$root" ls-files -z --others --exclude-standard |
  (cd "$root" && xargs -0r cp --parents -t "$work")
git -C "$work" add -A
git -C "$work" -c user.name=mutants -c user.email=mutants@localhost \
  commit --quiet --allow-empty --no-verify -m "mutants base"

export CCACHE_BASEDIR=/ CCACHE_NOHASHDIR=1
launcher=()
if command -v ccache >/dev/null; then
  launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
fi
if command -v ld.lld >/dev/null; then  # links are most of an incremental build
  launcher+=(-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld -DCMAKE_SHARED_LINKER_FLAGS=-fuse-ld=lld)
fi
build="$scratch/build"
keep() { if [ -n "${MUTANTS_LOG_DIR:-}" ]; then cp "$1" "$MUTANTS_LOG_DIR/$2"; fi; }
if [ -n "${MUTANTS_LOG_DIR:-}" ]; then mkdir -p "$MUTANTS_LOG_DIR"; fi

# Output goes to $scratch/build.log and $scratch/test.log.
configure_and_build() {
  run_child cmake -S "$work" -B "$build" -DCMAKE_BUILD_TYPE=Release "${launcher[@]}" \
    -DTESSARO_BUILD_BENCH=OFF -DTESSARO_FUZZ=OFF -DTESSARO_TEST_TIMEOUT="$timeout" >"$scratch/build.log" 2>&1 &&
    run_child cmake --build "$build" -j"$jobs" >>"$scratch/build.log" 2>&1
}

run_suite() {
  run_child timeout --kill-after=10 "$suite_timeout" \
    ctest --test-dir "$build" -j"$jobs" --timeout "$timeout" --output-on-failure >"$scratch/test.log" 2>&1
}

# The unchanged tree must build and pass, or no count means anything.
if ! configure_and_build; then
  keep "$scratch/build.log" base.build
  echo "run.sh: the unchanged checkout does not build (MUTANTS_LOG_DIR keeps the log)" >&2; exit 3
fi
if ! run_suite; then
  keep "$scratch/test.log" base.test
  echo "run.sh: the unchanged checkout fails its tests" >&2; exit 3
fi

caught=0 missed=0 noapply=0 nobuild=0
for patch in "${patches[@]}"; do
  name=$(basename "$patch" .patch)
  SECONDS=0
  git -C "$work" checkout --quiet -- . && git -C "$work" clean -fdq
  if ! git -C "$work" apply "$patch" 2>/dev/null; then
    printf '%-16s %s\n' does-not-apply "$name"; noapply=$((noapply + 1)); continue
  fi
  if ! configure_and_build; then
    keep "$scratch/build.log" "$name.build"
    printf '%-16s %s\n' build-fails "$name"; nobuild=$((nobuild + 1)); continue
  fi
  if run_suite; then
    printf '%-16s %s (%ss)\n' MISSED "$name" "$SECONDS"; missed=$((missed + 1))
  else
    failing=$(awk '/tests FAILED:/ { on = 1; next } on && /^[[:space:]]+[0-9]+ - / { n++ } END { print n + 0 }' \
      "$scratch/test.log")
    if [ "$failing" = 0 ]; then failing="suite timed out,"; else failing="$failing failing,"; fi
    printf '%-16s %s (%s %ss)\n' caught "$name" "$failing" "$SECONDS"; caught=$((caught + 1))
  fi
  keep "$scratch/test.log" "$name.test"
done
echo "$caught caught, $missed missed ($noapply do not apply, $nobuild fail to build)"
