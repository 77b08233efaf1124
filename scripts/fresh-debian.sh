#!/usr/bin/env bash
# Keeps the README's promise to a newcomer: on a minimal Debian 12 (debootstrap's minbase, no
# compiler, no git, no sudo), the two commands pass, and the Debian package installs and serves.
#   1. Builds a minbase root once and copies it twice under a temporary folder.
#   2. The first copy gets this working tree (what git tracks, and new files it does not ignore)
#      and runs scripts/demo.sh, scripts/test.sh and scripts/package.sh there, then lintian on the
#      package.
#   3. The second copy, without build tools, installs the package with apt and runs
#      zelmor-mcp --help, zelmor-kit doctor on the installed examples and a short stdio session.
# It prints how long each step took; logs go to build/fresh-debian/. Needs root (debootstrap,
# chroot and mounts) and the network to Debian's mirror; takes 30 to 60 minutes on two cores.
# Not part of scripts/test.sh.
#   usage: scripts/fresh-debian.sh [--keep] [--mirror URL]
set -euo pipefail
cd "$(dirname "$0")/.."
tree="$PWD"
mirror="http://deb.debian.org/debian"
keep=0
while (($#)); do
    case "$1" in
        --keep) keep=1 ;;
        --mirror) mirror="${2:?--mirror needs a URL}"; shift ;;
        -h | --help) sed -n '2,13p' "$0" | sed 's/^# \{0,1\}//'; exit 0 ;;
        *) echo "scripts/fresh-debian.sh: unknown option '$1'" >&2; exit 1 ;;
    esac
    shift
done
[ "$(id -u)" -eq 0 ] || { echo "scripts/fresh-debian.sh: run as root (debootstrap, chroot, mounts)" >&2; exit 1; }
command -v git >/dev/null || { echo "scripts/fresh-debian.sh: needs git to list the working tree" >&2; exit 1; }

logs="$tree/build/fresh-debian"
rm -rf "$logs"
mkdir -p "$logs"
if ! command -v debootstrap >/dev/null; then
    echo "installing debootstrap…"
    { apt-get update -q && DEBIAN_FRONTEND=noninteractive apt-get install -y -q debootstrap; } >"$logs/host-apt.log" 2>&1
fi

