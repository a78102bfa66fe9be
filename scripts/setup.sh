# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT
#
# Sourced by ./run, ./test and ./bench, in the project's folder. Everything that they need on a
# machine is in packages.list; nothing is installed that is there already.

# require STAGE... installs the packages of the stages given that are missing.
require() {
    local wanted missing
    wanted=$(awk -v stages=" $* " '!/^#/ && NF && index(stages, " " $1 " ") { print $2 }' \
        scripts/packages.list | sort -u)
    if ! command -v dpkg-query > /dev/null || ! command -v apt-get > /dev/null; then
        printf 'This is no Debian system. Needed here, by their Debian names:\n%s\n' "$wanted" >&2
        echo 'Going on, in the hope that they are there.' >&2
        return 0
    fi
    # shellcheck disable=SC2086 # one word for each package
    missing=$(comm -23 <(printf '%s\n' $wanted) \
        <(dpkg-query -W -f='${db:Status-Abbrev} ${Package}\n' $wanted 2> /dev/null \
            | awk '$1 == "ii" { print $2 }' | sort -u))
    [ -n "$missing" ] || return 0

    local privilege=()
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo > /dev/null; then
            printf 'Missing, and neither root nor sudo to install them:\n%s\n' "$missing" >&2
            return 1
        fi
        privilege=(sudo)
    fi
    printf 'Installing: %s\n' "$(echo $missing)" >&2
    "${privilege[@]}" apt-get update -qq \
        && "${privilege[@]}" env DEBIAN_FRONTEND=noninteractive \
            apt-get install -y -qq --no-install-recommends $missing > /dev/null
}

# unpack FOLDER puts the files of the packages of the stage unpack below FOLDER: servers, which an
# installation would start. What uses them does without where that fails.
unpack() {
    local folder=$1 package
    command -v apt-get > /dev/null && command -v dpkg-deb > /dev/null || return 0
    mkdir -p "$folder/archives"
    for package in $(awk '$1 == "unpack" { print $2 }' scripts/packages.list); do
        [ ! -e "$folder/archives/$package" ] || continue
        if (cd "$folder/archives" && apt-get download -qq "$package" > /dev/null 2>&1) \
            && dpkg-deb -x "$folder/archives/$package"_*.deb "$folder"; then
            touch "$folder/archives/$package"
        else
            echo "Cannot unpack $package; the tests that need it are skipped." >&2
        fi
    done
}

# build PRESET [TARGET...] configures where that was not done yet, and builds. Warnings are errors
# where the environment says CI=true, as continuous integration does: another compiler's warning keeps
# nobody else from building.
build() {
    local preset=$1 werror=OFF
    shift
    [ "${CI-}" != true ] || werror=ON
    if [ ! -e "build/$preset/build.ninja" ] \
        || ! grep -q "^TARNWICK_WERROR:[A-Z]*=$werror$" "build/$preset/CMakeCache.txt"; then
        cmake --preset "$preset" -D "TARNWICK_WERROR=$werror" > "build-$preset.log" 2>&1 || {
            cat "build-$preset.log" >&2
            rm -f "build-$preset.log"
            return 1
        }
        rm -f "build-$preset.log"
    fi
    local targets=()
    [ $# -eq 0 ] || targets=(--target "$@")
    cmake --build --preset "$preset" "${targets[@]}"
}
