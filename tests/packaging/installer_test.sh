#!/usr/bin/env bash
# tests/packaging/installer_test.sh SETUP WATCH_TEXTS LONG_FILM FOLDER
#   installs and uninstalls by SETUP in a fresh Wine prefix in FOLDER and compares the whole registry before and after:
#   with values of other products where the modules write, with a failure in the middle, with what others write later.
#   Plays a film with what is installed. WATCH_TEXTS is that application for 32 bits, LONG_FILM keeps modules in use.
# To be run where Wine runs programs of 32 bits; where it runs those of 64 bits as well, both are installed.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
rm -rf "$4"
mkdir -p "$4"
cp "$1" "$4/setup-under-test.exe"
cp "$2" "$4/watch32.exe"
cp "$3" "$4/long.mp4"
cp tests/media/bframes-aac.mp4 "$4/plain.mp4"
folder=$(cd "$4" && pwd)

fail() {
  printf '%s\n' "$@" >&2
  exit 1
}

# run NAME runs a batch file and leaves what it prints in $output.
run() {
  {
    printf '@echo off\ncd /d Z:%s\nset setup=setup-under-test.exe\nset dir=C:\\Program Files\\Ketral MP4\n' "$folder"
    cat
  } | sed 's/$/\r/' >"$folder/$1.bat"
  KTMP4_WINE_SECONDS=240 cmake/wine.sh "$folder/wine" cmd /c "Z:$folder/$1.bat" >"$folder/$1.txt" 2>&1 </dev/null ||
    fail "$1.bat ended with $?:" "$(cat "$folder/$1.txt")"
  output=$(tr -d '\r' <"$folder/$1.txt")
}

expect_output() {
  diff <(cat) <(printf '%s\n' "$output") || fail "That is not what was to come."
}

