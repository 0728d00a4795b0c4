#!/usr/bin/env bash
# Starts Cantavox on a virtual X display of the given size, waits, and saves a screenshot of
# the whole screen: a look at the program as a user sees it, on a machine with no display.
#   tools/screenshot.sh OUT.png [WIDTHxHEIGHT] [SECONDS]
set -euo pipefail
out=${1:?usage: tools/screenshot.sh OUT.png [WIDTHxHEIGHT] [SECONDS]}
size=${2:-1280x800}
wait=${3:-3}
here=$(cd "$(dirname "$0")/.." && pwd)
bin=${CANTAVOX_BIN:-$here/build/cantavox}
home=${CANTAVOX_HOME:-$(mktemp -d)}
export CANTAVOX_HOME=$home CANTAVOX_AUDIO=${CANTAVOX_AUDIO:-null}
xvfb-run -a -s "-screen 0 ${size}x24" bash -c "
    '$bin' & pid=\$!
    sleep $wait
    import -window root '$out'
    kill -TERM \$pid; wait \$pid
"
echo "saved $out"
