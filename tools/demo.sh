#!/usr/bin/env bash
# demo.sh BUILD: lets three installers run on a fresh machine and shows what prodsweep finds before and after.
#
# The machine is a Wine prefix of the demo's own, made anew each time. BUILD (build/<preset>) must hold the
# program, the library and the installers; "./dev demo" sees to that.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
out=$(cd "$1" && pwd)
export PRODSWEEP_PREFIX="${PRODSWEEP_PREFIX:-demo}"
base="${PRODSWEEP_BUILD_ROOT:-$root/build}/wine/$PRODSWEEP_PREFIX"
drive="$base/prefix/drive_c"

# Colour for a reader at a terminal only.
bold='' plain=''
if [ -t 1 ]; then
  bold=$'\e[1m' plain=$'\e[0m'
fi

heading() {
  printf '\n%s%s%s\n\n' "$bold" "$1" "$plain"
}

# windows PROGRAM ARGUMENTS...: runs it in C:\prodsweep. Its output goes through a pipe, so that Wine does
# not paint a console of its own over the terminal.
windows() {
  (cd "$drive/prodsweep" && timeout 120 "$root/cmake/wine" "$@") | tr -d '\r'
}

# type_in COMMAND PROGRAM ARGUMENTS...: shows the command as one would type it and runs it.
type_in() {
  printf '%sC:\\prodsweep> %s%s\n' "$bold" "$1" "$plain"
  shift
  windows "$@" || { echo "demo: that command failed" >&2; exit 1; }
}

# show COMMAND PROGRAM ARGUMENTS...: the same, with its output set off from what follows.
show() {
  type_in "$@" | cat -s
  echo
}

echo "Making a fresh Windows machine (a Wine prefix of the demo's own) ..."
if [ -d "$base/prefix" ]; then
  "$root/cmake/wine" --stop >/dev/null 2>&1 || true
  rm -rf "$base"
fi
"$root/cmake/wine" cmd /c exit 0 >/dev/null 2>&1
trap '"$root/cmake/wine" --stop >/dev/null 2>&1 || true' EXIT
mkdir -p "$drive/prodsweep" "$drive/setup"
cp "$out"/bin/prodsweep.exe "$out"/bin/prodsweep.dll "$drive/prodsweep"
cp -r "$root"/samples/catalogue/. "$drive/prodsweep"
cp "$out"/installers/*.exe "$out"/installers/*.msi "$drive/setup"

heading "1. The catalogues name five products. None of them is here yet."
type_in 'prodsweep list' prodsweep.exe list

heading "2. Three installers run, without a window: two setup programs and one MSI package."
type_in 'C:\setup\halvane-archive-3.0-setup.exe /S' 'C:\setup\halvane-archive-3.0-setup.exe' /S
type_in 'C:\setup\dunmarrow-ledger-7.2-setup.exe /S' 'C:\setup\dunmarrow-ledger-7.2-setup.exe' /S
type_in 'msiexec /i C:\setup\halvane-notes-2.1.msi /qn' msiexec /i 'C:\setup\halvane-notes-2.1.msi' /qn

heading "3. They put files, shortcuts and registry entries on the machine. Some of them:"
show 'dir /s /b "C:\Program Files\Halvane"' cmd /c dir /s /b 'C:\Program Files\Halvane'
show 'dir /s /b C:\*.lnk' cmd /c dir /s /b 'C:\*.lnk'
show 'reg query HKLM\Software\Halvane\Archive /s' reg query 'HKLM\Software\Halvane\Archive' /s

heading "4. prodsweep finds all three, each in another way: by product code, by a value of its own, by its name."
type_in 'prodsweep list' prodsweep.exe list

heading "5. The same for a script: only what is installed, other makers' products only."
type_in 'prodsweep list --installed --kind other --json' prodsweep.exe list --installed --kind other --json

# The story must not read well when it went wrong.
found=$(windows prodsweep.exe list --installed --json | grep -c '"installed": true' || true)
if [ "$found" -ne 3 ]; then
  echo "demo: $found products were found, 3 were installed" >&2
  exit 1
fi
printf '\nFound %s of 3. The machine is kept in %s until the next demo.\n' "$found" "${base#"$root/"}"
