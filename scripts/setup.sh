#!/usr/bin/env bash
# Installs the Debian packages a preset needs (nothing when they are present), then configures
# the preset and builds it, or only the given targets:
#   scripts/setup.sh [PRESET [TARGET...]]      PRESET: debug (default), sanitize, release, package,
#                                              demo or fuzz
#   scripts/setup.sh --packages-only [PRESET]  installs the packages and stops
# Progress goes to standard error as short lines; apt's and the build's own output go to
# build/logs/, and the end of a log is shown when its step fails. EXTRA_PACKAGES names more
# packages to install (the demo's jq, for instance).
set -euo pipefail
cd "$(dirname "$0")/.."
packagesOnly=0
[[ ${1:-} == --packages-only ]] && packagesOnly=1 && shift
preset="${1:-debug}"
shift || true
targets=("$@")
logs="$PWD/build/logs"
mkdir -p "$logs"

# What building anything needs, then what each preset adds: the tests (GoogleTest; dpkg-dev,
# file and lintian for the package checks; clang-format for the format check; Node.js for the
# MCP client library test), the benchmarks, the Debian package, the fuzzers.
packages=(cmake ninja-build g++ libicu-dev nlohmann-json3-dev libssl-dev libcli11-dev)
tests=(libgtest-dev dpkg-dev file lintian clang-format ca-certificates)
command -v node >/dev/null && command -v npm >/dev/null || tests+=(nodejs npm)
case "$preset" in
    debug | sanitize) packages+=("${tests[@]}") ;;
    release) packages+=("${tests[@]}" libbenchmark-dev) ;;
    package) packages+=(dpkg-dev file) ;;
    fuzz) packages+=(clang libclang-rt-14-dev) ;;
    demo) ;;
    *) echo "scripts/setup.sh: unknown preset '$preset'" >&2; exit 1 ;;
esac
# shellcheck disable=SC2206 # a list of names, split on purpose
packages+=(${EXTRA_PACKAGES:-})

# fail STEP LOG: says which step failed and shows the end of its log.
fail() {
    echo "$1 failed; the end of $2:" >&2
    tail -n 40 "$2" | sed 's/^/  | /' >&2
    exit 1
}

missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done
if ((${#missing[@]})); then
    sudo=""
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || { echo "scripts/setup.sh: run as root to install: ${missing[*]}" >&2; exit 1; }
        sudo="sudo"
    fi
    echo "installing ${#missing[@]} packages… (${missing[*]})" >&2
    started=$SECONDS
    {
        $sudo apt-get update -q &&
            $sudo env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}"
    } >"$logs/apt.log" 2>&1 || fail "installing packages" "$logs/apt.log"
    echo "installed in $((SECONDS - started)) s" >&2
fi

((packagesOnly)) && exit 0

log="$logs/build-$preset.log"
cmake --preset "$preset" >"$log" 2>&1 || fail "configuring $preset" "$log"

# Ninja's "[done/total]" status lines become one progress line: rewritten in place on a
# terminal, every quarter of the way in a log.
what="$preset"
((${#targets[@]} == 1)) && what="${targets[0]}"
started=$SECONDS
shown=0
progress() {
    while IFS= read -r line; do
        [[ $line =~ ^\[([0-9]+)/([0-9]+)\] ]] || continue
        done_=${BASH_REMATCH[1]} total=${BASH_REMATCH[2]}
        if [ -t 2 ]; then
            printf '\r\033[Kbuilding %s [%d/%d]…' "$what" "$done_" "$total" >&2
        elif ((done_ * 4 >= (shown + 1) * total)); then
            shown=$((done_ * 4 / total))
            echo "building $what [$done_/$total]…" >&2
        fi
    done
    [ -t 2 ] && printf '\r\033[K' >&2
    true
}
cmake --build --preset "$preset" ${targets[@]:+--target "${targets[@]}"} 2>&1 | tee -a "$log" | progress ||
    fail "building $what" "$log"
echo "built $what in $((SECONDS - started)) s" >&2
