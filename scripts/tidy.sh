#!/usr/bin/env bash
# Runs clang-tidy with the checks of .clang-tidy over the sources of every room that ships; tests and benchmarks are not
# looked at. With --quick the static analyzer and most of the bug-prone patterns stay out, which take two thirds of the
# time. A source whose object and whose checks are older than its last clean run is skipped. The last line is the verdict.
. "$(dirname "${BASH_SOURCE[0]}")/prepare.sh"
ctc_install_packages check
ctc_build release
build=$ctc_root/build/release
stamps=$build/tidy
checks=
if [ "${1:-}" = --quick ]; then
    stamps=$build/tidy-quick
    checks=--checks=-clang-analyzer-*,-bugprone-*,bugprone-use-after-move,bugprone-dangling-handle
fi
export ctc_root build stamps checks
# Each source is read as if no header had been precompiled, and without the
# options that are the compiler's own.
mkdir -p "$stamps"
sed 's/ -Winvalid-pch -include [^ ]*//; s/ -fpch-preprocess//; s/ -Wno-restrict//; s/ -Wno-stringop-[a-z]*//g; s/ -Werror//' \
    "$build/compile_commands.json" >"$stamps/compile_commands.json"

# Prints "source<TAB>object" for each source of ours, once, from the build's own list of commands.
list_sources() {
    awk -v root="$ctc_root/" '
        /^ *"command":/ { object = match($0, / -o [^ ]+\.o /) ? substr($0, RSTART + 4, RLENGTH - 5) : "" }
        /^ *"file":/ {
            file = $0
            sub(/^ *"file": "/, "", file); sub(/",?$/, "", file)
            if (index(file, root) != 1 || file !~ /\.cpp$/ || seen[file]++) next
            room = substr(file, length(root) + 1)
            if (room !~ /^(build|tests|benchmarks)\// && object != "") print room "\t" object
        }' "$stamps/compile_commands.json"
}

look_at() {
    local source=$1 object=$2 stamp
    stamp=$stamps/$source
    [ "$stamp" -nt "$build/$object" ] && [ "$stamp" -nt "$ctc_root/.clang-tidy" ] && return 0
    mkdir -p "$(dirname "$stamp")"
    if clang-tidy --quiet ${checks:+"$checks"} -p "$stamps" "$ctc_root/$source" >"$stamp.log" 2>&1; then
        mv "$stamp.log" "$stamp"
    else
        grep -v ' warnings\? generated\|^Suppressed \|^Use -header-filter' "$stamp.log"
        rm -f "$stamp.log"
        return 1
    fi
}
export -f look_at

ctc_say "running clang-tidy over $(list_sources | wc -l) sources"
if list_sources | tr '\t\n' '\0\0' | xargs -0 -n 2 -P "$(nproc)" bash -c 'look_at "$1" "$2"' tidy; then
    echo "tidy: clean"
else
    echo "tidy: FAILED, see above"
    exit 1
fi
