# Sourced by the scripts beside it: goes to the root of the tree and defines `step` and `install_packages`.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

logs=build/logs
mkdir -p "$logs"
jobs=$(nproc)
export CMAKE_BUILD_PARALLEL_LEVEL=${CMAKE_BUILD_PARALLEL_LEVEL:-$jobs}
export CTEST_PARALLEL_LEVEL=${CTEST_PARALLEL_LEVEL:-$jobs}

ticker=
stop_ticker() { [[ -z $ticker ]] || { kill "$ticker" && wait "$ticker"; ticker=; } 2>/dev/null || true; }
trap stop_ticker EXIT

# Shows that a step is alive: its newest line of output on a terminal, a dot now and then elsewhere.
# The sleep holds none of our output open, so that a reader of it never waits for the ticker.
tick() {
    local title=$1 log=$2
    if [[ -t 1 ]]; then
        while sleep 1 >/dev/null 2>&1; do
            printf '\r\033[K%s: %s' "$title" "$(tail -n 1 "$log" | cut -c 1-60)"
        done
    else
        while sleep 10 >/dev/null 2>&1; do printf '.'; done
    fi
}

# step TITLE COMMAND...: runs the command with its output in a log file. Prints one line when all is well;
# otherwise the end of the log and which step it was, and ends the script.
step() {
    local title=$1 status=0 start=$SECONDS
    local log="$logs/${title//[^A-Za-z0-9]/-}.log"
    shift
    : >"$log"
    printf '%s ' "$title"
    tick "$title" "$log" &
    ticker=$!
    "$@" >"$log" 2>&1 || status=$?
    stop_ticker
    [[ ! -t 1 ]] || printf '\r\033[K%s ' "$title"
    if ((status == 0)); then
        echo "done ($((SECONDS - start)) s)"
        return
    fi
    echo "FAILED"
    tail -n 60 "$log" >&2
    echo "FAILED: $title (exit status $status). The whole output is in $log" >&2
    exit 1
}

# packages_of GROUP...: the packages of these groups of packages.txt.
packages_of() {
    awk -v wanted=" $* " '
        /^# [a-z]+:/ { group = substr($2, 1, length($2) - 1) }
        /^[^#]/ && index(wanted, " " group " ") { print $1 }' packages.txt
}

as_root() { if ((EUID == 0)); then "$@"; else sudo "$@"; fi; }

apt_install() {
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=300 update
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -q -y -o DPkg::Lock::Timeout=300 \
        install --no-install-recommends "$@"
}

# install_packages GROUP...: installs what is missing of these groups.
install_packages() {
    local package missing=()
    if ! command -v apt-get >/dev/null; then
        echo "No apt-get here, going on with what there is. Needed, in Debian's names:" $(packages_of "$@") >&2
        return
    fi
    for package in $(packages_of "$@"); do
        [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) == installed ]] ||
            missing+=("$package")
    done
    ((${#missing[@]})) || return 0
    if ((EUID != 0)) && ! command -v sudo >/dev/null; then
        echo "Not root, and no sudo: please have these packages installed: ${missing[*]}" >&2
        exit 1
    fi
    echo "Installing ${missing[*]}"
    step "Installing packages" apt_install "${missing[@]}"
}
