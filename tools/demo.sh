#!/usr/bin/env bash
# demo.sh BUILD: lets four installers run on a fresh machine, removes what they brought, and shows what prodsweep
# finds, removes and leaves alone on the way.
#
# The machine is a Wine prefix of the demo's own, made anew each time. BUILD (build/<preset>) must hold the
# program, the library and the installers; "./dev demo" sees to that. Each step is checked: the demo ends with
# an error when the machine is not in the state that the story tells.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
out=$(cd "$1" && pwd)
export PRODSWEEP_PREFIX="${PRODSWEEP_PREFIX:-demo}"
base="${PRODSWEEP_BUILD_ROOT:-$root/build}/wine/$PRODSWEEP_PREFIX"
drive="$base/prefix/drive_c"
programs="$drive/Program Files"

# Colour for a reader at a terminal only.
bold='' plain=''
if [ -t 1 ]; then
  bold=$'\e[1m' plain=$'\e[0m'
fi

fail() {
  echo "demo: $*" >&2
  exit 1
}

heading() {
  printf '\n%s%s%s\n\n' "$bold" "$1" "$plain"
}

# windows PROGRAM ARGUMENTS...: runs it in C:\prodsweep. Its output goes through a pipe, so that Wine does
# not paint a console of its own over the terminal. What Wine says of its own processes is no part of the story.
windows() {
  (cd "$drive/prodsweep" && timeout 120 "$root/cmake/wine" "$@" 2> >(grep -v '^wine: ' >&2)) | tr -d '\r'
}

prompt() {
  printf '%sC:\\prodsweep> %s%s\n' "$bold" "$1" "$plain"
}

# type_in COMMAND PROGRAM ARGUMENTS...: shows the command as one would type it and runs it.
type_in() {
  prompt "$1"
  shift
  windows "$@" || fail "that command failed"
}

# leave_running COMMAND PROGRAM ARGUMENTS...: starts a program that stays, and shows the line by which it tells that
# it has begun.
leave_running() {
  local begun
  prompt "$1"
  shift
  exec {running}< <(cd "$drive/prodsweep" && exec "$root/cmake/wine" "$@" 2>/dev/null)
  read -r -t 60 -u "$running" begun || fail "that program did not start"
  printf '%s\n' "${begun%$'\r'}"
}

# ended RUNNING: its output comes to an end with the program.
ended() {
  local rest status=0
  read -r -t 30 -u "$1" rest || status=$?
  [ "$status" -eq 1 ]
}

# ends_with CODE COMMAND ARGUMENTS...: runs prodsweep, and shows the exit code unless it is 0. It is asked
# for on the machine, since the host of Wine gets eight bits of it.
ends_with() {
  local expected=$1 code
  prompt "$2"
  shift 2
  windows cmd /c prodsweep.cmd "$@" || true
  code=$(tr -cd '0-9' <"$drive/prodsweep/exitcode.txt")
  if [ "$code" != 0 ]; then
    prompt 'echo %errorlevel%'
    echo "$code"
  fi
  [ "$code" = "$expected" ] || fail "the exit code is $code, not $expected"
}

# restart: switches the machine off and on. Its shutdown would leave programs without a window running.
restart() {
  printf '%s$ cmake/wine --stop; cmake/wine wineboot%s\n' "$bold" "$plain"
  "$root/cmake/wine" --stop || fail "the machine does not stop"
  "$root/cmake/wine" wineboot >/dev/null 2>&1 </dev/null || fail "the machine does not start"
  # What the machine starts for its user is still starting.
  local process
  if [ -e "$programs/Halvane/Archive/archive.exe" ]; then
    for process in ledger.exe viewer.exe; do
      windows 'C:\Program Files\Halvane\Archive\archive.exe' --close "$process" || fail "$process goes on running"
    done
    await_service HalvaneArchiveSync
  fi
}

stands() {
  local path
  for path in "$@"; do
    [ -e "$path" ] || fail "${path#"$drive/"} is gone"
  done
}

gone() {
  local path
  for path in "$@"; do
    [ ! -e "$path" ] || fail "${path#"$drive/"} is still there"
  done
}

key_stands() { windows reg query "$1" >/dev/null 2>&1 || fail "the key $1 is gone"; }
key_gone() { ! windows reg query "$1" >/dev/null 2>&1 || fail "the key $1 is still there"; }

