# SPDX-License-Identifier: MIT
# shellcheck shell=bash disable=SC2034 # used by other scripts
# Sourced. need_packages installs the named Debian packages that are missing.

# The packages to build and run the programs and the QML module. The front panel needs the QML modules
# and the font at run time.
packages_of_programs=(cmake g++ make pkg-config libglib2.0-dev libdbus-1-dev dbus fonts-dejavu-core)
packages_of_programs_qt5=(qtbase5-dev qtdeclarative5-dev qttools5-dev-tools qml-module-qtquick2)
packages_of_programs_qt6=(qt6-base-dev qt6-declarative-dev qt6-l10n-tools qml6-module-qtquick
    qml6-module-qtqml-workerscript)

# The packages that scripts/lint needs. libdbus-1-dev has the DTD of the interface descriptions.
packages_of_lint=(clang-format-14 codespell git libdbus-1-dev libxml2-utils mandoc python3
    qt6-declarative-dev-tools qtdeclarative5-dev-tools reuse shellcheck xsltproc)

need_packages() {
    if ! command -v dpkg-query >/dev/null; then
        echo "This is not a Debian system: install what these packages contain: $*" >&2
        return
    fi

    local package missing=()
    for package in "$@"; do
        dpkg-query --show --showformat '${db:Status-Status}\n' "$package" 2>/dev/null \
            | grep -qx installed || missing+=("$package")
    done
    if [ ${#missing[@]} -eq 0 ]; then
        return
    fi

    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null; then
            echo "Packages are missing, and only root can install them. Ask your administrator for:" >&2
            echo "    apt-get install ${missing[*]}" >&2
            exit 1
        fi
        as_root=(sudo)
    fi
    echo "Installing ${missing[*]}"
    "${as_root[@]}" apt-get update --quiet --quiet
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install --yes --quiet --quiet --no-install-recommends "${missing[@]}" >/dev/null
}
