#!/usr/bin/env bash
# A DESTDIR install of the build holds everything a desktop expects, and each file passes its
# validator: the desktop entry, the AppStream metadata, the man page, the bash completion, the
# icons and the documents the settings open.
source "$(dirname "$0")/lib.sh"
BUILD=$(dirname "$DOWSEL")
STAGE="$E2E_ROOT/stage"
for tool in desktop-file-validate appstreamcli mandoc; do
  command -v "$tool" >/dev/null || fail "$tool is missing (scripts/setup installs it)"
done
[ -f /usr/share/bash-completion/bash_completion ] || fail "bash-completion is missing (scripts/setup installs it)"

DESTDIR="$STAGE" cmake --install "$BUILD" --prefix /usr >"$E2E_ROOT/install.log" 2>&1 \
  || fail "cmake --install: $(tail -n 5 "$E2E_ROOT/install.log")"
U="$STAGE/usr"
for file in bin/dowsel share/applications/app.dowsel.Dowsel.desktop share/metainfo/app.dowsel.Dowsel.metainfo.xml \
  share/icons/hicolor/scalable/apps/app.dowsel.Dowsel.svg share/icons/hicolor/symbolic/apps/app.dowsel.Dowsel-symbolic.svg \
  share/man/man1/dowsel.1 share/bash-completion/completions/dowsel share/dowsel/README.md share/dowsel/PRIVACY.md \
  share/dowsel/ACKNOWLEDGEMENTS.md share/dowsel/LICENSE share/dowsel/docs/toast.png; do
  [ -s "$U/$file" ] || fail "not installed: /usr/$file"
done
[ -x "$U/bin/dowsel" ] || fail "the installed binary is not executable"
pass "every file is installed under /usr"

version=$("$U/bin/dowsel" --version) || fail "dowsel --version failed"
[[ $version =~ ^dowsel\ [0-9]+\.[0-9]+\.[0-9]+$ ]] || fail "unexpected --version: $version"
pass "the installed binary answers --version: $version"

desktop-file-validate "$U/share/applications/app.dowsel.Dowsel.desktop" >"$E2E_ROOT/v.log" 2>&1 \
  || fail "desktop-file-validate: $(cat "$E2E_ROOT/v.log")"
grep -qx "Icon=app.dowsel.Dowsel" "$U/share/applications/app.dowsel.Dowsel.desktop" || fail "the entry names another icon"
grep -qx "Exec=dowsel" "$U/share/applications/app.dowsel.Dowsel.desktop" || fail "the entry does not start dowsel"
pass "the desktop entry is valid and names the installed icon"

META="$U/share/metainfo/app.dowsel.Dowsel.metainfo.xml"
appstreamcli validate --no-net --pedantic "$META" >"$E2E_ROOT/v.log" 2>&1 || fail "appstreamcli: $(cat "$E2E_ROOT/v.log")"
grep -q "<project_license>GPL-3.0-or-later</project_license>" "$META" || fail "the metadata names no licence"
grep -q "<release version=\"${version#dowsel }\"" "$META" || fail "the metadata's release is not $version"
grep -q '<launchable type="desktop-id">app.dowsel.Dowsel.desktop</launchable>' "$META" || fail "no launchable"
for shot in $(grep -o '(docs/[a-z-]*\.png)' "$(dirname "$0")/../../README.md" | tr -d '()' | sort -u); do
  grep -q "/$(basename "$shot")</image>" "$META" || fail "the README's $shot is not among the screenshots"
done
pass "the AppStream metadata validates, with the licence, the release and the README's screenshots"

mandoc -T lint -W warning "$U/share/man/man1/dowsel.1" >"$E2E_ROOT/v.log" 2>&1 || fail "mandoc: $(cat "$E2E_ROOT/v.log")"
if command -v man >/dev/null; then
  warnings=$(MANWIDTH=80 man --warnings -l "$U/share/man/man1/dowsel.1" 2>&1 >/dev/null)
  [ -z "$warnings" ] || fail "man --warnings: $warnings"
fi
for word in "dowsel list" "keep" "dismiss" "trash" "app.dowsel.Dowsel1" "ListFiles" "ShowPopover" "Super+Shift+T"; do
  MANWIDTH=200 man -l "$U/share/man/man1/dowsel.1" 2>/dev/null | grep -F "$word" >/dev/null || fail "the man page does not mention $word"
done
pass "the man page lints clean and covers the command line and the bus"

completions() { # WORDS...: what completing the last word offers
  bash -c 'source /usr/share/bash-completion/bash_completion; source "$1"; shift
    COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); COMP_LINE="$*"; COMP_POINT=${#COMP_LINE}; _dowsel
    printf "%s\n" "${COMPREPLY[@]}"' _ "$U/share/bash-completion/completions/dowsel" "$@"
}
[ "$(completions dowsel di)" = dismiss ] || fail "completing 'dowsel di': $(completions dowsel di)"
[ "$(completions dowsel --v)" = --version ] || fail "completing 'dowsel --v': $(completions dowsel --v)"
mkdir -p "$E2E_ROOT/cwd" && touch "$E2E_ROOT/cwd/report.pdf"
(cd "$E2E_ROOT/cwd" && [ "$(completions dowsel keep rep)" = report.pdf ]) || fail "keep does not complete file names"
# Not grep -q: it would stop reading at the first match, and the completion it cuts off fails the pipe.
completions dowsel keep report.pdf 1 | grep -x 1h >/dev/null || fail "keep does not offer durations"
pass "bash completion offers the commands, file names and durations"

for svg in "$U/share/icons/hicolor/scalable/apps/app.dowsel.Dowsel.svg" \
  "$U/share/icons/hicolor/symbolic/apps/app.dowsel.Dowsel-symbolic.svg"; do
  head -c 200 "$svg" | grep -q "<svg" || grep -q "<svg" "$svg" || fail "$svg is no SVG"
  grep -q 'viewBox="0 0 \(128 128\|16 16\)"' "$svg" || fail "$svg has no square view box"
done
cmp -s "$U/share/dowsel/LICENSE" /usr/share/common-licenses/GPL-3 || fail "LICENSE is not the standard GPL-3 text"
pass "the icons and the licence are in place"