# On the desktops and in the menus, everybody's and the user's own.
shortcuts() { find "$base/home" "$drive/users" "$drive/ProgramData" -name "$1.lnk" | grep . >/dev/null; }
starts_by_itself() { windows reg query 'HKLM\Software\Microsoft\Windows\CurrentVersion\Run' | grep "$1" >/dev/null; }

# installed NUMBER
installed() {
  local found
  found=$(windows prodsweep.exe list --installed --json | grep -c '"installed": true' || true)
  [ "$found" -eq "$1" ] || fail "$found products are found, not $1"
}

# A descriptor as one writes it late in the day.
write_draft() {
  cat >"$drive/prodsweep/draft.xml" <<'XML'
<uninstall_information>
  <version_list>
    <draft_1/>
  </version_list>
  <draft_1>
    <app_path key="HKEY_LOCAL_MACHINE\Software\Halvane\Draft" name="InstallDir"/>
    <win_nt>
      <files op_code="del_files" minimum_score="1">
        <file path="app_path" name="draft.exe"/>
      </files>
      <folders op_code="del_folder">
        <folder path="program_files"/>
      </folders>
      <keys op_code="del_regkey">
        <key name="hkey_local_machine\Software\Halvane\Draft"/>
      </keys>
    </win_nt>
  </draft_1>
</uninstall_information>
XML
}

# The service manager answers before the service runs.
await_service() {
  local try
  for try in {1..60}; do
    windows sc query "$1" 2>/dev/null | grep -q RUNNING && return
    sleep 1
  done
  fail "the service $1 does not run ($try looks)"
}

echo "Making a fresh Windows machine (a Wine prefix of the demo's own) ..."
if [ -d "$base/prefix" ]; then
  "$root/cmake/wine" --stop >/dev/null 2>&1 || true
  rm -rf "$base"
