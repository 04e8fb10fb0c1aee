# Sourced by ./run and ./check: installs the Debian packages that are missing and builds a preset. Calling it again only
# does what is left to do.

set -euo pipefail
ctc_root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

export ctc_start=${ctc_start:-$(date +%s)}
ctc_say() {
    local seconds=$(($(date +%s) - ctc_start))
    printf -- '-- %d:%02d %s\n' $((seconds / 60)) $((seconds % 60)) "$*" >&2
}

# ctc_install_packages [check]: with the word, also what is so marked in the list
ctc_install_packages() {
    local wanted missing=() package
    wanted=$(awk -v purpose="${1:-}" '!/^#/ && NF && ($2 == "" || $2 == purpose) {print $1}' "$ctc_root/scripts/packages.txt")
    for package in $wanted; do
        dpkg-query -W -f='${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    ctc_say "installing ${#missing[@]} packages: ${missing[*]}"
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || { ctc_say "root or sudo is needed to install them"; return 1; }
        as_root=(sudo)
    fi
    "${as_root[@]}" apt-get update -qq >&2
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
        "${missing[@]}" >&2
}

# ctc_build PRESET [TARGET...]; two at once take turns, for they would write the same objects
ctc_build() {
    mkdir -p "$ctc_root/build"
    (
        flock --nonblock 9 || { ctc_say "waiting for another build in $ctc_root/build"; flock 9; }
        ctc_build_locked "$@" 9>&-
    ) 9>"$ctc_root/build/.lock"
}

ctc_build_locked() {
    local preset=$1 build=$ctc_root/build/$1
    shift
    if [ ! -f "$build/build.ninja" ]; then
        ctc_say "configuring $preset"
        (cd "$ctc_root" && cmake --preset "$preset" >"$ctc_root/.configure-$preset.log" 2>&1) ||
            { cat "$ctc_root/.configure-$preset.log" >&2; rm -f "$ctc_root/.configure-$preset.log"; return 1; }
        rm -f "$ctc_root/.configure-$preset.log"
    fi
    ctc_say "building $preset"
    (cd "$ctc_root" && cmake --build "$build" ${1:+--target "$@"}) >&2
}
