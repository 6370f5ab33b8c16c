# SPDX-License-Identifier: MIT
# Sourced: installs what is missing of the Debian packages named.

need_packages() {
    if ! command -v dpkg-query >/dev/null; then
        echo "This is no Debian system: make sure that it has what these packages hold: $*" >&2
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
            echo "Packages are missing, and neither root nor sudo is here to install them. Ask for:" >&2
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