fi
"$root/cmake/wine" cmd /c exit 0 >"$out/demo.log" 2>&1 || fail "Wine does not start (see ${out#"$root/"}/demo.log)"
trap '"$root/cmake/wine" --stop >/dev/null 2>&1 || true' EXIT
mkdir -p "$drive/prodsweep" "$drive/setup"
cp "$out"/bin/prodsweep.exe "$out"/bin/prodsweep.dll "$drive/prodsweep"
cp -r "$root"/samples/catalogue/. "$drive/prodsweep"
cp "$out"/installers/*.exe "$out"/installers/*.msi "$drive/setup"
printf '@prodsweep.exe %%*\r\n@echo %%errorlevel%% >exitcode.txt\r\n' >"$drive/prodsweep/prodsweep.cmd"
notes="$programs/Halvane/Notes" archive="$programs/Halvane/Archive" shared="$programs/Common Files/Halvane/Shared"
filter="$drive/windows/system32/drivers/pwfilter.sys"
extension='HKLM\Software\Classes\CLSID\{5B8C3A51-6E0A-4B0E-9A31-7C5D2E9F1B42}'

heading "1. The catalogues name five products. None of them is here yet."
type_in 'prodsweep list' prodsweep.exe list
installed 0
type_in 'prodsweep check .' prodsweep.exe check .
write_draft
printf '\nThe catalogues are clean. A draft of a descriptor is not:\n\n'
ends_with 2 'prodsweep check draft.xml' check draft.xml

heading "2. Four installers run, without a window: three setup programs and one MSI package."
type_in 'msiexec /i C:\setup\halvane-notes-2.1.msi /qn' msiexec /i 'C:\setup\halvane-notes-2.1.msi' /qn
for setup in halvane-archive-3.0 dunmarrow-ledger-7.2 pellworth-viewer-12; do
  type_in "C:\\setup\\$setup-setup.exe /S" "C:\\setup\\$setup-setup.exe" /S
done
type_in 'prodsweep list' prodsweep.exe list
installed 4
key_stands 'HKLM\Software\Pellworth\Recent Pictures'
key_stands "$extension"
shortcuts 'Halvane Notes' || fail "Notes has no shortcut"
starts_by_itself Ledger || fail "the ledger does not start by itself"
printf '\nThe viewer took no place in the list of programs: its descriptor alone found it.\n'

heading "3. The machine is in use. The archive's service runs, Notes is open, and the ledger reads a file of Notes."
type_in 'net start HalvaneArchiveSync' net start HalvaneArchiveSync
await_service HalvaneArchiveSync
leave_running '"C:\Program Files\Halvane\Notes\notes.exe"' 'C:\Program Files\Halvane\Notes\notes.exe' --wait
notes_runs=$running
leave_running '"C:\Program Files\Dunmarrow\Ledger 7\ledger.exe" "C:\Program Files\Halvane\Notes\welcome.txt"' \
  'C:\Program Files\Dunmarrow\Ledger 7\ledger.exe' --open 'C:\Program Files\Halvane\Notes\welcome.txt'

heading "4. What would the removal of Notes do? Nothing is touched yet."
type_in 'prodsweep plan "Halvane Notes" --html C:\prodsweep\plan.html' \
  prodsweep.exe plan 'Halvane Notes' --html 'C:\prodsweep\plan.html'
installed 4
cp "$drive/prodsweep/plan.html" "$base/plan.html"
printf '\nThe same as a page for a browser: %s\n' "${base#"$root/"}/plan.html"

heading "5. Notes is removed. It is ended first; what can't go now waits for the restart."
ends_with 3010 'prodsweep uninstall "Halvane Notes" --yes' uninstall "Halvane Notes" --yes
installed 3

heading "6. Two things stayed: the file that the ledger holds, and the folder that the archive still uses."
type_in 'dir /s /b "C:\Program Files\Halvane\Notes"' cmd /c dir /s /b 'C:\Program Files\Halvane\Notes'
type_in 'dir /s /b "C:\Program Files\Common Files\Halvane"' cmd /c dir /s /b 'C:\Program Files\Common Files\Halvane'
gone "$notes/notes.exe"
! shortcuts 'Halvane Notes' || fail "a shortcut is left"
ended "$notes_runs" || fail "Notes still runs"
stands "$notes/welcome.txt" "$shared/words.dat" "$archive/archive.exe" "$archive/sync.exe"
type_in 'prodsweep pending' prodsweep.exe pending
key_gone 'HKLM\Software\Halvane\Notes'
key_stands 'HKLM\Software\Halvane\Shared'

heading "7. After the restart the held file is gone, with its folder. The shared folder is not."
restart
gone "$notes"
stands "$shared/words.dat" "$archive/archive.exe"
type_in 'dir /b "C:\Program Files\Halvane"' cmd /c dir /b 'C:\Program Files\Halvane'
type_in 'prodsweep list --installed' prodsweep.exe list --installed
installed 3

heading "8. The archive is removed. Its service is stopped, and the shared folder has nobody left to stay for."
ends_with 0 'prodsweep uninstall "Halvane Archive" --yes' uninstall "Halvane Archive" --yes
gone "$archive" "$shared"
key_gone 'HKLM\Software\Halvane\Shared'
key_gone 'HKLM\System\CurrentControlSet\Services\HalvaneArchiveSync'
installed 2

heading "9. The other makers' products, all at once and without a word. A driver's file needs the restart."
ends_with 3010 'prodsweep uninstall --all-installed --kind other --yes --quiet' \
  uninstall --all-installed --kind other --yes --quiet
installed 0
gone "$programs/Dunmarrow/Ledger 7" "$programs/Pellworth/Viewer"
stands "$filter"
gone "$drive/users/Public/Desktop/Dunmarrow Ledger.lnk"
! starts_by_itself 'Ledger\|Viewer' || fail "a value is left in Run"
key_gone 'HKLM\Software\Pellworth\Recent Pictures'
key_gone "$extension"
key_gone 'HKLM\System\CurrentControlSet\Services\PellworthFilter'
key_gone 'HKLM\System\CurrentControlSet\Services\PellworthCapture'
key_gone 'HKLM\System\CurrentControlSet\Services\PellworthUpdate'
restart
gone "$filter"

heading "10. Nothing is left to remove, and a second run has nothing to say against it."
type_in 'prodsweep list --installed' prodsweep.exe list --installed
installed 0
ends_with 0 'prodsweep uninstall "Halvane Notes" --yes' uninstall "Halvane Notes" --yes

printf '\nRemoved 4 of 4. The machine is kept in %s until the next demo.\n' "${base#"$root/"}"