# All of it but what Wine itself writes with the first text window and at every start, and the system's list of files
# to delete when it starts next, which gets the copy that an uninstaller deletes itself from.
registry() {
  iconv -f UTF-16 -t UTF-8 "$folder/$1.reg" | tr -d '\r' | sed '/^"PendingFileRenameOperations"=/,/[^\\]$/d' |
    awk -v RS= -v ORS='\n\n' '!/^\[HKEY_USERS\\[^]\\]*\\Console\]/ &&
      !/^\[HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\(Class|Video)\\/'
}

: | run prepare
views=('')
[[ ! -d $folder/wine/drive_c/windows/syswow64 ]] || views+=(Wow6432Node\\)
reader='{F6C64AD8-5AEC-4C96-99EE-13FAF14D68E9}'

# Other products, and the module registered by hand from elsewhere; a value for each view tells the two apart.
for view in "${views[@]}"; do
  cat <<END
REGEDIT4

[HKEY_LOCAL_MACHINE\\Software\\Classes\\${view}Media Type\\Extensions\\.mp4]
"Source Filter"=hex(2):25,41,25,00
"Permissions"=dword:00000015
"View"="${view//\\/}"
[HKEY_LOCAL_MACHINE\\Software\\Classes\\${view}Media Type\\Extensions\\.m4a]
"Source Filter"="of another, ${view//\\/}"
[HKEY_LOCAL_MACHINE\\Software\\${view}Microsoft\\MediaPlayer\\Player\\Extensions\\Descriptions]
"1"="One (*.one)"
"9"="Nine, ${view//\\/}"
[HKEY_LOCAL_MACHINE\\Software\\${view}Microsoft\\MediaPlayer\\Player\\Extensions\\Types]
"1"="*.one"
[HKEY_LOCAL_MACHINE\\Software\\Classes\\${view}CLSID\\$reader\\InprocServer32]
@="C:\\\\unpacked\\\\ktmp4source.ax"
[HKEY_LOCAL_MACHINE\\Software\\Classes\\${view}CLSID\\$reader\\Old]
END
done >"$folder/seed.reg"
cat >"$folder/later.reg" <<'END'
REGEDIT4

[HKEY_LOCAL_MACHINE\Software\Classes\Media Type\Extensions\.3gp]
"Source Filter"="of a later one"
[HKEY_LOCAL_MACHINE\Software\Microsoft\MediaPlayer\Player\Extensions\Types]
"10"="*.ten"
END

# What registers modules of 32 bits is missing; those of 64 are registered by then.
run failure <<'END'
regedit /S seed.reg
regedit /E before.reg
set system=C:\windows\system32
if exist C:\windows\syswow64 set system=C:\windows\syswow64
ren %system%\regsvr32.exe hidden.exe
%setup% /S
echo setup: %errorlevel%
ren %system%\hidden.exe regsvr32.exe
if exist "%dir%" echo "%dir%" is there
regedit /E failed.reg
END
expect_output <<<"setup: 2"
diff <(registry before) <(registry failed) || fail "A setup that failed changed the registry."

printf 'Scenarist_SCC V1.0\n\n%s\n\n%s\n' \
  $'00:00:01:00\t9425 9425 94ad 94ad 9470 9470 c8e5 ecec ef80' $'00:00:02:00\t94ad 94ad' >"$folder/hello.scc"
run use <<'END'
%setup% /S
echo setup: %errorlevel%
regedit /E installed.reg
"%dir%\bin\ktmp4.exe" add-captions --force plain.mp4 hello.scc film.mp4 2>nul
echo ktmp4: %errorlevel%
"%dir%\bin\watch_texts.exe" "ktmp4file://%cd%\film.mp4&cc=on" | find "caption"
watch32.exe "ktmp4file://%cd%\film.mp4&cc=on" | find "caption"

copy "%dir%\uninstall.exe" remove.exe >nul
start "" watch32.exe "ktmp4file://%cd%\long.mp4&adapt=on"
set module=%dir%\bin\ktmp4source.ax
if exist "%dir%\bin32" set module=%dir%\bin32\ktmp4source.ax
for /L %%i in (1,1,30) do type nul 2>nul >>"%module%" && ping -n 2 127.0.0.1 >nul
remove.exe /S _?=%dir%
echo uninstall in use: %errorlevel%
%setup% /S
echo setup in use: %errorlevel%
taskkill /F /IM watch32.exe >nul
regedit /E kept.reg
END
expect_output <<'END'
setup: 0
ktmp4: 0
caption 2.002 s: Hello
caption 2.002 s: Hello
uninstall in use: 2
setup in use: 2
END
diff <(registry installed) <(registry kept) || fail "What is in use was half taken away."
for line in "\"Source Filter\"=\"$reader\"" '"9"="*.mp4;*.3gp;*.m4a"' '"DisplayVersion"="' \
  '\\Ketral MP4\\bin\\ktmp4captionps.dll"'; do
  registry installed | grep -F -- "$line" >/dev/null || fail "Nothing of $line in the registry."
done
uninstall=$(registry installed | sed -n 's/\\\(.\)/\1/g; s/^"QuietUninstallString"="\(.*\)"$/\1/p')

# The second setup is an upgrade, to another folder, and takes .3gp from the later one, who gets it back in the end. The
# third finds a memory and no uninstaller.
run end <<END
set other=C:\\Other place
regedit /S later.reg
%setup% /S /D=%other%
echo upgrade: %errorlevel%
if exist "%dir%" echo "%dir%" is there
del "%other%\\uninstall.exe"
%setup% /S
echo repair: %errorlevel%
${uninstall/Program Files\\Ketral MP4/Other place}
echo uninstall: %errorlevel%
for /L %%i in (1,1,30) do if exist "%other%" ping -n 2 127.0.0.1 >nul
if exist "%other%" echo "%other%" is there
regedit /E after.reg
END
expect_output <<'END'
upgrade: 0
repair: 0
uninstall: 0
END
diff <(diff <(registry before) <(registry after) | grep '^[<>]') - <<'END' || fail "The registry is another."
> [HKEY_LOCAL_MACHINE\Software\Classes\Media Type\Extensions\.3gp]
> "Source Filter"="of a later one"
> 
> "10"="*.ten"
END
! find "$folder/wine/drive_c" -iname '*ktmp4*' -o -iname '*ketral*' | grep . || fail "These files are left."
echo "Installed, played, upgraded and uninstalled; registries: ${#views[@]}."
