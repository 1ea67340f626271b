#!/bin/sh
# run_script.sh DLL SCRIPT: registers the server and runs a script with the script host. That ends
# with 0 and without a word when a script breaks off, so scripts must end by WScript.Quit 42.
windows() { printf 'Z:%s' "$1" | tr / '\\'; }
wine=${OHMWISE_WINE:-wine}
dll=$(windows "$1")
"$wine" regsvr32 /s "$dll" || { echo "registering failed"; exit 1; }
out=$(timeout 120 "$wine" cscript //nologo "$(windows "$2")" 2>&1)
ended=$?
"$wine" regsvr32 /s /u "$dll"
printf '%s\n' "$out" | tr -d '\r'
case $out in *FAILED*) exit 1 ;; esac
[ "$ended" -eq 42 ] || { echo "the script ended with $ended instead of 42"; exit 1; }