work=$(mktemp -d /var/tmp/zelmor-fresh.XXXXXX)
mounted=()
# Every mount is undone on every way out, innermost first; the folder is removed only once
# nothing is mounted below it any more.
cleanup() {
    local i
    for ((i = ${#mounted[@]} - 1; i >= 0; i--)); do
        umount -R -l "${mounted[i]}" 2>/dev/null || true
    done
    if grep -q " $work/" /proc/mounts; then
        echo "left $work in place: something is still mounted below it" >&2
    elif ((keep)); then
        echo "kept $work"
    else
        rm -rf "$work"
    fi
}
trap cleanup EXIT
trap 'exit 130' INT TERM HUP

# attach ROOT: the kernel's file systems and the host's name resolution inside ROOT.
attach() {
    local root="$1" point
    for point in dev sys; do
        mount --rbind "/$point" "$root/$point"
        mounted+=("$root/$point")
        mount --make-rslave "$root/$point"
    done
    mount -t proc proc "$root/proc"
    mounted+=("$root/proc")
    cp -L /etc/resolv.conf "$root/etc/resolv.conf"
}
# The network here may pass through a proxy with a certificate authority of its own, which the
# host trusts through its local authorities; a new machine on this network would be given them
# too, so they are carried over (and Node.js, which keeps its own list, is pointed at them).
local_authorities=(/usr/local/share/ca-certificates/*.crt)
[ -e "${local_authorities[0]}" ] || local_authorities=()
extra_env=()
((${#local_authorities[@]})) && extra_env=(NODE_EXTRA_CA_CERTS=/etc/ssl/certs/ca-certificates.crt)

# inside ROOT COMMAND...: runs as a root login of ROOT would, with a clean environment.
inside() {
    local root="$1"
    shift
    chroot "$root" /usr/bin/env -i HOME=/root TERM=dumb "${extra_env[@]}" \
        PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin "$@"
}

figures=()
# step NAME LOG COMMAND...: runs COMMAND with its output in LOG, notes its time and status.
step() {
    local name="$1" log="$2" started=$SECONDS status=0
    shift 2
    echo "… $name"
    "$@" >"$log" 2>&1 || status=$?
    figures+=("$(printf '%-34s %5d s  exit %d' "$name" $((SECONDS - started)) "$status")")
    echo "   $((SECONDS - started)) s, exit $status (log: ${log#"$tree"/})"
    return "$status"
}
failed=0

step "debootstrap --variant=minbase" "$logs/debootstrap.log" \
    debootstrap --variant=minbase bookworm "$work/base" "$mirror"
cp -a "$work/base" "$work/build"
cp -a "$work/base" "$work/run"
attach "$work/build"
attach "$work/run"

# The working tree as a clone would hold it (no build/, no node_modules/).
mkdir -p "$work/build/root/zelmor-mcp"
git -C "$tree" ls-files -z -co --exclude-standard | tar -C "$tree" --null -T - -cf - |
    tar -C "$work/build/root/zelmor-mcp" -xf -
# What the README asks for before the first command: git and ca-certificates, to clone.
step "prerequisites (git, ca-certificates)" "$logs/prerequisites.log" inside "$work/build" sh -c \
    'apt-get update -q && DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends git ca-certificates'
if ((${#local_authorities[@]})); then
    cp "${local_authorities[@]}" "$work/build/usr/local/share/ca-certificates/"
    inside "$work/build" update-ca-certificates >>"$logs/prerequisites.log" 2>&1
fi

in_tree() { inside "$work/build" sh -c "cd /root/zelmor-mcp && $1"; }
step "scripts/demo.sh" "$logs/demo.log" in_tree scripts/demo.sh || failed=1
step "scripts/test.sh" "$logs/test.log" in_tree scripts/test.sh || failed=1
tail -n 1 "$logs/test.log" | sed 's/^/   /'
step "scripts/package.sh" "$logs/package.log" in_tree scripts/package.sh || failed=1
deb=$(tail -n 1 "$logs/package.log")
if [ -f "$work/build/$deb" ]; then
    step "lintian" "$logs/lintian.log" inside "$work/build" lintian --fail-on error "$deb" || failed=1
    echo "   errors: $(grep -cE '^E: ' "$logs/lintian.log" || true)"
    cp "$work/build/$deb" "$work/run/tmp/"
else
    echo "no package was built; see $logs/package.log" >&2
    failed=1
fi

# The package on a machine that builds nothing.
session() {
    local folder=/usr/share/doc/zelmor-mcp/examples/transcripts
    printf '%s\n' \
        '{"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"2025-06-18","clientInfo":{"name":"fresh"}}}' \
        '{"jsonrpc":"2.0","method":"notifications/initialized"}' \
        '{"jsonrpc":"2.0","id":2,"method":"tools/list"}' \
        '{"jsonrpc":"2.0","id":3,"method":"tools/call","params":{"name":"search_meetings","arguments":{"query":"seat price"}}}' \
        '{"jsonrpc":"2.0","id":4,"method":"tools/call","params":{"name":"read_meeting","arguments":{"path":"'"$folder"'/2026-11-10-ana-wenna-1-1.md"}}}' \
        '{"jsonrpc":"2.0","id":5,"method":"tools/call","params":{"name":"list_participants"}}' |
        inside "$work/run" zelmor-mcp --transcripts-folder "$folder"
}
installed() {
    local log="$logs/installed-session.log"
    inside "$work/run" sh -c '! command -v cc && ! command -v c++ && ! command -v cmake' || {
        echo "the run root has build tools"
        return 1
    }
    inside "$work/run" zelmor-mcp --help | head -n 3
    inside "$work/run" zelmor-kit doctor --folder /usr/share/doc/zelmor-mcp/examples/transcripts
    session >"$log"
    # Five replies, in order, none an error.
    [ "$(grep -c '' "$log")" -eq 5 ] && ! grep -q '"error"\|"isError":true' "$log" &&
        for id in 1 2 3 4 5; do sed -n "${id}p" "$log" | grep -q "^{\"id\":$id,"; done
}
if [ -f "$work/run/tmp/$(basename "${deb:-none}")" ]; then
    step "apt install the .deb (no build tools)" "$logs/install.log" inside "$work/run" sh -c \
        "apt-get update -q && DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends /tmp/$(basename "$deb")" ||
        failed=1
    step "installed: --help, doctor, session" "$logs/installed.log" installed || failed=1
fi

echo
echo "fresh Debian 12 (minbase), $(nproc) cores, $(date -u +%Y-%m-%d):"
printf '  %s\n' "${figures[@]}"
((failed == 0)) && echo "all passed" || echo "FAILED: see $logs"
exit "$failed"
