# Sourced: what the library needs on Windows, and a Wine of our own, without a display.

cache=${XDG_CACHE_HOME:-$HOME/.cache}/smtpclient
export SMTPCLIENT_WINDOWS_PREFIX=$cache/windows/prefix WINEPREFIX=$cache/wine
export WINEDEBUG=-all WINEDLLOVERRIDES='winedbg.exe=d;mscoree=;mshtml='
scripts/lib/windows-setup.sh "$cache/windows"
if [[ ! -e $WINEPREFIX/complete ]]; then
    echo 'Wine'
    mkdir -p "$WINEPREFIX"
    wine wineboot --init >/dev/null 2>&1
    # Windows without a screen.
    wine reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f >/dev/null 2>&1
    wineserver -w  # Until all of it has ended.
    touch "$WINEPREFIX/complete"
fi
# Started ahead of the tests: what serves them would hold on to the output of the first for ever.
wineserver -p >/dev/null 2>&1 </dev/null || true
wine cmd /c exit >/dev/null 2>&1 </dev/null
trap 'wineserver -k' EXIT
