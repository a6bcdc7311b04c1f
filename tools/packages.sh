# SPDX-License-Identifier: MIT
# Shell functions for the scripts at the top: finding out what is missing and installing it with
# apt where that is possible. To be sourced by a POSIX shell.

# missing_packages "probe package"...: prints the packages whose probe does not hold. A probe is the
# name of a program, or the full path of a file.
missing_packages() {
    for pair in "$@"; do
        probe=${pair%% *}
        package=${pair#* }
        case $probe in
        /*) [ -e "$probe" ] || printf ' %s' "$package" ;;
        *) command -v "$probe" >/dev/null 2>&1 || printf ' %s' "$package" ;;
        esac
    done
}

# as_root command...: runs it as root, directly or through sudo; fails when neither is possible.
as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null 2>&1 && { sudo -n true 2>/dev/null || [ -t 0 ]; }; then
        sudo "$@"
    else
        return 1
    fi
}

# install_packages package...: installs them quietly; on failure says what has to be installed.
install_packages() {
    echo "installing:" "$@" >&2
    if command -v apt-get >/dev/null 2>&1; then
        if as_root env DEBIAN_FRONTEND=noninteractive apt-get install -qq -y --no-install-recommends "$@" >/dev/null 2>&1; then
            return 0
        fi
        # A fresh machine has no package lists yet.
        if as_root apt-get update -qq >/dev/null 2>&1 &&
            as_root env DEBIAN_FRONTEND=noninteractive apt-get install -qq -y --no-install-recommends "$@" >/dev/null; then
            return 0
        fi
    fi
    echo "These packages are needed and could not be installed from here. On Debian or Ubuntu:" >&2
    echo "    sudo apt-get update && sudo apt-get install" "$@" >&2
    return 1
}

# What a build needs, whichever compiler is there.
build_packages() {
    missing_packages "cmake cmake" "ninja ninja-build"
    if ! command -v c++ >/dev/null 2>&1 && ! command -v clang++ >/dev/null 2>&1; then
        printf ' g++'
    fi
}

# ccache speeds up repeated builds where it is installed. It passes over files with a precompiled header
# unless it is told not to look at the times of what that holds.
export CCACHE_SLOPPINESS="${CCACHE_SLOPPINESS:-pch_defines,time_macros}"
ccache_option() {
    if command -v ccache >/dev/null 2>&1; then
        echo "-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"
    fi
}

# Parallel compilations: one a processor, and at least a gigabyte of memory for each.
build_jobs() {
    jobs=$(nproc 2>/dev/null || echo 2)
    memory=$(awk '/MemAvailable/ {print int($2 / 1048576)}' /proc/meminfo 2>/dev/null)
    if [ "${memory:-$jobs}" -lt "$jobs" ]; then
        jobs=$memory
    fi
    [ "$jobs" -ge 1 ] || jobs=1
    echo "$jobs"
}
