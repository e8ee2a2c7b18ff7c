#!/usr/bin/env bash
# Times Dowsel's folder crawl against `fd --type d` and `find -type d` with the same
# exclusions, over one synthetic home tree of about 200,000 folders (warm cache; best and
# median of 5 runs). Usage: bench/crawl_vs_fd.sh [build-dir] [tree-dir]
set -euo pipefail

build=${1:-build}
tree=${2:-$(mktemp -d)/home}
crawler="$build/bench/folder_crawl"
runs=5

"$crawler" --tree="$tree" --generate-only

names=(node_modules DerivedData Pods Carthage dist build .build .venv .git .next .nuxt .cache .npm .yarn .gradle
       .idea .vscode __pycache__)
extensions=(app photoslibrary rtfd bundle framework kext xcodeproj xcworkspace playground component prefpane appex
            plugin pkg mpkg dmg docset tmbundle)

# A glob that matches an extension in any letter case: app -> *.[aA][pP][pP]
anycase() {
    local out="" c
    for ((i = 0; i < ${#1}; i++)); do
        c=${1:i:1}
        out+="[${c,,}${c^^}]"
    done
    printf '*.%s' "$out"
}

fd_args=(--type d --no-ignore --one-file-system --exclude /Library)
find_prune=(-name '.*' -o -path "$tree/Library")
for n in "${names[@]}"; do
    fd_args+=(--exclude "$n")
    find_prune+=(-o -name "$n")
done
for e in "${extensions[@]}"; do
    fd_args+=(--exclude "$(anycase "$e")")
    find_prune+=(-o -iname "*.$e")
done

measure() { # label, command...
    local label=$1 times=() count start end
    shift
    for ((r = 0; r < runs; r++)); do
        start=$(date +%s%N)
        count=$("$@" | wc -l)
        end=$(date +%s%N)
        times+=($(((end - start) / 1000000)))
    done
    local sorted
    sorted=$(printf '%s\n' "${times[@]}" | sort -n)
    printf '%-26s folders %7d   best %6d ms   median %6d ms\n' "$label" "$count" \
        "$(sed -n 1p <<<"$sorted")" "$(sed -n 3p <<<"$sorted")"
}

echo "tree: $tree ($(find "$tree" -type d | wc -l) folders in all)"
measure "dowsel crawl (1 thread)" "$crawler" --tree="$tree" --list
measure "fdfind (default threads)" fdfind "${fd_args[@]}" . "$tree"
measure "fdfind -j1" fdfind -j1 "${fd_args[@]}" . "$tree"
measure "find" find "$tree" -xdev -mindepth 1 \( "${find_prune[@]}" \) -prune -o -type d -print
